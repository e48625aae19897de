#include "api/block.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vqdb::api {
namespace {

static_assert(sizeof(VqBlock) == 527);

struct Dialect {
  std::uint32_t kind;
  std::uint32_t index_kind;  // default index driver column
  std::uint32_t memo_column;
  std::uint32_t compaction_column;
};

// Both memo columns compact with the same operation, so kinds 4 and 7 lose nothing by the
// difference between the last two figures.
constexpr std::array<Dialect, 7> kDialects = {{
    {VQ_DIALECT_DBASE3, 1, 1, 1},
    {VQ_DIALECT_DBASE4, 0, 0, 0},
    {VQ_DIALECT_DBASE5, 0, 0, 1},
    {VQ_DIALECT_DBASE, 0, 0, 1},
    {VQ_DIALECT_FOXPRO, 4, 2, 2},
    {VQ_DIALECT_FOXBASE, 4, 1, 1},
    {VQ_DIALECT_CLIPPER, 6, 1, 1},
}};

const Dialect* find_dialect(std::uint32_t kind) {
  const auto* found = std::ranges::find(kDialects, kind, &Dialect::kind);
  return found != kDialects.end() ? found : nullptr;
}

}  // namespace

Result init_block(VqBlock& block, std::uint32_t kind) {
  const Dialect* dialect = find_dialect(kind);
  if (dialect == nullptr) return Result::unknown_kind;
  std::memset(&block, 0, sizeof block);
  block.kind = kind;
  block.memo_block_setting = 1;
  block.page_count_setting = 64;
  block.table_access = 1;
  block.index_open_parameter = 10;
  block.first_setting = 1;
  block.count_setting = 20;
  block.index_kind = dialect->index_kind;
  return Result::ok;
}

std::uint32_t memo_column(const VqBlock& block) {
  const Dialect* dialect = find_dialect(block.kind);
  return dialect != nullptr ? dialect->memo_column : 1;
}

std::uint32_t compaction_column(const VqBlock& block) {
  const Dialect* dialect = find_dialect(block.kind);
  return dialect != nullptr ? dialect->compaction_column : 1;
}

}  // namespace vqdb::api
