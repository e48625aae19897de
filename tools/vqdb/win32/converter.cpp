#include "converter.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

namespace tool {
namespace {

struct NamedPage {
  std::string_view name;
  UINT page;
};
constexpr std::array<NamedPage, 9> kNames = {{{"UTF-8", CP_UTF8},
                                              {"UTF8", CP_UTF8},
                                              {"ISO-8859-1", 28591},
                                              {"ISO-8859-2", 28592},
                                              {"ISO-8859-5", 28595},
                                              {"ISO-8859-15", 28605},
                                              {"KOI8-R", 20866},
                                              {"MACINTOSH", 10000},
                                              {"SHIFT_JIS", 932}}};

// Nothing when the text has a character that the page does not have, either way.
bool convert(std::string_view bytes, UINT from, UINT to, std::string& out) {
  if (bytes.empty()) return true;
  const auto length = static_cast<int>(bytes.size());
  std::vector<wchar_t> wide(bytes.size());
  const int units = ::MultiByteToWideChar(from, MB_ERR_INVALID_CHARS, bytes.data(), length,
                                          wide.data(), static_cast<int>(wide.size()));
  if (units == 0) return false;
  // What the Windows pages leave out, the system reads as control characters.
  const bool has_gaps = from >= 1250 && from <= 1258;
  if (has_gaps && std::any_of(wide.begin(), wide.begin() + units,
                              [](wchar_t c) { return c >= 0x80 && c <= 0x9F; })) {
    return false;
  }
  std::vector<char> narrow(static_cast<std::size_t>(units) * 4);
  BOOL replaced = FALSE;
  const bool to_page = to != CP_UTF8;
  const int written = ::WideCharToMultiByte(to, to_page ? WC_NO_BEST_FIT_CHARS : 0, wide.data(),
                                            units, narrow.data(), static_cast<int>(narrow.size()),
                                            nullptr, to_page ? &replaced : nullptr);
  if (written == 0 || replaced != FALSE) return false;
  out.append(narrow.data(), static_cast<std::size_t>(written));
  return true;
}

// As much of the text as can be converted, character by character once the whole is refused.
std::size_t convert_start(std::string_view bytes, UINT from, UINT to, std::string& out) {
  if (convert(bytes, from, to, out)) return bytes.size();
  std::size_t done = 0;
  while (done < bytes.size()) {
    std::size_t step = 1;
    while (step <= 4 && done + step <= bytes.size() &&
           !convert(bytes.substr(done, step), from, to, out)) {
      ++step;
    }
    if (step > 4 || done + step > bytes.size()) break;
    done += step;
  }
  return done;
}

class PageConverter : public Converter {
 public:
  explicit PageConverter(UINT page) : page_(page) {}
  std::size_t to_utf8(std::string_view bytes, std::string& out) override {
    return convert_start(bytes, page_, CP_UTF8, out);
  }
  std::size_t from_utf8(std::string_view bytes, std::string& out) override {
    return convert_start(bytes, CP_UTF8, page_, out);
  }

 private:
  UINT page_;
};

}  // namespace

std::unique_ptr<Converter> open_converter(const std::string& name) {
  const auto* const named = std::ranges::find(kNames, name, &NamedPage::name);
  std::size_t digits = name.starts_with("CP") ? 2 : 0;
  if (name.starts_with("WINDOWS-")) digits = 8;
  const UINT page = named != kNames.end()
                        ? named->page
                        : static_cast<UINT>(std::strtoul(name.c_str() + digits, nullptr, 10));
  if (page == 0 || ::IsValidCodePage(page) == 0) return nullptr;
  return std::make_unique<PageConverter>(page);
}

}  // namespace tool
