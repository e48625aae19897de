// MDX files: head, tag table, tag headers, the trees of the tags, and the free list, which share
// the file's blocks without meeting.
#ifndef VQDBSYS_CHECK_MDX_CHECK_H_
#define VQDBSYS_CHECK_MDX_CHECK_H_

#include "check/findings.h"
#include "check/held_file.h"
#include "check/key_tree_check.h"
#include "frame/progress.h"

namespace vqdb::check {

// How many tags the file names, as far as that can be told.
Result count_tags(HeldFile& file, std::uint32_t& tags);

Result check_mdx(HeldFile& file, const IndexedTable& table, FileFindings& findings,
                 Progress& progress);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_MDX_CHECK_H_
