#include "index/keys/key_order.h"

#include <cmath>

#include "index/keys/key_compare.h"

namespace vqdb::index {
namespace {

template <KeyOrder::Compare compare>
int reversed(const Byte* a, const Byte* b, std::size_t length) {
  return compare(b, a, length);
}

template <KeyOrder::Compare compare, bool kDescends>
constexpr KeyOrder::Compare kInOrder = kDescends ? reversed<compare> : compare;

// The keys of a page.
struct Row {
  const KeyGrid& grid;
  const Byte* first;
  std::uint32_t count;

  const Byte* key(std::uint32_t slot) const { return first + slot * grid.stride; }
};

// The first key from `low` on for which compare(key in the row, key) is not below the limit: 0
// finds the first equal or higher one, 1 the first higher one.
template <KeyOrder::Compare compare, int kLimit>
std::uint32_t bound_from(std::uint32_t low, const Row& row, const Byte* key) {
  std::uint32_t high = row.count;
  while (low < high) {
    const std::uint32_t middle = (low + high) / 2;
    if (compare(row.key(middle), key, row.grid.length) < kLimit) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

template <KeyOrder::Compare compare, int kLimit>
std::uint32_t bound(const KeyGrid& grid, const Byte* first, std::uint32_t count, const Byte* key) {
  return bound_from<compare, kLimit>(0, {grid, first, count}, key);
}

// How many keys are below something, which the first ones of the row are. No processor foresees
// which half the next step is in, and several searches go on at once: so the steps do not branch,
// and there are as many of them in every page of a tree that is at least half full.
template <typename IsBelow>
std::uint32_t count_below(const Row& row, IsBelow is_below) {
  if (row.count == 0) return 0;
  std::uint32_t step = row.grid.first_step;
  while (step > row.count) step /= 2;
  // Offsets of keys, seen from the first one. All up to `last` are below.
  const std::size_t stride = row.grid.stride;
  std::size_t reach = step * stride;
  std::size_t last = 0 - stride;
  // The first step leaves one less than a power of two, some of which it may have passed.
  std::size_t upper = (row.count - step) * stride;
  std::size_t probe = last + reach;
  for (;;) {
    last = is_below(row.first + probe) ? upper : last;
    if (reach == stride) return row.grid.slot_at(last + stride);
    reach /= 2;
    upper = probe = last + reach;
  }
}

// A key's front orders as the key does where two fronts differ. It is wide enough to decide between
// most keys, since nobody foresees where the whole keys have to be compared.
using Word = std::uint64_t;
#ifdef __SIZEOF_INT128__
__extension__ using WideWord = unsigned __int128;
#else
using WideWord = Word;
#endif

template <typename Front>
Front text_front(const Byte* key) {
  if constexpr (sizeof(Front) > sizeof(Word)) {
    return static_cast<Front>(load_be64(key)) << 64 | load_be64(key + sizeof(Word));
  }
  return load_be64(key);
}

// From the top: 2 for a positive number, 1 for zero, 0 for a negative one; the exponent; the first
// twelve digits. Of negative numbers the lower ones have more of both, so that these are inverted.
Word packed_front(const Byte* key) {
  constexpr Word kDigits = (Word{1} << 48) - 1;
  constexpr Word kSize = (Word{1} << 56) - 1;
  const Word word = load_be64(key);
  const Word size = (word >> 56 << 48) | (word & kDigits);
  const Word negative = 0 - (word >> 55 & 1);
  const Word front = (size ^ (negative & kSize)) | (~negative & (Word{2} << 56));
  return packed_is_zero(key) ? Word{1} << 56 : front;
}

// Fronts are searched first; whole keys are compared only from the first equal front on.
template <typename Front, Front front_of(const Byte* key), KeyOrder::Compare compare,
          bool kDescends, int kLimit>
std::uint32_t bound_by_front(const KeyGrid& grid, const Byte* first, std::uint32_t count,
                             const Byte* key) {
  const Row row = {grid, first, count};
  const Front sought = front_of(key);
  const std::uint32_t low = count_below(row, [=](const Byte* at) {
    return kDescends ? sought < front_of(at) : front_of(at) < sought;
  });
  if (low == count || front_of(row.key(low)) != sought) return low;
  constexpr KeyOrder::Compare kWhole = kInOrder<compare, kDescends>;
  if (kWhole(row.key(low), key, grid.length) >= kLimit) return low;
  return bound_from<kWhole, kLimit>(low + 1, row, key);
}

template <bool kDescends, int kLimit>
std::uint32_t bound_text(const KeyGrid& grid, const Byte* first, std::uint32_t count,
                         const Byte* key) {
  if (grid.length >= sizeof(WideWord)) {
    return bound_by_front<WideWord, text_front<WideWord>, compare_texts, kDescends, kLimit>(
        grid, first, count, key);
  }
  if (grid.length >= sizeof(Word)) {
    return bound_by_front<Word, text_front<Word>, compare_texts, kDescends, kLimit>(grid, first,
                                                                                    count, key);
  }
  return bound<kInOrder<compare_texts, kDescends>, kLimit>(grid, first, count, key);
}

template <bool kDescends, int kLimit>
std::uint32_t bound_number(const KeyGrid& grid, const Byte* first, std::uint32_t count,
                           const Byte* key) {
  const double sought = load_double(key);
  return count_below({grid, first, count}, [=](const Byte* at) {
    const double low = kDescends ? sought : load_double(at);
    const double high = kDescends ? load_double(at) : sought;
    return kLimit == 0 ? low < high : !(low > high);
  });
}

bool any_key(const Byte*) { return true; }
bool is_a_number(const Byte* key) { return !std::isnan(load_double(key)); }

template <bool kDescends>
constexpr KeyOrder text_order() {
  return {kInOrder<compare_texts, kDescends>, bound_text<kDescends, 0>, bound_text<kDescends, 1>,
          any_key};
}

template <bool kDescends>
constexpr KeyOrder collated_order() {
  constexpr KeyOrder::Compare kWhole = kInOrder<compare_collated, kDescends>;
  return {kWhole, bound<kWhole, 0>, bound<kWhole, 1>, any_key};
}

template <bool kDescends>
constexpr KeyOrder number_order() {
  return {kInOrder<compare_numbers, kDescends>, bound_number<kDescends, 0>,
          bound_number<kDescends, 1>, is_a_number};
}

template <bool kDescends>
constexpr KeyOrder packed_order() {
  return {kInOrder<compare_packed, kDescends>,
          bound_by_front<Word, packed_front, compare_packed, kDescends, 0>,
          bound_by_front<Word, packed_front, compare_packed, kDescends, 1>, any_key};
}

constexpr KeyOrder kOrders[4][2] = {
    {text_order<false>(), text_order<true>()},
    {collated_order<false>(), collated_order<true>()},
    {number_order<false>(), number_order<true>()},
    {packed_order<false>(), packed_order<true>()},
};

}  // namespace

const KeyOrder& key_order(KeyKind kind, bool descending) {
  return kOrders[static_cast<std::size_t>(kind)][descending ? 1 : 0];
}

}  // namespace vqdb::index
