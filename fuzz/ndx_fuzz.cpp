// Any bytes as an NDX file: opened in some mode, then walked, searched and, where the mode lets it,
// changed, with keys taken from the input.

#include "index_subject.h"

namespace {

class Subject : public vqdb::fuzz::IndexSubject {
 public:
  Subject() : IndexSubject({dNgetrno, dNputkey, dNrmkey, dNnxtkey, dNprvkey}, ".NDX") {}

  void run(const std::uint8_t* data, std::size_t size) {
    const std::uint32_t mode = take(data, size);
    VqIndex* const index = dNopen(table(), name(), mode, 4);
    if (index == nullptr) return;
    work(index);
    dNflush(index);
    work(index);
    dNclose(index);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Subject subject;
  if (size > 1) subject.run(data, size);
  return 0;
}
