// What open handles take from memory, beside what the library says that they need.
#ifndef VQDBSYS_BENCH_MEMORY_H_
#define VQDBSYS_BENCH_MEMORY_H_

namespace vqdb::bench {

void print_memory();

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_MEMORY_H_
