#include "index/driver_table.h"

#include <array>

#include "index/ndx_build.h"
#include "index/ndx_describe.h"
#include "index/ndx_keys.h"
#include "index/ndx_open.h"
#include "index/ndx_sharing.h"

namespace vqdb::index {
namespace {

NdxFile& ndx(Index& index) { return static_cast<NdxFile&>(index); }

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
                 bool bracketed) { return put_key(ndx(index), key, recno, bracketed); },
    .rmkey = [](Index& index, const void* key, std::uint32_t recno,
                bool bracketed) { return remove_key(ndx(index), key, recno, bracketed); },
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

constexpr Bracket kNdxBracket = {
    .enter = [](Index& index) { return enter(ndx(index)); },
    .leave = [](Index& index) { return leave(ndx(index)); },
    .identity = [](const Index& index) { return static_cast<const NdxFile&>(index).identity; },
    .updkey =
        [](Index& index, const void* old_key, const void* new_key, std::uint32_t recno,
           bool bracketed) { return update_key(ndx(index), old_key, new_key, recno, bracketed); },
    .haskey = [](Index& index, const void* key, std::uint32_t recno,
                 bool* has) { return holds_entry(ndx(index), key, recno, *has); },
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
constexpr Bracket kEmptyBracket = {};
constexpr Builder kEmptyBuilder = {};

// MDX, NDX, NDX3, FOXIDX, FOXCDX, CLIPNTX and two to spare.
constexpr std::array<const Driver*, kDriverColumns> kColumns = {&kEmpty, &kNdx,   &kNdx,   &kEmpty,
                                                                &kEmpty, &kEmpty, &kEmpty, &kEmpty};

constexpr std::array<const Bracket*, kDriverColumns> kBrackets = {
    &kEmptyBracket, &kNdxBracket,   &kNdxBracket,   &kEmptyBracket,
    &kEmptyBracket, &kEmptyBracket, &kEmptyBracket, &kEmptyBracket};

constexpr std::array<const Builder*, kDriverColumns> kBuilders = {
    &kEmptyBuilder, &kNdxBuilder,   &kNdx3Builder,  &kEmptyBuilder,
    &kEmptyBuilder, &kEmptyBuilder, &kEmptyBuilder, &kEmptyBuilder};

}  // namespace

const Driver& driver(std::uint32_t column) {
  return column < kColumns.size() ? *kColumns[column] : kEmpty;
}

const Bracket& bracket(std::uint32_t column) {
  return column < kBrackets.size() ? *kBrackets[column] : kEmptyBracket;
}

const Builder& builder(std::uint32_t column) {
  return column < kBuilders.size() ? *kBuilders[column] : kEmptyBuilder;
}

}  // namespace vqdb::index
