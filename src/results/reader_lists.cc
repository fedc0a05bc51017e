#include "quorvix/reader_lists.h"

#include <algorithm>
#include <mutex>

namespace {

struct Lists {
  std::mutex lock;
  std::vector<std::string> reader_path;
  std::vector<std::string> reader_type;
  std::vector<std::string> reader_ext;
  std::vector<std::shared_ptr<const FileReader>> template_reader;
  std::vector<std::string> template_type;
  std::vector<std::string> template_ext;
  std::vector<std::string> module_path;
};

// Built on first use and never destroyed, so that a host's registration
// from a static destructor still finds the lists.
Lists& Registered() {
  static Lists* lists = new Lists;
  return *lists;
}

template <typename T>
std::vector<T> Snapshot(const std::vector<T> Lists::*list) {
  Lists& l = Registered();
  std::lock_guard guard(l.lock);
  return l.*list;
}

}  // namespace

std::vector<std::string> VectorFileList::external_reader_path() {
  return Snapshot(&Lists::reader_path);
}
std::vector<std::string> VectorFileList::external_reader_type() {
  return Snapshot(&Lists::reader_type);
}
std::vector<std::string> VectorFileList::external_reader_ext() {
  return Snapshot(&Lists::reader_ext);
}
std::vector<std::shared_ptr<const FileReader>> VectorFileList::template_reader() {
  return Snapshot(&Lists::template_reader);
}
std::vector<std::string> VectorFileList::template_reader_type() {
  return Snapshot(&Lists::template_type);
}
std::vector<std::string> VectorFileList::template_reader_ext() {
  return Snapshot(&Lists::template_ext);
}

bool VectorFileList::AddExternalReader(const std::string& path, const std::string& type,
                                       const std::string& ext, bool unique) {
  Lists& l = Registered();
  std::lock_guard guard(l.lock);
  if (unique && std::find(l.reader_path.begin(), l.reader_path.end(), path) != l.reader_path.end())
    return false;
  l.reader_path.push_back(path);
  l.reader_type.push_back(type);
  l.reader_ext.push_back(ext);
  return true;
}

void VectorFileList::AddTemplateReader(const std::string& path, const char* type, const char* ext) {
  auto reader = std::make_shared<const FileReader>(path);
  Lists& l = Registered();
  std::lock_guard guard(l.lock);
  l.template_reader.push_back(std::move(reader));
  if (type != nullptr) l.template_type.emplace_back(type);
  if (ext != nullptr) l.template_ext.emplace_back(ext);
}

void VectorFileList::ClearExternalReaders() {
  Lists& l = Registered();
  std::lock_guard guard(l.lock);
  l.reader_path.clear();
  l.reader_type.clear();
  l.reader_ext.clear();
}

void VectorFileList::ClearTemplateReaders() {
  Lists& l = Registered();
  std::lock_guard guard(l.lock);
  l.template_reader.clear();
  l.template_type.clear();
  l.template_ext.clear();
}

void vqReaderModuleList::AddReaderPath(const std::string& path) {
  Lists& l = Registered();
  std::lock_guard guard(l.lock);
  l.module_path.push_back(path);
}

void vqReaderModuleList::ClearReaderPaths() {
  Lists& l = Registered();
  std::lock_guard guard(l.lock);
  l.module_path.clear();
}

std::vector<std::string> vqReaderModuleList::ReaderPaths() { return Snapshot(&Lists::module_path); }
