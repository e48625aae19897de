// Any bytes as a table: opened under some dialect, in some mode, with some number of buffers, then
// described, read and, where the mode lets it, changed in every way.

#include <array>

#include "folder.h"
#include "vqdbsys.h"

namespace {

// What the first bytes of an input choose.
struct Choices {
  std::uint8_t dialect;
  std::uint8_t mode;
  std::uint8_t buffers;
  std::uint8_t flags;
};

constexpr std::array<std::uint32_t, 7> kDialects = {1, 2, 4, 7, 8, 32776, 16};
constexpr std::array<std::uint32_t, 6> kModes = {0, 1, 2, 4, 3, 5};
constexpr std::array<std::int32_t, 5> kBuffers = {0, 1, 3, 40, 500};
constexpr std::uint32_t kSomeRecords = 40;

void describe(VqTable* table) {
  char name[11];
  const std::int32_t fields = dDfields(table);
  for (std::int32_t i = 0; i <= fields + 1; ++i) {
    if (dDfldnm(table, i, name) == 0) dDfldno(table, name);
  }
  std::int32_t month = 0, day = 0, year = 0;
  dDdate(table, &month, &day, &year);
}

void read(VqTable* table, std::uint32_t count, std::vector<char>& record) {
  for (std::uint32_t n = 0; n <= kSomeRecords; ++n) {
    dDgetrec(table, n, record.data());
    dDrecsta(table, n);
    dDgetrec(table, count - n / 2 + 1, record.data());
  }
}

// Appends may grow the file no further than the lock area, wherever the header says it ends.
void change(VqTable* table, std::uint32_t count, std::vector<char>& record) {
  record[0] = ' ';
  for (const std::uint32_t n : {std::uint32_t{1}, count / 2, count}) {
    dDupdrec(table, n, record.data());
    dDdelrec(table, n);
    dDrclrec(table, n);
  }
  dDapprec(table, record.data());
  dDflush(table);
  if (count < 10 * kSomeRecords) {
    dDinsrec(table, count / 2 + 1, record.data());
    dDrmrec(table, 1);
    dDrmrec(table, count);
  }
  dDclearbuf(table);
  dDgetrec(table, count, record.data());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < sizeof(Choices)) return 0;
  const Choices choices{data[0], data[1], data[2], data[3]};
  static const vqdb::fuzz::Folder folder;
  static const std::string path = folder.file("T.DBF");
  vqdb::fuzz::write_file(path, vqdb::fuzz::Input(data, size).subspan(sizeof(Choices)));

  VqBlock block;
  if (DBinit(&block, kDialects[choices.dialect % kDialects.size()]) != 0) std::abort();
  block.runtime_flags = choices.flags % 4;
  const std::int32_t buffers = kBuffers[choices.buffers % kBuffers.size()];
  dDmode(&block, path.c_str());
  dDbuffs(&block, path.c_str(), buffers);
  VqTable* const table =
      dDopen(&block, path.c_str(), kModes[choices.mode % kModes.size()], buffers);
  if (table == nullptr) return 0;
  describe(table);
  std::vector<char> record(static_cast<std::size_t>(dDreclen(table)));
  std::uint32_t count = 0;
  dDreccnt(table, &count);
  read(table, count, record);
  change(table, count, record);
  dDclose(table);
  folder.clear();
  return 0;
}
