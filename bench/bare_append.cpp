#include "bare_append.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "customers.h"
#include "folder.h"
#include "require.h"

namespace vqdb::bench {
namespace {

constexpr off_t kFileLock = 0xEFFFFFFE;
constexpr off_t kAppendLock = 0xEFFFFFFF;
constexpr off_t kHeaderBytes = 257;
constexpr std::size_t kPageBytes = 512;
constexpr std::uint32_t kPages = 4096;

std::string table_name() { return file_in_folder("BARE.DBF"); }
std::string index_name(std::size_t number) {
  return file_in_folder("BARE" + std::to_string(number) + ".NDX");
}

int open_file(const std::string& name) {
  const int file = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  require(file >= 0, "open");
  return file;
}

void lock(int file, int command, short type, off_t start, off_t bytes) {
  struct flock place = {};
  place.l_type = type;
  place.l_whence = SEEK_SET;
  place.l_start = start;
  place.l_len = bytes;
  require(fcntl(file, command, &place) == 0, "fcntl");
}

void write_at(int file, off_t offset, const void* bytes, std::size_t count) {
  require(pwrite(file, bytes, count, offset) == static_cast<ssize_t>(count), "pwrite");
}

void look_at_time(int file) {
  struct stat now;
  require(fstat(file, &now) == 0, "fstat");
}

}  // namespace

void BareAppend::make(std::size_t indexes) {
  unlink(table_name().c_str());
  const int table = open_file(table_name());
  const std::array<char, kHeaderBytes + 1> header = {};
  write_at(table, 0, header.data(), header.size());
  close(table);
  const std::array<char, kPageBytes> page = {};
  for (std::size_t i = 0; i < indexes; ++i) {
    const int index = open_file(index_name(i));
    // One by one, as a growing index does: the system keeps what comes in one long write in one
    // piece of its cache, and short writes into that take four times as long.
    for (std::uint32_t n = 0; n < kPages; ++n) {
      write_at(index, off_t{n} * off_t{kPageBytes}, page.data(), page.size());
    }
    close(index);
  }
}

BareAppend::BareAppend(std::size_t indexes) : table_(open_file(table_name())) {
  for (std::size_t i = 0; i < indexes; ++i) indexes_.push_back(open_file(index_name(i)));
}

BareAppend::~BareAppend() {
  for (const int index : indexes_) close(index);
  close(table_);
}

void BareAppend::append(const char* record) {
  for (const int index : indexes_) {
    lock(index, F_OFD_SETLKW, F_WRLCK, kFileLock, 2);
    look_at_time(index);
  }
  lock(table_, F_OFD_SETLKW, F_WRLCK, kAppendLock, 1);
  lock(table_, F_OFD_GETLK, F_WRLCK, kFileLock, 1);
  std::uint32_t count = 0;
  require(pread(table_, &count, sizeof count, 4) == sizeof count, "pread");
  const off_t end = kHeaderBytes + off_t{count} * off_t{kRecordBytes};
  require(lseek(table_, 0, SEEK_END) == end + 1, "lseek");
  std::array<char, kRecordBytes + 1> bytes;
  std::copy_n(record, kRecordBytes, bytes.data());
  bytes.back() = 0x1A;
  write_at(table_, end, bytes.data(), bytes.size());
  ++count;
  std::array<char, 7> date_and_count = {};
  std::copy_n(reinterpret_cast<const char*>(&count), sizeof count, &date_and_count[3]);
  write_at(table_, 1, date_and_count.data(), date_and_count.size());
  lock(table_, F_OFD_SETLK, F_UNLCK, kAppendLock, 1);
  const std::array<char, kPageBytes> page = {};
  for (const int index : indexes_) {
    page_ = (page_ * 5 + 1) % kPages;
    write_at(index, off_t{page_} * off_t{kPageBytes}, page.data(), page.size());
    look_at_time(index);
    lock(index, F_OFD_SETLK, F_UNLCK, kFileLock, 2);
  }
}

Sum BareAppend::sum() {
  const int table = open_file(table_name());
  std::array<char, kRecordBytes> record;
  Sum sum = 0;
  for (off_t at = kHeaderBytes;
       pread(table, record.data(), kRecordBytes, at) == static_cast<ssize_t>(kRecordBytes);
       at += off_t{kRecordBytes}) {
    sum += sum_of_record(record.data());
  }
  close(table);
  return sum;
}

}  // namespace vqdb::bench
