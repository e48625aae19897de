// Records as a person reads them: a table, or one under the other where the fields are too many for
// the terminal's width.
#ifndef VQDB_GRID_H_
#define VQDB_GRID_H_

#include <string>
#include <vector>

#include "row_format.h"
#include "screen.h"

namespace tool {

class Grid {
 public:
  Grid(const RowShape& shape, Screen& screen);

  // False once nobody reads any more.
  bool add(const Row& row);
  void finish();

 private:
  struct Column {
    std::string name;
    bool right;             // numbers
    std::size_t most;       // columns that a value can take, by the field's width
    std::size_t width = 0;  // that values took so far
  };
  using Line = std::vector<std::string>;

  void settle();
  void shrink(std::size_t room);
  bool print(const Line& line);
  bool print_under_each_other(const Line& line);
  std::string header() const;

  Screen& screen_;
  bool marks_deleted_;
  std::vector<Column> columns_;
  // The first lines wait, so that the columns become as wide as they have to be.
  std::vector<Line> waiting_;
  bool settled_ = false;
  bool under_each_other_ = false;
};

}  // namespace tool

#endif  // VQDB_GRID_H_
