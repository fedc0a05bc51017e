// The open result files: each file is parsed once and kept, keyed by its
// path, modification time and size, so that a template reading many
// channels of one file parses it once and a rewritten file is read anew.
// The cache keeps what fits a byte budget and drops the least recently
// used files past it (the newest always stays). Thread-safe.
#ifndef QUORVIX_RESULTS_RESULT_CACHE_H
#define QUORVIX_RESULTS_RESULT_CACHE_H

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "quorvix/policy.h"
#include "results/result_tree.h"
#include "results/tree_lookup.h"

namespace quorvix::results {

class CachedFile {
 public:
  CachedFile(std::string path, long long mtime_ns, long long size,
             std::unique_ptr<ResultTree> tree);

  const std::string& path() const { return path_; }
  // The tree's shape (names, counts, units) never changes once built; only
  // the numbers of components with a `load` arrive later, under Values.
  const ResultTree& tree() const { return *tree_; }
  std::size_t bytes() const { return bytes_.load(); }
  bool Matches(long long mtime_ns, long long size) const {
    return mtime_ns == mtime_ns_ && size == size_;
  }

  // The component's element count: once loaded, what it holds; before,
  // what the reader announced (-1 when unknown, and for no component).
  long long Length(int subcase, const Address& at) const;
  // Loads the component's numbers when they are not at hand yet.
  bool Load(int subcase, const Address& at, std::string* why);
  // Copies the component's numbers into `out`, loading them first. A large
  // component with a loader is loaded straight into `out` and not kept.
  // False for an address that is not there or a load that fails.
  bool Values(int subcase, const Address& at, std::vector<double>& out, std::string* why);
  // Element `i` as text (a number in its shortest exact form, or the string
  // of a text component); false when it is not there or not loaded.
  bool ElementText(int subcase, const Address& at, long long i, std::string& text) const;

 private:
  const Component* Find(int subcase, const Address& at) const;
  // Calls the component's loader; a failure or exception sets `why`.
  bool CallLoad(const Component& c, std::vector<double>& out, std::string* why) const;

  std::string path_;
  long long mtime_ns_;
  long long size_;
  std::unique_ptr<ResultTree> tree_;
  mutable std::mutex lock_;  // the loads and the numbers they fill
  std::atomic<std::size_t> bytes_{0};
};

// The file at `path`, from the cache or read now by the first reader format
// (by rising rank) whose sniff accepts the file's first 4 KiB and whose open
// succeeds. Null with `why` set otherwise; `missing` tells a file that is
// not there from one that cannot be read.
std::shared_ptr<CachedFile> OpenResultFile(const std::string& path, const Policy& policy,
                                           std::string* why, bool* missing = nullptr);

// How often files were parsed, and the memory the cache may keep.
long long ResultFileParses();
void SetResultCacheBudget(std::size_t bytes);
void ClearResultCache();

// The policy of the parser evaluating now, else the default one.
const Policy& CurrentPolicy();

}  // namespace quorvix::results

#endif  // QUORVIX_RESULTS_RESULT_CACHE_H
