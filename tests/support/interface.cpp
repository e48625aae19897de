#include "support/interface.h"

#include <tuple>
#include <type_traits>

namespace vqdb::testing {
namespace {

template <typename Function>
struct Signature;
template <typename Result, typename... Arguments>
struct Signature<Result(VQ_CALL*)(Arguments...)> {
  using Tuple = std::tuple<Arguments...>;
};

template <typename T>
constexpr bool is_handle =
    std::is_same_v<T, VqTable*> || std::is_same_v<T, VqIndex*> || std::is_same_v<T, VqMemo*> ||
    std::is_same_v<T, VqDatabase*> || std::is_same_v<T, VqExpr*>;
template <typename T>
constexpr bool can_be_closed = is_handle<T> || std::is_same_v<T, const VqMember*>;

template <typename Function, typename Arguments>
std::int32_t result_of(Stage& stage, Function function, const Arguments& arguments) {
  stage.block->detail = 0;
  stage.block->result = 0;
  const auto result = std::apply(function, arguments);
  if constexpr (std::is_pointer_v<std::decay_t<decltype(result)>>) {
    stage.own(result);
    if (result != nullptr) return 0;
    return stage.block->result != 0 ? std::int32_t{stage.block->result} : VQ_E_RANGE;
  } else {
    return result;
  }
}

std::string said(const Stage& stage, std::int32_t result, std::int32_t usual) {
  const std::string detail = std::to_string(std::int32_t{stage.block->detail});
  if (result >= 0) return detail == "0" ? " +" : " +/" + detail;
  return " " + (result == usual ? detail : std::to_string(result) + "/" + detail);
}

alignas(16) std::array<char, 1024> foreign = {};

template <std::size_t Index, typename Function, typename Make>
std::string refusal_of(Stage& stage, Function function, Make make) {
  using Argument = std::tuple_element_t<Index, decltype(make(stage))>;
  const auto with = [&](void* instead, std::int32_t usual) {
    auto arguments = make(stage);
    if constexpr (std::is_pointer_v<Argument>) {
      std::get<Index>(arguments) = (Argument)instead;  // NOLINT: also in place of functions
    }
    const std::int32_t result = result_of(stage, function, arguments);
    std::string text = said(stage, result, usual);
    stage.close();
    if (!stage.restore() && result < 0) text += " changed";
    return text;
  };
  if constexpr (is_handle<Argument>) {
    const std::string to_both = with(nullptr, VQ_E_BAD_HANDLE) + with(&foreign, VQ_E_BAD_HANDLE);
    return to_both == " 0 0" ? "" : to_both;
  } else if constexpr (std::is_pointer_v<Argument>) {
    return with(nullptr, VQ_E_RANGE);
  } else {
    return "";
  }
}

template <typename Function, typename Make, std::size_t... Indexes>
std::string refusals_of(Stage& stage, Function function, Make make,
                        std::index_sequence<Indexes...>) {
  using Arguments = decltype(make(stage));
  std::string text;
  if constexpr ((... || can_be_closed<std::tuple_element_t<Indexes, Arguments>>)) {
    const Arguments arguments = make(stage);
    stage.close();
    text = said(stage, result_of(stage, function, arguments), VQ_E_BAD_HANDLE);
    if (!stage.restore()) text += " changed";
  }
  text = (text + ... + refusal_of<Indexes>(stage, function, make));
  return text.substr(text.empty() ? 0 : 1);
}

template <typename Function, typename Make>
FunctionCall of(const char* name, const char* refusals, Function function, Make make) {
  using Arguments = typename Signature<Function>::Tuple;
  return {name, refusals,
          [=](Stage& stage) {
            return [&stage, function, arguments = Arguments(make(stage))] {
              return result_of(stage, function, arguments);
            };
          },
          [=](Stage& stage) {
            return refusals_of(stage, function, make,
                               std::make_index_sequence<std::tuple_size_v<Arguments>>());
          }};
}

#define CALL(function, refusals, ...)                                            \
  of(#function, refusals, lib.function,                                          \
     []([[maybe_unused]] Stage& s) -> Signature<decltype(lib.function)>::Tuple { \
       return {__VA_ARGS__};                                                     \
     })

constexpr std::array<const char*, 4> kFields = {"NAME", "C10", "NOTE", "M"};

// As many as are written in several pieces.
const char* const* many_fields() {
  static std::deque<std::string> names;
  static const std::vector<const char*> fields = [] {
    std::vector<const char*> all;
    while (all.size() < 600) {
      all.push_back(names.emplace_back("F" + std::to_string(names.size())).c_str());
      all.push_back("L");
    }
    return all;
  }();
  return fields.data();
}

// The handle, with its lock taken.
template <typename Handle>
Handle* after(std::int32_t(VQ_CALL* call)(Handle*), Handle* handle) {
  EXPECT_EQ(0, call(handle));
  return handle;
}

VqTable* with_record_lock(VqTable* table) {
  EXPECT_EQ(0, lib.dDlkrec(table, 1));
  return table;
}

}  // namespace

Stage::Stage() {
  closers_.reserve(100);  // so that calls may be made where memory fails
  (void)lib.DBinit(&spare, 7);
  record.replace(0, 12, " new item   ");
  record.replace(11, 17, "    1.5020240301T");
  EXPECT_EQ(0, lib.dDcreat(block, file("OLD"), 2, kFields.data()));
  EXPECT_EQ(0, lib.dTcreat3(block, file("OLD")));
  const std::string bytes = read_file(world.group.file("ITEMS.DBF"));
  std::copy_n(&bytes[CheckedGroup::at(1, 28)], 10, named_.begin());
  EXPECT_EQ(0, lib.dTputmm3(old_memo(), "old", old_named_.data()));
  close();
  world.keep();
}

void Stage::own(VqTable* handle) {
  closers_.emplace_back([=] { lib.dDclose(handle); });
}
void Stage::own(VqMemo* handle) {
  closers_.emplace_back([=] {
    for (const auto close : {lib.dTclose, lib.dTclose3}) close(handle);
  });
}
void Stage::own(VqIndex* handle) {
  closers_.emplace_back([=] {
    for (const auto close : {lib.dNclose, lib.dXdeaidx, lib.dXclose}) close(handle);
  });
}

template <typename Handle>
Handle* Stage::keep(Handle* handle) {
  EXPECT_NE(nullptr, handle) << int32_t{block->detail};
  own(handle);
  return handle;
}

VqTable* Stage::table(std::uint32_t mode) {
  return keep(lib.dDopen(block, file("ITEMS"), mode, 4));
}
VqIndex* Stage::ndx() { return keep(lib.dNopen(table(), file("BYDUE"), 2, 4)); }
VqIndex* Stage::mdx() { return keep(lib.dXopen(table(), file("ITEMS"), 2, 4)); }
VqIndex* Stage::tag() { return keep(lib.dXactidx(mdx(), "NAMES")); }
VqMemo* Stage::memo() { return keep(lib.dTopen(block, file("ITEMS"), 2)); }
VqMemo* Stage::old_memo() { return keep(lib.dTopen3(block, file("OLD"), 2)); }

VqDatabase* Stage::database(std::uint32_t mode) {
  EXPECT_EQ(0, world.open(mode));
  return world.database;
}

VqMember* Stage::member(std::uint32_t kind) {
  EXPECT_EQ(0, lib.GRPmember(database(), kind, nullptr, "NAMES", &copy));
  for (int step = 0; kind != VQ_KIND_MDX && step < 2; ++step) {
    EXPECT_EQ(0, lib.DBnextrec(&copy, out, &recno, key));
  }
  return &copy;
}

VqExpr* Stage::expression() {
  char type = 0;
  EXPECT_EQ(0, lib.dEparse(block, "PAID .AND. NAME > 'a'", table(), &compiled, &type, &number));
  return compiled;
}

VqIndex* Stage::at_first(VqIndex* index) {
  const bool is_ndx = lib.dNkeylen(index) > 0;
  EXPECT_EQ(0, (is_ndx ? lib.dNnxtkey : lib.dXnxtkey)(index, key, &recno));
  return index;
}

const char* Stage::file(const std::string& name) {
  return names_.emplace_back(world.group.file(name)).c_str();
}

char* Stage::reference(bool old) {
  const auto& named = old ? old_named_ : named_;
  return std::copy(named.begin(), named.end(), field) - named.size();
}

void Stage::close() {
  std::fill_n(field, sizeof field, '\0');
  if (compiled != nullptr) lib.dEfree(std::exchange(compiled, nullptr));
  for (VqDatabase** const open : {&world.database, &opened}) {
    if (*open != nullptr) lib.DBclose(std::exchange(*open, nullptr));
  }
  while (!closers_.empty()) {
    closers_.back()();
    closers_.pop_back();
  }
}

const std::vector<FunctionCall>& interface_calls() {
  static const std::vector<FunctionCall> calls = {
      CALL(dDcreat, "0 150 150", s.block, s.file("NEW"), 300, many_fields()),
      CALL(dDopen, "0 10040", s.block, s.file("ITEMS"), 2, 4),
      CALL(dDclose, "301", s.table()),
      CALL(dDmode, "0 280", s.block, s.file("ITEMS")),
      CALL(dDfields, "181", s.table()),
      CALL(dDfldnm, "221 220", s.table(), 1, s.out),
      CALL(dDfield, "221 220", s.table(), 1, &s.described),
      CALL(dDfldno, "221 220", s.table(), "DUE"),
      CALL(dDreclen, "+ + +", s.table()),
      CALL(dDreccnt, "421 420", s.table(), &s.count),
      CALL(dDdate, "161 + + +", s.table(), &s.number, &s.number, &s.number),
      CALL(dDbuffs, "0 10040", s.block, s.file("ITEMS"), 4),
      CALL(dDgetrec, "261 260", s.table(), 1, s.out),
      CALL(dDgetrecs, "261 260 260", s.table(), 1, 12, s.out, &s.count),
      CALL(dDapprec, "321 320", s.table(), s.record.data()),
      CALL(dDupdrec, "461 460", s.table(), 1, s.record.data()),
      CALL(dDdelrec, "461", s.table(), 1),
      CALL(dDrclrec, "461", s.table(), 1),
      CALL(dDinsrec, "271 270", s.table(0), 1, s.record.data()),
      CALL(dDrmrec, "401", s.table(0), 1),
      CALL(dDrecsta, "-4/383", s.table(), 1),
      CALL(dDflush, "241", s.table(0)),
      CALL(dDclearbuf, "461", s.table(0)),
      CALL(dDcopy, "0 -11/141 -11/141", s.block, s.file("ITEMS"), s.file("NEW")),
      CALL(dDcmpstr, "0 190 190", s.block, s.file("ITEMS"), s.file("ITEMS")),
      CALL(dDcat, "0 340 340", s.block, s.file("NEW"), s.file("ITEMS")),
      CALL(dDpack, "0 290", s.block, s.file("ITEMS")),
      CALL(dDsort, "0 -11/441 -11/441 -11/441", s.block, s.file("ITEMS"), s.file("NEW"),
           "QTY/D,NAME/AC"),
      CALL(dDapart, "0 100", s.block, s.file("ITEMS")),
      CALL(dDlkfil, "481", s.table()),
      CALL(dDulkfil, "491", after(lib.dDlkfil, s.table())),
      CALL(dDlkrec, "501", s.table(), 1),
      CALL(dDulkrec, "491", with_record_lock(s.table()), 1),
      CALL(dDlkgetr, "501 500", s.table(), 1, s.out),
      CALL(dDlklist, "501 500", after(lib.dDlkfil, s.table()), &s.count, 1),
      CALL(dDlktop, "501 500", after(lib.dDlkfil, s.table()), &s.recno),
      CALL(dDlkcnt, "501", s.table()),
      CALL(dDpoplk, "491", after(lib.dDlkfil, s.table())),
      CALL(dDlkapp, "321", s.table()),
      CALL(dDulkapp, "351", after(lib.dDlkapp, s.table())),
      CALL(dDlkrsta, "501", after(lib.dDlkfil, s.table()), 1),
      CALL(dDlkfsta, "481", after(lib.dDlkfil, s.table())),

      CALL(dUexpnm, "+ + 0", "a.b;c", "DBF", s.out),
      CALL(dU3itodf, "+ 4001", s.block, 2, 29, 2024, s.out),
      CALL(dUdfto3i, "0 0 0 0", "20240229", &s.number, &s.number, &s.number),
      CALL(dU3itodk, "+ 4021", s.block, 1, 2, 29, 2024, s.out),
      CALL(dUdftodk, "+ 4021 4021", s.block, 1, "20240229", s.out),
      CALL(dUdkto3i, "0 0 0 0", 1, s.key, &s.number, &s.number, &s.number),
      CALL(dU3itoJ, "+", s.block, 2, 29, 2024),
      CALL(dUJto3i, "0 0 0", 700000, &s.number, &s.number, &s.number),
      CALL(dUatoJ, "0 4071", s.block, "02/29/2024"),
      CALL(dUdtonk, "0", 0, 1.5, s.out),
      CALL(dUnftonk, "+ 4081 4081", s.block, 0, "   1.5", 6, s.out),
      CALL(dUnktod, "0 0", 0, s.key, &s.value),
      CALL(dUnktoa, "0 0", 0, s.key, 8, 2, s.out),
      CALL(dUnftod, "0 0", "   1.5", 6, &s.value),
      CALL(dUatonf, "+ 4041 4041", s.block, "1.5", 8, 2, s.out),
      CALL(dUdtonf, "+ 4061", s.block, 1.5, 8, 2, s.out),
      CALL(dUfldtoa, "0 0", "text", 4, s.out),
      CALL(dUatocf, "0 0", "text", 8, s.out),
      CALL(dUcheck_mfld, "0", "0000000001"),
      CALL(dUinitmf, "0", s.field),
      CALL(dUtoday, "0 0 0", &s.number, &s.number, &s.number),
      CALL(dUleap, "", 2024),
      CALL(dUversion, "0", s.out),
      CALL(dUsetlang, "0", &s.spare, 1),
      CALL(dUsetnet, "0", &s.spare, 2),
      CALL(dUsetwait, "0", &s.spare, 10),
      CALL(dUsetcent, "0", &s.spare, 1),
      CALL(dUsetexact, "0", &s.spare, 1),
      CALL(dUsetdate, "0", &s.spare, 4),
      CALL(dUtmpdir, "0 +", &s.spare, "C:\\TMP"),
      CALL(dUsetprog, "0 + +", &s.spare, nullptr, s.out),

      CALL(dEparse, "6007 0 -32/6001 -25/6034 6007 0 0 0", s.block, "UPPER(NAME)", s.table(),
           &s.compiled, s.out, &s.number),
      CALL(dErun, "6061 0 -32/6061 6061 6062 0 0", s.block, s.expression(), s.record.data(), 0, 10,
           s.out, &s.number),
      CALL(dEfilter, "261 -32/6061 6061 0 0", s.expression(), s.table(), 1, 12, s.recnos.data(),
           &s.count),
      CALL(dEeval, "6007 0 -32/6001 -25/6034 6007 6062 0 0 0", s.block, "TRIM(NAME) + STR(QTY)",
           s.table(), s.record.data(), s.out, s.key, &s.number),
      CALL(dEfree, "6061", s.expression()),
      CALL(fLTRIM, "0 0", " text ", s.out),
      CALL(fRTRIM, "0 0", " text ", s.out),
      CALL(fALLTRIM, "0 0", " text ", s.out),
      CALL(fPADL, "0 + 0", "text", 9, "ab", s.out),
      CALL(fPADR, "0 + 0", "text", 9, "ab", s.out),
      CALL(fPADC, "0 + 0", "text", 9, "ab", s.out),

      CALL(dNcreat, "0 3029 3029 3029", s.block, s.file("NEW"), "NAME", "C10"),
      CALL(dNopen, "3151 -4/0 -4/0 3159", s.table(), s.file("BYDUE"), 2, 4),
      CALL(dNclose, "3231", s.ndx()),
      CALL(dNbuffs, "0 3259", s.block, s.file("BYDUE"), 4),
      CALL(dN3datek, "+/3001 -4/0 +", s.ndx()),
      CALL(dNflush, "3071", s.ndx()),
      CALL(dNputkey, "3161 3162", s.at_first(s.ndx()), s.key, 12),
      CALL(dNrmkey, "3211 3212", s.at_first(s.ndx()), s.key, s.recno),
      CALL(dNupdkey, "3311 3312 3312", s.at_first(s.ndx()), s.key, s.later, s.recno),
      CALL(dNgetrno, "3091 3092 3099", s.at_first(s.ndx()), s.key, &s.recno),
      CALL(dNseeks, "3091 3099 3099 3099", s.at_first(s.ndx()), s.key, 2, s.recnos.data(),
           &s.count),
      CALL(dNnxtkey, "3201 3209 3209", s.ndx(), s.key, &s.recno),
      CALL(dNprvkey, "3171 3179 3179", s.ndx(), s.key, &s.recno),
      CALL(dNnxtkeys, "3201 3209 3209 3209", s.ndx(), 2, s.out, s.recnos.data(), &s.count),
      CALL(dNcurkey, "3041 3049 3049", s.at_first(s.ndx()), s.key, &s.recno),
      CALL(dNrewind, "3191", s.ndx()),
      CALL(dNforwrd, "3081", s.ndx()),
      CALL(dNexpr, "3051 3052 +", s.ndx(), s.out, 250, &s.number),
      CALL(dNexplen, "3061 3062 +", s.ndx(), &s.number, &s.number),
      CALL(dNkeylen, "3111", s.ndx()),
      CALL(dNkeytyp, "3121", s.ndx()),
      CALL(dNlkfil, "3131", s.ndx()),
      CALL(dNulkfil, "3221", after(lib.dNlkfil, s.ndx())),
      CALL(dNlkfsta, "3141", after(lib.dNlkfil, s.ndx())),
      CALL(dNindex, "3101 3109 3109", s.table(), s.file("NEW"), "NAME", VQ_BUILD_UNIQUE),
      CALL(dNreindex, "3181 3189", s.table(0), s.file("BYDUE")),
      CALL(dNcopy, "0 3019 3019", s.block, s.file("BYDUE"), s.file("NEW")),

      CALL(dXcreat, "1021 1029", s.table(), s.file("NEW")),
      CALL(dXopen, "1151 -4/0 -4/0 1159", s.table(), s.file("ITEMS"), 2, 4),
      CALL(dXclose, "1241", s.mdx()),
      CALL(dXactidx, "1001 -4/0 -4/0 1009", s.mdx(), "NAMES"),
      CALL(dXdeaidx, "1031", s.tag()),
      CALL(dXflush, "1071", s.mdx()),
      CALL(dXbuffs, "0 1259", s.block, s.file("ITEMS"), 4),
      CALL(dXtags, "1301", s.mdx()),
      CALL(dXlistag, "1281 1282", s.mdx(), s.out),
      CALL(dXsortag, "1291 1292", s.mdx(), s.out),
      CALL(dXputkey, "1161 1162", s.tag(), s.later, 12),
      CALL(dXrmkey, "1211 1212", s.at_first(s.tag()), s.key, s.recno),
      CALL(dXupdkey, "1311 1312 1312", s.at_first(s.tag()), s.key, s.later, s.recno),
      CALL(dXgetrno, "1091 1092 1099", s.at_first(s.tag()), s.key, &s.recno),
      CALL(dXseeks, "1091 1099 1099 1099", s.at_first(s.tag()), s.key, 2, s.recnos.data(),
           &s.count),
      CALL(dXnxtkey, "1201 1209 1209", s.tag(), s.key, &s.recno),
      CALL(dXprvkey, "1171 1179 1179", s.tag(), s.key, &s.recno),
      CALL(dXnxtkeys, "1201 1209 1209 1209", s.tag(), 2, s.out, s.recnos.data(), &s.count),
      CALL(dXcurkey, "1041 1049 1049", s.at_first(s.tag()), s.key, &s.recno),
      CALL(dXrewind, "1191", s.tag()),
      CALL(dXforwrd, "1081", s.tag()),
      CALL(dXexpr, "1051 1052 +", s.tag(), s.out, 250, &s.number),
      CALL(dXexplen, "1061 1062 +", s.tag(), &s.number, &s.number),
      CALL(dXkeylen, "1111", s.tag()),
      CALL(dXkeytyp, "1121", s.tag()),
      CALL(dXlkfil, "1131", s.mdx()),
      CALL(dXulkfil, "1221", after(lib.dXlkfil, s.mdx())),
      CALL(dXlkfsta, "1141", after(lib.dXlkfil, s.mdx())),
      CALL(dXindex, "1101 1109 1109 1109 +", s.mdx(), "NEW", "QTY", "ND", "PAID"),
      CALL(dXezindx, "1271 1279 1279 1279 +", s.table(), s.file("ITEMS"), "NEW", "DUE", "PAID", 0),
      CALL(dXreindx, "1181 1189", s.table(0), s.file("ITEMS")),
      CALL(dXdeltag, "1261 1269", s.mdx(), "QTYS"),
      CALL(dXcopy, "0 1019 1019", s.block, s.file("ITEMS"), s.file("NEW")),

      CALL(dTcreat, "0 0", s.block, s.file("OLD")),
      CALL(dTopen, "0 0", s.block, s.file("ITEMS"), 2),
      CALL(dTclose, "10161", s.memo()),
      CALL(dTnewmm, "10161 2103 10162", s.memo(), 0, 4, "text", s.field),
      CALL(dTaddmm, "10161 2003 10162 +", s.memo(), 4, "text", s.reference(), &s.number),
      CALL(dTupdmm, "10161 2163 10162 +", s.memo(), 0, 4, "text", s.reference(), &s.number),
      CALL(dTgetmm, "10161 10162 2063 2063 +", s.memo(), s.reference(), 0, 100, s.out, &s.number,
           &s.other),
      CALL(dTmemosz, "10161 10162 0", s.memo(), s.reference(), &s.number),
      CALL(dTmemotype, "10161 + 0", s.memo(), s.reference(), &s.number),
      CALL(dTmemuse, "0 0", s.block, s.file("ITEMS")),
      CALL(dToptimize, "0 0", s.block, s.file("ITEMS")),
      CALL(dTcreat3, "0 0", s.block, s.file("OLD")),
      CALL(dTopen3, "0 0", s.block, s.file("OLD"), 2),
      CALL(dTclose3, "10161", s.old_memo()),
      CALL(dTnewmm3, "10161 2283 10162", s.old_memo(), 0, 4, "text", s.field),
      CALL(dTaddmm3, "10161 2283 10162 +", s.old_memo(), 4, "text", s.reference(true), &s.number),
      CALL(dTupdmm3, "10161 2283 10162 +", s.old_memo(), 0, 4, "text", s.reference(true),
           &s.number),
      CALL(dTputmm3, "10161 2283 10162", s.old_memo(), "text", s.reference(true)),
      CALL(dTgetmm3, "10161 10162 2063 2063 +", s.old_memo(), s.reference(true), 0, 100, s.out,
           &s.number, &s.other),
      CALL(dTmemsz3, "10161 10162 0", s.old_memo(), s.reference(true), &s.number),

      CALL(DBinit, "0", &s.spare, 7u),
      CALL(DBopen, "0 0 + 0 +", s.block, s.file("ITEMS"), 2, 4, 1, 1, s.world.group.specs.data(),
           &s.opened, nullptr),
      CALL(DBuse, "0 0 0", s.block, s.file("ITEMS"), 2, &s.opened),
      CALL(DBclose, "6120", s.database()),
      CALL(GRPmember, "6130 + -5/6133 0", s.database(), VQ_KIND_TAG, s.file("ITEMS"), "NAMES",
           &s.copy),
      CALL(DBcreat, "0 0 0", s.block, s.file("NEW"), 2, kFields.data()),
      CALL(DBcopy, "0 -11/141 -11/141", s.block, s.file("ITEMS"), s.file("NEW")),
      CALL(DBgetrec, "6140 0 0 0 0", s.member(), s.key, s.out, &s.recno),
      CALL(DBsetrec, "6350 0 0 0", s.member(), s.key, &s.recno),
      CALL(DBnextrec, "6150 0 0 0 0", s.member(), s.out, &s.recno, s.key),
      CALL(DBprevrec, "6160 0 0 0 +", s.member(VQ_KIND_TABLE), s.out, &s.recno, s.key),
      CALL(DBcurrec, "6170 0 0 0 0", s.member(VQ_KIND_TAG), s.out, &s.recno, s.key),
      CALL(DBgetrecs, "6150 0 0 0 0", s.member(), 9, s.out, s.recnos.data(), &s.count),
      CALL(DBrewind, "6180 0", s.member()),
      CALL(DBforward, "6190 0", s.member()),
      CALL(DBapprec, "6200 0 0", s.database(), s.record.data(), &s.recno),
      CALL(DBupdrec, "6210 0", s.database(), 1, s.record.data()),
      CALL(DBdelrec, "6220", s.database(), 1),
      CALL(DBrclrec, "6230", s.database(), 1),
      CALL(DBrecsta, "6250", s.database(), 1),
      CALL(DBflush, "6240", s.database(0)),
      CALL(DBmember_flush, "6340 0", s.member()),
      CALL(DBindex, "6320 0 -11/6321 0 +", s.database(), VQ_KIND_MDX, s.file("ITEMS"), "NEW", "QTY",
           "PAID", 0),
      CALL(DBreindex, "6330", s.database(0)),
      CALL(DBpack, "0 0", s.block, s.file("ITEMS")),
      CALL(DBexfield, "221 0 0 0", s.table(), s.record.data(), "DUE", s.out),
      CALL(DBexpr, "6260 0 0 +", s.member(), s.out, 250, &s.number),
      CALL(DBexplen, "6260 0 0 +", s.member(), &s.number, &s.number),
      CALL(DBkeylen, "6260 0 0", s.member(), &s.number),
      CALL(DBkeytype, "6260 0 0", s.member(), &s.number),
      CALL(DBlist_tags, "6260 0 0", s.member(VQ_KIND_MDX), 1, s.out),
      CALL(DBtags, "6260 0", s.member(VQ_KIND_MDX)),
      CALL(DBgetmemo, "6270 0 0 0 +", s.database(), s.reference(), 0, 100, s.out, &s.number,
           &s.other),
      CALL(DBmemosize, "6270 0 0", s.database(), s.reference(), &s.number),
      CALL(DBmemotype, "6270 0 0", s.database(), s.reference(), &s.number),
      CALL(DBmemomem, "0 0 0", s.block, s.file("ITEMS"), &s.number),
      CALL(DBoptimize, "0 0", s.block, s.file("ITEMS")),

      CALL(vqVersion, ""),
      CALL(vqErrorText, "", VQ_E_IO),
      CALL(vqDetailText, "", 10421),
      CALL(DBcheck, "0 0 + + +", s.block, s.file("ITEMS"), &s.options, &Report::take, &s.report),
      CALL(dDcheck, "0 0 + + +", s.block, s.file("ITEMS"), &s.options, &Report::take, &s.report),
      CALL(dTcheck, "0 0 + + +", s.block, s.file("ITEMS"), &s.options, &Report::take, &s.report),
      CALL(dNcheck, "0 0 + + +", s.block, s.file("BYDUE"), &s.options, &Report::take, &s.report),
      CALL(dXcheck, "0 0 + + +", s.block, s.file("ITEMS"), &s.options, &Report::take, &s.report),
      CALL(DBrepair, "0 0 + + +", s.block, s.file("ITEMS"), &s.options, &Report::take, &s.report),
      CALL(DBcompact, "0 0", s.block, s.file("ITEMS")),
      CALL(WEP, "", 0),
  };
  return calls;
}

}  // namespace vqdb::testing
