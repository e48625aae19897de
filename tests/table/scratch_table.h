// A table in a folder of its own, made and opened through the exported functions.
#ifndef VQDBSYS_TESTS_TABLE_SCRATCH_TABLE_H_
#define VQDBSYS_TESTS_TABLE_SCRATCH_TABLE_H_

#include "support/test.h"

namespace vqdb::testing {

inline VqBlock block_of_kind(std::uint32_t kind) {
  VqBlock block = {};
  block.kind = kind;
  return block;
}

// dDcreat with the fields as a list.
inline std::int32_t create_table(VqBlock& block, const std::string& name,
                                 const std::vector<const char*>& names_and_types) {
  return lib.dDcreat(&block, name.c_str(), static_cast<std::int32_t>(names_and_types.size() / 2),
                     names_and_types.data());
}

// An open table that closes itself.
class OpenTable : NotCopied {
 public:
  OpenTable(VqBlock& block, const std::string& name, std::uint32_t mode, std::int32_t buffers)
      : handle_(lib.dDopen(&block, name.c_str(), mode, buffers)) {}
  ~OpenTable() {
    if (handle_ != nullptr) lib.dDclose(handle_);
  }

  operator VqTable*() const { return handle_; }
  std::int32_t close() {
    VqTable* const handle = handle_;
    handle_ = nullptr;
    return lib.dDclose(handle);
  }

 private:
  VqTable* handle_;
};

// A folder with a table T of a character field of nine and a numeric field of five: records of
// fifteen bytes, 68 to a block.
struct ScratchTable {
  explicit ScratchTable(std::uint32_t kind = 1) : block(block_of_kind(kind)) {
    EXPECT_EQ(0, create_table(block, name, {"TEXT", "C9", "NUMBER", "N5"}));
  }

  static constexpr std::size_t kHeaderBytes = 97;
  static constexpr std::size_t kRecordBytes = 15;
  static constexpr std::uint32_t kRecordsPerBlock = 68;

  // A live record that tells its number.
  static std::string record(std::uint32_t number) {
    std::string digits = std::to_string(number);
    digits.insert(0, 5 - digits.size(), ' ');
    return " RECORD   " + digits;
  }

  void append(std::uint32_t first, std::uint32_t last) {
    OpenTable table(block, name, 0, 4);
    for (std::uint32_t i = first; i <= last; ++i) {
      ASSERT_EQ(0, lib.dDapprec(table, record(i).data()));
    }
    ASSERT_EQ(0, table.close());
  }

  TemporaryFolder folder;
  VqBlock block;
  std::string name = folder.file("T");
  std::string file = folder.file("T.DBF");
};

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_TABLE_SCRATCH_TABLE_H_
