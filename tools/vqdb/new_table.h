// The making of a table: nothing is there until all of it is, and with --force the files that were
// there come back when it fails.
#ifndef VQDB_NEW_TABLE_H_
#define VQDB_NEW_TABLE_H_

#include <string>
#include <vector>

namespace tool {

class NewTable {
 public:
  // Ends the command (wrong usage) when a table of this name, or a file that a table of this name
  // would have beside it, is there and `force` is not set.
  NewTable(const std::string& name, bool force);
  // Without commit() what was made is removed and what was there put back.
  ~NewTable();
  NewTable(const NewTable&) = delete;
  NewTable& operator=(const NewTable&) = delete;

  // The name for the library's create functions.
  const std::string& name() const { return name_; }
  // A file that is made with the table, such as an index.
  void add(const std::string& path) { made_.push_back(path); }
  void commit();
  // The path of the table as it stands on the disk.
  std::string path() const;

 private:
  std::string name_;
  std::vector<std::string> made_;
  struct Aside {
    std::string path;
    std::string kept;
  };
  std::vector<Aside> aside_;
};

}  // namespace tool

#endif  // VQDB_NEW_TABLE_H_
