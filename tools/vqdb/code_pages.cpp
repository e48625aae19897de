#include "code_pages.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace tool {
namespace {

struct Language {
  std::uint8_t byte;
  std::string_view page;
};

// The first byte of a page is the one that is written for it.
constexpr std::array<Language, 63> kLanguages = {{
    {0x01, "437"},  {0x02, "850"},  {0x03, "1252"},         {0x04, "MACINTOSH"}, {0x08, "865"},
    {0x09, "437"},  {0x0A, "850"},  {0x0B, "437"},          {0x0D, "437"},       {0x0E, "850"},
    {0x0F, "437"},  {0x10, "850"},  {0x11, "437"},          {0x12, "850"},       {0x7B, "932"},
    {0x13, "932"},  {0x14, "850"},  {0x15, "437"},          {0x16, "850"},       {0x17, "865"},
    {0x18, "437"},  {0x19, "437"},  {0x1A, "850"},          {0x1B, "437"},       {0x1C, "863"},
    {0x1D, "850"},  {0x64, "852"},  {0x1F, "852"},          {0x22, "852"},       {0x23, "852"},
    {0x24, "860"},  {0x25, "850"},  {0x65, "866"},          {0x26, "866"},       {0x37, "850"},
    {0x40, "852"},  {0x7A, "936"},  {0x4D, "936"},          {0x79, "949"},       {0x4E, "949"},
    {0x78, "950"},  {0x4F, "950"},  {0x50, "874"},          {0x57, "1252"},      {0x58, "1252"},
    {0x59, "1252"}, {0x66, "865"},  {0x67, "861"},          {0x6A, "737"},       {0x6B, "857"},
    {0x6C, "863"},  {0x7C, "874"},  {0x7D, "1255"},         {0x7E, "1256"},      {0x86, "737"},
    {0x87, "852"},  {0x88, "857"},  {0x96, "MAC-CYRILLIC"}, {0xC8, "1250"},      {0xC9, "1251"},
    {0xCA, "1254"}, {0xCB, "1253"}, {0xCC, "1257"},
}};

bool is_digit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::string_view code_page_of_language(std::uint8_t language) {
  const auto* const found = std::ranges::find(kLanguages, language, &Language::byte);
  return found != kLanguages.end() ? found->page : std::string_view();
}

std::uint8_t language_of_code_page(std::string_view name) {
  const auto* const found = std::ranges::find(kLanguages, name, &Language::page);
  return found != kLanguages.end() ? found->byte : std::uint8_t{0};
}

std::string plain_code_page(std::string_view name) {
  std::string plain;
  for (const char c : name) {
    plain += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  const auto is_space = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  while (!plain.empty() && is_space(plain.back())) plain.pop_back();
  plain.erase(0,
              static_cast<std::size_t>(std::ranges::find_if_not(plain, is_space) - plain.begin()));
  if (plain.starts_with("\xEF\xBB\xBF")) plain.erase(0, 3);
  if (plain == "UTF8" || plain == "65001" || plain == "CP65001") return "UTF-8";
  if (plain == "BIG5" || plain == "BIG-5") return "950";
  if (plain == "SJIS" || plain == "SHIFT-JIS") return "SHIFT_JIS";
  for (const std::string_view prefix :
       {"ANSI ", "OEM ", "CP", "IBM", "WINDOWS-", "WINDOWS", "WIN", "DOS"}) {
    if (!plain.starts_with(prefix) || plain.size() == prefix.size()) continue;
    const std::string rest = plain.substr(prefix.size());
    if (std::ranges::all_of(rest, is_digit)) return rest;
  }
  // ISO 8859-1 is also written 88591, 8859_1 and ISO88591.
  std::string digits = plain.starts_with("ISO") ? plain.substr(3) : plain;
  std::erase_if(digits, [](char c) { return c == ' ' || c == '-' || c == '_'; });
  if (digits.size() >= 5 && digits.size() <= 6 && digits.starts_with("8859") &&
      std::ranges::all_of(digits, is_digit)) {
    return "ISO-8859-" + digits.substr(4);
  }
  return plain;
}

}  // namespace tool
