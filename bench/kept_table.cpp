#include "kept_table.h"

#include <span>

#include "folder.h"
#include "require.h"

namespace vqdb::bench {
namespace {

constexpr std::int32_t kMillisecondsToWait = 60000;

Sum sum_in_order(VqDatabase* database, std::uint32_t kind, const char* file, const char* tag) {
  VqMember order;
  require(GRPmember(database, kind, file, tag, &order) == 0 && DBrewind(&order) == 0, "GRPmember");
  std::array<char, kRecordBytes> record;
  std::array<char, 128> key;
  std::uint32_t number = 0;
  Sum sum = 0;
  while (DBnextrec(&order, record.data(), &number, key.data()) == 0) {
    sum += sum_of_record(record.data());
  }
  return sum;
}

}  // namespace

KeptTable::KeptTable(std::uint32_t kind, std::size_t indexes, std::int32_t pages)
    : kind_(kind), indexes_(indexes), path_(fresh_file("KEPT.DBF")) {
  Block block;
  create_customer_table(block, path_);
  const Table table(block, path_, VQ_OPEN_EXCLUSIVE, 1);
  const bool is_tag = kind == VQ_KIND_MDX;
  for (const KeptIndex& index : std::span(kKept).first(indexes)) {
    if (!is_tag || files_.empty()) {
      files_.push_back(fresh_file(std::string(index.name) + (is_tag ? ".MDX" : ".NDX")));
    }
    const char* const file = files_.back().c_str();
    if (is_tag) {
      require(dXezindx(table, file, index.name, index.expression, nullptr, 0) == 0, "dXezindx");
    } else {
      require(dNcreat(block, file, index.expression, index.format) == 0, "dNcreat");
    }
  }
  for (const std::string& file : files_) specs_.push_back({kind, file.c_str(), pages, nullptr});
}

void KeptTable::fill(std::size_t count) const {
  Database database(*this, VQ_OPEN_EXCLUSIVE);
  for (const Customer& customer : std::span(customers()).first(count)) database.append(customer);
}

Sum KeptTable::sum() const {
  const Database database(*this, VQ_OPEN_EXCLUSIVE);
  if (indexes_ == 0) return sum_in_order(database, VQ_KIND_TABLE, nullptr, nullptr);
  const bool is_tag = kind_ == VQ_KIND_MDX;
  Sum sum = 0;
  for (std::size_t i = 0; i < indexes_; ++i) {
    sum += sum_in_order(database, is_tag ? VQ_KIND_TAG : kind_, files_[is_tag ? 0 : i].c_str(),
                        kKept[i].name);
  }
  return sum;
}

Sum sum_of_kept_rows(Sqlite& database, std::size_t indexes) {
  if (indexes == 0) return sum_of_rows(database);
  Sum sum = 0;
  for (const KeptIndex& index : std::span(kKept).first(indexes)) {
    sum += sum_of_rows(database, index.sql_walk);
  }
  return sum;
}

Database::Database(const std::string& path, std::vector<VqIndexSpec> indexes, std::uint32_t mode,
                   std::int32_t buffers) {
  dUsetwait(block_, kMillisecondsToWait);
  require(
      DBopen(block_, path.c_str(), mode | VQ_OPEN_NO_INDEX_LIST, buffers, VQ_SPECS_ARRAY,
             static_cast<std::int32_t>(indexes.size()), indexes.data(), &database_, nullptr) == 0,
      "DBopen");
}

Database::Database(const KeptTable& table, std::uint32_t mode, std::int32_t buffers)
    : Database(table.path_, table.specs_, mode, buffers) {}

Database::~Database() { require(DBclose(database_) == 0, "DBclose"); }

void Database::append(const Customer& customer) {
  std::array<char, kRecordBytes> record;
  std::uint32_t number = 0;
  format_record(customer, record.data());
  require(DBapprec(database_, record.data(), &number) == 0, "DBapprec");
}

}  // namespace vqdb::bench
