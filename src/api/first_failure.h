// The first failure of a row of steps that all have to be taken.
#ifndef VQDBSYS_API_FIRST_FAILURE_H_
#define VQDBSYS_API_FIRST_FAILURE_H_

#include <cstdint>

#include "frame/result.h"

namespace vqdb::api {

class FirstFailure {
 public:
  explicit FirstFailure(VqBlock& block) : block_(block) {}

  // Takes note of a step. Steps after the first failure leave its detail code in the block.
  void note(Result result) {
    if (!ok(result_)) {
      block_.detail = detail_;
    } else if (!ok(result)) {
      result_ = result;
      detail_ = block_.detail;
    }
  }

  Result result() const { return result_; }

 private:
  VqBlock& block_;
  Result result_ = Result::ok;
  std::int32_t detail_ = 0;
};

}  // namespace vqdb::api

#endif  // VQDBSYS_API_FIRST_FAILURE_H_
