#include "index/ndx/ndx_build.h"

#include <string>

#include "frame/file_name.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "index/build/build_hold.h"
#include "index/build/tree_build.h"
#include "index/ndx/ndx_header.h"
#include "index/ndx/ndx_open.h"
#include "index/tree/page_pour.h"
#include "table/locks.h"

namespace vqdb::index {
namespace {

constexpr Operation kCreate{302};
constexpr Operation kBuild{310};
constexpr Operation kRebuild{318};

StreamSpec stream_spec(const NdxHeader& header) {
  const char type = header.key_type == 'D' ? 'T' : header.key_type;
  return {false, type, header.key_length, header.unique != 0};
}

Result write_index(table::Table& table, expr::Expression& expression, NdxHeader header,
                   platform::File& file) {
  VqBlock& block = table::block_of(table);
  std::uint32_t count = 0;
  if (const Result result = table::record_count(table, count); !ok(result)) return result;
  Progress progress(block, std::uint64_t{2} * count);
  const StreamSpec spec = stream_spec(header);
  NewFileStore pages(block, kNdxPageGrid);
  const PageLayout layout = header.layout();
  const KeySource source = {table, expression, nullptr, expr::run_option::kKey, count};
  const TreeTarget target = {file,
                             kNdxPageGrid,
                             pages,
                             layout,
                             ndx_key_order(block, header.key_type),
                             *stream_order(IndexFamily::ndx, spec, block.language == 1),
                             header.unique != 0};
  if (const Result result = build_tree(source, target, progress, header.root); !ok(result)) {
    return result;
  }
  header.next_free = pages.next();
  NdxPageBytes page = {};
  format_ndx_header(header, page);
  const auto written = file.write_at(0, page.data(), page.size());
  return written.ok() ? Result::ok : fail(block, Result::io, kCreate.detail(6));
}

Result build_file(table::Table& table, expr::Expression& expression, const NdxHeader& header,
                  const std::string& path, ReplacedFile& replaced) {
  VqBlock& block = table::block_of(table);
  TemporaryFile growing;
  const auto made = growing.make_beside(path);
  if (!made.ok()) return fail(block, open_result(made.error), kCreate.detail(5));
  if (const Result result = write_index(table, expression, header, growing.file()); !ok(result)) {
    return result;
  }
  const auto placed = replaced.give_way_to(growing);
  return placed.ok() ? Result::ok : fail(block, open_result(placed.error), kBuild.detail(3));
}

// Under the table's lock, and with the file that is there kept from changing.
Result build_held(table::Table& table, expr::Expression& expression, const NdxHeader& header,
                  const std::string& path, std::int32_t locked_detail) {
  TableHold hold(table);
  if (const Result result = hold.take(); !ok(result)) return result;
  ReplacedFile replaced(table::block_of(table), table::lock_scheme(table));
  Result result = replaced.take(path, locked_detail);
  if (ok(result)) result = build_file(table, expression, header, path, replaced);
  return hold.release_after(result);
}

bool is_numeric(char type) { return type == 'N' || type == 'F' || type == 'D'; }

}  // namespace

Result build_ndx(table::Table& table, std::string_view name, const char* expression_text,
                 std::uint32_t options) {
  VqBlock& block = table::block_of(table);
  const std::string path = path_of(name, "NDX");
  // Others would go on with the old file.
  const bool shared = (table::open_mode_of(table) & open_mode::kShared) != 0;
  if (shared && platform::exists(path)) {
    return fail(block, Result::not_allowed, kBuild.detail(4));
  }
  const std::string text = expression_text;
  if (text.size() > kMaxNdxExpression) {
    return fail(block, Result::out_of_range, kCreate.detail(1));
  }
  ExpressionOwner expression;
  expr::ResultShape shape;
  if (const Result result = parse_expression(table, text, expression, shape); !ok(result)) {
    return result;
  }
  std::string wanted = (options & build_option::kNdx3) != 0 ? "3" : "";
  wanted += shape.type;
  if (shape.type == 'C') wanted += std::to_string(shape.length);
  if ((options & build_option::kUnique) != 0) wanted += 'U';
  NdxFormat format;
  if (const Result result = parse_ndx_format(block, wanted, format); !ok(result)) return result;
  const NdxHeader header =
      new_ndx_header(format.is_ndx3, format.key_type, format.key_length, format.unique, text);
  return build_held(table, *expression, header, path, kBuild.detail(5));
}

Result rebuild_ndx(table::Table& table, std::string_view name) {
  VqBlock& block = table::block_of(table);
  if ((table::open_mode_of(table) & open_mode::kShared) != 0) {
    return fail(block, Result::not_allowed, kRebuild.detail(2));
  }
  const std::string path = path_of(name, "NDX");
  NdxPageBytes page;
  NdxHeader old;
  if (const Result result = read_ndx_header(block, path, page, old); !ok(result)) return result;
  // Taking the wrong one of two flags would leave records out.
  const bool has_unique_bit = (old.flags & ndx_flag::kUnique) != 0;
  if (!old.is_ndx3() && has_unique_bit != (old.unique != 0)) {
    return fail(block, Result::bad_format, kRebuild.detail(6));
  }
  return rebuild_ndx(table, path, old);
}

Result rebuild_ndx(table::Table& table, const std::string& path, const NdxHeader& old) {
  VqBlock& block = table::block_of(table);
  const std::string text(old.expression);
  ExpressionOwner expression;
  expr::ResultShape shape;
  if (const Result result = parse_expression(table, text, expression, shape); !ok(result)) {
    return result;
  }
  const bool matches =
      shape.type == old.key_type || (is_numeric(shape.type) && is_numeric(old.key_type));
  if (!matches) return fail(block, Result::mismatch, kRebuild.detail(3));
  const NdxHeader header =
      new_ndx_header(old.is_ndx3(), old.key_type, old.key_length, old.unique != 0, text);
  return build_held(table, *expression, header, path, kRebuild.detail(5));
}

}  // namespace vqdb::index
