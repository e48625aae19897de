// Files that no writer made: every operation ends, with a code, and the library never follows a
// page out of the file.
#include "support/ndx_fixture.h"

namespace {

constexpr std::uint32_t kPage = 512;
constexpr std::uint32_t kKeys = 2000;

class NdxDamage : public NdxFixture {
 protected:
  void SetUp() override {
    NdxFixture::SetUp();
    VqIndex* index = make("D", "C20");
    for (std::uint32_t i = 1; i <= kKeys; ++i) {
      ASSERT_EQ(0, lib.dNputkey(index, key(i * 7919 % kKeys).data(), i));
    }
    ASSERT_EQ(0, lib.dNclose(index));
    sound_ = read_file(folder.file("D.NDX"));
    root_ = read("D").root;
  }

  static std::string key(std::uint32_t n) { return text_key("KEY" + std::to_string(n), 20); }

  void expect_code(int32_t result) {
    EXPECT_TRUE(result == 0 || result == -5 || result == -6 || result == -7 || result == -8)
        << result << " " << block.detail;
    saw_page_error_ = saw_page_error_ || result == -8;
  }

  // Every operation on the file as it is; a file that does not open is refused as damaged.
  void use(std::uint32_t mode) {
    VqIndex* index = open("D", mode, 4);
    if (index == nullptr) {
      EXPECT_EQ(-3, block.result);
      return;
    }
    const std::size_t most_steps = sound_.size() / kPage * 60;
    std::string found(20, '\0');
    uint32_t recno = 0;
    for (const auto step : {lib.dNnxtkey, lib.dNprvkey}) {
      std::size_t steps = 0;
      int32_t result = 0;
      while ((result = step(index, found.data(), &recno)) == 0 && steps < most_steps) ++steps;
      EXPECT_LT(steps, most_steps);
      expect_code(result);
    }
    for (std::uint32_t n = 0; n < kKeys; n += 97) {
      expect_code(lib.dNgetrno(index, key(n).data(), &recno));
      expect_code(lib.dNnxtkey(index, found.data(), &recno));
      expect_code(lib.dNputkey(index, key(n).data(), n + 1));
      expect_code(lib.dNrmkey(index, key(n + 1).data(), n + 2));
      expect_code(lib.dNprvkey(index, found.data(), &recno));
    }
    for (std::uint32_t n = 0; n < 60; ++n) expect_code(lib.dNputkey(index, key(300).data(), n + 1));
    EXPECT_EQ(0, lib.dNclose(index));
  }

  std::string sound_;
  std::uint32_t root_ = 0;
  bool saw_page_error_ = false;
};

TEST_F(NdxDamage, pages_that_lead_astray_end_in_a_page_error) {
  struct Case {
    const char* what;
    std::uint32_t offset_in_root;
    std::string bytes;
  };
  const std::string itself = le32(root_);
  const std::uint32_t keys_in_root = static_cast<unsigned char>(sound_[root_ * kPage]);
  const Case cases[] = {
      {"wild count", 0, le32(0xFFFF)},
      {"count just too large", 0, le32(19)},
      {"child outside the file", 4, le32(1u << 30)},
      {"header as child", 4, le32(0)},
      {"itself as child", 4, itself},
      {"itself as last child", 4 + 28 * keys_in_root, itself},
      {"itself before a leaf", 0, le32(1) + itself + std::string(24, '\0') + le32(1)}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    for (const std::uint32_t mode : {0u, 4u}) {
      write_file(folder.file("D.NDX"), sound_);
      write_bytes(folder.file("D.NDX"), root_ * kPage + c.offset_in_root, c.bytes);
      saw_page_error_ = false;
      use(mode);
      EXPECT_TRUE(saw_page_error_);
    }
  }
}

// Each page leads five times to the next one: a walk to the end would pass 5 ^ 10 leaves.
TEST_F(NdxDamage, pages_that_are_used_again_end_a_walk) {
  constexpr std::uint32_t kLeaf = 11;
  ASSERT_EQ(0, lib.dNcreat(&block, folder.file("D").c_str(), "NAME", "C100"));
  std::string bytes = read_file(folder.file("D.NDX")).substr(0, kPage);
  bytes.replace(4, 4, le32(kLeaf + 1));
  for (std::uint32_t page = 1; page <= kLeaf; ++page) {
    const std::uint32_t count = page < kLeaf ? 4 : 1;
    std::string image = le32(count);
    for (std::uint32_t slot = 0; slot <= 4 && page < kLeaf; ++slot) {
      image += le32(page + 1) + std::string(104, '\0');
    }
    image.resize(kPage);
    bytes += image;
  }
  for (const auto step : {lib.dNnxtkey, lib.dNprvkey}) {
    write_file(folder.file("D.NDX"), bytes);
    VqIndex* index = open("D");
    ASSERT_NE(nullptr, index);
    std::string found(100, '\0');
    uint32_t recno = 0;
    std::uint32_t steps = 0;
    int32_t result = 0;
    while ((result = step(index, found.data(), &recno)) == 0) ++steps;
    EXPECT_EQ(-8, result);
    EXPECT_GE(steps, 1u);
    EXPECT_LE(steps, kLeaf + 2);
    // Without any entry in the leaf, the step itself has to end.
    write_bytes(folder.file("D.NDX"), kLeaf * kPage, le32(0));
    EXPECT_EQ(0, lib.dNclose(index));
    index = open("D");
    EXPECT_EQ(-8, step(index, found.data(), &recno));
    EXPECT_EQ(0, lib.dNclose(index));
  }
}

TEST_F(NdxDamage, truncated_file_is_refused) {
  write_file(folder.file("D.NDX"), sound_.substr(0, sound_.size() - kPage));
  EXPECT_EQ("-3/10186", refusal(open("D"), block));
}

TEST_F(NdxDamage, random_bytes_do_no_harm) {
  std::mt19937 random(3);
  for (int round = 0; round < 300; ++round) {
    std::string bytes = sound_;
    for (auto changes = 1 + random() % 30; changes > 0; --changes) {
      // Mostly into counts, children and the header, where it hurts.
      const std::size_t page = random() % (bytes.size() / kPage) * kPage;
      const std::size_t at = random() % 4 == 0 ? random() % kPage : random() % 3 * 28 % kPage;
      bytes[(page + at + random() % 4) % bytes.size()] = static_cast<char>(random());
    }
    write_file(folder.file("D.NDX"), bytes);
    ASSERT_NO_FATAL_FAILURE(use(round % 4 == 0 ? 4 : 0));
    ASSERT_FALSE(HasFailure()) << round;
  }
}

}  // namespace
