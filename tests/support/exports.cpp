#include "support/exports.h"

#ifndef VQ_TESTS_STATIC

#include <cstdio>
#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace vqdb::testing {
namespace {

void* open_library() {
#ifdef _WIN32
  void* const library = reinterpret_cast<void*>(LoadLibraryA(VQ_LIBRARY_NAME));
#else
  void* const library = dlopen(VQ_LIBRARY_NAME, RTLD_NOW | RTLD_LOCAL);
#endif
  if (library == nullptr) {
#ifdef _WIN32
    std::fprintf(stderr, "cannot load %s: error %lu\n", VQ_LIBRARY_NAME, GetLastError());
#else
    std::fprintf(stderr, "cannot load %s: %s\n", VQ_LIBRARY_NAME, dlerror());
#endif
    std::exit(EXIT_FAILURE);
  }
  return library;
}

void* find_function(void* library, const char* name) {
#ifdef _WIN32
  return reinterpret_cast<void*>(GetProcAddress(reinterpret_cast<HMODULE>(library), name));
#else
  return dlsym(library, name);
#endif
}

Exports load() {
  void* const library = open_library();
  Exports exports{};
  bool complete = true;
#define VQ_EXPORTED(name)                                                                 \
  exports.name = reinterpret_cast<decltype(exports.name)>(find_function(library, #name)); \
  if (exports.name == nullptr) {                                                          \
    std::fprintf(stderr, "%s does not export %s\n", VQ_LIBRARY_NAME, #name);              \
    complete = false;                                                                     \
  }
#include "exported_functions.inc"
#undef VQ_EXPORTED
  if (!complete) {
    std::exit(EXIT_FAILURE);
  }
  return exports;
}

}  // namespace

const Exports lib = load();

}  // namespace vqdb::testing

#else

namespace vqdb::testing {

const Exports lib = {
#define VQ_EXPORTED(name) &::name,
#include "exported_functions.inc"
#undef VQ_EXPORTED
};

}  // namespace vqdb::testing

#endif
