// The orders of the key stream from which an index is built. An entry of the stream is a 4-byte
// record number followed by the key. A text such as "AC10U" (order, key type, key length, unique)
// names the order.
#ifndef VQDBSYS_INDEX_KEYS_STREAM_ORDER_H_
#define VQDBSYS_INDEX_KEYS_STREAM_ORDER_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "index/keys/key_order.h"

namespace vqdb::index {

inline constexpr std::size_t kEntryHead = 4;  // the record number before the key

enum class IndexFamily : std::uint8_t { mdx, ndx };

struct StreamOrder {
  KeyKind kind;
  bool descending;
  bool by_record;  // equal keys are ordered by their record numbers
};

struct StreamSpec {
  bool descending = false;
  char type = 'C';  // C, N, F, or T for dates; any other letter sorts as C
  std::uint32_t key_length = 0;
  bool unique = false;
};

// Nothing when the text is no description: order A or D, a letter, a length above 0.
std::optional<StreamSpec> parse_stream_spec(std::string_view text);
std::string format_stream_spec(const StreamSpec& spec);

// The order of a stream; null where the family has none (NDX indexes never descend). Text orders
// are given for unsigned bytes; `collated` asks for the weights of language 1.
const StreamOrder* stream_order(IndexFamily family, const StreamSpec& spec, bool collated);

// Compares two entries of a stream: negative, 0 or positive.
int compare_entries(const StreamOrder& order, std::size_t key_length, const Byte* a, const Byte* b);

// The tie-break of equal keys: by record number.
int compare_record_numbers(const Byte* a, const Byte* b);

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_KEYS_STREAM_ORDER_H_
