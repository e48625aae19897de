// What open handles take from memory, beside what the library says that they need.
#ifndef VQDBSYS_BENCH_MEMORY_H_
#define VQDBSYS_BENCH_MEMORY_H_

#include <cstddef>

namespace vqdb::bench {

void print_memory();

// The peak of what the program takes from memory begins anew; answers what it takes now. Pages of
// mapped files count.
std::size_t forget_peak();
double megabytes_since(std::size_t before);

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_MEMORY_H_
