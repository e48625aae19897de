// What ends a benchmark program: a step that should have succeeded and did not.
#ifndef VQDBSYS_BENCH_REQUIRE_H_
#define VQDBSYS_BENCH_REQUIRE_H_

#include <cstdio>
#include <cstdlib>

namespace vqdb::bench {

inline void require(bool succeeded, const char* step) {
  if (succeeded) return;
  std::fprintf(stderr, "step failed: %s\n", step);
  std::exit(1);
}

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_REQUIRE_H_
