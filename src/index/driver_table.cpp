#include "index/driver_table.h"

#include <array>

#include "index/ndx_describe.h"
#include "index/ndx_keys.h"
#include "index/ndx_open.h"

namespace vqdb::index {
namespace {

NdxFile& ndx(Index& index) { return static_cast<NdxFile&>(index); }

// A shared file cannot be worked on outside its lock, so every change runs inside the refresh and
// release steps; where the caller holds the lock, they do nothing by themselves.
constexpr Driver kNdx = {
    .open = [](table::Table& context, const char* name, std::uint32_t mode,
               std::int32_t buffers) -> Index* { return open_ndx(context, name, mode, buffers); },
    .close = [](Index& index) { return close_ndx(ndx(index)); },
    .actidx = nullptr,
    .deaidx = nullptr,
    .flush = [](Index& index) { return flush_ndx(ndx(index)); },
    .expr = [](Index& index, char* text, std::int32_t size,
               std::int32_t* flags) { return key_expression(ndx(index), text, size, flags); },
    .listag = nullptr,
    .sortag = nullptr,
    .tags = nullptr,
    .putkey = [](Index& index, const void* key, std::uint32_t recno,
                 bool) { return put_key(ndx(index), key, recno); },
    .rmkey = [](Index& index, const void* key, std::uint32_t recno,
                bool) { return remove_key(ndx(index), key, recno); },
    .getrno = [](Index& index, const void* key,
                 std::uint32_t* recno) { return find_record(ndx(index), key, recno); },
    .nxtkey = [](Index& index, void* key,
                 std::uint32_t* recno) { return next_key(ndx(index), key, recno); },
    .prvkey = [](Index& index, void* key,
                 std::uint32_t* recno) { return previous_key(ndx(index), key, recno); },
    .curkey = [](Index& index, void* key,
                 std::uint32_t* recno) { return current_key(ndx(index), key, recno); },
    .rewind =
        [](Index& index) {
          rewind(ndx(index));
          return Result::ok;
        },
    .forwrd =
        [](Index& index) {
          forward(ndx(index));
          return Result::ok;
        },
    .explen = [](Index& index, std::int32_t* length,
                 std::int32_t* flags) { return key_expression_length(ndx(index), length, flags); },
    .keylen = [](Index& index) { return static_cast<std::int32_t>(ndx(index).key_length()); },
    .keytyp = [](Index& index) { return static_cast<std::int32_t>(ndx(index).key_type); },
};

constexpr Driver kEmpty = {};

// MDX, NDX, NDX3, FOXIDX, FOXCDX, CLIPNTX and two to spare.
constexpr std::array<const Driver*, kDriverColumns> kColumns = {&kEmpty, &kNdx,   &kNdx,   &kEmpty,
                                                                &kEmpty, &kEmpty, &kEmpty, &kEmpty};

}  // namespace

const Driver& driver(std::uint32_t column) {
  return column < kColumns.size() ? *kColumns[column] : kEmpty;
}

}  // namespace vqdb::index
