#include <gtest/gtest.h>

#include <string>

#include "frame/bytes.h"

namespace {

TEST(Bytes, a_short_copy_is_whole_and_stays_within_its_length) {
  const std::string from = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
  for (std::size_t length = 0; length < from.size(); ++length) {
    std::string to(from.size() + 1, '?');
    vqdb::copy_short(to.data() + 1, from.data(), length);
    EXPECT_EQ("?" + from.substr(0, length) + std::string(from.size() - length, '?'), to);
  }
}

}  // namespace
