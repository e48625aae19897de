// A caller's record as it stands in the file: with its deletion flag.
#ifndef VQDBSYS_TABLE_RECORD_IMAGE_H_
#define VQDBSYS_TABLE_RECORD_IMAGE_H_

#include <array>
#include <cstdint>
#include <cstring>

#include "frame/bytes.h"
#include "platform/memory.h"
#include "table/records.h"

namespace vqdb::table {

class RecordImage {
 public:
  // `record` lacks its first `skip` bytes (the flag, or none); a flag that is lacking is live.
  // False when a long record finds no memory. The record must outlive the image.
  bool make(const void* record, std::uint32_t skip, std::uint32_t length) {
    if (skip == 0) {
      bytes_ = static_cast<const Byte*>(record);
      return true;
    }
    Byte* copy = short_.data();
    if (length > short_.size()) {
      long_ = platform::allocate_bytes(length);
      if (long_ == nullptr) return false;
      copy = long_.get();
    }
    copy[0] = kLive;
    std::memcpy(copy + skip, record, length - skip);
    bytes_ = copy;
    return true;
  }

  const Byte* bytes() const { return bytes_; }

 private:
  const Byte* bytes_ = nullptr;
  std::array<Byte, 1024> short_;
  platform::Bytes long_;
};

}  // namespace vqdb::table

#endif  // VQDBSYS_TABLE_RECORD_IMAGE_H_
