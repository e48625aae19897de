// MDX files that no writer made: every operation ends, with a code, and the library never follows a
// page out of the file.
#include "support/mdx_fixture.h"

namespace {

constexpr std::int32_t kKeys = 600;
constexpr std::size_t kUnit = 512;

class MdxDamage : public MdxFixture {
 protected:
  void SetUp() override {
    MdxFixture::SetUp();
    create();
    VqIndex* file = open("M", 0, 100);
    for (const char* const tag : {"GONE", "NUMBERS", "TEXTS"}) {
      const bool numbers = tag[0] == 'N';
      VqIndex* keys = make_tag(file, tag, numbers ? "AMOUNT" : "NAME", numbers ? "ND" : "C20",
                               numbers ? "AMOUNT > 0" : nullptr);
      for (std::int32_t i = 0; i < kKeys; ++i) {
        const std::string key = mdx_key(numbers ? 'N' : 'C', numbers ? 12 : 20, i * 7919 % kKeys);
        ASSERT_EQ(0, lib.dXputkey(keys, key.data(), static_cast<std::uint32_t>(i + 1)));
      }
    }
    ASSERT_EQ(0, lib.dXdeltag(file, "GONE"));
    ASSERT_EQ(0, lib.dXclose(file));
    sound_ = read_file(name("M.MDX"));
    ASSERT_EQ("", read().all_faults());
  }

  void expect_code(std::int32_t result) {
    EXPECT_TRUE(result == 0 || result == -2 || result == -3 || result == -5 || result == -6 ||
                result == -7 || result == -8)
        << result << " " << block.detail;
    damaged_ = damaged_ || result == -3 || result == -8;
  }

  void use_tag(VqIndex* tag) {
    const std::size_t most_steps = sound_.size() / kUnit * 60;
    std::string found(100, '\0');
    std::uint32_t recno = 0;
    for (const auto step : {lib.dXnxtkey, lib.dXprvkey}) {
      std::size_t steps = 0;
      std::int32_t result = 0;
      while ((result = step(tag, found.data(), &recno)) == 0 && steps < most_steps) ++steps;
      EXPECT_LT(steps, most_steps);
      expect_code(result);
    }
    const auto type = static_cast<char>(lib.dXkeytyp(tag));
    const auto length = static_cast<std::size_t>(lib.dXkeylen(tag));
    for (std::int32_t n = 0; n < kKeys; n += 23) {
      const std::string key = mdx_key(type, length, n);
      expect_code(lib.dXgetrno(tag, key.data(), &recno));
      expect_code(lib.dXputkey(tag, key.data(), 9000));
      expect_code(lib.dXrmkey(tag, mdx_key(type, length, n + 1).data(), 9000));
    }
    for (std::uint32_t n = 1; n < 120; ++n) {
      expect_code(lib.dXputkey(tag, mdx_key(type, length, 300).data(), n));
    }
  }

  // Every operation on the file as it is; a file that does not open is refused as damaged.
  void use(std::uint32_t mode) {
    VqIndex* file = open("M", mode);
    if (file == nullptr) {
      EXPECT_EQ(-3, block.result);
      damaged_ = true;
      return;
    }
    std::string list(47 * 19, '\0');
    expect_code(lib.dXlistag(file, list.data()));
    for (std::int32_t i = 0; i < lib.dXtags(file); ++i) {
      const char* const tag_name = list.c_str() + static_cast<std::size_t>(i) * 19 + 4;
      VqIndex* tag = lib.dXactidx(file, tag_name);
      if (tag == nullptr) {
        expect_code(block.result);
      } else {
        use_tag(tag);
      }
    }
    expect_code(lib.dXindex(file, "MORE", "NAME", "C20", nullptr));
    expect_code(lib.dXdeltag(file, "TEXTS"));
    expect_code(lib.dXclose(file));
  }

  std::string sound_;
  bool damaged_ = false;
};

TEST_F(MdxDamage, numbers_that_cannot_be_are_refused) {
  const MdxReport report = read();
  const MdxTag texts = report.tag("TEXTS");
  const MdxTag numbers = report.tag("NUMBERS");
  const std::size_t head = texts.header_page * kUnit;
  const std::size_t root = texts.root * kUnit;
  const std::size_t free = report.free.front() * kUnit;
  const struct {
    const char* what;
    std::size_t offset;
    std::string bytes;
  } cases[] = {
      {"version", 0, "\3"},
      {"block sizes that contradict each other", 20, "\4"},
      {"more tags than there can be", 28, "\x30"},
      {"length of a tag table entry", 26, "\x10"},
      {"more pages than the file has", 32, le32(0x10000)},
      {"fewer pages than header and tag table", 32, le32(3)},
      {"free list in the tag table", 36, le32(2)},
      {"free list behind the file", 36, le32(report.pages)},
      {"free list that goes on behind the file", free + 4, le32(report.pages)},
      {"free list in a circle", free + 4, le32(report.free.front())},
      {"free list that leads into a tag", free + 4, le32(texts.root)},
      {"count of free blocks", 40, le32(1)},
      {"tag without a name", 544 + 4, std::string(1, '\0')},
      {"tag header in the tag table", 544, le32(2)},
      {"tag header behind the file", 544, le32(report.pages)},
      {"one header for two tags", 544, le32(texts.header_page)},
      {"one name for two tags", 544 + 4, std::string("TEXTS\0\0", 7)},
      {"root in the tag table", head, le32(3)},
      {"root behind the file", head, le32(report.pages)},
      {"key type", head + 9, "L"},
      {"key length of the type", head + 9, "N"},
      {"key length 0", head + 12, std::string(2, '\0')},
      {"entries that do not fit the page", head + 14, "\x30"},
      {"entries shorter than their keys", head + 18, "\x14"},
      {"no key expression", head + 24, std::string(1, '\0')},
      {"key expression without end", head + 24, std::string(221, 'A')},
      {"FOR expression without end", numbers.header_page * kUnit + 762, std::string(221, 'A')},
      {"wild count", root, le32(0xFFFF)},
      {"child in the tag table", root + 8, le32(1)},
      {"child behind the file", root + 8, le32(report.pages)},
      {"itself as child", root + 8, le32(texts.root)}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    for (const std::uint32_t mode : {0u, 4u}) {
      write_file(name("M.MDX"), sound_);
      write_bytes(name("M.MDX"), c.offset, c.bytes);
      damaged_ = false;
      use(mode);
      EXPECT_TRUE(damaged_);
    }
  }
  write_file(name("M.MDX"), sound_.substr(0, sound_.size() - kUnit));
  EXPECT_EQ("-3/10302", refusal(open(), block));
}

// As many blocks as the header counts, but the last one is a leaf.
TEST_F(MdxDamage, a_free_list_that_leads_into_a_tree_gives_no_block) {
  const MdxReport report = read();
  const MdxTag texts = report.tag("TEXTS");
  for (const std::uint32_t leaf : {texts.neighbours[1].first, texts.neighbours.back().first}) {
    for (const std::uint32_t mode : {0u, 4u}) {
      write_file(name("M.MDX"), sound_);
      write_bytes(name("M.MDX"), report.free.rbegin()[1] * kUnit + 4, le32(leaf));
      const std::string before = read_file(name("M.MDX"));
      VqIndex* file = open("M", mode);
      VqIndex* tag = lib.dXactidx(file, "NUMBERS");
      std::int32_t result = 0;
      std::uint32_t put = 0;
      while (result == 0 && put < 100) {
        result = lib.dXputkey(tag, mdx_key('N', 12, 300).data(), 7000 + ++put);
      }
      EXPECT_EQ("-3/10332", codes(result, block));
      EXPECT_EQ("-3/10332", codes(lib.dXindex(file, "MORE", "NAME", "C20", nullptr), block));
      EXPECT_EQ(0, lib.dXclose(file));
      EXPECT_EQ(before.size(), read_file(name("M.MDX")).size());
      EXPECT_EQ(texts.entries, read().tag("TEXTS").entries);
      EXPECT_EQ(kKeys + put - 1, read().tag("NUMBERS").entries.size());
    }
  }
}

TEST_F(MdxDamage, random_bytes_do_no_harm) {
  const MdxReport report = read();
  std::mt19937 random(3);
  for (int round = 0; round < 250; ++round) {
    std::string bytes = sound_;
    const std::size_t heads[] = {0, 544, report.tags[0].header_page * kUnit,
                                 report.tags[1].header_page * kUnit, report.free[0] * kUnit};
    for (auto changes = 1 + random() % 20; changes > 0; --changes) {
      // Mostly where it hurts: headers, counts and children.
      std::size_t at = random() % 3 == 0 ? heads[random() % std::size(heads)] + random() % 48
                                         : random() % (bytes.size() / 1024) * 1024;
      if (at % 1024 == 0) at += random() % 4 == 0 ? random() % 1024 : random() % 32;
      bytes[at % bytes.size()] = static_cast<char>(random());
    }
    write_file(name("M.MDX"), bytes);
    ASSERT_NO_FATAL_FAILURE(use(round % 4 == 0 ? 4 : 0));
    ASSERT_FALSE(HasFailure()) << round;
  }
}

}  // namespace
