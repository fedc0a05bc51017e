// Asks the kernel to back a large buffer with huge pages before its first
// touch: filling tens of megabytes costs far more in page faults than in
// copying.
#ifndef QUORVIX_UTIL_HUGE_PAGES_H
#define QUORVIX_UTIL_HUGE_PAGES_H

#include <cstddef>

namespace quorvix {

// A hint only: small buffers, and systems without transparent huge pages,
// are left as they are.
void AdviseHugePages(const void* data, std::size_t bytes);

}  // namespace quorvix

#endif  // QUORVIX_UTIL_HUGE_PAGES_H
