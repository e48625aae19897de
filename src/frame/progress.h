// The host's view into long work: see dUsetprog.
#ifndef VQDBSYS_FRAME_PROGRESS_H_
#define VQDBSYS_FRAME_PROGRESS_H_

#include <cstdint>

#include "vqdbsys.h"

namespace vqdb {

// Tells the host, if it wants to know, how many units are done. True when it cancels the work.
inline bool cancelled(const VqBlock& block, std::uint32_t done, std::uint32_t total) {
  if (block.progress == 0) return false;
  const auto tell = reinterpret_cast<VqProgress>(static_cast<std::uintptr_t>(block.progress));
  auto* context = reinterpret_cast<void*>(static_cast<std::uintptr_t>(block.progress_context));
  return tell(context, done, total) != 0;
}

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_PROGRESS_H_
