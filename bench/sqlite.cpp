#include "sqlite.h"

#include <cmath>
#include <span>

#include "require.h"

namespace vqdb::bench {
namespace {

constexpr int kBusyMilliseconds = 60000;

std::size_t way_in_use = 0;

// Copies a text to a field.
template <std::size_t N>
void take(std::string_view text, std::array<char, N>& field) {
  field.fill(' ');
  text.copy(field.data(), N);
}

}  // namespace

const SqliteWay& sqlite_way() { return kSqliteWays[way_in_use]; }
void use_sqlite_way(std::size_t way) { way_in_use = way; }

Sqlite::Sqlite(const std::string& path) : Sqlite(path, "PRAGMA journal_mode=MEMORY") {
  run(sqlite_way().sql);
}

Sqlite::Sqlite(const std::string& path, const char* journal) {
  require(sqlite3_open(path.c_str(), &database_) == SQLITE_OK, "open the SQLite database");
  sqlite3_busy_timeout(database_, kBusyMilliseconds);
  run("PRAGMA synchronous=OFF");
  run(journal);
  run("PRAGMA cache_size=-65536");
}

Sqlite::~Sqlite() { sqlite3_close(database_); }

void Sqlite::run(const char* sql) {
  require(sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == SQLITE_OK, sql);
}

Statement::Statement(Sqlite& database, const char* sql) {
  require(sqlite3_prepare_v2(database.handle(), sql, -1, &statement_, nullptr) == SQLITE_OK, sql);
}

Statement::~Statement() { sqlite3_finalize(statement_); }

void Statement::bind(int parameter, std::string_view text) {
  sqlite3_bind_text(statement_, parameter, text.data(), static_cast<int>(text.size()),
                    SQLITE_STATIC);
}

void Statement::bind(int parameter, std::int64_t value) {
  sqlite3_bind_int64(statement_, parameter, value);
}

void Statement::bind(int parameter, double value) {
  sqlite3_bind_double(statement_, parameter, value);
}

void Statement::bind_blob(int parameter, std::string_view bytes) {
  sqlite3_bind_blob(statement_, parameter, bytes.data(), static_cast<int>(bytes.size()),
                    SQLITE_STATIC);
}

bool Statement::step() {
  const int result = sqlite3_step(statement_);
  require(result == SQLITE_ROW || result == SQLITE_DONE, "step an SQLite statement");
  return result == SQLITE_ROW;
}

void Statement::reset() { sqlite3_reset(statement_); }

std::string_view Statement::text(int column) {
  const auto* const bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement_, column));
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

std::string_view Statement::blob(int column) {
  const auto* const bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
}

void create_customer_table(Sqlite& database) {
  database.run(
      "CREATE TABLE customer(id INTEGER PRIMARY KEY, name TEXT, city TEXT, state TEXT, "
      "amount REAL, due TEXT, active INTEGER)");
}

void bind_customer(Statement& statement, const Customer& customer) {
  statement.bind(1, std::int64_t{customer.id});
  statement.bind(2, customer.name_text());
  statement.bind(3, customer.city_text());
  statement.bind(4, std::string_view(customer.state.data(), customer.state.size()));
  statement.bind(5, customer.cents / 100.0);
  statement.bind(6, std::string_view(customer.due.data(), customer.due.size()));
  statement.bind(7, std::int64_t{customer.active});
}

void insert_customers(Sqlite& database, std::size_t count) {
  database.run("BEGIN");
  {
    Statement insert(database, "INSERT INTO customer VALUES(?,?,?,?,?,?,?)");
    for (const Customer& customer : std::span(customers()).first(count)) {
      bind_customer(insert, customer);
      insert.step();
      insert.reset();
    }
  }
  database.run("COMMIT");
}

Sum sum_of_rows(Sqlite& database, const char* select) {
  Statement rows(database, select);
  Sum sum = 0;
  while (rows.step()) {
    Customer customer = {};
    customer.id = static_cast<std::uint32_t>(rows.integer(0));
    take(rows.text(1), customer.name);
    take(rows.text(2), customer.city);
    take(rows.text(3), customer.state);
    customer.cents = static_cast<std::uint32_t>(std::lround(rows.number(4) * 100));
    take(rows.text(5), customer.due);
    customer.active = rows.integer(6) != 0;
    sum += sum_of_record(customer);
  }
  return sum;
}

Sum sum_of_walk(Sqlite& database, const char* select) {
  Statement rows(database, select);
  WalkSum sum;
  while (rows.step()) sum.step(rows.text(0), static_cast<std::uint32_t>(rows.integer(1)));
  return sum;
}

const std::string& sqlite_customers() {
  return sqlite_file("customers.sqlite", [](Sqlite& database) {
    create_customer_table(database);
    insert_customers(database);
  });
}

}  // namespace vqdb::bench
