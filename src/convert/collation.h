// The order of language 1: how the bytes of code page 1252 sort in dictionary fashion.
#ifndef VQDBSYS_CONVERT_COLLATION_H_
#define VQDBSYS_CONVERT_COLLATION_H_

#include <array>
#include <cstdint>

namespace vqdb::convert {

// The weight of each byte. Keys compare weight by weight; no two bytes share a weight, so only
// equal keys compare equal. Control characters come first, then the blank, punctuation and symbols,
// digits, and letters. A letter is followed by its lower case and then by its accented forms, in
// pairs of upper and lower case, before the next letter begins: A a À à Á á ... Æ æ B b.
const std::array<std::uint16_t, 256>& collation_weights();

}  // namespace vqdb::convert

#endif  // VQDBSYS_CONVERT_COLLATION_H_
