// The n-th call to the system fails, for every n that an operation reaches: what was acknowledged
// before can be read afterwards, and the file takes new memos once the disk works again.

#include "support/fault_plan.h"
#include "support/memo_files.h"

namespace {

using Layout = MemoFile::Layout;

struct Memo {
  std::string reference = kNoMemo, text;
};

// A file with memos, and free runs of several sizes; made once for each layout. One at a time: they
// share a folder.
class Prepared {
 public:
  explicit Prepared(Layout layout) : layout_(layout) {
    static std::map<Layout, std::pair<std::string, std::vector<Memo>>> images;
    lib.dUtmpdir(&block_, folder().path().string().c_str());
    auto& [bytes, memos] = images[layout];
    if (memos.empty()) {
      create_memos(block_, name_, layout);
      MemoFile file(block_, name_, layout);
      for (std::size_t size : {100, 2000, 3000, 700, 9000}) {
        memos.push_back({kNoMemo, std::string(size, static_cast<char>('a' + memos.size()))});
        EXPECT_EQ(0, file.write_new(memos.back().text, memos.back().reference));
      }
      for (const std::size_t freed : {1u, 2u}) {
        memos[freed].text = std::string(10, 'f');
        EXPECT_EQ(0, file.replace(memos[freed].text, memos[freed].reference));
      }
      EXPECT_EQ(0, file.close());
      bytes = read_file(path());
    }
    write_file(path(), bytes);
    memos_ = memos;
  }

  VqBlock& block() { return block_; }
  const std::string& name() const { return name_; }
  static const TemporaryFolder& folder() {
    static const TemporaryFolder folder;
    return folder;
  }
  std::string path() const { return folder().file("T.DBT"); }
  std::vector<Memo>& memos() { return memos_; }
  std::vector<std::string> references() const {
    std::vector<std::string> references;
    for (const Memo& memo : memos_) references.push_back(memo.reference);
    return references;
  }

  // Writes some more memos and reads them all, through a handle that is open already or a new one.
  void expect_all_there(MemoFile& file) {
    for (const std::size_t size : {600u, 1500u, 5000u}) {
      memos_.push_back({kNoMemo, std::string(size, static_cast<char>('A' + memos_.size()))});
      EXPECT_EQ(0, file.write_new(memos_.back().text, memos_.back().reference)) << block_.detail;
    }
    for (const Memo& memo : memos_) {
      std::string text;
      EXPECT_EQ(0, file.read(memo.reference, text)) << block_.detail;
      EXPECT_TRUE(memo.text == text) << memo.reference;
    }
    if (layout_ == Layout::dbase4) {
      EXPECT_EQ("", fault_in_dbase4(read_file(path()), references(), true));
    }
  }

 private:
  Layout layout_;
  VqBlock block_ = memo_block(2);
  std::string name_ = folder().file("T");
  std::vector<Memo> memos_;
};

// What is done to the first memo, or to a new one.
struct Scenario {
  const char* what;
  Layout layout;
  enum { makes, appends, replaces, rewrites } how;  // rewrites: in place; a failure costs that text
  std::size_t size;

  std::int32_t apply(MemoFile& file, Memo& memo) const {
    const std::string given(size, how == makes ? 'n' : how == appends ? '+' : 'r');
    if (how == makes) memo = {};
    const std::int32_t result = how == makes     ? file.write_new(given, memo.reference)
                                : how == appends ? file.append(given, memo.reference)
                                                 : file.replace(given, memo.reference);
    if (result == 0) memo.text = how == appends ? memo.text + given : given;
    return result;
  }
};

constexpr Scenario kScenarios[] = {
    {"new, whole run", Layout::dbase4, Scenario::makes, 1600},
    {"new, part of a run", Layout::dbase4, Scenario::makes, 600},
    {"new, at the end", Layout::dbase4, Scenario::makes, 50000},
    {"append in place", Layout::dbase4, Scenario::appends, 10},
    {"append that moves", Layout::dbase4, Scenario::appends, 900},
    {"append that moves to the end", Layout::dbase4, Scenario::appends, 40000},
    {"replace in place", Layout::dbase4, Scenario::rewrites, 101},
    {"replace that moves", Layout::dbase4, Scenario::replaces, 900},
    {"replace that moves to the end", Layout::dbase4, Scenario::replaces, 40000},
    {"new", Layout::dbase3, Scenario::makes, 50000}};

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

// Whether the n-th call was reached.
bool run_with_failure(const Scenario& scenario, std::uint32_t mode, std::uint64_t n,
                      Verdict verdict, bool and_all_after) {
  SCOPED_TRACE(testing::Message() << scenario.what << ", mode " << mode << ", call " << n);
  Prepared prepared(scenario.layout);
  MemoFile file(prepared.block(), prepared.name(), scenario.layout, mode);
  Memo memo = prepared.memos().front();
  bool struck = false;
  std::int32_t result = 0;
  {
    const FaultPlan plan(n, verdict, nullptr, and_all_after);
    result = scenario.apply(file, memo);
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
  prepared.expect_all_there(file);
  MemoFile again(prepared.block(), prepared.name(), scenario.layout, mode);
  prepared.expect_all_there(again);
  return struck;
}

TEST(MemoFaults, a_failing_call_costs_no_memo) {
  for (const Scenario& scenario : kScenarios) {
    for (const std::uint32_t mode : {0u, 2u}) {
      for (const Verdict verdict : {Verdict::fail, Verdict::cut_short}) {
        for (const bool and_all_after : {false, true}) {
          for (std::uint64_t n = 1; run_with_failure(scenario, mode, n, verdict, and_all_after);
               ++n) {
            ASSERT_FALSE(HasFailure() || n > 200);
          }
        }
      }
    }
  }
}

// After the end of the chain has moved, and before a byte of the memo is there.
TEST(MemoFaults, a_crash_while_a_long_memo_is_written_leaves_a_file_that_takes_new_ones) {
  Prepared prepared(Layout::dbase4);
  MemoFile file(prepared.block(), prepared.name());
  {
    const FaultPlan plan(2, Verdict::fail, only(Call::write), true);
    std::string reference = kNoMemo;
    EXPECT_EQ(VQ_E_IO, file.write_new(std::string(std::size_t{70} << 20, 'x'), reference));
  }
  MemoFile again(prepared.block(), prepared.name());
  prepared.expect_all_there(again);
}

// A disk that stays full for long must not leave a gap as long as all that was tried.
TEST(MemoFaults, failed_attempts_do_not_push_the_end_of_the_file_away) {
  Prepared prepared(Layout::dbase4);
  MemoFile file(prepared.block(), prepared.name());
  const std::size_t before = read_file(prepared.path()).size();
  for (int i = 0; i < 50; ++i) {
    const FaultPlan plan(2, Verdict::fail, only(Call::write));
    std::string reference = kNoMemo;
    EXPECT_EQ("-17/2122",
              codes(file.write_new(std::string(100000, 'x'), reference), prepared.block()));
  }
  prepared.expect_all_there(file);
  EXPECT_GT(before + 120000, read_file(prepared.path()).size());
}

// Half of a link would name another block.
TEST(MemoFaults, a_link_that_is_cut_short_is_put_back) {
  const TemporaryFolder folder;
  constexpr std::uint32_t kEnd = 0xFFFE;
  const std::string path = folder.file("T.DBT");
  write_file(path, le32(kEnd) + std::string(16, '\0') + le32(64));
  std::filesystem::resize_file(path, std::uintmax_t{kEnd} * 64);
  VqBlock block = memo_block(2);
  MemoFile file(block, folder.file("T"));
  std::string reference = kNoMemo;
  {
    const FaultPlan plan(1, Verdict::cut_short, only(Call::write));
    EXPECT_EQ("-17/2123", codes(file.write_new(std::string(2000, 'x'), reference), block));
  }
  EXPECT_EQ(kEnd, read_le32(read_bytes(path, 0, 4), 0));
  EXPECT_EQ(0, file.write_new(std::string(2000, 'x'), reference));
  EXPECT_EQ(reference_to(kEnd), reference);
}

// One compaction whose n-th call fails. Whether it got that far.
bool compact_with_failure(Layout layout, std::uint64_t n, bool and_all_after) {
  Prepared prepared(layout);
  write_file(prepared.folder().file("T.DBF"),
             memo_table(layout == Layout::dbase4 ? 0x8B : 0x83, 1, prepared.references()));
  const std::string before = read_file(prepared.path());
  const std::vector<std::string> files = prepared.folder().list();
  std::int32_t result = 0;
  bool struck = false;
  {
    const auto counts = all_but(Call::remove);
    const FaultPlan plan(n, Verdict::fail, counts, and_all_after);
    result = lib.dToptimize(&prepared.block(), prepared.name().c_str());
    struck = plan.struck();
  }
  EXPECT_EQ(files, prepared.folder().list());
  EXPECT_TRUE(struck || result == 0);
  EXPECT_TRUE(result == 0 || result == VQ_E_NO_MEMORY || prepared.block().detail != 0);
  const std::string after = read_file(prepared.path());
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
