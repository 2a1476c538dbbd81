#include "dom/xmxxo_doc.h"

#include <cstdint>
#include <new>

#include "dom/xmxxo_attr.h"
#include "dom/xmxxo_cdse.h"
#include "dom/xmxxo_comm.h"
#include "dom/xmxxo_docf.h"
#include "dom/xmxxo_elem.h"
#include "dom/xmxxo_ncol.h"
#include "dom/xmxxo_nite.h"
#include "dom/xmxxo_nmap.h"
#include "dom/xmxxo_nsd.h"
#include "dom/xmxxo_pi.h"
#include "dom/xmxxo_text.h"
#include "dtd/xmxxo_doct.h"
#include "dtd/xmxxo_entr.h"

namespace {

constexpr std::size_t c_idTableSize = 1023;
constexpr std::size_t c_endTagLineTableSize = 256;

// A text node of any of the three kinds, holding `text`.
template <class Handle, class Impl>
Handle createCharacterData(std::wstring const& text) {
  try {
    Handle node(new Impl());
    node._impl()->setValue(text);
    return node;
  } catch (std::bad_alloc const&) {
    return Handle();
  }
}

// The five entities every document knows. Their values are the character references
// themselves, so that the declarations read back the same when written out.
void declarePredefinedEntities(CMarlDocumentType& type) {
  static wchar_t const* const c_predefined[][2] = {
      {L"lt", L"&#60;"}, {L"gt", L"&#62;"}, {L"amp", L"&#38;"},
      {L"apos", L"&#39;"}, {L"quot", L"&#34;"}};
  for (auto const& entity : c_predefined)
    if (!type.createIntEntityDecl(0, entity[0], entity[1])) throw std::bad_alloc();
}

// A copy of a document is no copy without its encoding: failing to copy it fails the clone.
MarlEncoding copyEncoding(MarlEncoding const& source) {
  if (!source) return MarlEncoding();
  MarlEncoding copy = source.clone();
  if (!copy) throw std::bad_alloc();
  return copy;
}

// The Unicode forms whose name leaves the byte order open announce it with a mark.
bool needsByteOrderMark(std::wstring const& encodingName) {
  return encodingName == L"utf-16" || encodingName == L"utf-32" || encodingName == L"ucs-2" ||
         encodingName == L"ucs-4";
}

// In document order, following the links rather than the call stack.
void internalizeSubtree(CMarlNode* top) {
  CMarlNode* node = top;
  while (node) {
    if (std::uint8_t* external = CMarlDocumentType::externalFlag(node)) *external = 0;
    node = node->firstChild ? node->firstChild : CMarlNode::nextBeyond(node, top);
  }
}

}  // namespace

CIDTable::CIDTable() : CHashTable(c_idTableSize) {}

CIDTable::~CIDTable() = default;

EndTagLineTable::EndTagLineTable() : CHashTable(c_endTagLineTableSize) {}

EndTagLineTable::~EndTagLineTable() = default;

// ---------------------------------------------------------------------------------------
// CMarlDocument

CMarlDocument::CMarlDocument()
    : documentType(new CMarlDocumentType(std::wstring(), std::wstring())),
      version(L"1.0"),
      standalone(0),
      declaration(1),
      idTable(nullptr),
      endTagLines(nullptr) {
  ownerDocument = this;
  declarePredefinedEntities(*documentType._impl());
}

CMarlDocument::CMarlDocument(CMarlDocument const& source, short depth)
    : CMarlNode(source, depth),
      documentType(source.documentType),
      version(source.version),
      standalone(source.standalone),
      declaration(source.declaration),
      idTable(nullptr),
      endTagLines(nullptr) {
  ownerDocument = this;
}

MarlNode CMarlDocument::copyAlone() const {
  return createObject<MarlNode, CMarlDocument>(*this, 0);
}

// A copy whose nodes do not know their document is no copy: without memory for the walk
// there is none.
void CMarlDocument::copyRest(CMarlNode const& original) {
  encoding = copyEncoding(static_cast<CMarlDocument const&>(original).encoding);
  // The type is shared, so these find the names taken and change no map.
  if (documentType) declarePredefinedEntities(*documentType._impl());
  MarlNodeIterator walk = createIteratorFiltered(MarlNodeFilter(), 0);
  if (!walk) throw std::bad_alloc();
  setOwnerAlong(walk, this);
}

CMarlDocument::~CMarlDocument() {
  delete idTable;
  idTable = nullptr;
  delete endTagLines;
  endTagLines = nullptr;
  // Nodes that outlive the document through outside handles must not point at it. The walk
  // hands out handles on the document itself; the document counts itself meanwhile, so that
  // letting them go does not delete it a second time.
  addRef();
  {
    // Without the library no iterator is made, lest a dying document bring the library back.
    MarlNodeIterator walk;
    if (CMarlBase::c_pMarl) walk = createIteratorFiltered(MarlNodeFilter(), UINT32_MAX);
    if (walk)
      setOwnerAlong(walk, nullptr);
    else
      adoptInto(nullptr);
  }
  dropRef();
}

void* CMarlDocument::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idDocument, idNode});
}

unsigned int CMarlDocument::_queryClass() const {
  return idDocument;
}

MarlNode CMarlDocument::clone(int depth) const {
  return cloneFinishedLast(*this, depth);
}

void CMarlDocument::render(MarlOStream const& out, unsigned char deep) const {
  renderSubtree(out, deep);
}

bool CMarlDocument::renderHead(MarlOStream const& out, unsigned char deep) const {
  if (!out) return false;
  // With the catch-all handler in the list a stream refuses an encoding only for want of
  // memory, and written on in its own the text would not be in the one the document names.
  if (!out.getEncoding() && encoding && !out.setEncoding(encoding)) throw std::bad_alloc();
  MarlEncoding streamEncoding = out.getEncoding();
  std::wstring encodingName;
  if (streamEncoding) encodingName = toLower(streamEncoding.getCharacterSet());
  // The host's current code page has no name that a reader could take from a declaration.
  bool const prolog = encodingName != L"orv-";
  if (prolog && needsByteOrderMark(encodingName)) {
    wchar_t const byteOrderMark = 0xFEFF;
    out.write(&byteOrderMark, 1);
  }
  if (prolog && declaration) {
    writeMarkup(out, L"<?xml version=\"");
    writeMarkup(out, version);
    writeMarkup(out, L"\"");
    if (streamEncoding) {
      writeMarkup(out, L" encoding=\"");
      writeMarkup(out, encodingName);
      writeMarkup(out, L"\"");
    }
    if (standalone) writeMarkup(out, L" standalone=\"yes\"");
    writeMarkup(out, L"?>");
    XMLOSManipEndl().manipulate(out);
  }
  return deep != 0;
}

// Each child is followed by a line break: the break before a later child is the one after
// the child before it.
bool CMarlDocument::renderBeforeChild(MarlOStream const& out, CMarlNode const&,
                                      bool firstWritten) const {
  if (!firstWritten) XMLOSManipEndl().manipulate(out);
  return true;
}

void CMarlDocument::renderTail(MarlOStream const& out, bool anyWritten) const {
  if (anyWritten) XMLOSManipEndl().manipulate(out);
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

MarlEntityRef CMarlDocument::createEntityRef(std::wstring const& name) {
  try {
    return MarlEntityRef(new CMarlEntityRef(CMarlBase::instance().intern(name)));
  } catch (std::bad_alloc const&) {
    return MarlEntityRef();
  }
}

MarlDocumentType CMarlDocument::createDocumentType(std::wstring const& name,
                                                   std::wstring const& prefix) {
  return createObject<MarlDocumentType, CMarlDocumentType>(name, prefix);
}

// The type always stands first among the children; the old one leaves its place to the new.
void CMarlDocument::setDocumentType(MarlDocumentType const& type) {
  if (!type) {
    if (documentType) removeChild(documentType);
    documentType = static_cast<CMarlDocumentType const*>(nullptr);
    return;
  }
  if (documentType && documentType._impl()->parent == this) {
    if (documentType._impl() != type._impl()) replaceChild(type, documentType);
  } else {
    insertChild(type, MarlNode(firstChild));
  }
  documentType = type;
}

void CMarlDocument::expand() {
  internalizeNodes(MarlNode(this));
  if (documentType) documentType._impl()->systemId.clear();
}

void CMarlDocument::internalizeNodes(MarlNode const& node) {
  if (node) internalizeSubtree(node._impl());
}

DefaultAttributeTable const* CMarlDocument::getDefaultAttributeTable() const {
  return documentType ? documentType._impl()->defaultAttributes : nullptr;
}

// A cache: failures to make or grow the table are swallowed.
void CMarlDocument::insertID(std::wstring const& id, MarlElement const& element) {
  try {
    if (!idTable) idTable = new CIDTable;
    idTable->emplace(id, id, element);
  } catch (std::bad_alloc const&) {
  }
}

// The table answers first; a hit of the search is entered, so the table is a cache whose
// entries keep answering after their attribute changed.
MarlElement CMarlDocument::findFromID(std::wstring const& attrName,
                                      std::wstring const& attrNamespace, std::wstring const& id) {
  try {
    if (!idTable) idTable = new CIDTable;
    if (auto const* entry = idTable->find(id)) return entry->second;
    // By name and prefix: the second string is taken for the attribute's prefix.
    MarlNodeFilter carriesId = createFilterAttribute(attrName, attrNamespace, id);
    if (!carriesId) return MarlElement();
    MarlNodeIterator walk = createIteratorFiltered(carriesId, 0);
    if (!walk) return MarlElement();
    MarlElement found(walk.getNext());
    if (found) insertID(id, found);
    return found;
  } catch (std::bad_alloc const&) {
    return MarlElement();
  }
}

// The end-tag and ID tables are not adjusted: end-tag lines stay under the old numbers.
void CMarlDocument::linearize() {
  MarlNodeIterator walk = createIteratorFiltered(MarlNodeFilter(), UINT32_MAX);
  if (!walk) return;
  CMarl& marl = CMarlBase::instance();
  for (MarlNode node = walk.getNext(); node; node = walk.getNext()) {
    CMarlNode* current = node._impl();
    current->GID = marl.takeGID();
    unsigned int kind = current->getType();
    if (kind != MarlNode::nodeElement && kind != MarlNode::nodePIParsed) continue;
    // An element that never made its map has attributes to number only when the document
    // type supplies defaults; otherwise making one here would cost a map per element for
    // nothing.
    if (kind == MarlNode::nodeElement && !static_cast<CMarlElement*>(current)->attributes &&
        !getDefaultAttributeTable())
      continue;
    MarlNamedNodeMap attributes = current->getAttributes();
    if (!attributes) continue;
    for (MarlNode const& attribute : attributes._impl()->entries)
      attribute._impl()->GID = marl.takeGID();
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
// Lookups by name and path

MarlElement CMarlDocument::findFromPath(std::wstring const& path) const {
  return CPathWalk::lookUp(this, path, false);
}

MarlElement CMarlDocument::findFromPathNS(std::wstring const& path, std::wstring const&) const {
  return CPathWalk::lookUp(this, path, true);
}

MarlElement CMarlDocument::findFromName(std::wstring const& wantedName,
                                        std::wstring const& wantedPrefix,
                                        unsigned int depth) const {
  try {
    return findNamed(wantedName, wantedPrefix, &CMarlNode::getNamespacePrefix, depth);
  } catch (std::bad_alloc const&) {
    return MarlElement();
  }
}

MarlElement CMarlDocument::findFromNameNS(std::wstring const& wantedName,
                                          std::wstring const& wantedUri,
                                          unsigned int depth) const {
  try {
    return findNamed(wantedName, wantedUri, &CMarlNode::getNamespaceURI, depth);
  } catch (std::bad_alloc const&) {
    return MarlElement();
  }
}

MarlNodeCollection CMarlDocument::getElementsByTagName(std::wstring const& wantedName,
                                                       std::wstring const& wantedPrefix,
                                                       unsigned int depth) const {
  return collectNamed(wantedName, wantedPrefix, &CMarlNode::getNamespacePrefix, depth);
}

MarlNodeCollection CMarlDocument::getElementsByTagNameNS(std::wstring const& wantedName,
                                                         std::wstring const& wantedUri,
                                                         unsigned int depth) const {
  return collectNamed(wantedName, wantedUri, &CMarlNode::getNamespaceURI, depth);
}

// The root is compared by compareName, so that a wildcard name takes it; the elements below
// it are compared by atoms only. The limit counts from the root, so depth 1 reaches the root
// and its children.
MarlElement CMarlDocument::findNamed(std::wstring const& wantedName,
                                     std::wstring const& wantedSecond,
                                     CMarlElement::NamePart part, unsigned int depth) const {
  MarlElement root = getRootElement();
  if (!root) return root;
  CMarlElement const* top = root._impl();
  if (compareName(top->getName(), (top->*part)(), wantedName, wantedSecond)) return root;
  return top->findRegistered(*intern(wantedName), *intern(wantedSecond), part,
                             depth == 0 ? UINT32_MAX : depth);
}

// Unlike an element's, the document's collection may hold the root. A collection cut short by
// a lack of memory would pass for a complete one: there is none then.
MarlNodeCollection CMarlDocument::collectNamed(std::wstring const& wantedName,
                                               std::wstring const& wantedSecond,
                                               CMarlElement::NamePart part,
                                               unsigned int depth) const {
  try {
    MarlNodeCollection found(new CMarlNodeCollection());
    Atom name = intern(wantedName);
    Atom second = intern(wantedSecond);
    MarlElement root = getRootElement();
    if (root) root._impl()->collectRegistered(*found._impl(), *name, *second, part, depth, true);
    return found;
  } catch (std::bad_alloc const&) {
    return MarlNodeCollection();
  }
}

// The first step of a path names the root element, or matches the document's element children
// in turn when it is a wildcard; there is nothing above the document for "..".
PathOutcome CMarlDocument::takePathStep(CPathWalk& walk, std::size_t offset) const {
  MarlElement root = getRootElement();
  if (!root) return PathOutcome::failed;
  if (walk.slashAt(offset)) ++offset;
  CPathWalk::Step step = walk.cut(offset);
  if (step.head.empty() || CPathWalk::isParentStep(step.head)) return PathOutcome::failed;
  std::wstring qualifier;
  std::wstring local;
  walk.split(step.head, qualifier, local);
  if (CPathWalk::isWildcard(qualifier, local))
    return walk.branch(this, std::move(qualifier), std::move(local), step.rest);
  // By URI the named step may also take a child of the root, when the root does not match:
  // it asks findFromNameNS with depth 1, where the prefix form tests the root alone.
  if (walk.byURI()) {
    MarlElement named = findNamed(local, qualifier, &CMarlNode::getNamespaceURI, 1);
    return named ? walk.moveTo(named._impl(), step.rest) : PathOutcome::failed;
  }
  CMarlElement const* top = root._impl();
  if (!compareName(top->getName(), top->getNamespacePrefix(), local, qualifier))
    return PathOutcome::failed;
  return walk.moveTo(top, step.rest);
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

MarlEncoding MarlDocument::getEncoding() const {
  return _impl()->encoding;
}

void MarlDocument::setEncoding(MarlEncoding const& encoding) {
  _impl()->encoding = encoding ? encoding.clone() : MarlEncoding();
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

MarlEntityRef MarlDocument::createEntityRef(std::wstring const& name) {
  return _impl()->createEntityRef(name);
}

MarlDocumentType MarlDocument::createDocumentType(std::wstring const& name,
                                                  std::wstring const& prefix) {
  return _impl()->createDocumentType(name, prefix);
}

MarlDocumentType MarlDocument::getDocumentType() const {
  return _impl()->documentType;
}

void MarlDocument::setDocumentType(MarlDocumentType const& type) {
  _impl()->setDocumentType(type);
}

void MarlDocument::expand() {
  _impl()->expand();
}

void MarlDocument::insertID(std::wstring const& id, MarlElement& element) {
  _impl()->insertID(id, element);
}

MarlElement MarlDocument::findFromID(std::wstring const& attrName,
                                     std::wstring const& attrNamespace,
                                     std::wstring const& id) const {
  return _impl()->findFromID(attrName, attrNamespace, id);
}

void MarlDocument::linearize() {
  _impl()->linearize();
}

MarlElement MarlDocument::findFromPath(std::wstring const& path) const {
  return _impl()->findFromPath(path);
}

MarlElement MarlDocument::findFromPathNS(std::wstring const& path,
                                         std::wstring const& reserved) const {
  return _impl()->findFromPathNS(path, reserved);
}

MarlElement MarlDocument::findFromName(std::wstring const& name, std::wstring const& prefix,
                                       unsigned int depth) const {
  return _impl()->findFromName(name, prefix, depth);
}

MarlElement MarlDocument::findFromNameNS(std::wstring const& name, std::wstring const& uri,
                                         unsigned int depth) const {
  return _impl()->findFromNameNS(name, uri, depth);
}

MarlNodeCollection MarlDocument::getElementsByTagName(std::wstring const& name,
                                                      std::wstring const& prefix,
                                                      unsigned int depth) {
  return _impl()->getElementsByTagName(name, prefix, depth);
}

MarlNodeCollection MarlDocument::getElementsByTagNameNS(std::wstring const& name,
                                                        std::wstring const& uri,
                                                        unsigned int depth) {
  return _impl()->getElementsByTagNameNS(name, uri, depth);
}

// ---------------------------------------------------------------------------------------
// Marl

MarlDocument Marl::createDocument() const {
  return createObject<MarlDocument, CMarlDocument>();
}
