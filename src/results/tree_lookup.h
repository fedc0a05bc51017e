// Finding data in a result tree by name, the same way for every format, so
// that read(file, NAME) finds a delimited column by its header, a MATLAB
// variable or struct field ("s.f") and an HDF5 dataset ("/group/data")
// whichever way their readers split the name into request and component.
#ifndef QUORVIX_RESULTS_TREE_LOOKUP_H
#define QUORVIX_RESULTS_TREE_LOOKUP_H

#include <string_view>

#include "results/result_tree.h"

namespace quorvix::results {

struct Address {
  int type = -1;
  int request = -1;
  int component = -1;
};

// The first match in the subcase, trying in turn: a data type's name (its
// first request's first component); a component's name; a request's name
// (its first component); request + "." + component; request + "/" +
// component. False when nothing matches.
bool FindByName(const Subcase& subcase, std::string_view name, Address& at);

// The component at the address, or null when any index is out of range.
const Component* ComponentAt(const Subcase& subcase, const Address& at);
Component* ComponentAt(Subcase& subcase, const Address& at);

}  // namespace quorvix::results

#endif  // QUORVIX_RESULTS_TREE_LOOKUP_H
