// Any bytes as an MDX file: opened in some mode, its tags listed, activated, walked, searched and,
// where the mode lets it, changed with keys taken from the input, dropped and made.

#include "index_subject.h"

namespace {

constexpr std::size_t kListEntry = 19;

class Subject : public vqdb::fuzz::IndexSubject {
 public:
  Subject() : IndexSubject({dXgetrno, dXputkey, dXrmkey, dXnxtkey, dXprvkey}, ".MDX") {}

  void run(const std::uint8_t* data, std::size_t size) {
    const std::uint32_t mode = take(data, size);
    VqIndex* const file = dXopen(table(), name(), mode, 4);
    if (file == nullptr) return;
    std::array<char, 47 * kListEntry> list;
    const std::int32_t tags = dXtags(file);
    dXsortag(file, list.data());
    for (std::int32_t i = 0; i < std::min(tags, 4); ++i) {
      const char* const tag = list.data() + static_cast<std::size_t>(i) * kListEntry + 4;
      use(dXactidx(file, tag));
      if (data[0] % 8 == 7) dXdeltag(file, tag);
    }
    dXindex(file, "FUZZED", "NAME", "C10", "AMOUNT > 0");
    use(dXactidx(file, "FUZZED"));
    dXflush(file);
    dXclose(file);
    if (data[0] % 8 == 3) dXreindx(table(), name());
  }

 private:
  void use(VqIndex* tag) {
    if (tag == nullptr) return;
    std::array<char, 512> text;
    std::int32_t flags = 0;
    dXexpr(tag, text.data(), static_cast<std::int32_t>(text.size()), &flags);
    work(tag);
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static Subject subject;
  if (size > 1) subject.run(data, size);
  return 0;
}
