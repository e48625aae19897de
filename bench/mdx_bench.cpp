// MDX tags beside NDX files with the same keys: names as text, amounts as numbers, which a tag
// keeps as packed decimals. The same work on SQLite is in index_bench.cpp and build_bench.cpp.

#include <array>
#include <cstring>
#include <vector>

#include "customers.h"
#include "folder.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr std::int32_t kBytesOf64MiB = 64 * 1024 * 1024;
constexpr const char* kTag = "KEYS";

void count_items(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<std::int64_t>(record_count()));
}

// Which field the keys are made of.
struct Keys {
  const char* expression;
  const char* format;
  std::size_t bytes;
};
constexpr Keys kNames = {"NAME", "C30", kNameBytes};
constexpr Keys kAmounts = {"AMOUNT", "N", 12};

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
  std::array<char, kRecordBytes> record;
  for (const Customer& customer : customers()) {
    Key key = customer.name;
    if (&keys == &kAmounts) {
      // As a build makes them: a packed decimal of the field's digits.
      format_record(customer, record.data());
      require(dUnftonk(block, Family::kNumberKind, record.data() + kAmountOffset, kAmountBytes,
                       key.data()) == 0,
              "dUnftonk");
    }
    made.push_back(key);
  }
  return made;
}

template <typename Family, const Keys& keys>
void insert(benchmark::State& state) {
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
  count_items(state);
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
void seek(benchmark::State& state) {
  const std::vector<Key> all = make_keys<Family>(keys);
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Family index(block, table, built<Family, keys>(), keys, false);
  const auto seek_all = [&] {
    for (const std::uint32_t number : random_order()) {
      std::uint32_t found = 0;
      require(Family::find(index.handle, all[number - 1].data(), &found) == 0, "find");
      benchmark::DoNotOptimize(found);
    }
  };
  seek_all();
  for (auto _ : state) seek_all();
  count_items(state);
}

template <typename Family, const Keys& keys>
void walk(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Family index(block, table, built<Family, keys>(), keys, false);
  const auto walk_all = [&] {
    Key key;
    std::uint32_t number = 0;
    std::size_t steps = 0;
    require(Family::rewind(index.handle) == 0, "rewind");
    while (Family::next(index.handle, key.data(), &number) == 0) ++steps;
    require(steps == record_count(), "walk over every key");
  };
  walk_all();
  for (auto _ : state) walk_all();
  count_items(state);
}

template <typename Family, const Keys& keys>
void build(benchmark::State& state) {
  Block block;
  static_cast<VqBlock*>(block)->page_count_setting = kBytesOf64MiB / 16384;
  const Table table(block, customer_table(), 0, 64);
  for (auto _ : state) Family::build(table, fresh_file(Family::kFile), keys);
  count_items(state);
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

// ---- a table kept with three tags of one file, or with three files

constexpr std::array<std::array<const char*, 2>, 3> kKept = {
    {{"NAME", "C30"}, {"AMOUNT", "N"}, {"STATE+CITY", "C22"}}};

void append_all(benchmark::State& state, VqBlock* block, const std::string& path,
                std::vector<VqIndexSpec> specs) {
  for (auto _ : state) {
    VqDatabase* database = nullptr;
    VqIndexSpec* failed = nullptr;
    require(DBopen(block, path.c_str(), 0, 64, 1, static_cast<std::int32_t>(specs.size()),
                   specs.data(), &database, &failed) == 0,
            "DBopen");
    std::array<char, kRecordBytes> record;
    std::uint32_t number = 0;
    for (const Customer& customer : customers()) {
      format_record(customer, record.data());
      require(DBapprec(database, record.data(), &number) == 0, "DBapprec");
    }
    require(DBclose(database) == 0, "DBclose");
  }
  count_items(state);
}

void append_one_file(benchmark::State& state) {
  customers();
  Block block;
  const std::string path = fresh_file("KEPT.DBF");
  const std::string index = fresh_file("KEPT.MDX");
  create_customer_table(block, path);
  {
    const Table table(block, path, 0, 1);
    for (std::size_t i = 0; i < kKept.size(); ++i) {
      const std::string tag = "TAG" + std::to_string(i);
      require(dXezindx(table, index.c_str(), tag.c_str(), kKept[i][0], nullptr, 0) == 0,
              "dXezindx");
    }
  }
  append_all(state, block, path, {{16, index.c_str(), kBytesOf64MiB / 1024, nullptr}});
}

void append_three_files(benchmark::State& state) {
  customers();
  Block block;
  const std::string path = fresh_file("KEPT.DBF");
  create_customer_table(block, path);
  std::array<std::string, kKept.size()> names;
  std::vector<VqIndexSpec> specs;
  for (std::size_t i = 0; i < kKept.size(); ++i) {
    names[i] = fresh_file(("KEPT" + std::to_string(i) + ".NDX").c_str());
    require(dNcreat(block, names[i].c_str(), kKept[i][0], kKept[i][1]) == 0, "dNcreat");
    specs.push_back({64, names[i].c_str(), kBytesOf64MiB / 512 / 3, nullptr});
  }
  append_all(state, block, path, specs);
}

const Register append_tags{
    beside_ndx(20, "append with three tags", append_one_file, append_three_files, 1.2)};

}  // namespace
}  // namespace vqdb::bench
