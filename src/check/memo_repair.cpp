#include "check/memo_repair.h"

#include <algorithm>

#include "memo/file_layout.h"
#include "memo/reference.h"

namespace vqdb::check {
namespace {

std::string le32(std::uint64_t value) {
  std::string bytes(4, '\0');
  store_le32(bytes.data(), static_cast<std::uint32_t>(value));
  return bytes;
}

class Plan {
 public:
  Plan(const TableForm& table, const MemoForm& form) : table_(table), form_(form) {}

  MemoRepair make() {
    end_ = form_.blocks;
    bool moved = false;
    for (const NamedMemo& memo : form_.memos) {
      switch (memo.state) {
        case MemoState::whole:
          if (!memo.marked) patch(offset_of(memo.reference.block), mark());
          break;
        case MemoState::clashing:
          move(memo);
          moved = true;
          break;
        case MemoState::unreadable:
          refer(memo.reference, std::string(memo::kReferenceWidth, ' '));
          moved = true;
          break;
      }
    }
    plan_.needed = moved || !form_.is_sound;
    if (!plan_.needed) return std::move(plan_);
    if (form_.layout == memo::Layout::dbase4) {
      chain_free_blocks();
      patch(memo::kBlockSizeOffset, le32(form_.block_size).substr(0, 2));
    } else {
      patch(memo::kNextFreeOffset, le32(end_));
    }
    sort_patches(plan_.patches);
    return std::move(plan_);
  }

 private:
  std::uint64_t offset_of(std::uint64_t block) const { return block * form_.block_size; }
  void patch(std::uint64_t offset, std::string bytes) {
    plan_.patches.push_back({offset, std::move(bytes)});
  }
  static std::string mark() { return {memo::kMemoMark.begin(), memo::kMemoMark.end()}; }
  void refer(const MemoReference& reference, std::string text) {
    plan_.table_patches.push_back({reference.offset_in(table_), std::move(text)});
  }

  // Its text as it reads today gets blocks behind all others.
  void move(const NamedMemo& memo) {
    const bool dbase4 = form_.layout == memo::Layout::dbase4;
    const std::uint64_t size = memo.length + (dbase4 ? memo::kMemoHeaderBytes : 0);
    plan_.moves.push_back({offset_of(memo.reference.block), offset_of(end_), size});
    if (dbase4) {
      if (!memo.marked) remarked_.push_back(offset_of(end_));
    } else {
      patch(offset_of(end_) + size, "\x1A\x1A");
    }
    std::string text(memo::kReferenceWidth, '0');
    memo::write_reference(static_cast<std::uint32_t>(end_), text.data());
    refer(memo.reference, std::move(text));
    const auto length = static_cast<std::uint32_t>(memo.length);
    end_ += dbase4 ? memo::blocks_for(length, form_.block_size)
                   : (length + 1) / memo::kDbase3BlockSize + 1;
  }

  // Where a memo moved from stays out of the chain: should only the memo file have been replaced
  // when the machine stops, the fields still name the old place. So do memos that no field names,
  // of which more may be known than the table says.
  void chain_free_blocks() {
    std::vector<BlockSpan> kept = form_.unnamed;
    for (const NamedMemo& memo : form_.memos) {
      if (memo.state != MemoState::unreadable) kept.push_back({memo.reference.block, memo.blocks});
    }
    std::sort(kept.begin(), kept.end(),
              [](const BlockSpan& a, const BlockSpan& b) { return a.first < b.first; });
    kept.push_back({form_.blocks, 0});
    std::uint64_t at = 1;
    std::uint64_t link_at = memo::kNextFreeOffset;
    for (const BlockSpan& span : kept) {
      if (at < span.first) {
        patch(link_at, le32(at));
        patch(offset_of(at) + 4, le32(span.first - at));
        link_at = offset_of(at);
      }
      at = std::max(at, span.end());
    }
    patch(link_at, le32(end_));
    for (const std::uint64_t offset : remarked_) patch(offset, mark());
  }

  const TableForm& table_;
  const MemoForm& form_;
  MemoRepair plan_;
  std::uint64_t end_ = 0;  // the first block behind all
  std::vector<std::uint64_t> remarked_;
};

}  // namespace

MemoRepair plan_memo_repair(const TableForm& table, const MemoForm& form) {
  return Plan(table, form).make();
}

}  // namespace vqdb::check
