#include "convert/collation.h"

#include <string_view>

namespace vqdb::convert {
namespace {

using Weights = std::array<std::uint16_t, 256>;

// Bytes of code page 1252, in order.
constexpr std::string_view kControls = "\x7F\x81\x8D\x8F\x90\x9D";  // behind those below the blank
constexpr std::string_view kDigits =
    "01\xB9"
    "2\xB2"
    "3\xB3"
    "456789\xBC\xBD\xBE";
constexpr std::string_view kLetters =
    "Aa\xAA\xC0\xE0\xC1\xE1\xC2\xE2\xC3\xE3\xC4\xE4\xC5\xE5\xC6\xE6"  // ª grave .. ring, AE
    "Bb"
    "Cc\xC7\xE7"  // cedilla
    "Dd\xD0\xF0"  // eth
    "Ee\xC8\xE8\xC9\xE9\xCA\xEA\xCB\xEB"
    "Ff\x83"  // florin
    "Gg"
    "Hh"
    "Ii\xCC\xEC\xCD\xED\xCE\xEE\xCF\xEF"
    "Jj"
    "Kk"
    "Ll"
    "Mm"
    "Nn\xD1\xF1"                                                      // tilde
    "Oo\xBA\xD2\xF2\xD3\xF3\xD4\xF4\xD5\xF5\xD6\xF6\xD8\xF8\x8C\x9C"  // º .. stroke, OE
    "Pp"
    "Qq"
    "Rr"
    "Ss\x8A\x9A\xDF"  // caron, sharp s
    "Tt\xDE\xFE"      // thorn
    "Uu\xD9\xF9\xDA\xFA\xDB\xFB\xDC\xFC"
    "Vv"
    "Ww"
    "Xx"
    "Yy\xDD\xFD\x9F\xFF"  // acute, diaeresis
    "Zz\x8E\x9E";         // caron

constexpr Weights make_weights() {
  Weights weights = {};
  std::uint16_t next = 1;
  const auto place = [&](int byte) {
    auto& weight = weights[static_cast<std::size_t>(byte)];
    if (weight == 0) weight = next++;
  };
  const auto place_all = [&](std::string_view bytes) {
    for (const char byte : bytes) place(static_cast<unsigned char>(byte));
  };
  for (int byte = 0; byte < ' '; ++byte) place(byte);
  place_all(kControls);
  // Whatever is no digit and no letter keeps its code order, the blank first.
  const auto is_symbol = [&](int byte) {
    const char c = static_cast<char>(byte);
    return kDigits.find(c) == std::string_view::npos && kLetters.find(c) == std::string_view::npos;
  };
  for (int byte = ' '; byte < 256; ++byte) {
    if (is_symbol(byte)) place(byte);
  }
  place_all(kDigits);
  place_all(kLetters);
  return weights;
}

constexpr Weights kWeights = make_weights();

}  // namespace

const Weights& collation_weights() { return kWeights; }

}  // namespace vqdb::convert
