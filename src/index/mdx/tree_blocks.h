// The blocks of a tag's tree, found from its root down. Leaves are not read: the way down to one of
// them says how many levels there are.
#ifndef VQDBSYS_INDEX_MDX_TREE_BLOCKS_H_
#define VQDBSYS_INDEX_MDX_TREE_BLOCKS_H_

#include <vector>

#include "frame/result.h"
#include "index/mdx/mdx_store.h"
#include "index/mdx/tag_header.h"

namespace vqdb::index {

class TreeBlocks {
 public:
  // What is in the store's buffers counts before the file.
  TreeBlocks(MdxStore& store, const TagHeader& header, PageNumber root)
      : store_(store), layout_(header.layout(store.header().block_bytes())), blocks_{root} {}

  // Details of reading pages, and 10336 (a damaged tree). May throw std::bad_alloc.
  Result collect();
  // Those that were found, none of them looked at but pages above leaves.
  const std::vector<PageNumber>& blocks() const { return blocks_; }

 private:
  Result add_children(PageNumber number, bool& is_leaf);

  MdxStore& store_;
  const PageLayout layout_;
  std::vector<PageNumber> blocks_;
};

}  // namespace vqdb::index

#endif  // VQDBSYS_INDEX_MDX_TREE_BLOCKS_H_
