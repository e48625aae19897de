// The customers that every side of a benchmark stores: the same people in the same order whenever
// and wherever it runs, as plain values and as 84-byte table records.
#ifndef VQDBSYS_BENCH_CUSTOMERS_H_
#define VQDBSYS_BENCH_CUSTOMERS_H_

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "sum.h"

namespace vqdb::bench {

struct Customer {
  std::uint32_t id;     // from 1
  std::uint32_t cents;  // below 1,000,000
  std::array<char, 30> name;
  std::array<char, 20> city;
  std::array<char, 2> state;
  std::array<char, 8> due;  // YYYYMMDD
  std::uint8_t name_length;
  std::uint8_t city_length;
  bool active;

  std::string_view name_text() const { return {name.data(), name_length}; }
  std::string_view city_text() const { return {city.data(), city_length}; }
};

inline constexpr std::size_t kRecordBytes = 84;
inline constexpr std::size_t kNameOffset = 11;
inline constexpr std::size_t kNameBytes = 30;
inline constexpr std::size_t kAmountOffset = 63;
inline constexpr std::size_t kAmountBytes = 12;

// Field names and types as dDcreat takes them.
inline constexpr int kFieldCount = 7;
inline constexpr std::array<const char*, 2 * kFieldCount> kFields = {
    "ID", "N10",    "NAME",  "C30", "CITY", "C20",    "STATE",
    "C2", "AMOUNT", "N12.2", "DUE", "D",    "ACTIVE", "L"};

// How many records the benchmarks work on: VQDB_BENCH_RECORDS of the environment, else a million.
std::size_t record_count();

const std::vector<Customer>& customers();

// Record numbers from 1 in a fixed random order, each once.
const std::vector<std::uint32_t>& random_order();

// The customers as files of names that are only sought in and walked are filled: as they come, or
// by their names where there are more than two million, as that takes many minutes otherwise.
std::vector<const Customer*> filling_order();

// Writes the 84 bytes of the record, deletion flag first.
void format_record(const Customer& customer, char* record);

// The fields of a record, and of a customer as it would have them.
Sum sum_of_record(const char* record);
Sum sum_of_record(const Customer& customer);

// The value of a numeric field.
double parse_number(const char* field, std::size_t width);

}  // namespace vqdb::bench

#endif  // VQDBSYS_BENCH_CUSTOMERS_H_
