// The HDF5 result reader: one subcase; every dataset a data type named by
// its path ("/group/data") with one request; a 1-D dataset one component, a
// 2-D dataset one component per column ("1", "2", ...). Opening walks the
// file for names and shapes only; numbers are read when asked for.
#include <hdf5.h>

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "hdf5/hdf5_dataset.h"
#include "hdf5/hdf5_handle.h"
#include "hdf5/hdf5_listing.h"
#include "results/result_tree.h"
#include "util/isolated_call.h"

namespace quorvix::hdf5 {

namespace {

constexpr std::string_view kSignature("\x89HDF\r\n\x1a\n", 8);

// Bounds the tree a file with a vast number of tiny datasets could build.
constexpr std::size_t kMaxDatasets = 1'000'000;
// A walk that takes longer is taken for a library caught in a damaged file.
constexpr double kWalkSeconds = 120;

struct Walk {
  ReadLimits limits;
  Listing* listing;
};

herr_t VisitLink(hid_t group, const char* name, const H5L_info_t* info, void* data) {
  auto& walk = *static_cast<Walk*>(data);
  // Soft and external links are not followed: an external link would read
  // another file, past the reading policy.
  if (info->type != H5L_TYPE_HARD) return 0;
  Handle object(H5Oopen(group, name, H5P_DEFAULT), H5Oclose);
  if (!object.valid() || H5Iget_type(object.get()) != H5I_DATASET) return 0;
  if (walk.listing->datasets.size() >= kMaxDatasets) {
    walk.listing->status = WalkStatus::kTooManyDatasets;
    return 1;
  }
  // Appended rather than "/" + ...: GCC 12 at -O3 warns falsely (-Wrestrict)
  // about a literal added in front of a temporary string.
  walk.listing->datasets.push_back(
      DescribeDataset(object.get(), std::string("/").append(name), walk.limits));
  return 0;
}

// Opens the file and describes every dataset. Called under the library
// guard, in the child that isolates the walk.
Listing ListFile(const std::string& path, const ReadLimits& limits) {
  Listing listing;
  Handle file(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), H5Fclose);
  if (!file.valid()) return listing;
  listing.status = WalkStatus::kListed;
  Walk walk{limits, &listing};
  const herr_t status = H5Lvisit(file.get(), H5_INDEX_NAME, H5_ITER_INC, VisitLink, &walk);
  if (status < 0 && listing.status == WalkStatus::kListed) listing.status = WalkStatus::kUnreadable;
  return listing;
}

// HDF5 finds its superblock at 0 or after a user block of 512, 1024, 2048,
// ... bytes. MATLAB 7.3 files are HDF5 behind a MATLAB header: they are the
// MATLAB reader's.
bool Sniff(const std::string&, const std::string& head) {
  if (head.starts_with("MATLAB")) return false;
  for (std::size_t at = 0; at + kSignature.size() <= head.size(); at = at == 0 ? 512 : at * 2)
    if (std::string_view(head).substr(at, kSignature.size()) == kSignature) return true;
  return false;
}

std::unique_ptr<results::ResultTree> Open(const std::string& path, const Policy& policy,
                                          std::string* why) {
  // The policy decides whether the file may be read (restricted directories,
  // regular files only); the library then opens it by name.
  std::FILE* probe = policy.OpenFile(path, FileMode::kRead, why);
  if (!probe) return nullptr;
  std::fclose(probe);

  const ReadLimits limits{policy.limits.elements, policy.limits.string_bytes, policy.restricted};
  LibraryGuard guard;
  // HDF5 1.10 trusts sizes and addresses in a file's metadata (global heap
  // objects behind variable-length strings, among others) and can crash on
  // a damaged file. The walk runs in a child: a crash there ends the child
  // and the file is reported damaged. The tree is cached per file, so the
  // cost of a fork is paid once per file, not per read.
  std::string bytes;
  Listing listing;
  const IsolatedResult run =
      RunIsolated([&] { return Encode(ListFile(path, limits)); }, bytes, kWalkSeconds);
  if (run == IsolatedResult::kNoChild) {
    listing = ListFile(path, limits);
  } else if (run != IsolatedResult::kDone || !Decode(bytes, listing)) {
    if (why) *why = "could not read " + path + ": the HDF5 file is damaged";
    return nullptr;
  }
  switch (listing.status) {
    case WalkStatus::kListed:
      break;
    case WalkStatus::kTooManyDatasets:
      if (why) *why = path + ": more than " + std::to_string(kMaxDatasets) + " datasets";
      return nullptr;
    case WalkStatus::kUnreadable:
      if (why) *why = "could not read the contents of " + path;
      return nullptr;
    default:
      if (why) *why = "could not read " + path + " as an HDF5 file";
      return nullptr;
  }
  // The metadata the child read without harm are read here again, the
  // same way, for the loads of the numbers.
  const hid_t id = H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
  if (id < 0) {
    if (why) *why = "could not read " + path + " as an HDF5 file";
    return nullptr;
  }
  auto file = std::make_shared<SharedFile>(id);
  auto tree = std::make_unique<results::ResultTree>();
  tree->format = "hdf5";
  results::Subcase& subcase = tree->subcases.emplace_back();
  subcase.types.reserve(listing.datasets.size());
  for (DatasetInfo& d : listing.datasets) subcase.types.push_back(ToDataType(file, std::move(d)));
  return tree;
}

[[maybe_unused]] const bool kRegistered = [] {
  results::AddReaderFormat({"hdf5", results::kRankBinary, Sniff, Open});
  return true;
}();

}  // namespace

}  // namespace quorvix::hdf5
