#include "support/checked_group.h"

#include <cstdio>

namespace vqdb::testing {
namespace {

struct Index {
  const char* name;
  std::uint32_t kind;
  const char* expression;
  const char* format;
};
// Nine times ten letters, so that few keys fill a page.
constexpr const char* kLongKey = "NAME+NAME+NAME+NAME+NAME+NAME+NAME+NAME+NAME";
constexpr std::array<Index, 3> kIndexes = {
    {{"BYNAME", 64, kLongKey, "C90"}, {"BYDUE", 128, "DUE", "3D"}, {"BYQTY", 64, "QTY", "NU"}}};

std::string bare(const char* path) {
  const std::string text(path);
  return text.substr(text.find_last_of("\\/") + 1);
}

}  // namespace

std::int32_t VQ_CALL Report::take(void* context, const VqFinding* finding) {
  auto& report = *static_cast<Report*>(context);
  report.findings.push_back({finding->severity, finding->code, finding->record, finding->page,
                             finding->offset, bare(finding->file),
                             finding->name != nullptr ? finding->name : "", finding->text});
  return static_cast<std::int32_t>(report.findings.size()) >= report.stop_after ? 1 : 0;
}

std::string Report::summary(std::int32_t severity) const {
  std::string text;
  for (const Finding& finding : findings) {
    if (finding.severity < severity) continue;
    text += std::to_string(finding.code) + " r" + std::to_string(finding.record) + " p" +
            std::to_string(finding.page) + " " + finding.file + "\n";
  }
  return text;
}

Report run_check(CheckCall call, VqBlock& block, const std::string& name,
                 const VqCheckOptions* options) {
  Report report;
  report.result = call(&block, name.c_str(), options, &Report::take, &report);
  return report;
}

CheckedGroup::CheckedGroup(std::uint32_t kind) {
  EXPECT_EQ(0, lib.DBinit(&block, kind));
  (void)lib.dUtmpdir(&block, folder.path().string().c_str());
  for (const Index& index : kIndexes) index_names.push_back(folder.file(index.name));
  for (std::size_t i = 0; i < kIndexes.size(); ++i) {
    specs.push_back({kIndexes[i].kind, index_names[i].c_str(), 4, nullptr});
  }
}

void CheckedGroup::create() {
  const char* const fields[] = {"NAME", "C10", "QTY",  "N8.2", "DUE",  "D",
                                "PAID", "L",   "NOTE", "M",    "MORE", "M"};
  ASSERT_EQ(0, lib.DBcreat(&block, table().c_str(), 6, fields));
  for (std::size_t i = 0; i < kIndexes.size(); ++i) {
    ASSERT_EQ(
        0, lib.dNcreat(&block, index_names[i].c_str(), kIndexes[i].expression, kIndexes[i].format));
  }
}

VqDatabase* CheckedGroup::open(std::uint32_t mode) {
  VqDatabase* database = nullptr;
  EXPECT_EQ(0,
            lib.DBopen(&block, table().c_str(), mode, 4, 1, static_cast<std::int32_t>(specs.size()),
                       specs.data(), &database, nullptr));
  return database;
}

std::string CheckedGroup::record(VqDatabase* database, std::size_t number) {
  VqMember memo = {};
  EXPECT_EQ(0, lib.GRPmember(database, 2 | 4 | 8, nullptr, nullptr, &memo));
  std::string text(kRecordBytes + 1, '\0');
  const int day = static_cast<int>(number % 28) + 1;
  std::snprintf(text.data(), text.size(), " %-10c%8.2f202403%02d%c%-10s%-10s",
                static_cast<char>('a' + number * 7 % 26), static_cast<double>(number) * 1.5, day,
                number % 2 == 0 ? 'T' : 'F', "", "");
  text.pop_back();
  memo_result = 0;
  const auto write = [&](std::size_t at, const std::string& note) {
    auto* const handle = static_cast<VqMemo*>(memo.handle);
    const bool dbase4 = memo.kind == 2;
    const std::int32_t result =
        dbase4
            ? lib.dTnewmm(handle, 0, static_cast<std::int32_t>(note.size()), note.data(), &text[at])
            : lib.dTnewmm3(handle, 0, 0, note.c_str(), &text[at]);
    if (result != 0) memo_result = result;
  };
  if (number % 3 == 1) write(28, "note " + std::to_string(number) + std::string(number * 60, 'n'));
  if (number % 4 == 1) write(38, "more " + std::to_string(number));
  return text;
}

std::string CheckedGroup::memo(VqDatabase* database, const std::string& record, std::size_t field) {
  std::int32_t size = 0;
  if (lib.DBmemosize(database, &record[field], &size) != 0) return "none";
  std::string text(static_cast<std::size_t>(size) + 1, '\0');
  if (lib.DBgetmemo(database, &record[field], 0, size, text.data(), &size, nullptr) != 0)
    return "?";
  text.resize(static_cast<std::size_t>(size));
  return text;
}

std::vector<std::string> CheckedGroup::memos(VqDatabase* database) {
  std::vector<std::string> all;
  VqMember table = {};
  EXPECT_EQ(0, lib.GRPmember(database, 1, nullptr, nullptr, &table));
  EXPECT_EQ(0, lib.DBrewind(&table));
  std::string record(kRecordBytes, '\0');
  std::uint32_t recno = 0;
  while (lib.DBnextrec(&table, record.data(), &recno, nullptr) == 0) {
    for (const std::size_t field : {28U, 38U}) all.push_back(memo(database, record, field));
  }
  return all;
}

std::vector<std::string> CheckedGroup::leftovers() const {
  std::vector<std::string> left;
  for (const std::string& name : folder.list()) {
    const bool is_ours =
        name.find_first_of("~$") != std::string::npos || name.find(".VQT") != std::string::npos;
    if (is_ours) left.push_back(name);
  }
  return left;
}

void CheckedGroup::add_tags() {
  VqTable* const opened = lib.dDopen(&block, table().c_str(), 0, 4);
  EXPECT_EQ(0, lib.dXezindx(opened, table().c_str(), "QTYS", "QTY", nullptr, 2));
  EXPECT_EQ(0, lib.dXezindx(opened, table().c_str(), "NAMES", "NAME", "PAID", 1));
  EXPECT_EQ(0, lib.dDclose(opened));
}

void CheckedGroup::fill(std::size_t records) {
  VqDatabase* const database = open();
  ASSERT_NE(nullptr, database);
  for (std::size_t i = 1; i <= records; ++i) {
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBapprec(database, record(database, i).data(), &recno));
  }
  ASSERT_EQ(0, lib.DBclose(database));
}

}  // namespace vqdb::testing
