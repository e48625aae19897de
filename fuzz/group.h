// The group that the group target works on: a table with a memo file, an NDX file and an MDX file
// of two tags, in one folder, and how an input holds the four files.
#ifndef VQDBSYS_FUZZ_GROUP_H_
#define VQDBSYS_FUZZ_GROUP_H_

#include <array>
#include <string>
#include <vector>

#include "folder.h"
#include "vqdbsys.h"

namespace vqdb::fuzz {

inline constexpr std::array<const char*, 10> kGroupFields = {"ID",   "N6",  "NAME", "C12",  "QTY",
                                                             "N8.2", "DUE", "D",    "NOTE", "M"};
inline constexpr std::size_t kIdOffset = 1;
inline constexpr std::size_t kIdBytes = 6;
inline constexpr std::size_t kNameOffset = 7;
inline constexpr std::size_t kNameBytes = 12;
inline constexpr std::size_t kQtyOffset = 19;
inline constexpr std::size_t kQtyBytes = 8;
inline constexpr std::size_t kNoteOffset = 35;
inline constexpr std::size_t kNoteBytes = 10;
inline constexpr std::size_t kRecordBytes = 45;

inline constexpr std::array<const char*, 4> kGroupFiles = {"G.DBF", "G.DBT", "G.NDX", "G.MDX"};

// A name and a number that a value stands for; a few values share a name.
inline std::string group_record(unsigned value) {
  std::string record(kRecordBytes, ' ');
  const std::string id = std::to_string(value % 1000000);
  record.replace(kIdOffset + kIdBytes - id.size(), id.size(), id);
  const std::string name = "Name" + std::to_string(value * 37 % 101);
  record.replace(kNameOffset, name.size(), name);
  const std::string quantity = std::to_string(value * 13 % 997) + ".25";
  record.replace(kQtyOffset + kQtyBytes - quantity.size(), quantity.size(), quantity);
  record.replace(kQtyOffset + kQtyBytes, 8, "20240" + std::to_string(101 + value % 9));
  return record;
}

// The indexes, for opening and for checking.
struct GroupIndexes {
  explicit GroupIndexes(const Folder& folder, bool with_mdx)
      : names{folder.file("G.NDX"), folder.file("G.MDX")}, count(with_mdx ? 2 : 1) {
    specs[0] = {VQ_KIND_NDX, names[0].c_str(), 8, nullptr};
    specs[1] = {VQ_KIND_MDX, names[1].c_str(), 8, nullptr};
    for (std::size_t i = 0; i < 2; ++i) {
      defs[i] = {specs[i].kind, specs[i].name, nullptr, nullptr, nullptr, 0};
    }
    options = {0, count, defs.data(), nullptr, nullptr};
  }
  GroupIndexes(const GroupIndexes&) = delete;
  GroupIndexes& operator=(const GroupIndexes&) = delete;

  std::array<std::string, 2> names;
  std::int32_t count;
  std::array<VqIndexSpec, 2> specs = {};
  std::array<VqIndexDef, 2> defs = {};
  VqCheckOptions options = {};
};

}  // namespace vqdb::fuzz

#endif  // VQDBSYS_FUZZ_GROUP_H_
