// Appending, scanning and fetching records of a table.

#include <fcntl.h>
#include <unistd.h>

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

constexpr std::size_t kWritePiece = 16384;
constexpr std::size_t kReadPiece = 32768;
constexpr int kSomeBuffers = 64;
constexpr int kFewBuffers = 4;

// ---- append

Sum append_ours(benchmark::State& state) {
  customers();
  Block block;
  const std::string path = fresh_file("APPEND.DBF");
  create_customer_table(block, path);
  for (auto _ : state) {
    const Table table(block, path, 0, kSomeBuffers);
    append_customers(table);
  }
  return sum_of_table(path);
}

Sum append_sqlite(benchmark::State& state) {
  customers();
  Sqlite database(fresh_file("append.sqlite"));
  create_customer_table(database);
  for (auto _ : state) insert_customers(database);
  return sum_of_rows(database);
}

// The same records formatted into a piece of memory that is written whenever it is full.
Sum append_limit(benchmark::State& state) {
  customers();
  const int fd = ::open(fresh_file("append.raw").c_str(), O_RDWR | O_CREAT, 0666);
  std::vector<char> piece(kWritePiece + kRecordBytes);
  for (auto _ : state) {
    std::size_t used = 0;
    for (const Customer& customer : customers()) {
      format_record(customer, piece.data() + used);
      used += kRecordBytes;
      if (used < kWritePiece) continue;
      require(::write(fd, piece.data(), kWritePiece) == kWritePiece, "write");
      used -= kWritePiece;
      std::copy_n(piece.data() + kWritePiece, used, piece.data());
    }
    require(::write(fd, piece.data(), used) == static_cast<ssize_t>(used), "write");
  }
  ::lseek(fd, 0, SEEK_SET);
  std::array<char, kRecordBytes> record;
  Sum sum = 0;
  while (::read(fd, record.data(), kRecordBytes) == kRecordBytes)
    sum += sum_of_record(record.data());
  ::close(fd);
  return sum;
}

const Register append({1, "append", append_ours, append_sqlite, 8, append_limit, 0.6});

// ---- append of records that are put together of their fields, as a row is of its columns

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

Sum append_of_fields(benchmark::State& state) {
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

const Register append_fields({1, "append, field by field", append_of_fields, append_sqlite, 0});

// ---- sequential scan, one number of each record summed

Sum scan_ours(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), 0, kSomeBuffers);
  std::array<char, kRecordBytes> record;
  double sum = 0;
  for (auto _ : state) {
    const std::size_t count = record_count();
    for (std::uint32_t n = 1; n <= count; ++n) {
      require(dDgetrec(table, n, record.data()) == 0, "dDgetrec");
      sum += parse_number(record.data() + kAmountOffset, kAmountBytes);
    }
  }
  return sum_of(sum);
}

Sum scan_sqlite(benchmark::State& state) {
  Sqlite database(sqlite_customers());
  database.run("BEGIN");
  double sum = 0;
  for (auto _ : state) {
    Statement select(database, "SELECT * FROM customer");
    while (select.step()) sum += select.number(4);
  }
  database.run("COMMIT");
  return sum_of(sum);
}

Sum scan_limit(benchmark::State& state) {
  const int fd = ::open(customer_table().c_str(), O_RDONLY);
  constexpr std::size_t kWhole = kReadPiece / kRecordBytes * kRecordBytes;
  std::vector<char> piece(kWhole);
  double sum = 0;
  for (auto _ : state) {
    ::lseek(fd, kHeaderBytes, SEEK_SET);
    std::size_t left = record_count();
    while (left > 0) {
      const ssize_t moved = ::read(fd, piece.data(), kWhole);
      require(moved > 0, "read");
      const std::size_t here = std::min(left, static_cast<std::size_t>(moved) / kRecordBytes);
      for (std::size_t i = 0; i < here; ++i) {
        sum += parse_number(piece.data() + i * kRecordBytes + kAmountOffset, kAmountBytes);
      }
      left -= here;
    }
  }
  ::close(fd);
  return sum_of(sum);
}

const Register scan({2, "sequential scan", scan_ours, scan_sqlite, 3, scan_limit, 0.6});

// ---- records fetched in random order, the first letter of each name looked at

Sum fetch_all(const Table& table) {
  std::array<char, kRecordBytes> record;
  GlanceSum sum;
  for (const std::uint32_t number : random_order()) {
    require(dDgetrec(table, number, record.data()) == 0, "dDgetrec");
    sum.add(number, record[kNameOffset]);
  }
  return sum;
}

Sum fetch_ours(benchmark::State& state) {
  random_order();
  Block block;
  const Table table(block, customer_table(), 0, kFewBuffers);
  Sum sum = 0;
  for (auto _ : state) sum = fetch_all(table);
  return sum;
}

Sum fetch_cached_ours(benchmark::State& state) {
  Block block;
  const auto buffers = static_cast<std::int32_t>(record_count() / 12 + 1);
  const Table table(block, customer_table(), 0, buffers);
  fetch_all(table);
  Sum sum = 0;
  for (auto _ : state) sum = fetch_all(table);
  return sum;
}

Sum fetch_sqlite(benchmark::State& state) {
  random_order();
  Sqlite database(sqlite_customers());
  GlanceSum sum;
  database.run("BEGIN");
  {
    Statement select(database, "SELECT * FROM customer WHERE id=?");
    for (auto _ : state) {
      for (const std::uint32_t number : random_order()) {
        select.bind(1, std::int64_t{number});
        require(select.step(), "fetch a row");
        sum.add(number, select.text(1)[0]);
        select.reset();
      }
    }
  }
  database.run("COMMIT");
  return sum;
}

Sum fetch_limit(benchmark::State& state) {
  random_order();
  const int fd = ::open(customer_table().c_str(), O_RDONLY);
  std::array<char, kRecordBytes> record;
  GlanceSum sum;
  for (auto _ : state) {
    for (const std::uint32_t number : random_order()) {
      const auto offset = static_cast<off_t>(kHeaderBytes + (number - 1) * kRecordBytes);
      require(::pread(fd, record.data(), kRecordBytes, offset) == kRecordBytes, "pread");
      sum.add(number, record[kNameOffset]);
    }
  }
  ::close(fd);
  return sum;
}

const Register fetch({3, "random fetch, 4 buffers", fetch_ours, fetch_sqlite, 3, fetch_limit, 0.8});
const Register cached({4, "random fetch, all cached", fetch_cached_ours, fetch_sqlite, 15});

}  // namespace
}  // namespace vqdb::bench
