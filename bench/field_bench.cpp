// Fields one by one: read out of each record of a scan, and put together for appends, beside rows
// whose columns are read and bound one by one.

#include <array>
#include <string>
#include <vector>

#include "customers.h"
#include "folder.h"
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

// ---- records put together of their values

// The texts of a customer as a host has them, ended by zero bytes.
struct Texts {
  explicit Texts(const Customer& customer)
      : name(customer.name_text()),
        city(customer.city_text()),
        state(customer.state.data(), customer.state.size()),
        due(customer.due.data(), customer.due.size()) {}

  std::string name;
  std::string city;
  std::string state;
  std::string due;
};

Sum append_ours(benchmark::State& state) {
  std::vector<Texts> texts(customers().begin(), customers().end());
  Block block;
  const std::string path = fresh_file("FIELDS.DBF");
  create_customer_table(block, path);
  for (auto _ : state) {
    const Table table(block, path, VQ_OPEN_EXCLUSIVE, kSomeBuffers);
    std::array<char, kRecordBytes> record = {' '};
    for (const Customer& customer : customers()) {
      const Texts& text = texts[customer.id - 1];
      require(dUdtonf(block, customer.id, 10, 0, &record[1]) == 0, "ID");
      require(dUatocf(text.name.c_str(), 30, &record[kNameOffset]) == 0, "NAME");
      require(dUatocf(text.city.c_str(), 20, &record[41]) == 0, "CITY");
      require(dUatocf(text.state.c_str(), 2, &record[61]) == 0, "STATE");
      require(dUdtonf(block, customer.cents / 100.0, 12, 2, &record[kAmountOffset]) == 0, "AMOUNT");
      require(dUatocf(text.due.c_str(), 8, &record[75]) == 0, "DUE");
      require(dUatocf(customer.active ? "T" : "F", 1, &record[83]) == 0, "ACTIVE");
      require(dDapprec(table, record.data()) == 0, "dDapprec");
    }
  }
  return sum_of_table(path);
}

// Which binds each column.
Sum append_sqlite(benchmark::State& state) {
  customers();
  Sqlite database(fresh_file("fields.sqlite"));
  create_customer_table(database);
  for (auto _ : state) insert_customers(database);
  return sum_of_rows(database);
}

const Register append({1, "append, field by field", append_ours, append_sqlite, 0});

}  // namespace
}  // namespace vqdb::bench
