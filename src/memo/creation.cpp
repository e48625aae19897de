#include "memo/creation.h"

#include <algorithm>
#include <array>

#include "frame/bytes.h"
#include "frame/file_name.h"
#include "frame/system_file.h"
#include "memo/file_layout.h"
#include "memo/names.h"
#include "platform/path.h"
#include "table/locks.h"

namespace vqdb::memo {
namespace {

constexpr Operation kCreateDbase4{204};
constexpr Operation kCreateDbase3{220};

constexpr Operation operation_of(Layout layout) {
  return layout == Layout::dbase4 ? kCreateDbase4 : kCreateDbase3;
}

using Block = std::array<Byte, kDbase3BlockSize>;

void describe_blocks(const VqBlock& block, std::string_view base_name, Block& bytes) {
  const std::string_view kept = base_name.substr(0, kBaseNameBytes);
  std::transform(kept.begin(), kept.end(), &bytes[kBaseNameOffset],
                 [](char c) { return static_cast<Byte>(to_upper(c)); });
  std::copy(kLayoutMark.begin(), kLayoutMark.end(), &bytes[kLayoutMarkOffset]);
  const std::uint32_t setting = block.memo_block_setting;
  const std::uint32_t units = std::clamp<std::uint32_t>(setting, 1, kMaxBlockSetting);
  store_le16(&bytes[kBlockSizeOffset], static_cast<std::uint16_t>(units * kBlockUnit));
}

}  // namespace

Result write_empty(VqBlock& block, platform::File& file, Layout layout,
                   std::string_view base_name) {
  Block bytes = {};
  store_le32(&bytes[kNextFreeOffset], 1);
  const bool dbase4 = layout == Layout::dbase4;
  if (dbase4) describe_blocks(block, base_name, bytes);
  const std::size_t size = dbase4 ? kHeaderBytes : bytes.size();
  if (file.write_at(0, bytes.data(), size).ok()) return Result::ok;
  return fail(block, Result::io, operation_of(layout).detail(2));
}

Result make_beside(VqBlock& block, TemporaryFile& file, const std::string& path, Layout layout) {
  const platform::Outcome made = file.make_beside(path);
  if (!made.ok()) return fail(block, open_result(made.error), operation_of(layout).detail(1));
  return write_empty(block, file.file(), layout, base_name(path));
}

// The table is marked while its older memo file still stands: from then on the new one is missing
// at worst, and made when the table is opened.
Result create_for_table(VqBlock& block, const char* name, Layout layout) {
  const std::string path = memo_path(name);
  platform::File replaced;
  Result result = complete_interrupted(block, name);
  if (ok(result))
    result = table::claim_file_at(block, path, replaced, operation_of(layout).detail(1));
  TemporaryFile file;
  if (ok(result)) result = make_beside(block, file, path, layout);
  TableMark mark;
  if (ok(result)) result = mark.set(block, platform::resolve(table_name(name)), layout);
  if (!ok(result)) return result;
  const platform::Outcome placed = file.put_in_place(&replaced);
  if (placed.ok()) return Result::ok;
  mark.take_back();
  return fail(block, open_result(placed.error), operation_of(layout).detail(1));
}

Result create_missing(VqBlock& block, const char* name, Layout layout) {
  TemporaryFile file;
  if (const Result made = make_beside(block, file, memo_path(name), layout); !ok(made)) return made;
  const platform::Outcome placed = file.put_if_absent();
  if (placed.ok() || placed.error == platform::Error::already_exists) return Result::ok;
  return fail(block, open_result(placed.error), operation_of(layout).detail(1));
}

}  // namespace vqdb::memo
