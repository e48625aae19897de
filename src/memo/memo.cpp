#include "memo/memo.h"

#include <utility>

namespace vqdb::memo {

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
  const bool closed = memo.file.close().ok();
  memos().close(&memo);
  return closed;
}

}  // namespace vqdb::memo
