#include "customers.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <tuple>

namespace vqdb::bench {
namespace {

constexpr std::size_t kMostInRandomOrder = 2000000;

using Random = std::mt19937_64;

std::uint32_t below(Random& random, std::uint32_t limit) {
  return static_cast<std::uint32_t>(random() % limit);
}

// Fills the space-padded text with up to `words` words of random syllables; gives its length.
template <std::size_t N>
std::uint8_t invent(Random& random, int words, std::array<char, N>& text) {
  static constexpr std::array<std::string_view, 24> kSyllables = {
      "an", "ber", "cor", "da", "el",  "fin", "gar", "ho",  "is", "jo",  "kel", "lin",
      "ma", "ner", "os",  "pe", "qua", "ros", "sa",  "ton", "ur", "ven", "wil", "zo"};
  text.fill(' ');
  std::size_t length = 0;
  for (int word = 0; word < words; ++word) {
    const std::size_t start = length;
    const std::uint32_t count = 2 + below(random, 3);
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::string_view syllable = kSyllables[below(random, kSyllables.size())];
      if (length + syllable.size() > N) break;
      syllable.copy(text.data() + length, syllable.size());
      length += syllable.size();
    }
    if (start < length) text[start] = static_cast<char>(text[start] - 'a' + 'A');
    if (word + 1 < words) ++length;
  }
  return static_cast<std::uint8_t>(length);
}

void put_digits(char* end, std::size_t count, std::uint32_t value) {
  for (; count > 0; --count, value /= 10) *--end = static_cast<char>('0' + value % 10);
}

// Right-aligned in front of `end`; what lies further left stays.
void put_number(char* end, std::uint32_t value) {
  do {
    *--end = static_cast<char>('0' + value % 10);
    value /= 10;
  } while (value != 0);
}

std::vector<Customer> invent_customers() {
  static constexpr std::string_view kStates =
      "ALAKAZARCACOCTDEFLGAHIIDILINIAKSKYLAMEMDMAMIMNMSMOMTNENVNHNJNMNYNCNDOHOKORPARISCSDTNTXUTVTVA"
      "WA"
      "WVWIWY";
  Random random(6);
  std::vector<Customer> cities(1000);
  for (Customer& city : cities) city.city_length = invent(random, 1, city.city);
  std::vector<Customer> all(record_count());
  for (std::size_t i = 0; i < all.size(); ++i) {
    Customer& customer = all[i];
    const Customer& home = cities[below(random, 1000)];
    customer.id = static_cast<std::uint32_t>(i + 1);
    customer.cents = below(random, 1000000);
    customer.name_length = invent(random, 2, customer.name);
    customer.city = home.city;
    customer.city_length = home.city_length;
    kStates.copy(customer.state.data(), 2, 2 * below(random, 50));
    put_digits(customer.due.data() + 4, 4, 1990 + below(random, 20));
    put_digits(customer.due.data() + 6, 2, 1 + below(random, 12));
    put_digits(customer.due.data() + 8, 2, 1 + below(random, 28));
    customer.active = below(random, 2) != 0;
  }
  return all;
}

}  // namespace

std::size_t record_count() {
  static const std::size_t count = [] {
    const char* const wanted = std::getenv("VQDB_BENCH_RECORDS");
    const long given = wanted != nullptr ? std::strtol(wanted, nullptr, 10) : 0;
    return given > 0 ? static_cast<std::size_t>(given) : 1000000;
  }();
  return count;
}

const std::vector<Customer>& customers() {
  static const std::vector<Customer> all = invent_customers();
  return all;
}

const std::vector<std::uint32_t>& random_order() {
  static const std::vector<std::uint32_t> order = [] {
    std::vector<std::uint32_t> numbers(record_count());
    std::iota(numbers.begin(), numbers.end(), 1u);
    std::shuffle(numbers.begin(), numbers.end(), Random(9));
    return numbers;
  }();
  return order;
}

std::vector<const Customer*> filling_order() {
  std::vector<const Customer*> order;
  order.reserve(record_count());
  for (const Customer& customer : customers()) order.push_back(&customer);
  if (record_count() <= kMostInRandomOrder) return order;
  std::sort(order.begin(), order.end(), [](const Customer* a, const Customer* b) {
    return std::tie(a->name, a->id) < std::tie(b->name, b->id);
  });
  return order;
}

void format_record(const Customer& customer, char* record) {
  std::memset(record, ' ', kNameOffset);
  put_number(record + 11, customer.id);
  std::memcpy(record + 11, customer.name.data(), 30);
  std::memcpy(record + 41, customer.city.data(), 20);
  std::memcpy(record + 61, customer.state.data(), 2);
  std::memset(record + 63, ' ', 9);
  put_number(record + 72, customer.cents / 100);
  record[72] = '.';
  put_digits(record + 75, 2, customer.cents % 100);
  std::memcpy(record + 75, customer.due.data(), 8);
  record[83] = customer.active ? 'T' : 'F';
}

Sum sum_of_record(const char* record) {
  return sum_of(std::string_view(record + 1, kRecordBytes - 1));
}

Sum sum_of_record(const Customer& customer) {
  std::array<char, kRecordBytes> record;
  format_record(customer, record.data());
  return sum_of_record(record.data());
}

double parse_number(const char* field, std::size_t width) {
  const char* const end = field + width;
  while (field < end && *field == ' ') ++field;
  double value = 0;
  std::from_chars(field, end, value);
  return value;
}

}  // namespace vqdb::bench
