// Long random histories of a memo file, step by step against a model of what it must hold.
#include "support/memo_files.h"
#include "support/test.h"

namespace {

using Layout = MemoFile::Layout;

constexpr std::size_t kMostMemos = 200;
constexpr std::size_t kLongestText = 30000;

struct Memo {
  std::string reference;
  std::string text;
};

class History {
 public:
  History(Layout layout, std::uint32_t mode, std::uint32_t block_setting, unsigned seed)
      : layout_(layout),
        mode_(mode),
        block_(memo_block(layout == Layout::dbase4 ? 2 : 1, block_setting)),
        random_(seed) {
    write_file(folder_.file("T.DBF"), memo_table(0x03, 1, {}));
    const std::string temporary = folder_.path().string() + "/";
    temporary.copy(block_.temporary_directory, sizeof block_.temporary_directory - 1);
    EXPECT_EQ(0, layout == Layout::dbase4 ? lib.dTcreat(&block_, name_.c_str())
                                          : lib.dTcreat3(&block_, name_.c_str()));
    open();
  }

  void run(int steps) {
    for (int i = 0; i < steps && !::testing::Test::HasFailure(); ++i) {
      step();
      if (i % 100 == 99) verify();
      if (memos_.size() == kMostMemos) compact();
    }
    verify();
  }

 private:
  std::size_t below(std::size_t limit) { return random_() % limit; }

  // One handle, or in a shared mode one of three on the same file.
  MemoFile& file() { return *files_[below(files_.size())]; }

  void open() {
    for (int i = 0; i < (mode_ == 0 ? 1 : 3); ++i) {
      files_.push_back(std::make_unique<MemoFile>(block_, name_, layout_, mode_));
    }
  }

  std::string random_text() {
    const std::size_t most = below(20) == 0 ? 12000 : below(3) == 0 ? 2000 : 520;
    return std::string(1 + below(most), static_cast<char>('A' + below(26)));
  }

  void step() {
    const std::size_t action = memos_.empty() ? 0 : below(100);
    const std::string given = random_text();
    if (action < 15) {
      Memo memo{kNoMemo, given};
      ASSERT_EQ(0, file().write_new(given, memo.reference));
      memos_.push_back(memo);
      return;
    }
    Memo& memo = memos_[below(memos_.size())];
    const bool append = action < 45 && memo.text.size() + given.size() <= kLongestText;
    if (append) {
      ASSERT_EQ(0, file().append(given, memo.reference));
      memo.text = layout_ == Layout::dbase4 ? memo.text + given : given;
    } else if (action < 75) {
      ASSERT_EQ(0, file().replace(given, memo.reference));
      memo.text = given;
    } else {
      std::string text;
      ASSERT_EQ(0, file().read(memo.reference, text));
      ASSERT_EQ(memo.text, text);
    }
  }

  // Reads all memos, in the order in which they lie in the file.
  void verify() {
    std::vector<Memo> sorted = memos_;
    std::sort(sorted.begin(), sorted.end(),
              [](const Memo& a, const Memo& b) { return a.reference < b.reference; });
    std::vector<std::string> references;
    for (const Memo& memo : sorted) {
      std::string text;
      ASSERT_EQ(0, file().read(memo.reference, text)) << memo.reference;
      ASSERT_EQ(memo.text, text) << memo.reference;
      references.push_back(memo.reference);
    }
    if (layout_ == Layout::dbase3) return;
    ASSERT_EQ("", fault_in_dbase4(read_file(folder_.file("T.DBT")), references));
    files_.clear();
    open();
  }

  // Compacts, after dropping some of the memos, and finds the references as a host would have to.
  void compact() {
    std::shuffle(memos_.begin(), memos_.end(), random_);
    memos_.resize(below(kMostMemos));
    std::vector<std::string> references;
    for (const Memo& memo : memos_) references.push_back(memo.reference);
    write_file(folder_.file("T.DBF"),
               memo_table(layout_ == Layout::dbase4 ? 0x8B : 0x83, 1, references));
    files_.clear();
    ASSERT_EQ(0, lib.dToptimize(&block_, name_.c_str())) << block_.detail;
    std::size_t next = 1;
    for (Memo& memo : memos_) {
      memo.reference = reference_to(static_cast<std::uint32_t>(next));
      next += layout_ == Layout::dbase4
                  ? (memo.text.size() + 7) / (512 * block_.memo_block_setting) + 1
                  : (memo.text.size() + 1) / 512 + 1;
    }
    EXPECT_EQ(next, read_le32(read_bytes(folder_.file("T.DBT"), 0, 4), 0));
    open();
    verify();
  }

  TemporaryFolder folder_;
  Layout layout_;
  std::uint32_t mode_;
  VqBlock block_;
  std::mt19937 random_;
  std::string name_ = folder_.file("T");
  std::vector<std::unique_ptr<MemoFile>> files_;
  std::vector<Memo> memos_;
};

TEST(MemoHistory, every_memo_stays_and_no_block_is_lost_or_used_twice) {
  const struct {
    Layout layout;
    std::uint32_t mode;
    std::uint32_t block_setting;
    int steps;
  } cases[] = {{Layout::dbase4, 0, 1, 6000}, {Layout::dbase4, 0, 4, 4000},
               {Layout::dbase4, 2, 1, 4000}, {Layout::dbase4, 4, 32, 1500},
               {Layout::dbase3, 0, 1, 2000}, {Layout::dbase3, 2, 1, 2000}};
  unsigned seed = 42;
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    History(c.layout, c.mode, c.block_setting, seed++).run(c.steps);
  }
}

}  // namespace
