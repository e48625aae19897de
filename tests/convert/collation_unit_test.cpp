
#include "convert/collation.h"
#include "support/test.h"

namespace {

TEST(Collation, bytes_of_code_page_1252_sort_in_dictionary_order) {
  const auto& weights = vqdb::convert::collation_weights();
  EXPECT_EQ(256u, std::set<std::uint16_t>(weights.begin(), weights.end()).size());
  // Byte after byte, each sorts behind the one before it.
  const std::string_view order(
      "\x01 !_~09Aa\xC0\xE0\xC6\xE6"
      "Bb\xC7\xE7"
      "DEeNn\xD1\xF1O\xD6\xF6"
      "PSs\xDFTUu\xDC\xFCXYy\xFFZz\x8E\x9E");
  for (std::size_t i = 1; i < order.size(); ++i) {
    EXPECT_LT(weights[static_cast<unsigned char>(order[i - 1])],
              weights[static_cast<unsigned char>(order[i])])
        << order.substr(i - 1, 2);
  }
  for (std::size_t letter = 'A'; letter <= 'Z'; ++letter) {
    EXPECT_LT(weights[letter], weights[letter + ('a' - 'A')]) << letter;
  }
}

}  // namespace
