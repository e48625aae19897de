// Databases whose group has an MDX file, beside NDX files: whatever happens to the records, every
// tag holds those that its filter lets in.

#include "support/mdx_checker.h"
#include "support/order_tags.h"

namespace {

using Tag = OrderTag;

const Tag kTags[] = {
    {"NAMES", "NAME", nullptr, "C12", [](const Order&) { return true; }, name_key},
    {"PAID", "AMOUNT", "PAID", "N", [](const Order& o) { return o.paid; }, amount_key},
    {"LIVE", "DUE", ".NOT. DELETED()", "DD", [](const Order& o) { return !o.deleted; }, due_key},
};

class TagGroupTest : public ::testing::Test {
 protected:
  void SetUp() override {
    orders_.create();
    mdx_ = orders_.file("TAGS");
    VqTable* table = lib.dDopen(&orders_.block, orders_.table().c_str(), 0, 4);
    for (const Tag& tag : kTags) {
      ASSERT_EQ(0, lib.dXezindx(table, mdx_.c_str(), tag.name, tag.key, tag.filter, tag.options()))
          << orders_.block.detail;
    }
    ASSERT_EQ(0, lib.dDclose(table));
    specs_.assign(orders_.specs.begin(), orders_.specs.end());
    specs_.push_back({16, mdx_.c_str(), 10, nullptr});
  }
  void TearDown() override {
    if (database_ != nullptr) {
      EXPECT_EQ(0, lib.DBclose(database_));
    }
  }

  void open(std::uint32_t mode) { ASSERT_NE(nullptr, database_ = orders_.open(mode, specs_)); }

  VqMember member(std::uint32_t kind, const char* tag = nullptr) {
    VqMember found = {};
    EXPECT_EQ(0, lib.GRPmember(database_, kind, mdx_.c_str(), tag, &found));
    return found;
  }

  void append(const Order& order) {
    std::uint32_t recno = 0;
    ASSERT_EQ(0, lib.DBapprec(database_, record_of(order).data(), &recno)) << orders_.block.detail;
    records_.push_back(order);
  }

  void check() {
    expect_in_step(database_, orders_, records_);
    ASSERT_EQ(0, lib.DBflush(database_));
    const MdxReport report = read_mdx(orders_.file("TAGS.MDX"));
    ASSERT_EQ("", report.all_faults());
    for (const Tag& tag : kTags) expect_tag(tag, report, records_);
  }

  Order some_order() {
    Order order;
    order.name = std::string(1, static_cast<char>('a' + random_() % 9));
    order.cents = static_cast<std::int32_t>(random_() % 400) - 200;
    order.due = static_cast<std::int32_t>(1 + random_() % 28);
    order.paid = random_() % 2 != 0;
    return order;
  }

  Orders orders_{2};
  std::string mdx_;
  std::vector<VqIndexSpec> specs_;
  VqDatabase* database_ = nullptr;
  std::vector<Order> records_;
  std::mt19937 random_{11};
};

class TagGroups : public TagGroupTest, public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(TagGroups, tags_and_files_follow_every_record) {
  ASSERT_NO_FATAL_FAILURE(open(GetParam()));
  for (int step = 0; step < 1500; ++step) {
    const auto recno =
        static_cast<std::uint32_t>(records_.empty() ? 0 : 1 + random_() % records_.size());
    const auto what = records_.empty() ? 0 : random_() % 5;
    if (what < 2) {
      ASSERT_NO_FATAL_FAILURE(append(some_order()));
    } else if (what < 4) {
      Order& order = records_[recno - 1];
      const bool deleted = order.deleted;
      if (random_() % 2 != 0) {
        order.paid = !order.paid;
      } else {
        order = some_order();
      }
      order.deleted = deleted;
      ASSERT_EQ(0, lib.DBupdrec(database_, recno, record_of(order).data()));
    } else {
      Order& order = records_[recno - 1];
      order.deleted = !order.deleted;
      ASSERT_EQ(0, order.deleted ? lib.DBdelrec(database_, recno) : lib.DBrclrec(database_, recno));
    }
    if (step % 300 == 299) {
      ASSERT_NO_FATAL_FAILURE(check());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, TagGroups, ::testing::Values(0u, 2u, 4u));

class TagGroup : public TagGroups {};

TEST_P(TagGroup, members_are_found_and_described) {
  ASSERT_NO_FATAL_FAILURE(open(GetParam()));
  EXPECT_EQ(kOrderIndexes + 1 + std::size(kTags), value(table_member(database_).flags));
  const VqMember file = member(16);
  EXPECT_EQ(3, lib.DBtags(&file));
  std::string list(3 * 19, '\0');
  ASSERT_EQ(0, lib.DBlist_tags(&file, 1, list.data()));
  EXPECT_STREQ("LIVE", list.c_str() + 4);
  EXPECT_EQ(8u, number_at(list, 15, 4));
  const VqMember paid = member(32, "paid");
  char text[64];
  std::int32_t number = 0;
  ASSERT_EQ(0, lib.DBexpr(&paid, text, sizeof text, &number));
  EXPECT_STREQ("AMOUNT", text);
  EXPECT_STREQ("PAID", text + 7);
  ASSERT_EQ(0, lib.DBkeylen(&paid, &number));
  EXPECT_EQ(12, number);
  ASSERT_EQ(0, lib.DBkeytype(&paid, &number));
  EXPECT_EQ('N', number);
  VqMember none = {};
  EXPECT_EQ(-5, lib.GRPmember(database_, 32, mdx_.c_str(), "", &none));
  // Through a tag to its record; a file of tags has no order.
  append({"late", 500, 3, true});
  append({"early", 100, 5, true});
  std::string record(kOrderBytes, '\0');
  std::string key(12, '\0');
  std::uint32_t recno = 0;
  ASSERT_EQ(0, lib.DBgetrec(&paid, amount_key(records_[0]).data(), record.data(), &recno));
  EXPECT_EQ(record_of(records_[0]), record);
  ASSERT_EQ(0, lib.DBprevrec(&paid, record.data(), &recno, key.data()));
  EXPECT_EQ(record_of(records_[1]), record);
  EXPECT_EQ(VQ_E_NOT_ALLOWED, lib.DBnextrec(&file, record.data(), &recno, key.data()));
  EXPECT_EQ(0, lib.DBmember_flush(&paid));
  // The index list brings the tags back.
  ASSERT_EQ(0, lib.DBclose(database_));
  database_ = orders_.use(GetParam());
  EXPECT_EQ(kOrderIndexes + 1 + std::size(kTags), value(table_member(database_).flags));
}

// The key length and type of a file are what the driver says to a handle without keys.
TEST_P(TagGroup, a_file_of_tags_has_no_key_and_a_tag_no_tags) {
  ASSERT_NO_FATAL_FAILURE(open(GetParam()));
  VqBlock& block = orders_.block;
  const VqMember file = member(16);
  const VqMember tag = member(32, "paid");
  char text[64];
  std::int32_t number = 0;
  EXPECT_EQ(codes(-10, 1051), codes(lib.DBexpr(&file, text, sizeof text, &number), block));
  EXPECT_EQ(codes(-10, 1061), codes(lib.DBexplen(&file, &number, nullptr), block));
  EXPECT_EQ(codes(0, 1111), codes(lib.DBkeylen(&file, &number), block));
  EXPECT_EQ(-10, std::exchange(number, 0));
  EXPECT_EQ(codes(0, 1121), codes(lib.DBkeytype(&file, &number), block));
  EXPECT_EQ(-10, number);
  EXPECT_EQ(codes(-10, 1281), codes(lib.DBlist_tags(&tag, 0, text), block));
  EXPECT_EQ(codes(-10, 1291), codes(lib.DBlist_tags(&tag, 1, text), block));
  EXPECT_EQ(VQ_E_UNAVAILABLE, lib.DBtags(&tag));
}

TEST_P(TagGroup, a_name_behind_the_semicolon_brings_one_tag) {
  const std::string one = mdx_ + ";paid";
  specs_.back().name = one.c_str();
  ASSERT_NO_FATAL_FAILURE(open(GetParam()));
  EXPECT_EQ(kOrderIndexes + 2, value(table_member(database_).flags));
  append({"a", 5, 1, true});
  ASSERT_EQ(0, lib.DBflush(database_));
  const MdxReport report = read_mdx(orders_.file("TAGS.MDX"));
  EXPECT_EQ(1u, report.tag("PAID").entries.size());
  EXPECT_EQ(0u, report.tag("NAMES").entries.size());
  if (GetParam() == 0) {
    // All of them are built again all the same: they are one file.
    ASSERT_EQ(0, lib.DBreindex(database_)) << orders_.block.detail;
    for (const Tag& tag : kTags) expect_tag(tag, read_mdx(orders_.file("TAGS.MDX")), records_);
  }
  ASSERT_EQ(0, lib.DBindex(database_, 16, mdx_.c_str(), "MORE", "DUE", nullptr, 0));
  ASSERT_EQ(0, lib.DBclose(database_));
  database_ = orders_.use(GetParam());
  EXPECT_EQ(kOrderIndexes + 3, value(table_member(database_).flags)) << "both tags are listed";
}

TEST_P(TagGroup, a_file_named_for_two_of_its_tags_is_opened_once) {
  const std::string names[] = {mdx_ + ";LIVE", mdx_ + ";PAID"};
  specs_ = {{16, names[0].c_str(), 4, nullptr}, {16, names[1].c_str(), 4, nullptr}};
  ASSERT_NO_FATAL_FAILURE(open(GetParam() | 32));
  EXPECT_EQ(3U, value(table_member(database_).flags));
  append({"both", 7, 7, true});
  ASSERT_EQ(0, lib.DBflush(database_));
  const MdxReport report = read_mdx(orders_.file("TAGS.MDX"));
  for (const Tag& tag : {kTags[1], kTags[2]}) expect_tag(tag, report, records_);
}

TEST_P(TagGroup, tags_join_a_file_in_use) {
  ASSERT_NO_FATAL_FAILURE(open(GetParam()));
  for (int i = 0; i < 40; ++i) append(some_order());
  const char* const name = mdx_.c_str();
  ASSERT_EQ(0, lib.DBindex(database_, 16, name, "LATER", "AMOUNT", "PAID", VQ_BUILD_DESCENDING))
      << orders_.block.detail;
  EXPECT_EQ("-11/6321",
            codes(lib.DBindex(database_, 16, name, "later", "AMOUNT", nullptr, 0), orders_.block));
  EXPECT_EQ("-11/6511",
            codes(lib.DBindex(database_, 16, name, "X", "AMOUNT", "NAME", 0), orders_.block));
  EXPECT_EQ(kOrderIndexes + 2 + std::size(kTags), value(table_member(database_).flags));
  for (int i = 0; i < 40; ++i) append(some_order());
  const Tag later = {"LATER", "", "", "", kTags[1].holds, amount_key};
  check();
  expect_tag(later, read_mdx(orders_.file("TAGS.MDX")), records_);
}

TEST_P(TagGroup, the_table_knows_its_production_index) {
  specs_.pop_back();
  ASSERT_NO_FATAL_FAILURE(open(GetParam()));
  EXPECT_EQ(0, lib.dDmode(&orders_.block, orders_.table().c_str()) & 2);
  ASSERT_EQ(0, lib.DBindex(database_, 16, orders_.table().c_str(), "N", "NAME", nullptr, 1));
  EXPECT_EQ(2, lib.dDmode(&orders_.block, orders_.table().c_str()) & 2);
  // A key that the unique tag has is no failure of an append, and one of an update.
  append({"same", 1});
  append({"same", 2});
  append({"other", 3});
  EXPECT_EQ(VQ_E_INDEX_PAGE, lib.DBupdrec(database_, 3, record_of({"same", 3}).data()));
  ASSERT_EQ(0, lib.DBflush(database_));
  EXPECT_EQ(1u, read_mdx(orders_.file("ORDERS.MDX")).tag("N").entries.size());
}

INSTANTIATE_TEST_SUITE_P(Modes, TagGroup, ::testing::Values(0u, 4u));

TEST_F(TagGroupTest, packing_builds_the_tags_again_and_leaves_the_table_its_index) {
  ASSERT_NO_FATAL_FAILURE(open(0));
  const std::string own = orders_.table();
  ASSERT_EQ(0, lib.DBindex(database_, 16, own.c_str(), "OWN", "AMOUNT", ".NOT. DELETED()", 0));
  for (int i = 0; i < 30; ++i) append({"n", i, 1, i % 3 == 0, i % 2 == 0});
  ASSERT_EQ(0, lib.DBclose(database_));
  ASSERT_EQ(0, lib.DBpack(&orders_.block, own.c_str())) << orders_.block.detail;
  std::erase_if(records_, [](const Order& order) { return order.deleted; });
  database_ = orders_.use();
  EXPECT_EQ(2, lib.dDmode(&orders_.block, own.c_str()) & 2);
  check();
  const Tag own_tag = {"OWN", "", "", "", kTags[2].holds, amount_key};
  expect_tag(own_tag, read_mdx(orders_.file("ORDERS.MDX")), records_);
}

// What others do with the tags of a file that is a member, before the group next changes a record.
struct TagChange {
  friend void PrintTo(const TagChange& change, std::ostream* out) { *out << change.name; }

  const char* name;
  const char* dropped;
  const Tag* made;
  bool group_passes;  // the group changes a record between dropping and making
};

constexpr auto kIsDead = [](const Order& order) { return order.deleted; };
const Tag kDear = {"PAID",  "NAME", "AMOUNT > 0", "C12", [](const Order& o) { return o.cents > 0; },
                   name_key};
const Tag kDeadNames = {"NAMES", "NAME", "DELETED()", "C12", kIsDead, name_key};
const Tag kDead = {"LIVE", "AMOUNT", "DELETED()", "ND", kIsDead, amount_key};
const Tag kNew = {"NEW", "AMOUNT", ".NOT. DELETED()", "N", kTags[2].holds, amount_key};

const TagChange kTagChanges[] = {
    {"dropped", "PAID", nullptr, false},
    {"made_again", "PAID", &kTags[1], false},
    {"made_again_later", "PAID", &kTags[1], true},
    {"made_with_other_keys", "PAID", &kDear, false},
    {"made_with_other_keys_later", "PAID", &kDear, true},
    {"made_to_read_the_flag", "NAMES", &kDeadNames, false},
    {"made_for_other_records", "LIVE", &kDead, false},
    {"added", nullptr, &kNew, false},
    {"one_for_another", "NAMES", &kNew, true},
};

class TagsOfOthers
    : public TagGroupTest,
      public ::testing::WithParamInterface<std::tuple<std::uint32_t, TagChange, std::string>> {
 protected:
  std::uint32_t mode() const { return std::get<0>(GetParam()); }

  // Another handle of the file; where there can be none, the group's.
  template <typename Work>
  void with_file(Work work) {
    if (mode() == 0) return work(static_cast<VqIndex*>(member(16).handle));
    VqTable* const table = lib.dDopen(&orders_.block, orders_.table().c_str(), mode(), 1);
    VqIndex* const file = lib.dXopen(table, mdx_.c_str(), mode(), 4);
    work(file);
    EXPECT_EQ(0, lib.dXclose(file));
    EXPECT_EQ(0, lib.dDclose(table));
  }

  void make(VqIndex* file, const Tag& tag) {
    ASSERT_EQ(0, lib.dXindex(file, tag.name, tag.key, tag.format, tag.filter))
        << orders_.block.detail;
  }

  void change_record(const std::string& what) {
    Order& order = records_[3];
    if (what == "append") return append(some_order());
    if (what == "delete") {
      order.deleted = !order.deleted;
      ASSERT_EQ(0, order.deleted ? lib.DBdelrec(database_, 4) : lib.DBrclrec(database_, 4));
    } else {
      order = {order.name + "x", order.cents > 0 ? -7 : 7, 9, !order.paid, order.deleted};
      ASSERT_EQ(0, lib.DBupdrec(database_, 4, record_of(order).data())) << orders_.block.detail;
    }
  }

  void expect_tags(const std::vector<Tag>& tags) {
    ASSERT_EQ(0, lib.DBflush(database_));
    const MdxReport report = read_mdx(orders_.file("TAGS.MDX"));
    EXPECT_EQ("", report.all_faults());
    EXPECT_EQ(tags.size(), report.tags.size());
    for (const Tag& tag : tags) expect_tag(tag, report, records_);
  }
};

TEST_P(TagsOfOthers, are_taken_up_with_the_next_record) {
  const TagChange& change = std::get<1>(GetParam());
  const std::string& first = std::get<2>(GetParam());
  ASSERT_NO_FATAL_FAILURE(open(mode()));
  for (int i = 0; i < 30; ++i) append(some_order());
  append({"dead", 1, 1, false, true});
  std::vector<Tag> tags(std::begin(kTags), std::end(kTags));
  with_file([&](VqIndex* file) {
    if (change.dropped != nullptr) {
      ASSERT_EQ(0, lib.dXdeltag(file, change.dropped));
      std::erase_if(tags, [&](const Tag& tag) { return tag.name == std::string(change.dropped); });
    }
    if (change.group_passes) change_record("append");
    if (change.made == nullptr) return;
    ASSERT_NO_FATAL_FAILURE(make(file, *change.made));
    tags.push_back(*change.made);
  });
  for (const std::string& next : {first, std::string("append"), std::string("update"),
                                  std::string("delete"), std::string("update")}) {
    ASSERT_NO_FATAL_FAILURE(change_record(next));
  }
  expect_tags(tags);
  for (const Tag& tag : tags) {
    const VqMember copy = member(32, tag.name);
    std::string key(12, '\0');
    std::uint32_t recno = 0;
    EXPECT_EQ(0, lib.DBforward(&copy));
    EXPECT_EQ(0, lib.DBprevrec(&copy, std::string(kOrderBytes, ' ').data(), &recno, key.data()));
  }
  if (mode() != 0) return;
  ASSERT_EQ(0, lib.DBreindex(database_)) << orders_.block.detail;
  expect_tags(tags);
}

// A copy of a member holds as long as the tag is defined as it was.
TEST_P(TagsOfOthers, are_others_when_they_are_defined_otherwise) {
  const TagChange& change = std::get<1>(GetParam());
  if (change.dropped == nullptr) return;
  ASSERT_NO_FATAL_FAILURE(open(mode()));
  for (int i = 0; i < 30; ++i) append(some_order());
  const VqMember copy = member(32, change.dropped);
  with_file([&](VqIndex* file) {
    ASSERT_EQ(0, lib.dXdeltag(file, change.dropped));
    if (change.made != nullptr) make(file, *change.made);
  });
  change_record(std::get<2>(GetParam()));
  std::string record(kOrderBytes, ' ');
  std::string key(12, '\0');
  std::uint32_t recno = 0;
  const bool is_same = change.made == &kTags[1];
  EXPECT_EQ(is_same ? 0 : VQ_E_BAD_HANDLE, lib.DBnextrec(&copy, record.data(), &recno, key.data()));
}

INSTANTIATE_TEST_SUITE_P(Changes, TagsOfOthers,
                         ::testing::Combine(::testing::Values(0u, 2u, 4u),
                                            ::testing::ValuesIn(kTagChanges),
                                            ::testing::Values("append", "update", "delete")),
                         [](const auto& test) {
                           return std::string(std::get<1>(test.param).name) + "_" +
                                  std::get<2>(test.param) + "_" +
                                  std::to_string(std::get<0>(test.param));
                         });

// A tag that the group cannot keep stops every change, until it is gone or mended.
TEST_P(TagGroups, a_tag_of_others_that_cannot_be_kept_stops_changes) {
  struct Case {
    const char* key;
    const char* result;
  };
  ASSERT_NO_FATAL_FAILURE(open(GetParam()));
  for (int i = 0; i < 3; ++i) append(some_order());
  const std::string path = orders_.file("TAGS.MDX");
  for (const Case& c : {Case{"NOBODY+NAME", "-25/6034"}, Case{"AMOUNT+1", "-9/6127"}}) {
    VqTable* const table = lib.dDopen(&orders_.block, orders_.table().c_str(), GetParam(), 1);
    VqIndex* const file = GetParam() == 0 ? static_cast<VqIndex*>(member(16).handle)
                                          : lib.dXopen(table, mdx_.c_str(), GetParam(), 4);
    ASSERT_EQ(0, lib.dXindex(file, "ODD", "NAME", "C12", nullptr));
    write_bytes(path, read_mdx(path).tag("ODD").header_page * std::size_t{512} + 24,
                std::string(c.key) + '\0');
    const std::string before = read_file(path);
    std::uint32_t recno = 0;
    const std::string record = record_of(some_order());
    for (int i = 0; i < 2; ++i) {
      EXPECT_EQ(c.result, codes(lib.DBapprec(database_, record.data(), &recno), orders_.block));
      EXPECT_EQ(c.result, codes(lib.DBupdrec(database_, 2, record.data()), orders_.block));
      EXPECT_EQ(c.result, codes(lib.DBdelrec(database_, 2), orders_.block));
    }
    EXPECT_EQ(before, read_file(path));
    ASSERT_EQ(0, lib.dXdeltag(file, "ODD"));
    if (GetParam() != 0) {
      ASSERT_EQ(0, lib.dXclose(file));
    }
    ASSERT_EQ(0, lib.dDclose(table));
    append(some_order());
    check();
  }
}

}  // namespace
