#include <charconv>

#include "frame/file_name.h"
#include "frame/system_file.h"
#include "index/build/build_hold.h"
#include "index/ndx/ndx_open.h"

namespace vqdb::index {
namespace {

constexpr Operation kCreate{302};
constexpr std::uint32_t kNumberKeyBytes = 8;

// The number at the front of the text, which loses it; 0 when there is none.
std::uint32_t take_number(std::string_view& text) {
  std::uint32_t number = 0;
  const char* const end = text.data() + text.size();
  const char* const rest = std::from_chars(text.data(), end, number).ptr;
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
  return number;
}

}  // namespace

Result parse_ndx_format(VqBlock& block, std::string_view text, NdxFormat& format) {
  format = {};
  if (text.starts_with('3')) {
    format.is_ndx3 = true;
    text.remove_prefix(1);
  }
  format.key_type = text.empty() ? '\0' : to_upper(text.front());
  if (format.key_type == '\0' || std::string_view("CDFN").find(format.key_type) == text.npos) {
    return fail(block, Result::not_allowed, kCreate.detail(3));
  }
  text.remove_prefix(1);
  format.key_length = format.key_type == 'C' ? take_number(text) : kNumberKeyBytes;
  if (format.key_length < 1 || format.key_length > kMaxNdxTextKey) {
    return fail(block, Result::out_of_range, kCreate.detail(2));
  }
  format.unique = !text.empty() && to_upper(text.front()) == 'U';
  return Result::ok;
}

Result create_ndx(VqBlock& block, std::string_view name, std::string_view expression,
                  std::string_view format_text) {
  const std::string path = path_of(name, "NDX");
  if (expression.size() > kMaxNdxExpression) {
    return fail(block, Result::out_of_range, kCreate.detail(1));
  }
  NdxFormat format;
  if (const Result result = parse_ndx_format(block, format_text, format); !ok(result)) {
    return result;
  }
  const platform::Bytes pages = platform::allocate_bytes(2 * kNdxPageBytes);
  if (pages == nullptr) return fail(block, Result::no_memory, kCreate.detail(4));
  NdxPageBytes header = {};
  format_ndx_header(
      new_ndx_header(format.is_ndx3, format.key_type, format.key_length, format.unique, expression),
      header);
  std::copy(header.begin(), header.end(), pages.get());

  // No table says which bytes its handles lock: the block's scheme is that of tables opened now.
  ReplacedFile replaced(block, block.index_kind);
  if (const Result result = replaced.take(path, kCreate.detail(7)); !ok(result)) return result;
  platform::File file;
  if (const auto made = file.create(path, platform::Creation::truncate); !made.ok()) {
    return fail(block, open_result(made.error), kCreate.detail(5));
  }
  auto outcome = file.write_at(0, pages.get(), 2 * kNdxPageBytes);
  const auto closed = file.close();
  if (outcome.ok()) outcome = closed;
  if (outcome.ok()) return Result::ok;
  static_cast<void>(platform::remove(path));
  return fail(block, Result::io, kCreate.detail(6));
}

}  // namespace vqdb::index
