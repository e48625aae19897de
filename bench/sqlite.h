// SQLite as the yardstick, set up for speed: no synchronisation with the disk, the rollback
// journal in memory, 64 MB of page cache, prepared statements, one transaction per benchmark.
#ifndef VQDBSYS_BENCH_SQLITE_H_
#define VQDBSYS_BENCH_SQLITE_H_

#include <sqlite3.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "customers.h"
#include "folder.h"

namespace vqdb::bench {

// Ways of setting it up, the first of them as said above. Databases made meanwhile are set up in
// the way that use_sqlite_way chose last, but for those in WAL mode.
struct SqliteWay {
  const char* name;
  const char* sql;
};
inline constexpr std::array<SqliteWay, 7> kSqliteWays = {{
    {"as ever", ""},
    {"256 MB", "PRAGMA cache_size=-262144"},
    {"alone", "PRAGMA locking_mode=EXCLUSIVE"},
    {"16 KB pages, alone", "PRAGMA page_size=16384; PRAGMA locking_mode=EXCLUSIVE"},
    {"16 KB pages, 256 MB, alone",
     "PRAGMA page_size=16384; PRAGMA cache_size=-262144; PRAGMA locking_mode=EXCLUSIVE"},
    {"64 KB pages, 256 MB, alone",
     "PRAGMA page_size=65536; PRAGMA cache_size=-262144; PRAGMA locking_mode=EXCLUSIVE"},
    {"mapped, 256 MB, alone",
     "PRAGMA mmap_size=4294967296; PRAGMA cache_size=-262144; PRAGMA locking_mode=EXCLUSIVE"},
}};
const SqliteWay& sqlite_way();
void use_sqlite_way(std::size_t way);

class Sqlite {
 public:
  explicit Sqlite(const std::string& path);
  ~Sqlite();
  Sqlite(const Sqlite&) = delete;
  Sqlite& operator=(const Sqlite&) = delete;

  void run(const char* sql);
  sqlite3* handle() { return database_; }

 protected:
  Sqlite(const std::string& path, const char* journal);

 private:
  sqlite3* database_ = nullptr;
};

// A database of this name with what `fill` (database) puts into it, made once for each way.
template <typename Fill>
const std::string& sqlite_file(const char* name, Fill fill) {
  static std::map<std::string, std::string> paths;
  std::string& path = paths[sqlite_way().name];
  if (path.empty()) {
    path = fresh_file(std::string(name) + "." + std::to_string(paths.size()));
    Sqlite database(path);
    fill(database);
  }
  return path;
}

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

// Inserts all customers into it, or the first so many.
void insert_customers(Sqlite& database, std::size_t count = record_count());

// What the rows of the customer table that a statement selects come to.
Sum sum_of_rows(Sqlite& database, const char* select = "SELECT * FROM customer");

// The same of a walk: a statement that selects keys and record numbers in order.
Sum sum_of_walk(Sqlite& database, const char* select);

// A database with all customers, made once.
const std::string& sqlite_customers();

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_SQLITE_H_
