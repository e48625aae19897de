// Any bytes as an NDX file: opened in some mode, then walked, searched and, where the mode lets it,
// changed, with keys taken from the input; then the same once more, opened again.

#include "index_subject.h"

namespace {

constexpr std::int32_t kUnique = 4096;

class Subject : public vqdb::fuzz::IndexSubject {
 public:
  Subject()
      : IndexSubject({dNgetrno, dNputkey, dNrmkey, dNnxtkey, dNprvkey, dNrewind, dNforwrd, dNkeylen,
                      dNkeytyp, dNcheck},
                     ".NDX") {}

  void run(vqdb::fuzz::Input input) {
    const std::uint32_t mode = begin(input);
    for (int round = 0; round < 2; ++round) {
      VqIndex* const index = dNopen(table(), name(), mode, 4);
      if (index == nullptr) return;
      std::array<char, 512> text;
      std::int32_t flags = 0;
      dNexpr(index, text.data(), text.size(), &flags);
      work(index, (flags & kUnique) != 0);
      dNclose(index);
      end();
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Subject subject;
  subject.run({data, size});
  return 0;
}
