// What the headers of a version 4 or 5 file announce before matio reads
// them. matio reads the data of a variable that the file cuts short without
// a word (the missing bytes come back as whatever was in memory), and while
// it reads a variable's header it allocates a pointer per announced cell or
// struct field at every level of nesting; the reader checks all of these
// against the file's size and the element limit first.
#ifndef QUORVIX_MATIO_MAT_EXTENTS_H
#define QUORVIX_MATIO_MAT_EXTENTS_H

#include <cstdio>
#include <string>
#include <vector>

namespace quorvix::matfile {

struct Extent {
  bool cut_short = false;
  // Why matio must not read the variable's header (it would allocate what
  // the file cannot hold); empty when it may.
  std::string damage;
};

// One entry per variable in file order. `file` is positioned anywhere;
// `size` is its length in bytes; `version5` tells the two layouts apart;
// `max_elements` bounds the cells and fields one variable announces at
// all levels together.
// The walk stops after the first variable that is cut short or damaged.
std::vector<Extent> Extents(std::FILE* file, long long size, bool version5,
                            unsigned long long max_elements);

}  // namespace quorvix::matfile

#endif  // QUORVIX_MATIO_MAT_EXTENTS_H
