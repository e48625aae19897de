// The host's view into long work: see dUsetprog.
#ifndef VQDBSYS_FRAME_PROGRESS_H_
#define VQDBSYS_FRAME_PROGRESS_H_

#include <algorithm>
#include <cstdint>

#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb {

// Tells the host, if it wants to know, how many units are done. True when it cancels the work.
inline bool cancelled(const VqBlock& block, std::uint32_t done, std::uint32_t total) {
  if (block.progress == 0) return false;
  const auto tell = reinterpret_cast<VqProgress>(static_cast<std::uintptr_t>(block.progress));
  auto* context = reinterpret_cast<void*>(static_cast<std::uintptr_t>(block.progress_context));
  return tell(context, done, total) != 0;
}

// The detail code of cancelled work.
inline constexpr std::int32_t kCancelledDetail = 10071;

// Work of many small units, reported now and then.
class Progress {
 public:
  Progress(VqBlock& block, std::uint64_t total) : block_(block), total_(total) {}

  // One more unit is done; `cancelled` when the host has had enough.
  Result step() {
    ++done_;
    return done_ % kUnitsPerReport == 0 ? pulse() : Result::ok;
  }
  // Lets the host cancel work that has no units.
  Result pulse() const {
    return cancelled(block_, cut(done_), cut(total_))
               ? fail(block_, Result::cancelled, kCancelledDetail)
               : Result::ok;
  }
  // All units are done; the last moment to cancel.
  Result finish() {
    done_ = total_;
    return pulse();
  }

 private:
  static constexpr std::uint64_t kUnitsPerReport = 1024;

  static std::uint32_t cut(std::uint64_t count) {
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(count, UINT32_MAX));
  }

  VqBlock& block_;
  std::uint64_t total_;
  std::uint64_t done_ = 0;
};

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_PROGRESS_H_
