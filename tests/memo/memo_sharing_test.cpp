
#include "support/memo_files.h"
#include "support/process.h"

namespace {

using Layout = MemoFile::Layout;

constexpr int kMemosEach = 400;

Layout layout_named(const std::string& name) {
  return name == "4" ? Layout::dbase4 : Layout::dbase3;
}

std::string text_of(const std::string& writer, int number) {
  return writer + " wrote " + std::to_string(number) + " " +
         std::string(static_cast<std::size_t>(number * 37 % 1500), writer[0]);
}

// Writes memos, lets some of them move, and says where they ended up.
VQ_CHILD(write_memos) {
  VqBlock block = memo_block(2);
  lib.dUsetwait(&block, 60000);
  MemoFile file(block, args[0], layout_named(args[1]), 2);
  if (file.handle() == nullptr) return 1;
  say("ready");
  wait_for_line();
  std::vector<std::string> references;
  for (int i = 0; i < kMemosEach; ++i) {
    std::string reference = kNoMemo;
    const bool twice = i % 3 == 0;
    const std::string text = text_of(args[2], i);
    if (file.write_new(twice ? "draft" : text, reference) != 0) return 2;
    if (twice && file.replace(text, reference) != 0) return 3;
    references.push_back(reference);
  }
  for (const std::string& reference : references) say(reference);
  return 0;
}

TEST(MemoSharing, two_processes_write_to_one_file_and_lose_nothing) {
  for (const std::string layout : {"4", "3"}) {
    SCOPED_TRACE("dBASE " + layout);
    const TemporaryFolder folder;
    VqBlock block = memo_block(2);
    const std::string name = folder.file("T");
    create_memos(block, name, layout_named(layout));
    Child one("write_memos", {name, layout, "one"});
    Child two("write_memos", {name, layout, "two"});
    ASSERT_EQ("ready", one.read_line());
    ASSERT_EQ("ready", two.read_line());
    one.write_line("go");
    two.write_line("go");
    std::map<std::string, std::string> expected;
    for (int i = 0; i < kMemosEach; ++i) {
      expected[one.read_line()] = text_of("one", i);
      expected[two.read_line()] = text_of("two", i);
    }
    EXPECT_EQ(0, one.wait());
    EXPECT_EQ(0, two.wait());

    EXPECT_EQ(std::size_t{2 * kMemosEach}, expected.size()) << "no block was given out twice";
    std::vector<std::string> references;
    MemoFile file(block, name, layout_named(layout), 0);
    for (const auto& [reference, text] : expected) {
      std::string got;
      ASSERT_EQ(0, file.read(reference, got));
      ASSERT_EQ(text, got);
      references.push_back(reference);
    }
    if (layout == "4") {
      EXPECT_EQ("", fault_in_dbase4(read_file(folder.file("T.DBT")), references));
    }
  }
}

// Dies in the middle of its work, as a crash would make it.
VQ_CHILD(write_until_killed) {
  VqBlock block = memo_block(2);
  MemoFile file(block, args[0], layout_named(args[1]),
                static_cast<std::uint32_t>(args[2][0] - '0'));
  std::string moving = kNoMemo;
  if (file.write_new("moving", moving) != 0) return 1;
  for (int i = 0;; ++i) {
    std::string reference = kNoMemo;
    const std::string text = text_of("child", i);
    if (file.write_new(text, reference) != 0 || file.replace(text, moving) != 0) return 2;
    say(reference);
  }
}

TEST(MemoSharing, a_killed_writer_costs_no_memo_that_it_was_told_is_written) {
  for (const std::string layout : {"4", "3"}) {
    for (const std::string mode : {"0", "2"}) {
      SCOPED_TRACE("dBASE " + layout + " mode " + mode);
      const TemporaryFolder folder;
      VqBlock block = memo_block(2);
      const std::string name = folder.file("T");
      create_memos(block, name, layout_named(layout));
      std::map<std::string, std::string> expected;
      {
        Child child("write_until_killed", {name, layout, mode});
        for (int i = 0; i < 100; ++i) {
          const std::string where = child.read_line();
          ASSERT_EQ(10u, where.size());
          expected[where] = text_of("child", i);
        }
        child.kill();
      }
      MemoFile file(block, name, layout_named(layout), 2);
      std::vector<std::string> references;
      std::string reference, got;
      for (int i = 0; i < 50; ++i) {
        reference = kNoMemo;
        ASSERT_EQ(0, file.write_new(text_of("after", i), reference)) << block.detail;
        expected[reference] = text_of("after", i);
      }
      for (const auto& [where, text] : expected) {
        ASSERT_EQ(0, file.read(where, got));
        ASSERT_EQ(text, got);
        references.push_back(where);
      }
      if (layout == "4") {
        EXPECT_EQ("", fault_in_dbase4(read_file(folder.file("T.DBT")), references, true));
      }
    }
  }
}

}  // namespace
