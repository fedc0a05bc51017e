#include "results/registered_match.h"

#include <cctype>
#include <cstdio>

#include "results/delimited_reader.h"
#include "results/result_tree.h"

namespace quorvix::results {

bool ExtensionMatches(const std::string& path, std::string_view ext) {
  if (ext.starts_with('*')) ext.remove_prefix(1);
  if (ext.starts_with('.')) ext.remove_prefix(1);
  if (ext.empty()) return false;
  const std::size_t slash = path.rfind('/');
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return false;
  const std::string_view own = std::string_view(path).substr(dot + 1);
  if (own.size() != ext.size()) return false;
  for (std::size_t i = 0; i < own.size(); ++i)
    if (std::tolower(static_cast<unsigned char>(own[i])) !=
        std::tolower(static_cast<unsigned char>(ext[i])))
      return false;
  return true;
}

bool RegisteredExtensionTakes(const std::string& path, const std::string& head,
                              std::string_view ext) {
  if (!ext.empty()) return ExtensionMatches(path, ext);
  // A reader registered without an extension (the template statement gives
  // none) stands in for the built-in readers only where they see nothing.
  for (const ReaderFormat& format : ReaderFormats())
    if (format.rank > kRankRegistered && format.rank < kRankFallback && format.sniff(path, head))
      return false;
  return true;
}

int FirstTaker(const std::string& path, const std::string& head,
               const std::vector<std::string>& exts) {
  for (std::size_t i = 0; i < exts.size(); ++i)
    if (RegisteredExtensionTakes(path, head, exts[i])) return static_cast<int>(i);
  return -1;
}

bool ReadHead(const std::string& path, const Policy& policy, std::string& head, std::string* why) {
  std::FILE* f = policy.OpenFile(path, FileMode::kRead, why);
  if (f == nullptr) return false;
  head.resize(4096);
  head.resize(std::fread(head.data(), 1, head.size(), f));
  std::fclose(f);
  return true;
}

std::unique_ptr<ResultTree> TreeOfOutput(std::string_view text, const std::string& what,
                                         const std::string& type, const char* fallback,
                                         const Policy& policy, std::string* why) {
  std::unique_ptr<ResultTree> tree = ParseDelimited(text, what, policy.limits.elements, why);
  if (tree != nullptr) tree->format = type.empty() ? fallback : type;
  return tree;
}

}  // namespace quorvix::results
