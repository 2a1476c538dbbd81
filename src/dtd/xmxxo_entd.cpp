#include "dtd/xmxxo_entd.h"

#include <cwchar>

#include "parser/xmxxs_ent.h"

CMarlEntityDecl::CMarlEntityDecl() : name(emptyAtom()), parameterEntity(0), external(0) {}

CMarlEntityDecl::CMarlEntityDecl(unsigned char parameter, MarlGEntity const& entity)
    : name(entity ? intern(entity.getName()) : emptyAtom()),
      gentity(entity),
      parameterEntity(parameter),
      external(0) {}

// A stale source's atoms died with the cache they came from.
CMarlEntityDecl::CMarlEntityDecl(CMarlEntityDecl const& source, short depth)
    : CMarlNode(source, depth),
      name(source.isStale() ? unknownAtom() : source.name),
      gentity(source.gentity),
      parameterEntity(source.parameterEntity),
      external(source.external) {}

void* CMarlEntityDecl::_queryInterface(unsigned int id) {
  return answerQuery(this, id, {idEntityDecl, idNode});
}

unsigned int CMarlEntityDecl::_queryClass() const {
  return idEntityDecl;
}

unsigned int CMarlEntityDecl::setName(std::wstring const& text) {
  name = intern(text);
  return MarlNode::rcOK;
}

MarlNode CMarlEntityDecl::clone(int depth) const {
  return createObject<MarlNode, CMarlEntityDecl>(*this, static_cast<short>(depth));
}

void CMarlEntityDecl::render(MarlOStream const& out, unsigned char) const {
  if (!out || external) return;
  writeMarkup(out, L"<!ENTITY ");
  if (parameterEntity) writeMarkup(out, L"% ");
  writeMarkup(out, getName());
  unsigned int const kind = entityKind();
  if (kind == MarlGEntity::entityExtParsed || kind == MarlGEntity::entityExtUnparsed) {
    if (getPublicId().empty()) {
      writeMarkup(out, L" SYSTEM ");
    } else {
      writeMarkup(out, L" PUBLIC ");
      XMLOSManipQuoted(1).manipulate(out);
      writeMarkup(out, getPublicId());
      writeMarkup(out, L" ");
    }
    XMLOSManipQuoted(1).manipulate(out);
    writeMarkup(out, getSystemId());
    if (kind == MarlGEntity::entityExtUnparsed && !getNotationName().empty()) {
      writeMarkup(out, L" NDATA ");
      writeMarkup(out, getNotationName());
    }
  } else if (kind == MarlGEntity::entityIntParsed) {
    renderValue(out);
  }
  writeMarkup(out, L">");
  XMLOSManipEndl().manipulate(out);
}

// The value goes out unescaped, so that the references in it stay references. A value that is
// a lone markup character becomes its character reference, or the declaration would not read
// back: `<!ENTITY lt "&#60;">`.
void CMarlEntityDecl::renderValue(MarlOStream const& out) const {
  std::wstring const value = static_cast<CMarlGEntityIntParsed*>(gentity._impl())->getValue();
  writeMarkup(out, L" ");
  XMLOSManipQuoted(1).manipulate(out);
  if (value.size() == 1 && (value[0] == L'<' || value[0] == L'>' || value[0] == L'&')) {
    wchar_t reference[8];
    int const written = std::swprintf(reference, 8, L"&#%d;", static_cast<int>(value[0]));
    out.write(reference, written);
    return;
  }
  writeMarkup(out, value);
}

std::wstring const& CMarlEntityDecl::getName() const {
  return isStale() ? *unknownAtom() : *name;
}

unsigned int CMarlEntityDecl::getType() const {
  return MarlNode::nodeEntityDecl;
}

unsigned int CMarlEntityDecl::entityKind() const {
  return gentity ? gentity.getType() : static_cast<unsigned int>(MarlGEntity::entityGeneral);
}

// The text lives in the entity's buffer; a reference to it goes out through the string cache.
std::wstring const& CMarlEntityDecl::getEntityValue() const {
  if (entityKind() != MarlGEntity::entityIntParsed) return *emptyAtom();
  return *intern(static_cast<CMarlGEntityIntParsed*>(gentity._impl())->getValue());
}

std::wstring const& CMarlEntityDecl::getSystemId() const {
  switch (entityKind()) {
    case MarlGEntity::entityExtParsed:
      return static_cast<CMarlGEntityExtParsed*>(gentity._impl())->systemId;
    case MarlGEntity::entityExtUnparsed:
      return static_cast<CMarlGEntityExtUnparsed*>(gentity._impl())->systemId;
    default:
      return *emptyAtom();
  }
}

std::wstring const& CMarlEntityDecl::getPublicId() const {
  switch (entityKind()) {
    case MarlGEntity::entityExtParsed:
      return static_cast<CMarlGEntityExtParsed*>(gentity._impl())->publicId;
    case MarlGEntity::entityExtUnparsed:
      return static_cast<CMarlGEntityExtUnparsed*>(gentity._impl())->publicId;
    default:
      return *emptyAtom();
  }
}

std::wstring const& CMarlEntityDecl::getNotationName() const {
  if (entityKind() != MarlGEntity::entityExtUnparsed) return *emptyAtom();
  return static_cast<CMarlGEntityExtUnparsed*>(gentity._impl())->notationName;
}

// ---------------------------------------------------------------------------------------
// MarlEntityDecl

MARL_DEFINE_NODE_HANDLE(MarlEntityDecl, CMarlEntityDecl, idEntityDecl)

unsigned char MarlEntityDecl::isParameterEntity() const {
  return _impl()->parameterEntity;
}

void MarlEntityDecl::setExternal(unsigned char external) {
  _impl()->external = external;
}

unsigned char MarlEntityDecl::isExternal() const {
  return _impl()->external;
}

std::wstring const& MarlEntityDecl::getEntityValue() const {
  return _impl()->getEntityValue();
}

std::wstring const& MarlEntityDecl::getSystemId() const {
  return _impl()->getSystemId();
}

std::wstring const& MarlEntityDecl::getPublicId() const {
  return _impl()->getPublicId();
}

std::wstring const& MarlEntityDecl::getNotationName() const {
  return _impl()->getNotationName();
}
