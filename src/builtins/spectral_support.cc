#include "builtins/spectral_support.h"

#include "numerics/radix2.h"
#include "values/value_limits.h"

namespace quorvix::builtins {

symtab* NewVectorLike(const symtab& like, std::size_t n) {
  symtab* v = new symtab;
  const int count = static_cast<int>(n);
  try {
    if (like.rows > 1)
      v->SetArray(count, 1);
    else
      v->SetArray(1, count);
  } catch (...) {
    v->Delete();
    throw;
  }
  return v;
}

bool FitsResult(std::size_t n) {
  if (n <= numerics::kMaxRadix2Length && ElementCountFits(1, static_cast<long long>(n)))
    return true;
  Report(ArrayTooLargeMessage().c_str());
  return false;
}

}  // namespace quorvix::builtins
