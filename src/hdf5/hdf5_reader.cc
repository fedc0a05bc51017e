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
#include "results/result_tree.h"

namespace quorvix::hdf5 {

namespace {

constexpr std::string_view kSignature("\x89HDF\r\n\x1a\n", 8);

// Bounds the tree a file with a vast number of tiny datasets could build.
constexpr std::size_t kMaxDatasets = 1'000'000;

struct Walk {
  std::shared_ptr<SharedFile> file;
  ReadLimits limits;
  results::Subcase* subcase;
  bool too_many = false;
};

herr_t VisitLink(hid_t group, const char* name, const H5L_info_t* info, void* data) {
  auto& walk = *static_cast<Walk*>(data);
  // Soft and external links are not followed: an external link would read
  // another file, past the reading policy.
  if (info->type != H5L_TYPE_HARD) return 0;
  Handle object(H5Oopen(group, name, H5P_DEFAULT), H5Oclose);
  if (!object.valid() || H5Iget_type(object.get()) != H5I_DATASET) return 0;
  if (walk.subcase->types.size() >= kMaxDatasets) {
    walk.too_many = true;
    return 1;
  }
  walk.subcase->types.push_back(
      DescribeDataset(walk.file, object.get(), "/" + std::string(name), walk.limits));
  return 0;
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

  LibraryGuard guard;
  const hid_t id = H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT);
  if (id < 0) {
    if (why) *why = "could not read " + path + " as an HDF5 file";
    return nullptr;
  }
  auto tree = std::make_unique<results::ResultTree>();
  tree->format = "hdf5";
  Walk walk{std::make_shared<SharedFile>(id),
            ReadLimits{policy.limits.elements, policy.limits.string_bytes, policy.restricted},
            &tree->subcases.emplace_back()};
  const herr_t status = H5Lvisit(walk.file->id(), H5_INDEX_NAME, H5_ITER_INC, VisitLink, &walk);
  if (walk.too_many) {
    if (why) *why = path + ": more than " + std::to_string(kMaxDatasets) + " datasets";
    return nullptr;
  }
  if (status < 0) {
    if (why) *why = "could not read the contents of " + path;
    return nullptr;
  }
  return tree;
}

[[maybe_unused]] const bool kRegistered = [] {
  results::AddReaderFormat({"hdf5", results::kRankBinary, Sniff, Open});
  return true;
}();

}  // namespace

}  // namespace quorvix::hdf5
