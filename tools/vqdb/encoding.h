// The code page of a table's texts.
#ifndef VQDB_ENCODING_H_
#define VQDB_ENCODING_H_

#include <array>
#include <memory>
#include <string>
#include <string_view>

#include "converter.h"

namespace tool {

class Encoding {
 public:
  // Ends the command (wrong usage) when nobody knows a code page of this name. `source` says where
  // the name comes from.
  Encoding(std::string_view name, std::string source);

  const std::string& name() const { return name_; }
  const std::string& source() const { return source_; }

  // Appends the text as UTF-8. Returns how many bytes could be read, all of them when `replace` is
  // set: what cannot be read then becomes U+FFFD.
  std::size_t decode(std::string_view bytes, bool replace, std::string& out) const;
  // The UTF-8 text in this code page; false when it has characters that the code page lacks.
  bool encode(std::string_view utf8, std::string& out) const;

 private:
  void learn_single_bytes();

  std::string name_;
  std::string source_;
  std::unique_ptr<Converter> converter_;
  bool is_utf8_;
  // What each byte stands for by itself; empty for none. In a code page where bytes stand together
  // the converter does the work.
  bool is_single_byte_ = false;
  std::array<std::string, 256> characters_;
};

bool is_ascii(std::string_view bytes);
// How many bytes from the start are whole UTF-8 characters.
std::size_t valid_utf8(std::string_view bytes);

}  // namespace tool

#endif  // VQDB_ENCODING_H_
