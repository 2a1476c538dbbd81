#ifndef MARL_EXPORT_H
#define MARL_EXPORT_H

// The shared object is built with hidden visibility; only what carries MARL_API is exported.
#if defined(_WIN32)
#  if defined(MARL_BUILDING_LIBRARY)
#    define MARL_API __declspec(dllexport)
#  else
#    define MARL_API __declspec(dllimport)
#  endif
#  define MARL_HOST_API
#else
#  define MARL_API __attribute__((visibility("default")))
// The host layer stays interposable: a program that defines one of these functions replaces
// the library's default.
#  define MARL_HOST_API __attribute__((visibility("default")))
#endif

#endif
