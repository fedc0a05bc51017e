// The process-wide lists of data readers that templates, the preference file
// and the host register: external reader programs, import templates and
// shared reader modules. Registrations outlive fillers and parsers and end
// only with the Clear operations (Filler::Clear*) or the process.
//
// Every operation takes the lists' lock, so a host may read them from any
// thread; the accessors hand out copies.
#ifndef QUORVIX_READER_LISTS_H
#define QUORVIX_READER_LISTS_H

#include <memory>
#include <string>
#include <vector>

// A reader that gets its data by filling an import template. It knows only
// its template's path until the readers themselves arrive.
class FileReader {
 public:
  explicit FileReader(std::string path) : path_(std::move(path)) {}
  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

class VectorFileControl;

class VectorFileList {
 public:
  // Result files (quorvix/vector_file.h). The file `name` names: first
  // against the working directory, then along the search directories, as
  // the parser's policy lets it read; empty when it is nowhere.
  static std::string FindPath(const std::string& name);
  // The controller of the file at `path` (resolved), whose reads use
  // `subcase`; null when the file is not there or cannot be read (reported
  // as a warning, a missing file only outside Importlib::SuspendFileNotFound).
  static std::shared_ptr<VectorFileControl> Add(int subcase, const std::string& path);

  // External reader programs: the three lists run in parallel.
  static std::vector<std::string> external_reader_path();
  static std::vector<std::string> external_reader_type();
  static std::vector<std::string> external_reader_ext();
  // Import templates. The type and extension lists hold only what was given,
  // so they run in parallel with the readers when every registration gave
  // both.
  static std::vector<std::shared_ptr<const FileReader>> template_reader();
  static std::vector<std::string> template_reader_type();
  static std::vector<std::string> template_reader_ext();

  // Appends an external reader. With `unique`, a path already listed is not
  // added again; returns whether it was added.
  static bool AddExternalReader(const std::string& path, const std::string& type,
                                const std::string& ext, bool unique);
  // Appends a FileReader on `path`, and the type and extension that are not
  // null.
  static void AddTemplateReader(const std::string& path, const char* type, const char* ext);
  static void ClearExternalReaders();
  static void ClearTemplateReaders();
};

// The paths of the shared reader modules (*.so plug-ins).
class vqReaderModuleList {
 public:
  static void AddReaderPath(const std::string& path);
  static void ClearReaderPaths();
  static std::vector<std::string> ReaderPaths();
};

#endif  // QUORVIX_READER_LISTS_H
