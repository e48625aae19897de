#include "memo/driver_table.h"

#include <array>

#include "memo/compaction.h"
#include "memo/dbase3_memo.h"
#include "memo/dbase4_file.h"
#include "memo/dbase4_memo.h"

namespace vqdb::memo {
namespace {

Result rewrite_dbase3(Memo& memo, std::int32_t, const void* text, char* reference,
                      std::int32_t* moved) {
  return write_dbase3(memo, text, reference, moved);
}

Result new_dbase3(Memo& memo, std::int32_t, const void* text, char* reference) {
  return write_dbase3(memo, text, reference, nullptr);
}

Result get_whole_dbase3(Memo& memo, const char* reference, std::int32_t, std::int32_t, void* buffer,
                        std::int32_t* length, std::int32_t* done) {
  return get_dbase3(memo, reference, buffer, length, done);
}

// Every memo is a text.
Result type_of_memo(Memo&, const char*, std::int32_t* type) {
  *type = VQ_MEMO_TYPE_TEXT;
  return Result::ok;
}

constexpr std::array<Driver, kDriverColumns> kDrivers = {{
    {
        .create = create_dbase4,
        .open = open_dbase4,
        .close = close_dbase4,
        .add = add_dbase4,
        .update = update_dbase4,
        .create_memo = new_dbase4,
        .get = get_dbase4,
        .memory_use = memory_use,
        .size = size_dbase4,
        .type = type_of_memo,
        .compact = compact,
    },
    {
        .create = create_dbase3,
        .open = open_dbase3,
        .close = close_dbase3,
        .add = rewrite_dbase3,
        .update = rewrite_dbase3,
        .create_memo = new_dbase3,
        .get = get_whole_dbase3,
        .memory_use = memory_use,
        .size = size_dbase3,
        .type = type_of_memo,
        .compact = compact,
    },
    {},
    {},
}};

}  // namespace

const Driver& driver(std::uint32_t column) { return kDrivers[column]; }

}  // namespace vqdb::memo
