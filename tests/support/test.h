// What every test needs: the framework, the library's functions, files, and the standard headers
// that most tests use.
#ifndef VQDBSYS_TESTS_SUPPORT_TEST_H_
#define VQDBSYS_TESTS_SUPPORT_TEST_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/exports.h"
#include "support/files.h"

namespace vqdb::testing {

// A result with the detail beside it, as `-4/3162`. Every detail has words.
inline std::string codes(std::int32_t result, std::int32_t detail) {
  const bool has_words = result >= 0 || detail == 0 || *lib.vqDetailText(detail) != '\0';
  return std::to_string(result) + "/" + std::to_string(detail) + (has_words ? "" : " (no words)");
}
inline std::string codes(std::int32_t result, const VqBlock& block) {
  return codes(result, std::int32_t{block.detail});
}
// Those of a call that was to give a handle and did not.
inline std::string refusal(const void* handle, const VqBlock& block) {
  return handle != nullptr ? "not refused" : codes(std::int32_t{block.result}, block);
}

// The text, filled with blanks or cut.
inline std::string padded(std::string text, std::size_t width) {
  text.resize(width, ' ');
  return text;
}

// The number in so many bytes, the low ones first.
inline std::string little_endian(std::uint64_t value, std::size_t bytes) {
  std::string text;
  for (; bytes > 0; --bytes, value >>= 8) text += static_cast<char>(value & 0xFF);
  return text;
}
inline std::string le32(std::uint32_t value) { return little_endian(value, 4); }

// How many records the table counts.
inline std::uint32_t record_count(VqTable* table) {
  std::uint32_t count = 0;
  EXPECT_EQ(0, lib.dDreccnt(table, &count));
  return count;
}

// Calls the cases of a test by their names.
inline constexpr auto by_name = [](const auto& test) { return std::string(test.param.name); };

}  // namespace vqdb::testing

// Tests outside this namespace see the fixtures and builders all the same.
using namespace vqdb::testing;

#endif  // VQDBSYS_TESTS_SUPPORT_TEST_H_
