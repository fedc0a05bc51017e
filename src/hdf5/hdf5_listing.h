// What opening an HDF5 file finds, as bytes: the walk over a file's
// metadata runs in a child process (the library can crash on a damaged
// file) and hands its findings back through a pipe in this form.
#ifndef QUORVIX_HDF5_HDF5_LISTING_H
#define QUORVIX_HDF5_HDF5_LISTING_H

#include <string>
#include <string_view>
#include <vector>

#include "hdf5/hdf5_dataset.h"

namespace quorvix::hdf5 {

enum class WalkStatus : char {
  kListed = 'L',          // every dataset described
  kNotHdf5 = 'N',         // the library does not open the file
  kUnreadable = 'U',      // the walk over its groups failed
  kTooManyDatasets = 'T'  // more datasets than a tree may hold
};

struct Listing {
  WalkStatus status = WalkStatus::kNotHdf5;
  std::vector<DatasetInfo> datasets;
};

std::string Encode(const Listing& listing);
// False for bytes that Encode did not write.
bool Decode(std::string_view bytes, Listing& listing);

}  // namespace quorvix::hdf5

#endif  // QUORVIX_HDF5_HDF5_LISTING_H
