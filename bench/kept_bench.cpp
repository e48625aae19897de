// Tables that are kept with three indexes.

#include <array>

#include "folder.h"
#include "kept_table.h"
#include "sqlite.h"
#include "workload.h"

namespace vqdb::bench {
namespace {

constexpr std::int32_t kBytesOf64MiB = 64 * 1024 * 1024;

template <std::uint32_t kind, std::int32_t pages>
Sum append_ours(benchmark::State& state) {
  customers();
  const KeptTable table(kind, kKept.size(), pages);
  for (auto _ : state) table.fill(record_count());
  return table.sum();
}

void create_kept_table(Sqlite& database) {
  create_customer_table(database);
  for (const KeptIndex& index : kKept) database.run(index.sql);
}

Sum append_sqlite(benchmark::State& state) {
  customers();
  Sqlite database(fresh_file("kept.sqlite"));
  create_kept_table(database);
  for (auto _ : state) insert_customers(database);
  return sum_of_kept_rows(database, kKept.size());
}

constexpr Side append_to_files = append_ours<VQ_KIND_NDX, kBytesOf64MiB / 512 / 3>;
constexpr Side append_to_tags = append_ours<VQ_KIND_MDX, kBytesOf64MiB / 1024>;

const Register append_three({20, "append with three indexes", append_to_files, append_sqlite, 3,
                             nullptr, 0, 3});
const Register append_tags({20, "append with three tags", append_to_tags, append_to_files, 1.2,
                            nullptr, 0, 3, "NDX"});

// ---- every record gets what another customer has, in random order

Customer changed(std::uint32_t number) {
  Customer other = customers()[number % record_count()];
  other.id = number;
  return other;
}

Sum update_ours(benchmark::State& state) {
  random_order();
  const KeptTable table(VQ_KIND_NDX, kKept.size(), kBytesOf64MiB / 512 / 3);
  table.fill(record_count());
  for (auto _ : state) {
    const Database database(table, VQ_OPEN_EXCLUSIVE);
    std::array<char, kRecordBytes> record;
    for (const std::uint32_t number : random_order()) {
      format_record(changed(number), record.data());
      require(DBupdrec(database, number, record.data()) == 0, "DBupdrec");
    }
  }
  return table.sum();
}

Sum update_sqlite(benchmark::State& state) {
  random_order();
  Sqlite database(fresh_file("kept_update.sqlite"));
  create_kept_table(database);
  insert_customers(database);
  for (auto _ : state) {
    database.run("BEGIN");
    {
      Statement update(database,
                       "UPDATE customer SET name=?2, city=?3, state=?4, amount=?5, due=?6, "
                       "active=?7 WHERE id=?1");
      for (const std::uint32_t number : random_order()) {
        const Customer customer = changed(number);
        bind_customer(update, customer);
        update.step();
        update.reset();
      }
    }
    database.run("COMMIT");
  }
  return sum_of_kept_rows(database, kKept.size());
}

const Register update({20, "update of a key, three indexes", update_ours, update_sqlite, 0, nullptr,
                       0, 3});

// ---- the checker beside the build of what it checks

// The customers with three NDX files, 64 MiB of workspace for the build and for the check.
class CheckedTable {
 public:
  CheckedTable() {
    static_cast<VqBlock*>(block_)->page_count_setting = kBytesOf64MiB / 16384;
    for (const KeptIndex& index : kKept) {
      files_.push_back(fresh_file(std::string(index.name) + ".NDX"));
    }
  }

  void build() {
    const Table table(block_, customer_table(), VQ_OPEN_EXCLUSIVE, 64);
    for (std::size_t i = 0; i < kKept.size(); ++i) {
      require(dNindex(table, files_[i].c_str(), kKept[i].expression, 0) == 0, "dNindex");
    }
  }

  // How many findings there are.
  Sum check() {
    std::vector<VqIndexDef> indexes;
    for (const std::string& file : files_) {
      indexes.push_back({VQ_KIND_NDX, file.c_str(), {}, {}, {}, 0});
    }
    const VqCheckOptions options = {0, static_cast<std::int32_t>(indexes.size()), indexes.data(),
                                    nullptr, nullptr};
    Sum findings = 0;
    const auto count = [](void* sum, const VqFinding*) -> std::int32_t {
      ++*static_cast<Sum*>(sum);
      return 0;
    };
    require(DBcheck(block_, customer_table().c_str(), &options, count, &findings) >= 0, "DBcheck");
    return findings;
  }

 private:
  Block block_;
  std::vector<std::string> files_;
};

Sum check_ours(benchmark::State& state) {
  CheckedTable table;
  table.build();
  Sum findings = 0;
  for (auto _ : state) findings = table.check();
  return findings;
}

Sum build(benchmark::State& state) {
  CheckedTable table;
  for (auto _ : state) table.build();
  return table.check();
}

const Register check({37, "check of a table with three indexes", check_ours, build, 1 / 1.5,
                      nullptr, 0, 3, "build"});

}  // namespace
}  // namespace vqdb::bench
