// One HDF5 dataset as a data type of the result tree: its shape, kind and
// unit are read when the file is opened, its numbers when they are asked for.
#ifndef QUORVIX_HDF5_HDF5_DATASET_H
#define QUORVIX_HDF5_HDF5_DATASET_H

#include <hdf5.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "hdf5/hdf5_handle.h"
#include "results/result_tree.h"

namespace quorvix::hdf5 {

// An open file shared by the loads of its components; closed with the
// last of them (under the library guard).
class SharedFile {
 public:
  explicit SharedFile(hid_t id) : id_(id) {}
  ~SharedFile();
  SharedFile(const SharedFile&) = delete;
  SharedFile& operator=(const SharedFile&) = delete;
  hid_t id() const { return id_; }

 private:
  hid_t id_;
};

// What the reading parser allows, fixed when the file is opened.
struct ReadLimits {
  long long elements = 0;        // numbers or strings in one component
  std::size_t string_bytes = 0;  // bytes of text in one component
  bool restricted = false;       // data kept in other files is refused
};

// A 2-D dataset with more columns than this is refused rather than listed
// column by column (a corrupt shape must not build a huge tree).
inline constexpr long long kMaxColumns = 10000;
// Bytes of one chunk, which the library reads whole.
inline constexpr std::size_t kMaxChunkBytes = std::size_t{256} << 20;
// Strings in one text dataset, which is read whole when the file is opened.
inline constexpr long long kMaxTexts = 1'000'000;

// What the file says of one dataset: its shape, unit and, for text, its
// strings. Plain data, so that a child process can hand it back.
struct DatasetInfo {
  std::string path;     // absolute, "/group/data"
  std::string refusal;  // why its data are not read; empty when they are
  long long rows = 0;
  long long columns = 0;  // 0 for data of one dimension
  std::string unit;
  bool text = false;
  std::vector<std::string> texts;
};

// Describes the dataset at `path` of the open object `dataset`. Called under
// the library guard. A dataset whose data cannot be read as numbers or text
// is still described, with the reason.
DatasetInfo DescribeDataset(hid_t dataset, const std::string& path, const ReadLimits& limits);

// The data type the dataset becomes, named by its path with one request;
// numbers are read from `file` when first asked for, and a refused
// dataset's load fails with a message saying why.
results::DataType ToDataType(const std::shared_ptr<SharedFile>& file, DatasetInfo info);

}  // namespace quorvix::hdf5

#endif  // QUORVIX_HDF5_HDF5_DATASET_H
