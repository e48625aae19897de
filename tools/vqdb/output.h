// Where a command writes its rows: standard output, or a file that takes its place when it is
// whole.
#ifndef VQDB_OUTPUT_H_
#define VQDB_OUTPUT_H_

#include <cstdio>
#include <string>
#include <string_view>

namespace tool {

class Output {
 public:
  // Standard output when the name is empty or "-".
  explicit Output(const std::string& name);
  // Without finish() a file is given up and what was there stays.
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // What is appended here is written when it has grown.
  std::string& buffer() { return buffer_; }
  void write_when_full() {
    if (buffer_.size() >= kFull) write();
  }
  void finish();

 private:
  static constexpr std::size_t kFull = std::size_t{1} << 18;
  void write();

  std::string name_;
  std::string temporary_;
  std::FILE* file_;
  std::string buffer_;
};

}  // namespace tool

#endif  // VQDB_OUTPUT_H_
