// Dates as fields hold them (YYYYMMDD, or blanks) and as texts in the date format of the block.
#ifndef VQDBSYS_CONVERT_DATES_H_
#define VQDBSYS_CONVERT_DATES_H_

#include <optional>
#include <string>
#include <string_view>

#include "convert/calendar.h"
#include "vqdbsys.h"

namespace vqdb::convert {

inline constexpr std::size_t kDateFieldWidth = 8;
// The last year that a field or a date text can hold.
inline constexpr std::int32_t kLastWrittenYear = 9999;

// Three integers of an 8-byte date field; blanks give kBlankDate. Not validated.
Date read_date_field(const char* field);
// The day number of an 8-byte date field; nothing when it is blank or no valid date.
std::optional<std::int32_t> day_of_field(const char* field);
// Writes 8 bytes; kBlankDate gives blanks. REQUIRES a valid date up to kLastWrittenYear, or
// kBlankDate.
void write_date_field(const Date& date, char* field);

// A date text's width in the format and century setting in force: 8 or 10.
std::size_t date_text_width(const VqBlock& block);
// Writes date_text_width(block) characters. A day number below 1 is the empty date: blanks between
// the separators of the format; a year behind kLastWrittenYear gives stars.
void write_date_text(const VqBlock& block, std::int32_t day_number, char* text);
// The day number of a date text in the format in force; two-digit years read as 19yy. Nothing when
// it is no valid date (an empty date included).
std::optional<std::int32_t> parse_date_text(const VqBlock& block, std::string_view text);

}  // namespace vqdb::convert

#endif  // VQDBSYS_CONVERT_DATES_H_
