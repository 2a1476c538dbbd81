#ifndef MARL_HANDLE_H
#define MARL_HANDLE_H

#include "marl/types.h"

// Every handle holds one counted pointer to its implementation object and nothing else.
// The members below behave alike in all handle classes:
//  - Handle(Impl*)          stores the pointer and counts it when it is not null;
//  - Handle(CUnknown*)      asks the object for this handle's interface; an object of another
//                           kind (or null) gives an empty handle and changes no count;
//  - copy and assignment    share the pointer; assignment releases the old object first;
//  - operator CUnknown*     the emptiness test: null for an empty handle.
// Forwarding methods do not test for an empty handle: test first, then call.
#define MARL_HANDLE_MEMBERS(Handle, Impl)            \
 public:                                             \
  Handle() noexcept : m_p(nullptr) {}                \
  Handle(Impl* p);                                   \
  explicit Handle(CUnknown* p);                      \
  Handle(Handle const& other);                       \
  Handle& operator=(Handle const& other);            \
  Handle& operator=(Impl const* p);                  \
  ~Handle();                                         \
  operator CUnknown*() const;                        \
  /* The implementation pointer, for the library's own use. */ \
  Impl* _impl() const noexcept { return m_p; }       \
                                                     \
 private:                                            \
  Impl* m_p;

#endif
