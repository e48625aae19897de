// One table with its indexes, used by several processes at once, each operation by itself: SQLite
// beside it runs in WAL mode with a transaction for each operation. Rates are by the clock here,
// since the work is done by the processes together.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "bare_append.h"
#include "customers.h"
#include "folder.h"
#include "sqlite.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr std::uint32_t kMostProcesses = 4;
constexpr std::int32_t kPages = 8192;

struct KeptIndex {
  const char* file;
  const char* expression;
  const char* format;
  const char* sql;
};
constexpr std::array<KeptIndex, 3> kKept = {{
    {"SHNAME.NDX", "NAME", "C30", "CREATE INDEX by_name ON customer(name)"},
    {"SHAMOUNT.NDX", "AMOUNT", "N", "CREATE INDEX by_amount ON customer(amount)"},
    {"SHPLACE.NDX", "STATE+CITY", "C22", "CREATE INDEX by_place ON customer(state, city)"},
}};

// How many operations the processes do together.
std::uint32_t operations() {
  return static_cast<std::uint32_t>(std::min<std::size_t>(record_count(), 60000));
}

// Each process prepares itself, waits for the others, does its part of the work and ends. Its
// numbers are number, number + processes, ...
using Part = std::function<void(std::uint32_t number, std::uint32_t processes)>;
using Prepare = std::function<Part()>;

// A pipe: what is written into it lets that many processes go on.
class Gate {
 public:
  Gate() { require(pipe(ends_.data()) == 0, "pipe"); }
  ~Gate() {
    close(ends_[0]);
    close(ends_[1]);
  }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  void open(std::uint32_t processes) {
    const std::array<char, kMostProcesses> tokens = {};
    require(write(ends_[1], tokens.data(), processes) == static_cast<ssize_t>(processes), "write");
  }
  void pass(std::uint32_t times = 1) {
    char token = 0;
    for (std::uint32_t i = 0; i < times; ++i) require(read(ends_[0], &token, 1) == 1, "read");
  }

 private:
  std::array<int, 2> ends_;
};

// Seconds from the start of all processes to the end of the last one.
double run_processes(std::uint32_t processes, const Prepare& prepare) {
  Gate ready;
  Gate start;
  std::vector<pid_t> children;
  for (std::uint32_t number = 0; number < processes; ++number) {
    const pid_t child = fork();
    require(child >= 0, "fork");
    if (child == 0) {
      const Part part = prepare();
      ready.open(1);
      start.pass();
      part(number, processes);
      _exit(0);
    }
    children.push_back(child);
  }
  ready.pass(processes);
  const auto begin = std::chrono::steady_clock::now();
  start.open(processes);
  for (const pid_t child : children) {
    int status = 0;
    require(waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0,
            "work of a process");
  }
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void measure(benchmark::State& state, std::uint32_t processes, const Prepare& prepare) {
  double seconds = 0;
  for (auto _ : state) seconds += run_processes(processes, prepare);
  state.counters["items_per_second"] = operations() / seconds;
}

void each_part(std::uint32_t number, std::uint32_t processes,
               const std::function<void(std::uint32_t)>& operation) {
  for (std::uint32_t i = number; i < operations(); i += processes) operation(i);
}

// The n-th record number in random order.
std::uint32_t random_number(std::uint32_t n) {
  return random_order()[n % record_count()] % operations();
}

// ---- ours

std::string make_table(std::size_t indexes) {
  Block block;
  std::string path = fresh_file("SHARED.DBF");
  create_customer_table(block, path);
  for (std::size_t i = 0; i < indexes; ++i) {
    require(dNcreat(block, fresh_file(kKept[i].file).c_str(), kKept[i].expression,
                    kKept[i].format) == 0,
            "dNcreat");
  }
  return path;
}

class Database {
 public:
  Database(const std::string& path, std::size_t indexes, std::uint32_t mode) {
    std::array<std::string, kKept.size()> names;
    std::array<VqIndexSpec, kKept.size()> specs;
    for (std::size_t i = 0; i < indexes; ++i) {
      names[i] = file_in_folder(kKept[i].file);
      specs[i] = {VQ_KIND_NDX, names[i].c_str(), kPages, nullptr};
    }
    dUsetwait(block_, 60000);
    require(DBopen(block_, path.c_str(), mode | VQ_OPEN_NO_INDEX_LIST, 4, VQ_SPECS_ARRAY,
                   static_cast<std::int32_t>(indexes), specs.data(), &database_, nullptr) == 0,
            "DBopen");
  }
  ~Database() { require(DBclose(database_) == 0, "DBclose"); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  operator VqDatabase*() const { return database_; }

 private:
  Block block_;
  VqDatabase* database_ = nullptr;
};

void append_ours(benchmark::State& state, std::uint32_t processes, std::size_t indexes) {
  customers();
  const std::string path = make_table(indexes);
  measure(state, processes, [&]() -> Part {
    auto* const database = new Database(path, indexes, VQ_OPEN_SHARED);
    return [database](std::uint32_t number, std::uint32_t count) {
      std::array<char, kRecordBytes> record;
      std::uint32_t recno = 0;
      each_part(number, count, [&](std::uint32_t i) {
        format_record(customers()[i], record.data());
        require(DBapprec(*database, record.data(), &recno) == 0, "DBapprec");
      });
      delete database;
    };
  });
}

void fill(const std::string& path) {
  const Database database(path, 1, VQ_OPEN_EXCLUSIVE);
  std::array<char, kRecordBytes> record;
  std::uint32_t recno = 0;
  for (std::uint32_t i = 0; i < operations(); ++i) {
    format_record(customers()[i], record.data());
    require(DBapprec(database, record.data(), &recno) == 0, "DBapprec");
  }
}

void update_ours(benchmark::State& state, std::uint32_t processes) {
  random_order();
  const std::string path = make_table(1);
  fill(path);
  measure(state, processes, [&]() -> Part {
    auto* const database = new Database(path, 1, VQ_OPEN_SHARED);
    return [database](std::uint32_t number, std::uint32_t count) {
      std::array<char, kRecordBytes> record;
      each_part(number, count, [&](std::uint32_t i) {
        format_record(customers()[random_number(i + 1)], record.data());
        require(DBupdrec(*database, random_number(i) + 1, record.data()) == 0, "DBupdrec");
      });
      delete database;
    };
  });
}

void read_ours(benchmark::State& state, std::uint32_t processes) {
  random_order();
  const std::string path = make_table(1);
  fill(path);
  measure(state, processes, [&]() -> Part {
    auto* const database = new Database(path, 1, VQ_OPEN_SHARED);
    VqMember order;
    require(GRPmember(*database, VQ_KIND_NDX, nullptr, nullptr, &order) == 0, "GRPmember");
    return [database, order](std::uint32_t number, std::uint32_t count) {
      std::array<char, kRecordBytes> record;
      std::uint32_t recno = 0;
      each_part(number, count, [&](std::uint32_t i) {
        const Customer& sought = customers()[random_number(i)];
        require(DBgetrec(&order, sought.name.data(), record.data(), &recno) == 0, "DBgetrec");
        benchmark::DoNotOptimize(record);
      });
      delete database;
    };
  });
}

void read_number_ours(benchmark::State& state, std::uint32_t processes) {
  random_order();
  const std::string path = make_table(1);
  fill(path);
  measure(state, processes, [&]() -> Part {
    auto* const block = new Block;
    auto* const table = new Table(*block, path, VQ_OPEN_SHARED, 4);
    return [=](std::uint32_t number, std::uint32_t count) {
      std::array<char, kRecordBytes> record;
      each_part(number, count, [&](std::uint32_t i) {
        require(dDgetrec(*table, random_number(i) + 1, record.data()) == 0, "dDgetrec");
        benchmark::DoNotOptimize(record);
      });
      delete table;
      delete block;
    };
  });
}

// ---- SQLite

class WalDatabase : public Sqlite {
 public:
  explicit WalDatabase(const std::string& path) : Sqlite(path, "PRAGMA journal_mode=WAL") {}
};

std::string make_sqlite(std::size_t indexes, bool filled) {
  for (const char* extra : {"shared.sqlite-wal", "shared.sqlite-shm"}) fresh_file(extra);
  std::string path = fresh_file("shared.sqlite");
  WalDatabase database(path);
  create_customer_table(database);
  for (std::size_t i = 0; i < indexes; ++i) database.run(kKept[i].sql);
  if (filled) {
    database.run("BEGIN");
    Statement insert(database, "INSERT INTO customer VALUES(?,?,?,?,?,?,?)");
    for (std::uint32_t i = 0; i < operations(); ++i) {
      bind_customer(insert, customers()[i]);
      insert.step();
      insert.reset();
    }
    database.run("COMMIT");
  }
  return path;
}

void with_sqlite(benchmark::State& state, std::uint32_t processes, const std::string& path,
                 const char* sql, void (*bind)(Statement&, std::uint32_t)) {
  measure(state, processes, [&]() -> Part {
    auto* const database = new WalDatabase(path);
    auto* const statement = new Statement(*database, sql);
    return [=](std::uint32_t number, std::uint32_t count) {
      each_part(number, count, [&](std::uint32_t i) {
        bind(*statement, i);
        while (statement->step()) benchmark::DoNotOptimize(statement->number(4));
        statement->reset();
      });
      delete statement;
      delete database;
    };
  });
}

void append_sqlite(benchmark::State& state, std::uint32_t processes, std::size_t indexes) {
  customers();
  with_sqlite(state, processes, make_sqlite(indexes, false),
              "INSERT INTO customer VALUES(?,?,?,?,?,?,?)",
              [](Statement& insert, std::uint32_t i) { bind_customer(insert, customers()[i]); });
}

void update_sqlite(benchmark::State& state, std::uint32_t processes) {
  random_order();
  with_sqlite(state, processes, make_sqlite(1, true),
              "UPDATE customer SET name=?2, city=?3, state=?4, amount=?5, due=?6, active=?7 "
              "WHERE id=?1",
              [](Statement& update, std::uint32_t i) {
                bind_customer(update, customers()[random_number(i + 1)]);
                update.bind(1, std::int64_t{random_number(i)} + 1);
              });
}

void read_sqlite(benchmark::State& state, std::uint32_t processes) {
  random_order();
  with_sqlite(state, processes, make_sqlite(1, true), "SELECT * FROM customer WHERE name=? LIMIT 1",
              [](Statement& select, std::uint32_t i) {
                select.bind(1, customers()[random_number(i)].name_text());
              });
}

void read_number_sqlite(benchmark::State& state, std::uint32_t processes) {
  random_order();
  with_sqlite(state, processes, make_sqlite(1, true), "SELECT * FROM customer WHERE id=?",
              [](Statement& select, std::uint32_t i) {
                select.bind(1, std::int64_t{random_number(i)} + 1);
              });
}

// ---- bare calls

void append_bare(benchmark::State& state, std::uint32_t processes, std::size_t indexes) {
  customers();
  BareAppend::make(indexes);
  measure(state, processes, [&]() -> Part {
    auto* const files = new BareAppend(indexes);
    return [files](std::uint32_t number, std::uint32_t count) {
      std::array<char, kRecordBytes> record;
      each_part(number, count, [&](std::uint32_t i) {
        format_record(customers()[i], record.data());
        files->append(record.data());
      });
      delete files;
    };
  });
}

// ---- the list

// Adds a workload at each number of processes.
template <auto kOurs, auto kSqlite, auto kBare = nullptr>
void add(int order, const std::string& name, double target) {
  const auto at = [&]<std::uint32_t kProcesses>() {
    Side limit = nullptr;
    if constexpr (kBare != nullptr) {
      limit = [](benchmark::State& state) { kBare(state, kProcesses); };
    }
    workloads().push_back({order++, name + ", " + std::to_string(kProcesses) + " at once",
                           [](benchmark::State& state) { kOurs(state, kProcesses); },
                           [](benchmark::State& state) { kSqlite(state, kProcesses); }, target,
                           limit, 0, 3, "SQLite", false});
  };
  at.template operator()<1>();
  at.template operator()<2>();
  at.template operator()<4>();
}

template <std::size_t kIndexes>
void append_ours(benchmark::State& state, std::uint32_t processes) {
  append_ours(state, processes, kIndexes);
}
template <std::size_t kIndexes>
void append_sqlite(benchmark::State& state, std::uint32_t processes) {
  append_sqlite(state, processes, kIndexes);
}
template <std::size_t kIndexes>
void append_bare(benchmark::State& state, std::uint32_t processes) {
  append_bare(state, processes, kIndexes);
}

const bool added = [] {
  add<append_ours<0>, append_sqlite<0>, append_bare<0>>(100, "shared append, no index", 3.5);
  add<append_ours<1>, append_sqlite<1>, append_bare<1>>(110, "shared append, one index", 3);
  add<append_ours<3>, append_sqlite<3>, append_bare<3>>(120, "shared append, three indexes", 2.5);
  add<update_ours, update_sqlite>(130, "shared update of a key", 2);
  add<read_number_ours, read_number_sqlite>(140, "shared read by number", 2);
  add<read_ours, read_sqlite>(150, "shared read by key", 2);
  return true;
}();

}  // namespace
}  // namespace vqdb::bench
