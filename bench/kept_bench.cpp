// Tables that are kept with three indexes.

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

Sum append_sqlite(benchmark::State& state) {
  customers();
  Sqlite database(fresh_file("kept.sqlite"));
  create_customer_table(database);
  for (const KeptIndex& index : kKept) database.run(index.sql);
  for (auto _ : state) insert_customers(database);
  return sum_of_kept_rows(database, kKept.size());
}

constexpr Side append_to_files = append_ours<VQ_KIND_NDX, kBytesOf64MiB / 512 / 3>;
constexpr Side append_to_tags = append_ours<VQ_KIND_MDX, kBytesOf64MiB / 1024>;

const Register append_three({20, "append with three indexes", append_to_files, append_sqlite, 3,
                             nullptr, 0, 3});
const Register append_tags({20, "append with three tags", append_to_tags, append_to_files, 1.2,
                            nullptr, 0, 3, "NDX"});

}  // namespace
}  // namespace vqdb::bench
