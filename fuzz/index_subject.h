// What the targets for index files share: a table in a folder of its own, the input as an index
// file of it, and work on its trees. What the checker finds sound has to keep to a model: walks in
// both directions and searches agree with each other and with what is inserted and removed, and the
// file is sound afterwards. What is damaged only has to be survived.
#ifndef VQDBSYS_FUZZ_INDEX_SUBJECT_H_
#define VQDBSYS_FUZZ_INDEX_SUBJECT_H_

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "folder.h"
#include "vqdbsys.h"

namespace vqdb::fuzz {

class IndexSubject {
 public:
  // The calls of an index kind.
  struct Calls {
    decltype(&dNgetrno) find;
    decltype(&dNputkey) put;
    decltype(&dNrmkey) remove;
    decltype(&dNnxtkey) next;
    decltype(&dNprvkey) previous;
    decltype(&dNrewind) rewind;
    decltype(&dNforwrd) forward;
    decltype(&dNkeylen) key_length;
    decltype(&dNkeytyp) key_type;
    decltype(&dNcheck) check;
  };

  IndexSubject(const Calls& calls, const char* extension)
      : calls_(calls), name_(folder_.file("I") + extension) {
    const char* const fields[] = {"NAME", "C10", "AMOUNT", "N10.2", "DUE", "D"};
    const std::string name = folder_.file("T");
    expect(DBinit(&block_, 2) == 0 && dDcreat(&block_, name.c_str(), 3, fields) == 0);
    table_ = dDopen(&block_, name.c_str(), 0, 4);
    expect(table_ != nullptr);
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
      const std::string record = std::string(" ") + letter + "                12.5019950101";
      expect(dDapprec(table_, record.c_str()) == 0);
    }
  }
  ~IndexSubject() { dDclose(table_); }
  IndexSubject(const IndexSubject&) = delete;
  IndexSubject& operator=(const IndexSubject&) = delete;

 protected:
  VqTable* table() const { return table_; }
  const char* name() const { return name_.c_str(); }
  const std::vector<Step>& steps() const { return steps_; }

  // An input is a byte that chooses the mode, which is returned, the steps, and the file.
  std::uint32_t begin(Input input) {
    constexpr std::array<std::uint32_t, 4> kModes = {0, 4, 1, 2};
    const std::uint32_t mode = kModes[take_byte(input) % kModes.size()];
    steps_ = take_steps(input);
    write_file(name_, input);
    is_sound_ = is_sound();
    may_change_ = (mode & VQ_OPEN_READ_ONLY) == 0;
    return mode;
  }
  // Once the file is closed.
  void end() { expect(!is_sound_ || is_sound()); }

  void work(VqIndex* index, bool unique) {
    Tree tree{.calls = calls_, .index = index, .may_change = may_change_, .unique = unique};
    tree.learn();
    for (const Step& step : steps_) tree.take(step, is_sound_);
    tree.compare(is_sound_);
  }

 private:
  using Key = std::array<char, 256>;
  using Entry = std::pair<std::string, std::uint32_t>;
  using Entries = std::vector<Entry>;

  struct Tree {
    const Calls& calls;
    VqIndex* index;
    bool may_change;
    bool unique;
    Entries entries = {};  // the model, in the order of the first walk
    std::size_t length = 0;
    char type = 0;

    void learn() {
      length = static_cast<std::size_t>(calls.key_length(index));
      type = static_cast<char>(calls.key_type(index));
      entries = walk(calls.rewind, calls.next, VQ_E_INDEX_END).second;
    }

    // The entries, and whether the walk came to its end.
    std::pair<bool, Entries> walk(decltype(&dNrewind) to_end, decltype(&dNnxtkey) step,
                                  std::int32_t end) {
      constexpr std::size_t kMost = 5000;
      std::pair<bool, Entries> walked;
      Key key;
      std::uint32_t recno = 0;
      std::int32_t result = to_end(index);
      while (result == 0 && walked.second.size() < kMost) {
        result = step(index, key.data(), &recno);
        if (result == 0) walked.second.emplace_back(std::string(key.data(), length), recno);
      }
      walked.first = result == end;
      return walked;
    }

    std::string key_of(std::uint8_t value) const {
      if (value % 2 == 0 && !entries.empty()) return entries[value % entries.size()].first;
      std::string key(length, ' ');
      if (type == 'C') {
        for (std::size_t i = 0; i < length; i += 4) key[i] = static_cast<char>('A' + value % 26);
      } else if (length == sizeof(double)) {
        const double number = value * 1.25;
        std::memcpy(key.data(), &number, sizeof number);
      } else {
        const std::string digits = std::to_string(value);
        dUnftonk(nullptr, 16, digits.c_str(), static_cast<std::int32_t>(digits.size()), key.data());
      }
      return key;
    }

    std::size_t count(const std::string& key) const {
      return static_cast<std::size_t>(
          std::ranges::count(entries, key, [](const Entry& entry) { return entry.first; }));
    }

    void take(const Step& step, bool is_sound) {
      const std::string key = key_of(step.value);
      switch (step.action % 4) {
        case 0:
          return find(key, is_sound);
        case 1:
        case 2:
          return put({key, 1000U + step.value + step.action}, is_sound);
        default:
          return remove({key, entries.empty() ? 1 : entries[step.value % entries.size()].second},
                        is_sound);
      }
    }

    void find(const std::string& key, bool is_sound) {
      std::uint32_t recno = 0;
      const std::int32_t result = calls.find(index, key.data(), &recno);
      if (!is_sound) return;
      expect(result == (count(key) > 0 ? 0 : VQ_E_NOT_FOUND));
      if (result != 0) return;
      expect(std::ranges::find(entries, Entry(key, recno)) != entries.end());
      // The first of its equals: a step back leads to another key.
      Key before;
      if (calls.previous(index, before.data(), &recno) == 0) {
        expect(std::memcmp(before.data(), key.data(), length) != 0);
      }
    }

    void put(const Entry& entry, bool is_sound) {
      const std::int32_t result = calls.put(index, entry.first.data(), entry.second);
      if (result == 0) entries.push_back(entry);
      if (!is_sound) return;
      const bool refused = unique && result == VQ_E_INDEX_PAGE && count(entry.first) > 0;
      expect(may_change ? result == 0 || refused : result == VQ_E_READ_ONLY);
    }

    void remove(const Entry& entry, bool is_sound) {
      const auto found = std::ranges::find(entries, entry);
      const std::int32_t result = calls.remove(index, entry.first.data(), entry.second);
      const std::int32_t expected = !may_change              ? VQ_E_READ_ONLY
                                    : found == entries.end() ? VQ_E_NOT_FOUND
                                                             : 0;
      if (is_sound) expect(result == expected);
      if (result == 0 && found != entries.end()) entries.erase(found);
    }

    void compare(bool is_sound) {
      auto [ends, forward] = walk(calls.rewind, calls.next, VQ_E_INDEX_END);
      auto [begins, backward] = walk(calls.forward, calls.previous, VQ_E_INDEX_START);
      if (!is_sound) return;
      expect(ends && begins);
      std::ranges::reverse(backward);
      expect(forward == backward);
      std::ranges::sort(forward);
      std::ranges::sort(entries);
      expect(forward == entries);
    }
  };

  // Of what the file says of itself.
  bool is_sound() { return calls_.check(&block_, name(), nullptr, nullptr, nullptr) == 0; }

  const Calls calls_;
  Folder folder_;
  const std::string name_;
  VqBlock block_ = {};
  VqTable* table_ = nullptr;
  std::vector<Step> steps_;
  bool is_sound_ = false;
  bool may_change_ = false;
};

}  // namespace vqdb::fuzz

#endif  // VQDBSYS_FUZZ_INDEX_SUBJECT_H_
