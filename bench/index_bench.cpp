// One NDX index on the customers' names, and a table kept with three of them.

#include <algorithm>
#include <array>
#include <vector>

#include "berkeley.h"
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
    for (const Customer* customer : filling_order()) {
      require(dNputkey(index, customer->name.data(), customer->id) == 0, "dNputkey");
    }
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

void insert_sqlite_names(Sqlite& database, const std::vector<const Customer*>& order) {
  database.run("BEGIN");
  {
    Statement insert(database, "INSERT INTO names VALUES(?,?)");
    for (const Customer* customer : order) {
      insert.bind(1, customer->name_text());
      insert.bind(2, std::int64_t{customer->id});
      insert.step();
      insert.reset();
    }
  }
  database.run("COMMIT");
}

void insert_sqlite(benchmark::State& state, const char* cache = nullptr) {
  customers();
  Sqlite database(fresh_file("insert.sqlite"));
  if (cache != nullptr) database.run(cache);
  create_names(database);
  std::vector<const Customer*> order;
  for (const Customer& customer : customers()) order.push_back(&customer);
  for (auto _ : state) insert_sqlite_names(database, order);
  count_items(state);
}

const Register insert_cached({10, "NDX insert, 64 MB of pages",
                              [](benchmark::State& state) { insert_ours(state, kPagesOf64MiB); },
                              [](benchmark::State& state) { insert_sqlite(state); }, 1.5, nullptr,
                              0, 3});
const Register insert_few({11, "NDX insert, 1000 pages",
                           [](benchmark::State& state) { insert_ours(state, kFewPages); },
                           [](benchmark::State& state) { insert_sqlite(state); }, 0.5, nullptr, 0,
                           3});
// Both with as much memory as 1000 pages take.
const Register insert_little({11, "NDX insert, 528 KiB of memory",
                              [](benchmark::State& state) { insert_ours(state, kFewPages); },
                              [](benchmark::State& state) {
                                insert_sqlite(state, "PRAGMA cache_size=-528");
                              },
                              1, nullptr, 0, 3});

// The file name of a store, by what it is for.
template <typename Store>
std::string store_file(const char* purpose) {
  return std::string(purpose) + "." + Store::kName;
}

template <typename Store>
void insert_store_names(Store& database) {
  for (const Customer& customer : customers()) {
    database.insert({customer.name.data(), customer.name.size()}, customer.id);
  }
  database.commit();
}

template <typename Store>
void insert_store(benchmark::State& state) {
  customers();
  Store database(fresh_file(store_file<Store>("insert")));
  for (auto _ : state) insert_store_names(database);
  count_items(state);
}

template <typename Store>
Workload beside(int order, const std::string& name, Side ours, Side other, double target,
                int rounds) {
  return {order, name + ", " + Store::kName, ours, other, target, nullptr, 0, rounds, Store::kName};
}

void insert_ours_cached(benchmark::State& state) { insert_ours(state, kPagesOf64MiB); }

const Register insert_lmdb{
    beside<Lmdb>(14, "NDX insert, 64 MB of pages", insert_ours_cached, insert_store<Lmdb>, 1.8, 3)};
const Register insert_berkeley{beside<Berkeley>(14, "NDX insert, 64 MB of pages",
                                                insert_ours_cached, insert_store<Berkeley>, 0, 3)};

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

bool has_name(std::uint32_t number, const std::array<char, kNameBytes>& name) {
  return number >= 1 && number <= customers().size() && customers()[number - 1].name == name;
}

// Seeks every name by `find` (name), once to see that each is found, then for the clock.
template <typename Find>
void seek_names(benchmark::State& state, Find find) {
  std::uint64_t expected = 0;
  for (const auto& name : sought_names()) {
    const std::uint32_t number = find(name);
    require(has_name(number, name), "find every name");
    expected += number;
  }
  for (auto _ : state) {
    std::uint64_t sum = 0;
    for (const auto& name : sought_names()) sum += find(name);
    require(sum == expected, "find the same again");
  }
  count_items(state);
}

void seek_ours(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Index index(table, name_index(), kPagesOf64MiB);
  seek_names(state, [&](const auto& name) {
    std::uint32_t found = 0;
    require(dNgetrno(index, name.data(), &found) == 0, "dNgetrno");
    return found;
  });
}

const std::string& sqlite_names() {
  return sqlite_file("seek.sqlite", [](Sqlite& database) {
    create_names(database);
    insert_sqlite_names(database, filling_order());
  });
}

void seek_sqlite(benchmark::State& state) {
  Sqlite database(sqlite_names());
  database.run("BEGIN");
  {
    Statement select(database, "SELECT recno FROM names WHERE name=?");
    seek_names(state, [&](const auto& name) {
      select.bind(1, std::string_view(name.data(), text_length(name)));
      require(select.step(), "seek a name");
      const auto number = static_cast<std::uint32_t>(select.integer(0));
      select.reset();
      return number;
    });
  }
  database.run("COMMIT");
}

template <typename Store>
const std::string& store_names() {
  static const std::string path = [] {
    std::string made = fresh_file(store_file<Store>("seek"));
    Store database(made);
    for (const Customer* customer : filling_order()) {
      database.insert({customer->name.data(), customer->name.size()}, customer->id);
    }
    return made;
  }();
  return path;
}

template <typename Store>
void seek_store(benchmark::State& state) {
  Store database(store_names<Store>());
  seek_names(state, [&](const auto& name) { return database.find({name.data(), name.size()}); });
}

// Keys sought so many at a time.
void seek_block_ours(benchmark::State& state) {
  constexpr std::size_t kBlock = 1000;
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Index index(table, name_index(), kPagesOf64MiB);
  const auto& names = sought_names();
  static_assert(sizeof names[0] == kNameBytes);
  std::vector<std::uint32_t> numbers(names.size());
  const auto seek_all = [&] {
    for (std::size_t i = 0; i < names.size(); i += kBlock) {
      const auto count = static_cast<std::uint32_t>(std::min(kBlock, names.size() - i));
      std::uint32_t found = 0;
      require(dNseeks(index, names[i].data(), count, &numbers[i], &found) == 0, "dNseeks");
      require(found == count, "find every name");
    }
  };
  seek_all();
  for (std::size_t i = 0; i < names.size(); ++i) {
    require(has_name(numbers[i], names[i]), "find every name");
  }
  for (auto _ : state) seek_all();
  count_items(state);
}

const Register seek_lmdb{beside<Lmdb>(15, "exact seek", seek_ours, seek_store<Lmdb>, 2, 5)};
const Register seek_berkeley{
    beside<Berkeley>(15, "exact seek", seek_ours, seek_store<Berkeley>, 0, 5)};
const Register seek_block{
    beside<Lmdb>(16, "exact seeks in blocks", seek_block_ours, seek_store<Lmdb>, 2, 5)};

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
    require(steps == record_count() && sum == sum_of_walk(), "walk over every key");
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
    require(sum == sum_of_walk(), "walk over every key");
  };
  walk_all();
  for (auto _ : state) walk_all();
  database.run("COMMIT");
  count_items(state);
}

template <typename Store>
void walk_store(benchmark::State& state) {
  Store database(store_names<Store>());
  const auto walk_all = [&] {
    std::string_view name;
    std::uint32_t number = 0;
    std::uint64_t sum = 0;
    std::size_t steps = 0;
    for (database.rewind(); database.next(name, number); ++steps) {
      sum += number + static_cast<unsigned char>(name[0]);
    }
    require(steps == record_count() && sum == sum_of_walk(), "walk over every key");
  };
  walk_all();
  for (auto _ : state) walk_all();
  count_items(state);
}

const Register walk_lmdb{beside<Lmdb>(17, "ordered walk", walk_ours, walk_store<Lmdb>, 1.2, 5)};
const Register walk_berkeley{
    beside<Berkeley>(17, "ordered walk", walk_ours, walk_store<Berkeley>, 0, 5)};

// So many steps at a time.
void walk_block_ours(benchmark::State& state) {
  constexpr std::uint32_t kBlock = 1000;
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Index index(table, name_index(), kPagesOf64MiB);
  std::vector<std::array<char, kNameBytes>> keys(kBlock);
  std::array<std::uint32_t, kBlock> numbers;
  const auto walk_all = [&] {
    std::uint64_t sum = 0;
    std::size_t steps = 0;
    std::uint32_t got = kBlock;
    require(dNrewind(index) == 0, "dNrewind");
    for (; got == kBlock; steps += got) {
      const auto result = dNnxtkeys(index, kBlock, keys.data(), numbers.data(), &got);
      require(result == 0 || result == VQ_E_INDEX_END, "dNnxtkeys");
      for (std::size_t i = 0; i < got; ++i) {
        sum += numbers[i] + static_cast<unsigned char>(keys[i][0]);
      }
    }
    require(steps == record_count(), "walk over every key");
    benchmark::DoNotOptimize(sum);
  };
  walk_all();
  for (auto _ : state) walk_all();
  count_items(state);
}

const Register walk_block{
    beside<Lmdb>(18, "ordered walk in blocks", walk_block_ours, walk_store<Lmdb>, 1.2, 5)};

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
