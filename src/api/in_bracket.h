// Work on an index file that nobody else changes meanwhile.
#ifndef VQDBSYS_API_IN_BRACKET_H_
#define VQDBSYS_API_IN_BRACKET_H_

#include "api/database.h"
#include "api/first_failure.h"
#include "frame/result.h"

namespace vqdb::api {

// Runs the work inside a bracket of the file, entered in this way, which is left however the work
// ends. The first failure counts, with its detail code.
template <typename Work>
Result in_bracket(Database& database, Member& file, Result (*index::Bracket::*enter)(index::Index&),
                  Work work) {
  const index::Bracket& bracket = file.bracket();
  if (const Result result = (bracket.*enter)(*file.index); !ok(result)) return result;
  FirstFailure failure(database.owner_block());
  try {
    failure.note(work());
  } catch (...) {  // memory ran out
    static_cast<void>(bracket.leave(*file.index));
    throw;
  }
  failure.note(bracket.leave(*file.index));
  return failure.result();
}

}  // namespace vqdb::api

#endif  // VQDBSYS_API_IN_BRACKET_H_
