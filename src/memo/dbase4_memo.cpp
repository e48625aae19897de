#include "memo/dbase4_memo.h"

#include <algorithm>
#include <array>
#include <limits>
#include <span>

#include "memo/dbase4_file.h"
#include "memo/dbase4_run.h"
#include "memo/file_layout.h"
#include "memo/hold.h"
#include "memo/reference.h"

namespace vqdb::memo {
namespace {

constexpr Operation kAdd{200};
constexpr Operation kAddMoved{201};
constexpr Operation kGet{206};
constexpr Operation kSize{208};
constexpr Operation kNew{210};
constexpr Operation kAllocate{211};
constexpr Operation kWrite{212};
constexpr Operation kUpdate{216};

using Text = std::span<const Byte>;

Text text_of(const void* data, std::int32_t length) {
  return {static_cast<const Byte*>(data), static_cast<std::size_t>(length)};
}

// Whether a memo may be written through this handle; `detail` is the operation's own.
Result check_writable(const Memo& memo, std::int32_t detail) {
  if (memo.layout != Layout::dbase4) return fail(memo.block, Result::not_allowed, detail);
  if (memo.read_only()) return fail(memo.block, Result::read_only, detail);
  return Result::ok;
}

void report(std::int32_t* out, std::int32_t value) {
  if (out != nullptr) *out = value;
}

// Gives a memo its place, outside the run that it still has, and writes it by way of `write`.
// Nothing stays taken when that fails.
template <typename Write>
Result write_placed(Memo& memo, std::uint32_t length, Run old, Run& run, Write write) {
  Placement placement;
  const std::uint32_t blocks = blocks_for(length, memo.block_size);
  const Result taken = memo.free_chain.take(memo, blocks, old, placement);
  if (!ok(taken)) return taken;
  if (memo.shared()) memo.watch.learn();
  const Result written = write(placement.run);
  if (!ok(written)) memo.free_chain.give_back(memo, placement);
  run = placement.run;
  return written;
}

Result write_new(Memo& memo, Text text, Run old, Run& run) {
  const auto length = static_cast<std::uint32_t>(text.size());
  return write_placed(memo, length, old, run, [&](Run place) {
    return write_memo(memo, place, length, {}, text, kWrite.detail(2));
  });
}

// Copies a memo's text and puts more behind it.
Result copy_extended(Memo& memo, const Located& old, Text more, Run run) {
  std::array<Byte, kLeadingBytes> piece;
  const auto total = old.length + static_cast<std::uint32_t>(more.size());
  const auto first = std::min<std::uint32_t>(old.length, kLeadingBytes);
  Result result = read_text(memo, old, 0, first, piece.data(), kAdd.detail(8));
  if (!ok(result)) return result;
  if (first == old.length) {
    return write_memo(memo, run, total, Text(piece.data(), first), more, kAdd.detail(9));
  }
  result = write_memo(memo, run, total, piece, {}, kAdd.detail(9));
  for (std::uint32_t done = first, size = 0; ok(result) && done < old.length; done += size) {
    size = std::min<std::uint32_t>(old.length - done, kLeadingBytes);
    result = read_text(memo, old, done, size, piece.data(), kAdd.detail(8));
    if (ok(result)) result = write_text(memo, run, done, {piece.data(), size}, kAdd.detail(9));
  }
  return ok(result) ? write_text(memo, run, old.length, more, kAddMoved.detail(0)) : result;
}

// The old run is too short for the longer text, so it makes no difference to the chain that it is
// given back last; it does to a host whose disk fails: the old text stays until the new one stands.
Result move_extended(Memo& memo, const Located& old, Text more, char* reference,
                     std::int32_t* moved) {
  Run run;
  const auto total = old.length + static_cast<std::uint32_t>(more.size());
  const Result written = write_placed(
      memo, total, old.run, run, [&](Run place) { return copy_extended(memo, old, more, place); });
  if (!ok(written)) return written;
  write_reference(run.first, reference);
  report(moved, 1);
  return memo.free_chain.give(memo, old.run);
}

// The new text comes first: until its length counts, the old one stands.
Result extend(Memo& memo, const Located& old, Text more) {
  const Result written = write_text(memo, old.run, old.length, more, kAdd.detail(7));
  if (!ok(written)) return written;
  const auto total = old.length + static_cast<std::uint32_t>(more.size());
  return write_length(memo, old.run, total, kAdd.detail(5));
}

Result move_replaced(Memo& memo, const Located& old, Text text, char* reference,
                     std::int32_t* moved) {
  Run run;
  if (const Result written = write_new(memo, text, old.run, run); !ok(written)) return written;
  write_reference(run.first, reference);
  report(moved, 1);
  return memo.free_chain.give(memo, old.run);
}

// Reads at most `max` bytes of a memo's text from `offset` on and puts a zero byte behind them.
Result read_part(Memo& memo, const char* reference, std::int32_t offset, std::int32_t max,
                 Byte* out, std::int32_t& got) {
  got = 0;
  if (offset < 0 || max < 0) return fail(memo.block, Result::out_of_range, kGet.detail(3));
  Located found;
  if (const Result located = locate(memo, reference, found); !ok(located)) return located;
  const auto start = static_cast<std::uint32_t>(offset);
  if (found.length != 0 && start >= found.length) {
    return fail(memo.block, Result::out_of_range, kGet.detail(4));
  }
  const std::uint32_t rest = found.length == 0 ? 0 : found.length - start;
  const std::uint32_t count = std::min(rest, static_cast<std::uint32_t>(max));
  const Result read = read_text(memo, found, start, count, out, kGet.detail(6));
  if (!ok(read)) return read;
  out[count] = 0;
  got = static_cast<std::int32_t>(count);
  return Result::ok;
}

}  // namespace

Result add_dbase4(Memo& memo, std::int32_t length, const void* data, char* reference,
                  std::int32_t* moved) {
  if (const Result open = check_writable(memo, kAdd.detail(2)); !ok(open)) return open;
  report(moved, 0);
  if (length < 1 || data == nullptr) {
    return fail(memo.block, Result::out_of_range, kAdd.detail(3));
  }
  return under_hold(memo, refresh_dbase4, [&] {
    Located old;
    if (const Result located = locate(memo, reference, old); !ok(located)) return located;
    const std::uint32_t total = old.length + static_cast<std::uint32_t>(length);
    if (total > std::uint32_t{std::numeric_limits<std::int32_t>::max()}) {
      return fail(memo.block, Result::out_of_range, kAdd.detail(3));
    }
    return changing(memo, [&] {
      const Text more = text_of(data, length);
      return blocks_for(total, memo.block_size) == old.run.count
                 ? extend(memo, old, more)
                 : move_extended(memo, old, more, reference, moved);
    });
  });
}

Result update_dbase4(Memo& memo, std::int32_t length, const void* data, char* reference,
                     std::int32_t* moved) {
  if (const Result open = check_writable(memo, kUpdate.detail(2)); !ok(open)) return open;
  report(moved, 0);
  if (length < 1 || data == nullptr) {
    return fail(memo.block, Result::out_of_range, kUpdate.detail(3));
  }
  return under_hold(memo, refresh_dbase4, [&] {
    Located old;
    if (const Result located = locate(memo, reference, old); !ok(located)) return located;
    return changing(memo, [&] {
      const Text text = text_of(data, length);
      const auto size = static_cast<std::uint32_t>(length);
      return blocks_for(size, memo.block_size) == old.run.count
                 ? write_memo(memo, old.run, size, {}, text, kUpdate.detail(6))
                 : move_replaced(memo, old, text, reference, moved);
    });
  });
}

Result new_dbase4(Memo& memo, std::int32_t length, const void* data, char* reference) {
  if (const Result open = check_writable(memo, kAllocate.detail(2)); !ok(open)) return open;
  if (parse_reference(reference) != 0) {
    return fail(memo.block, Result::not_allowed, kNew.detail(1));
  }
  if (length < 0 || (length != 0 && data == nullptr)) {
    return fail(memo.block, Result::out_of_range, kNew.detail(3));
  }
  return under_hold(memo, refresh_dbase4, [&] {
    return changing(memo, [&] {
      Run run;
      const Result written = write_new(memo, text_of(data, length), {}, run);
      if (ok(written)) write_reference(run.first, reference);
      return written;
    });
  });
}

Result new_dbase4_in_pieces(Memo& memo, std::uint32_t length, const NextPiece& next) {
  return under_hold(memo, refresh_dbase4, [&] {
    return changing(memo, [&] {
      Run run;
      return write_placed(memo, length, {}, run, [&](Run place) {
        Result result = write_memo(memo, place, length, {}, {}, kWrite.detail(1));
        for (std::uint32_t done = 0; ok(result) && done < length;) {
          Text piece;
          result = next(piece);
          if (ok(result) && piece.empty()) {
            result = fail(memo.block, Result::io, kWrite.detail(2));
          }
          if (ok(result)) result = write_text(memo, place, done, piece, kWrite.detail(2));
          done += static_cast<std::uint32_t>(piece.size());
        }
        return result;
      });
    });
  });
}

Result get_dbase4(Memo& memo, const char* reference, std::int32_t offset, std::int32_t max,
                  void* buffer, std::int32_t* length, std::int32_t* done) {
  if (memo.layout != Layout::dbase4) {
    return fail(memo.block, Result::not_allowed, kGet.detail(2));
  }
  std::int32_t got = 0;
  const auto read = [&] {
    return read_part(memo, reference, offset, max, static_cast<Byte*>(buffer), got);
  };
  if (done_without_lock(memo, read)) {
    report(done, 1);
    *length = got;
    return Result::ok;
  }
  return under_hold(memo, refresh_dbase4, [&] {
    report(done, 1);
    *length = 0;
    const Result result = read();
    *length = got;
    return result;
  });
}

Result size_dbase4(Memo& memo, const char* reference, std::int32_t* length) {
  if (memo.layout != Layout::dbase4) {
    return fail(memo.block, Result::not_allowed, kSize.detail(2));
  }
  Located found;
  const auto find = [&] { return locate(memo, reference, found); };
  Result result = Result::ok;
  if (!done_without_lock(memo, find)) result = under_hold(memo, refresh_dbase4, find);
  if (ok(result)) *length = static_cast<std::int32_t>(found.length);
  return result;
}

}  // namespace vqdb::memo
