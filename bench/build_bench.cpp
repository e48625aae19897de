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

Sum build_ours(benchmark::State& state, const char* expression, std::size_t key_bytes,
               std::uint32_t pages) {
  Block block;
  static_cast<VqBlock*>(block)->page_count_setting = pages;
  const Table table(block, customer_table(), 0, 64);
  std::string path;
  for (auto _ : state) {
    path = fresh_file("BUILD.NDX");
    require(dNindex(table, path.c_str(), expression, 0) == 0, "dNindex");
  }
  return sum_of_walk(Index(table, path, 64), key_bytes);
}

// The index on a column.
Sum build_sqlite(benchmark::State& state, const std::string& column) {
  const std::string path = fresh_file("build.sqlite");
  std::filesystem::copy_file(sqlite_customers(), path);
  Sqlite database(path);
  const std::string create = "CREATE INDEX built ON customer(" + column + ")";
  for (auto _ : state) database.run(create.c_str());
  const std::string walk =
      "SELECT " + column + ", id FROM customer INDEXED BY built ORDER BY " + column;
  return sum_of_walk(database, walk.c_str());
}

Sum build_names(benchmark::State& state) {
  return build_ours(state, "NAME", kNameBytes, kPagesOf64MiB);
}
Sum build_amounts(benchmark::State& state) {
  return build_ours(state, "AMOUNT", sizeof(double), kPagesOf64MiB);
}

const Register name_64{{30, "build on NAME, workspace 64 MiB", build_names,
                        [](benchmark::State& state) { return build_sqlite(state, "name"); }, 2.5,
                        nullptr, 0, 3}};
const Register amount_64{{31, "build on AMOUNT, workspace 64 MiB", build_amounts,
                          [](benchmark::State& state) { return build_sqlite(state, "amount"); }, 3,
                          nullptr, 0, 3}};
const Register name_1{
    {32, "build on NAME, workspace 1 MiB",
     [](benchmark::State& state) { return build_ours(state, "NAME", kNameBytes, kDefaultPages); },
     [](benchmark::State& state) { return build_sqlite(state, "name"); }, 1, nullptr, 0, 3}};

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

template <typename Store, Keys (*keys_of_customers)()>
Sum build_store(benchmark::State& state) {
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
  return sum_of_walk(Store(path));
}

const Register name_lmdb{
    {35, "build on NAME, LMDB", build_names, build_store<Lmdb, names>, 1.2, nullptr, 0, 3, "LMDB"}};
const Register amount_lmdb{{36, "build on AMOUNT, LMDB", build_amounts, build_store<Lmdb, amounts>,
                            1.4, nullptr, 0, 3, "LMDB"}};
const Register name_berkeley{{35, "build on NAME, Berkeley DB", build_names,
                              build_store<Berkeley, names>, 0, nullptr, 0, 3, "Berkeley DB"}};
const Register amount_berkeley{{36, "build on AMOUNT, Berkeley DB", build_amounts,
                                build_store<Berkeley, amounts>, 0, nullptr, 0, 3, "Berkeley DB"}};

// ---- a table sorted into another, beside nothing: the keys alone are sorted elsewhere

Sum sort_ours(benchmark::State& state) {
  Block block;
  static_cast<VqBlock*>(block)->page_count_setting = kPagesOf64MiB;
  std::string target;
  for (auto _ : state) {
    target = fresh_file("SORTED.DBF");
    require(dDsort(block, customer_table().c_str(), target.c_str(), "CITY/A,AMOUNT/A") == 0,
            "dDsort");
  }
  const Sum sum = sum_of_table(target);
  require(sum == sum_of_table(customer_table()), "sort every record");
  return sum;
}

const Register sorted{
    {33, "sort on CITY and AMOUNT, workspace 64 MiB", sort_ours, nullptr, 0, nullptr, 0, 3}};

// ---- a table with a third of its records deleted

const std::string& table_to_pack() {
  static const std::string path = [] {
    std::string made = fresh_file("TOPACK.DBF");
    std::filesystem::copy_file(customer_table(), made);
    Block block;
    const Table table(block, made, 0, 64);
    for (std::uint32_t i = 1; i <= record_count(); i += 3) {
      require(dDdelrec(table, i) == 0, "dDdelrec");
    }
    return made;
  }();
  return path;
}

Sum pack_ours(benchmark::State& state) {
  Block block;
  const std::string path = fresh_file("PACK.DBF");
  std::filesystem::copy_file(table_to_pack(), path);
  for (auto _ : state) require(dDpack(block, path.c_str()) == 0, "dDpack");
  return sum_of_table(path);
}

Sum copy_file(benchmark::State& state) {
  std::string path;
  for (auto _ : state) {
    path = fresh_file("COPY.DBF");
    std::filesystem::copy_file(table_to_pack(), path);
  }
  return sum_of_table(path);
}

const Register packed{{34, "pack, a third deleted", pack_ours, nullptr, 0, copy_file, 0.5, 3}};

}  // namespace
}  // namespace vqdb::bench
