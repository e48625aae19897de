// The index-list file: a text beside each table, one line an index, from which a group of indexes
// is opened again. Lines read "NDX=name" and end in CR LF.
#ifndef VQDBSYS_API_INDEX_LIST_H_
#define VQDBSYS_API_INDEX_LIST_H_

#include <cstdint>
#include <functional>
#include <list>
#include <span>
#include <string>
#include <string_view>

#include "api/memory.h"
#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// The descriptions that an open is given: an array, or a chain through their next field.
class SpecWalk {
 public:
  static constexpr std::uint32_t kArray = VQ_SPECS_ARRAY;
  static constexpr std::uint32_t kChain = VQ_SPECS_CHAIN;

  SpecWalk(VqIndexSpec* first, std::int32_t count, std::uint32_t options)
      : at_(first), left_(count), chained_((options & kChain) != 0) {}

  // The next description; null behind the last.
  VqIndexSpec* next();

 private:
  VqIndexSpec* at_;
  std::int32_t left_;
  bool chained_;
};

// Whether a list can hold the name so that it reads back: it is not empty, has no blank, tab, "="
// or line end in it, and is no keyword.
bool is_listable(std::string_view name);

// Adds the line of an index to the text of a list; a kind that has no line adds none. False for a
// name that a list cannot hold.
[[nodiscard]] bool add_line(std::string& list, std::uint32_t kind, std::string_view name);

// The list of a table is changed as a whole and in one step of the system, and while nobody else
// changes it. A list is marked while its table is packed, since its indexes may hold record numbers
// of before; the mark is a first line that is none of an index. Only mark_index_list() changes a
// marked list.

// Makes the list say this text; without a text there is no list. It never fails visibly: where the
// new list cannot be written there is none. A file that says the same already is left alone.
void write_index_list(const char* table_name, std::string_view text);

// Makes of the list's text what `edit` makes of it; without a text there is no list. False when
// that fails, `edit` says so or the list is marked; the list is then what it was.
[[nodiscard]] bool edit_index_list(const char* table_name,
                                   const std::function<bool(std::string& text)>& edit);

bool is_marked(const char* table_name);
// Sets or takes away the mark. False when that fails.
[[nodiscard]] bool mark_index_list(const char* table_name, bool marked);

struct Token {
  std::uint16_t code = 0;
  Text text;  // names only
};

// Reads the tokens of one line, at most tokens.size(). The count goes to `read`: 0 for a line of
// blanks. A line that ends after 1 to `least` tokens gives -28, detail 6311; no memory for a name
// -14, detail 6312.
Result parse_tokens(VqBlock& block, std::string_view line, std::size_t least,
                    std::span<Token> tokens, std::size_t& read);

// A line of a list as a description, chained to the next.
struct ListedIndex {
  Text name;
  VqIndexSpec spec = {};
};
using ListedIndexes = std::list<ListedIndex, PlatformAllocator<ListedIndex>>;

// Reads the list of the table, past its mark; there are none without a list. Details 6301 to
// 6308.
Result read_index_list(VqBlock& block, const char* table_name, ListedIndexes& indexes);
// Reads the lines of a list without a mark. Details 6306 to 6308, 6311, 6312.
Result parse_index_list(VqBlock& block, std::string_view text, ListedIndexes& indexes);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_INDEX_LIST_H_
