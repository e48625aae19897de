// NDX files as bytes: what create writes, what open accepts, and every refusal with its codes.
#include "support/ndx_fixture.h"

namespace {

using NdxFileTest = NdxFixture;

TEST_F(NdxFileTest, create_writes_header_and_empty_root) {
  const struct {
    const char* format;
    unsigned flags, type, key_length, max_keys, numeric, unique;
  } cases[] = {{"C30", 0, 'C', 30, 13, 0, 0},     {"c100u", 0x40, 'C', 100, 4, 0, 0x40},
               {"NU", 0x40, 'N', 8, 31, 1, 0x40}, {"D", 0, 'D', 8, 31, 1, 0},
               {"F20U", 0, 'F', 8, 31, 1, 0},     {"3N", 0, 0, 8, 31, 1, 0},
               {"3C1U", 0, 0, 1, 56, 0, 1},       {"3DU", 0, 0, 8, 31, 1, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.format);
    const std::string expression(240, 'X');
    ASSERT_EQ(0, lib.dNcreat(&block, folder.file("new").c_str(), expression.c_str(), c.format));
    std::string expected(1024, '\0');
    expected[0] = 1;
    expected[4] = 2;
    expected[8] = static_cast<char>(c.flags);
    expected[9] = static_cast<char>(c.type);
    expected[12] = static_cast<char>(c.key_length);
    expected[14] = static_cast<char>(c.max_keys);
    expected[16] = static_cast<char>(c.numeric);
    expected[18] = static_cast<char>(c.key_length + 8);
    expected[20] = 2;
    expected[23] = static_cast<char>(c.unique);
    expected.replace(24, expression.size(), expression);
    EXPECT_EQ(expected, read_file(folder.file("NEW.NDX")));

    VqIndex* index = open("NEW");
    ASSERT_NE(nullptr, index);
    EXPECT_EQ(static_cast<int>(c.key_length), lib.dNkeylen(index));
    // The dBASE III form does not tell dates from numbers.
    const int type = c.type != 0 ? static_cast<int>(c.type) : c.numeric != 0 ? 'N' : 'C';
    EXPECT_EQ(type, lib.dNkeytyp(index));
    std::string text(241, '?');
    int32_t flags = -1, length = 0;
    EXPECT_EQ("-4/3053", codes(lib.dNexpr(index, text.data(), 240, &flags), block));
    EXPECT_EQ(0, lib.dNexpr(index, text.data(), 241, &flags));
    EXPECT_EQ(expression, text.c_str());
    EXPECT_EQ(c.unique != 0 ? 4096 : 0, flags);
    EXPECT_EQ(0, lib.dNexplen(index, &length, &flags));
    EXPECT_EQ(240, length);
    EXPECT_EQ(0, flags);
    EXPECT_EQ(index, lib.dN3datek(index));
    EXPECT_EQ('D', lib.dNkeytyp(index));
    EXPECT_EQ(0, lib.dNclose(index));
  }
}

TEST_F(NdxFileTest, create_refuses_what_the_format_cannot_hold) {
  const struct {
    std::size_t expression_length;
    const char* format;
    int32_t result, detail;
  } cases[] = {{241, "C10", -4, 3021}, {4, "C0", -4, 3022},
               {4, "C101", -4, 3022},  {4, "C", -4, 3022},
               {4, "C-5", -4, 3022},   {4, "L", -11, 3023},
               {4, "", -11, 3023},     {4, "3", -11, 3023},
               {4, "3M10", -11, 3023}, {4, "C99999999999999", -4, 3022}};
  for (const auto& c : cases) {
    EXPECT_EQ(codes(c.result, c.detail),
              codes(lib.dNcreat(&block, folder.file("bad").c_str(),
                                std::string(c.expression_length, 'X').c_str(), c.format),
                    block))
        << c.format;
  }
  EXPECT_EQ("-5/3025",
            codes(lib.dNcreat(&block, folder.file("none/bad").c_str(), "X", "C10"), block));
  EXPECT_EQ(std::vector<std::string>{"TABLE.DBF"}, folder.list());
}

TEST_F(NdxFileTest, open_accepts_strides_of_other_writers) {
  // Key length 10 with entries rounded up to 20 bytes.
  ASSERT_EQ(0, lib.dNcreat(&block, folder.file("s").c_str(), "NAME", "C10"));
  write_bytes(folder.file("S.NDX"), 14, std::string("\x19\0\0\0\x14", 5));
  VqIndex* index = open("S");
  ASSERT_NE(nullptr, index);
  for (std::uint32_t recno = 1; recno <= 2000; ++recno) {
    ASSERT_EQ(0,
              lib.dNputkey(index, text_key(std::to_string(recno * 7919 % 2003), 10).data(), recno));
  }
  ASSERT_EQ(0, lib.dNclose(index));
  EXPECT_EQ("", read("S").all_faults());
  EXPECT_EQ(2000u, read("S").entries.size());
}

TEST_F(NdxFileTest, open_refuses_damaged_headers) {
  const struct {
    const char* what;
    std::size_t at;
    std::string bytes;
  } cases[] = {{"root 0", 0, std::string(4, '\0')},
               {"root outside the file", 0, std::string("\2\0\0\0", 4)},
               {"pages that the file lacks", 4, std::string("\3\0\0\0", 4)},
               {"wild page count", 4, std::string("\xFF\xFF\xFF\xFF", 4)},
               {"key length 0", 12, std::string(2, '\0')},
               {"key length above 100", 12, std::string("\x65\0\1\0", 4)},
               {"key longer than its entry", 12, std::string("\x0B\0", 2)},
               {"numeric key of 10 bytes", 9, "N"},
               {"no keys per page", 14, std::string(2, '\0')},
               {"too few keys per page to split", 14, std::string("\2\0", 2)},
               {"more keys than fit a page", 14, std::string("\x1D\0", 2)},
               {"entries of 0 bytes", 18, std::string(2, '\0')},
               {"entries larger than a page", 18, std::string("\xFF\xFF", 2)}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ASSERT_EQ(0, lib.dNcreat(&block, folder.file("d").c_str(), "NAME", "C10"));
    write_bytes(folder.file("D.NDX"), c.at, c.bytes);
    block.result = 0;
    EXPECT_EQ("-3/10186", refusal(open("D"), block));
    EXPECT_EQ("-3/3251", codes(lib.dNbuffs(&block, folder.file("D").c_str(), 10), block));
  }
  write_file(folder.file("D.NDX"), std::string(255, '\1'));
  EXPECT_EQ("-17/10183", refusal(open("D"), block));
  EXPECT_EQ("-5/10421", refusal(open("NONE"), block));
}

TEST_F(NdxFileTest, memory_is_counted_by_buffers) {
  ASSERT_EQ(0, lib.dNcreat(&block, folder.file("m").c_str(), "NAME", "C10"));
  const std::string name = folder.file("m");
  EXPECT_EQ(29 * 4 + 18 + 4 + 495 + 512 * 4, lib.dNbuffs(&block, name.c_str(), 1));
  EXPECT_EQ(lib.dNbuffs(&block, name.c_str(), 1), lib.dNbuffs(&block, name.c_str(), 4));
  EXPECT_EQ(541 * 1000 + 18 + 4 + 495, lib.dNbuffs(&block, name.c_str(), 1000));
  EXPECT_EQ(-5, lib.dNbuffs(&block, folder.file("none").c_str(), 4));
  EXPECT_EQ("-14/10185", refusal(lib.dNopen(table, name.c_str(), 0, INT32_MAX), block));
  if (sizeof(void*) == 4) {  // 512 bytes for each come to 4 GB and a little
    EXPECT_EQ("-14/10185", refusal(lib.dNopen(table, name.c_str(), 0, 0x00800063), block));
  }
}

TEST_F(NdxFileTest, read_only_index_is_searched_but_not_changed) {
  VqIndex* index = make("R", "C10");
  const std::string key = text_key("KEY", 10);
  ASSERT_EQ(0, lib.dNputkey(index, key.data(), 3));
  ASSERT_EQ(0, lib.dNclose(index));
  const std::string before = read_file(folder.file("R.NDX"));
  for (const std::uint32_t mode : {1u, 3u, 5u}) {
    index = open("R", mode);
    ASSERT_NE(nullptr, index);
    EXPECT_EQ("-4/3162", codes(lib.dNputkey(index, key.data(), 0), block));
    EXPECT_EQ("-16/3163", codes(lib.dNputkey(index, key.data(), 4), block));
    EXPECT_EQ("-16/3213", codes(lib.dNrmkey(index, key.data(), 3), block));
    EXPECT_EQ("-16/3313", codes(lib.dNupdkey(index, key.data(), key.data(), 3), block));
    uint32_t recno = 0;
    EXPECT_EQ(0, lib.dNgetrno(index, key.data(), &recno));
    EXPECT_EQ(3u, recno);
    EXPECT_EQ(0, lib.dNflush(index));
    EXPECT_EQ(0, lib.dNclose(index));
  }
  EXPECT_EQ(before, read_file(folder.file("R.NDX")));
}

TEST_F(NdxFileTest, copy_is_the_same_file) {
  VqIndex* index = make("A", "N");
  for (std::uint32_t recno = 1; recno <= 3000; ++recno) {
    ASSERT_EQ(0, lib.dNputkey(index, number_key(recno).data(), recno));
  }
  ASSERT_EQ(0, lib.dNclose(index));
  const std::string source = folder.file("a");
  write_file(folder.file("B.NDX"), "old");
  EXPECT_EQ(0, lib.dNcopy(&block, source.c_str(), folder.file("b").c_str()));
  EXPECT_EQ(read_file(folder.file("A.NDX")), read_file(folder.file("B.NDX")));
  EXPECT_EQ("-11/3012",
            codes(lib.dNcopy(&block, source.c_str(), folder.file("A.NDX").c_str()), block));
  EXPECT_EQ(-5, lib.dNcopy(&block, folder.file("none").c_str(), folder.file("b").c_str()));
  EXPECT_EQ((std::vector<std::string>{"A.NDX", "B.NDX", "TABLE.DBF"}), folder.list());
  EXPECT_EQ(3000u, read("B").entries.size());
}

}  // namespace
