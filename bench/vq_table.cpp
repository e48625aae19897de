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
