// Two handles that share a table through locks.

#include <optional>

#include "table/scratch_table.h"

namespace {

// A table of ten records open twice, each time with a block of its own.
struct Pair {
  explicit Pair(std::uint32_t scheme, std::uint32_t mode = 2) {
    scratch.append(1, 10);
    block_a.index_kind = block_b.index_kind = scheme;
    a.emplace(block_a, scratch.name, mode, 1);
    b.emplace(block_b, scratch.name, mode, 1);
  }

  template <typename Function, typename... Args>
  std::string by_a(Function function, Args... args) {
    block_a.detail = 0;
    return codes(function(*a, args...), block_a);
  }
  template <typename Function, typename... Args>
  std::string by_b(Function function, Args... args) {
    block_b.detail = 0;
    return codes(function(*b, args...), block_b);
  }

  ScratchTable scratch;
  VqBlock block_a = scratch.block, block_b = scratch.block;
  std::optional<OpenTable> a, b;
};

const std::string kDone = "0/0";
const std::string kNobody = "-35/0";
const std::string kSomebodyElse = "-37/10453";
const std::string kRecord = ScratchTable::record(77);

class Locks : public testing::TestWithParam<std::uint32_t> {};
INSTANTIATE_TEST_SUITE_P(Schemes, Locks, testing::Values(0, 1, 2, 3));

TEST_P(Locks, a_record_lock_keeps_others_from_the_record_and_the_file) {
  for (const std::uint32_t mode : {2u, 4u}) {
    Pair pair(GetParam(), mode);
    EXPECT_EQ(kDone, pair.by_a(lib.dDlkrec, 5));
    EXPECT_EQ(kDone, pair.by_a(lib.dDlkrec, 5)) << "held already";
    EXPECT_EQ("-37/504", pair.by_b(lib.dDlkrec, 5));
    EXPECT_NE(0, +pair.block_b.system_error);
    EXPECT_EQ("-37/484", pair.by_b(lib.dDlkfil));
    EXPECT_EQ(kSomebodyElse, pair.by_b(lib.dDlkrsta, 5));
    EXPECT_EQ(kNobody, pair.by_b(lib.dDlkrsta, 6));
    EXPECT_EQ(kNobody, pair.by_b(lib.dDlkfsta));
    EXPECT_EQ(kDone, pair.by_a(lib.dDlkrsta, 5));

    EXPECT_EQ(kSomebodyElse, pair.by_b(lib.dDupdrec, 5, kRecord.data()));
    EXPECT_EQ(kSomebodyElse, pair.by_b(lib.dDdelrec, 5));
    EXPECT_EQ(kDone, pair.by_b(lib.dDupdrec, 6, kRecord.data()));
    EXPECT_EQ(kDone, pair.by_a(lib.dDupdrec, 5, kRecord.data()));
    EXPECT_EQ(kDone, pair.by_b(lib.dDapprec, kRecord.data())) << "appending is not kept out";

    EXPECT_EQ(kDone, pair.by_b(lib.dDlkrec, 4));
    EXPECT_EQ(kDone, pair.by_b(lib.dDlkrec, 6));
    EXPECT_EQ(kDone, pair.by_a(lib.dDpoplk));
    EXPECT_EQ(kNobody, pair.by_b(lib.dDlkrsta, 5));
    EXPECT_EQ(kDone, pair.by_b(lib.dDlkfil)) << "its own records do not keep it out";
    EXPECT_EQ("-37/504", pair.by_a(lib.dDlkrec, 4)) << "the file lock kept them locked";
  }
}

TEST_P(Locks, a_file_lock_keeps_others_out) {
  Pair pair(GetParam());
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkrec, 3));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkfil));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkfil)) << "held already";
  EXPECT_EQ("-38/483", pair.by_b(lib.dDlkfil));
  EXPECT_EQ("-38/505", pair.by_b(lib.dDlkrec, 9));
  EXPECT_EQ("-38/324", pair.by_b(lib.dDapprec, kRecord.data()));
  EXPECT_EQ(-1, +pair.block_b.record_number);
  EXPECT_EQ("-38/324", pair.by_b(lib.dDlkapp));
  EXPECT_EQ(kSomebodyElse, pair.by_b(lib.dDupdrec, 9, kRecord.data()));
  EXPECT_EQ(kSomebodyElse, pair.by_b(lib.dDlkfsta));
  EXPECT_EQ(kSomebodyElse, pair.by_b(lib.dDlkrsta, 9));

  EXPECT_EQ(kDone, pair.by_a(lib.dDlkfsta));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkrsta, 9)) << "who has the file has its records";
  EXPECT_EQ(kDone, pair.by_a(lib.dDapprec, kRecord.data()));
  EXPECT_EQ(kDone, pair.by_a(lib.dDupdrec, 9, kRecord.data()));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkrec, 9));
  EXPECT_EQ("-38/324", pair.by_b(lib.dDapprec, kRecord.data())) << "still";

  EXPECT_EQ(kDone, pair.by_a(lib.dDulkfil));
  EXPECT_EQ("-35/493", pair.by_a(lib.dDulkfil));
  EXPECT_EQ(kDone, pair.by_b(lib.dDapprec, kRecord.data()));
  EXPECT_EQ(kSomebodyElse, pair.by_b(lib.dDlkrsta, 3)) << "its records are still locked";
  EXPECT_EQ(kSomebodyElse, pair.by_b(lib.dDlkrsta, 9));
  EXPECT_EQ(0, pair.a->close());
  EXPECT_EQ(kDone, pair.by_b(lib.dDlkfil)) << "closing released them";
}

TEST_P(Locks, an_append_lock_lasts_until_it_is_given_back) {
  Pair pair(GetParam());
  EXPECT_EQ("-35/352", pair.by_a(lib.dDulkapp));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkapp));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkapp)) << "held already";
  EXPECT_EQ(kDone, pair.by_a(lib.dDapprec, kRecord.data()));
  EXPECT_EQ("-38/324", pair.by_b(lib.dDapprec, kRecord.data()));
  EXPECT_EQ("-38/483", pair.by_b(lib.dDlkfil));
  EXPECT_EQ(kNobody, pair.by_a(lib.dDlkfsta)) << "and looking does not drop it";
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkrec, 1));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkfil));
  EXPECT_EQ(kDone, pair.by_a(lib.dDulkfil));
  EXPECT_EQ("-38/324", pair.by_b(lib.dDapprec, kRecord.data()));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkfil));
  EXPECT_EQ(kDone, pair.by_a(lib.dDulkapp));
  EXPECT_EQ("-38/324", pair.by_b(lib.dDapprec, kRecord.data())) << "the file lock's";
  EXPECT_EQ(kDone, pair.by_a(lib.dDulkfil));
  EXPECT_EQ(kDone, pair.by_b(lib.dDapprec, kRecord.data()));
  EXPECT_EQ(kDone, pair.by_a(lib.dDapprec, kRecord.data())) << "an append gives back its own";
}

TEST_P(Locks, form_a_stack) {
  Pair pair(GetParam());
  std::uint32_t top = 99;
  EXPECT_EQ("-35/493", pair.by_a(lib.dDpoplk));
  EXPECT_EQ("-35/493", pair.by_a(lib.dDlktop, &top));
  for (std::uint32_t i = 1; i <= 40; ++i) EXPECT_EQ(kDone, pair.by_a(lib.dDlkrec, 100 + i));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkfil));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkrec, 7));
  EXPECT_EQ(kDone, pair.by_a(lib.dDulkrec, 102));
  EXPECT_EQ("-35/493", pair.by_a(lib.dDulkrec, 102));
  EXPECT_EQ("-35/493", pair.by_a(lib.dDulkrec, 0)) << "not a way to unlock the file";
  EXPECT_EQ(41, lib.dDlkcnt(*pair.a));

  std::uint32_t list[3] = {};
  EXPECT_EQ(40, lib.dDlklist(*pair.a, list, 2));
  EXPECT_EQ((std::vector<std::uint32_t>{101, 103, 0}), std::vector(list, list + 3));
  EXPECT_EQ(40, lib.dDlklist(*pair.a, nullptr, 0));
  for (const std::uint32_t expected : {7u, 0u, 140u, 139u}) {
    EXPECT_EQ(kDone, pair.by_a(lib.dDlktop, &top));
    EXPECT_EQ(expected, top);
    EXPECT_EQ(kDone, pair.by_a(lib.dDpoplk));
  }
  EXPECT_EQ(kNobody, pair.by_b(lib.dDlkrsta, 139));
  EXPECT_EQ(kSomebodyElse, pair.by_b(lib.dDlkrsta, 138));
}

TEST_P(Locks, name_records_that_the_scheme_has_bytes_for) {
  Pair pair(GetParam());
  const std::uint32_t room = (0xEFFFFFFE - 97) / 15;  // records that the file can hold
  const std::uint32_t limits[] = {room, 0x7FFFFFE, room, room};
  const std::uint32_t most = std::min(room, limits[GetParam()]);
  std::string out(15, '?');
  for (const std::uint32_t recno : {0u, most + 1, 0xFFFFFFFFu}) {
    EXPECT_EQ("-4/502", pair.by_a(lib.dDlkrec, recno));
    EXPECT_EQ("-4/10451", pair.by_a(lib.dDlkrsta, recno));
  }
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkrec, most));
  EXPECT_EQ("-37/484", pair.by_b(lib.dDlkfil));
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkgetr, 5, out.data()));
  EXPECT_EQ(ScratchTable::record(5), out);
  EXPECT_EQ("-4/263", pair.by_a(lib.dDlkgetr, 11, out.data()));
  EXPECT_EQ(2, lib.dDlkcnt(*pair.a)) << "a record that cannot be read is not kept locked";
  EXPECT_EQ("-37/504", pair.by_b(lib.dDlkgetr, 5, out.data()));
}

TEST(LockedRead, takes_the_record_from_the_file) {
  for (const std::uint32_t mode : {2u, 3u, 4u, 5u, 6u}) {
    for (std::uint16_t flags = 0; flags < 4; ++flags) {
      Pair pair(0, mode);
      pair.block_a.runtime_flags = flags;
      const std::size_t skip = flags & 1;
      OpenTable writer(pair.block_b, pair.scratch.name, 2, 0);
      std::string out(15 - skip, '?');
      ASSERT_EQ(kDone, pair.by_a(lib.dDgetrec, 5, out.data()));
      ASSERT_EQ(0, lib.dDupdrec(writer, 5, kRecord.data()));
      ASSERT_EQ(0, lib.dDapprec(writer, kRecord.data()));
      ASSERT_EQ(kDone, pair.by_a(lib.dDlkgetr, 5, out.data())) << mode;
      EXPECT_EQ(kRecord.substr(skip), out) << mode << " " << flags;
      ASSERT_EQ(kDone, pair.by_a(lib.dDlkgetr, 11, out.data())) << "the other's new record" << mode;
      EXPECT_EQ(kRecord.substr(skip), out);
      out[5] = '#';
      ASSERT_EQ(kDone, pair.by_a(lib.dDgetrec, 5, out.data()));
      EXPECT_EQ(kRecord.substr(skip), out) << "a buffered record is brought up to date " << mode;
    }
  }
  // In an exclusive mode the latest record is the one in the buffers.
  Pair pair(0, 0);
  std::string out(15, '?');
  ASSERT_EQ(kDone, pair.by_a(lib.dDupdrec, 5, kRecord.data()));
  ASSERT_EQ(kDone, pair.by_a(lib.dDlkgetr, 5, out.data()));
  EXPECT_EQ(kRecord, out);
}

TEST(SharedModes, records_that_were_never_read_are_not_kept) {
  for (const std::uint32_t mode : {4u, 5u}) {
    ScratchTable scratch;
    scratch.append(1, 5 * ScratchTable::kRecordsPerBlock);
    OpenTable reader(scratch.block, scratch.name, mode, 20);
    VqBlock block = scratch.block;
    OpenTable writer(block, scratch.name, 2, 0);
    std::string out(15, '?');
    constexpr std::uint32_t kSecond = ScratchTable::kRecordsPerBlock + 1;
    ASSERT_EQ(0, lib.dDgetrec(reader, 1, out.data()));
    ASSERT_EQ(0, lib.dDupdrec(writer, kSecond, kRecord.data()));
    ASSERT_EQ(0, lib.dDgetrec(reader, kSecond, out.data()));
    EXPECT_EQ(kRecord, out) << mode;
  }
}

TEST(Locks, of_many_records_are_found_at_once) {
  Pair pair(0);
  std::uint32_t top = 0;
  // Every other record, so that the system cannot join their bytes.
  for (std::uint32_t i = 1; i <= 2000; ++i) ASSERT_EQ(kDone, pair.by_a(lib.dDlkrec, 2 * i));
  for (std::uint32_t i = 1; i <= 2000; i += 2) ASSERT_EQ(kDone, pair.by_a(lib.dDulkrec, 2 * i));
  EXPECT_EQ(1000, lib.dDlkcnt(*pair.a));
  for (std::uint32_t i = 2000; i > 1990; i -= 2) {
    EXPECT_EQ(kDone, pair.by_a(lib.dDlktop, &top));
    EXPECT_EQ(2 * i, top);
    EXPECT_EQ(kDone, pair.by_a(lib.dDpoplk));
  }
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkfil)) << "its own records do not count";
  EXPECT_EQ(kDone, pair.by_a(lib.dDlkrec, 2));
  EXPECT_EQ(997, lib.dDlkcnt(*pair.a));
}

TEST(LocksWithoutOperations, refuse_requests_and_let_changes_through) {
  Pair pair(4);
  std::string out(15, '?');
  std::uint32_t top = 0;
  EXPECT_EQ("-13/482", pair.by_a(lib.dDlkfil));
  EXPECT_EQ("-13/492", pair.by_a(lib.dDulkfil));
  EXPECT_EQ("-13/503", pair.by_a(lib.dDlkrec, 1));
  EXPECT_EQ("-13/492", pair.by_a(lib.dDulkrec, 1));
  EXPECT_EQ("-13/503", pair.by_a(lib.dDlkgetr, 1, out.data()));
  EXPECT_EQ("-13/326", pair.by_a(lib.dDlkapp));
  EXPECT_EQ("-13/326", pair.by_a(lib.dDulkapp));
  EXPECT_EQ("-13/10452", pair.by_a(lib.dDlkrsta, 1));
  EXPECT_EQ("-13/10452", pair.by_a(lib.dDlkfsta));
  EXPECT_EQ("-35/493", pair.by_a(lib.dDlktop, &top));
  EXPECT_EQ(0, lib.dDlkcnt(*pair.a));
  EXPECT_EQ(kDone, pair.by_a(lib.dDapprec, kRecord.data()));
  EXPECT_EQ(kDone, pair.by_b(lib.dDupdrec, 11, kRecord.data()));
}

}  // namespace
