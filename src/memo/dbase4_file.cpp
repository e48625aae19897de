#include "memo/dbase4_file.h"

#include <array>
#include <utility>

#include "frame/bytes.h"
#include "frame/system_file.h"
#include "memo/creation.h"
#include "memo/file_layout.h"
#include "memo/names.h"

namespace vqdb::memo {
namespace {

constexpr Operation kMemoryUse{209};
constexpr Operation kOpen{214};
constexpr Operation kClose{215};
constexpr Operation kRefresh{216};

// What a handle needs beside its block buffer.
constexpr std::int32_t kHandleBytes = 467;

struct Header {
  std::uint32_t next_free = 0;
  std::uint32_t block_size = 0;
};

platform::Outcome read_header(platform::File& file, Header& header) {
  std::array<Byte, kHeaderBytes> bytes;
  const platform::Outcome outcome = file.read_exactly(0, bytes.data(), bytes.size());
  if (outcome.ok()) {
    header = {load_le32(&bytes[kNextFreeOffset]), load_le16(&bytes[kBlockSizeOffset])};
  }
  return outcome;
}

Result open_checked(VqBlock& block, const std::string& path, std::uint32_t mode, Memo*& memo) {
  platform::File file;
  if (const Result opened = open_file(block, path, mode, file); !ok(opened)) {
    return opened;
  }
  std::uint64_t size = 0;
  if (!file.size(size).ok()) return fail(block, Result::io, kOpen.detail(4));
  Header header;
  const platform::Outcome read = read_header(file, header);
  if (!read.ok() && read.error != platform::Error::short_transfer) {
    return fail(block, Result::io, kOpen.detail(5));
  }
  if (!read.ok() || !is_block_size(header.block_size)) {
    return fail(block, Result::bad_format, kOpen.detail(6));
  }
  memo = make_handle(block, mode, std::move(file), header.block_size);
  if (memo == nullptr) return fail(block, Result::no_memory, kOpen.detail(3));
  memo->file_size = size;
  memo->free_chain.reset(header.next_free);
  set_live(*memo, Layout::dbase4);
  return Result::ok;
}

}  // namespace

Result create_dbase4(VqBlock& block, const char* name) {
  return create_for_table(block, name, Layout::dbase4);
}

Memo* open_dbase4(VqBlock& block, const char* name, std::uint32_t mode) {
  const Result result = complete_interrupted(block, name);
  if (ok(result)) return open_dbase4_file(block, memo_path(name), mode);
  block.result = code(result);
  return nullptr;
}

Memo* open_dbase4_file(VqBlock& block, const std::string& path, std::uint32_t mode) {
  Memo* memo = nullptr;
  const Result result = open_checked(block, path, mode, memo);
  if (!ok(result)) block.result = code(result);
  return memo;
}

Result close_dbase4(Memo& memo) {
  VqBlock& block = *memo.block;
  if (memo.layout != Layout::dbase4) {
    return fail(block, Result::not_allowed, kClose.detail(2));
  }
  return release_handle(memo) ? Result::ok : fail(block, Result::io, kClose.detail(3));
}

Result refresh_dbase4(Memo& memo) {
  Header header;
  memo.window.size = 0;
  if (!read_header(memo.file, header).ok()) {
    return fail(memo.block, Result::io, kRefresh.detail(2));
  }
  if (!memo.file.size(memo.file_size).ok()) {
    return fail(memo.block, Result::io, kRefresh.detail(3));
  }
  if (header.block_size != memo.block_size) {
    return fail(memo.block, Result::bad_format, kRefresh.detail(1));
  }
  memo.free_chain.reset(header.next_free);
  return Result::ok;
}

std::int32_t memory_use(VqBlock& block, const char* name) {
  platform::File file;
  if (const Result opened = open_file(block, memo_path(name), open_mode::kReadOnly, file);
      !ok(opened)) {
    return code(opened);
  }
  Header header;
  if (!read_header(file, header).ok()) return code(fail(block, Result::io, kMemoryUse.detail(1)));
  // A dBASE III header says nothing of its blocks.
  const std::uint32_t size = header.block_size == 0 ? kDbase3BlockSize : header.block_size;
  if (!is_block_size(size)) return code(fail(block, Result::bad_format, kMemoryUse.detail(1)));
  return static_cast<std::int32_t>(size) + kHandleBytes;
}

}  // namespace vqdb::memo
