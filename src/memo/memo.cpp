#include "memo/memo.h"

#include <array>
#include <utility>

#include "frame/bytes.h"
#include "frame/system_file.h"
#include "memo/file_layout.h"

namespace vqdb::memo {
namespace {

// A file that the device does not get is told of as one that cannot be closed.
constexpr Operation kCloseDbase4{215};
constexpr Operation kCloseDbase3{227};

}  // namespace

HandlePool<Memo>& memos() {
  static auto& pool = *new HandlePool<Memo>();
  return pool;
}

Memo* make_handle(VqBlock& block, std::uint32_t mode, platform::File&& file,
                  std::uint32_t block_size) {
  platform::Bytes buffer = platform::allocate_bytes(block_size);
  if (buffer == nullptr) return nullptr;
  Memo* memo = memos().open(&block);
  if (memo == nullptr) return nullptr;
  memo->file = std::move(file);
  memo->file_number = memo->file.number();
  memo->mode = mode;
  memo->lock_scheme = block.index_kind;
  memo->block_size = block_size;
  memo->window.bytes = std::move(buffer);
  memo->window.capacity = block_size;
  return memo;
}

void set_live(Memo& memo, Layout layout) {
  memo.layout = layout;
  memo.signature = kHandleSignature;
}

bool release_handle(Memo& memo) {
  const bool forced = memo.read_only() || force_out(*memo.block, memo.file).ok();
  const bool closed = memo.file.close().ok();
  memos().close(&memo);
  return forced && closed;
}

bool store_next_free(Memo& memo) {
  if (memo.next_free == memo.stored_next_free) return true;
  std::array<Byte, 4> bytes;
  store_le32(bytes.data(), memo.next_free);
  if (!memo.file.write_at(kNextFreeOffset, bytes.data(), bytes.size()).ok()) return false;
  memo.stored_next_free = memo.next_free;
  return true;
}

Result flush(Memo& memo) {
  const bool durable = (memo.block->runtime_flags & runtime_flag::kDurable) != 0;
  if (!durable || memo.read_only()) return Result::ok;
  if (store_next_free(memo) && memo.file.sync().ok()) return Result::ok;
  const Operation close = memo.layout == Layout::dbase4 ? kCloseDbase4 : kCloseDbase3;
  return fail(memo.block, Result::io, close.detail(3));
}

}  // namespace vqdb::memo
