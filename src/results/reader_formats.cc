#include <algorithm>
#include <mutex>

#include "results/result_tree.h"

namespace quorvix::results {

namespace {

struct Formats {
  std::mutex lock;
  std::vector<ReaderFormat> list;
};

Formats& TheFormats() {
  static Formats formats;
  return formats;
}

}  // namespace

void AddReaderFormat(const ReaderFormat& format) {
  Formats& f = TheFormats();
  std::lock_guard<std::mutex> hold(f.lock);
  for (const ReaderFormat& known : f.list)
    if (known.open == format.open) return;
  // Stable: equal ranks keep the order they were added in.
  auto at = std::upper_bound(f.list.begin(), f.list.end(), format.rank,
                             [](int rank, const ReaderFormat& r) { return rank < r.rank; });
  f.list.insert(at, format);
}

std::vector<ReaderFormat> ReaderFormats() {
  Formats& f = TheFormats();
  std::lock_guard<std::mutex> hold(f.lock);
  return f.list;
}

}  // namespace quorvix::results
