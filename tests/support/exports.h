// The library's functions as the tests call them: `lib.dDopen(...)`. The same test source runs
// linked with the library's objects and, where the functions were looked up by name, against the
// shared library.
#ifndef VQDBSYS_TESTS_SUPPORT_EXPORTS_H_
#define VQDBSYS_TESTS_SUPPORT_EXPORTS_H_

#include "vqdbsys.h"

namespace vqdb::testing {

struct Exports {
#define VQ_EXPORTED(name) decltype(&::name) name;
#include "exported_functions.inc"
#undef VQ_EXPORTED
};

// Filled before main; a function that the shared library lacks ends the program with its name.
extern const Exports lib;

}  // namespace vqdb::testing

using vqdb::testing::lib;

#endif  // VQDBSYS_TESTS_SUPPORT_EXPORTS_H_
