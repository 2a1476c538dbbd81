#include "documents.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

constexpr std::size_t c_mixedDocumentBytes = 10 * c_megabyte;
constexpr unsigned int c_nestingDepth = 10000;

char const* const c_declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

// Records with attributes, text and a little markup of every common kind, repeated to size.
std::string recordsDocument(std::size_t targetBytes) {
  std::string text = c_declaration;
  text.reserve(targetBytes + 1024);
  text += "<records>\n";
  for (unsigned int index = 0; text.size() < targetBytes; ++index) {
    text += "  <record id=\"r" + std::to_string(index) + "\" kind=\"" +
            (index % 3 == 0 ? "book" : "article") + "\">\n";
    text += "    <title>Record number " + std::to_string(index) + " &amp; its title</title>\n";
    text += "    <author first=\"Ada\" last=\"Lovelace\"/>\n";
    text += "    <!-- a comment -->\n";
    text += "    <body>Some text of the record, long enough to matter for the scanner: "
            "lorem ipsum dolor sit amet, consectetur adipiscing elit.</body>\n";
    text += "  </record>\n";
  }
  text += "</records>\n";
  return text;
}

// Paragraphs where references and multi-byte characters are the rule rather than the exception:
// two- to four-byte UTF-8 sequences and the same characters again as decimal and hexadecimal
// references. The references stay in the Basic Multilingual Plane: Marl holds text as 16-bit
// units and refuses a reference beyond them, while four-byte sequences pass as they are.
std::string textDocument() {
  static char const* const sentences[] = {
      "Le caf&#233; de la gare sert une cr&#xE8;me br&#251;l&#233;e &amp; un th&#233; vert "
      "pour moins de 5 &#x20AC;. ",
      "Straße, Größe und Übermaß: naïve façades in Ærøskøbing cost &lt; 3 kr &amp; &gt; 2 øre. ",
      "中文的文本 &#x4E2D;&#x6587; 与日本語のテキスト、한국어 텍스트가 섞여 있습니다。 ",
      "Ελληνικά και русский текст: αβγ &#945;&#946;&#947; и ёжик в тумане. ",
      "Music sets 𝄞 beside ♫ &#x266B;, with quotes &quot;like this&quot; and "
      "&apos;that&apos;. ",
      "Plain prose keeps the scanner honest: lorem ipsum dolor sit amet, consectetur "
      "adipiscing elit. ",
      "Arithmetic in text: 3 &lt; 4 &amp;&amp; 5 &gt; 2, a &#8800; b, x &#x2264; y. ",
      "Emoji 😀 and dingbats ✓ &#10003; ☺ &#x263A; round off the mix. ",
  };
  constexpr unsigned int sentenceCount = sizeof sentences / sizeof sentences[0];
  std::string text = c_declaration;
  text.reserve(c_mixedDocumentBytes + 4096);
  text += "<texts>\n";
  for (unsigned int index = 0; text.size() < c_mixedDocumentBytes; ++index) {
    text += "  <text n=\"" + std::to_string(index) + "\" title=\"Caf&#233; n&#xB0; " +
            std::to_string(index) + " — « déjà vu »\">\n";
    for (unsigned int paragraph = 0; paragraph < 3; ++paragraph) {
      text += "    <p>";
      for (unsigned int sentence = 0; sentence < 5; ++sentence)
        text += sentences[(index * 3 + paragraph * 5 + sentence) % sentenceCount];
      text += "</p>\n";
    }
    text += "  </text>\n";
  }
  text += "</texts>\n";
  return text;
}

// Elements that are little but attributes: sixteen on an item, four on each of its variants.
std::string attributesDocument() {
  static char const* const colors[] = {"red", "green", "blue", "black", "white"};
  static char const* const sizes[] = {"XS", "S", "M", "L", "XL"};
  std::string text = c_declaration;
  text.reserve(c_mixedDocumentBytes + 1024);
  text += "<items>\n";
  for (unsigned int index = 0; text.size() < c_mixedDocumentBytes; ++index) {
    std::string number = std::to_string(index);
    text += "  <item id=\"i" + number + "\" sku=\"SKU-" + number + "\" name=\"Widget " + number +
            "\" color=\"" + colors[index % 5] + "\" size=\"" + sizes[index % 5] +
            "\" weight=\"0." + std::to_string(index % 1000) +
            "\" unit=\"kg\" price=\"" + std::to_string(index % 100) +
            ".99\" currency=\"EUR\" stock=\"" + std::to_string(index % 37) +
            "\" warehouse=\"north\" shelf=\"A-" + std::to_string(index % 12) +
            "\" supplier=\"Smith &amp; Sons\" created=\"2024-01-01\" updated=\"2024-06-30\" "
            "note=\"x &lt; y\">\n";
    for (unsigned int variant = 0; variant < 2; ++variant)
      text += "    <variant code=\"v" + std::to_string(variant) + "\" color=\"" +
              colors[(index + variant) % 5] + "\" size=\"" + sizes[(index + variant + 2) % 5] +
              "\" available='yes'/>\n";
    text += "  </item>\n";
  }
  text += "</items>\n";
  return text;
}

// A default namespace and four prefixes at the root, prefixed elements and attributes
// throughout, and declarations that change a prefix or the default for a subtree.
std::string namespacesDocument() {
  std::string text = c_declaration;
  text.reserve(c_mixedDocumentBytes + 1024);
  text += "<catalog xmlns=\"urn:example:catalog\" xmlns:dc=\"http://purl.org/dc/elements/1.1/\" "
          "xmlns:xl=\"http://www.w3.org/1999/xlink\" "
          "xmlns:geo=\"http://www.w3.org/2003/01/geo/wgs84_pos#\" "
          "xmlns:ex=\"urn:example:extension\">\n";
  for (unsigned int index = 0; text.size() < c_mixedDocumentBytes; ++index) {
    std::string number = std::to_string(index);
    text += "  <entry dc:identifier=\"e" + number + "\" xl:type=\"simple\" xl:href=\"#e" +
            std::to_string(index + 1) + "\" ex:rank=\"" + std::to_string(index % 10) + "\">\n";
    text += "    <dc:title>Entry " + number + "</dc:title>\n";
    text += "    <dc:creator ex:role=\"author\">Ada Lovelace</dc:creator>\n";
    text += "    <geo:point geo:lat=\"51." + std::to_string(index % 1000) + "\" geo:long=\"-0." +
            std::to_string(index % 997) + "\"/>\n";
    text += "    <ex:note xmlns:ex=\"urn:example:extension:v2\" ex:revision=\"" +
            std::to_string(index % 7) + "\">a prefix declared again for this note</ex:note>\n";
    text += "    <summary xmlns=\"http://www.w3.org/1999/xhtml\"><p>A summary in the "
            "<em>default</em> namespace of its own.</p></summary>\n";
    text += "  </entry>\n";
  }
  text += "</catalog>\n";
  return text;
}

// Elements nested c_nestingDepth deep, with text before and after each inner element.
std::string nestedDocument() {
  std::string text = c_declaration;
  text += "<nest>";
  for (unsigned int depth = 0; depth < c_nestingDepth; ++depth)
    text += "<level depth=\"" + std::to_string(depth) + "\">before " + std::to_string(depth);
  for (unsigned int depth = c_nestingDepth; depth-- > 0;)
    text += "after " + std::to_string(depth) + "</level>";
  text += "</nest>\n";
  return text;
}

std::string fileDocument(char const* path) {
  std::ifstream file(path, std::ios::binary);
  if (!file)
    throw std::runtime_error(std::string("cannot open ") + path +
                             " (make bench installs it)");
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace

char const* const c_recordsPrefix = "records-";

std::vector<DocumentSource> const& documentSources() {
  static std::vector<DocumentSource> const sources = {
      {"records-1MB", false, [] { return recordsDocument(1 * c_megabyte); }},
      {"records-10MB", false, [] { return recordsDocument(10 * c_megabyte); }},
      {"records-100MB", true, [] { return recordsDocument(100 * c_megabyte); }},
      {"text-refs", false, textDocument},
      {"attributes", false, attributesDocument},
      {"namespaces", false, namespacesDocument},
      {"nested-10000", false, nestedDocument},
      // Both carry a document type with an internal subset only: no parser has a DTD to fetch.
      {"freedesktop-mime", false,
       [] { return fileDocument("/usr/share/mime/packages/freedesktop.org.xml"); }},
      {"iso-639-3", false, [] { return fileDocument("/usr/share/xml/iso-codes/iso_639-3.xml"); }},
  };
  return sources;
}
