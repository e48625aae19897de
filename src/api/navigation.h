// Reading records in the order of record numbers, or in the key order of an index member. The copy
// of a member that the host passes chooses the order. Every wrong kind is -11 with the operation's
// detail digit 1; a copy that stands for nothing alive is -10 with digit 0.
#ifndef VQDBSYS_API_NAVIGATION_H_
#define VQDBSYS_API_NAVIGATION_H_

#include <cstdint>

#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// Finds a key, or for the table a record number cast to a pointer, and reads its record. Between
// keys it reads the record of the next key and gives -5; above the last key it reads nothing and
// gives -5. Detail 6141.
Result get_record(const VqMember& copy, const void* key, void* record, std::uint32_t& recno);
// The same without reading: `recno` alone. Detail 6351.
Result find_record(const VqMember& copy, const void* key, std::uint32_t& recno);

// Steps and reads; the key goes to `key`, which the table does not use. Details 6151, 6161, 6171.
Result next_record(const VqMember& copy, void* record, std::uint32_t& recno, void* key);
// The next records, to places that follow one another, up to the first that is not there.
Result next_records(const VqMember& copy, std::uint32_t count, void* records, std::uint32_t* recnos,
                    std::uint32_t& got);
Result previous_record(const VqMember& copy, void* record, std::uint32_t& recno, void* key);
Result current_record(const VqMember& copy, void* record, std::uint32_t& recno, void* key);

// Before the first and behind the last record. Details 6181 and 6191.
Result rewind(const VqMember& copy);
Result forward(const VqMember& copy);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_NAVIGATION_H_
