#include "support/files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

namespace vqdb::testing {
namespace fs = std::filesystem;

TemporaryFolder::TemporaryFolder() {
  static constexpr std::string_view kDigits = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  std::random_device random;
  do {
    std::string name = "VQ";
    for (int i = 0; i < 6; ++i) {
      name += kDigits[random() % kDigits.size()];
    }
    path_ = fs::temp_directory_path() / name;
  } while (!fs::create_directory(path_));
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(path_, ignored);
}

std::string TemporaryFolder::file(std::string_view name) const { return (path_ / name).string(); }

std::vector<std::string> TemporaryFolder::list() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(path_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

bool file_exists(const std::string& name) { return fs::is_regular_file(name); }

std::string read_file(const std::string& name) {
  std::ifstream stream(name, std::ios::binary);
  EXPECT_TRUE(stream.is_open()) << "cannot read " << name;
  std::error_code ignored;
  const std::uintmax_t size = fs::file_size(name, ignored);
  std::string bytes(stream.is_open() ? static_cast<std::size_t>(size) : 0, '\0');
  stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(stream.gcount()));
  return bytes;
}

std::string read_bytes(const std::string& name, std::size_t offset, std::size_t count) {
  const std::string all = read_file(name);
  return offset < all.size() ? all.substr(offset, count) : std::string();
}

void write_file(const std::string& name, std::string_view bytes) {
  // An older file is not cut to nothing first: some systems then wait for the disk.
  const bool older = fs::exists(name);
  std::ofstream stream(name, std::ios::binary | (older ? std::ios::in : std::ios::trunc));
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  EXPECT_TRUE(stream.good()) << "cannot write " << name;
  if (older) fs::resize_file(name, bytes.size());
}

void write_bytes(const std::string& name, std::size_t offset, std::string_view bytes) {
  std::fstream stream(name, std::ios::binary | std::ios::in | std::ios::out);
  stream.seekp(static_cast<std::streamoff>(offset));
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  EXPECT_TRUE(stream.good()) << "cannot write " << name;
}

}  // namespace vqdb::testing
