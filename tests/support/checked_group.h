// A small database of every kind of file that a check looks at, and the findings of one.
#ifndef VQDBSYS_TESTS_SUPPORT_CHECKED_GROUP_H_
#define VQDBSYS_TESTS_SUPPORT_CHECKED_GROUP_H_

#include "support/test.h"

namespace vqdb::testing {

struct Finding {
  std::int32_t severity, code;
  std::uint32_t record, page;
  std::uint64_t offset;
  std::string file;  // without directory
  std::string name, text;
};

// What a check or repair answers, and what it says.
struct Report {
  std::int32_t result = 0;
  std::vector<Finding> findings;
  std::int32_t stop_after = INT32_MAX;  // findings that the host takes

  // The findings of at least this severity: "318 r3 p0 T.DBF\n" each.
  std::string summary(std::int32_t severity = VQ_SEVERITY_WARNING) const;
  static std::int32_t VQ_CALL take(void* context, const VqFinding* finding);
};

using CheckCall = decltype(lib.DBcheck);
Report run_check(CheckCall call, VqBlock& block, const std::string& name,
                 const VqCheckOptions* options = nullptr);

// The table ITEMS (NAME C10, QTY N8.2, DUE D, PAID L, NOTE M, MORE M) with its memo file and three
// indexes, of which BYNAME has several levels.
class CheckedGroup {
 public:
  static constexpr std::size_t kRecords = 12;
  static constexpr std::size_t kHeaderBytes = 32 + 6 * 32 + 1;
  static constexpr std::size_t kRecordBytes = 1 + 10 + 8 + 8 + 1 + 10 + 10;

  // Where a byte of a record lies in the table's file.
  static std::size_t at(std::size_t record, std::size_t offset) {
    return kHeaderBytes + (record - 1) * kRecordBytes + offset;
  }

  explicit CheckedGroup(std::uint32_t kind = 7);

  // Makes the files, empty or with their records.
  void create();
  void fill(std::size_t records = kRecords);
  VqDatabase* open(std::uint32_t mode = 0);
  // A record with memos of its number; nothing is written but the memos. One that cannot be, as
  // `memo_result` tells, leaves its field blank.
  std::string record(VqDatabase* database, std::size_t number);
  // The text of the memo that a field of the record names, or "none"; those of all records, in
  // order.
  static std::string memo(VqDatabase* database, const std::string& record, std::size_t field);
  static std::vector<std::string> memos(VqDatabase* database);
  // Files that the library made and should have removed.
  std::vector<std::string> leftovers() const;
  // Two tags in an MDX file of the table's own.
  void add_tags();

  Report check(const VqCheckOptions* options = nullptr) {
    return run_check(lib.DBcheck, block, table(), options);
  }

  std::string table() const { return folder.file("ITEMS"); }
  std::string file(const std::string& name) const { return folder.file(name); }

  TemporaryFolder folder;
  VqBlock block = {};
  std::int32_t memo_result = 0;
  std::vector<std::string> index_names;
  std::vector<VqIndexSpec> specs;
};

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_CHECKED_GROUP_H_
