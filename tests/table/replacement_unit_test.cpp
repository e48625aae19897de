// Files that others have open, or locked, when another file takes their place.
#include "platform/file.h"
#include "table/scratch_table.h"

namespace {

using vqdb::platform::File;
using Work = std::function<std::int32_t()>;

TEST(Replacement, of_a_file_that_somebody_else_has_locked_is_refused) {
  ScratchTable scratch(2), other(2);
  scratch.append(1, 20);
  VqBlock& block = scratch.block;
  lib.dUtmpdir(&block, scratch.folder.path().string().c_str());
  const auto file = [&](const char* name) { return scratch.folder.file(name); };
  const char* const memo_fields[] = {"TEXT", "C9", "NOTE", "M"};
  ASSERT_EQ(0, lib.dDcreat(&block, file("M").c_str(), 2, memo_fields));
  ASSERT_EQ(0, lib.dTcreat(&block, file("M").c_str()));
  OpenTable table(block, scratch.name, 0, 4);
  for (const char* name : {"A", "B"}) {
    ASSERT_EQ(0, lib.dNindex(table, file(name).c_str(), "TEXT", 0));
    ASSERT_EQ(0, lib.dXezindx(table, file(name).c_str(), "TAG", "TEXT", nullptr, 0));
  }
  const std::string other_file = other.name;
  const struct {
    const char* target;
    Work work;
  } cases[] = {
      {"B.NDX", [&] { return lib.dNcopy(&block, file("A").c_str(), file("B").c_str()); }},
      {"B.NDX", [&] { return lib.dNreindex(table, file("B").c_str()); }},
      {"B.NDX", [&] { return lib.dNcreat(&block, file("B").c_str(), "TEXT", "C9"); }},
      {"B.MDX", [&] { return lib.dXcopy(&block, file("A").c_str(), file("B").c_str()); }},
      {"B.MDX", [&] { return lib.dXreindx(table, file("B").c_str()); }},
      {"B.MDX", [&] { return lib.dXcreat(table, file("B").c_str()); }},
      {"M.DBT", [&] { return lib.dTcreat(&block, file("M").c_str()); }},
      {"M.DBT", [&] { return lib.dToptimize(&block, file("M").c_str()); }},
      {"T.DBF",
       [&] {
         return create_table(block, file("T"), {"X", "C5"});
       }},
      {"T.DBF", [&] { return lib.dDcopy(&block, other_file.c_str(), file("T").c_str()); }},
      {"T.DBF", [&] { return lib.dDsort(&block, other_file.c_str(), file("T").c_str(), "TEXT"); }},
      {"T.DBF", [&] { return lib.DBcopy(&block, other_file.c_str(), file("T").c_str()); }},
      {"M.DBT", [&] { return lib.DBcreat(&block, file("M").c_str(), 2, memo_fields); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    const std::string before = read_file(file(c.target));
    File holder;
    ASSERT_TRUE(holder.open(file(c.target), vqdb::platform::Access::read_write).ok());
    ASSERT_TRUE(holder.lock(0xEFFFFFFE, 1).ok());
    EXPECT_EQ(-38, c.work()) << block.detail;
    EXPECT_EQ(before, read_file(file(c.target)));
    ASSERT_TRUE(holder.close().ok());
    EXPECT_EQ(0, c.work()) << block.detail;
  }
}

TEST(Replacement, is_met_by_handles_that_had_the_old_file_open) {
  const struct {
    std::uint32_t mode, kind;
    std::int32_t buffers;
  } cases[] = {{0, 1, 2}, {2, 1, 0}, {2, 1, 2}, {2, 16, 2}, {4, 1, 2}, {4, 16, 2}};
  const std::string record = ScratchTable::record(7);
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "mode " << c.mode << " kind " << c.kind);
    for (const bool packs : {true, false}) {
      ScratchTable scratch(c.kind), source;
      source.append(1, 5);
      scratch.append(1, 900);
      VqBlock block = scratch.block;
      VqTable* const table = lib.dDopen(&block, scratch.name.c_str(), c.mode, c.buffers);
      std::string out(record);
      EXPECT_EQ(0, lib.dDgetrec(table, 1, out.data()));
      ASSERT_EQ(0, packs ? lib.dDpack(&scratch.block, scratch.name.c_str())
                         : lib.dDsort(&scratch.block, source.name.c_str(), scratch.name.c_str(),
                                      "NUMBER"));
      EXPECT_EQ(-17, lib.dDgetrec(table, 850, out.data()));
      EXPECT_EQ(-17, lib.dDupdrec(table, 850, record.data()));
      EXPECT_EQ(-17, lib.dDdelrec(table, 850));
      if (c.mode == 0) {
        // What goes to the buffers cannot know; what brings it to the file does.
        EXPECT_EQ(0, lib.dDupdrec(table, 1, record.data()));
        EXPECT_EQ("-17/242", codes(lib.dDflush(table), block));
        EXPECT_EQ(-17, lib.dDinsrec(table, 1, record.data()));
        EXPECT_EQ(-17, lib.dDrmrec(table, 1));
      } else {
        EXPECT_EQ(-17, lib.dDapprec(table, record.data()));
        EXPECT_EQ(-17, lib.dDupdrec(table, 1, record.data()));
      }
      EXPECT_EQ(c.mode == 0 ? -17 : 0, lib.dDclose(table));
      EXPECT_EQ(packs ? 900u : 5u, record_count(OpenTable(block, scratch.name, 2, 0)));
    }
  }
}

TEST(Replacement, of_one_name_among_several_is_refused) {
  ScratchTable scratch;
  scratch.append(1, 20);
  std::filesystem::create_hard_link(scratch.file, scratch.folder.file("OTHER.DBF"));
  const std::string before = read_file(scratch.file);
  EXPECT_EQ("-11/291", codes(lib.dDpack(&scratch.block, scratch.name.c_str()), scratch.block));
  EXPECT_EQ(before, read_file(scratch.file));
}

TEST(Replacement, that_its_journal_does_not_tell_is_left_and_the_table_refused) {
  ScratchTable scratch;
  const std::string journal = scratch.file + "$";
  for (const std::string& text :
       {std::string("x"), std::string("1"), std::string("1\t"), std::string("1\t2"),
        std::string("1\t2\t"), std::string("1\t2\tT.DBF"), std::string("\n"), std::string("1\n"),
        std::string("1\t2\n"), std::string("1\t2\t\n"), std::string("1 2\tT.DBF\n"),
        std::string((1 << 20) + 1, '1')}) {
    write_file(journal, text);
    EXPECT_EQ("-17/10049",
              refusal(lib.dDopen(&scratch.block, scratch.name.c_str(), 0, 1), scratch.block))
        << text.substr(0, 20);
    EXPECT_EQ(text, read_file(journal));
  }
}

TEST(Replacement, of_a_link_to_nothing_makes_what_it_leads_to) {
  ScratchTable scratch;
  scratch.append(1, 20);
  const std::string link = scratch.folder.file("LINK.DBF"), to = scratch.folder.file("REAL.DBF");
  std::filesystem::create_symlink("REAL.DBF", link);
  VqBlock& block = scratch.block;
  const Work works[] = {
      [&] {
        return create_table(block, link, {"X", "C5"});
      },
      [&] { return lib.dDcat(&block, link.c_str(), scratch.name.c_str()); },
      [&] { return lib.dDsort(&block, scratch.name.c_str(), link.c_str(), "TEXT"); }};
  for (const Work& work : works) {
    EXPECT_EQ(0, work()) << block.detail;
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_TRUE(std::filesystem::remove(to));
  }
}

}  // namespace
