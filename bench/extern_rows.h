// The external-function row of the comparison table: one call's round trip
// (start, request, reply, reap) against starting and reaping the same
// program with nothing to say.
#ifndef QUORVIX_BENCH_EXTERN_ROWS_H
#define QUORVIX_BENCH_EXTERN_ROWS_H

#include <string>

namespace bench {

// Times `calls` calls of `program` both ways and prints the row (label
// number `number`). False when a call fails or answers wrongly.
bool ExternRows(int number, const std::string& program, int calls, int runs);

}  // namespace bench

#endif
