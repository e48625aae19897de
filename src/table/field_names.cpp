#include "table/field_names.h"

#include <bit>

#include "frame/bytes.h"

namespace vqdb::table {
namespace {

// Letters in upper case, eight characters at a time. Characters above 127 stay as they are.
std::uint64_t upper_case(std::uint64_t word) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  const std::uint64_t low = word & 0x7F * kEach;
  const std::uint64_t from_a = low + (0x80 - 'a') * kEach;
  const std::uint64_t above_z = low + (0x7F - 'z') * kEach;
  const std::uint64_t letters = (from_a ^ above_z) & ~word & 0x80 * kEach;
  return word - (letters >> 2);
}

}  // namespace

// A name as two words that share a character.
struct FieldNames::Key {
  explicit Key(const std::array<char, kMaxFieldName + 1>& name)
      : front(load_le64(name.data())), back(load_le32(name.data() + name.size() - sizeof back)) {}

  std::uint64_t hash() const { return (front ^ std::uint64_t{back} << 29) * 0x9E3779B97F4A7C15; }
  bool operator==(const Key&) const = default;

  std::uint64_t front;
  std::uint32_t back;
};

bool FieldNames::take_in(std::span<const Field> fields) {
  const std::size_t slots = std::bit_ceil(2 * fields.size());
  slots_ = platform::allocate_array<std::uint16_t>(slots);
  if (slots_ == nullptr) return false;
  shift_ = 64 - static_cast<unsigned>(std::countr_zero(slots));
  fields_ = fields;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    std::uint16_t& slot = slot_of(Key(fields[i].name));
    if (slot == 0) slot = static_cast<std::uint16_t>(i + 1);
  }
  return true;
}

std::uint16_t& FieldNames::slot_of(const Key& key) const {
  const std::size_t mask = (std::size_t{1} << (64 - shift_)) - 1;
  auto at = static_cast<std::size_t>(key.hash() >> shift_);
  while (slots_[at] != 0 && key != Key(fields_[slots_[at] - 1u].name)) at = (at + 1) & mask;
  return slots_[at];
}

const Field* FieldNames::find(std::string_view name) const {
  if (name.empty() || name.size() > kMaxFieldName) return nullptr;
  std::array<char, kMaxFieldName + 1> wanted = {};
  copy_short(wanted.data(), name.data(), name.size());
  Key key(wanted);
  key.front = upper_case(key.front);
  key.back = static_cast<std::uint32_t>(upper_case(key.back));
  const std::uint16_t number = slot_of(key);
  return number == 0 ? nullptr : &fields_[number - 1u];
}

}  // namespace vqdb::table
