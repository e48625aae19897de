// The sort engine against a stable sort in memory, with workspaces from ample to tiny.
#include "sort/external_sort.h"
#include "support/fault_plan.h"

namespace vqdb::sort {
namespace {

constexpr std::size_t kKeyBytes = 15;

class ExternalSortTest : public ::testing::Test {
 protected:
  ExternalSortTest() {
    const std::string directory = folder_.path().string() + "/";
    std::memcpy(block_.temporary_directory, directory.c_str(), directory.size() + 1);
  }

  void set(std::uint32_t pages, std::uint32_t width) {
    block_.page_count_setting = pages;
    block_.count_setting = width;
  }

  // Keys of two letters in front, so that most comparisons go beyond the prefix; the number of
  // each entry behind the key tells equal ones apart.
  std::vector<std::string> random_entries(std::size_t count, std::size_t entry_bytes) {
    std::mt19937 random(8);
    std::vector<std::string> entries;
    for (std::size_t i = 0; i < count; ++i) {
      std::string entry(entry_bytes, '.');
      entry[12] = static_cast<char>('a' + random() % 2);
      entry[14] = static_cast<char>(random() % 50);
      entry[random() % 3] = 'A';
      std::memcpy(entry.data() + kKeyBytes, &i, sizeof(std::uint32_t));
      entries.push_back(entry);
    }
    return entries;
  }

  Result sort(const std::vector<std::string>& entries, std::vector<std::string>& sorted) {
    const std::size_t entry_bytes = entries.front().size();
    const LeadingBytesOrder order(kKeyBytes);
    const Progress progress(block_, entries.size());
    ExternalSort engine(block_, order, entry_bytes, progress);
    if (const Result result = engine.start(); !ok(result)) return result;
    for (const std::string& entry : entries) {
      Byte* room = nullptr;
      if (const Result result = engine.make_room(room); !ok(result)) return result;
      std::memcpy(room, entry.data(), entry_bytes);
      engine.accept();
    }
    if (const Result result = engine.finish(); !ok(result)) return result;
    for (;;) {
      const Byte* entry = nullptr;
      if (const Result result = engine.next(entry); !ok(result) || entry == nullptr) return result;
      sorted.emplace_back(reinterpret_cast<const char*>(entry), entry_bytes);
    }
  }

  static std::vector<std::string> expected(std::vector<std::string> entries) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const std::string& a, const std::string& b) {
                       return std::memcmp(a.data(), b.data(), kKeyBytes) < 0;
                     });
    return entries;
  }

  testing::TemporaryFolder folder_;
  VqBlock block_ = {};
};

TEST_F(ExternalSortTest, any_workspace_gives_the_stable_order) {
  struct Case {
    std::uint32_t pages, width;
    std::size_t count, entry_bytes, passes;
  };
  // A workspace of one page has room for 455 entries of 20 bytes, or 75 of 200.
  const Case cases[] = {
      {64, 20, 5000, 20, 0},  // in memory
      {1, 20, 455, 20, 0},    // just
      {1, 20, 456, 20, 0},    // two runs
      {1, 20, 9000, 20, 0},   // as many as are merged at once
      {1, 20, 9101, 20, 1},   // one more
      {1, 4, 9000, 20, 2},   {1, 2, 600, 200, 2},
      {1, 2, 1200, 200, 3},  {1, 0, 3000, 200, 5},  // a width below 2 counts as 2
      {0, 3, 100, 20, 2},                           // at least four entries fit
      {1, 3, 40, 20000, 2},                         // entries larger than the workspace
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.count);
    set(c.pages, c.width);
    const auto entries = random_entries(c.count, c.entry_bytes);
    std::vector<std::string> sorted;
    // The runs are in one file, and those of every merge but the last in one more.
    std::uint64_t files = 0;
    {
      const testing::FaultPlan plan(0, Verdict::fail, only(Call::create));
      ASSERT_EQ(Result::ok, sort(entries, sorted));
      files = plan.calls();
    }
    EXPECT_EQ(expected(entries), sorted);
    EXPECT_EQ(c.passes, files - std::min<std::uint64_t>(files, 1));
    EXPECT_TRUE(folder_.list().empty());
  }
}

TEST_F(ExternalSortTest, failures_leave_no_files) {
  set(1, 2);
  const auto entries = random_entries(1000, 200);
  for (std::uint64_t n = 1;; ++n) {
    std::vector<std::string> sorted;
    block_.detail = 0;
    const auto verdict = n % 2 == 0 ? Verdict::cut_short : Verdict::fail;
    const auto [result, struck] =
        testing::under_fault(n, verdict, [&] { return sort(entries, sorted); });
    if (!struck) break;
    if (ok(result)) {
      EXPECT_EQ(expected(entries), sorted);
    } else {
      EXPECT_NE(0, int32_t{block_.detail});
    }
    EXPECT_TRUE(folder_.list().empty());
  }
}

}  // namespace
}  // namespace vqdb::sort
