// The n-th call to the system fails, for every n that an operation reaches: what was acknowledged
// before can be read afterwards, and the file takes new memos once the disk works again.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "support/exports.h"
#include "support/fault_plan.h"
#include "support/files.h"
#include "support/memo_files.h"

namespace {

using namespace vqdb::testing;
using vqdb::platform::Call;
using vqdb::platform::Verdict;
using Layout = MemoFile::Layout;

struct Memo {
  std::string reference = kNoMemo;
  std::string text;
};

// A file with memos, and free runs of several sizes.
class Prepared {
 public:
  explicit Prepared(Layout layout) : layout_(layout) {
    write_file(folder_.file("T.DBF"), memo_table(0x03, 1, {}));
    const std::string temporary = folder_.path().string() + "/";
    temporary.copy(block_.temporary_directory, sizeof block_.temporary_directory - 1);
    EXPECT_EQ(0, layout == Layout::dbase4 ? lib.dTcreat(&block_, name_.c_str())
                                          : lib.dTcreat3(&block_, name_.c_str()));
    MemoFile file(block_, name_, layout);
    for (std::size_t size : {100, 2000, 3000, 700, 9000}) {
      memos_.push_back({kNoMemo, std::string(size, static_cast<char>('a' + memos_.size()))});
      EXPECT_EQ(0, file.write_new(memos_.back().text, memos_.back().reference));
    }
    for (const std::size_t freed : {1u, 2u}) {
      memos_[freed].text = std::string(10, 'f');
      EXPECT_EQ(0, file.replace(memos_[freed].text, memos_[freed].reference));
    }
  }

  VqBlock& block() { return block_; }
  const std::string& name() const { return name_; }
  const TemporaryFolder& folder() const { return folder_; }
  Layout layout() const { return layout_; }
  std::vector<Memo>& memos() { return memos_; }

  // Reads every memo and writes some more, through a handle that is open already or a new one.
  void expect_all_there(MemoFile& file, int round) {
    const auto expect_memos = [&] {
      for (const Memo& memo : memos_) {
        std::string text;
        EXPECT_EQ(0, file.read(memo.reference, text)) << block_.detail;
        EXPECT_TRUE(memo.text == text) << memo.reference;
      }
    };
    expect_memos();
    for (const std::size_t size : {600u, 1500u, 5000u}) {
      memos_.push_back({kNoMemo, std::string(size, static_cast<char>('A' + round % 26))});
      EXPECT_EQ(0, file.write_new(memos_.back().text, memos_.back().reference)) << block_.detail;
    }
    expect_memos();
    if (layout_ == Layout::dbase3) return;
    std::vector<std::string> references;
    for (const Memo& memo : memos_) references.push_back(memo.reference);
    EXPECT_EQ("", fault_in_dbase4(read_file(folder_.file("T.DBT")), references, true));
  }

 private:
  TemporaryFolder folder_;
  Layout layout_;
  VqBlock block_ = memo_block(2);
  std::string name_ = folder_.file("T");
  std::vector<Memo> memos_;
};

using Change = std::function<std::int32_t(MemoFile&, Memo&)>;

struct Scenario {
  const char* what;
  Layout layout;
  Change change;
  enum { makes, extends, rewrites } how;  // rewrites: in place, so that a failure costs that text
};

std::vector<Scenario> scenarios() {
  const auto new_memo = [](std::size_t size) {
    return [size](MemoFile& file, Memo& memo) {
      memo = {kNoMemo, std::string(size, 'n')};
      return file.write_new(memo.text, memo.reference);
    };
  };
  const auto append = [](std::size_t size) {
    return [size](MemoFile& file, Memo& memo) {
      const std::string more(size, '+');
      const std::int32_t result = file.append(more, memo.reference);
      if (result == 0) memo.text += more;
      return result;
    };
  };
  const auto replace = [](std::size_t size) {
    return [size](MemoFile& file, Memo& memo) {
      const std::string text(size, 'r');
      const std::int32_t result = file.replace(text, memo.reference);
      if (result == 0) memo.text = text;
      return result;
    };
  };
  return {
      {"new, whole run", Layout::dbase4, new_memo(1600), Scenario::makes},
      {"new, part of a run", Layout::dbase4, new_memo(600), Scenario::makes},
      {"new, at the end", Layout::dbase4, new_memo(50000), Scenario::makes},
      {"append in place", Layout::dbase4, append(10), Scenario::extends},
      {"append that moves", Layout::dbase4, append(900), Scenario::extends},
      {"append that moves to the end", Layout::dbase4, append(40000), Scenario::extends},
      {"replace in place", Layout::dbase4, replace(101), Scenario::rewrites},
      {"replace that moves", Layout::dbase4, replace(900), Scenario::extends},
      {"replace that moves to the end", Layout::dbase4, replace(40000), Scenario::extends},
      {"new", Layout::dbase3, new_memo(50000), Scenario::makes},
  };
}

// What a change that failed may have left of its memo: the old text or, when its last steps failed,
// the new one, under the reference that it has now.
void expect_old_or_new(MemoFile& file, Memo& memo, const std::string& old_text) {
  std::string text;
  EXPECT_EQ(0, file.read(memo.reference, text));
  const bool either = text == old_text || text.find_first_not_of("r") == std::string::npos ||
                      (text.starts_with(old_text) &&
                       text.find_first_not_of('+', old_text.size()) == std::string::npos);
  EXPECT_TRUE(either) << "neither the old text nor the new one";
  memo.text = text;
}

void run_with_failures(const Scenario& scenario, std::uint32_t mode, Verdict verdict,
                       bool and_all_after) {
  for (std::uint64_t n = 1;; ++n) {
    SCOPED_TRACE(testing::Message() << scenario.what << ", mode " << mode << ", call " << n);
    Prepared prepared(scenario.layout);
    bool struck = false;
    {
      MemoFile file(prepared.block(), prepared.name(), scenario.layout, mode);
      Memo memo = prepared.memos().front();
      prepared.block().detail = 0;
      std::int32_t result = 0;
      {
        const FaultPlan plan(n, verdict, nullptr, and_all_after);
        result = scenario.change(file, memo);
        struck = plan.struck();
      }
      EXPECT_TRUE(struck || result == 0);
      EXPECT_EQ(result == 0, prepared.block().detail == 0);
      if (scenario.how == Scenario::makes) {
        if (result == 0) prepared.memos().push_back(memo);
      } else if (result != 0 && scenario.how == Scenario::rewrites) {
        prepared.memos().erase(prepared.memos().begin());
      } else {
        if (result != 0) expect_old_or_new(file, memo, prepared.memos().front().text);
        prepared.memos().front() = memo;
      }
      prepared.expect_all_there(file, static_cast<int>(n));
    }
    MemoFile again(prepared.block(), prepared.name(), scenario.layout, mode);
    prepared.expect_all_there(again, static_cast<int>(n));
    if (!struck || ::testing::Test::HasFailure()) return;
    ASSERT_LT(n, 200u);
  }
}

TEST(MemoFaults, a_failing_call_costs_no_memo) {
  for (const Scenario& scenario : scenarios()) {
    for (const std::uint32_t mode : {0u, 2u}) {
      for (const Verdict verdict : {Verdict::fail, Verdict::cut_short}) {
        for (const bool and_all_after : {false, true}) {
          run_with_failures(scenario, mode, verdict, and_all_after);
        }
      }
    }
  }
}

// A disk that stays full for long must not leave a gap as long as all that was tried.
TEST(MemoFaults, failed_attempts_do_not_push_the_end_of_the_file_away) {
  Prepared prepared(Layout::dbase4);
  MemoFile file(prepared.block(), prepared.name());
  const std::size_t before = read_file(prepared.folder().file("T.DBT")).size();
  for (int i = 0; i < 50; ++i) {
    const auto writes = [](Call call) { return call == Call::write; };
    const FaultPlan plan(2, Verdict::fail, writes);
    std::string reference = kNoMemo;
    EXPECT_EQ(VQ_E_IO, file.write_new(std::string(100000, 'x'), reference));
    EXPECT_EQ(2122, prepared.block().detail);
  }
  prepared.expect_all_there(file, 0);
  EXPECT_GT(before + 120000, read_file(prepared.folder().file("T.DBT")).size());
}

// Half of a link would name another block.
TEST(MemoFaults, a_link_that_is_cut_short_is_put_back) {
  Prepared prepared(Layout::dbase4);
  constexpr std::uint32_t kEnd = 0xFFFE;
  const std::string path = prepared.folder().file("T.DBT");
  write_bytes(path, 0, le32(kEnd));
  std::filesystem::resize_file(path, std::uintmax_t{kEnd} * 512);
  MemoFile file(prepared.block(), prepared.name());
  std::string reference = kNoMemo;
  {
    const auto writes = [](Call call) { return call == Call::write; };
    const FaultPlan plan(1, Verdict::cut_short, writes);
    EXPECT_EQ(VQ_E_IO, file.write_new(std::string(2000, 'x'), reference));
    EXPECT_EQ(2123, prepared.block().detail);
  }
  EXPECT_EQ(kEnd, read_le32(read_bytes(path, 0, 4), 0));
  prepared.expect_all_there(file, 0);
}

TEST(MemoFaults, a_failed_create_or_open_leaves_nothing) {
  for (const Layout layout : {Layout::dbase4, Layout::dbase3}) {
    const TemporaryFolder folder;
    VqBlock block = memo_block(2);
    const std::string table = memo_table(0x03, 1, {});
    bool struck = true;
    for (std::uint64_t n = 1; struck; ++n) {
      write_file(folder.file("T.DBF"), table);
      std::int32_t result = 0;
      {
        const FaultPlan plan(n, Verdict::fail);
        const std::string name = folder.file("T");
        result = layout == Layout::dbase4 ? lib.dTcreat(&block, name.c_str())
                                          : lib.dTcreat3(&block, name.c_str());
        struck = plan.struck();
      }
      EXPECT_EQ(!struck, result == 0) << n;
      EXPECT_EQ(!struck, file_exists(folder.file("T.DBT"))) << n;
    }
    struck = true;
    for (std::uint64_t n = 1; struck; ++n) {
      const FaultPlan plan(n, Verdict::fail);
      MemoFile file(block, folder.file("T"), layout);
      struck = plan.struck();
      EXPECT_EQ(!struck, file.handle() != nullptr) << n;
      if (struck) {
        EXPECT_NE(0, block.result);
      }
    }
  }
}

// One compaction whose n-th call fails. Whether it got that far.
bool compact_with_failure(Layout layout, std::uint64_t n, bool and_all_after) {
  Prepared prepared(layout);
  std::vector<std::string> references;
  for (const Memo& memo : prepared.memos()) references.push_back(memo.reference);
  write_file(prepared.folder().file("T.DBF"),
             memo_table(layout == Layout::dbase4 ? 0x8B : 0x83, 1, references));
  const std::string before = read_file(prepared.folder().file("T.DBT"));
  const std::vector<std::string> files = prepared.folder().list();
  std::int32_t result = 0;
  bool struck = false;
  {
    const auto counts = [](Call call) { return call != Call::remove; };
    const FaultPlan plan(n, Verdict::fail, counts, and_all_after);
    result = lib.dToptimize(&prepared.block(), prepared.name().c_str());
    struck = plan.struck();
  }
  EXPECT_EQ(files, prepared.folder().list());
  EXPECT_TRUE(struck || result == 0);
  EXPECT_TRUE(result == 0 || result == VQ_E_NO_MEMORY || prepared.block().detail != 0);
  const std::string after = read_file(prepared.folder().file("T.DBT"));
  EXPECT_TRUE(result == 0 ? before.size() > after.size() : before == after) << result;
  return struck;
}

TEST(MemoFaults, a_failed_compaction_leaves_the_old_file_and_no_other) {
  for (const Layout layout : {Layout::dbase4, Layout::dbase3}) {
    for (const bool and_all_after : {false, true}) {
      for (std::uint64_t n = 1; compact_with_failure(layout, n, and_all_after); ++n) {
        ASSERT_LT(n, 300u);
      }
    }
  }
}

}  // namespace
