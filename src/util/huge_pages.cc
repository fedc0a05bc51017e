#include "util/huge_pages.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>

namespace quorvix {

void AdviseHugePages(const void* data, std::size_t bytes) {
#ifdef MADV_HUGEPAGE
  constexpr std::size_t kHugeFrom = std::size_t{4} << 20;
  if (data == nullptr || bytes < kHugeFrom) return;
  const long page_size = sysconf(_SC_PAGESIZE);
  if (page_size <= 0) return;
  const auto page = static_cast<std::uintptr_t>(page_size);
  const auto start = reinterpret_cast<std::uintptr_t>(data);
  // Only whole pages inside the buffer.
  const std::uintptr_t begin = (start + page - 1) / page * page;
  const std::uintptr_t end = (start + bytes) / page * page;
  if (end > begin) madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
  (void)data;
  (void)bytes;
#endif
}

}  // namespace quorvix
