// MDX files as files: made, opened, their tags listed, added and dropped, byte by byte.
#include <cstdlib>

#include "support/mdx_fixture.h"

namespace {

class Mdx : public MdxFixture {
 protected:
  struct Listed {
    std::uint32_t page = 0;
    std::string name;
    std::uint32_t flags = 0;
  };

  std::vector<Listed> list(VqIndex* file, bool sorted = false) {
    std::string bytes(19 * 47, '#');
    EXPECT_EQ(0, sorted ? lib.dXsortag(file, bytes.data()) : lib.dXlistag(file, bytes.data()));
    std::vector<Listed> listed;
    for (std::int32_t i = 0; i < lib.dXtags(file); ++i) {
      const std::size_t at = static_cast<std::size_t>(i) * 19;
      listed.push_back(
          {number_at(bytes, at, 4), bytes.c_str() + at + 4, number_at(bytes, at + 15, 4)});
    }
    return listed;
  }
};

TEST_F(Mdx, new_file_holds_a_header_and_an_empty_tag_table) {
  ASSERT_EQ(0, lib.dXcreat(table, name("SOME").c_str()));
  const std::string bytes = read_file(name("SOME.MDX"));
  ASSERT_EQ(2048u, bytes.size());
  const std::string today = bytes.substr(1, 3);
  EXPECT_EQ(std::string("\2", 1) + today + "T" + std::string(15, '\0') +
                std::string("\2\0\0\4\0\x30\x20\0\0\0\0\0\4\0\0\0\0\0\0\0\0\0\0\0", 24) + today,
            bytes.substr(0, 47));
  EXPECT_EQ(std::string::npos, bytes.find_first_not_of('\0', 47));
  EXPECT_EQ(0, read_file(name("T.DBF"))[28]);
  // The table's own.
  ASSERT_EQ(0, lib.dXcreat(table, name("T").c_str()));
  EXPECT_EQ(1, read_file(name("T.MDX"))[24]);
  VqIndex* file = open("SOME");
  ASSERT_NE(nullptr, file);
  EXPECT_EQ(0, lib.dXtags(file));
  EXPECT_EQ(0, lib.dXclose(file));
  EXPECT_EQ("-10/1241", codes(lib.dXclose(file), block));
}

TEST_F(Mdx, tag_is_written_as_other_programs_expect_it) {
  create("T");
  VqIndex* file = open("T");
  ASSERT_EQ(0, lib.dXindex(file, "byname", "NAME", "C20DU", "AMOUNT > 5"));
  ASSERT_EQ(0, lib.dXindex(file, "DUE", "DUE", "D", nullptr));
  ASSERT_EQ(0, lib.dXindex(file, "AMOUNT", "AMOUNT", "F", ""));
  EXPECT_EQ(0, lib.dXindex(file, "SHORT", "LEFT(NAME,4)", "C4", nullptr));
  ASSERT_EQ(0, lib.dXclose(file));
  // The table knows its production index.
  EXPECT_EQ(1, read_file(name("T.DBF"))[28]);

  const std::string bytes = read_file(name("T.MDX"));
  EXPECT_EQ(4u, number_at(bytes, 28, 4));
  EXPECT_EQ(1, bytes[529]);
  const MdxReport report = read("T");
  EXPECT_EQ("", report.all_faults());
  EXPECT_EQ(0u, report.orphans.size());
  const auto entry = [&](std::size_t number) { return bytes.substr(512 + 32 * number, 32); };
  EXPECT_EQ(std::string("BYNAME\0\0\0\0\0\x78\3\2\0\2C", 17), entry(1).substr(4, 17));
  EXPECT_EQ(std::string("DUE\0\0\0\0\0\0\0\0\0\0\4\1\2D", 17), entry(2).substr(4, 17));
  EXPECT_EQ(std::string("AMOUNT\0\0\0\0\0\0\0\0\1\2N", 17), entry(3).substr(4, 17));

  const auto header = [&](std::size_t number) {
    return bytes.substr(number_at(bytes, 512 + 32 * number, 4) * 512, 1024);
  };
  const std::string first = header(1);
  EXPECT_EQ(4u, number_at(first, 4, 4));
  EXPECT_EQ(std::string("\x78"
                        "C\0\0\x14\0\x2A\0\0\0\x18\0\2\0\0\x40NAME\0",
                        21),
            first.substr(8, 21));
  EXPECT_EQ(std::string("\1\1", 2), first.substr(245, 2));
  EXPECT_STREQ("AMOUNT > 5", first.c_str() + 762);
  EXPECT_EQ(std::string("\0D\0\0\x8\0\x54\0\1\0\xC\0\2\0\0\0DUE\0", 20), header(2).substr(8, 20));
  EXPECT_EQ(std::string("\0N\0\0\xC\0\x3F\0\0\0\x10\0\2\0\0\0AMOUNT\0", 23),
            header(3).substr(8, 23));
  EXPECT_EQ(std::string("\0\1", 2), header(3).substr(245, 2));
  // The trailing child needs room as well.
  EXPECT_EQ(std::string("\x4\0\x7E\0\0\0\x8\0", 8), header(4).substr(12, 8));
}

TEST_F(Mdx, tags_are_listed_found_and_described) {
  create();
  VqIndex* file = open();
  ASSERT_EQ(0, lib.dXindex(file, "ZULU", "NAME", "C20D", nullptr));
  ASSERT_EQ(0, lib.dXindex(file, "alpha_1", "AMOUNT", "NU", "NAME = 'A' .OR. NAME = 'B'"));
  const auto made = list(file);
  ASSERT_EQ(2u, made.size());
  EXPECT_EQ("ZULU", made[0].name);
  EXPECT_EQ(8u, made[0].flags);
  EXPECT_EQ("ALPHA_1", made[1].name);
  EXPECT_EQ(4096u, made[1].flags);
  EXPECT_EQ(read().tag("ZULU").header_page, made[0].page);
  EXPECT_EQ("ALPHA_1", list(file, true)[0].name);

  VqIndex* tag = lib.dXactidx(file, "Alpha_1");
  ASSERT_NE(nullptr, tag);
  EXPECT_EQ(tag, lib.dXactidx(file, "ALPHA_1"));
  EXPECT_EQ(12, lib.dXkeylen(tag));
  EXPECT_EQ('N', lib.dXkeytyp(tag));
  char text[64];
  std::int32_t flags = 0, length = 0;
  EXPECT_EQ(0, lib.dXexpr(tag, text, sizeof text, &flags));
  EXPECT_STREQ("AMOUNT", text);
  EXPECT_STREQ("NAME = 'A' .OR. NAME = 'B'", text + 7);
  EXPECT_EQ(4096, flags);
  EXPECT_EQ(0, lib.dXexplen(tag, &length, &flags));
  EXPECT_EQ(6, length);
  EXPECT_EQ(26, flags);
  EXPECT_EQ(0, lib.dXexpr(tag, text, 34, nullptr));
  EXPECT_EQ("-4/1053", codes(lib.dXexpr(tag, text, 33, nullptr), block));
  EXPECT_EQ("-2/1002", refusal(lib.dXactidx(file, "BETA"), block));

  // Activated twice, given back twice; then the handle is gone, and its file stays.
  EXPECT_EQ(0, lib.dXdeaidx(tag));
  EXPECT_EQ(12, lib.dXkeylen(tag));
  EXPECT_EQ(0, lib.dXdeaidx(tag));
  EXPECT_EQ("-10/1031", codes(lib.dXdeaidx(tag), block));
  // A file is no tag, and a tag no file.
  EXPECT_EQ(-10, lib.dXkeylen(file));
  tag = lib.dXactidx(file, "ZULU");
  EXPECT_EQ(-10, lib.dXtags(tag));
  EXPECT_EQ(0, lib.dXclose(file));
  EXPECT_EQ("-10/1201", codes(lib.dXnxtkey(tag, text, nullptr), block));
}

TEST_F(Mdx, tags_tell_where_they_are_and_files_who_holds_them) {
  create();
  VqIndex* const file = open("M", 4);
  VqIndex* const tag = make_tag(file, "T", "NAME", "C4");
  ASSERT_EQ(0, lib.dXputkey(tag, "AAAA", 1));
  ASSERT_EQ(0, lib.dXputkey(tag, "BBBB", 2));
  char key[5] = {};
  std::uint32_t recno = 0;
  ASSERT_EQ(0, lib.dXforwrd(tag));
  EXPECT_EQ("-7/0", codes(lib.dXcurkey(tag, key, &recno), 0));
  ASSERT_EQ(0, lib.dXprvkey(tag, key, &recno));
  ASSERT_EQ(0, lib.dXcurkey(tag, key, &recno));
  EXPECT_EQ("BBBB2", key + std::to_string(recno));
  VqIndex* const other = open("M", 4);
  EXPECT_EQ("-35/1143", codes(lib.dXlkfsta(file), block));
  EXPECT_EQ("-35/1223", codes(lib.dXulkfil(file), block));
  EXPECT_EQ(0, lib.dXlkfil(file));
  EXPECT_EQ(0, lib.dXlkfsta(file));
  EXPECT_EQ("-37/1144", codes(lib.dXlkfsta(other), block));
  EXPECT_EQ("-38/1133", codes(lib.dXlkfil(other), block));
  EXPECT_EQ(0, lib.dXulkfil(file));
  EXPECT_EQ(0, lib.dXlkfil(other));
  EXPECT_EQ(0, lib.dXclose(other));
  EXPECT_EQ(0, lib.dXclose(file));
}

TEST_F(Mdx, tags_that_cannot_be_made_are_refused) {
  struct Case {
    const char* tag;
    const char* key;
    const char* format;
    const char* filter;
    std::int32_t result, detail;
  };
  const std::string longest(221, ' ');
  const std::string key = "NAME" + longest;
  const std::string filter = "NAME='A'" + longest;
  const Case cases[] = {{"", "NAME", "C20", nullptr, -11, 1103},
                        {"1ST", "NAME", "C20", nullptr, -11, 1103},
                        {"LONGERNAME1", "NAME", "C20", nullptr, -11, 1103},
                        {"A B", "NAME", "C20", nullptr, -11, 1103},
                        {"there", "NAME", "C20", nullptr, -11, 1104},
                        {"X", key.c_str(), "C20", nullptr, -4, 1106},
                        {"X", "NAME", "C20", filter.c_str(), -4, 1106},
                        {"X", "NAME", "C0", nullptr, -4, 1107},
                        {"X", "NAME", "C101", nullptr, -4, 1107},
                        {"X", "NAME", "L", nullptr, -11, 1108},
                        {"X", "NAME", "", nullptr, -11, 1108},
                        {"X", "NAME", "N", nullptr, -9, 1108},
                        {"X", "AMOUNT", "D", nullptr, -9, 1108},
                        {"X", "NOBODY", "C20", nullptr, -25, 6034},
                        {"X", "NAME", "C20", "NAME", -11, 6511},
                        {"X", "NAME", "C20", "NAME =", -25, 5010}};
  create();
  VqIndex* file = open();
  ASSERT_EQ(0, lib.dXindex(file, "THERE", "NAME", "C20", nullptr));
  ASSERT_EQ(0, lib.dXflush(file));
  const std::string before = read_file(name("M.MDX"));
  for (const Case& c : cases) {
    EXPECT_EQ(codes(c.result, c.detail),
              codes(lib.dXindex(file, c.tag, c.key, c.format, c.filter), block))
        << c.detail;
  }
  EXPECT_EQ(before, read_file(name("M.MDX")));
  EXPECT_EQ("-2/1262", codes(lib.dXdeltag(file, "NONE"), block));
  EXPECT_EQ(0, lib.dXclose(file));
}

// Threads and list stay right whatever comes and goes; the pages of dropped tags are used again.
TEST_F(Mdx, table_of_47_tags_is_filled_emptied_and_filled_again) {
  create();
  VqIndex* file = open();
  const auto tag_name = [](int n) { return "T" + std::to_string(n * 29 % 47); };
  for (int n = 0; n < 47; ++n) {
    ASSERT_EQ(0, lib.dXindex(file, tag_name(n).c_str(), "NAME", "C20", nullptr));
  }
  EXPECT_EQ("-4/1105", codes(lib.dXindex(file, "ONEMORE", "NAME", "C20", nullptr), block));
  EXPECT_EQ("", read().all_faults());
  const std::size_t size = read_file(name("M.MDX")).size();
  EXPECT_EQ(2048u + 47 * 2 * 1024, size);
  for (const int step : {2, 3, 1}) {
    for (int n = 0; n < 47; n += step) {
      ASSERT_EQ(0, lib.dXdeltag(file, tag_name(n).c_str()));
      EXPECT_EQ("", read().all_faults());
    }
    EXPECT_EQ(0u, read().orphans.size());
    for (int n = 0; n < 47; n += step) {
      ASSERT_EQ(0, lib.dXindex(file, tag_name(n).c_str(), "AMOUNT", "N", nullptr));
    }
    EXPECT_EQ("", read().all_faults());
    EXPECT_EQ(size, read_file(name("M.MDX")).size());
    EXPECT_EQ("T0", list(file, true)[0].name);
    EXPECT_EQ("T9", list(file, true)[46].name);
  }
  EXPECT_EQ(0, lib.dXclose(file));
}

// The pages that it had may be another tag's then.
TEST_F(Mdx, a_walk_goes_on_in_a_tag_that_is_made_again) {
  for (int n = 1; n <= 200; ++n) ASSERT_EQ(0, lib.dDapprec(table, mdx_record("N", n, 1).data()));
  create();
  VqIndex* const file = open();
  VqIndex* const tag = make_tag(file, "A", "AMOUNT", "N");
  std::string key(12, ' ');
  std::uint32_t recno = 0;
  for (int n = 1; n <= 100; ++n) ASSERT_EQ(0, lib.dXnxtkey(tag, key.data(), &recno));
  ASSERT_EQ(0, lib.dXdeltag(file, "A"));
  ASSERT_EQ(0, lib.dXindex(file, "B", "NAME", "C20", nullptr));
  ASSERT_EQ(0, lib.dXindex(file, "A", "AMOUNT", "N", nullptr));
  for (std::uint32_t n = 101; n <= 200; ++n) {
    ASSERT_EQ(0, lib.dXnxtkey(tag, key.data(), &recno)) << block.detail;
    ASSERT_EQ(n, recno);
  }
  EXPECT_EQ(0, lib.dXclose(file));
}

TEST_F(Mdx, memory_need_grows_with_buffers_and_blocks) {
  create("M", 2);
  create("L", 32);
  const std::int32_t few = lib.dXbuffs(&block, name("M").c_str(), 1);
  EXPECT_EQ(few, lib.dXbuffs(&block, name("M").c_str(), 4));
  EXPECT_LT(few + 95 * 1024, lib.dXbuffs(&block, name("M").c_str(), 1000));
  EXPECT_LT(few, lib.dXbuffs(&block, name("L").c_str(), 4));
  EXPECT_EQ(-5, lib.dXbuffs(&block, name("NONE").c_str(), 4));
}

TEST_F(Mdx, a_file_opened_for_reading_is_not_changed) {
  create();
  VqIndex* file = open();
  VqIndex* tag = make_tag(file, "NAME", "NAME", "C20");
  ASSERT_EQ(0, lib.dXputkey(tag, mdx_key('C', 20, 7).data(), 7));
  ASSERT_EQ(0, lib.dXclose(file));
  file = open("M", 1);
  tag = lib.dXactidx(file, "NAME");
  EXPECT_EQ("-16/1163", codes(lib.dXputkey(tag, mdx_key('C', 20, 8).data(), 8), block));
  EXPECT_EQ("-16/1263", codes(lib.dXdeltag(file, "NAME"), block));
  EXPECT_EQ("-16/1100", codes(lib.dXindex(file, "MORE", "NAME", "C20", nullptr), block));
  std::uint32_t recno = 0;
  EXPECT_EQ(0, lib.dXgetrno(tag, mdx_key('C', 20, 7).data(), &recno));
  EXPECT_EQ(0, lib.dXclose(file));
}

TEST_F(Mdx, copy_is_a_second_file) {
  create();
  VqIndex* file = open();
  make_tag(file, "NAME", "NAME", "C20");
  ASSERT_EQ(0, lib.dXclose(file));
  ASSERT_EQ(0, lib.dXcopy(&block, name("M").c_str(), name("COPY").c_str()));
  EXPECT_EQ(read_file(name("M.MDX")), read_file(name("COPY.MDX")));
  EXPECT_EQ(-5, lib.dXcopy(&block, name("NONE").c_str(), name("COPY").c_str()));
  EXPECT_EQ("-11/1012", codes(lib.dXcopy(&block, name("M").c_str(), name("M").c_str()), block));
}

}  // namespace
