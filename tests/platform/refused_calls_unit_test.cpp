// What becomes of calls that the system itself refuses, below the seam.
#ifdef __x86_64__

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <thread>

#include "platform/file.h"
#include "support/test.h"

namespace {

using namespace vqdb::platform;

struct Refusal {
  unsigned call, error;
};

// Works in a thread of its own, for which these calls fail; false where the system has no filters.
bool under(const std::vector<Refusal>& refusals, const std::function<void()>& work) {
  std::vector<sock_filter> program = {
      BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const Refusal& refusal : refusals) {
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, refusal.call, 0, 1));
    program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | refusal.error));
  }
  program.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog filter = {static_cast<unsigned short>(program.size()), program.data()};
  bool filters = false;
  std::thread([&] {
    filters = ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
              ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
    if (filters) work();
  }).join();
  return filters;
}

constexpr unsigned kLook = SYS_newfstatat;
constexpr unsigned kRefuseTaken = SYS_renameat2;

TEST(RefusedCalls, are_told_as_what_they_are_and_leave_no_half_done_work) {
  const TemporaryFolder folder;
  const std::string a = folder.file("A"), b = folder.file("B"), c = folder.file("C");
  File file;
  write_file(a, "a");
  ASSERT_TRUE(file.open(a, Access::read_write).ok());
  std::uint64_t size = 0;
  std::uint32_t count = 0;
  FileIdentity identity;
  LastChange change;
  bool same = false;
  std::string real;
  const auto renamed = [&] { return rename_if_free(a, c); };
  const auto replaced = [&] { return File().create_replacement(c, b); };
  const struct {
    std::vector<Refusal> refusals;
    std::function<Outcome()> call;
    Error error;
    const char* files;
  } cases[] = {
      {{{kLook, EIO}}, [&] { return file.size(size); }, Error::other, "A=a B=b "},
      {{{kLook, EIO}}, [&] { return file.identity(identity); }, Error::other, "A=a B=b "},
      {{{kLook, EIO}}, [&] { return file.names(count); }, Error::other, "A=a B=b "},
      {{{kLook, EIO}}, [&] { return file.last_change(change); }, Error::other, "A=a B=b "},
      {{{kLook, EIO}}, [&] { return same_file(a, a, same); }, Error::other, "A=a B=b "},
      {{{kLook, EACCES}}, [&] { return same_file(a, a, same); }, Error::none, "A=a B=b "},
      {{{SYS_ftruncate, EFBIG}}, [&] { return file.truncate(0); }, Error::disk_full, "A=a B=b "},
      {{{SYS_fdatasync, EIO}}, [&] { return file.sync(); }, Error::other, "A=a B=b "},
      {{{SYS_fcntl, ENOLCK}}, [&] { return file.lock(9, 1); }, Error::other, "A=a B=b "},
      {{{SYS_fcntl, ENOLCK}}, [&] { return file.test_lock(9, 1); }, Error::other, "A=a B=b "},
      {{{SYS_readlink, EIO}}, [&] { return real_path(a, real); }, Error::other, "A=a B=b "},
      {{{kRefuseTaken, EACCES}}, renamed, Error::access_denied, "A=a B=b "},
      {{{kRefuseTaken, EINVAL}}, renamed, Error::none, "B=b C=a "},
      {{{kRefuseTaken, EINVAL}, {SYS_link, EACCES}}, renamed, Error::access_denied, "A=a B=b "},
      {{{kRefuseTaken, ENOSYS}, {SYS_link, EPERM}}, renamed, Error::none, "B=b C=a "},
      {{{kRefuseTaken, ENOSYS}, {SYS_link, EPERM}},
       [&] { return rename_if_free(a, b); },
       Error::already_exists,
       "A=a B=b "},
      {{{kRefuseTaken, ENOSYS}, {SYS_link, EPERM}, {SYS_rename, EIO}},
       renamed,
       Error::other,
       "A=a B=b "},
      {{{SYS_fchmod, EPERM}}, replaced, Error::access_denied, "A=a B=b "},
      {{{SYS_fchown, EPERM}}, replaced, Error::none, "A=a B=b C= "},
      {{{SYS_openat, EMFILE}}, [&] { return replace(a, b); }, Error::none, "B=a "},
      {{{SYS_rename, EIO}}, [&] { return replace(a, b); }, Error::other, "A=a B=b "},
  };
  for (const auto& test : cases) {
    SCOPED_TRACE(&test - cases);
    write_file(a, "a");
    write_file(b, "b");
    ::chmod(b.c_str(), 0664);
    Outcome outcome;
    if (!under(test.refusals, [&] { outcome = test.call(); })) GTEST_SKIP() << "no filters";
    EXPECT_EQ(test.error, outcome.error);
    std::string files;
    for (const std::string& name : folder.list()) {
      files += name + "=" + read_file(folder.file(name)) + " ";
    }
    EXPECT_EQ(test.files, files);
    struct stat about = {};
    if (::stat(c.c_str(), &about) == 0 && test.refusals[0].call == SYS_fchown) {
      EXPECT_EQ(0644U, about.st_mode & 0777U) << "another group gets what everybody has";
    }
    std::filesystem::remove(c);
  }
  EXPECT_FALSE(same) << "who may not look cannot use it either";
  EXPECT_TRUE(under({{SYS_access, EIO}}, [&] { same = exists(c); }));
  EXPECT_TRUE(same) << "it may be there";
  EXPECT_TRUE(under({{SYS_fstatfs, EIO}}, [&] { same = file.notes_changes(); }));
  EXPECT_FALSE(same);
}

}  // namespace

#endif
