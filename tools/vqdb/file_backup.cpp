#include "file_backup.h"

#include <filesystem>
#include <fstream>
#include <utility>

#include "stop.h"
#include "system.h"
#include "warnings.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

bool write_back(const std::string& copy, const std::string& path) {
  std::ifstream from(copy, std::ios::binary);
  std::fstream to(path, std::ios::binary | std::ios::in | std::ios::out);
  if (!from || !to) return false;
  std::error_code error;
  const auto size = fs::file_size(copy, error);
  if (error) return false;
  if (size > 0) to << from.rdbuf();
  to.flush();
  if (!to || !from) return false;
  to.close();
  fs::resize_file(path, size, error);
  return !error;
}

}  // namespace

FileBackup::FileBackup(std::string path)
    : path_(std::move(path)), copy_(fmt::format("{}.{}.before", path_, process_number())) {
  std::error_code error;
  fs::copy_file(path_, copy_, fs::copy_options::overwrite_existing, error);
  if (error) {
    std::remove(copy_.c_str());
    stop_failed("{}: no room for a copy to go back to: {}", path_, error.message());
  }
}

FileBackup::FileBackup(FileBackup&& other) noexcept
    : path_(std::move(other.path_)), copy_(std::exchange(other.copy_, "")) {}

void FileBackup::restore() noexcept {
  if (copy_.empty()) return;
  const HeldInterrupts held;
  try {
    if (write_back(copy_, path_)) return;
    print_error(fmt::format("{}: could not be put back; {} is the file as it was", path_, copy_));
  } catch (const std::exception&) {
    // The copy stays.
  }
  copy_.clear();
}

void FileBackup::forget() {
  if (!copy_.empty()) std::remove(copy_.c_str());
  copy_.clear();
}

}  // namespace tool
