#include "encoding.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

#include "code_pages.h"
#include "stop.h"

namespace tool {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
constexpr std::array<std::string_view, 10> kMultiByte = {
    "932", "936", "949", "950", "GBK", "GB18030", "EUC-JP", "EUC-KR", "SHIFT_JIS", "UTF-8"};

// Bytes of the UTF-8 character at the start, 0 when there is none.
std::size_t utf8_length(std::string_view bytes) {
  const auto at = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned char first = at(0);
  if (first < 0x80) return 1;
  std::size_t length = 0;
  if (first >= 0xC2 && first <= 0xDF) length = 2;
  if (first >= 0xE0 && first <= 0xEF) length = 3;
  if (first >= 0xF0 && first <= 0xF4) length = 4;
  if (length == 0 || bytes.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((at(i) & 0xC0) != 0x80) return 0;
  }
  // Overlong forms, surrogates, and what lies beyond the last character.
  if ((first == 0xE0 && at(1) < 0xA0) || (first == 0xED && at(1) > 0x9F) ||
      (first == 0xF0 && at(1) < 0x90) || (first == 0xF4 && at(1) > 0x8F)) {
    return 0;
  }
  return length;
}

}  // namespace

bool is_ascii(std::string_view bytes) {
  const char* at = bytes.data();
  std::size_t left = bytes.size();
  std::uint64_t all = 0;
  for (; left >= sizeof all; left -= sizeof all, at += sizeof all) {
    std::uint64_t word;
    std::memcpy(&word, at, sizeof word);
    all |= word;
  }
  for (; left > 0; --left, ++at) all |= static_cast<unsigned char>(*at);
  return (all & 0x8080808080808080U) == 0;
}

std::size_t valid_utf8(std::string_view bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::size_t length = utf8_length(bytes.substr(done));
    if (length == 0) break;
    done += length;
  }
  return done;
}

Encoding::Encoding(std::string_view name, std::string source)
    : name_(plain_code_page(name)),
      source_(std::move(source)),
      converter_(open_converter(name_)),
      is_utf8_(name_ == "UTF-8") {
  if (converter_ == nullptr) {
    stop_usage("no code page is called \"{}\" here ({}); --encoding takes another", name, source_);
  }
  if (std::ranges::find(kMultiByte, name_) == kMultiByte.end()) learn_single_bytes();
}

void Encoding::learn_single_bytes() {
  std::size_t alone = 0;
  for (std::size_t byte = 0; byte < characters_.size(); ++byte) {
    const char as_text = static_cast<char>(byte);
    if (converter_->to_utf8({&as_text, 1}, characters_[byte]) == 1) ++alone;
  }
  if (characters_['A'] == "A") {  // the lower half is ASCII, control characters included
    for (std::size_t byte = 0; byte < 0x80; ++byte) {
      characters_[byte] = std::string(1, static_cast<char>(byte));
    }
  }
  is_single_byte_ = alone > 200;
}

std::size_t Encoding::decode(std::string_view bytes, bool replace, std::string& out) const {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const std::string_view rest = bytes.substr(done);
    if (is_utf8_) {
      const std::size_t valid = valid_utf8(rest);
      out.append(rest.substr(0, valid));
      done += valid;
    } else if (is_single_byte_) {
      for (; done < bytes.size(); ++done) {
        const std::string& character = characters_[static_cast<unsigned char>(bytes[done])];
        if (character.empty()) break;
        out += character;
      }
    } else {
      done += converter_->to_utf8(rest, out);
    }
    if (done == bytes.size()) break;
    if (!replace) return done;
    out += kReplacement;
    ++done;
  }
  return done;
}

bool Encoding::encode(std::string_view utf8, std::string& out) const {
  if (valid_utf8(utf8) != utf8.size()) return false;
  if (is_utf8_) {
    out.append(utf8);
    return true;
  }
  return converter_->from_utf8(utf8, out) == utf8.size();
}

}  // namespace tool
