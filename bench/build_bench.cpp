// Whole indexes built over the customers, sorted tables and packed ones.

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "berkeley.h"
#include "customers.h"
#include "folder.h"
#include "lmdb.h"
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
  std::string path;
  for (auto _ : state) {
    path = fresh_file("BUILD.NDX");
    require(dNindex(table, path.c_str(), expression, 0) == 0, "dNindex");
  }
  VqIndex* const index = dNopen(table, path.c_str(), 0, 64);
  std::array<char, kNameBytes> key;
  std::uint32_t number = 0;
  std::uint64_t sum = 0;
  std::uint64_t steps = 0;
  require(index != nullptr && dNrewind(index) == 0, "dNrewind");
  for (; dNnxtkey(index, key.data(), &number) == 0; ++steps) sum += number;
  require(steps == record_count() && sum == steps * (steps + 1) / 2, "every key");
  require(dNclose(index) == 0, "dNclose");
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

// ---- the same beside stores that get the keys in order: they are taken from the customers in
// memory, sorted there, and appended

using Keys = std::vector<std::pair<std::string_view, std::uint32_t>>;

Keys names() {
  Keys keys;
  keys.reserve(record_count());
  for (const Customer& customer : customers()) {
    keys.emplace_back(std::string_view(customer.name.data(), customer.name.size()), customer.id);
  }
  return keys;
}

// Amounts as bytes that order as the numbers do.
Keys amounts() {
  static std::vector<std::array<char, 8>> bytes(record_count());
  Keys keys;
  keys.reserve(record_count());
  for (const Customer& customer : customers()) {
    std::array<char, 8>& place = bytes[customer.id - 1];
    std::uint64_t number = 0;
    const double amount = customer.cents / 100.0;
    std::memcpy(&number, &amount, sizeof number);
    number = __builtin_bswap64(number | std::uint64_t{1} << 63);
    std::memcpy(place.data(), &number, sizeof number);
    keys.emplace_back(std::string_view(place.data(), place.size()), customer.id);
  }
  return keys;
}

template <typename Store>
void require_whole(const std::string& path) {
  Store database(path);
  std::string_view key;
  std::string last;
  std::uint32_t number = 0;
  std::uint64_t sum = 0;
  std::size_t steps = 0;
  for (; database.next(key, number); ++steps) {
    require(key >= last, "keys in order");
    last = key;
    sum += number;
  }
  require(steps == record_count() && sum == steps * (steps + 1) / 2, "every key");
}

template <typename Store, Keys (*keys_of_customers)()>
void build_store(benchmark::State& state) {
  customers();
  std::string path;
  for (auto _ : state) {
    path = fresh_file(std::string("build.") + Store::kName);
    Store database(path);
    Keys keys = keys_of_customers();
    std::sort(keys.begin(), keys.end());
    for (const auto& [key, number] : keys) database.append(key, number);
    database.commit();
  }
  require_whole<Store>(path);
  count_items(state);
}

void build_names(benchmark::State& state) { build_ours(state, "NAME", kPagesOf64MiB); }
void build_amounts(benchmark::State& state) { build_ours(state, "AMOUNT", kPagesOf64MiB); }

const Register name_lmdb{
    {35, "build on NAME, LMDB", build_names, build_store<Lmdb, names>, 1.2, nullptr, 0, 3, "LMDB"}};
const Register amount_lmdb{{36, "build on AMOUNT, LMDB", build_amounts, build_store<Lmdb, amounts>,
                            1.4, nullptr, 0, 3, "LMDB"}};
const Register name_berkeley{{35, "build on NAME, Berkeley DB", build_names,
                              build_store<Berkeley, names>, 0, nullptr, 0, 3, "Berkeley DB"}};
const Register amount_berkeley{{36, "build on AMOUNT, Berkeley DB", build_amounts,
                                build_store<Berkeley, amounts>, 0, nullptr, 0, 3, "Berkeley DB"}};

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
