// Builds a small catalogue document by calls, with a document type, namespaces, attributes
// and text, prints a walk of it through a node iterator, and writes it out as XML.
#include <marl/marl.h>

#include <cstdio>
#include <string>

namespace {

char const* kindName(unsigned int type) {
  switch (type) {
    case MarlNode::nodeDocument: return "document";
    case MarlNode::nodeElement: return "element";
    case MarlNode::nodeText: return "text";
    case MarlNode::nodeCDATA: return "cdata";
    case MarlNode::nodeComment: return "comment";
    case MarlNode::nodePIUnparsed: return "pi";
    case MarlNode::nodeDocumentType: return "doctype";
    case MarlNode::nodeElementDecl: return "element-decl";
    case MarlNode::nodeContentParticle: return "particle";
    case MarlNode::nodeAttListDecl: return "attlist-decl";
    case MarlNode::nodeAttributeDecl: return "attribute-decl";
    case MarlNode::nodeEntityDecl: return "entity-decl";
    default: return "node";
  }
}

void printNode(MarlNode const& node) {
  std::printf("%*s%-14s %ls", static_cast<int>(2 * node.getHeight()), "", kindName(node.getType()),
              node.getName().c_str());
  if (!node.getNamespaceURI().empty()) std::printf("  {%ls}", node.getNamespaceURI().c_str());
  if (node.getType() == MarlNode::nodeText) std::printf("  \"%ls\"", node.getValue().c_str());
  if (MarlNamedNodeMap attributes = node.getAttributes()) {
    for (unsigned int i = 0; i < attributes.getLength(); ++i) {
      MarlNode attribute = attributes.getItem(i);
      std::printf("  @%ls%s%ls=\"%ls\"", attribute.getNamespacePrefix().c_str(),
                  attribute.getNamespacePrefix().empty() ? "" : ":", attribute.getName().c_str(),
                  attribute.getValue().c_str());
    }
  }
  std::printf("\n");
}

}  // namespace

int main() {
  Marl marl = Marl::create();
  MarlDocument document = marl.createDocument();
  if (!document) {
    std::fputs("marl: no memory for a document\n", stderr);
    return 1;
  }

  MarlDocumentType type = document.getDocumentType();
  type.setName(L"catalog");
  MarlElementDecl catalogDecl = type.createElementDecl(L"catalog", L"");
  catalogDecl.setContentSpec(MarlElementDecl::CS_CHILDREN);
  MarlContentParticle books = type.createContentParticle(
      L"", L"", MarlContentParticle::OCC_ZERO_OR_MORE, MarlContentParticle::GROUP_SEQUENCE);
  books.addContentParticle(type.createContentParticle(L"book", L"", MarlContentParticle::OCC_ONE,
                                                      MarlContentParticle::GROUP_SEQUENCE));
  catalogDecl.addContentParticle(books);
  type.appendChild(catalogDecl, 0);
  MarlAttributeDecl id = type.createAttributeDecl(L"id", L"");
  id.setValueType(MarlAttributeDecl::VT_ID);
  MarlAttListDecl bookAttributes = type.createAttListDecl(L"book", L"");
  bookAttributes.appendChild(id, 0);
  type.appendChild(bookAttributes, 0);
  type.appendChild(type.createIntEntityDecl(0, L"publisher", L"Marl Press"), 0);
  document.setDocumentType(type);

  MarlElement catalog = document.createElement(L"catalog", L"");
  document.appendChild(catalog, 0);
  catalog.setAttributeNode(document.createNamespaceDecl(L"xmlns", L"", L"urn:example:catalog"));
  catalog.setAttributeNode(document.createNamespaceDecl(L"dc", L"xmlns", L"http://purl.org/dc/elements/1.1/"));
  catalog.appendChild(document.createComment(L" two books "), 0);

  struct Book {
    wchar_t const* id;
    wchar_t const* title;
    wchar_t const* creator;
  };
  for (Book const& book : {Book{L"b1", L"The Art of Markup", L"A. Author"},
                           Book{L"b2", L"Trees and Their Walks", L"B. Writer"}}) {
    MarlElement entry = document.createSimpleElement(L"book", L"", L"", catalog);
    entry.setAttribute(L"id", L"", book.id);
    document.createSimpleElement(L"title", L"dc", book.title, entry);
    document.createSimpleElement(L"creator", L"dc", book.creator, entry);
  }

  std::printf("A document %u levels deep, walked in document order:\n\n", document.getDepth());
  MarlNodeIterator walk = document.createIterator(0);
  for (MarlNode node = walk.getNext(); node; node = walk.getNext()) printNode(node);

  MarlElement second = document.findFromID(L"id", L"", L"b2");
  if (second) std::printf("\nThe book with id b2 is titled \"%ls\".\n", second.getFirstChild().getValue().c_str());

  // Rendered into UTF-8 bytes, which go to standard output as they are.
  rawstring xml;
  MarlOStream out = marl.createStreamFactory().createOStreamRawString(xml);
  MarlRenderer renderer = out && out.setEncoding(marl.createEncoding(L"utf-8", MarlEncoding::BYTEORDER_NONE))
                              ? marl.createRenderer(out, document)
                              : MarlRenderer();
  if (!renderer) {
    std::fputs("marl: no memory for a renderer\n", stderr);
    return 1;
  }
  renderer.setNormalizing(1);
  renderer.render();
  std::printf("\nThe document as XML:\n\n");
  std::fflush(stdout);
  std::fwrite(xml.data(), 1, xml.size(), stdout);
  return 0;
}
