// The memo driver table: the operations of every memo layout, as constant data. An empty slot is
// null, and a caller that finds one answers -13.
#ifndef VQDBSYS_MEMO_DRIVER_TABLE_H_
#define VQDBSYS_MEMO_DRIVER_TABLE_H_

#include <cstdint>

#include "frame/handle_pool.h"
#include "frame/result.h"

namespace vqdb::memo {

class Memo;  // an open memo file; derives from HandleHead

HandlePool<Memo>& memos();

// The rows, in order. A reference is the 10 characters of a memo field.
struct Driver {
  Result (*create)(VqBlock&, const char* name);
  Memo* (*open)(VqBlock&, const char* name, std::uint32_t mode);
  Result (*close)(Memo&);
  Result (*add)(Memo&, std::int32_t length, const void* data, char* reference,
                std::int32_t* moved);
  Result (*update)(Memo&, std::int32_t length, const void* data, char* reference,
                   std::int32_t* moved);
  Result (*create_memo)(Memo&, std::int32_t length, const void* data, char* reference);
  Result (*get)(Memo&, const char* reference, std::int32_t offset, std::int32_t max, void* buffer,
                std::int32_t* length, std::int32_t* done);
  std::int32_t (*memory_use)(VqBlock&, const char* name);
  Result (*size)(Memo&, const char* reference, std::int32_t* length);
  Result (*type)(Memo&, const char* reference, std::int32_t* type);
  Result (*compact)(VqBlock&, const char* name);
};

inline constexpr std::uint32_t kDriverColumns = 4;

const Driver& driver(std::uint32_t column);

}  // namespace vqdb::memo

#endif  // VQDBSYS_MEMO_DRIVER_TABLE_H_
