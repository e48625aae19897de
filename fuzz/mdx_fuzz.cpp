// Any bytes as an MDX file: opened in some mode, its tags listed, activated, walked, searched and,
// where the mode lets it, changed with keys taken from the input, dropped and made.

#include "index_subject.h"

namespace {

constexpr std::size_t kListEntry = 19;
constexpr std::int32_t kUnique = 4096;

class Subject : public vqdb::fuzz::IndexSubject {
 public:
  Subject()
      : IndexSubject({dXgetrno, dXputkey, dXrmkey, dXnxtkey, dXprvkey, dXrewind, dXforwrd, dXkeylen,
                      dXkeytyp, dXcheck},
                     ".MDX") {}

  void run(vqdb::fuzz::Input input) {
    const std::uint8_t choice = input.empty() ? std::uint8_t{0} : input[0];
    const std::uint32_t mode = begin(input);
    VqIndex* const file = dXopen(table(), name(), mode, 4);
    if (file == nullptr) return;
    std::array<char, 47 * kListEntry> list;
    const std::int32_t tags = dXtags(file);
    dXsortag(file, list.data());
    for (std::int32_t i = 0; i < std::min(tags, 4); ++i) {
      const char* const tag = list.data() + static_cast<std::size_t>(i) * kListEntry + 4;
      use(dXactidx(file, tag));
      if ((choice & 4) != 0) dXdeltag(file, tag);
    }
    dXindex(file, "FUZZED", "NAME", "C10", "AMOUNT > 0");
    use(dXactidx(file, "FUZZED"));
    dXclose(file);
    end();
    if ((choice & 8) != 0) dXreindx(table(), name());
  }

 private:
  void use(VqIndex* tag) {
    if (tag == nullptr) return;
    std::array<char, 512> text;
    std::int32_t flags = 0;
    dXexpr(tag, text.data(), static_cast<std::int32_t>(text.size()), &flags);
    work(tag, (flags & kUnique) != 0);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Subject subject;
  subject.run({data, size});
  return 0;
}
