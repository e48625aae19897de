// An index that gives a table its order: an NDX file, or a tag of an MDX file.
#ifndef VQDB_ORDER_H_
#define VQDB_ORDER_H_

#include <vqdbsys.h>

#include <deque>
#include <memory>
#include <string>

#include "table.h"

namespace tool {

class Order {
 public:
  // `name` is "byname" or "byname.ndx"; for a tag "orders.mdx;byname".
  Order(const Table& table, const std::string& name, bool reverse);
  ~Order();
  Order(const Order&) = delete;
  Order& operator=(const Order&) = delete;

  char key_type() const { return key_type_; }

  // Begins with the keys at or behind this one (as a person writes it), instead of the first.
  void start_at(const std::string& key);
  // The next record number; false at the end.
  bool next(std::uint32_t& recno);
  // Goes to the first record with this key, or with `prefix` to the first whose key begins so, and
  // limits next() to those.
  void find(const std::string& key, bool prefix);

 private:
  struct Calls;
  std::string key_of(const std::string& text, bool padded) const;
  bool step(bool back, std::uint32_t& recno);
  void fill();
  bool seek(const std::string& key, std::uint32_t& recno);
  [[noreturn]] void stop(int32_t result) const;

  const Table& table_;
  std::string name_;
  bool reverse_;
  const Calls* calls_ = nullptr;
  VqIndex* file_ = nullptr;
  VqIndex* tag_ = nullptr;  // what is walked; the file itself where it is a single index
  char key_type_ = 0;
  std::size_t key_length_ = 0;
  std::string key_;     // of the entry last stepped to
  std::string wanted_;  // begins the keys that find() asked for
  bool only_wanted_ = false;
  bool at_end_ = false;
  std::deque<std::uint32_t> ahead_;
};

}  // namespace tool

#endif  // VQDB_ORDER_H_
