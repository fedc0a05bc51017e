#include "results/reader_registration.h"

#include <cstdio>

#include "quorvix/app_info.h"
#include "quorvix/message_service.h"
#include "quorvix/reader_lists.h"

namespace quorvix {

void ReportWarning(const std::string& text, const MathParser* parser) {
  MessageServiceBase* service =
      parser != nullptr ? parser->MessageService() : MathParser::GetActiveMessageService();
  if (service != nullptr)
    service->Message(text.c_str());
  else
    std::fprintf(stderr, "%s\n", text.c_str());
}

bool FileOpens(const std::string& path) {
  // The host and the preference file are trusted: the default policy only
  // insists on a regular file.
  static const Policy kTrusted;
  std::string why;
  std::FILE* f = kTrusted.OpenFile(path, FileMode::kRead, &why);
  if (f == nullptr) return false;
  std::fclose(f);
  return true;
}

void RegisterExternalFunction(const char* name, const char* path, const MathParser* messages_from) {
  const std::string program = path != nullptr ? path : "";
  if (name == nullptr || !FileOpens(program)) {
    ReportWarning("External function " + program + " not found.", messages_from);
    return;
  }
  MathParser::AddExternalFunc(name, program.c_str(), 1);
}

void RegisterExternalReader(const char* path, const char* type, const char* ext,
                            const MathParser* messages_from) {
  const std::string program = path != nullptr ? path : "";
  if (!FileOpens(program)) {
    ReportWarning("External reader " + program + " not found.", messages_from);
    return;
  }
  VectorFileList::AddExternalReader(program, type != nullptr ? type : "", ext != nullptr ? ext : "",
                                    true);
}

void RegisterImportTemplate(const char* path, const char* type, const char* ext,
                            const MathParser* messages_from) {
  const std::string file = path != nullptr ? path : "";
  if (!FileOpens(file)) {
    ReportWarning("Import template " + file + " not found.", messages_from);
    return;
  }
  VectorFileList::AddTemplateReader(file, type, ext);
}

std::string FindSharedReader(const std::string& name, const std::vector<std::string>& dirs) {
  const std::string suffix = kSharedReaderSuffix;
  if (name.size() >= suffix.size() &&
      name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0 && FileOpens(name))
    return name;
  for (const std::string& dir : dirs) {
    std::string candidate = dir + "/" + name + suffix;
    if (FileOpens(candidate)) return candidate;
  }
  return {};
}

std::string SharedReaderForPreference(const std::string& text) {
  if (FileOpens(text)) return text;
  const VQApplicationInfo* info = MathParser::GetAppInfo();
  if (info == nullptr) return {};
  const std::string dir = info->GetSpecifiedPath("vq_readers");
  if (dir.empty()) return {};
  return dir + "/" + text + kSharedReaderSuffix;
}

}  // namespace quorvix
