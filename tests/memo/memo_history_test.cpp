// Long random histories of a memo file, step by step against a model of what it must hold.
#include "support/memo_files.h"

namespace {

using Layout = MemoFile::Layout;

constexpr std::size_t kMostMemos = 200;
constexpr std::size_t kLongestText = 30000;

struct Memo {
  std::string reference, text;
};

class History {
 public:
  History(Layout layout, std::uint32_t mode, std::uint32_t block_setting, unsigned seed)
      : layout_(layout),
        mode_(mode),
        block_(memo_block(layout == Layout::dbase4 ? 2 : 1, block_setting)),
        random_(seed) {
    lib.dUtmpdir(&block_, folder_.path().string().c_str());
    create_memos(block_, name_, layout);
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
    std::uint32_t mode, block_setting;
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

// A file in which every place is found by following the chain run by run.
class SimpleFile {
 public:
  explicit SimpleFile(std::string bytes) : bytes_(std::move(bytes)) {}

  const std::string& bytes() const { return bytes_; }

  std::uint32_t write_new(const std::string& text) {
    const std::uint32_t first = take(blocks_of(text));
    write(first, text);
    return first;
  }

  std::uint32_t replace(std::uint32_t first, const std::string& text) {
    const std::uint32_t count = (at(first * kBlock + 4) - 1) / kBlock + 1;
    const bool fits = blocks_of(text) == count;
    const std::uint32_t place = fits ? first : take(blocks_of(text));
    write(place, text);
    if (!fits) {
      put(first * kBlock, {at(0), count});
      put(0, {first});
    }
    return place;
  }

 private:
  static constexpr std::uint32_t kBlock = 512;

  static std::uint32_t blocks_of(const std::string& text) {
    return static_cast<std::uint32_t>(text.size() + 7) / kBlock + 1;
  }
  std::uint32_t at(std::uint32_t offset) const { return read_le32(bytes_, offset); }
  void put(std::uint32_t offset, std::initializer_list<std::uint32_t> numbers) {
    for (const std::uint32_t number : numbers) {
      bytes_.replace(offset, 4, le32(number));
      offset += 4;
    }
  }

  std::uint32_t take(std::uint32_t blocks) {
    std::uint32_t link = 0;
    std::uint32_t run = at(link);
    for (; run * kBlock < bytes_.size() && at(run * kBlock + 4) < blocks; run = at(link)) {
      link = run * kBlock;
    }
    const bool at_end = run * kBlock >= bytes_.size();
    const std::uint32_t rest = at_end ? 0 : at(run * kBlock + 4) - blocks;
    if (rest != 0) put((run + blocks) * kBlock, {at(run * kBlock), rest});
    put(link, {at_end || rest != 0 ? run + blocks : at(run * kBlock)});
    return run;
  }

  void write(std::uint32_t first, const std::string& text) {
    const std::size_t start = first * kBlock;
    bytes_.resize(std::max(bytes_.size(), start + 8 + text.size()));
    const std::string header = {'\xFF', '\xFF', 8, 0};
    bytes_.replace(start, 8 + text.size(),
                   header + le32(static_cast<std::uint32_t>(text.size() + 8)) + text);
  }

  std::string bytes_;
};

// Chains of some hundred runs that go up, down and to and fro, with large runs here and there.
TEST(MemoHistory, a_long_chain_gives_out_the_same_blocks_as_a_walk_run_by_run) {
  constexpr std::size_t kMemos = 900;
  for (const std::uint32_t mode : {0u, 2u}) {
    const TemporaryFolder folder;
    VqBlock block = memo_block(2);
    create_memos(block, folder.file("T"));
    SimpleFile simple(read_file(folder.file("T.DBT")));
    MemoFile file(block, folder.file("T"), MemoFile::Layout::dbase4, mode);
    std::mt19937 random(mode);
    std::vector<std::string> references(kMemos, kNoMemo);
    const auto text_of_blocks = [](std::size_t blocks) {
      return std::string(blocks * 512 - 100, static_cast<char>('a' + blocks));
    };
    for (std::string& reference : references) {
      const std::string text = text_of_blocks(1);
      ASSERT_EQ(0, file.write_new(text, reference));
      ASSERT_EQ(simple.write_new(text), block_of(reference));
    }
    for (std::size_t i = 0; i < 3 * kMemos; ++i) {
      const std::size_t places[] = {i, 2 * kMemos - 1 - i, random() % kMemos};
      std::string& reference = references[places[i / kMemos]];
      const std::string text = text_of_blocks(2 + i / kMemos + (random() % 8 == 0 ? 5 : 0));
      const std::uint32_t expected = simple.replace(block_of(reference), text);
      ASSERT_EQ(0, file.replace(text, reference)) << block.detail;
      ASSERT_EQ(expected, block_of(reference)) << i;
    }
    EXPECT_TRUE(simple.bytes() == read_file(folder.file("T.DBT")));
  }
}

}  // namespace
