// The free list that value records are allocated from. Evaluation makes and
// frees records at a high rate (every result a host receives is one), so the
// blocks of freed records are kept for the next; inline here so that the
// library's own hot paths take a block without a call.
#ifndef QUORVIX_VALUES_RECORD_POOL_H
#define QUORVIX_VALUES_RECORD_POOL_H

#include <cstddef>
#include <cstring>
#include <new>

#include "quorvix/symtab.h"

namespace quorvix::record_pool {

// Sanitizer builds bypass the list, so that a use of a freed record is
// reported instead of reading a recycled block.
#if defined(__SANITIZE_ADDRESS__) || defined(QUORVIX_SANITIZE)
inline constexpr bool kEnabled = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kEnabled = false;
#else
inline constexpr bool kEnabled = true;
#endif
#else
inline constexpr bool kEnabled = true;
#endif

struct FreeBlock {
  FreeBlock* next;
};

// The library is single-threaded by contract, so the list needs no lock.
struct List {
  FreeBlock* head = nullptr;
  std::size_t count = 0;
};
extern __attribute__((visibility("hidden"))) List g_list;
inline constexpr std::size_t kMaxFree = 4096;

// A block for one record, or null when the list is empty.
inline void* Take() {
  FreeBlock* b = g_list.head;
  if (!kEnabled || b == nullptr) return nullptr;
  g_list.head = b->next;
  --g_list.count;
  return b;
}

// Keeps the block of a destroyed record; false when the list is full.
inline bool Give(void* p) {
  if (!kEnabled || g_list.count >= kMaxFree) return false;
  auto* b = static_cast<FreeBlock*>(p);
  b->next = g_list.head;
  g_list.head = b;
  ++g_list.count;
  return true;
}

// A new anonymous scalar record, freed by its owner with Delete().
inline symtab* NewScalar(double v) {
  void* p = Take();
  // A new record is all zeros; cleared in whole words first, the
  // constructor's own stores of zero fold away.
  if (p != nullptr) std::memset(p, 0, sizeof(symtab));
  symtab* r = p != nullptr ? ::new (p) symtab : new symtab;
  r->type = SYM_SCALAR;
  r->value = v;
  return r;
}

}  // namespace quorvix::record_pool

#endif  // QUORVIX_VALUES_RECORD_POOL_H
