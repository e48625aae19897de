#include "check/ndx_check.h"

#include "expr/expression.h"
#include "index/ndx/ndx_header.h"
#include "index/ndx/ndx_open.h"

namespace vqdb::check {
namespace {

using index::kNdxPageBytes;
using index::NdxHeader;

void check_flags(const NdxHeader& header, FileFindings& findings) {
  const bool unique = header.unique != 0;
  if (unique != header.says_unique_throughout() ||
      (!unique && !header.is_ndx3() && (header.flags & index::ndx_flag::kUnique) != 0)) {
    findings.add(VQ_F_INDEX_FLAGS, {},
                 "The header says in one place that keys are unique, in another that not.");
  }
  if (header.numeric != (header.key_type != 'C')) {
    findings.add(VQ_F_INDEX_FLAGS, {},
                 "The header says in one place that keys are texts, in another that not.");
  }
}

// The header, where it can head a tree.
Result read_header(HeldFile& file, FileFindings& findings, index::NdxPageBytes& page,
                   NdxHeader& header, bool& sound) {
  sound = false;
  if (file.size() < kNdxPageBytes) {
    findings.add(VQ_F_INDEX_SHORT, {}, "The file is shorter than an index header.");
    return Result::ok;
  }
  if (const Result result = file.read(0, page.data(), page.size()); !ok(result)) return result;
  if (!index::parse_ndx_header(page, header)) {
    findings.add(VQ_F_INDEX_HEADER, {}, "No NDX file has such a header.");
    return Result::ok;
  }
  const std::uint64_t pages = file.size() / kNdxPageBytes;
  if (header.next_free > pages) {
    findings.add(VQ_F_INDEX_SHORT, {},
                 numbered("The header counts ", header.next_free,
                          numbered(" pages, the file has ", pages, ".")));
    return Result::ok;
  }
  check_flags(header, findings);
  sound = true;
  return header.unfinished ? complete_index(file, findings, header.next_free) : Result::ok;
}

}  // namespace

Result check_ndx(HeldFile& file, const IndexedTable& table, FileFindings& findings,
                 Progress& progress) {
  VqBlock& block = file.block();
  index::NdxPageBytes page = {};
  NdxHeader header;
  bool sound = false;
  Result result = read_header(file, findings, page, header, sound);
  if (!ok(result)) return result;
  if (!sound) {
    if (table.table != nullptr) {
      findings.add(VQ_F_NOT_COMPARED, {},
                   "The keys were not compared with the table, since the index is damaged.");
    }
    return Result::ok;
  }
  const KeyTree tree = {.shape = {.layout = header.layout(),
                                  .order = &index::ndx_key_order(block, header.key_type),
                                  .unique = header.unique != 0,
                                  .root = header.root,
                                  .unit_bytes = kNdxPageBytes,
                                  .first_page = 1,
                                  .page_end = header.next_free},
                        .key_type = header.key_type,
                        .run_options = expr::run_option::kKey,
                        .key = std::string(header.expression)};
  PageUse use(1, header.next_free);
  ChunkReader reader(file);
  result = reader.start(kTreeChunks);
  if (ok(result)) {
    result = check_key_tree(block, reader, tree, use, table, findings, progress, sound);
  }
  if (ok(result) && sound && use.left() != 0) {
    findings.add(VQ_F_PAGES_LOST, {}, numbered("Nothing leads to ", use.left(), " pages."));
  }
  return result;
}

}  // namespace vqdb::check
