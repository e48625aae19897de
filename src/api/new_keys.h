// The keys that a new record brings to the indexes of its group.
#ifndef VQDBSYS_API_NEW_KEYS_H_
#define VQDBSYS_API_NEW_KEYS_H_

#include <cstdint>
#include <vector>

#include "api/database.h"
#include "api/record_keys.h"
#include "frame/result.h"
#include "index/open/key_place.h"

namespace vqdb::api {

class NewKeys {
 public:
  explicit NewKeys(Database& database) : database_(database) {}

  // Takes memory for the group's keys: false when there is none. REQUIRES that no member joins
  // from here on.
  bool reserve();
  // Makes the keys of all members that the record belongs to, and puts them into their indexes in
  // the order of the group, inside the bracket of the record operation. After a failure the keys of
  // the members before stay.
  Result insert(const Byte* record, std::uint32_t recno);

 private:
  struct Key {
    explicit Key(Member& owner) : member(&owner) {}
    Member* member;
    KeyBuffer bytes;
  };

  Result make(const Byte* record);

  Database& database_;
  std::vector<Key, PlatformAllocator<Key>> keys_;
  std::vector<index::KeyPlace, PlatformAllocator<index::KeyPlace>> places_;
};

}  // namespace vqdb::api

#endif  // VQDBSYS_API_NEW_KEYS_H_
