// The checks that hosts can ask for. Each returns the number of errors that were found, or a
// negative result when it could not be done. Nothing is changed.
#ifndef VQDBSYS_CHECK_CHECK_H_
#define VQDBSYS_CHECK_CHECK_H_

#include <cstdint>

#include "vqdbsys.h"

namespace vqdb::check {

struct Request {
  VqBlock& block;
  const char* name;
  VqCheckOptions options;
  VqReport report;
  void* context;
};

std::int32_t check_group(const Request& request);
std::int32_t check_table(const Request& request);
std::int32_t check_memo_file(const Request& request);
std::int32_t check_ndx_file(const Request& request);
std::int32_t check_mdx_file(const Request& request);

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_CHECK_H_
