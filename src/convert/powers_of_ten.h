// The powers of ten, and the integers, that a double holds exactly.
#ifndef VQDBSYS_CONVERT_POWERS_OF_TEN_H_
#define VQDBSYS_CONVERT_POWERS_OF_TEN_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace vqdb::convert {

inline constexpr int kMaxExactPower = 22;

inline constexpr std::array<double, kMaxExactPower + 1> kPowersOfTen = {
    1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
    1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// REQUIRES 0 <= exponent <= kMaxExactPower.
constexpr double power_of_ten(std::ptrdiff_t exponent) {
  return kPowersOfTen[static_cast<std::size_t>(exponent)];
}

// Every integer up to this one.
inline constexpr std::uint64_t kExactIntegers = std::uint64_t{1} << 53;

}  // namespace vqdb::convert

#endif  // VQDBSYS_CONVERT_POWERS_OF_TEN_H_
