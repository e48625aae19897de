#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/memory.h"
#include "support/fault_plan.h"
#include "support/ordinary_user.h"

namespace {

using namespace vqdb::platform;

std::string pattern(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 7 + i / 251);
  return bytes;
}

bool transfers(Call call) { return call == Call::read || call == Call::write; }

TEST(File, forty_thousand_bytes_go_in_three_calls) {
  const TemporaryFolder folder;
  const std::string bytes = pattern(40000);
  File file;
  ASSERT_TRUE(file.create(folder.file("A"), Creation::exclusive).ok());
  {
    const FaultPlan plan(0, Verdict::fail, transfers);
    ASSERT_TRUE(file.write_at(5, bytes.data(), bytes.size()).ok());
    EXPECT_EQ(3u, plan.calls());
  }
  std::string back(bytes.size(), '?');
  {
    const FaultPlan plan(0, Verdict::fail, transfers);
    ASSERT_TRUE(file.read_exactly(5, back.data(), back.size()).ok());
    EXPECT_EQ(3u, plan.calls());
  }
  EXPECT_EQ(bytes, back);
  EXPECT_EQ(std::string(5, '\0') + bytes, read_file(folder.file("A")));
}

TEST(File, a_transfer_ends_at_the_chunk_that_fails) {
  const std::string bytes = pattern(40000);
  const struct {
    std::uint64_t strike;
    Verdict verdict;
    Error error;
    std::size_t written;
  } cases[] = {{1, Verdict::fail, Error::disk_full, 0},
               {2, Verdict::fail, Error::disk_full, 16384},
               {2, Verdict::cut_short, Error::short_transfer, 16384 + 8192},
               {3, Verdict::cut_short, Error::short_transfer, 32768 + 3616}};
  for (const auto& c : cases) {
    const TemporaryFolder folder;
    File file;
    ASSERT_TRUE(file.create(folder.file("A"), Creation::exclusive).ok());
    {
      const FaultPlan plan(c.strike, c.verdict, transfers);
      EXPECT_EQ(c.error, file.write_at(0, bytes.data(), bytes.size()).error);
    }
    EXPECT_EQ(bytes.substr(0, c.written), read_file(folder.file("A")));

    ASSERT_TRUE(file.write_at(0, bytes.data(), bytes.size()).ok());
    std::string back(bytes.size(), '?');
    std::size_t transferred = 0;
    const FaultPlan plan(c.strike, c.verdict, transfers);
    const bool fails = c.verdict == Verdict::fail;
    EXPECT_EQ(!fails, file.read_at(0, back.data(), back.size(), transferred).ok());
    EXPECT_EQ(c.written, transferred);
  }
}

TEST(File, pieces_lie_one_behind_the_other_and_move_in_one_call) {
  const TemporaryFolder folder;
  File file;
  ASSERT_TRUE(file.create(folder.file("A"), Creation::exclusive).ok());
  std::string first = "abc", second = "defghij", third = "k";
  const std::array<Piece, 3> pieces = {
      {{first.data(), first.size()}, {second.data(), second.size()}, {third.data(), 1}}};
  {
    const FaultPlan plan(0, Verdict::fail, transfers);
    ASSERT_TRUE(file.write_pieces(2, pieces).ok());
    EXPECT_EQ(1u, plan.calls());
  }
  EXPECT_EQ("cdefghijk", read_file(folder.file("A")).substr(4));

  second.assign(7, '?');
  third = "?";
  std::size_t transferred = 0;
  ASSERT_TRUE(file.read_pieces(6, pieces, transferred).ok());
  EXPECT_EQ(7u, transferred) << "the file ends within the second piece";
  EXPECT_EQ("efg", first);
  EXPECT_EQ("hijk???", second);

  first = "ABC";
  second = "DEFGHIJ";
  const FaultPlan plan(1, Verdict::cut_short, transfers);
  EXPECT_EQ(Error::short_transfer, file.write_pieces(2, pieces).error);
  EXPECT_EQ("ABCDEfghijk", read_file(folder.file("A")).substr(2));
}

TEST(File, reading_past_the_end_is_short_but_no_failure) {
  const TemporaryFolder folder;
  write_file(folder.file("A"), "0123456789");
  File file;
  ASSERT_TRUE(file.open(folder.file("A"), Access::read_write).ok());
  std::array<char, 8> buffer = {};
  std::size_t transferred = 0;
  EXPECT_TRUE(file.read_at(7, buffer.data(), buffer.size(), transferred).ok());
  EXPECT_EQ(3u, transferred);
  EXPECT_TRUE(file.read_at(std::uint64_t{5} << 32, buffer.data(), 1, transferred).ok());
  EXPECT_EQ(0u, transferred);
  EXPECT_EQ(Error::short_transfer, file.read_exactly(7, buffer.data(), buffer.size()).error);
  EXPECT_TRUE(file.read_exactly(2, buffer.data(), buffer.size()).ok());
}

TEST(File, offsets_are_64_bits_wide) {
  const TemporaryFolder folder;
  File file;
  ASSERT_TRUE(file.create(folder.file("A"), Creation::exclusive).ok());
  ASSERT_TRUE(file.write_at(0x1'2345'6789, "far", 3).ok());
  std::uint64_t size = 0;
  ASSERT_TRUE(file.size(size).ok());
  EXPECT_EQ(0x1'2345'678Cu, size);
}

TEST(File, the_reason_of_a_failed_open_is_told) {
  const TemporaryFolder folder;
  write_file(folder.file("FILE"), "x");
  File file;
  EXPECT_EQ(Error::not_found, file.open(folder.file("NONE"), Access::read_write).error);
  EXPECT_EQ(Error::not_found, file.open(folder.file("NONE/A"), Access::read_write).error);
  EXPECT_EQ(Error::not_found, file.open(folder.file("FILE/A"), Access::read_write).error);
  EXPECT_EQ(Error::access_denied, file.open(folder.file(""), Access::read_write).error);
  EXPECT_EQ(Error::access_denied, file.open(folder.file(""), Access::read_only).error);
  EXPECT_EQ(Error::already_exists, file.create(folder.file("FILE"), Creation::exclusive).error);
  EXPECT_NE(0, file.create(folder.file("FILE"), Creation::exclusive).system_number);
  EXPECT_FALSE(file.is_open());
  EXPECT_EQ("x", read_file(folder.file("FILE")));

  rlimit limit = {};
  ASSERT_EQ(0, ::getrlimit(RLIMIT_NOFILE, &limit));
  const rlimit none = {0, limit.rlim_max};
  ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &none));
  const Outcome refused = file.open(folder.file("FILE"), Access::read_write);
  ASSERT_EQ(0, ::setrlimit(RLIMIT_NOFILE, &limit));
  EXPECT_EQ(Error::too_many_open, refused.error);

  ASSERT_TRUE(file.create(folder.file("FILE"), Creation::truncate).ok());
  EXPECT_EQ("", read_file(folder.file("FILE")));
}

TEST(File, a_full_disk_is_told_from_other_failures) {
  File file;
  ASSERT_TRUE(file.open("/dev/full", Access::read_write).ok());
  EXPECT_EQ(Error::disk_full, file.write_at(0, "x", 1).error);
}

TEST(File, a_file_that_may_not_be_written_opens_for_reading_where_that_is_accepted) {
  const TemporaryFolder folder;
  const std::string name = folder.file("A");
  write_file(name, "text");
  ::chmod(folder.path().c_str(), 0755);
  ::chmod(name.c_str(), 0444);
  File file;
  Outcome denied, accepted;
  {
    const OrdinaryUser user;
    denied = file.open(name, Access::read_write);
    accepted = file.open(name, Access::read_write_or_read);
  }
  EXPECT_EQ(Error::access_denied, denied.error);
  ASSERT_TRUE(accepted.ok());
  std::array<char, 4> text = {};
  EXPECT_TRUE(file.read_exactly(0, text.data(), text.size()).ok());
  EXPECT_FALSE(file.write_at(0, "x", 1).ok());

  // Locks through such a handle keep writers out.
  File writer;
  ::chmod(name.c_str(), 0666);
  ASSERT_TRUE(writer.open(name, Access::read_write).ok());
  EXPECT_TRUE(file.lock(100, 1).ok());
  EXPECT_EQ(Error::lock_refused, writer.lock(100, 1).error);
}

TEST(File, locks_exclude_other_opens_of_the_file_byte_by_byte) {
  const TemporaryFolder folder;
  write_file(folder.file("A"), "");
  File one, other;
  ASSERT_TRUE(one.open(folder.file("A"), Access::read_write).ok());
  ASSERT_TRUE(other.open(folder.file("A"), Access::read_write).ok());
  constexpr std::uint64_t kFar = 0xEFFFFFFE;

  ASSERT_TRUE(one.lock(kFar, 2).ok());
  const Outcome refused = other.lock(kFar + 1, 1);
  EXPECT_EQ(Error::lock_refused, refused.error);
  EXPECT_NE(0, refused.system_number);
  EXPECT_TRUE(other.lock(kFar - 1, 1).ok());
  EXPECT_TRUE(other.lock(kFar + 2, 1).ok());
  EXPECT_TRUE(other.lock(kFar & 0x7FFFFFFF, 1).ok());

  EXPECT_TRUE(one.unlock(kFar, 2).ok());
  EXPECT_TRUE(other.lock(kFar + 1, 1).ok());
  EXPECT_EQ(Error::lock_refused, one.lock(kFar, 2).error);
  ASSERT_TRUE(other.close().ok());
  EXPECT_TRUE(one.lock(kFar, 2).ok()) << "closing gives up what was held";
}

TEST(File, replace_takes_the_place_of_a_file) {
  const TemporaryFolder folder;
  write_file(folder.file("OLD"), "old");
  write_file(folder.file("NEW"), "new");
  EXPECT_TRUE(replace(folder.file("NEW"), folder.file("OLD")).ok());
  EXPECT_EQ((std::vector<std::string>{"OLD"}), folder.list());
  EXPECT_EQ("new", read_file(folder.file("OLD")));
  EXPECT_TRUE(replace(folder.file("OLD"), folder.file("A")).ok());
  EXPECT_EQ(Error::not_found, replace(folder.file("OLD"), folder.file("A")).error);
  EXPECT_EQ((std::vector<std::string>{"A"}), folder.list());
  EXPECT_TRUE(remove(folder.file("A")).ok());
  EXPECT_EQ(Error::not_found, remove(folder.file("A")).error);
}

TEST(File, is_the_same_over_every_path_that_leads_to_it) {
  namespace fs = std::filesystem;
  const TemporaryFolder folder;
  const std::string file = folder.file("A");
  write_file(file, "text");
  write_file(folder.file("B"), "text");
  fs::create_hard_link(file, folder.file("HARD"));
  fs::create_symlink("HARD", folder.file("SOFT"));
  for (const std::string& other :
       {file, folder.path().string() + "/../" + folder.path().filename().string() + "/./A",
        folder.file("HARD"), folder.file("SOFT")}) {
    EXPECT_TRUE(may_be_same_file(file, other)) << other;
  }
  for (const char* other : {"B", "NONE", ""})
    EXPECT_FALSE(may_be_same_file(file, folder.file(other)));
  EXPECT_FALSE(may_be_same_file(folder.file("NONE"), folder.file("NONE")));
  std::string real;
  EXPECT_TRUE(real_path(folder.file("SOFT"), real).ok());
  EXPECT_EQ(fs::canonical(folder.file("HARD")).string(), real);
  EXPECT_TRUE(real_path(folder.file("NONE"), real).ok());
  EXPECT_EQ(folder.file("NONE"), real);
}

TEST(File, tests_of_locks_keep_nobody_out) {
  const TemporaryFolder folder;
  write_file(folder.file("A"), "");
  File one, other;
  ASSERT_TRUE(one.open(folder.file("A"), Access::read_write).ok());
  ASSERT_TRUE(other.open(folder.file("A"), Access::read_only).ok());
  EXPECT_TRUE(other.test_lock(50, 100).ok());
  ASSERT_TRUE(one.lock(100, 1).ok()) << "the test holds nothing";
  EXPECT_EQ(Error::lock_refused, other.test_lock(50, 100).error);
  EXPECT_TRUE(other.test_lock(101, 100).ok());
  EXPECT_TRUE(one.test_lock(50, 100).ok()) << "its own locks do not count";
  EXPECT_EQ(Error::lock_refused, other.lock(100, 1).error) << "and stay";
}

TEST(File, shared_locks_go_together) {
  const TemporaryFolder folder;
  write_file(folder.file("A"), "");
  File one, other;
  ASSERT_TRUE(one.open(folder.file("A"), Access::read_write).ok());
  ASSERT_TRUE(other.open(folder.file("A"), Access::read_write).ok());
  ASSERT_TRUE(one.lock(100, 2, Sharing::shared).ok());
  EXPECT_TRUE(other.test_lock(101, 1, Sharing::shared).ok());
  EXPECT_TRUE(other.lock(100, 2, Sharing::shared).ok());
  EXPECT_EQ(Error::lock_refused, one.lock(101, 1).error);
  ASSERT_TRUE(one.unlock(100, 2).ok());
  EXPECT_EQ(Error::lock_refused, one.lock(100, 2).error);
  ASSERT_TRUE(other.unlock(100, 2).ok());
  ASSERT_TRUE(one.lock(100, 2).ok());
  EXPECT_EQ(Error::lock_refused, other.lock(100, 2, Sharing::shared).error);
}

// Whatever call is made to fail does nothing but fail.
TEST(File, every_call_passes_the_seam) {
  const TemporaryFolder folder;
  write_file(folder.file("A"), "text");
  write_file(folder.file("B"), "other");
  File file, closing;
  std::uint64_t size = 0;
  std::array<char, 4> buffer = {};
  ASSERT_TRUE(file.open(folder.file("A"), Access::read_write).ok());
  ASSERT_TRUE(closing.open(folder.file("A"), Access::read_write).ok());
  const std::vector<std::function<Outcome()>> calls = {
      [&] { return File().open(folder.file("A"), Access::read_write); },
      [&] { return File().create(folder.file("A"), Creation::truncate); },
      [&] { return closing.close(); },
      [&] { return file.read_exactly(0, buffer.data(), buffer.size()); },
      [&] { return file.write_at(0, "XXXX", 4); },
      [&] { return file.size(size); },
      [&] { return file.sync(); },
      [&] { return file.lock(9, 1); },
      [&] { return file.unlock(9, 1); },
      [&] { return remove(folder.file("A")); },
      [&] { return file.test_lock(9, 1); },
      [&] { return file.truncate(1); },
      [&] { return File().create_replacement(folder.file("C"), folder.file("A")); },
      [&] { return File().create_scratch(folder.file("C")); },
      [&] { return replace(folder.file("B"), folder.file("A")); },
  };
  for (std::size_t i = 0; i < calls.size(); ++i) {
    const FaultPlan plan(1);
    EXPECT_FALSE(calls[i]().ok()) << "call " << i;
    EXPECT_EQ(1u, plan.calls()) << "call " << i;
  }
  EXPECT_EQ((std::vector<std::string>{"A", "B"}), folder.list());
  EXPECT_EQ("text", read_file(folder.file("A")));
  EXPECT_FALSE(closing.is_open()) << "a failed close has closed all the same";
}

TEST(Memory, blocks_are_zeroed_and_aligned_and_exhaustion_is_an_answer) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{100000}}) {
    for (int round = 0; round < 3; ++round) {
      const Bytes block = allocate_bytes(size);
      ASSERT_NE(nullptr, block);
      EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(block.get()) % kBlockAlignment);
      for (std::size_t i = 0; i < size; ++i) ASSERT_EQ(0, block[i]);
      std::fill_n(block.get(), size, std::uint8_t{0xFF});
    }
  }
  EXPECT_EQ(nullptr, allocate(~std::size_t{0} - 8));
  const FaultPlan plan(1);
  EXPECT_EQ(nullptr, allocate(1));
}

}  // namespace
