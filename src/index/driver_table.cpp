#include "index/driver_table.h"

#include <array>

#include "index/ndx_build.h"
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

template <std::uint32_t kForm>
Result build(table::Table& table, const BuildRequest& request) {
  const std::uint32_t options = request.options & build_option::kUnique;
  return build_ndx(table, request.name, request.key, options | kForm);
}

Result rebuild(table::Table& table, const char* name) { return rebuild_ndx(table, name); }

constexpr Builder kNdxBuilder = {build<0>, rebuild};
constexpr Builder kNdx3Builder = {build<build_option::kNdx3>, rebuild};

constexpr Driver kEmpty = {};
constexpr Builder kEmptyBuilder = {};

// MDX, NDX, NDX3, FOXIDX, FOXCDX, CLIPNTX and two to spare.
constexpr std::array<const Driver*, kDriverColumns> kColumns = {&kEmpty, &kNdx,   &kNdx,   &kEmpty,
                                                                &kEmpty, &kEmpty, &kEmpty, &kEmpty};

constexpr std::array<const Builder*, kDriverColumns> kBuilders = {
    &kEmptyBuilder, &kNdxBuilder,   &kNdx3Builder,  &kEmptyBuilder,
    &kEmptyBuilder, &kEmptyBuilder, &kEmptyBuilder, &kEmptyBuilder};

}  // namespace

const Driver& driver(std::uint32_t column) {
  return column < kColumns.size() ? *kColumns[column] : kEmpty;
}

const Builder& builder(std::uint32_t column) {
  return column < kBuilders.size() ? *kBuilders[column] : kEmptyBuilder;
}

}  // namespace vqdb::index
