// Values from the command line or a CSV file, put into the bytes of a record. What does not fit is
// refused, or cut where that is asked for.
#ifndef VQDB_FIELD_WRITER_H_
#define VQDB_FIELD_WRITER_H_

#include <vqdbsys.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "encoding.h"
#include "header.h"

namespace tool {

// A value that a field cannot hold.
struct Misfit {
  std::string why;  // "23 characters do not fit 10"
};

// A number as decimal digits: what a field holds is compared with what was asked for digit by
// digit.
struct Decimal {
  bool negative = false;
  std::string whole;     // without zeros in front; empty for none
  std::string fraction;  // without zeros at the end
};
// False when the text is no number.
bool parse_decimal(std::string_view text, Decimal& number);

class FieldWriter {
 public:
  // `memo` and its block may be null where no memo is written.
  FieldWriter(const Encoding& encoding, bool cut, VqMemo* memo, bool dbase3_memo, VqBlock* block)
      : encoding_(encoding), cut_(cut), memo_(memo), dbase3_memo_(dbase3_memo), block_(block) {}

  // Puts a UTF-8 text into the field's bytes of `record`. Throws Misfit; `record` is then as it
  // was.
  void put(const Field& field, std::string_view text, char* record);
  std::uint64_t cuts() const { return cuts_; }

 private:
  void put_text(const Field& field, std::string_view text, char* to);
  void put_number(const Field& field, std::string_view text, char* to);
  void put_date(const Field& field, std::string_view text, char* to);
  void put_truth(const Field& field, std::string_view text, char* to);
  void put_memo(const Field& field, std::string_view text, char* to);
  std::string encoded(std::string_view text) const;

  const Encoding& encoding_;
  bool cut_;
  VqMemo* memo_;
  bool dbase3_memo_;
  VqBlock* block_;
  std::uint64_t cuts_ = 0;
};

}  // namespace tool

#endif  // VQDB_FIELD_WRITER_H_
