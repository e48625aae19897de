// Any text as an expression, under some dialect and settings, over a table with a field of every
// type and any bytes for a record.

#include <array>
#include <string_view>

#include "folder.h"
#include "vqdbsys.h"

namespace {

using vqdb::fuzz::Folder;
using vqdb::fuzz::Input;
using vqdb::fuzz::take_byte;

constexpr std::array<std::uint32_t, 7> kDialects = {1, 2, 4, 7, 8, 32776, 16};
constexpr std::array<std::uint32_t, 6> kKeyForms = {0x01, 0x11, 0x21, 0x101, 0x201, 0x401};
constexpr std::array<std::int32_t, 5> kLimits = {0, 1, 8, 20, 254};
constexpr std::int32_t kDefaultLimit = 1000;
constexpr std::int32_t kLongestNumber = 12;

// What a byte above 127 stands for, so that meaningful expressions are soon found.
constexpr auto kWords =
    std::to_array<std::string_view>({"NAME",       "CITY",
                                     "AMOUNT",     "RATE",
                                     "DUE",        "ACTIVE",
                                     "NOTES",      "BLOB",
                                     "FIELD->",    " .AND. ",
                                     " .OR. ",     " .NOT. ",
                                     " AND ",      ".T.",
                                     ".F.",        "<>",
                                     "<=",         ">=",
                                     "==",         "!=",
                                     "**",         "{01/01/95}",
                                     "{}",         "'text'",
                                     "''",         "'  a text of more than 20  '",
                                     "1.5",        "1E300",
                                     "-1",         "ABS(",
                                     "ACOS(",      "ASC(",
                                     "ASIN(",      "AT(",
                                     "ATAN(",      "ATN2(",
                                     "CDOW(",      "CEILING(",
                                     "CHR(",       "CMONTH(",
                                     "COS(",       "CTOD(",
                                     "DATE()",     "DAY(",
                                     "DELETED()",  "DIFFERENCE(",
                                     "DMY(",       "DOW(",
                                     "DTOC(",      "DTOR(",
                                     "DTOS(",      "EXP(",
                                     "FIELD(",     "FILE(",
                                     "FLOOR(",     "FV(",
                                     "IIF(",       "INT(",
                                     "ISALPHA(",   "ISLOWER(",
                                     "ISUPPER(",   "LEFT(",
                                     "LEN(",       "LOG(",
                                     "LOG10(",     "LOWER(",
                                     "LTRIM(",     "MAX(",
                                     "MDY(",       "MIN(",
                                     "MOD(",       "MONTH(",
                                     "PAYMENT(",   "PI()",
                                     "PV(",        "RAND()",
                                     "RECCOUNT()", "RECNO()",
                                     "RECSIZE()",  "REPLICATE(",
                                     "RIGHT(",     "ROUND(",
                                     "RTOD(",      "RTRIM(",
                                     "SIGN(",      "SIN(",
                                     "SOUNDEX(",   "SPACE(",
                                     "SQRT(",      "STR(",
                                     "STUFF(",     "SUBSTR(",
                                     "TAN(",       "TIME()",
                                     "TRIM(",      "UPPER(",
                                     "VAL(",       "YEAR(",
                                     "ALLTRIM(",   "CHRTRAN(",
                                     "EMPTY(",     "PROPER(",
                                     "PADC(",      "PADL(",
                                     "PADR("});

VqTable* open_table(const Folder& folder, VqBlock& block) {
  const char* const fields[] = {"NAME", "C10", "CITY",   "C40", "AMOUNT", "N12.2", "RATE", "F8.3",
                                "DUE",  "D",   "ACTIVE", "L",   "NOTES",  "M",     "BLOB", "B"};
  block.kind = 4;
  const std::string name = folder.file("T.DBF");
  if (dDcreat(&block, name.c_str(), 8, fields) != 0) std::abort();
  return dDopen(&block, name.c_str(), 0, 1);
}

template <typename T, std::size_t n>
T choose(Input& input, const std::array<T, n>& from) {
  return from[take_byte(input) % n];
}

std::string take_text(Input& input, bool in_words) {
  std::string text;
  for (std::uint8_t byte = take_byte(input); byte != 0; byte = take_byte(input)) {
    if (in_words && byte >= 128) {
      text += kWords[(byte - 128U) % kWords.size()];
    } else {
      text += static_cast<char>(byte);
    }
  }
  return text;
}

void run(VqBlock& block, VqExpr* expr, const void* record, std::uint32_t options,
         std::int32_t max) {
  const std::int32_t limit = std::max(max < 1 ? kDefaultLimit : max, kLongestNumber);
  // A text has a terminator behind its limit; a key has not.
  std::vector<char> buffer(static_cast<std::size_t>(limit) + (options == 0 ? 1U : 0U));
  std::int32_t length = -1;
  const std::int32_t result = dErun(&block, expr, record, options, max, buffer.data(), &length);
  if (result > 0 || (result == 0 && (length < 0 || length > limit))) std::abort();
  if (result < 0 && block.detail == 0) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const Folder folder;
  static VqBlock block = {};
  static VqTable* const table = open_table(folder, block);

  Input input(data, size);
  block.kind = choose(input, kDialects);
  block.detail = 0;
  const std::uint8_t settings = take_byte(input);
  dUsetexact(&block, settings & 1);
  dUsetcent(&block, settings >> 1 & 1);
  dUsetdate(&block, settings >> 2 & 7);
  const bool bound = (settings & 32) == 0;
  const bool in_words = (settings & 64) == 0;
  const std::uint32_t key_form = choose(input, kKeyForms);
  const std::int32_t max = choose(input, kLimits);
  const std::string text = take_text(input, in_words);

  std::vector<char> record(static_cast<std::size_t>(dDreclen(table)), ' ');
  std::copy_n(input.begin(), std::min(input.size(), record.size()), record.begin());

  VqExpr* expr = nullptr;
  char type = 0;
  std::int32_t length = 0;
  const std::int32_t result =
      dEparse(&block, text.c_str(), bound ? table : VQ_NO_TABLE, &expr, &type, &length);
  if ((result == 0) != (expr != nullptr) || (result != 0 && block.detail == 0)) std::abort();
  if (result != 0) return 0;
  run(block, expr, record.data(), 0, max);
  run(block, expr, record.data(), key_form, max);
  run(block, expr, nullptr, 0, max);
  dEfree(expr);
  return 0;
}
