// Whole indexes built over the customers, sorted tables and packed ones.

#include <filesystem>

#include "folder.h"
#include "sqlite.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr std::uint32_t kPagesOf64MiB = 64 * 1024 * 1024 / 16384;
constexpr std::uint32_t kDefaultPages = 64;

void count_items(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<std::int64_t>(record_count()));
}

void build_ours(benchmark::State& state, const char* expression, std::uint32_t pages) {
  Block block;
  static_cast<VqBlock*>(block)->page_count_setting = pages;
  const Table table(block, customer_table(), 0, 64);
  for (auto _ : state) {
    const std::string path = fresh_file("BUILD.NDX");
    require(dNindex(table, path.c_str(), expression, 0) == 0, "dNindex");
  }
  count_items(state);
}

void build_sqlite(benchmark::State& state, const char* create) {
  const std::string path = fresh_file("build.sqlite");
  std::filesystem::copy_file(sqlite_customers(), path);
  Sqlite database(path);
  for (auto _ : state) database.run(create);
  count_items(state);
}

const Register name_64{
    {30, "build on NAME, workspace 64 MiB",
     [](benchmark::State& state) { build_ours(state, "NAME", kPagesOf64MiB); },
     [](benchmark::State& state) { build_sqlite(state, "CREATE INDEX by_name ON customer(name)"); },
     2.5, nullptr, 0, 3}};
const Register amount_64{
    {31, "build on AMOUNT, workspace 64 MiB",
     [](benchmark::State& state) { build_ours(state, "AMOUNT", kPagesOf64MiB); },
     [](benchmark::State& state) {
       build_sqlite(state, "CREATE INDEX by_amount ON customer(amount)");
     },
     3, nullptr, 0, 3}};
const Register name_1{
    {32, "build on NAME, workspace 1 MiB",
     [](benchmark::State& state) { build_ours(state, "NAME", kDefaultPages); },
     [](benchmark::State& state) { build_sqlite(state, "CREATE INDEX by_name ON customer(name)"); },
     1, nullptr, 0, 3}};

// ---- a table sorted into another, beside nothing: the keys alone are sorted elsewhere

void sort_ours(benchmark::State& state) {
  Block block;
  static_cast<VqBlock*>(block)->page_count_setting = kPagesOf64MiB;
  for (auto _ : state) {
    const std::string target = fresh_file("SORTED.DBF");
    require(dDsort(block, customer_table().c_str(), target.c_str(), "CITY/A,AMOUNT/A") == 0,
            "dDsort");
  }
  count_items(state);
}

const Register sorted{
    {33, "sort on CITY and AMOUNT, workspace 64 MiB", sort_ours, nullptr, 0, nullptr, 0, 3}};

// ---- a table with a third of its records deleted

void pack_ours(benchmark::State& state) {
  Block block;
  const std::string path = fresh_file("PACK.DBF");
  std::filesystem::copy_file(customer_table(), path);
  {
    const Table table(block, path, 0, 64);
    for (std::uint32_t i = 1; i <= record_count(); i += 3) {
      require(dDdelrec(table, i) == 0, "dDdelrec");
    }
  }
  for (auto _ : state) require(dDpack(block, path.c_str()) == 0, "dDpack");
  count_items(state);
}

void copy_file(benchmark::State& state) {
  for (auto _ : state) {
    const std::string path = fresh_file("COPY.DBF");
    std::filesystem::copy_file(customer_table(), path);
  }
  count_items(state);
}

const Register packed{{34, "pack, a third deleted", pack_ours, nullptr, 0, copy_file, 0.5, 3}};

}  // namespace
}  // namespace vqdb::bench
