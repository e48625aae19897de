#include <array>
#include <utility>

#include "frame/bytes.h"
#include "frame/system_file.h"
#include "memo/creation.h"
#include "memo/dbase3_memo.h"
#include "memo/file_layout.h"
#include "memo/names.h"

namespace vqdb::memo {
namespace {

constexpr Operation kOpen{226};
constexpr Operation kClose{227};

Result open_checked(VqBlock& block, const std::string& path, std::uint32_t mode, Memo*& memo) {
  platform::File file;
  if (const Result opened = open_file(block, path, mode, file); !ok(opened)) {
    return opened;
  }
  std::array<Byte, kHeaderBytes> header;
  std::uint64_t size = 0;
  if (!file.read_exactly(0, header.data(), header.size()).ok() || !file.size(size).ok()) {
    return fail(block, Result::bad_format, kOpen.detail(4));
  }
  memo = make_handle(block, mode, std::move(file), kDbase3BlockSize);
  if (memo == nullptr) return fail(block, Result::no_memory, kOpen.detail(3));
  memo->file_size = size;
  memo->next_free = memo->stored_next_free = load_le32(&header[kNextFreeOffset]);
  set_live(*memo, Layout::dbase3);
  return Result::ok;
}

}  // namespace

Result create_dbase3(VqBlock& block, const char* name) {
  return create_for_table(block, name, Layout::dbase3);
}

Memo* open_dbase3(VqBlock& block, const char* name, std::uint32_t mode) {
  const Result result = complete_interrupted(block, name);
  if (ok(result)) return open_dbase3_file(block, memo_path(name), mode);
  block.result = code(result);
  return nullptr;
}

Memo* open_dbase3_file(VqBlock& block, const std::string& path, std::uint32_t mode) {
  Memo* memo = nullptr;
  const Result result = open_checked(block, path, mode, memo);
  if (!ok(result)) block.result = code(result);
  return memo;
}

Result close_dbase3(Memo& memo) {
  VqBlock& block = *memo.block;
  if (memo.layout != Layout::dbase3) {
    return fail(block, Result::not_allowed, kClose.detail(2));
  }
  const bool stored = store_next_free(memo);
  const bool closed = release_handle(memo);
  if (!stored) return fail(block, Result::io, kClose.detail(4));
  return closed ? Result::ok : fail(block, Result::io, kClose.detail(3));
}

}  // namespace vqdb::memo
