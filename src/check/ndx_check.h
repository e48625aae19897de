// NDX files: the header, and the tree that it describes.
#ifndef VQDBSYS_CHECK_NDX_CHECK_H_
#define VQDBSYS_CHECK_NDX_CHECK_H_

#include "check/findings.h"
#include "check/held_file.h"
#include "check/key_tree_check.h"
#include "frame/progress.h"

namespace vqdb::check {

Result check_ndx(HeldFile& file, const IndexedTable& table, FileFindings& findings,
                 Progress& progress);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_NDX_CHECK_H_
