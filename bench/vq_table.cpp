#include "vq_table.h"

#include <array>

#include "customers.h"
#include "folder.h"
#include "require.h"

namespace vqdb::bench {

Block::Block(std::uint32_t kind) { require(DBinit(&block_, kind) == 0, "DBinit"); }

Table::Table(VqBlock* block, const std::string& path, std::uint32_t mode, std::int32_t buffers)
    : table_(dDopen(block, path.c_str(), mode, buffers)) {
  require(table_ != nullptr, "dDopen");
}

Table::~Table() { require(dDclose(table_) == 0, "dDclose"); }

Index::Index(VqTable* table, const std::string& path, std::int32_t pages)
    : index_(dNopen(table, path.c_str(), 0, pages)) {
  require(index_ != nullptr, "dNopen");
}

Index::~Index() { require(dNclose(index_) == 0, "dNclose"); }

Sum sum_of_walk(VqIndex* index, std::size_t key_bytes) {
  std::string key(key_bytes, ' ');
  std::uint32_t number = 0;
  WalkSum sum;
  require(dNrewind(index) == 0, "dNrewind");
  while (dNnxtkey(index, key.data(), &number) == 0) sum.step(key, number);
  return sum;
}

void create_customer_table(VqBlock* block, const std::string& path) {
  require(dDcreat(block, path.c_str(), kFieldCount, kFields.data()) == 0, "dDcreat");
}

void append_customers(VqTable* table) {
  std::array<char, kRecordBytes> record;
  for (const Customer& customer : customers()) {
    format_record(customer, record.data());
    require(dDapprec(table, record.data()) == 0, "dDapprec");
  }
}

Sum sum_of_table(const std::string& path) {
  Block block;
  const Table table(block, path, VQ_OPEN_READ_ONLY, 64);
  std::array<char, kRecordBytes> record;
  Sum sum = 0;
  for (std::uint32_t n = 1; dDgetrec(table, n, record.data()) == 0; ++n) {
    if (record[0] == ' ') sum += sum_of_record(record.data());
  }
  return sum;
}

const std::string& customer_table() {
  static const std::string path = [] {
    std::string made = fresh_file("CUSTOMER.DBF");
    Block block;
    create_customer_table(block, made);
    const Table table(block, made, 0, 64);
    append_customers(table);
    return made;
  }();
  return path;
}

}  // namespace vqdb::bench
