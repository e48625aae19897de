// The names that tables and people give to code pages.
#ifndef VQDB_CODE_PAGES_H_
#define VQDB_CODE_PAGES_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

// The code page that the language byte of a table's header stands for; empty for 0 and for a byte
// that stands for none.
std::string_view code_page_of_language(std::uint8_t language);
// The language byte for a code page, 0 when there is none.
std::uint8_t language_of_code_page(std::string_view name);

// One spelling for the many of one code page: "cp1252", "Windows-1252" and "ANSI 1252" are 1252,
// "88591" is ISO-8859-1.
std::string plain_code_page(std::string_view name);

}  // namespace tool

#endif  // VQDB_CODE_PAGES_H_
