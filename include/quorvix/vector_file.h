// Reading result files: the controller of one open file and the one-call
// reads. A file is addressed by subcase, data type, request and component
// (0-based indices, or names); each component is one vector of numbers.
// Files are parsed once and shared through a cache (see the README's
// "Result files"), so controllers are cheap to make.
#ifndef QUORVIX_VECTOR_FILE_H
#define QUORVIX_VECTOR_FILE_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "quorvix/reader_lists.h"

namespace quorvix::results {
class CachedFile;
}

// One value of a file and where it sits: `text` holds the value (a number
// in its shortest exact form, or a string of a text component).
struct ValuePair {
  std::string text;
  int type = -1;
  int request = -1;
  int component = -1;
  long long element = -1;
};

class VectorFileControl {
 public:
  VectorFileControl(std::shared_ptr<quorvix::results::CachedFile> file, int subcase);
  ~VectorFileControl();

  // The type index; with a request and component name (either may be
  // null), the first type that holds them. -1 when there is none.
  int GetDataTypeIndex(const char* type, const char* request, const char* component,
                       void* reserved = nullptr) const;
  int GetRequestIndex(int type, const char* request, void* reserved = nullptr) const;
  // The index of the component within its request, for the first request
  // of the type that has one of that name; -1 when none has.
  int GetComponentIndex(int type, const char* component, void* reserved = nullptr) const;
  // -1 when no subcase has the label.
  int GetSubcaseIndexFromLabel(const char* label) const;
  int GetNumSubcases() const;
  int GetNumDatatypes() const;
  int GetNumRequests(int type) const;
  // The most components any request of the type has.
  int GetNumComponents(int type) const;

  // The value of the component `variable` names (found as read(file, NAME)
  // finds it) in subcase `record`, at element `entity`. Null when it is not
  // there or its numbers are not loaded yet (SetMark and GetData load them).
  const ValuePair* qdfGetValuePair(const char* variable, int record, int entity);
  // Element 0 of the component at the indices, in this controller's subcase.
  const ValuePair* qdfGetValuePair(int type, int request, int component);
  // The element after `pair` in the same component; null past the end.
  const ValuePair* qdfGetNextValuePair(const ValuePair* pair);

  // Marks the component at the indices for loading; with `all`, every
  // component of the file.
  void SetMark(int type, int request, int component, bool all);
  // Loads the marked components and clears the marks; false when a load
  // failed.
  bool GetData();

  // The component's numbers, loaded when needed; nothing for an address
  // that is not there.
  std::optional<std::vector<double>> Read(int subcase, int type, int request, int component);

  const std::string& Path() const;

  // What the file holds, for listing it: the reader's format name, the
  // names at each level (empty for an index that is not there), and a
  // component's unit and element count (-1 when not known before loading).
  const std::string& Format() const;
  std::string GetSubcaseLabel(int subcase) const;
  std::string GetDataTypeName(int type) const;
  std::string GetRequestName(int type, int request) const;
  int GetNumComponents(int type, int request) const;
  std::string GetComponentName(int type, int request, int component) const;
  std::string GetComponentUnit(int type, int request, int component) const;
  long long GetComponentLength(int type, int request, int component) const;

 private:
  friend class VectorFile;
  struct Mark {
    int type, request, component;
    bool all;
  };
  const ValuePair* PairAt(int subcase, int type, int request, int component, long long element);

  std::shared_ptr<quorvix::results::CachedFile> file_;
  int subcase_;
  int pair_subcase_ = 0;
  ValuePair pair_;
  std::vector<Mark> marks_;
};

class VectorFile {
 public:
  // The vector of a resolved file by names: a request and component name
  // both empty make `type` one name looked up as read(file, NAME) does.
  static std::optional<std::vector<double>> GetVector(const std::string& path, const char* type,
                                                      const char* request, const char* component);
  // By indices in subcase 0, or in `subcase`.
  static std::optional<std::vector<double>> GetVector(const std::string& path, int type,
                                                      int request, int component);
  static std::optional<std::vector<double>> GetVector(const std::string& path, int subcase,
                                                      int type, int request, int component);
};

namespace Importlib {

// While one lives on this thread, VectorFileList::Add says nothing about a
// missing file (the functions that read results answer it themselves).
class SuspendFileNotFound {
 public:
  SuspendFileNotFound();
  ~SuspendFileNotFound();
  SuspendFileNotFound(const SuspendFileNotFound&) = delete;
  SuspendFileNotFound& operator=(const SuspendFileNotFound&) = delete;
  static bool Active();
};

}  // namespace Importlib

#endif  // QUORVIX_VECTOR_FILE_H
