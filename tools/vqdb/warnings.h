// What a person has to know about the data while a command goes on. Beyond ten of a kind warnings
// are counted, not printed.
#ifndef VQDB_WARNINGS_H_
#define VQDB_WARNINGS_H_

#include <cstdint>
#include <map>
#include <string>

namespace tool {

class Warnings {
 public:
  // Strict: the first warning ends the command.
  explicit Warnings(bool strict) : strict_(strict) {}

  // `kind` names several of them in the plural: "unreadable values".
  void add(const std::string& kind, const std::string& words);
  // Says how many of each kind were not printed.
  void finish();

  bool any() const { return !counts_.empty(); }

 private:
  bool strict_;
  std::map<std::string, std::uint64_t> counts_;
};

// While it lives no warning is printed.
class Quiet {
 public:
  Quiet();
  ~Quiet();
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;
};

// Lines on standard error.
void print_warning(const std::string& words);
void print_note(const std::string& words);
void print_error(const std::string& words);

}  // namespace tool

#endif  // VQDB_WARNINGS_H_
