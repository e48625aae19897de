// SQLite as the yardstick, set up for speed: no synchronisation with the disk, the rollback
// journal in memory, 64 MB of page cache, prepared statements, one transaction per benchmark.
#ifndef VQDBSYS_BENCH_SQLITE_H_
#define VQDBSYS_BENCH_SQLITE_H_

#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "customers.h"

namespace vqdb::bench {

class Sqlite {
 public:
  explicit Sqlite(const std::string& path, const char* journal = "PRAGMA journal_mode=MEMORY");
  ~Sqlite();
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void run(const char* sql);
  sqlite3* handle() { return database_; }

 private:
  sqlite3* database_ = nullptr;
};

class Statement {
 public:
  Statement(Sqlite& database, const char* sql);
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // The text must stay until the next step.
  void bind(int parameter, std::string_view text);
  void bind(int parameter, std::int64_t value);
  void bind(int parameter, double value);
  void bind_blob(int parameter, std::string_view bytes);

  // Whether there is a row.
  bool step();
  // Ends the execution and makes the statement ready for the next one.
  void reset();

  double number(int column) { return sqlite3_column_double(statement_, column); }
  std::int64_t integer(int column) { return sqlite3_column_int64(statement_, column); }
  std::string_view text(int column);
  std::string_view blob(int column);

 private:
  sqlite3_stmt* statement_ = nullptr;
};

// Makes the customer table.
void create_customer_table(Sqlite& database);

// A row's columns as parameters 1 to 7. The customer must stay until the next step.
void bind_customer(Statement& statement, const Customer& customer);

// Inserts all customers into it.
void insert_customers(Sqlite& database);

// A database with all customers, made once.
const std::string& sqlite_customers();

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_SQLITE_H_
