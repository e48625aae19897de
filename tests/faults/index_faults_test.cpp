// The n-th call of the system fails, for n = 1, 2, ... until a whole history of changes succeeds.
// Whatever failed, the tree in memory stays whole, the file opens as it lies on disk at that
// moment, and no key that was flushed before is lost.

#include "support/fault_plan.h"
#include "support/ndx_fixture.h"

namespace {

using namespace vqdb;

struct Setting {
  const char* name;
  std::uint32_t mode;
  std::int32_t buffers;
  Verdict verdict;
  bool and_all_after;
};

class NdxFaults : public NdxFixture, public ::testing::WithParamInterface<Setting> {
 protected:
  static constexpr std::uint32_t kKept = 80;      // flushed before anything fails
  static constexpr std::uint32_t kRemoved = 60;   // flushed too, and removed under failures
  static constexpr std::uint32_t kInserted = 60;  // inserted under failures

  // Long keys make a deep tree of few entries.
  static std::string key(std::uint32_t n) {
    std::string digits = std::to_string(n * 37 % 1000);
    return text_key("KEY" + std::string(4 - digits.size(), '0') + digits, 100);
  }

  void SetUp() override {
    NdxFixture::SetUp();
    VqIndex* index = make("F", "C100");
    for (std::uint32_t n = 1; n <= kKept + kRemoved; ++n) {
      ASSERT_EQ(0, lib.dNputkey(index, key(n).data(), n));
    }
    ASSERT_EQ(0, lib.dNclose(index));
    start_ = read_file(folder.file("F.NDX"));
  }

  // What was acknowledged goes into the model; a failure has its code and a detail.
  void expect_code(int32_t result) {
    if (result == 0) return;
    EXPECT_TRUE(result == -17 || result == -14 || result == -39 || result == -40) << result;
    EXPECT_NE(0, int32_t{block.detail});
    ++failures_;
  }

  void put(VqIndex* index, std::uint32_t n) {
    block.detail = 0;
    const int32_t result = lib.dNputkey(index, key(n).data(), n);
    expect_code(result);
    (result == 0 ? present_ : unsure_)[key(n)] = n;
  }
  void remove(VqIndex* index, std::uint32_t n) {
    block.detail = 0;
    const int32_t result = lib.dNrmkey(index, key(n).data(), n);
    if (result == -5) {
      EXPECT_TRUE(unsure_.contains(key(n)));
      return;
    }
    expect_code(result);
    present_.erase(key(n));
    if (result != 0) unsure_[key(n)] = n;
  }

  void change(VqIndex* index) {
    for (std::uint32_t i = 0; i < kInserted; ++i) {
      put(index, 200 + i);
      if (i % 20 == 19) {
        block.detail = 0;
        expect_code(lib.dNflush(index));
      }
      remove(index, kKept + 1 + i);
    }
  }

  // Every key of the model is found in the file, by search and by walking.
  void expect_found(const std::string& name, std::uint32_t upto) {
    VqIndex* index = open(name, 0, 50);
    ASSERT_NE(nullptr, index) << block.result << " " << block.detail;
    for (std::uint32_t n = 1; n <= upto; ++n) {
      std::uint32_t recno = 0;
      ASSERT_EQ(0, lib.dNgetrno(index, key(n).data(), &recno)) << n;
      ASSERT_EQ(n, recno);
    }
    ASSERT_EQ(0, lib.dNclose(index));
  }

  // As if the machine had stopped now.
  void expect_disk_keeps_flushed_keys() {
    write_file(folder.file("CRASH.NDX"), read_file(folder.file("F.NDX")));
    expect_found("CRASH", kKept);
  }

  void expect_walk_agrees(VqIndex* index) {
    std::string found(100, '\0');
    std::uint32_t recno = 0;
    auto expected = present_.begin();
    ASSERT_EQ(0, lib.dNrewind(index));
    int32_t result = 0;
    while ((result = lib.dNnxtkey(index, found.data(), &recno)) == 0) {
      if (expected != present_.end() && expected->first == found) {
        ++expected;
      } else {
        ASSERT_TRUE(unsure_.contains(found)) << found;
      }
    }
    ASSERT_EQ(-7, result);
    ASSERT_TRUE(expected == present_.end()) << expected->first;
  }

  std::string start_;
  std::map<std::string, std::uint32_t> present_;
  std::map<std::string, std::uint32_t> unsure_;  // their change failed
  int failures_ = 0;
};

TEST_P(NdxFaults, history_of_changes_loses_nothing) {
  const Setting& setting = GetParam();
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE(n);
    write_file(folder.file("F.NDX"), start_);
    present_.clear();
    unsure_.clear();
    failures_ = 0;
    for (std::uint32_t i = 1; i <= kKept + kRemoved; ++i) present_[key(i)] = i;
    VqIndex* index = open("F", setting.mode, setting.buffers);
    ASSERT_NE(nullptr, index);
    const bool struck =
        under_fault(
            n, setting.verdict, [&] { return change(index), 0; }, {}, setting.and_all_after)
            .struck;
    ASSERT_NO_FATAL_FAILURE(expect_disk_keeps_flushed_keys());
    ASSERT_NO_FATAL_FAILURE(expect_walk_agrees(index));
    // In an exclusive mode a change that failed was not made.
    const bool exact = setting.mode == 0;
    for (std::uint32_t i = 0; i < kInserted; ++i) {
      std::uint32_t recno = 0;
      const bool inserted = lib.dNgetrno(index, key(200 + i).data(), &recno) == 0;
      if (exact) {
        ASSERT_EQ(present_.contains(key(200 + i)), inserted);
      }
      if (!inserted) {
        ASSERT_EQ(0, lib.dNputkey(index, key(200 + i).data(), 200 + i));
      }
      present_[key(200 + i)] = 200 + i;
    }
    ASSERT_NO_FATAL_FAILURE(expect_walk_agrees(index));
    ASSERT_EQ(0, lib.dNclose(index));
    if (exact) {
      ASSERT_EQ("", read("F").all_faults());
    }
    if (!struck) {
      EXPECT_EQ(0, failures_);
      break;
    }
    if (n > 40) n += n / 20;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Settings, NdxFaults,
    ::testing::Values(Setting{"exclusive", 0, 4, Verdict::fail, false},
                      Setting{"exclusive_cut_short", 0, 4, Verdict::cut_short, false},
                      Setting{"exclusive_all_after", 0, 4, Verdict::fail, true},
                      Setting{"exclusive_many_buffers", 0, 300, Verdict::fail, false},
                      Setting{"shared", 4, 4, Verdict::fail, false},
                      Setting{"shared_cut_short", 2, 30, Verdict::cut_short, false},
                      Setting{"shared_all_after", 4, 30, Verdict::fail, true}),
    by_name);

// A build, with runs in temporary files, and a rebuild: the old index or the new one, and no file
// that was not there before.
TEST_F(NdxFixture, a_build_that_fails_leaves_the_old_index) {
  ASSERT_EQ(0, lib.dUtmpdir(&block, folder.path().string().c_str()));
  block.page_count_setting = 1;
  block.count_setting = 2;
  for (std::uint32_t n = 0; n < 3000; ++n) {
    const std::string record = " " + text_key("R" + std::to_string(n * 7919 % 3001), 10);
    ASSERT_EQ(0, lib.dDapprec(table, record.data()));
  }
  ASSERT_EQ(0, lib.dDflush(table));
  const std::string name = folder.file("B");
  ASSERT_EQ(0, lib.dNindex(table, name.c_str(), "NAME", 0));
  const std::string built = read_file(folder.file("B.NDX"));
  ASSERT_EQ("", read("B").all_faults());
  VqIndex* index = open("B");
  ASSERT_EQ(0, lib.dNputkey(index, text_key("STALE", 10).data(), 1));
  ASSERT_EQ(0, lib.dNclose(index));
  const std::string old = read_file(folder.file("B.NDX"));
  ASSERT_NE(built, old);
  const std::vector<std::string> files = folder.list();
  for (const Verdict verdict : {Verdict::fail, Verdict::cut_short}) {
    for (const bool again : {false, true}) {
      write_file(folder.file("B.NDX"), old);
      for (std::uint64_t n = 1;; ++n) {
        SCOPED_TRACE(n);
        block.detail = 0;
        const auto build = [&] {
          return again ? lib.dNreindex(table, name.c_str())
                       : lib.dNindex(table, name.c_str(), "NAME", 0);
        };
        const auto [result, struck] = under_fault(n, verdict, build, all_but(Call::remove));
        ASSERT_EQ(files, folder.list());
        // Made, though the table's lock could not be given back.
        if (result == 0 || result == VQ_E_LOCK_ROUTINE) {
          ASSERT_EQ(built, read_file(folder.file("B.NDX")));
          if (!struck) break;
          write_file(folder.file("B.NDX"), old);
          continue;
        }
        ASSERT_TRUE(result == -14 || result == -17 || result == -20 || result == -40) << result;
        ASSERT_NE(0, int32_t{block.detail});
        ASSERT_EQ(old, read_file(folder.file("B.NDX")));
      }
    }
  }
}

}  // namespace
