#include "memory.h"

#include <malloc.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "customers.h"
#include "folder.h"
#include "require.h"
#include "vq_table.h"

namespace vqdb::bench {
namespace {

std::size_t bytes_in_use() {
  const struct mallinfo2 now = ::mallinfo2();
  return now.uordblks + now.hblkhd;
}

void print_row(const char* what, std::int32_t buffers, std::int32_t said, std::size_t used) {
  std::printf("| %-14s | %7d | %10d | %10zu | %5.3f |\n", what, buffers, said, used,
              static_cast<double>(used) / said);
}

void measure_table(VqBlock* block, const std::string& path, std::int32_t buffers) {
  { const Table first(block, path, 0, 1); }  // the pool of handles stays
  const std::size_t before = bytes_in_use();
  const Table table(block, path, 0, buffers);
  print_row("open table", buffers, dDbuffs(block, path.c_str(), buffers), bytes_in_use() - before);
}

void measure_index(VqBlock* block, VqTable* table, const std::string& path, std::int32_t buffers) {
  dNclose(dNopen(table, path.c_str(), 0, 4));
  const std::size_t before = bytes_in_use();
  VqIndex* const index = dNopen(table, path.c_str(), 0, buffers);
  require(index != nullptr, "dNopen");
  print_row("open NDX index", buffers, dNbuffs(block, path.c_str(), buffers),
            bytes_in_use() - before);
  dNclose(index);
}

// A line of what the system tells of the program, in bytes.
std::size_t status(const char* name) {
  std::ifstream lines("/proc/self/status");
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(name)) return std::stoul(line.substr(line.find(':') + 1)) * 1024;
  }
  return 0;
}

}  // namespace

std::size_t forget_peak() {
  customers();
  random_order();
  std::ofstream("/proc/self/clear_refs") << 5;
  return status("VmRSS");
}

double megabytes_since(std::size_t before) {
  return static_cast<double>(status("VmHWM") - before) / (1 << 20);
}

void print_memory() {
  std::printf("\nBytes that an open handle takes, beside what dDbuffs and dNbuffs say\n\n");
  std::printf("| %-14s | %7s | %10s | %10s | %5s |\n", "handle", "buffers", "said", "taken",
              "ratio");
  std::printf("|----------------|---------|------------|------------|-------|\n");
  Block block;
  const std::string path = fresh_file("MEMORY.DBF");
  const std::string index = fresh_file("MEMORY.NDX");
  create_customer_table(block, path);
  for (const std::int32_t buffers : {1, 4, 64, 1000, 80000}) measure_table(block, path, buffers);
  require(dNcreat(block, index.c_str(), "NAME", "C30") == 0, "dNcreat");
  const Table table(block, path, 0, 1);
  for (const std::int32_t buffers : {4, 64, 1000, 131072}) {
    measure_index(block, table, index, buffers);
  }
}

}  // namespace vqdb::bench
