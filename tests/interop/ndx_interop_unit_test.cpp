// NDX files beside another reader, the Perl module XBase, where it is installed: it walks ours in
// the same order, and finds single keys.

#include "interop/other_reader.h"
#include "support/ndx_fixture.h"

namespace {

// Prints key and record number of every entry, from a key on when there is one.
constexpr const char* kReader = R"(perl -MXBase::Index -e '
  my $index = XBase::Index->new(shift) or die;
  @ARGV ? $index->prepare_select_eq(shift) : $index->prepare_select;
  while (my ($key, $record) = $index->fetch) { print "$key\t$record\n" }' )";

class NdxInterop : public NdxFixture {
 protected:
  void SetUp() override {
    VQ_NEEDS_READER("the Perl module XBase", "perl -MXBase::Index -e 1");
    NdxFixture::SetUp();
  }
};

TEST_F(NdxInterop, other_reader_walks_our_files_in_our_order) {
  struct Case {
    const char* format;
    bool is_text;
  };
  for (const Case& c : {Case{"C12", true}, Case{"N", false}, Case{"3D", false}, Case{"F", false}}) {
    SCOPED_TRACE(c.format);
    std::mt19937 random(5);
    VqIndex* index = make("I", c.format, 0, 20);
    const auto key = [&](std::uint32_t n) {
      return c.is_text ? text_key("K" + std::to_string(n), 12) : number_key(n);
    };
    for (std::uint32_t recno = 1; recno <= 5000; ++recno) {
      ASSERT_EQ(0, lib.dNputkey(index, key(recno * 7919 % 5003 / 2).data(), recno));
    }
    for (int i = 0; i < 3000; ++i) {
      const auto recno = static_cast<std::uint32_t>(1 + random() % 5000);
      const int32_t result = lib.dNrmkey(index, key(recno * 7919 % 5003 / 2).data(), recno);
      ASSERT_TRUE(result == 0 || result == -5);
    }
    ASSERT_EQ(0, lib.dNclose(index));
    const std::string name = folder.file("I.NDX");
    std::vector<std::string> expected;
    for (const NdxEntry& entry : read("I").entries) {
      double value = 0;
      if (!c.is_text) std::memcpy(&value, entry.first.data(), sizeof value);
      const std::string text =
          c.is_text ? entry.first : std::to_string(static_cast<std::uint32_t>(value));
      expected.push_back(text + "\t" + std::to_string(entry.second));
    }
    EXPECT_EQ(expected, lines_of(kReader + name));
    const std::string& wanted = expected[expected.size() / 3];
    const std::string text = wanted.substr(0, wanted.find('\t'));
    const std::vector<std::string> found = lines_of(kReader + name + " '" + text + "'");
    ASSERT_FALSE(found.empty());
    EXPECT_EQ(text, found.front().substr(0, text.size()));
  }
}

}  // namespace
