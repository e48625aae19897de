#include "index/ndx/ndx_open.h"

#include <algorithm>
#include <limits>

#include "frame/file_name.h"
#include "frame/system_file.h"
#include "table/locks.h"

namespace vqdb::index {
namespace {

constexpr Operation kOpen{1018};
constexpr Operation kClose{323};
constexpr Operation kMemory{325};

constexpr std::uint64_t kHandleBytes = 495;
constexpr std::uint64_t kBytesBesideABuffer = 29;

// Reads and checks the header page, and that the file holds the pages that it counts.
Result read_header(VqBlock& block, platform::File& file, NdxPageBytes& page, NdxHeader& header,
                   PageNumber& pages) {
  const auto read = file.read_exactly(0, page.data(), page.size());
  if (!read.ok()) return fail(block, transfer_result(read), kOpen.detail(3));
  if (!parse_ndx_header(page, header)) return fail(block, Result::bad_format, kOpen.detail(6));
  const Result counted = count_ndx_pages(block, file, header.next_free, pages);
  if (!ok(counted)) return fail(block, counted, kOpen.detail(counted == Result::io ? 3 : 6));
  if (header.unfinished) pages = header.next_free;  // a log follows
  return Result::ok;
}

Result set_up(NdxFile& file, const NdxPageBytes& page, const NdxHeader& header, PageNumber pages) {
  file.flags = header.flags;
  file.byte20 = header.byte20;
  file.expression_length = header.expression.size();
  file.text = platform::allocate_bytes(header.expression.size() + 1);
  const KeyOrder& order = ndx_key_order(*file.block, header.key_type);
  if (file.text == nullptr ||
      !file.keys.set_up(header.layout(), order, header.key_type, header.unique != 0)) {
    return fail(file.block, Result::no_memory, kOpen.detail(4));
  }
  std::copy(header.expression.begin(), header.expression.end(), file.text.get());
  NdxRootBytes head;
  std::copy_n(page.begin(), head.size(), head.begin());
  // What stands behind the pages may be another process's flush, seen without its lock.
  file.file.set(head, file.file.is_shared() ? 0 : pages);
  return file.file.is_shared() ? Result::ok : file.file.complete(header.unfinished);
}

Result open_file_and_handle(table::Table& context, const char* name, std::uint32_t mode,
                            std::int32_t buffers, NdxFile*& out) {
  VqBlock& block = table::block_of(context);
  platform::File system_file;
  if (const Result result = open_file(block, path_of(name, "NDX"), mode, system_file);
      !ok(result)) {
    return result;
  }
  NdxPageBytes page;
  NdxHeader header;
  PageNumber pages = 0;
  if (const Result result = read_header(block, system_file, page, header, pages); !ok(result)) {
    return result;
  }
  platform::FileIdentity identity;
  if (const auto known = system_file.identity(identity); !known.ok()) {
    return fail(block, Result::io, kOpen.detail(3));
  }
  NdxFile* file = ndx_files().open(&block, block);
  if (file == nullptr) return fail(block, Result::no_memory, kOpen.detail(4));
  file->file.identity = identity;
  Result result = Result::ok;
  if (!file->file.attach(std::move(system_file), mode, table::lock_scheme(context), buffers)) {
    result = fail(block, Result::no_memory, kOpen.detail(5));
  }
  if (ok(result)) result = set_up(*file, page, header, pages);
  if (ok(result)) result = check_language(file->keys, false, kOpen.detail(7));
  if (!ok(result)) {
    ndx_files().close(file);
    return result;
  }
  file->file_number = file->file.system_file.number();
  file->signature = kHandleSignature;
  out = file;
  return Result::ok;
}

}  // namespace

NdxFile* open_ndx(table::Table& context, const char* name, std::uint32_t mode,
                  std::int32_t buffers) {
  NdxFile* file = nullptr;
  const Result result = open_file_and_handle(context, name, mode, buffers, file);
  if (!ok(result)) table::block_of(context).result = code(result);
  return file;
}

const KeyOrder& ndx_key_order(const VqBlock& block, char key_type) {
  if (key_type != 'C') return key_order(KeyKind::number, false);
  return key_order(block.language == 1 ? KeyKind::collated_text : KeyKind::text, false);
}

Result read_ndx_header(VqBlock& block, const std::string& path, NdxPageBytes& page,
                       NdxHeader& header) {
  platform::File file;
  PageNumber pages = 0;
  const Result result = open_file(block, path, open_mode::kReadOnly, file);
  return ok(result) ? read_header(block, file, page, header, pages) : result;
}

Result close_ndx(NdxFile& file) {
  const Result result = file.file.close(kClose.detail(1));
  ndx_files().close(&file);
  return result;
}

Result ndx_memory(VqBlock& block, std::string_view name, std::int32_t buffers, std::int32_t& size) {
  NdxPageBytes page;
  NdxHeader header;
  const Result result = read_ndx_header(block, path_of(name, "NDX"), page, header);
  if (result == Result::io || result == Result::bad_format) {
    return fail(block, result, kMemory.detail(1));
  }
  if (!ok(result)) return result;
  const auto count = static_cast<std::uint64_t>(std::max(buffers, kMinBuffers));
  const std::uint64_t bytes = (kBytesBesideABuffer + kNdxPageBytes) * count + header.stride +
                              header.expression.size() + kHandleBytes;
  size = static_cast<std::int32_t>(
      std::min<std::uint64_t>(bytes, std::numeric_limits<std::int32_t>::max()));
  return Result::ok;
}

}  // namespace vqdb::index
