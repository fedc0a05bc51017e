// The reference entries come from the registration tables themselves, so
// help and the generated reference cannot drift from what is registered.
#include "quorvix/reference.h"

#include <algorithm>
#include <string_view>

#include "builtins/builtin_table.h"
#include "template/statement_reference.h"

namespace quorvix {

namespace {

struct BuiltinNote {
  std::string_view name;
  const char* note;
};

// Built-ins whose example gives a different result from run to run or
// machine to machine, or needs more than the library itself.
constexpr BuiltinNote kNotes[] = {
    {"cr", "the result is a carriage return and a line feed"},
    {"date", "the result is today's date"},
    {"extern", "needs the external function twice, registered from examples/extern/twice.py"},
    {"fileclose", "the result is a handle that differs from run to run"},
    {"filefindstring", "the result depends on the running process"},
    {"filereadstring", "the result depends on the running process"},
    {"fileopen", "the result is a handle that differs from run to run"},
    {"getenv", "the result depends on the environment"},
    {"getvalue", "needs the result file results.csv in the working directory"},
    {"rand", "the result is random"},
    {"read", "needs the result file results.csv in the working directory"},
    {"readsubcase", "needs the result file results.csv in the working directory"},
    {"sysarch", "the result depends on the host program"},
    {"tclgetvar", "the result depends on the Tcl version"},
    {"time", "the result is the time of day"},
    {"timer", "the result depends on the processor clock"},
};

const char* NoteFor(std::string_view name) {
  for (const BuiltinNote& n : kNotes)
    if (n.name == name) return n.note;
  return "";
}

}  // namespace

std::vector<ReferenceEntry> BuiltinReference() {
  std::vector<ReferenceEntry> entries;
  for (const TitledBuiltinFamily& family : TitledBuiltinFamilies()) {
    const std::size_t first = entries.size();
    for (const BuiltinEntry& e : family.rows())
      entries.push_back(
          {e.name, family.title, e.usage, e.synopsis, e.example, e.nargs, NoteFor(e.name)});
    std::sort(entries.begin() + static_cast<long>(first), entries.end(),
              [](const ReferenceEntry& a, const ReferenceEntry& b) { return a.name < b.name; });
  }
  return entries;
}

std::vector<ReferenceEntry> StatementReference() {
  std::vector<ReferenceEntry> entries;
  for (const StatementReferenceRow& r : StatementReferenceRows())
    entries.push_back({r.keyword, r.group, r.usage, r.synopsis, r.example, 0, ""});
  return entries;
}

}  // namespace quorvix
