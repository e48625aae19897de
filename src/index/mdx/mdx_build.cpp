#include "index/mdx/mdx_build.h"

#include <new>
#include <string>
#include <vector>

#include "frame/file_name.h"
#include "frame/system_file.h"
#include "frame/temporary_file.h"
#include "index/build/build_hold.h"
#include "index/build/tree_build.h"
#include "platform/path.h"
#include "table/locks.h"
#include "table/records.h"

namespace vqdb::index {
namespace {

constexpr Operation kBuild{110};
constexpr Operation kCreate{102};
constexpr Operation kRebuild{118};
constexpr Operation kFilter{651};
constexpr Operation kWrite{1031};

// How often a file is opened that others take away meanwhile.
constexpr int kMostTries = 20;

// A tag as it is to be, with its expressions compiled.
struct Recipe {
  std::array<char, kMaxTagName + 1> name = {};
  TagFormat format;
  std::string key_text;
  std::string filter_text;
  ExpressionOwner key;
  ExpressionOwner filter;
};

bool gives(char expression_type, char key_type) {
  return expression_type == key_type || (expression_type == 'F' && key_type == 'N');
}

std::string derived_format(const expr::ResultShape& shape, std::uint32_t options) {
  std::string text(1, shape.type);
  if (shape.type == 'C') text += std::to_string(shape.length);
  if ((options & TagRequest::kDescending) != 0) text += 'D';
  if ((options & TagRequest::kUnique) != 0) text += 'U';
  return text;
}

Result compile(table::Table& table, Recipe& recipe, expr::ResultShape& key_shape) {
  if (const Result result = parse_expression(table, recipe.key_text, recipe.key, key_shape);
      !ok(result) || recipe.filter_text.empty()) {
    return result;
  }
  expr::ResultShape shape;
  const Result result = parse_expression(table, recipe.filter_text, recipe.filter, shape);
  if (!ok(result) || shape.type == 'L') return result;
  return fail(table::block_of(table), Result::not_allowed, kFilter.detail(1));
}

Result prepare(table::Table& table, const TagRequest& request, Recipe& recipe) {
  VqBlock& block = table::block_of(table);
  if (!make_tag_name(request.name, recipe.name)) {
    return fail(block, Result::not_allowed, kBuild.detail(3));
  }
  recipe.key_text = request.key;
  if (request.filter != nullptr) recipe.filter_text = request.filter;
  if (recipe.key_text.size() > kMaxTagExpression || recipe.filter_text.size() > kMaxTagExpression) {
    return fail(block, Result::out_of_range, kBuild.detail(6));
  }
  expr::ResultShape shape;
  if (const Result result = compile(table, recipe, shape); !ok(result)) return result;
  const std::string wanted =
      request.format != nullptr ? request.format : derived_format(shape, request.options);
  switch (parse_tag_format(wanted, recipe.format)) {
    case FormatFault::key_type:
      return fail(block, Result::not_allowed, kBuild.detail(8));
    case FormatFault::key_length:
      return fail(block, Result::out_of_range, kBuild.detail(7));
    case FormatFault::none:
      break;
  }
  return gives(shape.type, recipe.format.key_type)
             ? Result::ok
             : fail(block, Result::mismatch, kBuild.detail(8));
}

// The blocks of a tag that is being made; they go back to the file unless it is kept.
class NewPages final : public PageStore {
 public:
  explicit NewPages(MdxStore& store) : store_(store) {}
  ~NewPages() {
    if (taken_.empty()) return;
    const std::int32_t detail = store_.block.detail;
    for (const PageNumber page : taken_) store_.release(page);
    static_cast<void>(store_.flush());
    store_.block.detail = detail;
  }
  NewPages(const NewPages&) = delete;
  NewPages& operator=(const NewPages&) = delete;

  Result take(std::span<PageNumber> pages) override {
    taken_.reserve(taken_.size() + pages.size());
    const Result result = store_.take(pages);
    if (ok(result)) taken_.insert(taken_.end(), pages.begin(), pages.end());
    return result;
  }
  void release(PageNumber) override {}
  Result write_taken() override { return store_.write_taken(); }

  std::uint32_t count() const {
    return static_cast<std::uint32_t>(taken_.size()) * store_.header().block_pages;
  }
  void keep() { taken_.clear(); }

 private:
  MdxStore& store_;
  std::vector<PageNumber> taken_;
};

Result pour_tag(table::Table& table, MdxStore& store, const Recipe& recipe, std::uint32_t count,
                Progress& progress, NewPages& pages, TagHeader& header) {
  const TagFormat& format = recipe.format;
  const PageLayout layout = header.layout(store.header().block_bytes());
  const char stream_type = format.key_type == 'D' ? 'T' : format.key_type;
  const StreamSpec spec = {format.descending, stream_type, format.key_length, format.unique};
  const bool collated = store.block.language == 1;
  const KeySource source = {table, *recipe.key, recipe.filter.get(),
                            expr::run_option::kKey | expr::run_option::kTagKey, count};
  const TreeTarget target = {store.system_file,
                             store.cache.grid(),
                             pages,
                             layout,
                             tag_key_order(store.block, format),
                             *stream_order(IndexFamily::mdx, spec, collated),
                             format.unique};
  return build_tree(source, target, progress, header.root);
}

Result write_tag_header(MdxStore& store, PageNumber page, const TagHeader& header) {
  std::vector<Byte> block(store.header().block_bytes());
  format_tag_header(header, block);
  const auto outcome =
      store.system_file.write_at(std::uint64_t{page} * kMdxUnitBytes, block.data(), block.size());
  return outcome.ok() ? Result::ok : fail(store.block, transfer_result(outcome), kWrite.detail(3));
}

// Builds the tag behind everything that is in the file; its entry in the tag table is what makes it
// part of the file. REQUIRES a bracket.
Result make_tag(table::Table& table, MdxStore& store, const Recipe& recipe, std::uint32_t count,
                Progress& progress, bool production) {
  const std::string_view name = recipe.name.data();
  if (store.tags().find(name) != nullptr) {
    return fail(store.block, Result::not_allowed, kBuild.detail(4));
  }
  if (store.tags().tags().size() == kMaxTags) {
    return fail(store.block, Result::out_of_range, kBuild.detail(5));
  }
  if (const Result result = store.flush(); !ok(result)) return result;
  NewPages pages(store);
  TagEntry entry = {0, recipe.name, 0, recipe.format.key_type};
  if (const Result result = pages.take({&entry.header_page, 1}); !ok(result)) return result;
  TagHeader header = new_tag_header(recipe.format, recipe.key_text, recipe.filter_text, 0,
                                    store.header().block_pages);
  entry.format = header.format_bits();
  Result result = pour_tag(table, store, recipe, count, progress, pages, header);
  header.pages = pages.count();
  if (ok(result)) result = pages.write_taken();
  if (ok(result)) result = write_tag_header(store, entry.header_page, header);
  // Its pages were written past the buffers, which may hold what they were before.
  if (ok(result)) result = store.flush();
  if (!ok(result)) return result;
  store.cache.drop_all();
  TagTable tags = store.tags();
  tags.add(entry);
  result = store.write_tags(tags, production);
  if (ok(result)) pages.keep();
  return result;
}

bool is_own_index(const table::Table& table, const MdxStore& store) {
  platform::File own;
  platform::FileIdentity identity;
  const std::string path = platform::resolve(replace_extension(table::path_of_table(table), "MDX"));
  return own.open(path, platform::Access::read_only).ok() && own.identity(identity).ok() &&
         identity == store.identity;
}

Result add_to(table::Table& table, MdxStore& store, const Recipe& recipe) {
  if (const Result result = store.check_whole(); !ok(result)) return result;
  // Where the table has no locks, the bracket is what keeps others from it.
  std::uint32_t count = 0;
  Result result = table::catch_up(table);
  if (ok(result)) result = table::record_count(table, count);
  if (!ok(result)) return result;
  Progress progress(store.block, std::uint64_t{2} * count);
  const bool own = is_own_index(table, store);
  const bool production = own || store.header().production;
  result = make_tag(table, store, recipe, count, progress, production);
  return ok(result) && own ? table::mark_production(table, kWrite.detail(4)) : result;
}

// Under the table's lock. To a file that others have removed or replaced since it was opened no tag
// is added: it would be lost.
Result add_in_bracket(table::Table& table, MdxStore& store, const Recipe& recipe, bool& lost) {
  return in_bracket(store, Purpose::changing, [&] {
    std::uint32_t names = 0;
    const auto counted = store.system_file.names(names);
    if (!counted.ok()) return fail(store.block, Result::io, kWrite.detail(5));
    lost = names == 0;
    return lost ? fail(store.block, Result::not_found, kWrite.detail(5))
                : add_to(table, store, recipe);
  });
}

// Takes away a file that was made for its first tag, unless it has got one from others. Those who
// wait for its lock see that it is gone; where open files cannot be removed it stays theirs.
void remove_unused(table::Table& table, const std::string& path) {
  VqBlock& block = table::block_of(table);
  const std::int32_t detail = block.detail;
  platform::File file;
  MdxHead head;
  const bool unused = file.open(path, platform::Access::read_write).ok() &&
                      ok(table::lock_whole_file(block, file, table::lock_scheme(table))) &&
                      ok(read_mdx_head(block, file, 0, head)) && head.header.tags == 0;
  if (!platform::kReplacesOpenFiles) static_cast<void>(file.close());
  if (unused) static_cast<void>(platform::remove(path));
  block.detail = detail;
}

Result open_and_add(table::Table& table, const char* name, const Recipe& recipe, bool& lost) {
  VqBlock& block = table::block_of(table);
  MdxFile* const file = open_mdx(table, name, table::open_mode_of(table), 0);
  if (file == nullptr) {
    const auto result = static_cast<Result>(block.result);
    lost = result == Result::not_found;
    return result;
  }
  Result result = Result::no_memory;
  try {
    result = add_in_bracket(table, file->store, recipe, lost);
  } catch (const std::bad_alloc&) {
    // The file is closed all the same, and goes if it was made for this.
  }
  const std::int32_t detail = block.detail;
  const Result closed = close_mdx(*file);
  if (ok(result)) return closed;
  block.detail = detail;
  return result;
}

// Adds the tag to the file, which is made when there is none; `lost` when others have taken the
// file away in between.
Result add_by_name(table::Table& table, const char* name, const Recipe& recipe, bool& lost) {
  bool made = false;
  Result result = create_missing_mdx(table, name, made);
  if (ok(result)) result = open_and_add(table, name, recipe, lost);
  if (!ok(result) && made) remove_unused(table, path_of(name, "MDX"));
  return result;
}

Result read_recipe(table::Table& table, MdxStore& old, const TagEntry& entry, TagHeaderImage& image,
                   Recipe& recipe) {
  TagHeader header;
  if (const Result result = read_tag_header(old, entry.header_page, image, header); !ok(result)) {
    return result;
  }
  recipe.name = entry.name;
  recipe.format = header.format;
  recipe.key_text = header.key;
  recipe.filter_text = header.filter;
  expr::ResultShape shape;
  if (const Result result = compile(table, recipe, shape); !ok(result)) return result;
  return gives(shape.type, header.format.key_type)
             ? Result::ok
             : fail(old.block, Result::mismatch, kRebuild.detail(3));
}

// A damaged header may still hold the expressions; what else a tag needs follows from them, and
// from its entry in the tag table.
bool guess_recipe(table::Table& table, const TagEntry& entry, const TagHeaderImage& image,
                  Recipe& recipe) {
  TagHeader header;
  if (!read_tag_texts(image, entry.format, header)) return false;
  const std::string key(header.key);
  const std::string filter(header.filter);
  std::uint32_t options = header.format.descending ? TagRequest::kDescending : 0;
  if (header.format.unique) options |= TagRequest::kUnique;
  const TagRequest request = {entry.name.data(), key.c_str(), nullptr,
                              filter.empty() ? nullptr : filter.c_str(), options};
  return ok(prepare(table, request, recipe)) && recipe.format.key_type == entry.key_type;
}

// The tags of a file as they are to be built again.
Result read_recipes(table::Table& table, MdxStore& old, std::span<const TagRequest> requests,
                    std::vector<Recipe>& recipes) {
  for (const TagEntry& entry : old.tags().tags()) {
    TagHeaderImage image;
    Recipe& recipe = recipes.emplace_back();
    const Result result = read_recipe(table, old, entry, image, recipe);
    if (ok(result)) continue;
    if (result == Result::io || result == Result::no_memory) return result;
    const std::int32_t detail = old.block.detail;
    const auto request = std::ranges::find_if(requests, [&](const TagRequest& each) {
      std::array<char, kMaxTagName + 1> name = {};
      return make_tag_name(each.name, name) && name == entry.name;
    });
    recipe = {};
    const bool known = request != requests.end() ? ok(prepare(table, *request, recipe))
                                                 : guess_recipe(table, entry, image, recipe);
    if (!known) return fail(old.block, result, detail);
  }
  return Result::ok;
}

// The old head without tags and blocks.
MdxHead emptied(const MdxHead& old) {
  MdxHead head;
  head.header.block_pages = old.header.block_pages;
  head.header.production = old.header.production;
  head.pages_in_file = kFirstMdxBlock;
  MdxHeaderBytes bytes;
  std::copy_n(old.bytes.begin(), bytes.size(), bytes.begin());
  store_mdx_header(head.header, convert::today(), bytes);
  std::ranges::copy(bytes, head.bytes.begin());
  return head;
}

Result build_all(table::Table& table, const std::vector<Recipe>& recipes, MdxStore& store) {
  std::uint32_t count = 0;
  if (const Result result = table::record_count(table, count); !ok(result)) return result;
  Progress progress(store.block, std::uint64_t{2} * count * recipes.size());
  const bool production = store.header().production;
  Result result = store.write_tags(store.tags(), production);
  for (const Recipe& recipe : recipes) {
    if (ok(result)) result = make_tag(table, store, recipe, count, progress, production);
  }
  return result;
}

// Under the table's lock, and with the file that is there kept from changing.
Result rebuild_held(table::Table& table, const std::string& path,
                    std::span<const TagRequest> requests, ReplacedFile& replaced) {
  VqBlock& block = table::block_of(table);
  platform::File old_file;
  MdxHead head;
  Result result = open_file(block, path, open_mode::kReadOnly, old_file);
  if (ok(result)) result = read_mdx_head(block, old_file, 0, head);
  if (!ok(result)) return result;
  std::vector<Recipe> recipes;
  {
    MdxStore old(block, head);
    if (!old.attach(std::move(old_file), open_mode::kReadOnly, table::lock_scheme(table), 0)) {
      return fail(block, Result::no_memory, kRebuild.detail(4));
    }
    result = read_recipes(table, old, requests, recipes);
  }
  if (!ok(result)) return result;

  TemporaryFile growing;
  platform::File file;
  auto made = growing.make_beside(path);
  if (made.ok()) made = file.open(growing.path(), platform::Access::read_write);
  if (!made.ok()) return fail(block, open_result(made.error), kCreate.detail(5));
  MdxStore store(block, emptied(head));
  if (!store.attach(std::move(file), 0, table::lock_scheme(table), 0)) {
    return fail(block, Result::no_memory, kRebuild.detail(4));
  }
  result = build_all(table, recipes, store);
  const std::int32_t detail = block.detail;
  const Result closed = store.close(kCreate.detail(6));
  if (!ok(result)) {
    block.detail = detail;
    return result;
  }
  if (!ok(closed)) return closed;
  const auto placed = replaced.give_way_to(growing);
  if (!placed.ok()) return fail(block, open_result(placed.error), kRebuild.detail(5));
  // Packing the table has taken its mark away.
  return head.header.production ? table::mark_production(table, kRebuild.detail(6)) : Result::ok;
}

}  // namespace

Result add_tag(MdxFile& file, const TagRequest& request) {
  MdxStore& store = file.store;
  if (store.is_read_only()) return fail(file.block, Result::read_only, kBuild.detail(0));
  table::Table* const table = table::find_live(file.table);
  if (table == nullptr) return fail(file.block, Result::bad_handle, kBuild.detail(2));
  Recipe recipe;
  if (const Result result = prepare(*table, request, recipe); !ok(result)) return result;
  TableHold hold(*table);
  if (const Result result = hold.take(); !ok(result)) return result;
  bool lost = false;
  return hold.release_after(add_in_bracket(*table, store, recipe, lost));
}

Result build_mdx(table::Table& table, const char* name, const TagRequest& request) {
  Recipe recipe;
  if (const Result result = prepare(table, request, recipe); !ok(result)) return result;
  TableHold hold(table);
  if (const Result result = hold.take(); !ok(result)) return result;
  Result result = Result::ok;
  bool lost = true;
  for (int tries = 0; lost && tries < kMostTries; ++tries) {
    lost = false;
    result = add_by_name(table, name, recipe, lost);
  }
  return hold.release_after(result);
}

Result rebuild_mdx(table::Table& table, const char* name, std::span<const TagRequest> requests) {
  VqBlock& block = table::block_of(table);
  if ((table::open_mode_of(table) & open_mode::kShared) != 0) {
    return fail(block, Result::not_allowed, kRebuild.detail(2));
  }
  TableHold hold(table);
  if (const Result result = hold.take(); !ok(result)) return result;
  ReplacedFile replaced(block, table::lock_scheme(table));
  Result result = replaced.take(path_of(name, "MDX"), kRebuild.detail(7));
  if (ok(result)) result = rebuild_held(table, path_of(name, "MDX"), requests, replaced);
  return hold.release_after(result);
}

}  // namespace vqdb::index
