#include "api/memos.h"

#include "api/block.h"

namespace vqdb::api {
namespace {

template <typename Slot, typename... Arguments>
Result put(Database& database, Slot memo::Driver::*slot, Arguments... arguments) {
  if (database.memo == nullptr) return Result::not_allowed;
  const Slot operation = database.memo_driver().*slot;
  return operation != nullptr ? operation(*database.memo, arguments...) : Result::no_driver;
}

}  // namespace

Result get_memo(Database& database, const char* reference, std::int32_t offset, std::int32_t max,
                void* buffer, std::int32_t* length, std::int32_t* done) {
  return put(database, &memo::Driver::get, reference, offset, max, buffer, length, done);
}

Result memo_size(Database& database, const char* reference, std::int32_t* length) {
  return put(database, &memo::Driver::size, reference, length);
}

Result memo_type(Database& database, const char* reference, std::int32_t* type) {
  return put(database, &memo::Driver::type, reference, type);
}

Result memo_memory(VqBlock& block, const char* name, std::int32_t& size) {
  const auto memory_use = memo::driver(memo_column(block)).memory_use;
  if (memory_use == nullptr) return Result::no_driver;
  const std::int32_t answer = memory_use(block, name);
  if (answer < 0) return static_cast<Result>(answer);
  size = answer;
  return Result::ok;
}

Result compact_memos(VqBlock& block, const char* name) {
  const auto compact = memo::driver(compaction_column(block)).compact;
  return compact != nullptr ? compact(block, name) : Result::no_driver;
}

}  // namespace vqdb::api
