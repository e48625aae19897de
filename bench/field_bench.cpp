// Fields read one by one out of each record of a scan, beside rows whose columns are read so.

#include <array>

#include "customers.h"
#include "sqlite.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr int kSomeBuffers = 64;

// ---- each field of each record: numbers added up, the first letters of texts looked at

struct Fields {
  double ids = 0;
  double amounts = 0;
  GlanceSum letters;

  operator Sum() const { return sum_of(ids) + 3 * sum_of(amounts) + letters; }
};

Sum read_ours(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), VQ_OPEN_EXCLUSIVE, kSomeBuffers);
  std::array<char, kRecordBytes> record;
  std::array<char, 32> field;
  const auto number = [&](const char* name, std::size_t width) {
    require(DBexfield(table, record.data(), name, field.data()) == 0, name);
    return parse_number(field.data(), width);
  };
  const auto letter = [&](const char* name) {
    require(DBexfield(table, record.data(), name, field.data()) == 0, name);
    return field[0];
  };
  Fields sum;
  for (auto _ : state) {
    const auto count = static_cast<std::uint32_t>(record_count());
    for (std::uint32_t n = 1; n <= count; ++n) {
      require(dDgetrec(table, n, record.data()) == 0, "dDgetrec");
      sum.ids += number("ID", 10);
      sum.letters.add(n, letter("NAME"));
      sum.letters.add(n, letter("CITY"));
      sum.letters.add(n, letter("STATE"));
      sum.amounts += number("AMOUNT", kAmountBytes);
      sum.letters.add(n, letter("DUE"));
      sum.letters.add(n, letter("ACTIVE") == 'T' ? 1 : 0);
    }
  }
  return sum;
}

Sum read_sqlite(benchmark::State& state) {
  Sqlite database(sqlite_customers());
  Fields sum;
  database.run("BEGIN");
  for (auto _ : state) {
    Statement select(database, "SELECT * FROM customer");
    for (std::uint32_t n = 1; select.step(); ++n) {
      sum.ids += static_cast<double>(select.integer(0));
      sum.letters.add(n, select.text(1)[0]);
      sum.letters.add(n, select.text(2)[0]);
      sum.letters.add(n, select.text(3)[0]);
      sum.amounts += select.number(4);
      sum.letters.add(n, select.text(5)[0]);
      sum.letters.add(n, select.integer(6) != 0 ? 1 : 0);
    }
  }
  database.run("COMMIT");
  return sum;
}

const Register read({2, "fields of a scan, one by one", read_ours, read_sqlite, 1.2});

}  // namespace
}  // namespace vqdb::bench
