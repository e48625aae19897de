#include "index/driver_table.h"

#include <array>

#include "index/mdx/mdx_build.h"
#include "index/mdx/mdx_describe.h"
#include "index/mdx/mdx_file.h"
#include "index/ndx/ndx_build.h"
#include "index/ndx/ndx_describe.h"
#include "index/ndx/ndx_open.h"
#include "index/open/index_file.h"
#include "index/open/key_place.h"
#include "index/open/key_tree.h"

namespace vqdb::index {
namespace {

// Of an MDX file, for handles of the wrong kind.
constexpr Operation kExpression{105};
constexpr Operation kExpressionLength{106};
constexpr Operation kKeyLength{111};
constexpr Operation kKeyType{112};
constexpr Operation kList{128};
constexpr Operation kSortedList{129};

NdxFile& ndx(Index& index) { return static_cast<NdxFile&>(index); }
MdxFile& mdx(Index& index) { return static_cast<MdxFile&>(index); }
MdxTag& tag(Index& index) { return static_cast<MdxTag&>(index); }

// A file of tags has no key, and a tag has no tags: whoever asks has the wrong handle.
Result refuse(Index& index, Operation operation) {
  return fail(index.block, Result::bad_handle, operation.bad_handle());
}

// The rows that work on a handle's file or tree, whatever its kind.
constexpr Driver with_common_rows(Driver column) {
  column.flush = [](Index& index) { return index.index_file().flush(); };
  column.putkey = [](Index& index, const void* key, std::uint32_t recno, bool bracketed) {
    return put_key(index.key_tree(), key, recno, bracketed);
  };
  column.rmkey = [](Index& index, const void* key, std::uint32_t recno, bool bracketed) {
    return remove_key(index.key_tree(), key, recno, bracketed);
  };
  column.getrno = [](Index& index, const void* key, std::uint32_t* recno) {
    return find_record(index.key_tree(), key, recno);
  };
  column.nxtkey = [](Index& index, void* key, std::uint32_t* recno) {
    return next_key(index.key_tree(), key, recno);
  };
  column.prvkey = [](Index& index, void* key, std::uint32_t* recno) {
    return previous_key(index.key_tree(), key, recno);
  };
  column.curkey = [](Index& index, void* key, std::uint32_t* recno) {
    return current_key(index.key_tree(), key, recno);
  };
  column.rewind = [](Index& index) {
    rewind(index.key_tree());
    return Result::ok;
  };
  column.forwrd = [](Index& index) {
    forward(index.key_tree());
    return Result::ok;
  };
  column.keylen = [](Index& index) {
    if (!index.has_keys()) return code(refuse(index, kKeyLength));
    return static_cast<std::int32_t>(index.key_tree().key_length());
  };
  column.keytyp = [](Index& index) {
    if (!index.has_keys()) return code(refuse(index, kKeyType));
    return std::int32_t{index.key_tree().key_type};
  };
  return column;
}

constexpr Driver kNdx = with_common_rows({
    .open = [](table::Table& context, const char* name, std::uint32_t mode,
               std::int32_t buffers) -> Index* { return open_ndx(context, name, mode, buffers); },
    .close = [](Index& index) { return close_ndx(ndx(index)); },
    .actidx = nullptr,
    .deaidx = nullptr,
    .flush = nullptr,
    .expr = [](Index& index, char* text, std::int32_t size,
               std::int32_t* flags) { return key_expression(ndx(index), text, size, flags); },
    .listag = nullptr,
    .sortag = nullptr,
    .tags = nullptr,
    .putkey = nullptr,
    .rmkey = nullptr,
    .getrno = nullptr,
    .nxtkey = nullptr,
    .prvkey = nullptr,
    .curkey = nullptr,
    .rewind = nullptr,
    .forwrd = nullptr,
    .explen = [](Index& index, std::int32_t* length,
                 std::int32_t* flags) { return key_expression_length(ndx(index), length, flags); },
    .keylen = nullptr,
    .keytyp = nullptr,
});

constexpr Driver kMdx = with_common_rows({
    .open = [](table::Table& context, const char* name, std::uint32_t mode,
               std::int32_t buffers) -> Index* { return open_mdx(context, name, mode, buffers); },
    .close = [](Index& index) { return close_mdx(mdx(index)); },
    .actidx = [](Index& index, const char* name) -> Index* {
      return activate_tag(mdx(index), name);
    },
    .deaidx = [](Index& index) { return deactivate_tag(tag(index)); },
    .flush = nullptr,
    .expr =
        [](Index& index, char* text, std::int32_t size, std::int32_t* flags) {
          return index.has_keys() ? tag_expression(tag(index), text, size, flags)
                                  : refuse(index, kExpression);
        },
    .listag =
        [](Index& index, void* list) {
          return index.has_keys() ? refuse(index, kList) : list_tags(mdx(index), list, false);
        },
    .sortag =
        [](Index& index, void* list) {
          return index.has_keys() ? refuse(index, kSortedList) : list_tags(mdx(index), list, true);
        },
    .tags = [](Index& index) { return count_tags(mdx(index)); },
    .putkey = nullptr,
    .rmkey = nullptr,
    .getrno = nullptr,
    .nxtkey = nullptr,
    .prvkey = nullptr,
    .curkey = nullptr,
    .rewind = nullptr,
    .forwrd = nullptr,
    .explen =
        [](Index& index, std::int32_t* length, std::int32_t* flags) {
          return index.has_keys() ? tag_expression_length(tag(index), length, flags)
                                  : refuse(index, kExpressionLength);
        },
    .keylen = nullptr,
    .keytyp = nullptr,
});

Result enter_for_change(IndexFile& file) {
  if (const Result result = file.enter(Purpose::changing); !ok(result)) return result;
  const Result result = file.check_whole();
  if (ok(result)) return result;
  static_cast<void>(file.leave());
  return file.check_whole();
}

constexpr Bracket kBracket = {
    .enter = [](Index& index) { return enter_for_change(index.index_file()); },
    .leave = [](Index& index) { return index.index_file().leave(); },
    .look = [](Index& index) { return index.index_file().enter(Purpose::changing); },
    .identity = [](const Index& index) { return index.index_file().identity; },
    .updkey =
        [](Index& index, const void* old_key, const void* new_key, std::uint32_t recno,
           bool bracketed) {
          return update_key(index.key_tree(), old_key, new_key, recno, bracketed);
        },
    .putat = put_key_at,
    .nxtkeys =
        [](Index& index, std::uint32_t count, void* keys, std::uint32_t* recnos,
           std::uint32_t& got) { return next_keys(index.key_tree(), count, keys, recnos, got); },
    .datek = nullptr,
    .haskey = [](Index& index, const void* key, std::uint32_t recno,
                 bool* has) { return holds_entry(index.key_tree(), key, recno, *has); },
    .tagst = nullptr,
};

constexpr Bracket kMdxBracket = [] {
  Bracket bracket = kBracket;
  bracket.tagst = [](Index& index) { return mdx(index).store.tag_state(); };
  return bracket;
}();

// A file of the dBASE III form calls dates numbers.
constexpr Bracket kNdxBracket = [] {
  Bracket bracket = kBracket;
  bracket.datek = [](Index& index) {
    if (ndx(index).flags == ndx_flag::kNdx3) index.key_tree().key_type = 'D';
  };
  return bracket;
}();

template <std::uint32_t kForm>
Result build(table::Table& table, const BuildRequest& request) {
  const std::uint32_t options = request.options & build_option::kUnique;
  return build_ndx(table, request.name, request.key, options | kForm);
}

Result rebuild(table::Table& table, const char* name) { return rebuild_ndx(table, name); }

TagRequest tag_request(const BuildRequest& request) {
  const char* const name = request.tag != nullptr ? request.tag : "";
  return {name, request.key, nullptr, request.filter, request.options};
}

Result build_tag(table::Table& table, const BuildRequest& request) {
  return build_mdx(table, request.name, tag_request(request));
}

Result rebuild_tags(table::Table& table, const char* name) { return rebuild_mdx(table, name); }

Result add_open_tag(Index& file, const BuildRequest& request) {
  return add_tag(mdx(file), tag_request(request));
}

constexpr Builder kMdxBuilder = {build_tag, rebuild_tags, add_open_tag};
constexpr Builder kNdxBuilder = {build<0>, rebuild, nullptr};
constexpr Builder kNdx3Builder = {build<build_option::kNdx3>, rebuild, nullptr};

constexpr Driver kEmpty = {};
constexpr Bracket kEmptyBracket = {};
constexpr Builder kEmptyBuilder = {};

// MDX, NDX, NDX3, FOXIDX, FOXCDX, CLIPNTX and two to spare.
constexpr std::array<const Driver*, kDriverColumns> kColumns = {&kMdx,   &kNdx,   &kNdx,   &kEmpty,
                                                                &kEmpty, &kEmpty, &kEmpty, &kEmpty};

constexpr std::array<const Bracket*, kDriverColumns> kBrackets = {
    &kMdxBracket,   &kNdxBracket,   &kNdxBracket,   &kEmptyBracket,
    &kEmptyBracket, &kEmptyBracket, &kEmptyBracket, &kEmptyBracket};

constexpr std::array<const Builder*, kDriverColumns> kBuilders = {
    &kMdxBuilder,   &kNdxBuilder,   &kNdx3Builder,  &kEmptyBuilder,
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
