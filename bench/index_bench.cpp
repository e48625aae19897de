// One NDX index on the customers' names.

#include <algorithm>
#include <array>
#include <numeric>
#include <span>
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
constexpr std::size_t kMostSought = 1000000;

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

// Walks over every key.
Sum walk_all(VqIndex* index) {
  std::array<char, kNameBytes> key;
  std::uint32_t number = 0;
  GlanceSum sum;
  require(dNrewind(index) == 0, "dNrewind");
  while (dNnxtkey(index, key.data(), &number) == 0) sum.add(number, key[0]);
  return sum;
}

Sum walk_all(Sqlite& database) {
  Statement select(database, "SELECT name, recno FROM names ORDER BY name, recno");
  GlanceSum sum;
  while (select.step()) {
    sum.add(static_cast<std::uint32_t>(select.integer(1)), select.text(0)[0]);
  }
  return sum;
}

template <typename Engine>
Sum walk_all(OrderedStore<Engine>& database) {
  std::string_view name;
  std::uint32_t number = 0;
  GlanceSum sum;
  database.rewind();
  while (database.next(name, number)) sum.add(number, name[0]);
  return sum;
}

void create_names(Sqlite& database) {
  database.run(
      "CREATE TABLE names(name TEXT, recno INTEGER, PRIMARY KEY(name, recno)) WITHOUT ROWID");
}

// ---- insert in random order

Sum insert_ours(benchmark::State& state, std::int32_t pages) {
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const std::string path = fresh_file("INSERT.NDX");
  create_name_index(block, path);
  for (auto _ : state) {
    const Index index(table, path, pages);
    insert_names(index);
  }
  return sum_of_walk(Index(table, path, pages), kNameBytes);
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

Sum insert_sqlite(benchmark::State& state, const char* cache = nullptr) {
  customers();
  Sqlite database(fresh_file("insert.sqlite"));
  if (cache != nullptr) database.run(cache);
  create_names(database);
  std::vector<const Customer*> order;
  for (const Customer& customer : customers()) order.push_back(&customer);
  for (auto _ : state) insert_sqlite_names(database, order);
  return sum_of_walk(database, "SELECT name, recno FROM names ORDER BY name, recno");
}

const Register insert_cached(
    {10, "NDX insert, 64 MB of pages",
     [](benchmark::State& state) { return insert_ours(state, kPagesOf64MiB); },
     [](benchmark::State& state) { return insert_sqlite(state); }, 1.5, nullptr, 0, 3});
const Register insert_few({11, "NDX insert, 1000 pages",
                           [](benchmark::State& state) { return insert_ours(state, kFewPages); },
                           [](benchmark::State& state) { return insert_sqlite(state); }, 0.5,
                           nullptr, 0, 3});
// Both with as much memory as 1000 pages take.
const Register insert_little({11, "NDX insert, 528 KiB of memory",
                              [](benchmark::State& state) { return insert_ours(state, kFewPages); },
                              [](benchmark::State& state) {
                                return insert_sqlite(state, "PRAGMA cache_size=-528");
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
Sum insert_store(benchmark::State& state) {
  customers();
  const std::string path = fresh_file(store_file<Store>("insert"));
  {
    Store database(path);
    for (auto _ : state) insert_store_names(database);
  }
  return sum_of_walk(Store(path));
}

template <typename Store>
Workload beside(int order, const std::string& name, Side ours, Side other, double target,
                int rounds) {
  return {order, name + ", " + Store::kName, ours, other, target, nullptr, 0, rounds, Store::kName};
}

Sum insert_ours_cached(benchmark::State& state) { return insert_ours(state, kPagesOf64MiB); }

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

// The names in the order in which they are sought, so that no side waits for the customers: no more
// than a million, as more seeks in a large file take minutes and tell nothing else.
const std::vector<std::array<char, kNameBytes>>& sought_names() {
  static const std::vector<std::array<char, kNameBytes>> names = [] {
    std::vector<std::array<char, kNameBytes>> all;
    all.reserve(std::min(record_count(), kMostSought));
    for (const std::uint32_t number : std::span(random_order()).first(all.capacity())) {
      all.push_back(customers()[number - 1].name);
    }
    return all;
  }();
  return names;
}

// What the customers come to that were found, one for each name that was sought. Which of several
// with one name is found is up to the index.
Sum sum_of_found(benchmark::State& state, const std::vector<std::uint32_t>& numbers) {
  Sum sum = 0;
  state.SetItemsProcessed(static_cast<std::int64_t>(numbers.size()));
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    require(numbers[i] >= 1 && numbers[i] <= record_count(), "find every name");
    const Customer& found = customers()[numbers[i] - 1];
    require(found.name == sought_names()[i], "find every name");
    sum += (i + 1) * sum_of(found.name_text());
  }
  return sum;
}

// Seeks every name by `find` (name), once to see what is found, then for the clock.
template <typename Find>
Sum seek_names(benchmark::State& state, Find find) {
  std::vector<std::uint32_t> numbers;
  for (const auto& name : sought_names()) numbers.push_back(find(name));
  const auto expected = std::accumulate(numbers.begin(), numbers.end(), std::uint64_t{0});
  for (auto _ : state) {
    std::uint64_t sum = 0;
    for (const auto& name : sought_names()) sum += find(name);
    require(sum == expected, "find the same again");
  }
  return sum_of_found(state, numbers);
}

Sum seek_ours(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Index index(table, name_index(), kPagesOf64MiB);
  return seek_names(state, [&](const auto& name) {
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

Sum seek_sqlite(benchmark::State& state) {
  Sqlite database(sqlite_names());
  Sum sum = 0;
  database.run("BEGIN");
  {
    Statement select(database, "SELECT recno FROM names WHERE name=?");
    sum = seek_names(state, [&](const auto& name) {
      select.bind(1, std::string_view(name.data(), text_length(name)));
      require(select.step(), "seek a name");
      const auto number = static_cast<std::uint32_t>(select.integer(0));
      select.reset();
      return number;
    });
  }
  database.run("COMMIT");
  return sum;
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
Sum seek_store(benchmark::State& state) {
  Store database(store_names<Store>());
  return seek_names(state, [&](const auto& name) {
    return database.find({name.data(), name.size()});
  });
}

// Keys sought so many at a time.
Sum seek_block_ours(benchmark::State& state) {
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
  for (auto _ : state) seek_all();
  return sum_of_found(state, numbers);
}

const Register seek_lmdb{beside<Lmdb>(15, "exact seek", seek_ours, seek_store<Lmdb>, 2, 5)};
const Register seek_berkeley{
    beside<Berkeley>(15, "exact seek", seek_ours, seek_store<Berkeley>, 0, 5)};
const Register seek_block{
    beside<Lmdb>(16, "exact seeks in blocks", seek_block_ours, seek_store<Lmdb>, 2, 5)};

const Register seek({12, "exact seek, 64 MB of pages", seek_ours, seek_sqlite, 2});

// ---- ordered walk that reads key and record number, once before the clock

template <typename Walked>
Sum walk(benchmark::State& state, Walked& walked) {
  walk_all(walked);
  Sum sum = 0;
  for (auto _ : state) sum = walk_all(walked);
  return sum;
}

Sum walk_ours(benchmark::State& state) {
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Index index(table, name_index(), kPagesOf64MiB);
  return walk(state, index);
}

Sum walk_sqlite(benchmark::State& state) {
  Sqlite database(sqlite_names());
  database.run("BEGIN");
  const Sum sum = walk(state, database);
  database.run("COMMIT");
  return sum;
}

template <typename Store>
Sum walk_store(benchmark::State& state) {
  Store database(store_names<Store>());
  return walk(state, database);
}

const Register walk_lmdb{beside<Lmdb>(17, "ordered walk", walk_ours, walk_store<Lmdb>, 1.2, 5)};
const Register walk_berkeley{
    beside<Berkeley>(17, "ordered walk", walk_ours, walk_store<Berkeley>, 0, 5)};

// So many steps at a time.
Sum walk_block_ours(benchmark::State& state) {
  constexpr std::uint32_t kBlock = 1000;
  Block block;
  const Table table(block, customer_table(), 0, 1);
  const Index index(table, name_index(), kPagesOf64MiB);
  std::vector<std::array<char, kNameBytes>> keys(kBlock);
  std::array<std::uint32_t, kBlock> numbers;
  const auto walk_all = [&] {
    GlanceSum sum;
    std::uint32_t got = kBlock;
    require(dNrewind(index) == 0, "dNrewind");
    while (got == kBlock) {
      const auto result = dNnxtkeys(index, kBlock, keys.data(), numbers.data(), &got);
      require(result == 0 || result == VQ_E_INDEX_END, "dNnxtkeys");
      for (std::size_t i = 0; i < got; ++i) sum.add(numbers[i], keys[i][0]);
    }
    return sum;
  };
  walk_all();
  Sum sum = 0;
  for (auto _ : state) sum = walk_all();
  return sum;
}

const Register walk_block{
    beside<Lmdb>(18, "ordered walk in blocks", walk_block_ours, walk_store<Lmdb>, 1.2, 5)};

const Register walk_names({13, "ordered walk", walk_ours, walk_sqlite, 1});

}  // namespace
}  // namespace vqdb::bench
