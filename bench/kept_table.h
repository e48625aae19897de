// A table that is kept with indexes on name, amount and place: NDX files, tags of one MDX file, or
// indexes of SQLite.
#ifndef VQDBSYS_BENCH_KEPT_TABLE_H_
#define VQDBSYS_BENCH_KEPT_TABLE_H_

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "customers.h"
#include "sqlite.h"
#include "sum.h"
#include "vq_table.h"

namespace vqdb::bench {

struct KeptIndex {
  const char* name;  // of tag and file
  const char* expression;
  const char* format;
  const char* sql;       // makes it
  const char* sql_walk;  // selects the rows in its order
};
inline constexpr std::array<KeptIndex, 3> kKept = {{
    {"BYNAME", "NAME", "C30", "CREATE INDEX by_name ON customer(name)",
     "SELECT * FROM customer INDEXED BY by_name ORDER BY name"},
    {"BYAMOUNT", "AMOUNT", "N", "CREATE INDEX by_amount ON customer(amount)",
     "SELECT * FROM customer INDEXED BY by_amount ORDER BY amount"},
    {"BYPLACE", "STATE+CITY", "C22", "CREATE INDEX by_place ON customer(state, city)",
     "SELECT * FROM customer INDEXED BY by_place ORDER BY state, city"},
}};

// A new table without records, with the first so many of them.
class KeptTable {
 public:
  // The kind is VQ_KIND_NDX or VQ_KIND_MDX; each file has so many page buffers while open.
  KeptTable(std::uint32_t kind, std::size_t indexes, std::int32_t pages);

  KeptTable(const KeptTable&) = delete;
  KeptTable& operator=(const KeptTable&) = delete;

  // Appends the first so many customers.
  void fill(std::size_t count) const;

  // What its records come to, read by each index or, without one, by their numbers.
  Sum sum() const;

 private:
  friend class Database;

  std::uint32_t kind_;
  std::size_t indexes_;
  std::string path_;
  std::vector<std::string> files_;
  std::vector<VqIndexSpec> specs_;
};

// The same of the customer table of SQLite with so many of the indexes.
Sum sum_of_kept_rows(Sqlite& database, std::size_t indexes);

// A table while it is open with indexes. It waits a minute for locks.
class Database {
 public:
  Database(const std::string& path, std::vector<VqIndexSpec> indexes, std::uint32_t mode,
           std::int32_t buffers);
  Database(const KeptTable& table, std::uint32_t mode, std::int32_t buffers = 64);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  void append(const Customer& customer);
  operator VqDatabase*() const { return database_; }

 private:
  Block block_;
  VqDatabase* database_ = nullptr;
};

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_KEPT_TABLE_H_
