// Where the variables of a version 4 or 5 file end, from their headers.
// matio reads the data of a variable that the file cuts short without a
// word (the missing bytes come back as whatever was in memory), so the
// reader compares these ends with the file's size first.
#ifndef QUORVIX_MATIO_MAT_EXTENTS_H
#define QUORVIX_MATIO_MAT_EXTENTS_H

#include <cstdio>
#include <vector>

namespace quorvix::matfile {

// For each variable in file order, true when the file ends before it does.
// `file` is positioned anywhere; `size` is its length in bytes; `version5`
// tells the two layouts apart. The walk stops at the first variable that is
// cut short.
std::vector<bool> CutShort(std::FILE* file, long long size, bool version5);

}  // namespace quorvix::matfile

#endif  // QUORVIX_MATIO_MAT_EXTENTS_H
