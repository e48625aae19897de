// Files as the tests make and inspect them: folders that vanish with their owner, and whole files
// as byte strings.
#ifndef VQDBSYS_TESTS_SUPPORT_FILES_H_
#define VQDBSYS_TESTS_SUPPORT_FILES_H_

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace vqdb::testing {

// What owns something and stays where it is.
class NotCopied {
 public:
  NotCopied() = default;
  NotCopied(const NotCopied&) = delete;
  NotCopied& operator=(const NotCopied&) = delete;
};

// A new empty folder, removed with all it holds when the object goes. Its path is short and in
// capitals, so that names expanded by the library stay within their limit and read the same.
class TemporaryFolder : NotCopied {
 public:
  TemporaryFolder();
  ~TemporaryFolder();

  const std::filesystem::path& path() const { return path_; }

  // Full name of a file in this folder, fit for the library's calls.
  std::string file(std::string_view name) const;

  // Names of the files in this folder, sorted.
  std::vector<std::string> list() const;

 private:
  std::filesystem::path path_;
};

bool file_exists(const std::string& name);

// All bytes of a file; a test failure and no bytes when it cannot be read.
std::string read_file(const std::string& name);

// Bytes [offset, offset + count) of a file; fewer where it ends earlier.
std::string read_bytes(const std::string& name, std::size_t offset, std::size_t count);

// Makes the file, or replaces all of it.
void write_file(const std::string& name, std::string_view bytes);

// Overwrites, or extends, the file from `offset` on.
void write_bytes(const std::string& name, std::size_t offset, std::string_view bytes);

}  // namespace vqdb::testing

#endif  // VQDBSYS_TESTS_SUPPORT_FILES_H_
