// The index-list file: a text beside each table, one line an index, from which a group of indexes
// is opened again. Lines read "NDX=name" and end in CR LF.
#ifndef VQDBSYS_API_INDEX_LIST_H_
#define VQDBSYS_API_INDEX_LIST_H_

#include <cstdint>
#include <span>
#include <string_view>

#include "api/memory.h"
#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::api {

// The specifications that an open is given: an array, or a chain through their next field.
class SpecWalk {
 public:
  static constexpr std::uint32_t kArray = VQ_SPECS_ARRAY;
  static constexpr std::uint32_t kChain = VQ_SPECS_CHAIN;

  SpecWalk(VqIndexSpec* first, std::int32_t count, std::uint32_t options)
      : at_(first), left_(count), chained_((options & kChain) != 0) {}

  // The next specification; null behind the last.
  VqIndexSpec* next();

 private:
  VqIndexSpec* at_;
  std::int32_t left_;
  bool chained_;
};

// Writes the list of the table unless there is no specification. It never fails visibly: a list
// that cannot be written whole is removed. A file that says the same already is left alone.
void write_index_list(const char* table_name, SpecWalk specs);

struct Token {
  std::uint16_t code = 0;
  Text text;  // names only
};

// Reads the tokens of one line, at most tokens.size(). The count goes to `read`: 0 for a line of
// blanks. A line that ends after 1 to `least` tokens gives -28, detail 6311; no memory for a name
// -14, detail 6312.
Result parse_tokens(VqBlock& block, std::string_view line, std::size_t least,
                    std::span<Token> tokens, std::size_t& read);

// Specifications read from a list, chained in its order.
class SpecChain {
 public:
  SpecChain() = default;
  ~SpecChain();
  SpecChain(const SpecChain&) = delete;
  SpecChain& operator=(const SpecChain&) = delete;

  // Takes the name over. False without memory.
  [[nodiscard]] bool append(std::uint32_t kind, Text name, std::int32_t parameter);

  VqIndexSpec* first() const { return first_ != nullptr ? &first_->spec : nullptr; }
  std::int32_t count() const { return count_; }

 private:
  struct Link {
    VqIndexSpec spec;
    Text name;
    Link* next = nullptr;
  };

  Link* first_ = nullptr;
  Link* last_ = nullptr;
  std::int32_t count_ = 0;
};

// Reads the list of the table; a list that does not exist leaves the chain empty. Details 6301 to
// 6308.
Result read_index_list(VqBlock& block, const char* table_name, SpecChain& specs);

}  // namespace vqdb::api

#endif  // VQDBSYS_API_INDEX_LIST_H_
