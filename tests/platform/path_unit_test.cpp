#include "platform/path.h"
#include "support/test.h"

namespace {

TEST(Path, names_find_files_as_given_then_in_capitals_then_in_any_case) {
  const TemporaryFolder folder;
  const std::filesystem::path root = folder.path();
  std::filesystem::create_directories(root / "Data" / "sub");
  for (const char* name : {"a.dbf", "A.DBF", "b.DBF", "c.Dbf", "C.dBf", "Data/sub/D.dbf"}) {
    write_file((root / name).string(), name);
  }
  const struct {
    const char* given;
    const char* found;
  } cases[] = {
      {"a.dbf", "a.dbf"},
      {"A.dbf", "A.DBF"},
      {"B.DBF", "b.DBF"},
      {"c.dbf", "C.dBf"},  // the first of two in sorted order
      {"Data/sub/D.dbf", "Data/sub/D.dbf"},
      {"DATA\\SUB/d.DBF", "Data/sub/D.dbf"},
      {"data\\new.dbf", "Data/NEW.DBF"},  // a new file
      {"new.dbf", "NEW.DBF"},
      {"none\\a.dbf", "none/A.DBF"},  // a missing directory stays as given
  };
  for (const auto& c : cases) {
    EXPECT_EQ((root / c.found).string(), vqdb::platform::resolve(root.string() + "/" + c.given))
        << c.given;
  }
}

TEST(Path, names_without_directory_lie_in_the_current_one) {
  const TemporaryFolder folder;
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  write_file("x.Dbf", "");
  const std::string found = vqdb::platform::resolve("X.DBF");
  const std::string made = vqdb::platform::resolve("y.dbf");
  std::filesystem::current_path(before);
  EXPECT_EQ("x.Dbf", found);
  EXPECT_EQ("Y.DBF", made);
}

}  // namespace
