#include "check/memo_form.h"

#include <algorithm>
#include <array>
#include <limits>

#include "check/chunk_reader.h"
#include "memo/dbase3_memo.h"
#include "memo/file_layout.h"

namespace vqdb::check {
namespace {

constexpr std::uint64_t kMaxBlock = std::numeric_limits<std::uint32_t>::max();
constexpr std::size_t kSample = 32;

// How many of some references lead to a memo's mark with blocks of this size.
Result count_marks(HeldFile& file, ChunkReader& reader,
                   const std::vector<MemoReference>& references, std::uint32_t block_size,
                   std::size_t& marks, std::size_t& tried) {
  marks = 0;
  tried = 0;
  const std::size_t step = references.size() / kSample + 1;
  for (std::size_t i = 0; i < references.size(); i += step) {
    ++tried;
    const std::uint64_t block = references[i].block;
    const std::uint64_t start = block * block_size;
    if (block > kMaxBlock || start + memo::kMemoHeaderBytes > file.size()) continue;
    std::array<Byte, memo::kMemoMark.size()> mark;
    const Result result = reader.read(start, mark.data(), mark.size());
    if (!ok(result)) return result;
    if (mark == memo::kMemoMark) ++marks;
  }
  return Result::ok;
}

bool is_before(const BlockSpan& a, const BlockSpan& b) { return a.first < b.first; }

class MemoPass {
 public:
  MemoPass(HeldFile& file, FileFindings& findings, const MemoOwner& owner, MemoForm& form)
      : file_(file), findings_(findings), owner_(owner), form_(form), reader_(file) {}

  Result run() {
    Result result = read_header();
    if (!ok(result) || !form_.is_memo_file) return result;
    if (ok(result)) result = read_memos();
    if (ok(result) && form_.layout == memo::Layout::dbase4) result = walk_chain();
    if (ok(result) && form_.layout == memo::Layout::dbase3) check_next_free();
    if (ok(result)) result = find_lost();
    if (!ok(result)) return result;
    form_.is_sound = form_.is_sound && !findings_.has_errors();
    return findings_.proceed();
  }

 private:
  std::uint64_t offset_of(std::uint64_t block) const { return block * form_.block_size; }

  // How far behind the file new memos may begin; behind an interrupted one, as far as it reached.
  std::uint64_t most_gap() const {
    return memo::kMaxFilledGap + (form_.layout == memo::Layout::dbase4
                                      ? memo::kLongestMemo + form_.block_size
                                      : std::uint64_t{0});
  }

  Result read_header() {
    if (file_.size() < memo::kHeaderBytes) {
      findings_.add(VQ_F_MEMO_SHORT, {}, "The file is shorter than a memo file's header.");
      return Result::ok;
    }
    std::array<Byte, memo::kHeaderBytes> header;
    if (const Result result = file_.read(0, header.data(), header.size()); !ok(result)) {
      return result;
    }
    next_ = load_le32(&header[memo::kNextFreeOffset]);
    Result result = reader_.start(1);
    form_.block_size = memo::kDbase3BlockSize;
    if (ok(result) && form_.layout == memo::Layout::dbase4) {
      result = find_block_size(load_le16(&header[memo::kBlockSizeOffset]));
    }
    form_.is_memo_file = form_.block_size != 0;
    if (form_.is_memo_file) {
      form_.blocks = (file_.size() + form_.block_size - 1) / form_.block_size;
    }
    return result;
  }

  // The block size of the header, unless another one, and no third, leads to more memos, and to
  // most of all: in a file that was cut off, a smaller size leads to some other memo here and
  // there.
  Result find_block_size(std::uint32_t stored) {
    std::size_t most = 0;
    std::size_t tried = 0;
    if (memo::is_block_size(stored)) {
      form_.block_size = stored;
      const Result result = count_marks(file_, reader_, owner_.references, stored, most, tried);
      if (!ok(result) || most == tried) return result;
    } else {
      form_.block_size = 0;
    }
    std::uint32_t best = 0;
    bool alone = true;
    for (std::uint32_t size = memo::kForeignBlockUnit; size <= memo::kMaxBlockSize;
         size += memo::kForeignBlockUnit) {
      std::size_t marks = 0;
      const Result result = count_marks(file_, reader_, owner_.references, size, marks, tried);
      if (!ok(result)) return result;
      if (best != 0 && marks == most) alone = false;
      if (marks <= most || marks < tried - tried / 4) continue;
      most = marks;
      best = size;
      alone = true;
    }
    if (best != 0 && alone) form_.block_size = best;
    if (form_.block_size == stored) return Result::ok;
    std::string text = numbered("The header says that blocks have ", stored, " bytes");
    if (form_.block_size != 0) text += numbered("; the memos lie in blocks of ", best);
    findings_.add(VQ_F_MEMO_BLOCK_SIZE, {.offset = memo::kBlockSizeOffset}, text + ".");
    return Result::ok;
  }

  Result read_memos() {
    std::vector<MemoReference>& references = owner_.references;
    std::sort(references.begin(), references.end(),
              [](const MemoReference& a, const MemoReference& b) {
                if (a.block != b.block) return a.block < b.block;
                return a.record != b.record ? a.record < b.record : a.field < b.field;
              });
    form_.memos.reserve(references.size());
    for (std::size_t i = 0; i < references.size(); ++i) {
      NamedMemo memo = {.reference = references[i]};
      const NamedMemo* const before = form_.memos.empty() ? nullptr : &form_.memos.back();
      Result result = Result::ok;
      if (before != nullptr && before->reference.block == memo.reference.block) {
        share(*before, memo);
      } else {
        std::size_t next = i + 1;
        while (next < references.size() && references[next].block == references[i].block) ++next;
        const std::uint64_t behind = next < references.size() ? references[next].block : UINT64_MAX;
        result = read_memo(memo, behind);
        if (memo.state == MemoState::whole && memo.end() > behind) overlap(memo, behind);
      }
      form_.memos.push_back(memo);
      if (ok(result)) result = findings_.proceed();
      if (!ok(result)) return result;
    }
    return Result::ok;
  }

  Result read_memo(NamedMemo& memo, std::uint64_t behind) {
    const std::uint64_t block = memo.reference.block;
    const std::uint64_t head = form_.layout == memo::Layout::dbase4 ? memo::kMemoHeaderBytes : 1;
    if (block > kMaxBlock || offset_of(block) + head > file_.size()) {
      accuse(memo, VQ_F_MEMO_OUTSIDE,
             numbered("The field names block ", block, ", behind the end of the memo file."));
      return Result::ok;
    }
    return form_.layout == memo::Layout::dbase4 ? read_dbase4(memo) : read_dbase3(memo, behind);
  }

  Result read_dbase4(NamedMemo& memo) {
    std::array<Byte, memo::kMemoHeaderBytes> header;
    const std::uint64_t start = offset_of(memo.reference.block);
    const Result result = reader_.read(start, header.data(), header.size());
    if (!ok(result)) return result;
    // One byte of the mark may be damaged, and the library looks at the first one alone.
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < memo::kMemoMark.size(); ++i) {
      if (header[i] != memo::kMemoMark[i]) ++wrong;
    }
    memo.marked = wrong == 0;
    if (header[0] != memo::kMemoMark[0]) {
      add(VQ_F_MEMO_NONE, memo.reference, "No memo begins where the field of ", " names one.");
      if (wrong > 1) return Result::ok;
    } else if (!memo.marked) {
      add(VQ_F_MEMO_MARK, memo.reference, "The memo of ", " begins with a damaged mark.");
    }
    const std::uint32_t stored = load_le32(&header[memo::kMemoMark.size()]);
    if (stored < memo::kMemoHeaderBytes || stored - memo::kMemoHeaderBytes > memo::kLongestMemo ||
        start + stored > file_.size()) {
      add(VQ_F_MEMO_LENGTH, memo.reference, "The memo of ",
          numbered(" has a length of ", stored, ", which the file does not hold."));
      return Result::ok;
    }
    memo.length = stored - memo::kMemoHeaderBytes;
    memo.blocks = memo::blocks_for(static_cast<std::uint32_t>(memo.length), form_.block_size);
    memo.state = MemoState::whole;
    return Result::ok;
  }

  // A text that runs into the next memo is followed no further than it takes to see that.
  Result read_dbase3(NamedMemo& memo, std::uint64_t behind) {
    const std::uint64_t start = offset_of(memo.reference.block);
    const std::uint64_t limit = behind >= form_.blocks ? file_.size() : offset_of(behind) + 1;
    std::array<Byte, memo::kDbase3BlockSize> piece;
    std::uint64_t position = start;
    for (bool ended = false; !ended && position < limit;) {
      const auto size =
          static_cast<std::size_t>(std::min<std::uint64_t>(piece.size(), limit - position));
      const Result result = reader_.read(position, piece.data(), size);
      if (!ok(result)) return result;
      const std::size_t text = memo::dbase3_text_size(std::span<const Byte>(piece).first(size));
      ended = text < size;
      position += text;
    }
    memo.length = position - start;
    memo.blocks = (memo.length + 1) / memo::kDbase3BlockSize + 1;
    memo.state = MemoState::whole;
    return Result::ok;
  }

  // The second mark of a text's end may lie in the next block, which nothing is lost with.
  void overlap(NamedMemo& memo, std::uint64_t behind) {
    if (form_.layout == memo::Layout::dbase3 &&
        offset_of(memo.reference.block) + memo.length < offset_of(behind)) {
      memo.blocks = behind - memo.reference.block;
      return;
    }
    memo.state = MemoState::clashing;
    if (form_.layout == memo::Layout::dbase3) {
      memo.length = offset_of(behind) - offset_of(memo.reference.block);
    }
    add(VQ_F_MEMO_OVERLAP, memo.reference, "The memo of ",
        numbered(" runs into the one at block ", behind, "."));
  }

  void share(const NamedMemo& first, NamedMemo& memo) {
    memo.blocks = first.blocks;
    memo.length = first.length;
    memo.state = first.state == MemoState::unreadable ? first.state : MemoState::clashing;
    accuse(memo, VQ_F_MEMO_SHARED,
           numbered("The field names the memo at block ", memo.reference.block,
                    numbered(", which record ", first.reference.record, " has.")));
  }

  // A finding about the table's field.
  void accuse(const NamedMemo& memo, std::int32_t code, const std::string& text) {
    const MemoReference& reference = memo.reference;
    owner_.findings.add(code,
                        {.offset = reference.offset_in(owner_.form),
                         .record = reference.record,
                         .name = owner_.form.fields[reference.field].name.data()},
                        text);
  }

  // A finding about what the reference leads to.
  void add(std::int32_t code, const MemoReference& reference, std::string_view before,
           std::string_view behind) {
    findings_.add(code,
                  {.offset = offset_of(reference.block),
                   .record = reference.record,
                   .page = static_cast<std::uint32_t>(reference.block),
                   .name = owner_.form.fields[reference.field].name.data()},
                  numbered(std::string(before) + "record ", reference.record, behind));
  }

  void add_block(std::int32_t code, std::uint64_t block, const std::string& text) {
    findings_.add(code, {.offset = offset_of(block), .page = static_cast<std::uint32_t>(block)},
                  text);
  }

  Result walk_chain() {
    std::uint64_t free_blocks = 0;
    while (offset_of(next_) < file_.size()) {
      std::array<Byte, memo::kFreeRunBytes> bytes = {};
      const bool whole = offset_of(next_) + bytes.size() <= file_.size();
      if (next_ != 0 && whole) {
        const Result result = reader_.read(offset_of(next_), bytes.data(), bytes.size());
        if (!ok(result)) return result;
      }
      const BlockSpan run = {next_, load_le32(&bytes[4])};
      const std::uint32_t link = load_le32(bytes.data());
      free_blocks += run.count;
      if (next_ == 0 || !whole || run.count == 0 || run.end() > form_.blocks ||
          free_blocks > form_.blocks || looks_like_memo(link)) {
        add_block(VQ_F_CHAIN_BROKEN, next_,
                  numbered("The chain of free blocks is broken at block ", next_, "."));
        chain_holds_ = false;
        break;
      }
      free_.push_back(run);
      next_ = link;
    }
    if (chain_holds_ && offset_of(next_) > file_.size() + most_gap()) {
      add_block(
          VQ_F_CHAIN_END, next_,
          numbered("New memos would begin at block ", next_, ", far behind the end of the file."));
    }
    std::sort(free_.begin(), free_.end(), is_before);
    check_overlaps();
    return Result::ok;
  }

  // A memo's header, read as a free run.
  bool looks_like_memo(std::uint32_t link) const {
    return link == load_le32(memo::kMemoMark.data()) && link > form_.blocks;
  }

  // Free runs against each other, and against the memos.
  void check_overlaps() {
    std::size_t at = 0;
    std::uint64_t memo_end = 0;
    for (std::size_t i = 0; i < free_.size(); ++i) {
      const BlockSpan& run = free_[i];
      bool clashes = i > 0 && free_[i - 1].end() > run.first;
      for (; at < form_.memos.size() && form_.memos[at].reference.block < run.end(); ++at) {
        if (form_.memos[at].state == MemoState::unreadable) continue;
        clashes = clashes || form_.memos[at].reference.block >= run.first;
        memo_end = std::max(memo_end, form_.memos[at].end());
      }
      if (clashes || memo_end > run.first) {
        add_block(
            VQ_F_CHAIN_OVERLAP, run.first,
            numbered("The free blocks from ", run.first, " on are part of a memo, or free twice."));
      }
    }
  }

  void check_next_free() {
    const Place place = {.offset = memo::kNextFreeOffset};
    if (offset_of(next_) > file_.size() + most_gap()) {
      findings_.add(
          VQ_F_CHAIN_END, place,
          numbered("New memos would begin at block ", next_, ", far behind the end of the file."));
    } else if (next_ < form_.blocks) {
      form_.is_sound = false;
      findings_.add(VQ_F_NEXT_FREE_OLD, place,
                    numbered("New memos would begin at block ", next_,
                             ", but for the blocks that the file has."));
    }
  }

  Result find_lost() {
    std::vector<BlockSpan> used = free_;
    for (const NamedMemo& memo : form_.memos) {
      if (memo.state != MemoState::unreadable) used.push_back({memo.reference.block, memo.blocks});
    }
    used.push_back({form_.blocks, 0});
    std::sort(used.begin(), used.end(), is_before);
    std::uint64_t at = 1;  // behind the header
    std::uint64_t lost = 0;
    for (const BlockSpan& span : used) {
      if (span.first > at) {
        lost += span.first - at;
        if (const Result result = find_unnamed(at, span.first); !ok(result)) return result;
      }
      at = std::max(at, span.end());
    }
    if (lost != 0) {
      findings_.add(VQ_F_BLOCKS_LOST, {},
                    numbered("", lost, " blocks are neither free nor part of a memo in use."));
    }
    return Result::ok;
  }

  // What a field that has been damaged, or a record that was never written, may have named.
  Result find_unnamed(std::uint64_t block, std::uint64_t end) {
    while (form_.layout == memo::Layout::dbase4 && block < end) {
      std::array<Byte, memo::kMemoHeaderBytes> header;
      if (offset_of(block) + header.size() > file_.size()) break;
      Result result = reader_.read(offset_of(block), header.data(), header.size());
      if (!ok(result)) return result;
      std::uint64_t count = 1;
      if (std::equal(memo::kMemoMark.begin(), memo::kMemoMark.end(), header.begin())) {
        const std::uint32_t bytes = load_le32(&header[memo::kMemoMark.size()]);
        count = std::clamp<std::uint64_t>((bytes + form_.block_size - 1) / form_.block_size, 1,
                                          end - block);
        form_.unnamed.push_back({block, count});
        add_block(VQ_F_MEMO_UNNAMED, block,
                  numbered("No field names the memo at block ", block, "."));
        result = findings_.proceed();
      }
      if (!ok(result)) return result;
      block += count;
    }
    return Result::ok;
  }

  HeldFile& file_;
  FileFindings& findings_;
  const MemoOwner& owner_;
  MemoForm& form_;
  ChunkReader reader_;
  std::uint32_t next_ = 0;  // in the chain; dBASE III: the next free block
  std::vector<BlockSpan> free_;
  bool chain_holds_ = true;
};

}  // namespace

Result names_dbase4_memos(HeldFile& file, const std::vector<MemoReference>& references, bool& yes) {
  ChunkReader reader(file);
  Result result = reader.start(1);
  std::size_t marks = 0;
  std::size_t tried = 0;
  for (std::uint32_t size = memo::kForeignBlockUnit;
       ok(result) && marks == 0 && size <= memo::kMaxBlockSize; size += memo::kForeignBlockUnit) {
    result = count_marks(file, reader, references, size, marks, tried);
  }
  yes = marks != 0;
  return result;
}

Result read_memo_form(HeldFile& file, FileFindings& findings, memo::Layout layout,
                      const MemoOwner& owner, MemoForm& form) {
  form.layout = layout;
  return MemoPass(file, findings, owner, form).run();
}

}  // namespace vqdb::check
