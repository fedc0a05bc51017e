// Scaling of scalar evaluation with the size of the formula: generated
// formulas of 3, 31 and 301 nodes over a, b and c, parsed once and evaluated
// many times. The time per node stays about constant when evaluation is
// linear in the formula's size.
#ifndef QUORVIX_BENCH_SCALAR_SCALING_ROWS_H
#define QUORVIX_BENCH_SCALAR_SCALING_ROWS_H

namespace bench {

// Prints the rows (label number `number`); `evaluations` is the count for
// the 3-node formula, the larger ones get proportionally fewer. False when
// a formula fails to evaluate or disagrees with the same formula in C++.
bool ScalarScalingRows(int number, long evaluations, int runs);

}  // namespace bench

#endif
