#include "support/orders.h"

namespace {

std::vector<std::string> fields_with_memo() { return {"ID", "N5", "NOTE", "M"}; }

std::int32_t create(VqBlock& block, const std::string& name,
                    const std::vector<std::string>& fields) {
  std::vector<const char*> texts;
  for (const std::string& field : fields) texts.push_back(field.c_str());
  return lib.DBcreat(&block, name.c_str(), static_cast<std::int32_t>(texts.size() / 2),
                     texts.data());
}

std::int32_t open(VqBlock& block, const std::string& name, std::uint32_t mode,
                  VqDatabase*& database) {
  return lib.DBopen(&block, name.c_str(), mode, 1, 1, 0, nullptr, &database, nullptr);
}

TEST(OpenDatabase, needs_to_know_the_form_of_the_descriptions) {
  Orders orders;
  orders.create();
  VqDatabase* database = nullptr;
  VqIndexSpec* failed = orders.specs.data();
  EXPECT_EQ("-11/6111", codes(lib.DBopen(&orders.block, orders.table().c_str(), 0, 1, 4, 1,
                                         orders.specs.data(), &database, &failed),
                              orders.block));
  EXPECT_EQ(nullptr, database);
  EXPECT_EQ(nullptr, failed);
}

TEST(OpenDatabase, names_the_description_that_failed_and_leaves_nothing_open) {
  struct Case {
    VqIndexSpec spec;
    std::int32_t result, detail;
  };
  Orders orders;
  orders.create();
  const std::string wrong = orders.file("WRONG");
  ASSERT_EQ(0, lib.dNcreat(&orders.block, wrong.c_str(), "NAME+NOBODY", "C12"));
  const std::string missing = orders.file("MISSING");
  const std::string amount = orders.file("AMOUNT");
  ASSERT_EQ(0, lib.dNcreat(&orders.block, amount.c_str(), "AMOUNT", "C8"));
  const std::string name = orders.file("NAME");
  ASSERT_EQ(0, lib.dNcreat(&orders.block, name.c_str(), "NAME", "N"));
  const std::string narrow = orders.file("NARROW");
  ASSERT_EQ(0, lib.dNcreat(&orders.block, narrow.c_str(), "NAME", "C11"));
  const std::string again = orders.file("./names.ndx");
  const Case cases[] = {{{64, missing.c_str(), 10, nullptr}, VQ_E_NOT_FOUND, 10421},
                        {{64, wrong.c_str(), 10, nullptr}, VQ_E_OPERAND, 6034},
                        {{1024, wrong.c_str(), 10, nullptr}, VQ_E_NO_DRIVER, 0},
                        {{64, nullptr, 10, nullptr}, VQ_E_RANGE, 0},
                        {{64, amount.c_str(), 10, nullptr}, VQ_E_MISMATCH, 6127},
                        {{64, name.c_str(), 10, nullptr}, VQ_E_MISMATCH, 6127},
                        {{64, narrow.c_str(), 10, nullptr}, VQ_E_MISMATCH, 6127},
                        {{64, again.c_str(), 10, nullptr}, VQ_E_NOT_ALLOWED, 6128}};
  for (const Case& test : cases) {
    std::array specs = {orders.specs[0], test.spec, orders.specs[1]};
    for (const std::uint32_t options : {1U, 2U}) {
      specs[0].next = &specs[1];
      specs[1].next = &specs[2];
      VqDatabase* database = nullptr;
      VqIndexSpec* failed = nullptr;
      orders.block.detail = 0;
      EXPECT_EQ(codes(test.result, test.detail),
                codes(lib.DBopen(&orders.block, orders.table().c_str(), 0, 1, options, 3,
                                 specs.data(), &database, &failed),
                      orders.block));
      EXPECT_EQ(&specs[1], failed);
      EXPECT_EQ(nullptr, database);
      EXPECT_FALSE(is_open(orders.file("ORDERS.DBF")));
      EXPECT_FALSE(is_open(orders.file("NAMES.NDX")));
      EXPECT_FALSE(is_open(orders.file("WRONG.NDX")));
      EXPECT_FALSE(file_exists(orders.file("ORDERS.DD")));
    }
  }
}

TEST(OpenDatabase, skips_kinds_that_are_no_index_and_bits_that_are_the_hosts) {
  Orders orders;
  orders.create();
  std::array specs = {VqIndexSpec{1, "SKIPPED", 1, nullptr}, orders.specs[0]};
  specs[1].kind |= 0x3000;
  VqDatabase* database = orders.open(0, specs);
  EXPECT_EQ(1U, value(table_member(database).flags));
  EXPECT_EQ(64U, value(order_member(database, orders, 0).kind));
  EXPECT_EQ(0, lib.DBclose(database));
  database = orders.use();
  EXPECT_EQ(1U, value(table_member(database).flags));
  EXPECT_EQ(0, lib.DBclose(database));
}

TEST(OpenDatabase, makes_a_missing_memo_file_unless_told_otherwise) {
  struct Case {
    std::uint32_t dialect, memo_kind;
  };
  for (const auto& [dialect, memo_kind] : {Case{1, 4}, Case{2, 2}, Case{4, 2}, Case{7, 2}}) {
    TemporaryFolder folder;
    VqBlock block;
    ASSERT_EQ(0, lib.DBinit(&block, dialect));
    const std::string name = folder.file("NOTES.DBF");
    ASSERT_EQ(0, create(block, name, fields_with_memo())) << block.detail;
    const std::string memo = folder.file("NOTES.DBT");
    ASSERT_TRUE(file_exists(memo));
    const std::string fresh = read_file(memo);
    const std::string table = read_file(name);
    std::filesystem::remove(memo);

    VqDatabase* database = nullptr;
    EXPECT_EQ("-9/6112", codes(open(block, name, 64, database), block));
    EXPECT_EQ(nullptr, database);
    EXPECT_FALSE(is_open(name));

    ASSERT_EQ(0, open(block, name, 64 | 128, database));
    VqMember member;
    EXPECT_EQ("-5/6131", codes(lib.GRPmember(database, 2, nullptr, nullptr, &member), block));
    EXPECT_EQ(0, lib.DBclose(database));
    EXPECT_FALSE(file_exists(memo));

    for (const std::uint32_t mode : {0U, 64U}) {
      ASSERT_EQ(0, open(block, name, mode, database)) << block.detail;
      ASSERT_EQ(0, lib.GRPmember(database, 2, nullptr, nullptr, &member));
      EXPECT_EQ(memo_kind, value(member.kind));
      EXPECT_EQ(0, lib.DBclose(database));
      EXPECT_EQ(fresh, read_file(memo));
      EXPECT_EQ(table, read_file(name));
    }
    write_file(memo, "short");
    EXPECT_EQ(VQ_E_FORMAT, open(block, name, 0, database));
    EXPECT_FALSE(is_open(name));
    EXPECT_EQ("short", read_file(memo));
  }
}

TEST(OpenDatabase, takes_the_memo_name_from_behind_a_semicolon) {
  for (const std::uint32_t dialect : {1U, 2U}) {
    TemporaryFolder folder;
    VqBlock block;
    ASSERT_EQ(0, lib.DBinit(&block, dialect));
    const std::string name = folder.file("NOTES") + ";" + folder.file("TEXTS");
    ASSERT_EQ(0, create(block, name, fields_with_memo())) << block.detail;
    EXPECT_EQ((std::vector<std::string>{"NOTES.DBF", "TEXTS.DBT"}), folder.list());
    const std::string fresh = read_file(folder.file("TEXTS.DBT"));
    std::filesystem::remove(folder.file("TEXTS.DBT"));
    VqDatabase* database = nullptr;
    ASSERT_EQ(0, open(block, name, 0, database)) << block.detail;
    VqMember member;
    ASSERT_EQ(0, lib.GRPmember(database, 4, nullptr, nullptr, &member));
    EXPECT_EQ(folder.file("TEXTS"), value(member.name));
    EXPECT_EQ(0, lib.DBclose(database));
    EXPECT_EQ(fresh, read_file(folder.file("TEXTS.DBT")));
  }
}

TEST(CreateDatabase, removes_what_an_earlier_table_left_behind) {
  TemporaryFolder folder;
  VqBlock block;
  ASSERT_EQ(0, lib.DBinit(&block, 1));
  const std::vector<std::string> stale = {"T.DD", "T.MDX", "T.NDX", "T.CDX", "T.IDX"};
  for (const std::string& name : stale) write_file(folder.file(name), "old");
  write_file(folder.file("T.TXT"), "kept");
  ASSERT_EQ(0, create(block, folder.file("T"), {"ID", "N5"}));
  EXPECT_EQ((std::vector<std::string>{"T.DBF", "T.TXT"}), folder.list());
}

TEST(CreateDatabase, without_a_memo_driver_touches_nothing) {
  TemporaryFolder folder;
  VqBlock block;
  ASSERT_EQ(0, lib.DBinit(&block, 8));
  write_file(folder.file("T.DBF"), "old");
  EXPECT_EQ(VQ_E_NO_DRIVER, create(block, folder.file("T"), fields_with_memo()));
  EXPECT_EQ("old", read_file(folder.file("T.DBF")));
  EXPECT_EQ(0, create(block, folder.file("T"), {"ID", "N5"}));
}

TEST(CreateDatabase, touches_no_memo_file_of_another_table) {
  struct Case {
    const char *from, *to;
  };
  for (const std::uint32_t dialect : {1U, 2U}) {
    for (const auto& [from, to] : {Case{"", "N;M"}, Case{"", "N;M.DBT"}, Case{"", "M.DBT"},
                                   Case{"M", "N;M"}, Case{"M", "N;./m"}, Case{"T;M", "M"}}) {
      SCOPED_TRACE(std::string(from) + " " + to);
      TemporaryFolder folder;
      VqBlock block;
      ASSERT_EQ(0, lib.DBinit(&block, dialect));
      ASSERT_EQ(0, create(block, folder.file("M"), fields_with_memo()));
      ASSERT_EQ(0, create(block, folder.file("T"), fields_with_memo()));
      write_bytes(folder.file("M.DBT"), 600, "text");
      const std::string memo = read_file(folder.file("M.DBT"));
      const std::vector<std::string> files = folder.list();
      const auto in_folder = [&](std::string name) {
        const std::size_t semicolon = name.find(';');
        if (semicolon != std::string::npos) name.insert(semicolon + 1, folder.file(""));
        return folder.file(name);
      };
      const std::string target = in_folder(to);
      const std::int32_t result = *from == 0
                                      ? create(block, target, fields_with_memo())
                                      : lib.DBcopy(&block, in_folder(from).c_str(), target.c_str());
      EXPECT_EQ("-11/6371", codes(result, block));
      EXPECT_EQ(files, folder.list());
      EXPECT_EQ(memo, read_file(folder.file("M.DBT")));
    }
  }
}

TEST(CopyDatabase, copies_the_structure_and_makes_a_memo_file) {
  for (const std::uint32_t dialect : {1U, 2U}) {
    TemporaryFolder folder;
    VqBlock block;
    ASSERT_EQ(0, lib.DBinit(&block, dialect));
    ASSERT_EQ(0, create(block, folder.file("A"), fields_with_memo()));
    ASSERT_EQ(0, lib.DBcopy(&block, folder.file("A").c_str(), folder.file("B").c_str()))
        << block.detail;
    EXPECT_EQ((std::vector<std::string>{"A.DBF", "A.DBT", "B.DBF", "B.DBT"}), folder.list());
    EXPECT_EQ(read_file(folder.file("A.DBF")), read_file(folder.file("B.DBF")));
    EXPECT_EQ(VQ_E_NOT_ALLOWED,
              lib.DBcopy(&block, folder.file("A").c_str(), folder.file("A").c_str()));
    EXPECT_EQ(141, block.detail);
  }
}

}  // namespace
