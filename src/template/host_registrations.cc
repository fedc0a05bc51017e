// The host's registrations: Filler's static operations over the
// process-wide reader lists and the function registry.
#include "quorvix/filler.h"
#include "quorvix/reader_lists.h"
#include "results/reader_registration.h"

void Filler::ReadExternalFunction(const char* name, MathParser* parser, const char* path) {
  quorvix::RegisterExternalFunction(name, path, parser);
}

void Filler::ReadExternalReader(const char* path, const char* type, const char* ext, bool check) {
  // `check` used to open the file once more; the existence test covers it.
  static_cast<void>(check);
  quorvix::RegisterExternalReader(path, type, ext, nullptr);
}

void Filler::ReadExternalReader(const char* path) { ReadExternalReader(path, "", "", false); }

void Filler::ReadImportTemplate(const char* path, const char* type, const char* ext) {
  quorvix::RegisterImportTemplate(path, type, ext, nullptr);
}

void Filler::ReadSharedReader(const char* name, const std::vector<std::string>& directories) {
  if (name == nullptr) return;
  const std::string found = quorvix::FindSharedReader(name, directories);
  if (!found.empty()) vqReaderModuleList::AddReaderPath(found);
}

void Filler::ClearExternalReaders() { VectorFileList::ClearExternalReaders(); }
void Filler::ClearImportTemplates() { VectorFileList::ClearTemplateReaders(); }
void Filler::ClearSharedReaders() { vqReaderModuleList::ClearReaderPaths(); }
