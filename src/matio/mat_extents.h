// What the headers of a version 4 or 5 file announce before matio reads
// them. matio reads the data of a variable that the file cuts short without
// a word (the missing bytes come back as whatever was in memory), and it
// allocates a pointer per announced cell or struct element while it reads a
// variable's header; the reader checks both against the file's size first.
#ifndef QUORVIX_MATIO_MAT_EXTENTS_H
#define QUORVIX_MATIO_MAT_EXTENTS_H

#include <cstdio>
#include <vector>

namespace quorvix::matfile {

struct Extent {
  bool cut_short = false;
  // Elements a top-level cell array, struct or object announces; 0 for
  // other classes and when the header cannot be read.
  unsigned long long container_elements = 0;
};

// One entry per variable in file order. `file` is positioned anywhere;
// `size` is its length in bytes; `version5` tells the two layouts apart.
// The walk stops after the first variable that is cut short.
std::vector<Extent> Extents(std::FILE* file, long long size, bool version5);

}  // namespace quorvix::matfile

#endif  // QUORVIX_MATIO_MAT_EXTENTS_H
