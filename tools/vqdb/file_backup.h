// A copy of a file beside it, from which it can be put back as it was.
#ifndef VQDB_FILE_BACKUP_H_
#define VQDB_FILE_BACKUP_H_

#include <string>

namespace tool {

class FileBackup {
 public:
  // Ends the command when the file cannot be copied.
  explicit FileBackup(std::string path);
  ~FileBackup() { forget(); }
  FileBackup(FileBackup&& other) noexcept;
  FileBackup(const FileBackup&) = delete;
  FileBackup& operator=(const FileBackup&) = delete;

  // Writes the old content back into the file itself, which others may have open. A copy that
  // cannot be written back stays, and is told.
  void restore() noexcept;
  void forget();

 private:
  std::string path_;
  std::string copy_;
};

}  // namespace tool

#endif  // VQDB_FILE_BACKUP_H_
