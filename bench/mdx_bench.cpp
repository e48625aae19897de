// MDX tags beside NDX files with the same keys: names as text, amounts as numbers, which a tag
// keeps as packed decimals. The same work on SQLite is in index_bench.cpp and build_bench.cpp.

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "customers.h"
#include "folder.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr std::int32_t kBytesOf64MiB = 64 * 1024 * 1024;
constexpr const char* kTag = "KEYS";

// Which field the keys are made of.
struct Keys {
  const char* expression;
  const char* format;
  std::size_t offset;
  std::size_t bytes;
};
constexpr Keys kNames = {"NAME", "C30", kNameOffset, kNameBytes};
constexpr Keys kAmounts = {"AMOUNT", "N", kAmountOffset, kAmountBytes};

std::string field_of(const Customer& customer, const Keys& keys) {
  std::array<char, kRecordBytes> record;
  format_record(customer, record.data());
  return {record.data() + keys.offset, keys.bytes};
}

struct Ndx {
  static constexpr const char* kFile = "KEYS.NDX";
  static constexpr std::uint32_t kNumberKind = 1;
  static constexpr auto put = dNputkey;
  static constexpr auto find = dNgetrno;
  static constexpr auto next = dNnxtkey;
  static constexpr auto rewind = dNrewind;

  static void build(VqTable* table, const std::string& path, const Keys& keys) {
    require(dNindex(table, path.c_str(), keys.expression, 0) == 0, "dNindex");
  }

  Ndx(VqBlock* block, VqTable* table, const std::string& path, const Keys& keys, bool fresh) {
    if (fresh) {
      require(dNcreat(block, path.c_str(), keys.expression, keys.format) == 0, "dNcreat");
    }
    handle = dNopen(table, path.c_str(), 0, kBytesOf64MiB / 512);
    require(handle != nullptr, "dNopen");
  }
  ~Ndx() { require(dNclose(handle) == 0, "dNclose"); }
  Ndx(const Ndx&) = delete;
  Ndx& operator=(const Ndx&) = delete;

  VqIndex* handle;
};

struct Mdx {
  static constexpr const char* kFile = "KEYS.MDX";
  static constexpr std::uint32_t kNumberKind = 0;
  static constexpr auto put = dXputkey;
  static constexpr auto find = dXgetrno;
  static constexpr auto next = dXnxtkey;
  static constexpr auto rewind = dXrewind;

  static void build(VqTable* table, const std::string& path, const Keys& keys) {
    require(dXezindx(table, path.c_str(), kTag, keys.expression, nullptr, 0) == 0, "dXezindx");
  }

  // A fresh tag takes no keys from the table: its filter lets none in.
  Mdx(VqBlock*, VqTable* table, const std::string& path, const Keys& keys, bool fresh) {
    if (fresh) require(dXcreat(table, path.c_str()) == 0, "dXcreat");
    file = dXopen(table, path.c_str(), 0, kBytesOf64MiB / 1024);
    require(file != nullptr, "dXopen");
    if (fresh) {
      require(dXindex(file, kTag, keys.expression, keys.format, "RECNO() < 1") == 0, "dXindex");
    }
    handle = dXactidx(file, kTag);
    require(handle != nullptr, "dXactidx");
  }
  ~Mdx() { require(dXclose(file) == 0, "dXclose"); }
  Mdx(const Mdx&) = delete;
  Mdx& operator=(const Mdx&) = delete;

  VqIndex* file;
  VqIndex* handle;
};

using Key = std::array<char, kNameBytes>;

template <typename Family>
std::vector<Key> make_keys(const Keys& keys) {
  std::vector<Key> made;
  made.reserve(customers().size());
  Block block;
  for (const Customer& customer : customers()) {
    Key key = customer.name;
    if (&keys == &kAmounts) {
      // As a build makes them: a packed decimal of the field's digits.
      const std::string field = field_of(customer, keys);
      require(dUnftonk(block, Family::kNumberKind, field.data(), kAmountBytes, key.data()) == 0,
              "dUnftonk");
    }
    made.push_back(key);
  }
  return made;
}

template <typename Family>
Sum sum_of_walk(const Family& index) {
  Key key = {};
  std::uint32_t number = 0;
  WalkSum sum;
  require(Family::rewind(index.handle) == 0, "rewind");
  while (Family::next(index.handle, key.data(), &number) == 0) {
    sum.step({key.data(), key.size()}, number);
  }
  return sum;
}

template <typename Family, const Keys& keys>
Sum insert(benchmark::State& state) {
  const std::vector<Key> all = make_keys<Family>(keys);
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Family index(block, table, fresh_file(Family::kFile), keys, true);
  for (auto _ : state) {
    std::uint32_t number = 0;
    for (const Key& key : all) {
      require(Family::put(index.handle, key.data(), ++number) == 0, "put");
    }
  }
  return sum_of_walk(index);
}

template <typename Family, const Keys& keys>
const std::string& built() {
  static const std::string path = [] {
    std::string made = fresh_file((std::string(keys.expression) + Family::kFile).c_str());
    Block block;
    const Table table(block, customer_table(), 0, 64);
    Family::build(table, made, keys);
    return made;
  }();
  return path;
}

template <typename Family, const Keys& keys>
Sum seek(benchmark::State& state) {
  const std::vector<Key> all = make_keys<Family>(keys);
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Family index(block, table, built<Family, keys>(), keys, false);
  const auto find = [&](std::uint32_t number) {
    std::uint32_t found = 0;
    require(Family::find(index.handle, all[number - 1].data(), &found) == 0, "find");
    return found;
  };
  Sum sum = 0;
  std::uint64_t expected = 0;
  for (const std::uint32_t number : random_order()) {
    const std::uint32_t found = find(number);
    expected += found;
    sum += number * sum_of(field_of(customers().at(found - 1), keys));
  }
  for (auto _ : state) {
    std::uint64_t again = 0;
    for (const std::uint32_t number : random_order()) again += find(number);
    require(again == expected, "find the same again");
  }
  return sum;
}

template <typename Family, const Keys& keys>
Sum walk(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Family index(block, table, built<Family, keys>(), keys, false);
  const auto walk_all = [&] {
    Key key;
    std::uint32_t number = 0;
    std::uint64_t sum = 0;
    require(Family::rewind(index.handle) == 0, "rewind");
    while (Family::next(index.handle, key.data(), &number) == 0) sum += number;
    return sum;
  };
  const std::uint64_t expected = walk_all();
  for (auto _ : state) require(walk_all() == expected, "walk over the same again");
  return sum_of_walk(index);
}

template <typename Family, const Keys& keys>
Sum build(benchmark::State& state) {
  Block block;
  static_cast<VqBlock*>(block)->page_count_setting = kBytesOf64MiB / 16384;
  const Table table(block, customer_table(), 0, 64);
  const std::string path = file_in_folder(Family::kFile);
  for (auto _ : state) Family::build(table, fresh_file(Family::kFile), keys);
  return sum_of_walk(Family(block, table, path, keys, false));
}

Workload beside_ndx(int order, const char* name, Side ours, Side ndx, double target) {
  return {order, name, ours, ndx, target, nullptr, 0, 3, "NDX"};
}

const Register insert_names{
    beside_ndx(14, "tag insert, text", insert<Mdx, kNames>, insert<Ndx, kNames>, 0.8)};
const Register insert_amounts{
    beside_ndx(14, "tag insert, numbers", insert<Mdx, kAmounts>, insert<Ndx, kAmounts>, 0.6)};
const Register seek_names{
    beside_ndx(15, "tag seek, text", seek<Mdx, kNames>, seek<Ndx, kNames>, 0.8)};
const Register seek_amounts{
    beside_ndx(15, "tag seek, numbers", seek<Mdx, kAmounts>, seek<Ndx, kAmounts>, 0.6)};
const Register walk_names{
    beside_ndx(16, "tag walk, text", walk<Mdx, kNames>, walk<Ndx, kNames>, 0.8)};
const Register walk_amounts{
    beside_ndx(16, "tag walk, numbers", walk<Mdx, kAmounts>, walk<Ndx, kAmounts>, 0.6)};
const Register build_names{
    beside_ndx(32, "tag build, text", build<Mdx, kNames>, build<Ndx, kNames>, 0.8)};
const Register build_amounts{
    beside_ndx(32, "tag build, numbers", build<Mdx, kAmounts>, build<Ndx, kAmounts>, 0.6)};

}  // namespace
}  // namespace vqdb::bench
