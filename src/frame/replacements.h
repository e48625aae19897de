// Rebuilt files that take the places of others together. A journal, which is there from the moment
// when all of them are complete until the last one is in its place, tells whoever comes after a
// crash to put the others in place, too.
#ifndef VQDBSYS_FRAME_REPLACEMENTS_H_
#define VQDBSYS_FRAME_REPLACEMENTS_H_

#include <cstddef>
#include <string>
#include <vector>

#include "platform/error.h"

namespace vqdb {

// Where a file grows that gets another name when it is complete. What is there when it begins is
// what a crash left; what is there when it ends did not get its name.
class GrowingPath {
 public:
  explicit GrowingPath(const std::string& target);
  ~GrowingPath();
  GrowingPath(const GrowingPath&) = delete;
  GrowingPath& operator=(const GrowingPath&) = delete;

  const std::string& get() const { return path_; }

 private:
  const std::string path_;
};

// The files that are to take the places of others together. Those that did not are removed with
// their owner, unless the journal tells that they will.
class GrowingFiles {
 public:
  GrowingFiles(std::string journal, std::vector<std::string> targets);
  ~GrowingFiles();
  GrowingFiles(const GrowingFiles&) = delete;
  GrowingFiles& operator=(const GrowingFiles&) = delete;

  // Completes or takes away what a crash left in their places.
  platform::Outcome start();
  // Where the file for a target is to be made.
  const std::string& path(std::size_t target) const { return growing_[target]; }
  const std::string& target(std::size_t number) const { return targets_[number]; }
  // Puts them into the places of the targets, in this order. After a failure that left no journal
  // nothing has been replaced; else completing is all that is left to do. REQUIRES that all of them
  // are complete, and on the device.
  platform::Outcome put_in_place();

 private:
  const std::string journal_;
  const std::vector<std::string> targets_;
  std::vector<std::string> growing_;
  bool started_ = false;
};

// Completes what a journal tells; nothing to do without one. A file that someone else has changed
// since, or whose replacement has gone, is not replaced: when that is the first of them, none is
// and all is as it was before; else `other`. It is `other` as well where both are so, since the
// first file may have been replaced before it was changed.
platform::Outcome complete_replacements(const std::string& journal);

}  // namespace vqdb

#endif  // VQDBSYS_FRAME_REPLACEMENTS_H_
