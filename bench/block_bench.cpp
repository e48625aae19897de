// Calls for many records at once beside those for one.

#include <algorithm>
#include <array>
#include <numeric>
#include <vector>

#include "customers.h"
#include "folder.h"
#include "kept_table.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr std::uint32_t kAtOnce = 1000;
constexpr std::int32_t kSomeBuffers = 64;
constexpr std::int32_t kManyPages = 100000;

std::uint32_t count_of_records() { return static_cast<std::uint32_t>(record_count()); }

// So many records, and their numbers.
struct Records {
  std::vector<char> bytes = std::vector<char>(kAtOnce * kRecordBytes);
  std::array<std::uint32_t, kAtOnce> numbers;

  void look(GlanceSum& sum, std::uint32_t got) const {
    for (std::size_t i = 0; i < got; ++i) {
      sum.add(numbers[i], bytes[i * kRecordBytes + kNameOffset]);
    }
  }
};

// ---- by their numbers

Sum get_block(VqTable* table) {
  Records records;
  GlanceSum sum;
  for (std::uint32_t first = 1; first <= count_of_records(); first += kAtOnce) {
    const std::uint32_t count = std::min(kAtOnce, count_of_records() + 1 - first);
    std::uint32_t got = 0;
    require(dDgetrecs(table, first, count, records.bytes.data(), &got) == 0, "dDgetrecs");
    std::iota(records.numbers.begin(), records.numbers.end(), first);
    records.look(sum, got);
  }
  return sum;
}

Sum get_one(VqTable* table) {
  std::array<char, kRecordBytes> record;
  GlanceSum sum;
  for (std::uint32_t n = 1; n <= count_of_records(); ++n) {
    require(dDgetrec(table, n, record.data()) == 0, "dDgetrec");
    sum.add(n, record[kNameOffset]);
  }
  return sum;
}

template <Sum (*work)(VqTable*)>
Sum on_table(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), VQ_OPEN_EXCLUSIVE, kSomeBuffers);
  Sum sum = 0;
  for (auto _ : state) sum = work(table);
  return sum;
}

// ---- by their numbers or by an index on names, in a group

Sum step_block(const VqMember& order) {
  Records records;
  GlanceSum sum;
  std::uint32_t got = kAtOnce;
  while (got == kAtOnce) {
    const std::int32_t result =
        DBgetrecs(&order, kAtOnce, records.bytes.data(), records.numbers.data(), &got);
    require(result == 0 || got < kAtOnce, "DBgetrecs");
    records.look(sum, got);
  }
  return sum;
}

Sum step_one(const VqMember& order) {
  std::array<char, kRecordBytes> record;
  std::array<char, kNameBytes> key;
  std::uint32_t number = 0;
  GlanceSum sum;
  while (DBnextrec(&order, record.data(), &number, key.data()) == 0) {
    sum.add(number, record[kNameOffset]);
  }
  return sum;
}

const std::string& name_index() {
  static const std::string path = [] {
    std::string made = fresh_file("BLOCKS.NDX");
    Block block;
    const Table table(block, customer_table(), VQ_OPEN_EXCLUSIVE, kSomeBuffers);
    require(dNindex(table, made.c_str(), "NAME", 0) == 0, "dNindex");
    return made;
  }();
  return path;
}

// Everything is in memory.
template <std::uint32_t kind, Sum (*work)(const VqMember&)>
Sum in_group(benchmark::State& state) {
  const Database database(customer_table(), {{VQ_KIND_NDX, name_index().c_str(), kManyPages, {}}},
                          VQ_OPEN_EXCLUSIVE, static_cast<std::int32_t>(record_count() / 12 + 1));
  VqMember order;
  require(GRPmember(database, kind, nullptr, nullptr, &order) == 0, "GRPmember");
  const auto step_all = [&] {
    require(DBrewind(&order) == 0, "DBrewind");
    return work(order);
  };
  Sum sum = step_all();
  for (auto _ : state) sum = step_all();
  return sum;
}

// ---- the list

const bool added = [] {
  const auto add = [](int order, const char* name, Side block, Side one) {
    workloads().push_back({order, name, block, one, 1, nullptr, 0, 5, "one by one"});
  };
  add(2, "records in blocks, by number", on_table<get_block>, on_table<get_one>);
  add(2, "records in blocks, a table's steps", in_group<VQ_KIND_TABLE, step_block>,
      in_group<VQ_KIND_TABLE, step_one>);
  add(2, "records in blocks, an index's steps", in_group<VQ_KIND_NDX, step_block>,
      in_group<VQ_KIND_NDX, step_one>);
  return true;
}();

}  // namespace
}  // namespace vqdb::bench
