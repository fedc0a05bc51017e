// Dense LU kernels exported for hosts.
#ifndef QUORVIX_LINALG_H
#define QUORVIX_LINALG_H

// LU decomposition by Crout's method with implicit partial pivoting.
// a: n x n row-major, overwritten by the factors; indx receives the row
// permutation (n entries); d receives +1 or -1 (parity of the interchanges).
// Returns 0 on success, 1 when the matrix is singular.
int ludcmp(double* a, int n, int* indx, double* d);

// Inverse through the LU factors. Returns a new[] n x n array owned by the
// caller, or null when the matrix is singular. `a` is left factored.
double* mtxinverse(double* a, int n);

#endif
