// DOEFiller::ScanForOptimizationParameters: the declarations of a template
// and of the files it includes, found without running the template.
#include <limits.h>
#include <stdlib.h>

#include <cstring>
#include <set>
#include <string>
#include <string_view>

#include "quorvix/filler.h"
#include "template/text_scan.h"
#include "util/search_path.h"

namespace {

using quorvix::IsBlank;
using quorvix::IsWordChar;
using quorvix::Unquoted;

// Included files nest at most this deep; each file is scanned once, so a
// file that includes itself (or a cycle of files) ends there as well.
constexpr int kMaxIncludeDepth = 64;

void SkipBlanks(const char*& p) {
  while (IsBlank(*p)) ++p;
}

bool Comma(const char*& p) {
  SkipBlanks(p);
  if (*p != ',') return false;
  ++p;
  return true;
}

std::string Word(const char*& p) {
  const char* start = p;
  while (IsWordChar(*p)) ++p;
  return std::string(start, static_cast<std::size_t>(p - start));
}

// One argument up to the next unnested ',', ')', ';' or '}', without the
// blanks around it.
std::string Argument(const char*& p) {
  SkipBlanks(p);
  const char* start = p;
  p = quorvix::BalanceEnd(p);
  const char* end = p;
  while (end > start && IsBlank(end[-1])) --end;
  return std::string(start, static_cast<std::size_t>(end - start));
}

// True when the word `word` starts at `at` and stands alone on its left.
bool WordAt(const char* text, const char* at) { return at == text || !IsWordChar(at[-1]); }

class Scanner {
 public:
  Scanner(DOEFiller& filler, const quorvix::Policy& policy) : filler_(filler), policy_(policy) {}

  void Scan(const char* text, int depth) {
    static constexpr std::string_view kParameter = "parameter";
    for (const char* at = std::strstr(text, kParameter.data()); at != nullptr;
         at = std::strstr(at + kParameter.size(), kParameter.data())) {
      if (WordAt(text, at)) Declaration(at + kParameter.size());
    }
    if (depth >= kMaxIncludeDepth) return;
    static constexpr std::string_view kInclude = "include";
    for (const char* at = std::strstr(text, kInclude.data()); at != nullptr;
         at = std::strstr(at + kInclude.size(), kInclude.data())) {
      if (!WordAt(text, at)) continue;
      const char* p = at + kInclude.size();
      SkipBlanks(p);
      if (*p != '"') continue;
      const char* end = std::strchr(p + 1, '"');
      if (end == nullptr) break;
      Include(std::string(p + 1, static_cast<std::size_t>(end - p - 1)), depth);
    }
  }

  std::vector<std::string> TakeNames() { return std::move(names_); }

 private:
  void Declaration(const char* p) {
    SkipBlanks(p);
    if (*p != '(') return;
    ++p;
    SkipBlanks(p);
    const std::string name = Word(p);
    if (name.empty() || !Comma(p)) return;
    SkipBlanks(p);
    std::string type;
    if (*p == '"') {
      const char* end = quorvix::SkipQuoted(p);
      type = Unquoted(std::string(p, static_cast<std::size_t>(end - p)));
      p = end;
    } else {
      type = Word(p);
    }
    if (!Comma(p)) return;
    SkipBlanks(p);
    if (*p != '"') {
      const std::string nominal = Argument(p);
      if (Comma(p)) {
        const std::string lower = Argument(p);
        if (Comma(p)) {
          const std::string upper = Argument(p);
          filler_.SetOptimizationParameter(name.c_str(), type.c_str(), nominal.c_str(),
                                           lower.c_str(), upper.c_str());
        }
      }
    } else {
      std::vector<std::string> levels;
      do {
        levels.push_back(Unquoted(Argument(p)));
      } while (Comma(p));
      filler_.SetOptimizationParameter(name.c_str(), type.c_str(), std::move(levels));
    }
    SkipBlanks(p);
    if (*p == ')') names_.push_back(name);
  }

  void Include(const std::string& name, int depth) {
    std::string refusal;
    std::string path = quorvix::FindOnSearchPath(policy_, name, refusal);
    if (path.empty()) path = name;
    char resolved[PATH_MAX];
    const std::string key = ::realpath(path.c_str(), resolved) ? resolved : path;
    if (!scanned_.insert(key).second) return;
    std::string text;
    if (!policy_.ReadFile(path, text, nullptr)) return;
    // The scan stops at a NUL byte, as a fill of the file would.
    Scan(text.c_str(), depth + 1);
  }

  DOEFiller& filler_;
  const quorvix::Policy& policy_;
  std::vector<std::string> names_;
  std::set<std::string> scanned_;
};

}  // namespace

std::vector<std::string> DOEFiller::ScanForOptimizationParameters(const char* text) {
  ResetParameterList();
  MathParser* parser = GetMathParser();
  static const quorvix::Policy kOpen;
  Scanner scanner(*this, parser != nullptr ? parser->policy() : kOpen);
  if (text != nullptr) scanner.Scan(text, 0);
  return scanner.TakeNames();
}
