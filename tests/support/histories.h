// Everything that changes files, as a table: histories of operations over a group with a memo file,
// NDX indexes and an MDX file, each of which tests stop at every call that it makes.
#ifndef VQDBSYS_TESTS_SUPPORT_HISTORIES_H_
#define VQDBSYS_TESTS_SUPPORT_HISTORIES_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "support/checked_group.h"

namespace vqdb::testing {

// What a host can read of the records: the fields of each, and each memo, one by one, since a
// change may reach the disk in parts.
using Atoms = std::multiset<std::string>;

// A group whose files can be brought back.
class World {
 public:
  explicit World(std::uint32_t kind);

  void keep();
  void restore();
  Atoms read();
  // Errors that the check finds in table and memo file, but for a record that is not counted
  // yet, and another code.
  // Those of an index are mended by the next flush, or by a repair.
  std::string errors(std::int32_t may_find);
  Report repair() { return run_check(lib.DBrepair, group.block, group.table()); }
  // Files that the library made and should have removed.
  std::vector<std::string> leftovers();

  std::int32_t open(std::uint32_t mode);
  std::int32_t close();

  CheckedGroup group;
  VqDatabase* database = nullptr;

 private:
  const std::uint32_t kind_;
  const std::string mdx_ = group.file("ITEMS");
  std::map<std::string, std::string> files_;
};

using Step = std::function<std::int32_t(World&)>;
Step append(std::size_t number);

struct History {
  std::string name;
  std::uint32_t kind;  // dialect
  std::uint32_t mode;
  bool stores_each;         // each step is on the disk when it returns; else the last but one
  void (*prepare)(World&);  // may be null
  std::int32_t may_find;    // a code of the check where it was stopped half way
  std::vector<Step> steps;

  // The steps of which all is on the disk when `done` have returned, and the first one of which
  // nothing is.
  std::size_t stored(std::size_t done) const;
  std::size_t begun(std::size_t done) const;
};
std::vector<History> histories();
std::string name_of(const History& history);

// What can be read behind each step, and at first.
std::vector<Atoms> states_of(World& world, const History& history);
// The first atom that all of states [first, last] have and `now` lacks, or nothing.
std::string first_lost(const std::vector<Atoms>& states, std::size_t first, std::size_t last,
                       const Atoms& now);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_HISTORIES_H_
