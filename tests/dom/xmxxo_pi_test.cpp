#include "dom/xmxxo_pi.h"

#include <gtest/gtest.h>

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_doc.h"
#include "dom/xmxxo_nmap.h"
#include "marl/marl.h"
#include "support/host_memory.h"
#include "support/library_state.h"

namespace {

// Nodes numbered up to this one count as left over from an earlier library.
constexpr std::uint32_t c_staleGID = 1000;

class ProcessingInstruction : public FreshLibrary {
 protected:
  void SetUp() override {
    FreshLibrary::SetUp();
    marl = Marl(CMarlBase::createCMarl(CMarlBase::Setup{0, c_staleGID}));
    document = marl.createDocument();
  }
  void TearDown() override {
    document = static_cast<CMarlDocument const*>(nullptr);
    marl = static_cast<CMarl const*>(nullptr);
    FreshLibrary::TearDown();
  }

  static bool answers(MarlNode const& node, unsigned int id) {
    return node._impl()->_queryInterface(id) != nullptr;
  }

  // A parsed instruction with the pairs a="1", b="2", c="3".
  MarlPIParsed threePairs() {
    MarlPIParsed instruction = document.createPIParsed(L"pairs");
    instruction.setAttribute(L"a", L"1");
    instruction.setAttribute(L"b", L"2");
    instruction.setAttribute(L"c", L"3");
    return instruction;
  }

  // The names of the pairs, in map order.
  static std::wstring pairNames(MarlNode const& instruction) {
    MarlNamedNodeMap map = instruction.getAttributes();
    std::wstring names;
    for (unsigned int index = 0; index < map.getLength(); ++index) {
      if (!names.empty()) names += L",";
      names += map.getItem(index).getName();
    }
    return names;
  }

  // Every child operation, with a node and with empty handles, on a leaf.
  void expectChildrenRefused(MarlNode leaf) {
    MarlText child = document.createText(L"t");
    EXPECT_EQ(leaf.appendChild(child, 0), MarlNode::rcNotSupported);
    EXPECT_EQ(leaf.appendChild(child, 1), MarlNode::rcNotSupported);
    EXPECT_EQ(leaf.insertChild(child, MarlNode()), MarlNode::rcNotSupported);
    EXPECT_EQ(leaf.replaceChild(child, leaf), MarlNode::rcNotSupported);
    EXPECT_EQ(leaf.removeChild(child), MarlNode::rcNotSupported);
    EXPECT_EQ(leaf.appendChild(MarlNode(), 0), MarlNode::rcNotSupported);
    EXPECT_EQ(leaf.insertChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
    EXPECT_EQ(leaf.replaceChild(MarlNode(), MarlNode()), MarlNode::rcNotSupported);
    EXPECT_EQ(leaf.removeChild(MarlNode()), MarlNode::rcNotSupported);
    EXPECT_EQ(leaf.numChildren(), 0u);
    EXPECT_FALSE(child.getParent());
  }

  // The blocks that are not entries of the atom cache: atoms stay, whatever happens.
  static long blocksBesideAtoms() {
    return testhost::outstandingBlocks() -
           static_cast<long>(CMarlBase::instance().atomCache->size());
  }

  Marl marl;
  MarlDocument document;
};

}  // namespace

// ---------------------------------------------------------------------------------------
// Both forms

TEST_F(ProcessingInstruction, TheTargetIsTheName) {
  MarlPIUnparsed instruction = document.createPIUnparsed(L"style", L"href='a.css'");
  ASSERT_TRUE(instruction);
  EXPECT_EQ(instruction.getName(), L"style");
  EXPECT_EQ(instruction.getTarget(), L"style");
  EXPECT_EQ(&instruction.getTarget(), CMarlBase::instance().intern(L"style"));
  EXPECT_EQ(instruction.setName(L"other"), MarlNode::rcOK);
  EXPECT_EQ(instruction.getTarget(), L"other");
}

TEST_F(ProcessingInstruction, NoPrefixOrNamespaceCanBeSet) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  EXPECT_EQ(instruction.setNamespacePrefix(L"p"), MarlNode::rcNotSupported);
  EXPECT_EQ(instruction.setNamespaceURI(L"urn:u"), MarlNode::rcNotSupported);
  EXPECT_EQ(instruction.getNamespacePrefix(), L"");
  EXPECT_EQ(instruction.getNamespaceURI(), L"");
}

TEST_F(ProcessingInstruction, ANewInstructionIsInternal) {
  MarlPI instruction = document.createPIUnparsed(L"t", L"d");
  EXPECT_EQ(instruction.isExternal(), 0);
  instruction.setExternal(1);
  EXPECT_EQ(instruction.isExternal(), 1);
  MarlPI parsed = document.createPIParsed(L"t");
  EXPECT_EQ(parsed.isExternal(), 0);
  parsed.setExternal(1);
  EXPECT_EQ(parsed.isExternal(), 1);
}

TEST_F(ProcessingInstruction, AllFourChildOperationsAreRefusedByBothForms) {
  expectChildrenRefused(document.createPIUnparsed(L"t", L"d"));
  expectChildrenRefused(document.createPIParsed(L"t"));
}

TEST_F(ProcessingInstruction, AStaleInstructionReadsTheUnknownTarget) {
  MarlPIUnparsed unparsed = document.createPIUnparsed(L"t", L"d");
  MarlPIParsed parsed = document.createPIParsed(L"t");
  unparsed._impl()->GID = c_staleGID;
  parsed._impl()->GID = c_staleGID;
  EXPECT_EQ(unparsed.getName(), L"?");
  EXPECT_EQ(unparsed.getTarget(), L"?");
  EXPECT_EQ(parsed.getTarget(), L"?");
  EXPECT_EQ(unparsed.getData(), L"d");
}

TEST_F(ProcessingInstruction, EitherFormIsAnInstructionButNotTheOther) {
  MarlNode unparsed = document.createPIUnparsed(L"t", L"d");
  MarlNode parsed = document.createPIParsed(L"t");
  std::uint32_t unparsedCount = unparsed._impl()->getRefCount();
  std::uint32_t parsedCount = parsed._impl()->getRefCount();
  EXPECT_FALSE(MarlPIParsed(unparsed));
  EXPECT_FALSE(MarlPIUnparsed(parsed));
  EXPECT_FALSE(MarlCharacterData(unparsed));
  EXPECT_FALSE(MarlAttribute(parsed));
  EXPECT_EQ(unparsed._impl()->getRefCount(), unparsedCount);
  EXPECT_EQ(parsed._impl()->getRefCount(), parsedCount);
  MarlPI general(unparsed);
  MarlPIUnparsed specific(unparsed);
  EXPECT_EQ(static_cast<CUnknown*>(general), static_cast<CUnknown*>(unparsed));
  EXPECT_EQ(static_cast<CUnknown*>(specific), static_cast<CUnknown*>(unparsed));
  EXPECT_TRUE(MarlPI(parsed));
  EXPECT_TRUE(MarlPIParsed(parsed));
}

// ---------------------------------------------------------------------------------------
// Unparsed

TEST_F(ProcessingInstruction, AnUnparsedInstructionKeepsItsContentAsData) {
  MarlPIUnparsed instruction = document.createPIUnparsed(L"t", L" a b ");
  EXPECT_EQ(instruction.getType(), MarlNode::nodePIUnparsed);
  EXPECT_EQ(instruction.getData(), L" a b ");
  EXPECT_EQ(instruction.getValue(), L" a b ");
  std::wstring value;
  instruction.getValue(value);
  EXPECT_EQ(value, L" a b ");
}

TEST_F(ProcessingInstruction, SetValueOnAnUnparsedInstructionWorks) {
  MarlPIUnparsed instruction = document.createPIUnparsed(L"t", L"old");
  EXPECT_EQ(instruction.setValue(L"new"), MarlNode::rcOK);
  EXPECT_EQ(instruction.getData(), L"new");
  EXPECT_EQ(instruction.setData(L"newer"), MarlNode::rcOK);
  EXPECT_EQ(instruction.getValue(), L"newer");
}

TEST_F(ProcessingInstruction, AppendDataExtendsTheContent) {
  MarlPIUnparsed instruction = document.createPIUnparsed(L"t", L"ab");
  EXPECT_EQ(instruction.appendData(L"cd"), MarlNode::rcOK);
  EXPECT_EQ(instruction.appendData(L""), MarlNode::rcOK);
  EXPECT_EQ(instruction.getData(), L"abcd");
}

TEST_F(ProcessingInstruction, AnUnparsedInstructionAnswersItsIdentifiers) {
  MarlPIUnparsed instruction = document.createPIUnparsed(L"t", L"d");
  EXPECT_EQ(instruction._impl()->_queryClass(), unsigned{idPIUnparsed});
  for (unsigned int id : {170u, 160u, 20u, 1u})
    EXPECT_EQ(instruction._impl()->_queryInterface(id), static_cast<void*>(instruction._impl()))
        << id;
  for (unsigned int id : {180u, 110u, 120u, 130u, 40u})
    EXPECT_FALSE(answers(instruction, id)) << "identifier " << id;
}

TEST_F(ProcessingInstruction, AnUnparsedInstructionHasNoAttributes) {
  MarlPIUnparsed instruction = document.createPIUnparsed(L"t", L"a='1'");
  EXPECT_FALSE(instruction.getAttributes());
}

TEST_F(ProcessingInstruction, CloneOfAnUnparsedInstructionCopiesTargetDataAndFlag) {
  MarlPIUnparsed source = document.createPIUnparsed(L"t", L"data");
  source.setExternal(1);
  MarlPIUnparsed copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy._impl(), source._impl());
  EXPECT_NE(copy.getGID(), source.getGID());
  EXPECT_EQ(copy.getType(), MarlNode::nodePIUnparsed);
  EXPECT_EQ(&copy.getTarget(), &source.getTarget());
  EXPECT_EQ(copy.getData(), L"data");
  EXPECT_EQ(copy.isExternal(), 1);
  source.setData(L"changed");
  EXPECT_EQ(copy.getData(), L"data");
}

TEST_F(ProcessingInstruction, CreateOrCloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlPIUnparsed source = document.createPIUnparsed(L"t", L"d");
  long before = blocksBesideAtoms();
  for (long failAt = 0; failAt < 2; ++failAt) {
    std::wstring target = L"fresh" + std::to_wstring(failAt);
    testhost::AllocationFailure failure(failAt);
    EXPECT_FALSE(document.createPIUnparsed(target, L"d")) << "allocation " << failAt;
    EXPECT_FALSE(document.createPIParsed(target + L"p")) << "allocation " << failAt;
  }
  {
    testhost::AllocationFailure failure(0);
    EXPECT_FALSE(source.clone(-1));
  }
  EXPECT_EQ(blocksBesideAtoms(), before);
}

// ---------------------------------------------------------------------------------------
// Parsed

TEST_F(ProcessingInstruction, AParsedInstructionAnswersItsIdentifiers) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  EXPECT_EQ(instruction.getType(), MarlNode::nodePIParsed);
  EXPECT_EQ(instruction._impl()->_queryClass(), unsigned{idPIParsed});
  for (unsigned int id : {180u, 160u, 20u, 1u})
    EXPECT_EQ(instruction._impl()->_queryInterface(id), static_cast<void*>(instruction._impl()))
        << id;
  for (unsigned int id : {170u, 110u, 120u, 130u})
    EXPECT_FALSE(answers(instruction, id)) << "identifier " << id;
}

TEST_F(ProcessingInstruction, SetValueOnAParsedInstructionIsNotSupported) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  EXPECT_EQ(instruction.setValue(L"a='1'"), MarlNode::rcNotSupported);
  EXPECT_EQ(instruction.getValue(), L"");
  EXPECT_EQ(instruction.getAttributes().getLength(), 0u);
}

TEST_F(ProcessingInstruction, GetAttributeWithoutAttributesIsEmpty) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  EXPECT_EQ(instruction.getAttribute(L"a"), L"");
  EXPECT_FALSE(instruction.getAttributeNode(L"a"));
}

TEST_F(ProcessingInstruction, GetAttributesMakesTheMapOnceOnDemand) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  EXPECT_FALSE(instruction._impl()->attributes);
  MarlNamedNodeMap first = instruction.getAttributes();
  ASSERT_TRUE(first);
  EXPECT_EQ(first.getLength(), 0u);
  EXPECT_EQ(instruction.getAttributes()._impl(), first._impl());
}

TEST_F(ProcessingInstruction, SetAttributeAddsAPairOwnedByTheInstruction) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  EXPECT_EQ(instruction.setAttribute(L"a", L"1"), MarlNode::rcOK);
  EXPECT_EQ(instruction.getAttribute(L"a"), L"1");
  MarlAttribute pair = instruction.getAttributeNode(L"a");
  ASSERT_TRUE(pair);
  EXPECT_EQ(pair.getParent()._impl(), instruction._impl());
  EXPECT_EQ(pair.specified(), 1);
  EXPECT_EQ(pair.getNamespacePrefix(), L"");
  EXPECT_EQ(pair.getNamespaceURI(), L"");
  EXPECT_FALSE(pair.getOwnerElement());
}

TEST_F(ProcessingInstruction, SetAttributeOfAnExistingNameChangesItsValueInPlace) {
  MarlPIParsed instruction = threePairs();
  MarlAttribute pair = instruction.getAttributeNode(L"b");
  EXPECT_EQ(instruction.setAttribute(L"b", L"two"), MarlNode::rcOK);
  EXPECT_EQ(instruction.getAttributes().getLength(), 3u);
  EXPECT_EQ(pairNames(instruction), L"a,b,c");
  EXPECT_EQ(pair.getValue(), L"two");
  EXPECT_EQ(instruction.getAttributeNode(L"b")._impl(), pair._impl());
}

TEST_F(ProcessingInstruction, SetAttributeNodeAddsThePairAndTakesIt) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  MarlAttribute pair = document.createAttribute(L"a", L"");
  pair.setValue(L"1");
  EXPECT_EQ(instruction.setAttributeNode(pair), MarlNode::rcOK);
  EXPECT_EQ(pair.getParent()._impl(), instruction._impl());
  EXPECT_EQ(instruction.getAttribute(L"a"), L"1");
  EXPECT_FALSE(pair.getOwnerElement());
}

TEST_F(ProcessingInstruction, SetAttributeNodeOfAKnownNameTakesItsPlace) {
  MarlPIParsed instruction = threePairs();
  MarlAttribute pair = document.createAttribute(L"b", L"");
  pair.setValue(L"new");
  EXPECT_EQ(instruction.setAttributeNode(pair), MarlNode::rcOK);
  EXPECT_EQ(pairNames(instruction), L"a,b,c");
  EXPECT_EQ(instruction.getAttributeNode(L"b")._impl(), pair._impl());
  EXPECT_EQ(instruction.getAttribute(L"b"), L"new");
}

TEST_F(ProcessingInstruction, SetAttributeNodeOfAnEmptyHandleIsNoNode) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  EXPECT_EQ(instruction.setAttributeNode(MarlAttribute()), MarlNode::rcNoNode);
}

TEST_F(ProcessingInstruction, RemoveAttributeWithoutAMapIsNotFound) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  EXPECT_EQ(instruction.removeAttribute(L"a"), MarlNode::rcNotFound);
  EXPECT_EQ(instruction.removeAttributeNode(document.createAttribute(L"a", L"")),
            MarlNode::rcNotFound);
}

TEST_F(ProcessingInstruction, RemoveAttributeOfAnUnknownNameIsNotFound) {
  MarlPIParsed instruction = threePairs();
  EXPECT_EQ(instruction.removeAttribute(L"z"), MarlNode::rcNotFound);
  EXPECT_EQ(instruction.getAttributes().getLength(), 3u);
}

TEST_F(ProcessingInstruction, RemoveAttributeTakesThePairOut) {
  MarlPIParsed instruction = threePairs();
  EXPECT_EQ(instruction.removeAttribute(L"b"), MarlNode::rcOK);
  EXPECT_EQ(pairNames(instruction), L"a,c");
  EXPECT_EQ(instruction.getAttribute(L"b"), L"");
}

TEST_F(ProcessingInstruction, RemoveAttributeNodeGoesByTheName) {
  MarlPIParsed instruction = threePairs();
  MarlAttribute namesake = document.createAttribute(L"a", L"");
  EXPECT_EQ(instruction.removeAttributeNode(namesake), MarlNode::rcOK);
  EXPECT_EQ(pairNames(instruction), L"b,c");
  EXPECT_EQ(instruction.removeAttributeNode(namesake), MarlNode::rcNotFound);
}

TEST_F(ProcessingInstruction, RemoveAttributeNodeOnAnEmptyMapIsNotFound) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  instruction.getAttributes();
  EXPECT_EQ(instruction.removeAttributeNode(document.createAttribute(L"a", L"")),
            MarlNode::rcNotFound);
}

TEST_F(ProcessingInstruction, PairsForgetTheirInstructionWhenItDies) {
  MarlAttribute pair;
  {
    MarlPIParsed instruction = threePairs();
    pair = instruction.getAttributeNode(L"a");
    ASSERT_TRUE(pair.getParent());
  }
  EXPECT_FALSE(pair.getParent());
  EXPECT_EQ(pair.getValue(), L"1");
}

TEST_F(ProcessingInstruction, CloneCopiesEveryPairIntoANewMap) {
  MarlPIParsed source = threePairs();
  source.setExternal(1);
  MarlPIParsed copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_NE(copy.getGID(), source.getGID());
  EXPECT_EQ(copy.getTarget(), L"pairs");
  EXPECT_EQ(copy.isExternal(), 1);
  MarlNamedNodeMap copied = copy.getAttributes();
  MarlNamedNodeMap original = source.getAttributes();
  ASSERT_EQ(copied.getLength(), 3u);
  EXPECT_NE(copied._impl(), original._impl());
  EXPECT_EQ(pairNames(copy), L"a,b,c");
  for (unsigned int index = 0; index < 3; ++index) {
    MarlNode pair = copied.getItem(index);
    EXPECT_NE(pair._impl(), original.getItem(index)._impl());
    EXPECT_NE(pair.getGID(), original.getItem(index).getGID());
    EXPECT_EQ(pair.getValue(), original.getItem(index).getValue());
    EXPECT_EQ(pair.getParent()._impl(), copy._impl());
  }
  copy.setAttribute(L"a", L"changed");
  EXPECT_EQ(source.getAttribute(L"a"), L"1");
}

TEST_F(ProcessingInstruction, CloneOfAnInstructionWithoutMapMakesNone) {
  MarlPIParsed source = document.createPIParsed(L"t");
  MarlPIParsed copy(source.clone(0));
  ASSERT_TRUE(copy);
  EXPECT_FALSE(copy._impl()->attributes);
  EXPECT_EQ(copy.getType(), MarlNode::nodePIParsed);
}

TEST_F(ProcessingInstruction, ACloneThatRunsOutOfMemoryIsEmptyAndLeaksNothing) {
  MarlPIParsed source = threePairs();
  long before = testhost::outstandingBlocks();
  long failAt = 0;
  for (;; ++failAt) {
    ASSERT_LT(failAt, 50) << "the clone never succeeds";
    testhost::AllocationFailure failure(failAt);
    MarlNode copy = source.clone(-1);
    if (copy) break;
    EXPECT_EQ(testhost::outstandingBlocks(), before) << "allocation " << failAt;
  }
  EXPECT_GT(failAt, 3);
  EXPECT_EQ(testhost::outstandingBlocks(), before);
}

TEST_F(ProcessingInstruction, SetAttributeThatRunsOutOfMemoryIsNoNodeAndLeaksNothing) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  instruction.getAttributes();
  CMarlBase::instance().intern(L"name");
  CMarlBase::instance().intern(L"value");
  long before = testhost::outstandingBlocks();
  long failAt = 0;
  for (;; ++failAt) {
    ASSERT_LT(failAt, 10) << "setAttribute never succeeds";
    unsigned int result;
    {
      testhost::AllocationFailure failure(failAt);
      result = instruction.setAttribute(L"name", L"value");
    }
    if (result == MarlNode::rcOK) break;
    EXPECT_EQ(result, MarlNode::rcNoNode) << "allocation " << failAt;
    EXPECT_EQ(instruction.getAttributes().getLength(), 0u);
    EXPECT_EQ(testhost::outstandingBlocks(), before) << "allocation " << failAt;
  }
  EXPECT_GT(failAt, 0);
  EXPECT_EQ(instruction.getAttribute(L"name"), L"value");
}

TEST_F(ProcessingInstruction, SetAttributeWithoutMemoryForTheMapIsNoNode) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  testhost::AllocationFailure failure(0);
  EXPECT_EQ(instruction.setAttribute(L"a", L"1"), MarlNode::rcNoNode);
  EXPECT_FALSE(instruction._impl()->attributes);
}

TEST_F(ProcessingInstruction, CloneOfAStaleInstructionReadsTheUnknownTarget) {
  MarlPIUnparsed source = document.createPIUnparsed(L"t", L"d");
  source._impl()->GID = c_staleGID;
  MarlPIUnparsed copy(source.clone(-1));
  ASSERT_TRUE(copy);
  EXPECT_GT(copy.getGID(), c_staleGID);
  EXPECT_EQ(copy.getTarget(), L"?");
  EXPECT_EQ(copy.getData(), L"d");
}

TEST_F(ProcessingInstruction, SetAttributeThatRunsOutOfMemoryForItsStringsIsNoNode) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  instruction.setAttribute(L"a", L"1");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_EQ(instruction.setAttribute(L"a", L"a value not yet cached"), MarlNode::rcNoNode);
    EXPECT_EQ(instruction.setAttribute(L"a name not yet cached", L"1"), MarlNode::rcNoNode);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
  EXPECT_EQ(instruction.getAttribute(L"a"), L"1");
  EXPECT_EQ(instruction.getAttributes().getLength(), 1u);
}

TEST_F(ProcessingInstruction, SetAttributeNodeThatRunsOutOfMemoryIsNoNodeAndLeavesThePairAlone) {
  MarlPIParsed instruction = document.createPIParsed(L"t");
  // A map has room for four pairs at first; the fifth needs more memory.
  for (wchar_t const* name : {L"a", L"b", L"c", L"d"}) instruction.setAttribute(name, L"1");
  MarlAttribute pair = document.createAttribute(L"e", L"");
  long before = testhost::outstandingBlocks();
  {
    testhost::AllocationFailure failure(0);
    EXPECT_EQ(instruction.setAttributeNode(pair), MarlNode::rcNoNode);
  }
  EXPECT_EQ(testhost::outstandingBlocks(), before);
  EXPECT_FALSE(pair.getParent());
  EXPECT_EQ(pairNames(instruction), L"a,b,c,d");
  EXPECT_EQ(instruction.setAttributeNode(pair), MarlNode::rcOK);
  EXPECT_EQ(pairNames(instruction), L"a,b,c,d,e");
}
