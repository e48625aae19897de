// What a check finds, on its way to the host: every finding has a code whose severity is fixed, and
// the host may end the work with its answer.
#ifndef VQDBSYS_CHECK_FINDINGS_H_
#define VQDBSYS_CHECK_FINDINGS_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/result.h"
#include "vqdbsys.h"

namespace vqdb::check {

// VQ_SEVERITY_ of a code.
std::int32_t severity_of(std::int32_t code);

struct Place {
  std::uint64_t offset = 0;  // of the first byte in question
  std::uint32_t record = 0;
  std::uint32_t page = 0;
  const char* name = nullptr;  // field or tag; of a backup
};

class Findings {
 public:
  Findings(VqBlock& block, VqReport report, void* context)
      : block_(block), report_(report), context_(context) {}

  void add(const char* file, std::int32_t code, const Place& place, const char* text);
  // ok until the host has had enough.
  Result proceed() const;
  // Findings of severity error, as many as a result can tell.
  std::int32_t errors() const { return errors_; }

 private:
  VqBlock& block_;
  const VqReport report_;
  void* const context_;
  std::int32_t errors_ = 0;
  bool stopped_ = false;
};

// The findings in one file.
class FileFindings {
 public:
  FileFindings(Findings& all, std::string path) : all_(all), path_(std::move(path)) {}

  void add(std::int32_t code, const Place& place, const std::string& text) {
    if (severity_of(code) == VQ_SEVERITY_ERROR) ++errors_;
    all_.add(path_.c_str(), code, place, text.c_str());
  }
  Result proceed() const { return all_.proceed(); }
  const std::string& path() const { return path_; }
  bool has_errors() const { return errors_ != 0; }

 private:
  Findings& all_;
  const std::string path_;
  std::uint64_t errors_ = 0;
};

class HeldFile;

// An index file whose header has the mark of an unfinished flush, and counts pages up to this one,
// is read as its redo log completes it.
Result complete_index(HeldFile& file, FileFindings& findings, std::uint32_t end);

// "record 7", "3 pages": a number in a text.
std::string numbered(std::string_view before, std::uint64_t number, std::string_view behind = "");

}  // namespace vqdb::check

#endif  // VQDBSYS_CHECK_FINDINGS_H_
