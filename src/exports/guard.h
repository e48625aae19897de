// The border of the library: no exception crosses it, and a handle that is not live is refused
// with the operation's own detail code.
#ifndef VQDBSYS_EXPORTS_GUARD_H_
#define VQDBSYS_EXPORTS_GUARD_H_

#include <new>

#include "frame/handle_pool.h"
#include "frame/result.h"

namespace vqdb::exports {

inline std::int32_t answer(Result result) { return code(result); }
template <typename Number>
std::int32_t answer(Number number) {
  return static_cast<std::int32_t>(number);
}

// Runs the body, which returns a Result or a number; memory that gives out is -14.
template <typename Body>
std::int32_t guarded(Body body) noexcept {
  try {
    return answer(body());
  } catch (const std::bad_alloc&) {
    return code(Result::no_memory);
  } catch (...) {
    return code(Result::unavailable);
  }
}

// Runs the body on the live handle; any other address is refused with the given detail code, which
// goes to the block of a closed handle and nowhere for an address that never was one.
template <typename T, typename Body>
std::int32_t with_handle(const HandlePool<T>& pool, const void* address, std::int32_t bad_handle,
                         Body body) noexcept {
  T* handle = pool.find(address);
  if (handle == nullptr) {
    return code(fail(pool.block_of(address), Result::bad_handle, bad_handle));
  }
  return guarded([&] { return body(*handle); });
}

}  // namespace vqdb::exports

#endif  // VQDBSYS_EXPORTS_GUARD_H_
