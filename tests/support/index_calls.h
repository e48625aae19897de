// The functions that NDX files and the tags of MDX files have alike.
#ifndef VQDBSYS_TESTS_SUPPORT_INDEX_CALLS_H_
#define VQDBSYS_TESTS_SUPPORT_INDEX_CALLS_H_

#include "support/test.h"

namespace vqdb::testing {

struct IndexCalls {
  decltype(lib.dNputkey) putkey, rmkey;
  decltype(lib.dNupdkey) updkey;
  decltype(lib.dNgetrno) getrno;
  decltype(lib.dNseeks) seeks;
  decltype(lib.dNnxtkey) nxtkey, prvkey;
  decltype(lib.dNnxtkeys) nxtkeys;
  decltype(lib.dNrewind) rewind, forwrd, flush, close;
};

inline IndexCalls index_calls(bool is_ndx) {
#define VQ_CALLS(f)                                                                             \
  IndexCalls {                                                                                  \
    lib.f##putkey, lib.f##rmkey, lib.f##updkey, lib.f##getrno, lib.f##seeks, lib.f##nxtkey,     \
        lib.f##prvkey, lib.f##nxtkeys, lib.f##rewind, lib.f##forwrd, lib.f##flush, lib.f##close \
  }
  return is_ndx ? VQ_CALLS(dN) : VQ_CALLS(dX);
#undef VQ_CALLS
}

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_INDEX_CALLS_H_
