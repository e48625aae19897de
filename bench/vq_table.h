// The library's objects as the benchmarks hold them: opened on construction, closed at the end of
// the scope, and fatal to the program when anything fails.
#ifndef VQDBSYS_BENCH_VQ_TABLE_H_
#define VQDBSYS_BENCH_VQ_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "sum.h"
#include "vqdbsys.h"

namespace vqdb::bench {

// A database block, prepared for a dialect.
class Block {
 public:
  explicit Block(std::uint32_t kind = 7);

  operator VqBlock*() { return &block_; }

 private:
  VqBlock block_;
};

class Table {
 public:
  Table(VqBlock* block, const std::string& path, std::uint32_t mode, std::int32_t buffers);
  ~Table();
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  operator VqTable*() const { return table_; }

 private:
  VqTable* table_;
};

// An NDX index.
class Index {
 public:
  Index(VqTable* table, const std::string& path, std::int32_t pages);
  ~Index();
  Index(const Index&) = delete;
  Index& operator=(const Index&) = delete;

  operator VqIndex*() const { return index_; }

 private:
  VqIndex* index_;
};

// What a walk over its keys of so many bytes comes to.
Sum sum_of_walk(VqIndex* index, std::size_t key_bytes);

inline constexpr std::size_t kHeaderBytes = 32 + 32 * 7 + 1;

void create_customer_table(VqBlock* block, const std::string& path);
void append_customers(VqTable* table);

// What the live records of a table come to.
Sum sum_of_table(const std::string& path);

// A table with all customers, made once.
const std::string& customer_table();

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_VQ_TABLE_H_
