// Files that no sound program wrote: every call answers with a code, and nothing is written over.
#include "support/memo_files.h"

namespace {

constexpr std::size_t kBlocks = 6;

// Ends of the free chain that are not too far away are believed.
constexpr std::uintmax_t kMaxGrowth = std::uintmax_t{70} << 20;

std::string header(std::uint32_t next_free) {
  return le32(next_free) + std::string(12, '\0') + std::string("\0\0\2\1", 4) + le32(512);
}

std::string memo(std::string text) {
  const auto stored = static_cast<std::uint32_t>(text.size() + 8);
  return std::string("\xFF\xFF\x08\0", 4) + le32(stored) + text;
}

// A file of the header and blocks 1 to 5: a memo, free space, a memo, free space, a memo.
std::string file_with(const std::string& head, const std::string& block2,
                      const std::string& block4 = le32(6) + le32(1)) {
  std::string file;
  for (std::string part : {head, memo("one"), block2, memo("three"), block4, memo("five")}) {
    part.resize(512, '\0');
    file += part;
  }
  return file;
}

TEST(MemoDamage, a_broken_free_chain_gives_no_blocks) {
  const struct {
    const char* what;
    std::string file;
  } cases[] = {{"header points to itself", file_with(header(0), le32(4) + le32(1))},
               {"header points to a memo", file_with(header(3), le32(4) + le32(1))},
               {"header points far behind the file", file_with(header(0x7FFFFFFF), "")},
               {"header points to the end of all numbers", file_with(header(0xFFFFFFFF), "")},
               {"link into a memo's text", file_with(header(2), le32(1) + le32(1))},
               {"link to the header", file_with(header(2), le32(0) + le32(1))},
               {"link to itself", file_with(header(2), le32(2) + le32(1))},
               {"circle of two", file_with(header(2), le32(4) + le32(1), le32(2) + le32(1))},
               {"run of no blocks", file_with(header(2), le32(6) + le32(0))},
               {"run that leaves the file", file_with(header(2), le32(6) + le32(5))},
               {"run of all numbers", file_with(header(2), le32(6) + le32(0xFFFFFFFF))},
               {"two runs with a block in common", file_with(header(2), le32(4) + le32(4))},
               {"wild end", file_with(header(2), le32(0x70000000) + le32(1))}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const TemporaryFolder folder;
    write_file(folder.file("A.DBT"), c.file);
    VqBlock block = memo_block(2);
    MemoFile file(block, folder.file("A"));
    ASSERT_NE(nullptr, file.handle());
    std::string reference = kNoMemo, text;
    EXPECT_EQ("-3/2117", codes(file.write_new(std::string(1500, 'n'), reference), block));
    EXPECT_EQ(kNoMemo, reference);
    std::string one = "1";
    one.resize(10, ' ');
    EXPECT_EQ(VQ_E_FORMAT, file.append(std::string(1500, 'n'), one));
    EXPECT_EQ(VQ_E_FORMAT, file.replace(std::string(1500, 'n'), one));
    EXPECT_EQ(c.file, read_file(folder.file("A.DBT")));
    for (const auto& [block_number, expected] :
         {std::pair("1         ", "one"), {"3         ", "three"}, {"5         ", "five"}}) {
      EXPECT_EQ(0, file.read(block_number, text));
      EXPECT_EQ(expected, text);
    }
  }
}

// As a crash leaves it while the longest memo is written: the blocks that it never got to are used.
TEST(MemoDamage, an_end_of_the_chain_far_behind_the_file_comes_back) {
  const TemporaryFolder folder;
  constexpr std::uint32_t kTwoGigabytes = (std::uint32_t{1} << 31) / 512;
  write_file(folder.file("A.DBT"), file_with(header(kBlocks + kTwoGigabytes), ""));
  VqBlock block = memo_block(2);
  MemoFile file(block, folder.file("A"));
  std::string reference = kNoMemo;
  EXPECT_EQ(0, file.write_new(std::string(1500, 'n'), reference));
  EXPECT_EQ(reference_to(kBlocks), reference);
  EXPECT_EQ(kBlocks + 3, read_le32(read_file(folder.file("A.DBT")), 0));
}

TEST(MemoDamage, a_memo_is_not_moved_into_its_own_blocks) {
  std::string file = header(2);
  for (std::string part : {memo(std::string(600, 'l')), le32(6) + le32(3)}) {
    file.resize((file.size() + 511) / 512 * 512, '\0');
    file += part;
  }
  file.resize(6 * 512, '\0');
  file.replace(2 * 512, 8, le32(6) + le32(3));  // inside the memo, which runs from 1 to 2
  const TemporaryFolder folder;
  write_file(folder.file("A.DBT"), file);
  VqBlock block = memo_block(2);
  MemoFile open(block, folder.file("A"));
  std::string reference = "1         ";
  EXPECT_EQ("-3/2117", codes(open.append(std::string(600, 'n'), reference), block));
  EXPECT_EQ(VQ_E_FORMAT, open.replace("short", reference));
  EXPECT_EQ(file, read_file(folder.file("A.DBT")));
}

TEST(MemoDamage, a_memo_that_is_none_is_not_read) {
  const struct {
    std::string block2;
    const char* reference;
    std::int32_t result, detail;
  } cases[] = {{memo(std::string(5000, 'x')).substr(0, 12), "2         ", VQ_E_FORMAT, 2085},
               {"\xFF\xFF\x08" + '\0' + le32(0xFFFFFFFF), "2         ", VQ_E_FORMAT, 2085},
               {"\xFF\xFF\x08" + '\0' + le32(0x80000008), "2         ", VQ_E_FORMAT, 2085},
               {"\xFF\xFF\x08" + '\0' + le32(7), "2         ", VQ_E_FORMAT, 2085},
               {"\xFF\xFF\x08" + '\0' + le32(0), "2         ", VQ_E_FORMAT, 2085},
               {"text", "2         ", VQ_E_FORMAT, 2084},
               {"", "0         ", VQ_E_RANGE, 10162},
               {"", "6         ", VQ_E_IO, 2083},
               {"", "4294967295", VQ_E_IO, 2083}};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    const TemporaryFolder folder;
    const std::string bytes = file_with(header(4), c.block2);
    write_file(folder.file("A.DBT"), bytes);
    VqBlock block = memo_block(2);
    MemoFile file(block, folder.file("A"));
    ASSERT_NE(nullptr, file.handle());
    std::string reference = c.reference;
    std::int32_t length = 0;
    char buffer[16];
    const auto expect_refused = [&](std::int32_t result) {
      EXPECT_EQ(c.result, result);
      EXPECT_EQ(c.detail, block.detail);
      block.detail = 0;
    };
    expect_refused(lib.dTmemosz(file.handle(), c.reference, &length));
    expect_refused(lib.dTgetmm(file.handle(), c.reference, 0, 10, buffer, &length, nullptr));
    expect_refused(file.append("more", reference));
    expect_refused(file.replace("other", reference));
    EXPECT_EQ(c.reference, reference);
    EXPECT_EQ(bytes, read_file(folder.file("A.DBT")));
  }
}

// Other programs' marks may differ behind the first byte; a link that begins with it is none.
TEST(MemoDamage, a_free_run_whose_link_begins_like_a_memo_is_none) {
  for (const bool is_free : {true, false}) {
    const TemporaryFolder folder;
    std::string bytes = file_with(header(is_free ? 2 : 15), le32(255) + le32(9));
    bytes.resize(std::size_t{15} * 512);
    write_file(folder.file("A.DBT"), bytes);
    VqBlock block = memo_block(2);
    MemoFile file(block, folder.file("A"));
    std::string text, reference = "2         ";
    EXPECT_EQ(is_free ? "-3/2084" : "0/0", codes(file.read(reference, text), block));
    EXPECT_EQ(is_free ? "-3/2084" : "0/0", codes(file.replace("other", reference), block));
    EXPECT_EQ(is_free, bytes == read_file(folder.file("A.DBT")));
  }
}

// Where a link can be the whole mark, none ever is.
TEST(MemoDamage, no_link_reads_as_the_mark_of_a_memo) {
  constexpr std::uint32_t kMark = 0x8FFFF;
  const TemporaryFolder folder;
  write_file(folder.file("A.DBT"), header(kMark - 9));
  std::filesystem::resize_file(folder.file("A.DBT"), std::uintmax_t{kMark - 9} * 512);
  VqBlock block = memo_block(2);
  MemoFile file(block, folder.file("A"));
  std::string first = kNoMemo, second = kNoMemo, text;
  ASSERT_EQ(0, file.write_new(std::string(4500, 'a'), first));
  ASSERT_EQ(0, file.write_new("b", second));
  const std::string freed = first;
  ASSERT_EQ(0, file.replace(std::string(600, 'b'), second));
  ASSERT_EQ(0, file.replace(std::string(6000, 'a'), first));
  EXPECT_EQ("-3/2084", codes(file.read(freed, text), block));
}

// A file of any bytes: whatever its calls answer, they come back, and within its size.
TEST(MemoDamage, blocks_of_any_bytes_are_survived) {
  std::uint32_t seed = 1;
  const auto random = [&seed](std::uint32_t limit) {
    seed = seed * 1664525 + 1013904223;
    return (seed >> 8) % limit;
  };
  const TemporaryFolder folder;
  for (int round = 0; round < 150; ++round) {
    std::string bytes = file_with(header(2), le32(4) + le32(1));
    for (int i = 0; i < 6; ++i) {
      const std::size_t at = random(kBlocks) * 512 + random(i < 3 ? 8 : 512);
      bytes[at] = static_cast<char>(random(5) == 0 ? random(256) : random(7));
    }
    bytes.resize(bytes.size() - random(600));
    write_file(folder.file("A.DBT"), bytes);
    for (const auto layout : {MemoFile::Layout::dbase4, MemoFile::Layout::dbase3}) {
      VqBlock block = memo_block(2);
      MemoFile file(block, folder.file("A"), layout);
      if (file.handle() == nullptr) continue;
      std::string text;
      for (int i = 0; i < 8; ++i) {
        std::string reference = std::to_string(random(7));
        reference.resize(10, ' ');
        const std::string given(1 + random(1200), 'g');
        const std::uint32_t action = random(4);
        if (action == 0) reference = kNoMemo;
        const std::int32_t result = action == 0   ? file.write_new(given, reference)
                                    : action == 1 ? file.append(given, reference)
                                    : action == 2 ? file.replace(given, reference)
                                                  : file.read(reference, text);
        EXPECT_LE(result, 0);
        if (result == 0 && action == 0) {
          EXPECT_EQ(0, file.read(reference, text));
          EXPECT_EQ(given, text);
        }
      }
    }
    EXPECT_LT(std::filesystem::file_size(folder.file("A.DBT")), kMaxGrowth);
  }
}

}  // namespace
