// What is kept of a shared index across brackets: nobody's change goes unnoticed, whether the
// writer knows this library or not, and whatever the file system notes of it.
#include <chrono>
#include <thread>

#include "frame/change_watch.h"
#include "support/fault_plan.h"
#include "support/ndx_fixture.h"
#include "table/lock_scheme.h"
#include "table/locks.h"

namespace {

using namespace std::chrono_literals;
using vqdb::ChangeTimes;
using vqdb::platform::File;
using vqdb::platform::LastChange;
using vqdb::platform::Sharing;

// A file on a system whose clock ticks every 4 ms, with times of ticks, of looks or of seconds.
class Notes {
 public:
  enum class Kind { ticks, looks, seconds };

  explicit Notes(Kind kind) : kind_(kind) {}

  void pass(std::int64_t nanoseconds) { now_ += nanoseconds; }
  std::int64_t clock() const { return now_ - now_ % 4'000'000 + 457; }
  void write() {
    const std::int64_t coarse = std::max(clock(), floor_);
    if (kind_ == Kind::looks && looked_ && coarse <= change_.time) floor_ = ++now_;
    change_.time = kind_ == Kind::seconds ? now_ - now_ % 1'000'000'000 : std::max(coarse, floor_);
    looked_ = false;
  }
  LastChange look() {
    looked_ = true;
    return change_;
  }

 private:
  const Kind kind_;
  std::int64_t now_ = 1'700'000'000'000'000'000;
  std::int64_t floor_ = 0;  // the latest time that was finer than a tick
  LastChange change_;
  bool looked_ = false;
};

TEST(ChangeTimes, no_write_goes_unnoticed) {
  std::mt19937 random(5);
  for (const Notes::Kind kind : {Notes::Kind::ticks, Notes::Kind::looks, Notes::Kind::seconds}) {
    Notes file(kind);
    ChangeTimes times;
    bool written = true;
    int unchanged = 0;
    for (int step = 0; step < 200'000; ++step) {
      file.pass(static_cast<std::int64_t>(random() % 1000));
      const auto choice = random() % 100;
      if (choice == 50) file.pass(static_cast<std::int64_t>(random() % 30) * 2'000'000);
      const bool own = choice < 10;
      if (choice < 20) {
        file.write();
        written = written || !own;
      }
      if (own) times.forget();
      if (!own && choice % 2 == 0) continue;
      const std::int64_t before = file.clock();
      const LastChange found = file.look();
      if (random() % 50 == 0) file.pass(4'000'000);
      const bool same = times.look(found, before, file.clock(), own);
      ASSERT_FALSE(same && written) << step;
      unchanged += same ? 1 : 0;
      written = false;
    }
    EXPECT_EQ(kind == Notes::Kind::looks, times.grain() == ChangeTimes::Grain::look);
    EXPECT_EQ(kind == Notes::Kind::seconds, unchanged == 0);
  }
}

// A program that takes no lock may still be writing the bytes when their time can be seen.
TEST(ChangeTimes, what_is_written_behind_its_time_is_read_in_the_end) {
  for (const Notes::Kind kind : {Notes::Kind::ticks, Notes::Kind::looks}) {
    Notes file(kind);
    ChangeTimes times;
    const auto look = [&] { return times.look(file.look(), file.clock(), file.clock(), false); };
    file.write();
    file.pass(30'000'000);
    EXPECT_FALSE(look());
    EXPECT_TRUE(look());
    file.pass(1'000'000'000);
    EXPECT_FALSE(look());
    EXPECT_TRUE(look());
  }
}

// A program that takes no lock writes within a change of one's own, which goes on and on.
TEST(ChangeTimes, what_is_written_within_own_changes_is_read_in_the_end) {
  Notes file(Notes::Kind::looks);
  ChangeTimes times;
  const auto look = [&](bool own) {
    return times.look(file.look(), file.clock(), file.clock(), own);
  };
  file.pass(1'000'000);
  int read_anew = 0;
  for (int i = 0; i < 100; ++i) {
    read_anew += look(false) ? 0 : 1;
    for (int change = 0; change < 2; ++change) {
      file.write();
      times.forget();
      look(true);
    }
    file.pass(50'001'000);
  }
  EXPECT_TRUE(read_anew >= 5 && read_anew <= 10) << read_anew;
}

class KeptPages : public NdxFixture {
 protected:
  static std::string key(std::uint32_t n) {
    const std::string digits = std::to_string(n);
    return text_key("K" + std::string(6 - digits.size(), '0') + digits, 20);
  }
  std::uint32_t seek(VqIndex* index, const std::string& sought) {
    std::uint32_t recno = 0;
    return lib.dNgetrno(index, sought.data(), &recno) == 0 ? recno : 0;
  }
  // Another program's change: the record number of the first key.
  void renumber(std::uint32_t recno) {
    std::string bytes(4, '\0');
    std::memcpy(bytes.data(), &recno, bytes.size());
    write_bytes(folder.file("K.NDX"), 512 + 8, bytes);
  }
};

TEST_F(KeptPages, changes_of_other_programs_are_seen_at_once) {
  VqIndex* index = make("K", "C20", 2);
  ASSERT_EQ(0, lib.dNputkey(index, key(1).data(), 1));
  for (std::uint32_t i = 1; i <= 1000; ++i) {
    renumber(i);
    ASSERT_EQ(i, seek(index, key(1)));
    ASSERT_EQ(i, seek(index, key(1)));
    const auto change = i % 2 == 0 ? lib.dNputkey : lib.dNrmkey;
    ASSERT_EQ(i == 1 ? -5 : 0, change(index, key(2).data(), 2));
  }
  EXPECT_EQ(0, lib.dNclose(index));
}

// Somebody has the lock and changes the file under it, between the calls of a search that has all
// pages in memory: the search waits. Others who read are in nobody's way.
TEST_F(KeptPages, a_search_waits_for_who_writes_and_not_for_who_reads) {
  VqIndex* index = make("K", "C20", 2);
  ASSERT_EQ(0, lib.dNputkey(index, key(1).data(), 1));
  ASSERT_EQ(1u, seek(index, key(1)));
  const auto& place = vqdb::table::kLockSchemes[0];
  File other;
  ASSERT_TRUE(other.open(folder.file("K.NDX"), vqdb::platform::Access::read_write).ok());
  ASSERT_TRUE(other.lock(place.file_offset, place.file_length, Sharing::shared).ok());
  EXPECT_EQ(1u, seek(index, key(1)));
  renumber(2);
  EXPECT_EQ(2u, seek(index, key(1)));
  ASSERT_TRUE(other.unlock(place.file_offset, place.file_length).ok());
  ASSERT_TRUE(other.lock(place.file_offset, place.file_length).ok());
  std::uint64_t calls = 0;
  const FaultPlan plan(0, Verdict::go_on, [&](Call) {
    if (++calls == 10) {
      renumber(3);
      EXPECT_TRUE(other.unlock(place.file_offset, place.file_length).ok());
    }
    return false;
  });
  EXPECT_EQ(3u, seek(index, key(1)));
  EXPECT_EQ(0, lib.dNclose(index));
}

// There may always be somebody who reads: one who waits to write asks to come first.
TEST_F(KeptPages, readers_give_way_to_who_waits_to_write) {
  VqIndex* index = make("K", "C20", 2);
  const auto& place = vqdb::table::kLockSchemes[0];
  File other;
  ASSERT_TRUE(other.open(folder.file("K.NDX"), vqdb::platform::Access::read_write).ok());
  ASSERT_TRUE(other.lock(place.file_offset, place.file_length, Sharing::shared).ok());
  std::uint64_t calls = 0;
  {
    const FaultPlan plan(0, Verdict::go_on, [&](Call) {
      if (++calls == 80) {
        EXPECT_TRUE(vqdb::table::somebody_asks_for_turn(other, 0));
        EXPECT_TRUE(other.unlock(place.file_offset, place.file_length).ok());
      }
      return false;
    });
    EXPECT_EQ(0, lib.dNputkey(index, key(1).data(), 1));
  }
  EXPECT_FALSE(vqdb::table::somebody_asks_for_turn(other, 0));
  ASSERT_TRUE(vqdb::table::ask_for_turn(other, 0));
  const auto begin = std::chrono::steady_clock::now();
  for (std::uint32_t i = 1; i <= 16; ++i) {
    renumber(i);
    EXPECT_EQ(i, seek(index, key(1)));
  }
  EXPECT_LE(90ms, std::chrono::steady_clock::now() - begin);
  EXPECT_EQ(0, lib.dNclose(index));
}

// The leaf is not in memory, what is above it is: somebody splits the leaf, or empties it, between
// any two calls of the search.
TEST_F(KeptPages, a_search_that_is_overtaken_begins_again) {
  VqIndex* mine = make("K", "C20", 2);
  VqIndex* theirs = open("K", 2);
  for (std::uint32_t n = 0; n < 4000; ++n) {
    ASSERT_EQ(0, lib.dNputkey(theirs, key(n * 100).data(), n + 1));
  }
  File place;
  ASSERT_TRUE(place.open(folder.file("K.NDX"), vqdb::platform::Access::read_write).ok());
  int changes = 0;
  for (const std::uint32_t sought : {1000u, 2000u, 3990u}) {
    bool inserts = true;
    for (std::uint64_t n = 1;; ++n) {
      SCOPED_TRACE(n);
      std::this_thread::sleep_for(25ms);         // so that the last change lies behind the clock
      for (std::uint32_t i = 0; i < 900; ++i) {  // puts the leaf out of memory
        const std::uint32_t other = (sought + 50 + 3 * i) % 4000;
        ASSERT_EQ(other + 1, seek(mine, key(other * 100)));
      }
      const auto change_unless_locked = [&] {
        if (!ok(vqdb::table::test_whole_file(block, place, 0))) return;
        for (std::uint32_t i = 1; i <= 60; ++i) {
          const std::string beside = key(sought * 100 - i);
          const auto change = inserts ? lib.dNputkey : lib.dNrmkey;
          ASSERT_EQ(0, change(theirs, beside.data(), 9000 + i));
        }
        inserts = !inserts;
        ++changes;
      };
      const auto [recno, came] = beside_another(
          n, [&] { return seek(mine, key(sought * 100)); }, change_unless_locked);
      ASSERT_EQ(sought + 1, recno);
      std::string next(20, ' ');
      std::uint32_t behind = 0;
      ASSERT_EQ(0, lib.dNnxtkey(mine, next.data(), &behind));
      ASSERT_EQ(sought + 2, behind);
      if (!came) break;
    }
  }
  EXPECT_LE(9, changes) << "each search makes four calls without a lock";
  EXPECT_EQ(0, lib.dNclose(theirs));
  EXPECT_EQ(0, lib.dNclose(mine));
}

// 4000 keys lie in some 440 pages.
TEST_F(KeptPages, pages_beside_one_another_come_by_one_call) {
  VqIndex* index = make("K", "C20");
  for (std::uint32_t n = 0; n < 4000; ++n) ASSERT_EQ(0, lib.dNputkey(index, key(n).data(), n + 1));
  ASSERT_EQ(0, lib.dNclose(index));
  index = open("K", 0, 1000);
  const FaultPlan plan(0);
  for (std::uint32_t n = 0; n < 4000; ++n)
    ASSERT_EQ(n * 7 % 4000 + 1, seek(index, key(n * 7 % 4000)));
  EXPECT_GT(150u, plan.calls());
  EXPECT_EQ(0, lib.dNclose(index));
}

// Somebody has cut the last two leaves off the file, within the eight pages that are read at once.
TEST_F(KeptPages, a_page_is_read_where_those_beside_it_are_gone) {
  VqIndex* index = make("K", "C20");
  for (std::uint32_t n = 0; n < 550; ++n) ASSERT_EQ(0, lib.dNputkey(index, key(n).data(), n + 1));
  ASSERT_EQ(0, lib.dNclose(index));
  index = open("K", 0, 1000);
  const std::string path = folder.file("K.NDX");
  std::filesystem::resize_file(path, std::filesystem::file_size(path) - 2 * 512);
  std::uint32_t found = 0;
  for (std::uint32_t n = 0; n < 550; ++n) found += seek(index, key(n)) == n + 1 ? 1 : 0;
  EXPECT_EQ(530u, found);
  EXPECT_EQ(0, lib.dNclose(index));
}

}  // namespace
