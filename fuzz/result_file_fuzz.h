// The body of the fuzz targets over binary result files: the input is
// written to a file with the format's extension and opened the way `read`
// opens it (cache, sniffing, the reader), then every component is loaded.
// A file the reader refuses must say why; nothing may crash.
#ifndef QUORVIX_FUZZ_RESULT_FILE_FUZZ_H
#define QUORVIX_FUZZ_RESULT_FILE_FUZZ_H

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "quorvix/policy.h"
#include "results/result_cache.h"

namespace quorvix::fuzz {

// A file of our own in the temporary directory, removed at exit.
inline const std::string& ScratchFile(const char* extension) {
  static const std::string path = [extension] {
    std::string p = "/tmp/quorvix-fuzz-" + std::to_string(::getpid()) + extension;
    std::atexit([] { std::remove(path.c_str()); });
    return p;
  }();
  return path;
}

inline int FuzzResultFile(const std::uint8_t* data, std::size_t size, const char* extension) {
  const std::string& path = ScratchFile(extension);
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) std::abort();
  if (size > 0 && std::fwrite(data, 1, size, f) != size) std::abort();
  std::fclose(f);
  // A rewritten file can keep its size and time stamp: no stale tree.
  results::ClearResultCache();
  Policy policy;
  // Small bounds keep each input fast; past them come messages.
  policy.limits.elements = 100'000;
  policy.limits.string_bytes = 1 << 20;
  std::string why;
  auto file = results::OpenResultFile(path, policy, &why);
  if (file == nullptr) {
    if (why.empty()) std::abort();
    return 0;
  }
  const auto& subcases = file->tree().subcases;
  std::vector<double> values;
  for (std::size_t s = 0; s < subcases.size(); ++s)
    for (std::size_t t = 0; t < subcases[s].types.size(); ++t)
      for (std::size_t r = 0; r < subcases[s].types[t].requests.size(); ++r)
        for (std::size_t c = 0; c < subcases[s].types[t].requests[r].components.size(); ++c) {
          const results::Address at{static_cast<int>(t), static_cast<int>(r), static_cast<int>(c)};
          why.clear();
          if (!file->Values(static_cast<int>(s), at, values, &why) && why.empty()) std::abort();
        }
  return 0;
}

}  // namespace quorvix::fuzz

#endif  // QUORVIX_FUZZ_RESULT_FILE_FUZZ_H
