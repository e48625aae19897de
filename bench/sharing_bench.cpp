// One table with its indexes, used by several processes at once, each operation by itself: SQLite
// beside it runs in WAL mode with a transaction for each operation. Rates are by the clock here,
// since the work is done by the processes together.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "bare_append.h"
#include "customers.h"
#include "folder.h"
#include "kept_table.h"
#include "sqlite.h"
#include "vq_table.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr std::int32_t kPages = 8192;
constexpr std::int32_t kFewBuffers = 4;

// How many operations the processes do together.
std::uint32_t operations() {
  return static_cast<std::uint32_t>(std::min<std::size_t>(record_count(), 60000));
}

// Each process prepares itself, waits for the others, does its part of the work, says what it comes
// to, and ends. Its numbers are number, number + processes, ...
using Part = std::function<Sum(std::uint32_t number, std::uint32_t processes)>;
using Prepare = std::function<Part()>;

// A pipe whose tokens let processes go on, or tell what one has come to.
class Gate {
 public:
  Gate() { require(pipe(ends_.data()) == 0, "pipe"); }
  ~Gate() {
    close(ends_[0]);
    close(ends_[1]);
  }
  Gate(const Gate&) = delete;
  Gate& operator=(const Gate&) = delete;

  void open(Sum token = 0) {
    require(write(ends_[1], &token, sizeof token) == sizeof token, "write");
  }
  Sum pass() {
    Sum token = 0;
    require(read(ends_[0], &token, sizeof token) == sizeof token, "read");
    return token;
  }

 private:
  std::array<int, 2> ends_;
};

// Adds to the sum; gives the seconds from the start of all processes to the end of the last one.
double run_processes(std::uint32_t processes, const Prepare& prepare, Sum& sum) {
  Gate ready;
  Gate start;
  Gate done;
  std::vector<pid_t> children;
  for (std::uint32_t number = 0; number < processes; ++number) {
    const pid_t child = fork();
    require(child >= 0, "fork");
    if (child == 0) {
      const Part part = prepare();
      ready.open();
      start.pass();
      done.open(part(number, processes));
      _exit(0);
    }
    children.push_back(child);
  }
  for (std::uint32_t i = 0; i < processes; ++i) ready.pass();
  const auto begin = std::chrono::steady_clock::now();
  for (std::uint32_t i = 0; i < processes; ++i) start.open();
  for (const pid_t child : children) {
    int status = 0;
    require(waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0,
            "work of a process");
  }
  const auto end = std::chrono::steady_clock::now();
  for (std::uint32_t i = 0; i < processes; ++i) sum += done.pass();
  return std::chrono::duration<double>(end - begin).count();
}

Sum measure(benchmark::State& state, std::uint32_t processes, const Prepare& prepare) {
  double seconds = 0;
  Sum sum = 0;
  for (auto _ : state) seconds += run_processes(processes, prepare, sum);
  state.counters["items_per_second"] = operations() / seconds;
  return sum;
}

// Adds up what the operations of a part come to.
template <typename Operation>
Sum each_part(std::uint32_t number, std::uint32_t processes, Operation operation) {
  Sum sum = 0;
  for (std::uint32_t i = number; i < operations(); i += processes) sum += operation(i);
  return sum;
}

// The records that are there before updates and reads, in random order: their numbers from 0.
const std::vector<std::uint32_t>& shared_order() {
  static const std::vector<std::uint32_t> order = [] {
    std::vector<std::uint32_t> numbers;
    for (const std::uint32_t number : random_order()) {
      if (number <= operations()) numbers.push_back(number - 1);
    }
    return numbers;
  }();
  return order;
}

const Customer& random_customer(std::uint32_t n) { return customers()[shared_order()[n]]; }

// What the n-th update writes: another customer under the number of this one.
Customer changed_customer(std::uint32_t n) {
  Customer changed = random_customer((n + 1) % operations());
  changed.id = random_customer(n).id;
  return changed;
}

// What a record that was read comes to: the first letter of its name, by its place in the order.
Sum glance(std::uint32_t n, char first) { return Sum{n} * static_cast<unsigned char>(first); }

// ---- ours

// Each process opens the table and does the operation that `begin` (database) returns.
template <typename Begin>
Sum share(benchmark::State& state, std::uint32_t processes, const KeptTable& table, Begin begin) {
  return measure(state, processes, [&]() -> Part {
    auto* const database = new Database(table, VQ_OPEN_SHARED, kFewBuffers);
    return [database, operation = begin(*database)](std::uint32_t number, std::uint32_t count) {
      const Sum sum = each_part(number, count, operation);
      delete database;
      return sum;
    };
  });
}

template <std::size_t indexes>
Sum append_ours(benchmark::State& state, std::uint32_t processes) {
  const KeptTable table(VQ_KIND_NDX, indexes, kPages);
  share(state, processes, table, [](Database& database) {
    return [&database](std::uint32_t n) {
      database.append(customers()[n]);
      return Sum{0};
    };
  });
  return table.sum();
}

Sum update_ours(benchmark::State& state, std::uint32_t processes) {
  const KeptTable table(VQ_KIND_NDX, 1, kPages);
  table.fill(operations());
  share(state, processes, table, [](VqDatabase* database) {
    return [database](std::uint32_t n) {
      std::array<char, kRecordBytes> record;
      const Customer changed = changed_customer(n);
      format_record(changed, record.data());
      require(DBupdrec(database, changed.id, record.data()) == 0, "DBupdrec");
      return Sum{0};
    };
  });
  return table.sum();
}

// Reads by the first member of a kind. `read` (member, customer, record) reads a customer's record.
template <std::uint32_t kind, auto read>
Sum read_ours(benchmark::State& state, std::uint32_t processes) {
  const KeptTable table(VQ_KIND_NDX, 1, kPages);
  table.fill(operations());
  return share(state, processes, table, [](VqDatabase* database) {
    VqMember member;
    require(GRPmember(database, kind, nullptr, nullptr, &member) == 0, "GRPmember");
    return [member](std::uint32_t n) {
      std::array<char, kRecordBytes> record;
      require(read(member, random_customer(n), record.data()) == 0, "read a record");
      return glance(n, record[kNameOffset]);
    };
  });
}

std::int32_t read_by_key(const VqMember& index, const Customer& customer, char* record) {
  std::uint32_t recno = 0;
  return DBgetrec(&index, customer.name.data(), record, &recno);
}

std::int32_t read_by_number(const VqMember& table, const Customer& customer, char* record) {
  return dDgetrec(static_cast<VqTable*>(table.handle), customer.id, record);
}

// ---- SQLite

class WalDatabase : public Sqlite {
 public:
  explicit WalDatabase(const std::string& path) : Sqlite(path, "PRAGMA journal_mode=WAL") {}
};

std::string make_sqlite(std::size_t indexes, std::size_t rows) {
  for (const char* extra : {"shared.sqlite-wal", "shared.sqlite-shm"}) fresh_file(extra);
  std::string path = fresh_file("shared.sqlite");
  WalDatabase database(path);
  create_customer_table(database);
  for (const KeptIndex& index : std::span(kKept).first(indexes)) database.run(index.sql);
  insert_customers(database, rows);
  return path;
}

Sum share(benchmark::State& state, std::uint32_t processes, const std::string& path,
          const char* sql, void (*bind)(Statement&, std::uint32_t)) {
  return measure(state, processes, [&]() -> Part {
    auto* const database = new WalDatabase(path);
    auto* const statement = new Statement(*database, sql);
    return [=](std::uint32_t number, std::uint32_t count) {
      const Sum sum = each_part(number, count, [&](std::uint32_t n) {
        bind(*statement, n);
        const Sum seen = statement->step() ? glance(n, statement->text(1)[0]) : 0;
        statement->reset();
        return seen;
      });
      delete statement;
      delete database;
      return sum;
    };
  });
}

Sum sum_of_file(const std::string& path, std::size_t indexes) {
  WalDatabase database(path);
  return sum_of_kept_rows(database, indexes);
}

template <std::size_t indexes>
Sum append_sqlite(benchmark::State& state, std::uint32_t processes) {
  const std::string path = make_sqlite(indexes, 0);
  share(state, processes, path, "INSERT INTO customer VALUES(?,?,?,?,?,?,?)",
        [](Statement& insert, std::uint32_t n) { bind_customer(insert, customers()[n]); });
  return sum_of_file(path, indexes);
}

Sum update_sqlite(benchmark::State& state, std::uint32_t processes) {
  const std::string path = make_sqlite(1, operations());
  share(state, processes, path,
        "UPDATE customer SET name=?2, city=?3, state=?4, amount=?5, due=?6, active=?7 WHERE id=?1",
        [](Statement& update, std::uint32_t n) {
          static Customer changed;  // bound texts stay until the step
          changed = changed_customer(n);
          bind_customer(update, changed);
        });
  return sum_of_file(path, 1);
}

Sum read_key_sqlite(benchmark::State& state, std::uint32_t processes) {
  return share(
      state, processes, make_sqlite(1, operations()), "SELECT * FROM customer WHERE name=? LIMIT 1",
      [](Statement& select, std::uint32_t n) { select.bind(1, random_customer(n).name_text()); });
}

Sum read_number_sqlite(benchmark::State& state, std::uint32_t processes) {
  return share(state, processes, make_sqlite(1, operations()), "SELECT * FROM customer WHERE id=?",
               [](Statement& select, std::uint32_t n) {
                 select.bind(1, std::int64_t{random_customer(n).id});
               });
}

// ---- bare calls

template <std::size_t indexes>
Sum append_bare(benchmark::State& state, std::uint32_t processes) {
  customers();
  BareAppend::make(indexes);
  measure(state, processes, [&]() -> Part {
    auto* const files = new BareAppend(indexes);
    return [files](std::uint32_t number, std::uint32_t count) {
      std::array<char, kRecordBytes> record;
      const Sum sum = each_part(number, count, [&](std::uint32_t n) {
        format_record(customers()[n], record.data());
        files->append(record.data());
        return Sum{0};
      });
      delete files;
      return sum;
    };
  });
  // By the indexes, which have no keys here, the others read the records as often.
  return BareAppend::sum() * std::max<std::size_t>(indexes, 1);
}

// ---- the list

// Adds a workload at each number of processes.
template <auto ours, auto sqlite, auto bare = nullptr>
void add(int order, const std::string& name, double target) {
  const auto at = [&]<std::uint32_t kProcesses>() {
    Side limit = nullptr;
    if constexpr (bare != nullptr) {
      limit = [](benchmark::State& state) { return bare(state, kProcesses); };
    }
    workloads().push_back({order++, name + ", " + std::to_string(kProcesses) + " at once",
                           [](benchmark::State& state) { return ours(state, kProcesses); },
                           [](benchmark::State& state) { return sqlite(state, kProcesses); },
                           target, limit, 0, 3, "SQLite", false});
  };
  at.template operator()<1>();
  at.template operator()<2>();
  at.template operator()<4>();
}

const bool added = [] {
  add<append_ours<0>, append_sqlite<0>, append_bare<0>>(100, "shared append, no index", 3.5);
  add<append_ours<1>, append_sqlite<1>, append_bare<1>>(110, "shared append, one index", 3);
  add<append_ours<3>, append_sqlite<3>, append_bare<3>>(120, "shared append, three indexes", 2.5);
  add<update_ours, update_sqlite>(130, "shared update of a key", 2);
  add<read_ours<VQ_KIND_TABLE, read_by_number>, read_number_sqlite>(140, "shared read by number",
                                                                    2);
  add<read_ours<VQ_KIND_NDX, read_by_key>, read_key_sqlite>(150, "shared read by key", 2);
  return true;
}();

}  // namespace
}  // namespace vqdb::bench
