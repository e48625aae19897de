

#include "support/checked_group.h"

namespace {

// The first tag's header, its page, and those of the second one.
constexpr std::size_t kFirstTag = 2048;
constexpr std::size_t kFirstPage = 3072;
constexpr std::size_t kSecondTag = 4096;

// A group whose table has an MDX file of its own, with two tags.
class TaggedGroup : public CheckedGroup {
 public:
  TaggedGroup() {
    create();
    fill();
    add_tags();
  }

  std::string mdx() const { return file("ITEMS.MDX"); }
  Report repair(const VqCheckOptions* options = nullptr) {
    return run_check(lib.DBrepair, block, table(), options);
  }

  // The record numbers of each tag in its order, whatever its name; empty where the file cannot be
  // used.
  std::string walk() {
    std::string all;
    VqTable* const opened = lib.dDopen(&block, table().c_str(), 1, 4);
    VqIndex* const file = lib.dXopen(opened, mdx().c_str(), 1, 4);
    std::string list(19 * 50, '\0');
    const std::int32_t tags = file != nullptr ? lib.dXtags(file) : 0;
    if (tags > 0) {
      EXPECT_EQ(0, lib.dXlistag(file, list.data()));
    }
    for (std::int32_t i = 0; i < tags; ++i) {
      VqIndex* const tag = lib.dXactidx(file, &list[static_cast<std::size_t>(i) * 19 + 4]);
      if (tag == nullptr) continue;
      std::string key(128, '\0');
      std::uint32_t recno = 0;
      for (int steps = 0; steps < 100 && lib.dXnxtkey(tag, key.data(), &recno) == 0; ++steps) {
        all += std::to_string(recno) + " ";
      }
      EXPECT_EQ(0, lib.dXdeaidx(tag));
    }
    if (file != nullptr) {
      EXPECT_EQ(0, lib.dXclose(file));
    }
    EXPECT_EQ(0, lib.dDclose(opened));
    return all;
  }
};

TEST(MdxCheck, names_what_was_damaged_and_repairs_it) {
  const struct {
    const char* what;
    std::size_t offset;
    std::string bytes;
    const char* found;
  } cases[] = {
      {"version", 0, "\x03", "302 r0 p0 ITEMS.MDX\n"},
      {"free list in a tree", 36, "\x06", "334 r0 p6 ITEMS.MDX\n"},
      {"no tag name", 544 + 4, std::string(1, '\0'), "331 r0 p0 ITEMS.MDX\n"},
      {"tag header in the tag table", 544, "\x01", "331 r0 p0 ITEMS.MDX\n"},
      {"two tags in one place", 544 + 32, "\x04", "331 r0 p0 ITEMS.MDX\n"},
      {"threads", 544 + 16, "\x01", "332 r0 p0 ITEMS.MDX\n"},
      {"key length", kFirstTag + 12, "\x0D", "333 r0 p4 ITEMS.MDX\n"},
      {"unique", kSecondTag + 23, std::string(1, '\0'), "303 r0 p8 ITEMS.MDX\n"},
      {"expression", kFirstTag + 24, "+", "304 r0 p0 ITEMS.MDX\n"},
      {"root", kFirstTag, "\x05", "30"},
      {"keys on a page", kFirstPage, "\xFF", "308 r0 p6 ITEMS.MDX\n"},
      {"order", kFirstPage + 8 + 4, "\x31", "310 r0 p6 ITEMS.MDX\n"},
      {"record", kFirstPage + 8, "\x0B", "322 r11 p6 ITEMS.MDX\n"},
  };
  TaggedGroup group;
  EXPECT_EQ("", group.check().summary(VQ_SEVERITY_NOTE));
  EXPECT_EQ(0, run_check(lib.dXcheck, group.block, group.mdx()).result);
  const std::string sound = read_file(group.mdx());
  const std::string walked = group.walk();
  const std::string name = group.table();
  const VqIndexDef defs[] = {
      {16, name.c_str(), "QTYS", "QTY", nullptr, 2},
      {16, name.c_str(), "NAMES", "NAME", "PAID", 1},
  };
  const VqCheckOptions options = {0, 2, defs, nullptr, nullptr};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    write_bytes(group.mdx(), c.offset, c.bytes);
    const std::string found = group.check().summary();
    EXPECT_EQ(c.found, found.substr(0, std::string(c.found).size()));
    EXPECT_EQ(0, group.repair(&options).result);
    EXPECT_EQ("", group.check(&options).summary(VQ_SEVERITY_ERROR));
    if (found.find("332") == std::string::npos) {
      EXPECT_EQ(walked, group.walk());
    }
    write_file(group.mdx(), sound);
  }
  // Too short for any tag.
  write_file(group.mdx(), sound.substr(0, 860));
  EXPECT_EQ(1, group.repair().result);
  EXPECT_EQ(0, group.repair(&options).result);
  EXPECT_EQ(walked, group.walk());
}

TEST(MdxCheck, finds_every_damaged_byte_that_a_reader_would_notice) {
  TaggedGroup group;
  const std::string sound = read_file(group.mdx());
  const std::string walked = group.walk();
  const std::string name = group.table();
  const VqCheckOptions options = {0, 0, nullptr, name.c_str(), nullptr};
  for (std::size_t i = 0; i < sound.size(); ++i) {
    const auto damaged = static_cast<char>(sound[i] ^ (i % 2 == 0 ? 0x01 : 0x52));
    write_bytes(group.mdx(), i, {&damaged, 1});
    const Report report = run_check(lib.dXcheck, group.block, group.mdx(), &options);
    ASSERT_GE(report.result, 0) << i;
    if (report.summary().empty()) {
      EXPECT_EQ(walked, group.walk()) << i;
    }
    write_bytes(group.mdx(), i, {&sound[i], 1});
  }
}

}  // namespace
