// Records counted by a compiled filter.

#include <algorithm>
#include <array>

#include "customers.h"
#include "sqlite.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

// How many records satisfy the filter, every record read and tested.
std::size_t count_matches(VqBlock* block, VqTable* table, VqExpr* filter) {
  std::array<char, kRecordBytes> record;
  std::array<char, 8> answer = {};
  std::int32_t length = 0;
  std::size_t matches = 0;
  const std::size_t count = record_count();
  for (std::uint32_t n = 1; n <= count; ++n) {
    require(dDgetrec(table, n, record.data()) == 0, "dDgetrec");
    require(dErun(block, filter, record.data(), 0, answer.size(), answer.data(), &length) == 0,
            "dErun");
    matches += answer[0] == 'T';
  }
  return matches;
}

std::size_t count_rows(Sqlite& database, const char* sql) {
  Statement select(database, sql);
  require(select.step(), sql);
  return static_cast<std::size_t>(select.integer(0));
}

// The same by blocks of the table.
std::size_t count_matches_in_blocks(VqBlock*, VqTable* table, VqExpr* filter) {
  constexpr std::uint32_t kAtOnce = 1000;
  std::array<std::uint32_t, kAtOnce> numbers;
  std::size_t matches = 0;
  const auto count = static_cast<std::uint32_t>(record_count());
  for (std::uint32_t first = 1; first <= count; first += kAtOnce) {
    std::uint32_t got = 0;
    require(dEfilter(filter, table, first, std::min(kAtOnce, count + 1 - first), numbers.data(),
                     &got) == 0,
            "dEfilter");
    matches += got;
  }
  return matches;
}

template <auto count = count_matches>
Sum filter_ours(benchmark::State& state, const char* expression) {
  Block block;
  const Table table(block, customer_table(), 0, 64);
  VqExpr* filter = nullptr;
  char type = 0;
  std::int32_t length = 0;
  require(dEparse(block, expression, table, &filter, &type, &length) == 0, expression);
  std::size_t matches = 0;
  for (auto _ : state) matches = count(block, table, filter);
  dEfree(filter);
  return matches;
}

Sum filter_sqlite(benchmark::State& state, const char* sql) {
  Sqlite database(sqlite_customers());
  Sum rows = 0;
  for (auto _ : state) rows = count_rows(database, sql);
  return rows;
}

constexpr const char* kPlain = "AMOUNT > 5000 .AND. STATE = \"CA\"";
constexpr const char* kPlainSql =
    "SELECT count(*) FROM customer WHERE amount > 5000 AND state = 'CA'";

const Register plain({5, "filter, compiled expression",
                      [](benchmark::State& state) { return filter_ours(state, kPlain); },
                      [](benchmark::State& state) { return filter_sqlite(state, kPlainSql); }, 1});

const Register blocks({5, "filter in blocks",
                       [](benchmark::State& state) {
                         return filter_ours<count_matches_in_blocks>(state, kPlain);
                       },
                       [](benchmark::State& state) { return filter_ours(state, kPlain); }, 1,
                       nullptr, 0, 5, "one by one"});

constexpr const char* kFunctions =
    "UPPER(LEFT(CITY,3)) = \"SAN\" .AND. YEAR(DUE) >= 1995 .AND. AMOUNT > 100";
constexpr const char* kFunctionsSql =
    "SELECT count(*) FROM customer WHERE upper(substr(city,1,3)) = 'SAN' AND "
    "CAST(substr(due,1,4) AS INTEGER) >= 1995 AND amount > 100";

const Register functions(
    {6, "filter with functions",
     [](benchmark::State& state) { return filter_ours(state, kFunctions); },
     [](benchmark::State& state) { return filter_sqlite(state, kFunctionsSql); }, 1});

}  // namespace
}  // namespace vqdb::bench
