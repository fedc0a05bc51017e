// Interpolation kernels exported for hosts.
//
// All three take a table of n points (x[i], y[i]) with x rising, and nq
// query points, and return a new[] array of nq doubles that the caller frees
// with delete[]; null when the arguments cannot be used (null pointers, n or
// nq negative, and for Akima the conditions below).
#ifndef QUORVIX_INTERPOLATION_H
#define QUORVIX_INTERPOLATION_H

// Linear interpolation. Each query's interval k is found by bisection:
// x[k] <= q < x[k+1], k = 0 below the table and k = n - 1 at or above its
// last point. Queries below the table follow the first segment; queries at
// or above the last point take y[n-1]. Null for an empty table.
double* LinInterp(const double* x, const double* y, int n, const double* q, int nq);

// Natural cubic spline (second derivative 0 at both ends), intervals found
// as LinInterp finds them. Queries outside the table follow the end cubics;
// one point gives its y everywhere, two points the straight line. Null for an
// empty table.
double* CalcSpline(const double* x, const double* y, int n, const double* q, int nq);

// Akima's piecewise cubic. Null unless n >= 2, x rises strictly and the
// queries rise strictly too: the interval search only moves forward. Queries
// outside the table follow the first or the last cubic. The two slopes
// beyond each end continue the end slopes linearly (m[-1] = 2 m[0] - m[1]).
double* Akima(const double* x, const double* y, int n, const double* q, int nq);

#endif
