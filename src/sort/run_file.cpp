#include "sort/run_file.h"

#include <algorithm>
#include <cstring>

#include "frame/system_file.h"
#include "frame/temporary_file.h"

namespace vqdb::sort {
namespace {

constexpr Operation kRuns{1026};

constexpr std::size_t kBufferBytes = std::size_t{256} << 10;

}  // namespace

Result RunWriter::start() {
  buffer_bytes_ = std::max(kBufferBytes, entry_bytes_);
  buffer_ = platform::allocate_bytes(buffer_bytes_);
  if (buffer_ == nullptr) return fail(block_, Result::no_memory, kRuns.detail(2));
  file_ = std::make_shared<platform::File>();
  const platform::Outcome made = make_scratch_file(block_, *file_);
  return made.ok() ? Result::ok : fail(block_, open_result(made.error), kRuns.detail(1));
}

Result RunWriter::add(const Byte* entry) {
  if (buffer_bytes_ - used_ < entry_bytes_) {
    if (const Result result = write_buffer(); !ok(result)) return result;
  }
  std::memcpy(buffer_.get() + used_, entry, entry_bytes_);
  used_ += entry_bytes_;
  ++run_.entries;
  return Result::ok;
}

Result RunWriter::end_run(Run& run) {
  if (const Result result = write_buffer(); !ok(result)) return result;
  run_.file = file_;
  run = run_;
  run_ = {.file = nullptr, .offset = written_, .entries = 0};
  return Result::ok;
}

Result RunWriter::write_buffer() {
  const auto outcome = file_->write_at(written_, buffer_.get(), used_);
  if (!outcome.ok()) return fail(block_, transfer_result(outcome), kRuns.detail(3));
  written_ += used_;
  used_ = 0;
  return Result::ok;
}

RunReader::RunReader(const Run& run, std::size_t entry_bytes, std::span<Byte> buffer)
    : run_(run),
      entry_bytes_(entry_bytes),
      buffer_(buffer.first(buffer.size() / entry_bytes * entry_bytes)) {}

Result RunReader::next(VqBlock& block, const Byte*& entry) {
  entry = nullptr;
  if (at_ == filled_) {
    const std::uint64_t left = run_.entries * entry_bytes_;
    filled_ = static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer_.size()));
    at_ = 0;
    if (filled_ == 0) return Result::ok;
    const auto outcome = run_.file->read_exactly(run_.offset, buffer_.data(), filled_);
    if (!outcome.ok()) return fail(block, transfer_result(outcome), kRuns.detail(4));
    run_.offset += filled_;
    run_.entries -= filled_ / entry_bytes_;
  }
  entry = buffer_.data() + at_;
  at_ += entry_bytes_;
  return Result::ok;
}

}  // namespace vqdb::sort
