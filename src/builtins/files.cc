// File and path built-ins: existence, streams opened by handle, reading by
// pattern and by text, and path arithmetic. Streams live in the handle table
// (file_handles.h); every file opened goes through the parser's policy.
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <span>
#include <string>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/file_handles.h"
#include "quorvix/math_parser.h"
#include "util/paths.h"
#include "util/regex.h"
#include "util/search_path.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::HasString;
using builtins::Report;

constexpr char kInvalidHandle[] = "Invalid file handle";
constexpr char kArg1String[] = "Argument 1 must be a string";
constexpr char kArg2String[] = "Argument 2 must be a string";
// One read of filereadstring, and the longest line filefindstring reads at once.
constexpr std::size_t kReadBlock = 16384;

const Policy& CurrentPolicy() {
  static const Policy kDefault;
  return MathParser::current_parser != nullptr ? MathParser::current_parser->policy() : kDefault;
}

// The record in slot i, taken, holding `text` as its one string.
symtab* StringResult(Args& args, int i, const std::string& text) {
  symtab* v = args.Take(i);
  if (v == nullptr) v = new symtab;
  v->SetString(text.c_str());
  return args.Release(v);
}

symtab* ScalarResult(Args& args, int i, double x) {
  symtab* v = args.Take(i);
  if (v == nullptr) v = new symtab;
  builtins::ReduceToScalar(*v, x);
  return args.Release(v);
}

// Both arguments of a handle function must hold strings; without them the
// call gives null and reports nothing.
bool TwoStrings(const Args& args) { return HasString(*args.Peek(0)) && HasString(*args.Peek(1)); }

symtab* FileExists(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  if (!args.Check(0, HasString, "String expected in FILEEXISTS function")) return nullptr;
  const char* name = args.Peek(0)->str_list[0];
  std::string why;
  if (!CurrentPolicy().MayInspect(name, &why)) return args.Fail(why.c_str());
  return ScalarResult(args, 0, ::access(name, F_OK) == 0 ? 1.0 : 0.0);
}

bool IsStringKind(const symtab& v) { return v.type == SYM_STRINGS; }

symtab* FileOpen(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  if (!args.Check(0, IsStringKind, kArg1String) || !args.Check(1, IsStringKind, kArg2String))
    return nullptr;
  if (!TwoStrings(args)) return nullptr;
  const char* name = args.Peek(0)->str_list[0];
  const char* mode = args.Peek(1)->str_list[0];
  // The test is on the mode although the message speaks of the file.
  if (mode[0] == '\0') return args.Fail("File not specified");
  const Policy& policy = CurrentPolicy();
  std::string refusal;
  std::string path = FindOnSearchPath(policy, name, refusal);
  if (path.empty()) path = name;  // a file to be created
  std::string why;
  bool refused = false;
  std::FILE* f = policy.OpenFile(path, mode, &why, &refused);
  if (f == nullptr) return args.Fail(refused ? why.c_str() : "File not found");
  return StringResult(args, 0, builtins::AddStream(f));
}

symtab* FileClose(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  if (!HasString(*args.Peek(0))) return nullptr;
  if (!builtins::CloseStream(args.Peek(0)->str_list[0])) return args.Fail(kInvalidHandle);
  return args.Release(args.Take(0));
}

symtab* FileReadString(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  if (!TwoStrings(args)) return nullptr;
  auto stream = builtins::FindStream(args.Peek(0)->str_list[0]);
  if (stream == nullptr) return args.Fail(kInvalidHandle);
  Regex pattern(args.Peek(1)->str_list[0]);
  std::string block(kReadBlock, '\0');
  std::string result;
  {
    std::lock_guard<std::mutex> hold(stream->lock);
    std::FILE* f = stream->file;
    const long start = std::ftell(f);
    block.resize(std::fread(block.data(), 1, kReadBlock, f));
    std::size_t offset = 0, length = 0;
    if (start >= 0 && pattern.Search(block, 0, &offset, &length)) {
      result = block.substr(offset, length);
      std::fseek(f, start + static_cast<long>(offset + length), SEEK_SET);
    }
  }
  return StringResult(args, 0, result);
}

symtab* FileFindString(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  if (!TwoStrings(args)) return nullptr;
  auto stream = builtins::FindStream(args.Peek(0)->str_list[0]);
  if (stream == nullptr) return args.Fail(kInvalidHandle);
  const char* text = args.Peek(1)->str_list[0];
  std::string line(kReadBlock, '\0');
  bool found = false;
  {
    std::lock_guard<std::mutex> hold(stream->lock);
    std::FILE* f = stream->file;
    long start = std::ftell(f);
    while (start >= 0 && std::fgets(line.data(), static_cast<int>(kReadBlock), f) != nullptr) {
      if (const char* at = std::strstr(line.c_str(), text)) {
        std::fseek(f, start + (at - line.c_str()) + static_cast<long>(std::strlen(text)), SEEK_SET);
        found = true;
        break;
      }
      start = std::ftell(f);
    }
  }
  return ScalarResult(args, 0, found ? 1.0 : 0.0);
}

// relativetoabs and abstorelative: two strings, each with its own messages.
template <std::string (*Convert)(const std::string&, const std::string&), const char* CountMessage,
          const char* KindMessage>
symtab* PathPair(sym_list* list) {
  Args args(list);
  if (args.size() != 2) return args.Fail(CountMessage);
  if (!args.Check(0, HasString, KindMessage) || !args.Check(1, HasString, KindMessage))
    return nullptr;
  return StringResult(args, 0, Convert(args.Peek(0)->str_list[0], args.Peek(1)->str_list[0]));
}

constexpr char kRelCount[] = "Invalid number of arguments in RELATIVETOABS function";
constexpr char kRelKind[] = "String expected in RELATIVETOABS function";
constexpr char kAbsCount[] = "Invalid number of arguments in ABSTORELATIVE function";
constexpr char kAbsKind[] = "String expected in ABSTORELATIVE function";

symtab* RemoveFilePathFn(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1) || !args.Check(0, HasString, kArg1String)) return nullptr;
  return StringResult(args, 0, RemoveFilePath(args.Peek(0)->str_list[0]));
}

symtab* AddFilePath(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1) || !args.Check(0, HasString, kArg1String)) return nullptr;
  AddSearchDirectory(args.Peek(0)->str_list[0]);
  return StringResult(args, 0, "");
}

constexpr unsigned kReads = kReadsFiles;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kFileBuiltins[] = {
    {"abstorelative",  PathPair<AbsToRelative, kAbsCount, kAbsKind>, 2, kNoCallFlags, nullptr,
     "abstorelative(path, base)", "path as seen from the directory base", "abstorelative(\"/a/b/c\", \"/a/d\")"},
    {"addfilepath",    AddFilePath,     1, kWidensSearchPath, nullptr,
     "addfilepath(dir)", "adds dir to the search directories; the empty string", "addfilepath(\"/opt/quorvix/templates\")"},
    {"fileclose",      FileClose,       1, kReads, nullptr,
     "fileclose(handle)", "closes a stream opened by fileopen; the handle", "fileclose(fileopen(\"/dev/null\", \"w\"))"},
    {"fileexists",     FileExists,      1, kReads, nullptr,
     "fileexists(name)", "1 when the file exists, else 0", "fileexists(\"/\")"},
    {"filefindstring", FileFindString,  2, kReads, nullptr,
     "filefindstring(handle, text)", "moves past the next line holding text: 1, or 0 at the end", "filefindstring(fileopen(\"/proc/self/status\", \"r\"), \"Pid:\")"},
    {"fileopen",       FileOpen,        2, kReads | kMayWriteFiles, nullptr,
     "fileopen(name, mode)", "opens a file along the search directories; a handle", "fileopen(\"/dev/null\", \"w\")"},
    {"filereadstring", FileReadString,  2, kReads, nullptr,
     "filereadstring(handle, pattern)", "the next match of pattern in the next 16 KiB; the stream moves past it", "filereadstring(fileopen(\"/proc/self/status\", \"r\"), \"[0-9]+\")"},
    {"relativetoabs",  PathPair<RelativeToAbs, kRelCount, kRelKind>, 2, kNoCallFlags, nullptr,
     "relativetoabs(path, base)", "path made absolute against the directory base", "relativetoabs(\"../c\", \"/a/b\")"},
    {"removefilepath", RemoveFilePathFn, 1, kNoCallFlags, nullptr,
     "removefilepath(path)", "the file name without its directories", "removefilepath(\"/a/b.txt\")"},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> FileBuiltins() { return kFileBuiltins; }

}  // namespace quorvix
