// Every exported function as a table: a call of each that succeeds, and how it refuses what is not
// there.
#ifndef VQDBSYS_TESTS_SUPPORT_INTERFACE_H_
#define VQDBSYS_TESTS_SUPPORT_INTERFACE_H_

#include <deque>

#include "support/histories.h"

namespace vqdb::testing {

// What calls need: a group with files of every kind, handles that are opened when they are asked
// for, and room for what comes back.
class Stage : NotCopied {
 public:
  Stage();
  ~Stage() { close(); }

  // Every use opens another one.
  VqTable* table(std::uint32_t mode = 2);
  VqIndex* ndx();
  VqIndex* mdx();
  VqIndex* tag();
  VqMemo* memo();
  VqMemo* old_memo();  // of dBASE III
  VqDatabase* database(std::uint32_t mode = 2);
  VqMember* member(std::uint32_t kind = VQ_KIND_NDX);
  VqExpr* expression();
  // Steps to the first key, which is in `key` then, with its record number.
  VqIndex* at_first(VqIndex* index);
  const char* file(const std::string& name);
  // A memo field that names a memo.
  char* reference(bool old = false);

  // What a call has opened.
  void own(const void*) {}
  void own(VqTable* handle);
  void own(VqIndex* handle);
  void own(VqMemo* handle);
  void close();
  // Brings the files back; whether they were what they had been.
  bool restore() { return world.restore(); }

  World world{7};
  VqBlock* const block = &world.group.block;
  VqBlock spare = {};
  VqDatabase* opened = nullptr;
  VqExpr* compiled = nullptr;
  std::string record = std::string(CheckedGroup::kRecordBytes, ' ');
  char key[100] = {};
  char later[100] = "zzzzzzzzzz";  // a key that no record has
  char out[4096] = {}, field[11] = {};
  std::int32_t number = 0, other = 0;
  std::uint32_t recno = 1, count = 0;
  std::array<std::uint32_t, 12> recnos = {};
  double value = 0;
  VqField described = {};
  VqMember copy = {};
  VqCheckOptions options = {};
  Report report;

 private:
  template <typename Handle>
  Handle* keep(Handle* handle);

  std::deque<std::string> names_;
  std::vector<std::function<void()>> closers_;
  std::array<char, 10> named_ = {}, old_named_ = {};
};

struct FunctionCall {
  const char* name;
  // What it answers to closed handles, then to a null in place of each pointer; for each handle to
  // a null and a foreign one, unless that is VQ_E_BAD_HANDLE without a detail for both. A detail
  // alone stands for VQ_E_BAD_HANDLE or VQ_E_RANGE with it, `+` for a call that does without.
  const char* refusals;
  // Makes it ready. It gives the result; for a null pointer that of the block, or VQ_E_RANGE.
  std::function<std::function<std::int32_t()>(Stage&)> prepare;
  // Tries all that; "changed" behind an answer when the files are not what they were.
  std::function<std::string(Stage&)> refuse;
};
const std::vector<FunctionCall>& interface_calls();

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_INTERFACE_H_
