// Tables beside other readers, where they are installed: what we write is what they read.

#include <cstdio>

#include "interop/other_reader.h"

namespace {

struct Reader {
  const char* what;
  const char* probe;
  // What stands before and behind the table's name in a command that prints the records that are
  // not deleted, a line each, with tabs between the fields.
  const char* before;
  const char* behind;
};

constexpr Reader kReaders[] = {
    {"the Perl module XBase", "perl -MXBase -e 1", R"(perl -MXBase -e '
       my $table = XBase->new(shift) or die XBase->errstr;
       for my $record (0 .. $table->last_record) {
         my ($deleted, $name, $amount, $whole, $day) = $table->get_record($record);
         printf("%s\t%.2f\t%s\t%s\n", $name, $amount, $whole, $day // "") unless $deleted;
       }' )",
     ""},
    {"GDAL", "ogr2ogr --version", "ogr2ogr -f CSV -lco SEPARATOR=TAB /vsistdout/ ",
     R"( | sed 1d | tr -d '"/')"},
};

struct Row {
  std::string name;
  double amount;
  int whole;
  std::string day;  // YYYYMMDD or blank
  bool deleted;
};

class TableInterop : public ::testing::TestWithParam<Reader> {};

TEST_P(TableInterop, another_reader_reads_what_we_write) {
  VQ_NEEDS_READER(GetParam().what, GetParam().probe);
  const TemporaryFolder folder;
  const std::string path = folder.file("T.DBF");
  const char* const fields[] = {"NAME", "C14", "AMOUNT", "N12.2", "WHOLE", "N6", "DAY", "D"};
  VqBlock block = {};
  ASSERT_EQ(0, lib.DBinit(&block, VQ_DIALECT_DBASE3));
  ASSERT_EQ(0, lib.dDcreat(&block, path.c_str(), 4, fields));
  VqTable* const table = lib.dDopen(&block, path.c_str(), VQ_OPEN_EXCLUSIVE, 4);
  ASSERT_NE(nullptr, table);

  const auto row_of = [](int i) {
    return Row{i % 7 == 0 ? "" : "Name " + std::to_string(i), i * 1234.25 - 5000, i * 7 - 900,
               i % 5 == 0 ? std::string(8, ' ') : "202402" + std::to_string(10 + i % 20),
               i % 11 == 0};
  };
  const auto record_of = [](const Row& row) {
    char record[64];
    std::snprintf(record, sizeof record, " %-14s%12.2f%6d%s", row.name.c_str(), row.amount,
                  row.whole, row.day.c_str());
    return std::string(record);
  };
  std::vector<Row> rows;
  for (int i = 0; i < 500; ++i) {
    rows.push_back(row_of(i));
    ASSERT_EQ(0, lib.dDapprec(table, record_of(row_of(i % 3 == 0 ? 1 : i)).c_str()));
  }
  for (std::uint32_t i = 0; i < rows.size(); ++i) {
    if (i % 3 == 0) {
      ASSERT_EQ(0, lib.dDupdrec(table, i + 1, record_of(rows[i]).c_str()));
    }
    if (rows[i].deleted) {
      ASSERT_EQ(0, lib.dDdelrec(table, i + 1));
    }
  }
  ASSERT_EQ(0, lib.dDrmrec(table, 100));
  rows.erase(rows.begin() + 99);
  ASSERT_EQ(0, lib.dDinsrec(table, 20, record_of(row_of(13)).c_str()));
  rows.insert(rows.begin() + 19, row_of(13));
  ASSERT_EQ(0, lib.dDclose(table));

  std::vector<std::string> expected;
  for (const Row& row : rows) {
    char line[64];
    std::snprintf(line, sizeof line, "%s\t%.2f\t%d\t%s", row.name.c_str(), row.amount, row.whole,
                  row.day[0] == ' ' ? "" : row.day.c_str());
    if (!row.deleted) expected.emplace_back(line);
  }
  EXPECT_EQ(expected, lines_of(GetParam().before + path + GetParam().behind));
}

INSTANTIATE_TEST_SUITE_P(Readers, TableInterop, ::testing::ValuesIn(kReaders));

}  // namespace
