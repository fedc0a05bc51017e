#include "hdf5/hdf5_dataset.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "util/huge_pages.h"

namespace quorvix::hdf5 {

SharedFile::~SharedFile() {
  LibraryGuard guard;
  H5Fclose(id_);
}

namespace {

using results::Component;
using Loader = std::function<bool(std::vector<double>&, std::string*)>;

std::string Prefix(const std::string& path) { return "hdf5 dataset " + path + ": "; }

// A load that always fails: the dataset is listed so that a user sees it,
// but its data are not something we read.
Loader Refusal(std::string why_text) {
  return [why_text = std::move(why_text)](std::vector<double>&, std::string* why) {
    if (why) *why = why_text;
    return false;
  };
}

const char* ClassName(H5T_class_t c) {
  static constexpr std::array<std::pair<H5T_class_t, const char*>, 8> kNames{{
      {H5T_TIME, "time"},
      {H5T_BITFIELD, "bit-field"},
      {H5T_OPAQUE, "opaque"},
      {H5T_COMPOUND, "compound"},
      {H5T_REFERENCE, "reference"},
      {H5T_ENUM, "enumerated"},
      {H5T_VLEN, "variable-length"},
      {H5T_ARRAY, "array"},
  }};
  for (const auto& [cls, name] : kNames)
    if (cls == c) return name;
  return "unknown";
}

// Sizes `out` for `n` numbers, on huge pages when it is large.
void SizeFor(std::vector<double>& out, std::size_t n) {
  if (out.capacity() < n) {
    std::vector<double>().swap(out);
    out.reserve(n);
    AdviseHugePages(out.data(), n * sizeof(double));
  }
  out.resize(n);
}

// Reads the numbers of the dataset, or of one of its columns, straight into
// `out`: one read, converted to double by the library.
bool LoadNumbers(const SharedFile& file, const std::string& path, long long rows, long long column,
                 std::vector<double>& out, std::string* why) {
  LibraryGuard guard;
  Handle dataset(H5Dopen2(file.id(), path.c_str(), H5P_DEFAULT), H5Dclose);
  bool ok = dataset.valid();
  if (ok) {
    SizeFor(out, static_cast<std::size_t>(rows));
    if (rows == 0) return true;
    if (column < 0) {
      ok =
          H5Dread(dataset.get(), H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, out.data()) >= 0;
    } else {
      Handle file_space(H5Dget_space(dataset.get()), H5Sclose);
      const hsize_t start[2] = {0, static_cast<hsize_t>(column)};
      const hsize_t count[2] = {static_cast<hsize_t>(rows), 1};
      const hsize_t length = static_cast<hsize_t>(rows);
      Handle memory_space(H5Screate_simple(1, &length, nullptr), H5Sclose);
      ok = file_space.valid() && memory_space.valid() &&
           H5Sselect_hyperslab(file_space.get(), H5S_SELECT_SET, start, nullptr, count, nullptr) >=
               0 &&
           H5Dread(dataset.get(), H5T_NATIVE_DOUBLE, memory_space.get(), file_space.get(),
                   H5P_DEFAULT, out.data()) >= 0;
    }
  }
  if (!ok) {
    out.clear();
    if (why) *why = Prefix(path) + "the values cannot be read";
  }
  return ok;
}

// The library's allocator for variable-length strings, refusing more than
// the cap at `info`.
void* CappedAlloc(std::size_t size, void* info) {
  return size > *static_cast<const std::size_t*>(info) ? nullptr : std::malloc(size);
}
void FreeVlen(void* p, void*) { std::free(p); }

// Reads every string of a string dataset or attribute (`read` does the
// library call into the buffer with the memory type it is given).
template <typename ReadFn>
bool ReadStrings(hid_t type, long long count, const ReadLimits& limits, ReadFn read,
                 std::vector<std::string>& out, hid_t transfer = H5P_DEFAULT) {
  Handle memory(H5Tcopy(H5T_C_S1), H5Tclose);
  if (!memory.valid() || H5Tset_cset(memory.get(), H5Tget_cset(type)) < 0) return false;
  const auto n = static_cast<std::size_t>(count);
  std::size_t bytes = 0;
  if (H5Tis_variable_str(type) > 0) {
    if (H5Tset_size(memory.get(), H5T_VARIABLE) < 0) return false;
    std::vector<char*> texts(n, nullptr);
    if (read(memory.get(), texts.data()) < 0) return false;
    bool fits = true;
    for (char* t : texts) {
      const std::string_view text = t ? t : "";
      bytes += text.size();
      fits = fits && bytes <= limits.string_bytes;
      if (fits) out.emplace_back(text);
    }
    const hsize_t length = n;
    Handle space(H5Screate_simple(1, &length, nullptr), H5Sclose);
    // Gives the library's strings back even when they were too long for us.
    H5Dvlen_reclaim(memory.get(), space.get(), transfer, texts.data());
    return fits;
  }
  const std::size_t size = H5Tget_size(type);
  if (size == 0 || n > limits.string_bytes / size) return false;
  const bool space_padded = H5Tget_strpad(type) == H5T_STR_SPACEPAD;
  if (H5Tset_size(memory.get(), size) < 0 || H5Tset_strpad(memory.get(), H5T_STR_NULLPAD) < 0)
    return false;
  std::vector<char> buffer(n * size);
  if (read(memory.get(), buffer.data()) < 0) return false;
  for (std::size_t i = 0; i < n; ++i) {
    const char* text = buffer.data() + i * size;
    std::size_t length = strnlen(text, size);
    while (space_padded && length > 0 && text[length - 1] == ' ') --length;
    out.emplace_back(text, length);
  }
  return true;
}

// The unit a dataset gives in a string attribute "unit" or "units"; empty
// when it gives none. Attribute reads take no transfer list, so the cap on
// variable-length text does not apply here; HDF5 1.10 also trusts the sizes
// in a file's global heap, which a damaged file can crash it with: the walk
// that calls this runs in a child process (see the reader's Open).
std::string UnitOf(hid_t dataset, const ReadLimits& limits) {
  for (const char* name : {"unit", "units"}) {
    if (H5Aexists(dataset, name) <= 0) continue;
    Handle attribute(H5Aopen(dataset, name, H5P_DEFAULT), H5Aclose);
    if (!attribute.valid()) continue;
    Handle type(H5Aget_type(attribute.get()), H5Tclose);
    Handle space(H5Aget_space(attribute.get()), H5Sclose);
    const hssize_t count = H5Sget_simple_extent_npoints(space.get());
    if (!type.valid() || H5Tget_class(type.get()) != H5T_STRING || count != 1) continue;
    std::vector<std::string> texts;
    ReadLimits small = limits;
    small.string_bytes = std::min<std::size_t>(limits.string_bytes, 4096);
    auto read = [&](hid_t memory, void* buffer) {
      return H5Aread(attribute.get(), memory, buffer);
    };
    if (ReadStrings(type.get(), 1, small, read, texts) && !texts.empty()) return texts.front();
  }
  return {};
}

// The shape as rows and columns (columns 0 for data of one dimension); false
// when the data have more than two dimensions.
bool ShapeOf(hid_t space, long long& rows, long long& columns, int& rank) {
  rank = H5Sget_simple_extent_ndims(space);
  hsize_t dims[H5S_MAX_RANK] = {};
  if (rank < 0 || H5Sget_simple_extent_dims(space, dims, nullptr) < 0) return false;
  columns = 0;
  if (H5Sget_simple_extent_type(space) == H5S_NULL) {
    rows = 0;
  } else if (rank == 0) {
    rows = 1;
  } else if (rank == 1 || (rank == 2 && dims[0] == 1)) {
    // A single row is a series of its own, not a table of one-value columns.
    rows = static_cast<long long>(dims[rank - 1]);
  } else if (rank == 2) {
    rows = static_cast<long long>(dims[0]);
    columns = static_cast<long long>(dims[1]);
  } else {
    return false;
  }
  return rows >= 0 && columns >= 0;
}

}  // namespace

DatasetInfo DescribeDataset(hid_t dataset, const std::string& path, const ReadLimits& limits) {
  DatasetInfo info;
  info.path = path;
  auto refuse = [&](std::string what) {
    info.refusal = std::move(what);
    info.texts.clear();
    return info;
  };

  Handle type(H5Dget_type(dataset), H5Tclose);
  Handle space(H5Dget_space(dataset), H5Sclose);
  Handle create(H5Dget_create_plist(dataset), H5Pclose);
  if (!type.valid() || !space.valid() || !create.valid()) return refuse("cannot be described");
  long long rows = 0, columns = 0;
  int rank = 0;
  if (!ShapeOf(space.get(), rows, columns, rank))
    return refuse(rank > 2 ? std::to_string(rank) + "-D data cannot be read"
                           : std::string("cannot be described"));
  const H5T_class_t cls = H5Tget_class(type.get());
  const bool numeric = cls == H5T_INTEGER || cls == H5T_FLOAT;
  if (!numeric && cls != H5T_STRING)
    return refuse(std::string(ClassName(cls)) + " data cannot be read");
  if (limits.restricted &&
      (H5Pget_external_count(create.get()) > 0 || H5Pget_layout(create.get()) == H5D_VIRTUAL))
    return refuse("data kept in other files are not read in restricted mode");
  // Sizes from a corrupt file would have the library allocate without bound.
  const std::size_t element_bytes = H5Tget_size(type.get());
  if (numeric && (element_bytes == 0 || element_bytes > 16))
    return refuse("numbers of " + std::to_string(element_bytes) + " bytes cannot be read");
  if (H5Pget_layout(create.get()) == H5D_CHUNKED) {
    hsize_t chunk[H5S_MAX_RANK] = {};
    const int chunk_rank = H5Pget_chunk(create.get(), H5S_MAX_RANK, chunk);
    long double chunk_bytes = static_cast<long double>(element_bytes);
    for (int i = 0; i < chunk_rank; ++i) chunk_bytes *= static_cast<long double>(chunk[i]);
    if (chunk_rank < 0 || chunk_bytes > static_cast<long double>(kMaxChunkBytes))
      return refuse("chunks of more than " + std::to_string(kMaxChunkBytes) + " bytes");
  }
  if (columns > kMaxColumns)
    return refuse(std::to_string(columns) + " columns, more than " + std::to_string(kMaxColumns));
  if (rows > limits.elements || (columns > 0 && rows > limits.elements / columns))
    return refuse("more elements than the limit of " + std::to_string(limits.elements));
  info.rows = rows;
  info.columns = columns;

  if (cls == H5T_STRING) {
    if (columns > 0) return refuse("2-D text cannot be read");
    // Text is read when the file is opened, so its size is bounded apart.
    if (rows > kMaxTexts)
      return refuse(std::to_string(rows) + " strings, more than " + std::to_string(kMaxTexts));
    // A corrupt length must not make the library allocate without bound.
    std::size_t cap = limits.string_bytes;
    Handle transfer(H5Pcreate(H5P_DATASET_XFER), H5Pclose);
    if (!transfer.valid() ||
        H5Pset_vlen_mem_manager(transfer.get(), CappedAlloc, &cap, FreeVlen, nullptr) < 0)
      return refuse("cannot be described");
    info.text = true;
    auto read = [&](hid_t memory, void* buffer) {
      return H5Dread(dataset, memory, H5S_ALL, H5S_ALL, transfer.get(), buffer);
    };
    if (!ReadStrings(type.get(), rows, limits, read, info.texts, transfer.get()))
      return refuse("the text cannot be read");
    return info;
  }
  info.unit = UnitOf(dataset, limits);
  return info;
}

results::DataType ToDataType(const std::shared_ptr<SharedFile>& file, DatasetInfo info) {
  results::DataType type_out;
  type_out.name = info.path;
  results::Request& request = type_out.requests.emplace_back();
  request.name = info.path.substr(info.path.rfind('/') + 1);
  if (!info.refusal.empty()) {
    Component& c = request.components.emplace_back();
    c.name = request.name;
    c.load = Refusal(Prefix(info.path) + info.refusal);
    return type_out;
  }
  if (info.text) {
    Component& c = request.components.emplace_back();
    c.name = request.name;
    c.length = static_cast<long long>(info.texts.size());
    c.texts = std::move(info.texts);
    return type_out;
  }
  const long long n_components = info.columns > 0 ? info.columns : 1;
  request.components.reserve(static_cast<std::size_t>(n_components));
  for (long long j = 0; j < n_components; ++j) {
    Component& c = request.components.emplace_back();
    c.name = info.columns > 0 ? std::to_string(j + 1) : request.name;
    c.unit = info.unit;
    c.length = info.rows;
    const long long column = info.columns > 0 ? j : -1;
    c.load = [file, path = info.path, rows = info.rows, column](std::vector<double>& out,
                                                                std::string* why) {
      return LoadNumbers(*file, path, rows, column, out, why);
    };
  }
  return type_out;
}

}  // namespace quorvix::hdf5
