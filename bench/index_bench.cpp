// One NDX index on the customers' names, and a table kept with three of them.

#include <algorithm>
#include <array>
#include <vector>

#include "customers.h"
#include "folder.h"
#include "lmdb.h"
#include "sqlite.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr std::int32_t kPagesOf64MiB = 64 * 1024 * 1024 / 512;
constexpr std::int32_t kFewPages = 1000;

void count_items(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<std::int64_t>(record_count()));
}

class Index {
 public:
  Index(VqTable* table, const std::string& path, std::int32_t pages)
      : index_(dNopen(table, path.c_str(), 0, pages)) {
    require(index_ != nullptr, "dNopen");
  }
  ~Index() { require(dNclose(index_) == 0, "dNclose"); }
  Index(const Index&) = delete;
  Index& operator=(const Index&) = delete;

  operator VqIndex*() const { return index_; }

 private:
  VqIndex* index_;
};

void create_name_index(VqBlock* block, const std::string& path) {
  require(dNcreat(block, path.c_str(), "NAME", "C30") == 0, "dNcreat");
}

void insert_names(VqIndex* index) {
  for (const Customer& customer : customers()) {
    require(dNputkey(index, customer.name.data(), customer.id) == 0, "dNputkey");
  }
}

const std::string& name_index() {
  static const std::string path = [] {
    std::string made = fresh_file("NAME.NDX");
    Block block;
    const Table table(block, customer_table(), 0, 1);
    create_name_index(block, made);
    const Index index(table, made, kPagesOf64MiB);
    insert_names(index);
    return made;
  }();
  return path;
}

void create_names(Sqlite& database) {
  database.run(
      "CREATE TABLE names(name TEXT, recno INTEGER, PRIMARY KEY(name, recno)) WITHOUT ROWID");
}

// ---- insert in random order

void insert_ours(benchmark::State& state, std::int32_t pages) {
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const std::string path = fresh_file("INSERT.NDX");
  create_name_index(block, path);
  for (auto _ : state) {
    const Index index(table, path, pages);
    insert_names(index);
  }
  count_items(state);
}

void insert_sqlite_names(Sqlite& database) {
  database.run("BEGIN");
  {
    Statement insert(database, "INSERT INTO names VALUES(?,?)");
    for (const Customer& customer : customers()) {
      insert.bind(1, customer.name_text());
      insert.bind(2, std::int64_t{customer.id});
      insert.step();
      insert.reset();
    }
  }
  database.run("COMMIT");
}

void insert_sqlite(benchmark::State& state) {
  customers();
  Sqlite database(fresh_file("insert.sqlite"));
  create_names(database);
  for (auto _ : state) insert_sqlite_names(database);
  count_items(state);
}

const Register insert_cached({10, "NDX insert, 64 MB of pages",
                              [](benchmark::State& state) { insert_ours(state, kPagesOf64MiB); },
                              insert_sqlite, 1.5, nullptr, 0, 3});
const Register insert_few({11, "NDX insert, 1000 pages",
                           [](benchmark::State& state) { insert_ours(state, kFewPages); },
                           insert_sqlite, 0.5, nullptr, 0, 3});

void insert_lmdb_names(Lmdb& database) {
  for (const Customer& customer : customers()) {
    database.insert({customer.name.data(), customer.name.size()}, customer.id);
  }
  database.commit();
}

void insert_lmdb(benchmark::State& state) {
  customers();
  Lmdb database(fresh_file("insert.lmdb"));
  for (auto _ : state) insert_lmdb_names(database);
  count_items(state);
}

const Register insert_beside({14, "NDX insert, 64 MB of pages, LMDB",
                              [](benchmark::State& state) { insert_ours(state, kPagesOf64MiB); },
                              insert_lmdb, 1.8, nullptr, 0, 3, "LMDB"});

// ---- exact seek

std::size_t text_length(const std::array<char, kNameBytes>& name) {
  std::size_t length = name.size();
  while (length > 0 && name[length - 1] == ' ') --length;
  return length;
}

// The names in the order in which they are sought, so that no side waits for the customers.
const std::vector<std::array<char, kNameBytes>>& sought_names() {
  static const std::vector<std::array<char, kNameBytes>> names = [] {
    std::vector<std::array<char, kNameBytes>> all;
    for (const std::uint32_t number : random_order()) all.push_back(customers()[number - 1].name);
    return all;
  }();
  return names;
}

void seek_ours(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Index index(table, name_index(), kPagesOf64MiB);
  const auto seek_all = [&] {
    for (const auto& name : sought_names()) {
      std::uint32_t found = 0;
      require(dNgetrno(index, name.data(), &found) == 0, "dNgetrno");
      benchmark::DoNotOptimize(found);
    }
  };
  seek_all();
  for (auto _ : state) seek_all();
  count_items(state);
}

const std::string& sqlite_names() {
  static const std::string path = [] {
    std::string made = fresh_file("seek.sqlite");
    Sqlite database(made);
    create_names(database);
    insert_sqlite_names(database);
    return made;
  }();
  return path;
}

void seek_sqlite(benchmark::State& state) {
  Sqlite database(sqlite_names());
  database.run("BEGIN");
  {
    Statement select(database, "SELECT recno FROM names WHERE name=?");
    const auto seek_all = [&] {
      for (const auto& name : sought_names()) {
        select.bind(1, std::string_view(name.data(), text_length(name)));
        require(select.step(), "seek a name");
        benchmark::DoNotOptimize(select.integer(0));
        select.reset();
      }
    };
    seek_all();
    for (auto _ : state) seek_all();
  }
  database.run("COMMIT");
  count_items(state);
}

const std::string& lmdb_names() {
  static const std::string path = [] {
    std::string made = fresh_file("seek.lmdb");
    Lmdb database(made);
    insert_lmdb_names(database);
    return made;
  }();
  return path;
}

void seek_lmdb(benchmark::State& state) {
  Lmdb database(lmdb_names());
  const auto seek_all = [&] {
    for (const auto& name : sought_names()) {
      const std::uint32_t found = database.find({name.data(), name.size()});
      require(found != 0, "seek a name");
      benchmark::DoNotOptimize(found);
    }
  };
  seek_all();
  for (auto _ : state) seek_all();
  count_items(state);
}

// Keys sought so many at a time.
void seek_block_ours(benchmark::State& state) {
  constexpr std::size_t kBlock = 1000;
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Index index(table, name_index(), kPagesOf64MiB);
  const auto& names = sought_names();
  static_assert(sizeof names[0] == kNameBytes);
  std::array<std::uint32_t, kBlock> numbers;
  const auto seek_all = [&] {
    for (std::size_t i = 0; i < names.size(); i += kBlock) {
      const auto count = static_cast<std::uint32_t>(std::min(kBlock, names.size() - i));
      std::uint32_t found = 0;
      require(dNseeks(index, names[i].data(), count, numbers.data(), &found) == 0, "dNseeks");
      require(found == count, "find every name");
    }
  };
  seek_all();
  for (auto _ : state) seek_all();
  count_items(state);
}

const Register seek_beside({15, "exact seek, LMDB", seek_ours, seek_lmdb, 2, nullptr, 0, 5,
                            "LMDB"});
const Register seek_block({16, "exact seeks in blocks, LMDB", seek_block_ours, seek_lmdb, 2,
                           nullptr, 0, 5, "LMDB"});

const Register seek({12, "exact seek, 64 MB of pages", seek_ours, seek_sqlite, 2});

// ---- ordered walk that reads key and record number

void walk_ours(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Index index(table, name_index(), kPagesOf64MiB);
  const auto walk_all = [&] {
    std::array<char, kNameBytes> key;
    std::uint32_t number = 0;
    std::uint64_t sum = 0;
    std::size_t steps = 0;
    require(dNrewind(index) == 0, "dNrewind");
    while (dNnxtkey(index, key.data(), &number) == 0) {
      sum += number + static_cast<unsigned char>(key[0]);
      ++steps;
    }
    require(steps == record_count(), "walk over every key");
    benchmark::DoNotOptimize(sum);
  };
  walk_all();
  for (auto _ : state) walk_all();
  count_items(state);
}

void walk_sqlite(benchmark::State& state) {
  Sqlite database(sqlite_names());
  database.run("BEGIN");
  const auto walk_all = [&] {
    Statement select(database, "SELECT name, recno FROM names ORDER BY name, recno");
    std::uint64_t sum = 0;
    while (select.step()) {
      sum += static_cast<std::uint64_t>(select.integer(1)) +
             static_cast<unsigned char>(select.text(0)[0]);
    }
    benchmark::DoNotOptimize(sum);
  };
  walk_all();
  for (auto _ : state) walk_all();
  database.run("COMMIT");
  count_items(state);
}

void walk_lmdb(benchmark::State& state) {
  Lmdb database(lmdb_names());
  const auto walk_all = [&] {
    std::string_view name;
    std::uint32_t number = 0;
    std::uint64_t sum = 0;
    std::size_t steps = 0;
    for (database.rewind(); database.next(name, number); ++steps) {
      sum += number + static_cast<unsigned char>(name[0]);
    }
    require(steps == record_count(), "walk over every key");
    benchmark::DoNotOptimize(sum);
  };
  walk_all();
  for (auto _ : state) walk_all();
  count_items(state);
}

const Register walk_beside({17, "ordered walk, LMDB", walk_ours, walk_lmdb, 1.2, nullptr, 0, 5,
                            "LMDB"});

const Register walk({13, "ordered walk", walk_ours, walk_sqlite, 1});

// ---- a table kept with three indexes

struct KeptIndex {
  const char* file;
  const char* expression;
  const char* format;
};
constexpr std::array<KeptIndex, 3> kKept = {{
    {"BYNAME.NDX", "NAME", "C30"},
    {"BYAMOUNT.NDX", "AMOUNT", "N"},
    {"BYPLACE.NDX", "STATE+CITY", "C22"},
}};

void append_three_ours(benchmark::State& state) {
  customers();
  Block block;
  const std::string path = fresh_file("KEPT.DBF");
  create_customer_table(block, path);
  std::array<std::string, kKept.size()> names;
  std::array<VqIndexSpec, kKept.size()> specs;
  for (std::size_t i = 0; i < kKept.size(); ++i) {
    names[i] = fresh_file(kKept[i].file);
    require(dNcreat(block, names[i].c_str(), kKept[i].expression, kKept[i].format) == 0, "dNcreat");
    specs[i] = {64, names[i].c_str(), kPagesOf64MiB / 3, nullptr};
  }
  for (auto _ : state) {
    VqDatabase* database = nullptr;
    VqIndexSpec* failed = nullptr;
    require(
        DBopen(block, path.c_str(), 0, 64, 1, kKept.size(), specs.data(), &database, &failed) == 0,
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

void append_three_sqlite(benchmark::State& state) {
  customers();
  Sqlite database(fresh_file("kept.sqlite"));
  create_customer_table(database);
  database.run("CREATE INDEX by_name ON customer(name)");
  database.run("CREATE INDEX by_amount ON customer(amount)");
  database.run("CREATE INDEX by_place ON customer(state, city)");
  for (auto _ : state) insert_customers(database);
  count_items(state);
}

const Register append_three({20, "append with three indexes", append_three_ours,
                             append_three_sqlite, 3, nullptr, 0, 3});

}  // namespace
}  // namespace vqdb::bench
