// libFuzzer target: any bytes read as delimited text must give a tree whose
// columns all have the same length, or a message, never a crash, hang or
// sanitizer report.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "results/delimited_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string why;
  // A small cell budget keeps each input fast; past it comes a message.
  auto tree = quorvix::results::ParseDelimited(text, "fuzz", 1'000'000, &why);
  if (tree == nullptr) {
    if (why.empty()) std::abort();
    return 0;
  }
  const auto& components = tree->subcases.at(0).types.at(0).requests.at(0).components;
  for (const auto& c : components)
    if (c.values.size() != components.front().values.size()) std::abort();
  return 0;
}
