#include "results/tree_lookup.h"

#include <cstddef>

namespace quorvix::results {

namespace {

// `name` == prefix + sep + rest.
bool Joined(std::string_view name, const std::string& prefix, char sep, const std::string& rest) {
  return name.size() == prefix.size() + 1 + rest.size() &&
         name.substr(0, prefix.size()) == prefix && name[prefix.size()] == sep &&
         name.substr(prefix.size() + 1) == rest;
}

// Walks every component in order until `match` holds for one.
template <typename Match>
bool Walk(const Subcase& subcase, Address& at, Match match) {
  for (std::size_t t = 0; t < subcase.types.size(); ++t) {
    const DataType& type = subcase.types[t];
    for (std::size_t r = 0; r < type.requests.size(); ++r) {
      const Request& request = type.requests[r];
      for (std::size_t c = 0; c < request.components.size(); ++c) {
        if (match(request, c)) {
          at = {static_cast<int>(t), static_cast<int>(r), static_cast<int>(c)};
          return true;
        }
      }
    }
  }
  return false;
}

}  // namespace

bool FindByName(const Subcase& subcase, std::string_view name, Address& at) {
  // One name is a data type's name first, as read(file, NAME) asks for it;
  // only when no type has it do components and requests stand in, so a MAT
  // variable called "all" or "1" is never taken for a column of another.
  for (std::size_t t = 0; t < subcase.types.size(); ++t) {
    const DataType& type = subcase.types[t];
    if (type.name == name && !type.requests.empty() && !type.requests[0].components.empty()) {
      at = {static_cast<int>(t), 0, 0};
      return true;
    }
  }
  if (Walk(subcase, at,
           [&](const Request& r, std::size_t c) { return r.components[c].name == name; }))
    return true;
  if (Walk(subcase, at, [&](const Request& r, std::size_t c) { return c == 0 && r.name == name; }))
    return true;
  for (char sep : {'.', '/'})
    if (Walk(subcase, at, [&](const Request& r, std::size_t c) {
          return Joined(name, r.name, sep, r.components[c].name);
        }))
      return true;
  return false;
}

Component* ComponentAt(Subcase& subcase, const Address& at) {
  if (at.type < 0 || static_cast<std::size_t>(at.type) >= subcase.types.size()) return nullptr;
  DataType& type = subcase.types[at.type];
  if (at.request < 0 || static_cast<std::size_t>(at.request) >= type.requests.size())
    return nullptr;
  Request& request = type.requests[at.request];
  if (at.component < 0 || static_cast<std::size_t>(at.component) >= request.components.size())
    return nullptr;
  return &request.components[at.component];
}

const Component* ComponentAt(const Subcase& subcase, const Address& at) {
  return ComponentAt(const_cast<Subcase&>(subcase), at);
}

}  // namespace quorvix::results
