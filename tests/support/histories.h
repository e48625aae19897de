// Everything that changes files, as a table: histories of operations over a group with a memo file,
// NDX indexes and an MDX file, each of which tests stop at every call that it makes.
#ifndef VQDBSYS_TESTS_SUPPORT_HISTORIES_H_
#define VQDBSYS_TESTS_SUPPORT_HISTORIES_H_

#include "support/checked_group.h"

namespace vqdb::testing {

// What a host can read of the records: the fields of each, and each memo, one by one, since a
// change may reach the disk in parts.
using Atoms = std::multiset<std::string>;

// A group whose files can be brought back.
class World {
 public:
  explicit World(std::uint32_t kind);

  using Files = std::map<std::string, std::string>;
  Files files() const;  // their bytes by their names
  void keep() { files_ = files(); }
  bool restore();  // whether they were what they had been
  Atoms read();
  // Errors that the check finds, but for those codes, and for keys of records that `may_differ`.
  std::string errors(const std::set<std::int32_t>& allowed,
                     const std::function<bool(std::uint32_t)>& may_differ);
  Report repair() { return run_check(lib.DBrepair, group.block, group.table()); }
  std::vector<std::string> leftovers() const { return group.leftovers(); }

  std::int32_t open(std::uint32_t mode);
  std::int32_t close();
  std::uint32_t members() const;  // of the open group

  CheckedGroup group;
  VqDatabase* database = nullptr;

 private:
  const std::uint32_t kind_;
  const std::string mdx_ = group.file("ITEMS");
  Files files_;
};

struct Step {
  std::function<std::int32_t(World&)> run;
  std::uint32_t record = 0;  // whose keys change
};
Step append(std::size_t number, std::uint32_t record);

struct History {
  std::string name;
  std::uint32_t kind;  // dialect
  std::uint32_t mode;
  bool stores_each;         // each step is on the disk when it returns; else the last but one
  void (*prepare)(World&);  // may be null
  // What a check may find where it was stopped half way, beside a record that is not counted yet.
  std::set<std::int32_t> may_find;
  std::vector<Step> steps;

  // The steps of which all is on the disk when `done` have returned, and the first one of which
  // nothing is.
  std::size_t stored(std::size_t done) const;
  std::size_t begun(std::size_t done) const;
  // The errors in the files when it was stopped behind so many steps. Half of an index page is
  // more than its file can bear.
  std::string errors(World& world, std::size_t done, bool half) const;
};
std::vector<History> histories();
std::string name_of(const History& history);

// What can be read behind each step, and at first.
std::vector<Atoms> states_of(
    World& world, const History& history, const std::function<void()>& after_each = [] {});
// The first atom that all of states [first, last] have and `now` lacks, or nothing.
std::string first_lost(const std::vector<Atoms>& states, std::size_t first, std::size_t last,
                       const Atoms& now);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_HISTORIES_H_
