// Size limits of values, read from the policy of the current parser (the
// defaults when none is current; the expression service tells this layer
// where to find them). Every operation that makes an array or
// grows a string asks here before it allocates, so that hostile input ends
// with a message instead of exhausting memory.
#ifndef QUORVIX_VALUES_VALUE_LIMITS_H
#define QUORVIX_VALUES_VALUE_LIMITS_H

#include <cstddef>
#include <string>

#include "quorvix/policy.h"

namespace quorvix {

const Limits& CurrentLimits();
// Installs the function that names the limits in force (null: defaults).
using LimitsSource = const Limits* (*)();
void SetLimitsSource(LimitsSource source);

// Elements one array may hold: the policy's limit, capped so that rows x
// cols always fits the record's int fields.
long long ElementLimit();

// True when a rows x cols array (computed in 64 bits) is within the limit.
bool ElementCountFits(long long rows, long long cols);
// As ElementCountFits;
// otherwise reports "array too large (limit N elements)" through the value
// error sink and returns false. Negative dimensions count as 0.
bool CheckedElementCount(long long rows, long long cols);
std::string ArrayTooLargeMessage();

// True when a string value of `bytes` bytes (without terminators) is within
// the limit; otherwise reports "string too long (limit N bytes)" and
// returns false.
bool CheckedStringBytes(std::size_t bytes);
std::string StringTooLongMessage();

}  // namespace quorvix

#endif
