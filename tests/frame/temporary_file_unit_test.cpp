// Files in the making: whose they are, where they go, and what a dead process leaves.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "frame/temporary_file.h"
#include "support/fault_plan.h"
#include "support/ordinary_user.h"

namespace vqdb {
namespace {

namespace fs = std::filesystem;
using platform::Error;
using Names = std::vector<std::string>;

VqBlock block_with(const fs::path& directory) {
  VqBlock block = {};
  std::strcpy(block.temporary_directory, (directory.string() + "/").c_str());
  return block;
}

// So many bytes written, and put in place.
Error finish(TemporaryFile& file, const std::string& text) {
  EXPECT_TRUE(file.file().write_at(0, text.data(), text.size()).ok());
  return file.put_in_place().error;
}

TEST(TemporaryFiles, have_the_rights_of_the_file_they_replace_from_the_start) {
  const mode_t umask_before = ::umask(022);
  for (const mode_t rights : {0600, 0644, 0660, 0666}) {
    for (const bool beside : {false, true}) {
      TemporaryFolder folder;
      const std::string target = folder.file("T");
      const VqBlock block = block_with(folder.path());
      write_file(target, "old");
      ::chmod(target.c_str(), rights);
      TemporaryFile file;
      ASSERT_TRUE((beside ? file.make_beside(target) : file.make(block, target)).ok());
      const auto rights_of = [](const std::string& path) {
        struct stat about = {};
        EXPECT_EQ(0, ::stat(path.c_str(), &about));
        return about.st_mode & 0777;
      };
      EXPECT_EQ(rights, rights_of(file.path()));
      EXPECT_EQ(Error::none, finish(file, "new"));
      EXPECT_EQ(rights, rights_of(target));
      EXPECT_EQ("new", read_file(target));
      EXPECT_EQ(Names{"T"}, folder.list());
    }
  }
  ::umask(umask_before);
}

TEST(TemporaryFiles, go_where_a_link_leads) {
  TemporaryFolder folder;
  fs::create_directory(folder.path() / "D");
  fs::create_directory_symlink(folder.path() / "D", folder.path() / "E");
  write_file((folder.path() / "D/REAL").string(), "old");
  fs::create_symlink("E/REAL", folder.path() / "LINK");
  TemporaryFile file;
  ASSERT_TRUE(file.make_beside(folder.file("LINK")).ok());
  EXPECT_EQ((folder.path() / "D").string(), fs::path(file.path()).parent_path().string());
  EXPECT_EQ(Error::none, finish(file, "new"));
  EXPECT_TRUE(fs::is_symlink(folder.path() / "LINK"));
  EXPECT_EQ("new", read_file((folder.path() / "D/REAL").string()));
}

TEST(TemporaryFiles, a_target_that_may_not_be_written_is_refused) {
  TemporaryFolder folder;
  write_file(folder.file("T"), "old");
  ::chmod(folder.file("T").c_str(), 0444);
  const testing::OrdinaryUser user;
  TemporaryFile file;
  EXPECT_EQ(Error::access_denied, file.make_beside(folder.file("T")).error);
}

TEST(TemporaryFiles, reach_another_device_by_a_copy_beside_the_target) {
  TemporaryFolder folder;
  const fs::path other = fs::path("/dev/shm") / ("VQ" + std::to_string(::getpid()));
  struct stat here = {}, there = {};
  std::error_code error;
  fs::create_directory(other, error);
  if (error || ::stat(folder.path().c_str(), &here) != 0 || ::stat(other.c_str(), &there) != 0 ||
      here.st_dev == there.st_dev) {
    GTEST_SKIP() << "one device";
  }
  const std::string target = folder.file("T"), text(50000, 'n');
  for (const bool fails : {true, false}) {
    write_file(target, "old");
    ::chmod(target.c_str(), 0640);
    TemporaryFile file;
    ASSERT_TRUE(file.make(block_with(other), target).ok());
    ASSERT_TRUE(file.file().write_at(0, text.data(), text.size()).ok());
    {
      const testing::FaultPlan plan(fails ? 2 : 0, Verdict::fail, only(Call::replace));
      EXPECT_EQ(fails, !file.put_in_place().ok());
    }
    EXPECT_EQ(fails ? "old" : text, read_file(target));
    EXPECT_EQ(fs::perms{0640}, fs::status(target).permissions());
    EXPECT_EQ(Names{"T"}, folder.list());
  }
  EXPECT_TRUE(fs::is_empty(other));
  fs::remove_all(other);
}

TEST(TemporaryFiles, remove_what_a_dead_process_left_and_nothing_else) {
  TemporaryFolder folder;
  const VqBlock block = block_with(folder.path());
  TemporaryFile first;
  ASSERT_TRUE(first.make(block, folder.file("T")).ok());
  const std::string left = "~VQ1.0123456789ABCDEF.VQT";
  Names names = {"1.VQT", "~VQ.0123456789ABCDEF.VQT", "~VQ1.0123456789ABCDE.VQT",
                 "~VQ1.0123456789ABCDEX.VQT", "~VQ1.0123456789ABCDEF.DBF"};
  for (const std::string& name : names) write_file(folder.file(name), "host's");
  write_file(folder.file(left), "left");
  TemporaryFile second;
  ASSERT_TRUE(second.make(block, folder.file("T")).ok());
  for (const TemporaryFile* file : {&first, &second}) {
    names.push_back(fs::path(file->path()).filename().string());
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, folder.list());
  EXPECT_EQ(Error::none, finish(second, "2"));
  EXPECT_EQ("2", read_file(folder.file("T")));
  // What a host has put under the name meanwhile takes nobody's place.
  fs::rename(first.path(), folder.file("AWAY"));
  write_file(first.path(), "host's");
  EXPECT_NE(Error::none, finish(first, "1"));
  EXPECT_EQ("2", read_file(folder.file("T")));
}

TEST(TemporaryFiles, take_the_place_that_a_link_to_nothing_names) {
  TemporaryFolder folder;
  fs::create_directory(folder.path() / "D");
  fs::create_symlink("D/OTHER", folder.path() / "LINK");
  fs::create_symlink("NONE", folder.path() / "D/OTHER");
  TemporaryFile file;
  ASSERT_TRUE(file.make_beside(folder.file("LINK")).ok());
  EXPECT_EQ(Error::none, finish(file, "new"));
  EXPECT_TRUE(fs::is_symlink(folder.path() / "D/OTHER"));
  EXPECT_EQ("new", read_file(folder.file("D/NONE")));
}

TEST(TemporaryFiles, never_part_the_names_of_a_file) {
  TemporaryFolder folder;
  write_file(folder.file("T"), "old");
  TemporaryFile early, late;
  ASSERT_TRUE(late.make_beside(folder.file("T")).ok());
  fs::create_hard_link(folder.file("T"), folder.file("OTHER"));
  EXPECT_EQ(Error::linked, early.make_beside(folder.file("T")).error);
  EXPECT_EQ(Error::linked, finish(late, "new"));
  EXPECT_EQ("old", read_file(folder.file("OTHER")));
  fs::remove(folder.file("OTHER"));
  EXPECT_EQ(Error::none, finish(late, "new"));
}

TEST(TemporaryFiles, tell_those_who_have_the_replaced_file_open) {
  TemporaryFolder folder;
  for (const auto old : {platform::Replaced::emptied, platform::Replaced::kept}) {
    write_file(folder.file("T"), "old");
    platform::File open;
    ASSERT_TRUE(open.open(folder.file("T"), platform::Access::read_only).ok());
    TemporaryFile file;
    ASSERT_TRUE(file.make_beside(folder.file("T")).ok());
    EXPECT_TRUE(file.put_in_place(nullptr, old).ok());
    std::uint64_t size = 1;
    EXPECT_TRUE(open.size(size).ok());
    EXPECT_EQ(old == platform::Replaced::kept ? 3u : 0u, size);
  }
}

TEST(ScratchFiles, leave_nothing_however_their_process_ends) {
  TemporaryFolder folder;
  platform::File file;
  ASSERT_TRUE(make_scratch_file(block_with(folder.path()), file).ok());
  char byte = 'x';
  EXPECT_TRUE(file.write_at(9, &byte, 1).ok());
  EXPECT_TRUE(file.read_exactly(9, &byte, 1).ok());
  EXPECT_TRUE(folder.list().empty());
  EXPECT_EQ(Error::not_found, make_scratch_file(block_with(folder.path() / "NO"), file).error);
}

}  // namespace
}  // namespace vqdb
