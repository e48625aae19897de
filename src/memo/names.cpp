#include "memo/names.h"

#include <algorithm>

#include "frame/bytes.h"
#include "frame/file_name.h"
#include "frame/system_file.h"
#include "platform/path.h"
#include "table/interrupted.h"

namespace vqdb::memo {
namespace {

constexpr Operation kMark{205};

// Bits of a table's version byte.
constexpr Byte kAnyTable = 0x03;
constexpr Byte kHasMemo = 0x80;
constexpr Byte kDbase4Memo = 0x08;

constexpr Byte kDbase3Version = 0x83;
constexpr Byte kDbase4Version = 0x8B;
constexpr Byte kFoxproVersion = 0xF5;

bool has_table_extension(std::string_view path) {
  if (path.size() <= kTableExtension.size()) return false;
  const std::string_view end = path.substr(path.size() - kTableExtension.size() - 1);
  return end.front() == '.' &&
         std::equal(kTableExtension.begin(), kTableExtension.end(), end.begin() + 1,
                    [](char extension, char given) { return extension == to_upper(given); });
}

bool is_marked(Byte version, Layout layout) {
  const bool dbase4 = (version & kDbase4Memo) != 0;
  return (version & kHasMemo) != 0 && dbase4 == (layout == Layout::dbase4);
}

}  // namespace

std::string memo_path(std::string_view name) {
  const std::string full = with_extension(name, kMemoExtension);
  return platform::resolve(has_table_extension(full) ? replace_extension(full, kMemoExtension)
                                                     : full);
}

std::string table_name(std::string_view name) {
  const std::string_view table = behind_semicolon(name);
  return table.empty() ? replace_extension(name, kTableExtension)
                       : with_extension(table, kTableExtension);
}

Layout layout_of_version(const VqBlock& block, Byte version) {
  const bool marked = (version & kHasMemo) != 0 && version != kFoxproVersion;
  const bool dbase4 = marked ? (version & kDbase4Memo) != 0 : block.kind == 2 || block.kind == 7;
  return dbase4 ? Layout::dbase4 : Layout::dbase3;
}

bool denies_memo_file(Byte version) { return (version & kHasMemo) == 0; }

Byte version_for(Layout layout) {
  return layout == Layout::dbase4 ? kDbase4Version : kDbase3Version;
}

Result layout_of_table(VqBlock& block, const std::string& path, Layout& layout) {
  platform::File file;
  if (const Result opened = open_file(block, path, open_mode::kReadOnly, file); !ok(opened)) {
    return opened;
  }
  Byte version = 0;
  if (!file.read_exactly(0, &version, 1).ok()) {
    return fail(block, Result::io, kMark.detail(1));
  }
  layout = layout_of_version(block, version);
  return Result::ok;
}

Result complete_interrupted(VqBlock& block, std::string_view name) {
  return table::complete_interrupted(block, platform::resolve(table_name(name)));
}

Result TableMark::set(VqBlock& block, const std::string& path, Layout layout) {
  platform::File file;
  if (const Result opened = open_file(block, path, 0, file); !ok(opened)) return opened;
  Byte version = 0;
  if (!file.read_exactly(0, &version, 1).ok()) {
    return fail(block, Result::io, kMark.detail(1));
  }
  if ((version & kAnyTable) == 0) return fail(block, Result::bad_format, kMark.detail(2));
  if (is_marked(version, layout)) return Result::ok;
  path_ = path;
  before_ = version;
  version = version_for(layout);
  if (file.write_at(0, &version, 1).ok() && file.close().ok()) return Result::ok;
  take_back();
  return fail(block, Result::io, kMark.detail(3));
}

void TableMark::take_back() {
  platform::File file;
  if (before_ == 0 || !file.open(path_, platform::Access::read_write).ok()) return;
  static_cast<void>(file.write_at(0, &before_, 1).ok());
}

}  // namespace vqdb::memo
