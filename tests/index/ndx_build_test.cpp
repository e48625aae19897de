// Indexes built from their tables: the same entries as one by one, in full pages, whatever the
// workspace, and nothing changed when it fails.
#include "index/build_fixture.h"
#include "support/ndx_fixture.h"

namespace {

class NdxBuild : public BuildFixture {
 protected:
  // The keys of all records, with their numbers.
  std::vector<NdxEntry> keys(const char* expression, std::size_t key_length) {
    std::vector<NdxEntry> result;
    std::string record(kMdxRecordBytes, ' ');
    for (std::uint32_t recno = 1; recno <= record_count(table); ++recno) {
      EXPECT_EQ(0, lib.dDgetrec(table, recno, record.data()));
      result.emplace_back(run(expression, record, 1, static_cast<std::int32_t>(key_length)), recno);
    }
    return result;
  }

  std::string file(const std::string& name) { return folder.file(name); }
  NdxTree read(const std::string& name) { return read_ndx(file(name + ".NDX")); }
};

TEST_F(NdxBuild, holds_what_inserting_one_by_one_gives) {
  append(3000);
  const struct {
    const char* expression;
    const char* format;  // as dNcreat would be told
    std::size_t key_length;
    std::uint32_t options;
  } cases[] = {{"NAME", "C20", 20, 0},      {"NAME", "C20U", 20, 1},
               {"AMOUNT", "N", 8, 0},       {"AMOUNT", "NU", 8, 1},
               {"DUE", "D", 8, 0},          {"DUE", "3DU", 8, 3},
               {"-AMOUNT", "3N", 8, 2},     {"UPPER(NAME)+STR(AMOUNT,12,2)", "C32", 32, 0},
               {"LEFT(NAME,1)", "C1", 1, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expression);
    for (const uint32_t pages : {1u, 64u}) {
      block.page_count_setting = pages;
      ASSERT_EQ(0, lib.dNindex(table, file("B").c_str(), c.expression, c.options))
          << int32_t{block.detail};
      const NdxTree tree = read("B");
      ASSERT_EQ("", tree.all_faults());
      EXPECT_EQ(0u, tree.orphans);

      ASSERT_EQ(0, lib.dNcreat(&block, file("ONE").c_str(), c.expression, c.format));
      VqIndex* one = lib.dNopen(table, file("ONE").c_str(), 0, 100);
      for (const NdxEntry& entry : keys(c.expression, c.key_length)) {
        const int32_t result = lib.dNputkey(one, entry.first.data(), entry.second);
        ASSERT_TRUE(result == 0 || (result == -8 && c.options % 2 == 1));
      }
      ASSERT_EQ(0, lib.dNclose(one));
      EXPECT_EQ(read("ONE").sorted(), tree.sorted());
      // The headers agree but for root and page count.
      EXPECT_EQ(read_bytes(file("ONE.NDX"), 8, 504), read_bytes(file("B.NDX"), 8, 504));
      for (std::size_t i = 1; i < tree.entries.size(); ++i) {
        if (tree.entries[i - 1].first == tree.entries[i].first) {
          ASSERT_LT(tree.entries[i - 1].second, tree.entries[i].second);
        }
      }
    }
  }
}

// Four keys a page: the last page of a level comes out with any number of children.
TEST_F(NdxBuild, pages_are_full_and_none_is_left_with_one_child) {
  for (std::uint32_t count = 0; count <= 160; ++count) {
    SCOPED_TRACE(count);
    ASSERT_EQ(0, lib.dNindex(table, file("F").c_str(), "TEXT", 0));
    const NdxTree tree = read("F");
    ASSERT_EQ("", tree.all_faults());
    ASSERT_EQ(count, tree.entries.size());
    const std::uint32_t leaves = std::max((count + 3) / 4, 1u);
    EXPECT_LE(tree.next_free, 1 + leaves + (leaves + 2) / 3 + leaves / 9 + 1);
    // It can be worked on.
    VqIndex* index = lib.dNopen(table, file("F").c_str(), 0, 4);
    ASSERT_EQ(0, lib.dNputkey(index, std::string(100, 'A').data(), 1000));
    for (const NdxEntry& entry : tree.entries) {
      ASSERT_EQ(0, lib.dNrmkey(index, entry.first.data(), entry.second));
    }
    ASSERT_EQ(0, lib.dNclose(index));
    ASSERT_EQ("", read("F").all_faults());
    append(1);
  }
}

TEST_F(NdxBuild, keys_that_an_index_cannot_hold_are_refused) {
  append(10);
  write_file(file("R.NDX"), "old");
  struct Case {
    const char* expression;
    int32_t result, detail;
  };
  const std::string longest = "NAME" + std::string(237, ' ');
  const Case cases[] = {{"AMOUNT > 0", -11, 3023},   {"TEXT+NAME", -4, 3022},
                        {longest.c_str(), -4, 3021}, {"NONE", -25, 6034},
                        {"NAME+", -25, 5001},        {"", -32, 6001}};
  for (const Case& c : cases) {
    EXPECT_EQ(codes(c.result, c.detail),
              codes(lib.dNindex(table, file("R").c_str(), c.expression, 0), block))
        << c.expression;
  }
  const char* const fields[] = {"NOTES", "M"};
  ASSERT_EQ(0, lib.dDcreat(&block, file("M").c_str(), 1, fields));
  VqTable* const memos = lib.dDopen(&block, file("M").c_str(), 0, 1);
  EXPECT_EQ("-11/3023", codes(lib.dNindex(memos, file("R").c_str(), "NOTES", 0), block));
  EXPECT_EQ(0, lib.dDclose(memos));
  EXPECT_EQ("old", read_file(file("R.NDX")));
}

TEST_F(NdxBuild, rebuild_keeps_form_and_drops_stale_entries) {
  append(700);
  ASSERT_EQ(0, lib.dNindex(table, file("R").c_str(), "NAME", 3));
  const NdxTree before = read("R");
  const std::string header = read_bytes(file("R.NDX"), 8, 504);
  VqIndex* index = lib.dNopen(table, file("R").c_str(), 0, 4);
  ASSERT_EQ(0, lib.dNputkey(index, text_key("STALE", 20).data(), 5));
  ASSERT_EQ(0, lib.dNrmkey(index, before.entries[3].first.data(), before.entries[3].second));
  ASSERT_EQ(0, lib.dNclose(index));
  ASSERT_EQ(0, lib.dNreindex(table, file("R").c_str()));
  EXPECT_EQ(before.entries, read("R").entries);
  EXPECT_EQ(header, read_bytes(file("R.NDX"), 8, 504));

  EXPECT_EQ(-5, lib.dNreindex(table, file("NONE").c_str()));
  ASSERT_EQ(0, lib.dNcreat(&block, file("OTHER").c_str(), "AMOUNT", "C10"));
  EXPECT_EQ("-9/3183", codes(lib.dNreindex(table, file("OTHER").c_str()), block));
  ASSERT_EQ(0, lib.dDclose(table));
  table = lib.dDopen(&block, file("T").c_str(), 4, 10);
  EXPECT_EQ("-11/3182", codes(lib.dNreindex(table, file("R").c_str()), block));
}

// Another handle has appended and changed records since this one read them.
TEST_F(NdxBuild, shared_table_is_read_as_the_file_has_it) {
  append(50);
  ASSERT_EQ(0, lib.dDclose(table));
  for (const std::uint32_t mode : {2u, 4u}) {
    SCOPED_TRACE(mode);
    table = lib.dDopen(&block, file("T").c_str(), mode, 20);
    std::string record(kMdxRecordBytes, ' ');
    ASSERT_EQ(0, lib.dDgetrec(table, 9, record.data()));
    VqTable* other = lib.dDopen(&block, file("T").c_str(), mode, 20);
    record.replace(1, 5, mode == 2 ? "FIRST" : "AGAIN");
    ASSERT_EQ(0, lib.dDupdrec(other, 9, record.data()));
    ASSERT_EQ(0, lib.dDapprec(other, record.data()));
    // A lock of the other handle's refuses the build.
    ASSERT_EQ(0, lib.dDlkfil(other));
    const std::string name = file("S" + std::to_string(mode));
    EXPECT_EQ(-38, lib.dNindex(table, name.c_str(), "NAME", 0));
    EXPECT_EQ(483, block.detail);
    ASSERT_EQ(0, lib.dDulkfil(other));
    ASSERT_EQ(0, lib.dDlkfil(table));
    EXPECT_EQ(0, lib.dNindex(table, name.c_str(), "NAME", 0));
    EXPECT_EQ(0, lib.dDlkfsta(table)) << "the host's own lock stays";
    ASSERT_EQ(0, lib.dDulkfil(table));
    std::vector<NdxEntry> expected = keys("NAME", 20);
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(expected, read("S" + std::to_string(mode)).entries);
    EXPECT_EQ(-11, lib.dNindex(table, name.c_str(), "NAME", 0)) << "others may have it open";
    EXPECT_EQ(3104, block.detail);
    ASSERT_EQ(0, lib.dDclose(other));
    if (mode == 2) {
      ASSERT_EQ(0, lib.dDclose(table));
    }
  }
}

TEST_F(NdxBuild, index_that_others_use_or_that_contradicts_itself_is_not_replaced) {
  append(50);
  ASSERT_EQ(0, lib.dNindex(table, file("R").c_str(), "NAME", 1));
  VqIndex* holder = lib.dNopen(table, file("R").c_str(), 4, 4);
  ASSERT_EQ(0, lib.dNlkfil(holder));
  const std::string before = read_file(file("R.NDX"));
  EXPECT_EQ(-38, lib.dNindex(table, file("R").c_str(), "AMOUNT", 0));
  EXPECT_EQ(3105, block.detail);
  EXPECT_EQ(-38, lib.dNreindex(table, file("R").c_str()));
  EXPECT_EQ(3185, block.detail);
  EXPECT_EQ(-38, lib.dNcreat(&block, file("R").c_str(), "NAME", "C10"));
  EXPECT_EQ(3027, block.detail);
  ASSERT_EQ(0, lib.dNclose(holder));
  for (const std::size_t flag : {8u, 23u}) {
    write_file(file("R.NDX"), before);
    write_bytes(file("R.NDX"), flag, std::string(1, '\0'));
    EXPECT_EQ(-3, lib.dNreindex(table, file("R").c_str()));
    EXPECT_EQ(3186, block.detail);
  }
  write_file(file("R.NDX"), before);
  EXPECT_EQ(0, lib.dNreindex(table, file("R").c_str()));
}

TEST_F(NdxBuild, index_of_the_other_language_is_refused) {
  for (const char* name : {"a", "B", "c", "D", "e", "F"}) {
    std::string record(kMdxRecordBytes, ' ');
    record.replace(1, 1, name);
    ASSERT_EQ(0, lib.dDapprec(table, record.data()));
  }
  for (const int32_t language : {0, 1}) {
    lib.dUsetlang(&block, language);
    ASSERT_EQ(0, lib.dNindex(table, file("L").c_str(), "NAME", 0));
    lib.dUsetlang(&block, 1 - language);
    EXPECT_EQ(nullptr, lib.dNopen(table, file("L").c_str(), 0, 4));
    EXPECT_EQ(-9, block.result);
    EXPECT_EQ(10187, block.detail);
    lib.dUsetlang(&block, language);
    VqIndex* index = lib.dNopen(table, file("L").c_str(), 0, 4);
    EXPECT_EQ(0, lib.dNclose(index));
  }
}

// The host's position and record layout stay as they are.
TEST_F(NdxBuild, table_is_left_as_it_was_used) {
  append(50);
  block.runtime_flags = 1;
  std::string record(kMdxRecordBytes, ' ');
  ASSERT_EQ(0, lib.dDgetrec(table, 7, record.data()));
  ASSERT_EQ(0, lib.dNindex(table, file("K").c_str(), "NAME", 0));
  EXPECT_EQ(1, uint16_t{block.runtime_flags});
  block.runtime_flags = 0;
  EXPECT_EQ(50u, read("K").entries.size());
  EXPECT_EQ(keys("NAME", 20).front().first.substr(0, 1), "N");
}

TEST_F(NdxBuild, host_watches_and_cancels) {
  append(6000);
  write_file(file("C.NDX"), "old");
  std::uint32_t reports = 0;
  {
    const Host host(block);
    ASSERT_EQ(0, lib.dNindex(table, file("W").c_str(), "TEXT", 0));
    EXPECT_EQ(12000u, host.total);
    EXPECT_TRUE(host.in_order);
    reports = host.reports;
  }
  EXPECT_GE(reports, 11u);
  for (std::uint32_t n = 1; n <= reports; ++n) {
    const Host host(block, n);
    EXPECT_EQ(-41, lib.dNindex(table, file("C").c_str(), "TEXT", 0));
    EXPECT_EQ("old", read_file(file("C.NDX")));
    EXPECT_EQ((std::vector<std::string>{"C.NDX", "T.DBF", "W.NDX"}), folder.list());
  }
}

}  // namespace
