// The MATLAB file reader (versions 4, 5 and 7.3 through matio). Opening a
// file reads only the variables' headers; the numbers of a variable are read
// when one of its components is first asked for. Texts (char arrays and cell
// arrays of strings) are read when the file is opened, since a component
// holds its strings directly.
//
// Mapping: one subcase labelled "1"; one data type per variable we read,
// named by its path ("x", a struct field "s.f", an element of a struct array
// "s(2).f"); one request "data"; its component "all" holds every element in
// MATLAB's column-major order, and a matrix of several rows and columns has
// one more component per column, named "1", "2", ... so that component
// index j is column j.
#include <matio.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "matio/mat_extents.h"
#include "matio/mat_values.h"
#include "results/result_tree.h"
#include "util/isolated_call.h"

namespace quorvix::matfile {

namespace {

struct VarDeleter {
  void operator()(matvar_t* var) const { Mat_VarFree(var); }
};
using VarPtr = std::unique_ptr<matvar_t, VarDeleter>;
struct MatDeleter {
  void operator()(mat_t* mat) const { Mat_Close(mat); }
};
using MatPtr = std::unique_ptr<mat_t, MatDeleter>;

constexpr int kMaxDepth = 32;
constexpr std::size_t kMaxFields = 100'000;
// zlib inflates at most about 1032:1; a variable announcing more than that
// over the whole file is a damaged header, not data.
constexpr unsigned long long kMaxInflation = 1100;
// A trial walk that takes longer is taken for a library caught in a
// damaged file.
constexpr double kTrialSeconds = 120;

// Where a component's numbers sit: a top-level variable, the steps from it
// into struct fields (field index, element index), and one column or all.
struct Step {
  std::size_t field;
  std::size_t element;
};
struct Place {
  std::string top;
  std::vector<Step> steps;
  long long column = -1;
};

matvar_t* Follow(matvar_t* top, const std::vector<Step>& steps) {
  matvar_t* at = top;
  for (const Step& step : steps) {
    if (at == nullptr || at->class_type != MAT_C_STRUCT || at->data == nullptr) return nullptr;
    at = Mat_VarGetStructFieldByIndex(at, step.field, step.element);
  }
  return at;
}

VarPtr ReadVariable(const std::string& path, const std::string& name) {
  MatPtr mat(Mat_Open(path.c_str(), MAT_ACC_RDONLY));
  if (!mat) return nullptr;
  return VarPtr(Mat_VarRead(mat.get(), name.c_str()));
}

// The loads of one file's components share it: a top-level variable is read
// once and kept while components of it are still unloaded, so the columns
// and fields of one variable do not read the file again.
class MatSource {
 public:
  // `isolated`: the values are read in a child process (version 7.3).
  MatSource(std::string path, bool isolated) : path_(std::move(path)), isolated_(isolated) {}

  void Expect(const std::string& top) { ++pending_[top]; }

  bool Load(const Place& place, const std::string& name, std::vector<double>& out,
            std::string* why) {
    std::lock_guard<std::mutex> hold(lock_);
    Read& read = read_[place.top];
    if (isolated_ && !read.failed) {
      switch (LoadInChild(place, out)) {
        case ChildLoad::kValues:
          return true;
        case ChildLoad::kNotNumbers:
          *why = "mat variable " + name + " could not be read";
          return false;
        case ChildLoad::kUnreadable:
          read.failed = true;
          break;
        case ChildLoad::kNoChild:
          break;  // read here, as for the other versions
      }
    }
    // A variable that failed once is not read again: a damaged file would
    // otherwise be read through once per component.
    if (!read.var && !read.failed) {
      read.var = ReadVariable(path_, place.top);
      read.failed = !read.var;
    }
    const matvar_t* leaf = read.var ? Follow(read.var.get(), place.steps) : nullptr;
    std::string reason;
    if (leaf == nullptr || !NumericValues(*leaf, place.column, out, &reason)) {
      *why = "mat variable " + name + " could not be read";
      return false;
    }
    if (--pending_[place.top] <= 0) read.var.reset();
    return true;
  }

 private:
  // Version 7.3 is HDF5 underneath, which can read past its buffers on
  // damaged data that the trial walk of the file got through (a sanitizer
  // caught it in a load, not in the walk): the values are read in a child,
  // which hands them back as raw doubles after a marker byte.
  enum class ChildLoad { kValues, kNotNumbers, kUnreadable, kNoChild };
  ChildLoad LoadInChild(const Place& place, std::vector<double>& out) {
    std::string bytes;
    const IsolatedResult result = RunIsolated(
        [&] {
          VarPtr var = ReadVariable(path_, place.top);
          if (!var) return std::string();
          const matvar_t* leaf = Follow(var.get(), place.steps);
          std::vector<double> values;
          std::string reason;
          if (leaf == nullptr || !NumericValues(*leaf, place.column, values, &reason))
            return std::string(1, 'x');
          std::string packed(1, 'v');
          if (!values.empty())
            packed.append(reinterpret_cast<const char*>(values.data()),
                          values.size() * sizeof(double));
          return packed;
        },
        bytes, kTrialSeconds);
    if (result == IsolatedResult::kNoChild) return ChildLoad::kNoChild;
    if (result == IsolatedResult::kDied || bytes.empty()) return ChildLoad::kUnreadable;
    if (bytes[0] != 'v' || (bytes.size() - 1) % sizeof(double) != 0) return ChildLoad::kNotNumbers;
    out.resize((bytes.size() - 1) / sizeof(double));
    if (!out.empty()) std::memcpy(out.data(), bytes.data() + 1, out.size() * sizeof(double));
    return ChildLoad::kValues;
  }

  std::mutex lock_;
  std::string path_;
  bool isolated_;
  std::map<std::string, int> pending_;
  struct Read {
    VarPtr var;
    bool failed = false;
  };
  std::map<std::string, Read> read_;
};

// A variable or field found in the headers, before it becomes a data type.
struct Found {
  std::string name;
  Place place;
  LeafKind kind;
  std::string reason;  // for kRefused
  std::size_t rows = 0, columns = 0, count = 0;
  int rank = 0;
};

class TreeBuilder {
 public:
  TreeBuilder(std::shared_ptr<MatSource> source, long long max_elements,
              unsigned long long max_bytes)
      : source_(std::move(source)), max_elements_(max_elements), max_bytes_(max_bytes) {}

  // Adds the variable `info` (headers only) and its fields.
  void AddVariable(const matvar_t& info, bool cut_short) {
    // A variable without a name cannot be asked for.
    if (info.name == nullptr || info.name[0] == '\0') return;
    std::vector<Found> found;
    unsigned long long bytes = 0;
    Walk(info, info.name, Place{info.name, {}}, 0, found, bytes);
    // The whole variable is read at once, so its size decides for every field.
    const bool too_large = bytes > max_bytes_;
    for (Found& f : found) {
      if (f.kind == LeafKind::kRefused) continue;
      if (cut_short) {
        f.kind = LeafKind::kRefused;
        f.reason = "the file is cut short";
      } else if (too_large) {
        f.kind = LeafKind::kRefused;
        f.reason = "its size exceeds what the file holds";
      } else if (f.count > static_cast<unsigned long long>(max_elements_)) {
        f.kind = LeafKind::kRefused;
        f.reason = "more elements than allowed";
      }
    }
    if (found_.size() + found.size() > kMaxFields) {
      found_.push_back(
          Found{info.name, Place{info.name, {}}, LeafKind::kRefused, "too many fields to list"});
      return;
    }
    for (Found& f : found) found_.push_back(std::move(f));
  }

  // The tree; texts are read now through `mat`, one read per variable.
  std::unique_ptr<results::ResultTree> Finish(mat_t* mat) {
    auto tree = std::make_unique<results::ResultTree>();
    tree->format = "mat";
    results::Subcase& subcase = tree->subcases.emplace_back();
    subcase.label = "1";
    std::map<std::string, VarPtr> texts_read;
    for (Found& f : found_) {
      results::DataType& type = subcase.types.emplace_back();
      type.name = f.name;
      results::Request& request = type.requests.emplace_back();
      request.name = "data";
      switch (f.kind) {
        case LeafKind::kNumeric:
          AddNumeric(f, request);
          break;
        case LeafKind::kText:
          AddText(f, mat, texts_read, request);
          break;
        default:
          AddRefused("mat variable " + f.name + ": " + f.reason, request);
          break;
      }
    }
    return tree;
  }

 private:
  void Walk(const matvar_t& var, const std::string& name, const Place& place, int depth,
            std::vector<Found>& found, unsigned long long& bytes) {
    Found f{name, place, LeafKind::kRefused, {}};
    f.kind = depth > kMaxDepth ? LeafKind::kRefused : Classify(var, &f.reason);
    if (depth > kMaxDepth) f.reason = "nested too deep";
    if (f.kind != LeafKind::kRefused && !ElementCount(var, &f.count)) {
      f.kind = LeafKind::kRefused;
      f.reason = "more elements than allowed";
    }
    if (f.kind == LeafKind::kStruct) {
      WalkFields(var, name, place, depth, found, bytes);
      return;
    }
    if (f.kind != LeafKind::kRefused) {
      MatrixShape(var, &f.rows, &f.columns);
      f.rank = var.rank;
      const unsigned long long size = Mat_SizeOfClass(var.class_type);
      bytes += size != 0 && f.count > max_bytes_ / size ? max_bytes_ + 1 : f.count * size;
    }
    found.push_back(std::move(f));
  }

  void WalkFields(const matvar_t& var, const std::string& name, const Place& place, int depth,
                  std::vector<Found>& found, unsigned long long& bytes) {
    std::size_t elements = 0;
    ElementCount(var, &elements);
    const unsigned fields = Mat_VarGetNumberOfFields(const_cast<matvar_t*>(&var));
    char* const* names = Mat_VarGetStructFieldnames(&var);
    if (names == nullptr || var.data == nullptr) return;
    // Each field of each element becomes a data type: a struct array of
    // more than a table's worth is listed as one refused entry.
    if (elements != 0 && fields > kMaxFields / elements) {
      found.push_back(Found{name, place, LeafKind::kRefused, "too many fields to list"});
      return;
    }
    for (std::size_t e = 0; e < elements; ++e) {
      const std::string prefix =
          elements == 1 ? name + "." : name + "(" + std::to_string(e + 1) + ").";
      for (unsigned i = 0; i < fields; ++i) {
        matvar_t* field = Mat_VarGetStructFieldByIndex(const_cast<matvar_t*>(&var), i, e);
        if (field == nullptr || names[i] == nullptr) continue;
        Place inner = place;
        inner.steps.push_back({i, e});
        Walk(*field, prefix + names[i], inner, depth + 1, found, bytes);
      }
    }
  }

  void AddNumeric(const Found& f, results::Request& request) {
    request.components.push_back(Lazy("all", f, -1, static_cast<long long>(f.count)));
    if (f.rank == 2 && f.rows > 1 && f.columns > 1)
      for (std::size_t c = 0; c < f.columns; ++c)
        request.components.push_back(Lazy(std::to_string(c + 1), f, static_cast<long long>(c),
                                          static_cast<long long>(f.rows)));
  }

  results::Component Lazy(std::string name, const Found& f, long long column, long long length) {
    results::Component component;
    component.name = std::move(name);
    component.length = length;
    Place place = f.place;
    place.column = column;
    source_->Expect(place.top);
    component.load = [source = source_, place = std::move(place), var = f.name](
                         std::vector<double>& out, std::string* why) {
      return source->Load(place, var, out, why);
    };
    return component;
  }

  static void AddText(const Found& f, mat_t* mat, std::map<std::string, VarPtr>& texts_read,
                      results::Request& request) {
    VarPtr& top = texts_read[f.place.top];
    if (!top) top.reset(Mat_VarRead(mat, f.place.top.c_str()));
    const matvar_t* leaf = top ? Follow(top.get(), f.place.steps) : nullptr;
    results::Component component;
    std::string reason;
    if (leaf == nullptr || !TextValues(*leaf, component.texts, &reason)) {
      AddRefused("mat variable " + f.name + " could not be read", request);
      return;
    }
    component.name = "all";
    component.length = static_cast<long long>(component.texts.size());
    request.components.push_back(std::move(component));
  }

  // Listed, so that asking for it says why it gives nothing.
  static void AddRefused(std::string message, results::Request& request) {
    results::Component component;
    component.name = "all";
    component.load = [message = std::move(message)](std::vector<double>&, std::string* why) {
      *why = message;
      return false;
    };
    request.components.push_back(std::move(component));
  }

  std::shared_ptr<MatSource> source_;
  long long max_elements_;
  unsigned long long max_bytes_;
  std::vector<Found> found_;
};

bool HasMatExtension(const std::string& path) {
  if (path.size() < 4) return false;
  std::string ext = path.substr(path.size() - 4);
  for (char& c : ext) c = static_cast<char>(c | 0x20);
  return ext == ".mat";
}

long ReadInt32(const std::string& head, std::size_t at, bool big_endian) {
  unsigned long v = 0;
  for (int i = 0; i < 4; ++i) {
    const unsigned char byte = static_cast<unsigned char>(head[at + (big_endian ? i : 3 - i)]);
    v = (v << 8) | byte;
  }
  return static_cast<long>(static_cast<std::int32_t>(v));
}

// A version 4 file has no signature: its first matrix header must make sense
// (type digits MOPT with M the byte order, O zero, P a known precision and T
// full, text or sparse; a real or complex flag; a name that ends in NUL).
bool PlausibleV4(const std::string& head) {
  if (head.size() < 20) return false;
  for (bool big : {false, true}) {
    const long type = ReadInt32(head, 0, big);
    const long rows = ReadInt32(head, 4, big), cols = ReadInt32(head, 8, big);
    const long imag = ReadInt32(head, 12, big), name_len = ReadInt32(head, 16, big);
    if (type < 0 || type / 1000 != (big ? 1 : 0) || type / 100 % 10 != 0) continue;
    if (type / 10 % 10 > 5 || type % 10 > 2 || rows < 0 || cols < 0) continue;
    if ((imag != 0 && imag != 1) || name_len < 1 || name_len > 4096) continue;
    const std::size_t end = 20 + static_cast<std::size_t>(name_len) - 1;
    if (end < head.size() && head[end] != '\0') continue;
    return true;
  }
  return false;
}

bool Sniff(const std::string& path, const std::string& head) {
  // Versions 5 and 7.3 start with a text header and carry the byte-order
  // mark at 126; a short file that starts like one is still ours to reject.
  if (head.rfind("MATLAB 5.0 MAT-file", 0) == 0 || head.rfind("MATLAB 7.3 MAT-file", 0) == 0)
    return true;
  if (head.size() >= 128 && head.rfind("MATLAB ", 0) == 0) {
    const std::string mark = head.substr(126, 2);
    if (mark == "IM" || mark == "MI") return true;
  }
  return HasMatExtension(path) && PlausibleV4(head);
}

std::unique_ptr<results::ResultTree> Open(const std::string& path, const Policy& policy,
                                          std::string* why) {
  // Through the policy: restricted mode and the regular-file check apply
  // before matio sees the file.
  std::FILE* file = policy.OpenFile(path, FileMode::kRead, why);
  if (file == nullptr) return nullptr;
  struct stat status {};
  const bool sized = fstat(fileno(file), &status) == 0 && status.st_size > 0;
  MatPtr mat(sized ? Mat_Open(path.c_str(), MAT_ACC_RDONLY) : nullptr);
  const mat_ft version = mat ? Mat_GetVersion(mat.get()) : MAT_FT_UNDEFINED;
  const std::vector<Extent> extents =
      mat && version != MAT_FT_MAT73
          ? Extents(file, status.st_size, version == MAT_FT_MAT5,
                    static_cast<unsigned long long>(std::max(policy.limits.elements, 0LL)))
          : std::vector<Extent>();
  std::fclose(file);
  if (!mat) {
    *why = "not a MAT file: " + path;
    return nullptr;
  }
  const unsigned long long max_bytes =
      static_cast<unsigned long long>(status.st_size) * kMaxInflation + 4096;
  // matio would allocate what a damaged header announces at any level.
  for (const Extent& e : extents)
    if (!e.damage.empty()) {
      *why = "mat file " + path + ": " + e.damage;
      return nullptr;
    }
  auto build = [&] {
    TreeBuilder builder(std::make_shared<MatSource>(path, version == MAT_FT_MAT73),
                        policy.limits.elements, max_bytes);
    for (std::size_t i = 0; VarPtr info{Mat_VarReadNextInfo(mat.get())}; ++i)
      builder.AddVariable(*info, i < extents.size() && extents[i].cut_short);
    return builder.Finish(mat.get());
  };
  // Version 7.3 is HDF5 underneath, which can crash on a damaged file (see
  // the HDF5 reader): the same walk, and the same reads the loads will make
  // (each opens the file afresh for one variable), run first in a child,
  // and only a file that it gets through is walked here.
  if (version == MAT_FT_MAT73) {
    std::string ignored;
    const IsolatedResult trial = RunIsolated(
        [&] {
          build();
          MatPtr names(Mat_Open(path.c_str(), MAT_ACC_RDONLY));
          while (names) {
            VarPtr info{Mat_VarReadNextInfo(names.get())};
            if (!info) break;
            if (info->name != nullptr) ReadVariable(path, info->name);
          }
          return std::string();
        },
        ignored, kTrialSeconds);
    if (trial == IsolatedResult::kDied) {
      *why = "mat file " + path + ": the file is damaged";
      return nullptr;
    }
  }
  return build();
}

// matio reports damaged files on standard error; the reader's message says
// what went wrong instead.
void Quiet(int, char*) {}

[[maybe_unused]] const bool kRegistered = [] {
  Mat_LogInitFunc("quorvix", &Quiet);
  results::AddReaderFormat({"mat", results::kRankBinary, &Sniff, &Open});
  return true;
}();

}  // namespace

}  // namespace quorvix::matfile
