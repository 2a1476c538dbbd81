#include "dom/xmxxo_doc.h"

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_cdse.h"
#include "dom/xmxxo_comm.h"
#include "dom/xmxxo_docf.h"
#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_nsd.h"
#include "dom/xmxxo_pi.h"
#include "dom/xmxxo_text.h"

namespace {

constexpr std::size_t c_idTableSize = 1023;
constexpr std::size_t c_endTagLineTableSize = 256;

// A text node of any of the three kinds, holding `text`.
template <class Handle, class Impl>
Handle createCharacterData(std::wstring const& text) {
  Handle node = createObject<Handle, Impl>();
  if (node) node._impl()->setValue(text);
  return node;
}

}  // namespace

CIDTable::CIDTable() : CHashTable(c_idTableSize) {}

CIDTable::~CIDTable() = default;

EndTagLineTable::EndTagLineTable() : CHashTable(c_endTagLineTableSize) {}

EndTagLineTable::~EndTagLineTable() = default;

// ---------------------------------------------------------------------------------------
// CMarlDocument

CMarlDocument::CMarlDocument()
    : version(L"1.0"), standalone(0), declaration(1), idTable(nullptr), endTagLines(nullptr) {
  ownerDocument = this;
}

CMarlDocument::CMarlDocument(CMarlDocument const& source, short depth)
    : CMarlNode(source, depth),
      version(source.version),
      standalone(source.standalone),
      declaration(source.declaration),
      idTable(nullptr),
      endTagLines(nullptr) {
  ownerDocument = this;
}

CMarlDocument::~CMarlDocument() {
  delete idTable;
  idTable = nullptr;
  delete endTagLines;
  endTagLines = nullptr;
  // Nodes that outlive the document through outside handles must not point at it.
  adoptInto(nullptr);
}

void CMarlDocument::adoptAll() {
  adoptInto(this);
}

void* CMarlDocument::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idDocument, idNode});
}

unsigned int CMarlDocument::_queryClass() const {
  return idDocument;
}

MarlNode CMarlDocument::clone(int depth) const {
  MarlDocument copy = createObject<MarlDocument, CMarlDocument>(*this, static_cast<short>(depth));
  if (copy) copy._impl()->adoptAll();
  return copy;
}

std::wstring const& CMarlDocument::getName() const {
  return *CMarl::staticString(CStaticStringTable::document);
}

unsigned int CMarlDocument::getType() const {
  return MarlNode::nodeDocument;
}

MarlElement CMarlDocument::getRootElement() const {
  for (CMarlNode* child = firstChild; child; child = child->next)
    if (child->getType() == MarlNode::nodeElement) return MarlElement(static_cast<CMarlElement*>(child));
  return MarlElement();
}

MarlElement CMarlDocument::createElementNS(std::wstring const& name, std::wstring const& prefix,
                                           std::wstring const& uri) {
  try {
    CMarl& marl = CMarlBase::instance();
    return MarlElement(new CMarlElement(marl.intern(name), marl.intern(prefix), marl.intern(uri)));
  } catch (std::bad_alloc const&) {
    return MarlElement();
  }
}

MarlElement CMarlDocument::createSimpleElementNS(std::wstring const& name,
                                                 std::wstring const& prefix,
                                                 std::wstring const& uri, std::wstring const& text,
                                                 MarlNode const& parentNode) {
  MarlElement element = createElementNS(name, prefix, uri);
  if (!element) return element;
  if (!text.empty()) {
    MarlText content = createText(text);
    if (content) element.appendChild(content, 0);
  }
  if (parentNode) parentNode._impl()->appendChild(element, 0);
  return element;
}

MarlAttribute CMarlDocument::createAttributeNS(std::wstring const& name, std::wstring const& prefix,
                                               std::wstring const& uri) {
  try {
    CMarl& marl = CMarlBase::instance();
    return MarlAttribute(
        new CMarlAttribute(marl.intern(name), marl.intern(prefix), marl.intern(uri)));
  } catch (std::bad_alloc const&) {
    return MarlAttribute();
  }
}

MarlNamespaceDecl CMarlDocument::createNamespaceDecl(std::wstring const& name,
                                                     std::wstring const& prefix,
                                                     std::wstring const& uri) {
  try {
    CMarl& marl = CMarlBase::instance();
    MarlNamespaceDecl declaration(
        new CMarlNamespaceDecl(marl.intern(name), marl.intern(prefix), marl.intern(uri)));
    declaration._impl()->CMarlAttribute::setValue(uri);
    return declaration;
  } catch (std::bad_alloc const&) {
    return MarlNamespaceDecl();
  }
}

MarlText CMarlDocument::createText(std::wstring const& text) {
  return createCharacterData<MarlText, CMarlText>(text);
}

MarlComment CMarlDocument::createComment(std::wstring const& text) {
  return createCharacterData<MarlComment, CMarlComment>(text);
}

MarlCDATASection CMarlDocument::createCDATASection(std::wstring const& text) {
  return createCharacterData<MarlCDATASection, CMarlCDATASection>(text);
}

MarlDocumentFragment CMarlDocument::createDocumentFragment() {
  return createObject<MarlDocumentFragment, CMarlDocumentFragment>();
}

MarlPIParsed CMarlDocument::createPIParsed(std::wstring const& target) {
  try {
    return MarlPIParsed(new CMarlPIParsed(CMarlBase::instance().intern(target)));
  } catch (std::bad_alloc const&) {
    return MarlPIParsed();
  }
}

MarlPIUnparsed CMarlDocument::createPIUnparsed(std::wstring const& target, std::wstring const& data) {
  try {
    return MarlPIUnparsed(new CMarlPIUnparsed(CMarlBase::instance().intern(target), data));
  } catch (std::bad_alloc const&) {
    return MarlPIUnparsed();
  }
}

// A cache: failures to make or grow the table are swallowed.
void CMarlDocument::insertID(std::wstring const& id, MarlElement const& element) {
  try {
    if (!idTable) idTable = new CIDTable;
    idTable->emplace(id, id, element);
  } catch (std::bad_alloc const&) {
  }
}

// Like the ID table, a table of hints: failing to make or grow it loses a line, nothing more.
void CMarlDocument::setEndTagLine(std::uint32_t gid, std::uint32_t line) {
  try {
    if (!endTagLines) endTagLines = new EndTagLineTable;
    if (gid != 0 && line != 0) endTagLines->emplace(gid, gid, line);
  } catch (std::bad_alloc const&) {
  }
}

std::uint32_t CMarlDocument::getEndTagLine(std::uint32_t gid) const {
  if (!endTagLines) return 0;
  auto const* entry = endTagLines->find(gid);
  return entry ? entry->second : 0;
}

// ---------------------------------------------------------------------------------------
// MarlDocument

MARL_DEFINE_NODE_HANDLE(MarlDocument, CMarlDocument, idDocument)

std::wstring const& MarlDocument::getVersion() const {
  return _impl()->version;
}

void MarlDocument::setVersion(std::wstring const& version) {
  _impl()->version = version;
}

unsigned char MarlDocument::getStandalone() const {
  return _impl()->standalone;
}

void MarlDocument::setStandalone(unsigned char standalone) {
  _impl()->standalone = standalone;
}

unsigned char MarlDocument::getDeclaration() const {
  return _impl()->declaration;
}

void MarlDocument::setDeclaration(unsigned char declaration) {
  _impl()->declaration = declaration;
}

MarlElement MarlDocument::getRootElement() const {
  return _impl()->getRootElement();
}

MarlElement MarlDocument::createElement(std::wstring const& name, std::wstring const& prefix) {
  return _impl()->createElementNS(name, prefix, std::wstring());
}

MarlElement MarlDocument::createElementNS(std::wstring const& name, std::wstring const& prefix,
                                          std::wstring const& uri) {
  return _impl()->createElementNS(name, prefix, uri);
}

MarlElement MarlDocument::createSimpleElement(std::wstring const& name, std::wstring const& prefix,
                                              std::wstring const& text, MarlNode const& parent) {
  return _impl()->createSimpleElementNS(name, prefix, std::wstring(), text, parent);
}

MarlElement MarlDocument::createSimpleElementNS(std::wstring const& name,
                                                std::wstring const& prefix, std::wstring const& uri,
                                                std::wstring const& text, MarlNode const& parent) {
  return _impl()->createSimpleElementNS(name, prefix, uri, text, parent);
}

MarlAttribute MarlDocument::createAttribute(std::wstring const& name, std::wstring const& prefix) {
  return _impl()->createAttributeNS(name, prefix, std::wstring());
}

MarlAttribute MarlDocument::createAttributeNS(std::wstring const& name, std::wstring const& prefix,
                                              std::wstring const& uri) {
  return _impl()->createAttributeNS(name, prefix, uri);
}

MarlNamespaceDecl MarlDocument::createNamespaceDecl(std::wstring const& name,
                                                    std::wstring const& prefix,
                                                    std::wstring const& uri) {
  return _impl()->createNamespaceDecl(name, prefix, uri);
}

MarlText MarlDocument::createText(std::wstring const& text) {
  return _impl()->createText(text);
}

MarlComment MarlDocument::createComment(std::wstring const& text) {
  return _impl()->createComment(text);
}

MarlCDATASection MarlDocument::createCDATASection(std::wstring const& text) {
  return _impl()->createCDATASection(text);
}

MarlDocumentFragment MarlDocument::createDocumentFragment() {
  return _impl()->createDocumentFragment();
}

MarlPIParsed MarlDocument::createPIParsed(std::wstring const& target) {
  return _impl()->createPIParsed(target);
}

MarlPIUnparsed MarlDocument::createPIUnparsed(std::wstring const& target, std::wstring const& data) {
  return _impl()->createPIUnparsed(target, data);
}

void MarlDocument::insertID(std::wstring const& id, MarlElement& element) {
  _impl()->insertID(id, element);
}

// ---------------------------------------------------------------------------------------
// Marl

MarlDocument Marl::createDocument() const {
  return createObject<MarlDocument, CMarlDocument>();
}
