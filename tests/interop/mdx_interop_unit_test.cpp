// MDX files beside another reader, the Perl module XBase, where it is installed, and beside files
// that other programs wrote, in the folder that VQDB_REAL_FILES of the environment names.
#include <cstdlib>

#include "interop/other_reader.h"
#include "support/mdx_fixture.h"

namespace {

// Prints the record number of every entry of a tag.
constexpr const char* kReader = R"(perl -MXBase::Index -e '
  my ($file, $tag) = @ARGV;
  my $index = XBase::Index->new($file, tag => $tag) or die;
  $index->prepare_select;
  while (my ($key, $record) = $index->fetch) { print "$record\n" }' )";

// The record numbers of a tag, a line each.
std::vector<std::string> records_of(const MdxTag& tag) {
  std::vector<std::string> records;
  for (const IndexEntry& entry : tag.entries) records.push_back(std::to_string(entry.second));
  return records;
}

using MdxInterop = MdxFixture;

TEST_F(MdxInterop, other_reader_walks_our_tags_in_our_order) {
  VQ_NEEDS_READER("the Perl module XBase", "perl -MXBase::Index -e 1");
  const struct {
    const char* tag;
    const char* key;
    const char* format;
    const char* filter;
  } cases[] = {{"NAMES", "NAME", "C20", nullptr},
               {"AMOUNTS", "AMOUNT", "N", "AMOUNT <> 7"},
               {"DOWN", "AMOUNT", "ND", nullptr},
               {"DAYS", "DUE", "DU", nullptr},
               {"TEXTS", "TEXT", "C100D", ".NOT. DELETED()"}};
  for (int n = 1; n <= 2000; ++n) {
    const std::string record = mdx_record("N" + std::to_string(n * 7919 % 1009), n * 31 % 500 - 250,
                                          n % 29, n % 5 == 0, std::to_string(n * 13 % 700));
    ASSERT_EQ(0, lib.dDapprec(table, record.data()));
  }
  // It reads blocks of 1024 bytes, no others.
  create();
  VqIndex* file = open("M", 0, 20);
  for (const auto& c : cases) {
    VqIndex* tag = make_tag(file, c.tag, c.key, c.format, c.filter);
    std::mt19937 random(5);
    for (const IndexEntry& entry : read().tag(c.tag).entries) {
      if (random() % 3 != 0) continue;
      ASSERT_EQ(0, lib.dXrmkey(tag, entry.first.data(), entry.second));
      if (random() % 2 != 0) {
        ASSERT_EQ(0, lib.dXputkey(tag, entry.first.data(), entry.second));
      }
    }
  }
  ASSERT_EQ(0, lib.dXclose(file));
  const MdxReport report = read();
  ASSERT_EQ("", report.all_faults());
  for (const auto& c : cases) {
    EXPECT_EQ(records_of(report.tag(c.tag)), lines_of(kReader + name("M.MDX") + " " + c.tag));
  }
}

// A table with a production index of five tags, and a thousand changes to it.
class RealFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* const real = std::getenv("VQDB_REAL_FILES");
    if (real == nullptr) GTEST_SKIP() << "VQDB_REAL_FILES names no folder";
    for (const char* const extension : {"dbf", "mdx"}) {
      const std::string source = std::string(real) + "/disco." + extension;
      if (!file_exists(source)) GTEST_SKIP() << "no table disco there";
      write_file(folder.file(std::string("disco.") + extension), read_file(source));
    }
    ASSERT_EQ(0, lib.DBinit(&block, 2));
  }

  void open_database(std::uint32_t mode) {
    const std::string mdx = folder.file("disco");
    VqIndexSpec spec = {16, mdx.c_str(), 10, nullptr};
    VqIndexSpec* failed = nullptr;
    ASSERT_EQ(0, lib.DBopen(&block, folder.file("disco").c_str(), mode, 10, 1, 1, &spec, &database,
                            &failed))
        << block.detail;
  }

  // Every tag walks over every record once, in the order of keys made from the records now.
  void expect_in_step() {
    VqMember table = {};
    ASSERT_EQ(0, lib.GRPmember(database, 1, nullptr, nullptr, &table));
    auto* const handle = static_cast<VqTable*>(table.handle);
    const std::string record_room(static_cast<std::size_t>(lib.dDreclen(handle)), ' ');
    const std::uint32_t count = record_count(handle);
    for (const char* const name : {"BYCOMPANY", "BYAUTHOR", "BYYEAR", "BYCOUNTRYR", "BYCOUNTRY"}) {
      SCOPED_TRACE(name);
      VqMember tag = {};
      ASSERT_EQ(0, lib.GRPmember(database, 32, nullptr, name, &tag));
      auto* const index = static_cast<VqIndex*>(tag.handle);
      const auto length = static_cast<std::size_t>(lib.dXkeylen(index));
      const auto type = static_cast<char>(lib.dXkeytyp(index));
      std::vector<bool> seen(count + 1);
      std::string record = record_room;
      std::string key(length, ' '), last, built(256, ' ');
      ASSERT_EQ(0, lib.DBrewind(&tag));
      for (std::uint32_t steps = 0; steps < count; ++steps) {
        std::uint32_t recno = 0;
        ASSERT_EQ(0, lib.DBnextrec(&tag, record.data(), &recno, key.data()));
        ASSERT_LE(recno, count);
        ASSERT_FALSE(seen[recno]);
        seen[recno] = true;
        std::int32_t built_length = 0;
        ASSERT_EQ(0, lib.dErun(&block, tag.key_program, record.data(), 0x21,
                               static_cast<std::int32_t>(length), built.data(), &built_length));
        // Other programs write the text of a blank number as 0.
        if (type == 'N' || record.find("          ") == std::string::npos) {
          ASSERT_EQ(0, compare_mdx_keys(type, built.substr(0, length), key)) << recno;
        }
        if (!last.empty()) {
          ASSERT_LE(compare_mdx_keys(type, last, key), 0);
        }
        last = key;
        if (steps % 40 != 0) continue;
        std::uint32_t found = 0;
        ASSERT_EQ(0, lib.dXgetrno(index, key.data(), &found));
        while (found != recno) ASSERT_EQ(0, lib.dXnxtkey(index, key.data(), &found));
      }
      std::uint32_t recno = 0;
      ASSERT_EQ(-7, lib.DBnextrec(&tag, record.data(), &recno, key.data()));
    }
  }

  TemporaryFolder folder;
  VqBlock block = {};
  VqDatabase* database = nullptr;
};

TEST_F(RealFiles, tags_of_another_program_walk_and_stay_right_after_a_thousand_updates) {
  for (const std::uint32_t mode : {0u, 4u}) {
    ASSERT_NO_FATAL_FAILURE(open_database(mode));
    ASSERT_NO_FATAL_FAILURE(expect_in_step());
    VqMember table = {};
    ASSERT_EQ(0, lib.GRPmember(database, 1, nullptr, nullptr, &table));
    auto* const handle = static_cast<VqTable*>(table.handle);
    const std::uint32_t count = record_count(handle);
    std::string from(static_cast<std::size_t>(lib.dDreclen(handle)), ' '), to = from;
    std::mt19937 random(9);
    for (int n = 0; n < 1000; ++n) {
      const auto recno = static_cast<std::uint32_t>(random() % count + 1);
      ASSERT_EQ(
          0, lib.dDgetrec(handle, static_cast<std::uint32_t>(random() % count + 1), from.data()));
      std::uint32_t appended = 0;
      ASSERT_EQ(0, n % 10 == 0 ? lib.DBapprec(database, from.data(), &appended)
                               : lib.DBupdrec(database, recno, from.data()))
          << block.detail;
    }
    ASSERT_NO_FATAL_FAILURE(expect_in_step());
    ASSERT_EQ(0, lib.DBclose(database));
    const MdxReport report = read_mdx(folder.file("disco.mdx"));
    for (const MdxTag& tag : report.tags) EXPECT_EQ("", tag.all_faults()) << tag.name;
  }
}

}  // namespace
