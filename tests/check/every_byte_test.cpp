// Every byte of a small sound group is damaged in turn. The check either says so, or everything can
// be read as before, but for what the byte itself is part of.

#include "support/checked_group.h"

namespace {

// All that a host can read of the group.
struct Contents {
  std::vector<std::string> records, memos;
  std::vector<std::string> indexes;  // the keys and record numbers of each, one behind the other

  bool operator==(const Contents&) const = default;
};

Contents read_all(CheckedGroup& group) {
  Contents contents;
  VqDatabase* database = nullptr;
  if (lib.DBuse(&group.block, group.table().c_str(), 32 | 64, &database) != 0) return contents;
  std::string record(CheckedGroup::kRecordBytes, '\0');
  VqMember table = {};
  EXPECT_EQ(0, lib.GRPmember(database, 1, nullptr, nullptr, &table));
  std::uint32_t recno = 0;
  while (contents.records.size() < 100 &&
         lib.DBnextrec(&table, record.data(), &recno, nullptr) == 0) {
    contents.records.push_back(record);
    contents.memos.push_back(CheckedGroup::memo(database, record, 28) + "|" +
                             CheckedGroup::memo(database, record, 38));
  }
  for (const std::string& name : group.index_names) {
    std::string walk;
    VqMember index = {};
    if (lib.GRPmember(database, 64, name.c_str(), nullptr, &index) != 0) {
      (void)lib.GRPmember(database, 128, name.c_str(), nullptr, &index);
    }
    char key[256] = {};
    for (int steps = 0; steps < 100 && lib.DBnextrec(&index, record.data(), &recno, key) == 0;
         ++steps) {
      walk.append(key, static_cast<std::size_t>(std::max(index.key_length, 0)))
          .append(std::to_string(recno));
    }
    contents.indexes.push_back(walk);
  }
  EXPECT_EQ(0, lib.DBclose(database));
  return contents;
}

// How many of the texts differ; all and more where their number does.
std::size_t differing(const std::vector<std::string>& a, const std::vector<std::string>& b) {
  if (a.size() != b.size()) return a.size() + 1;
  std::size_t count = 0;
  for (std::size_t i = 0; i < a.size(); ++i) count += a[i] != b[i] ? 1 : 0;
  return count;
}

class EveryByte : public ::testing::TestWithParam<std::uint32_t> {};

TEST_P(EveryByte, is_found_or_harmless) {
  CheckedGroup group(GetParam());
  group.create();
  group.fill();
  ASSERT_EQ(0, lib.DBclose(group.open()));  // which writes the list
  const Contents sound = read_all(group);
  ASSERT_EQ(CheckedGroup::kRecords, sound.records.size());
  for (const char* const name :
       {"ITEMS.DBF", "ITEMS.DBT", "BYNAME.NDX", "BYDUE.NDX", "BYQTY.NDX"}) {
    const std::string path = group.file(name);
    const std::string bytes = read_file(path);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      const auto damaged = static_cast<char>(bytes[i] ^ (i % 2 == 0 ? 0x01 : 0x52));
      write_bytes(path, i, {&damaged, 1});
      const Report report = group.check();
      ASSERT_GE(report.result, 0) << name << " " << i;
      if (report.summary(VQ_SEVERITY_NOTE).empty()) {
        const Contents now = read_all(group);
        const bool is_table = std::string(name) == "ITEMS.DBF";
        EXPECT_LE(differing(sound.records, now.records), is_table ? 1U : 0U) << name << " " << i;
        EXPECT_LE(differing(sound.memos, now.memos), is_table ? 0U : 1U) << name << " " << i;
        EXPECT_EQ(sound.indexes, now.indexes) << name << " " << i;
      }
      write_bytes(path, i, {&bytes[i], 1});
    }
    ASSERT_EQ(sound, read_all(group)) << name;
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, EveryByte, ::testing::Values(1, 7),
                         [](const auto& each) { return "dialect" + std::to_string(each.param); });

}  // namespace
