#include "reference_examples.h"

#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <system_error>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/tcl_setup.h"
#include "quorvix/value_format.h"

namespace quorvix::cli {

namespace {

namespace fs = std::filesystem;

// Makes a new directory the working directory for its lifetime.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::error_code ec;
    previous_ = fs::current_path(ec);
    std::string pattern = (fs::temp_directory_path(ec) / "quorvix-example-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) return;
    path_ = pattern;
    fs::current_path(path_, ec);
  }
  ~ScratchDirectory() {
    std::error_code ec;
    if (!previous_.empty()) fs::current_path(previous_, ec);
    if (!path_.empty()) fs::remove_all(path_, ec);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

 private:
  fs::path previous_;
  fs::path path_;
};

std::string WithoutCarriageReturns(const char* text) {
  std::string out;
  for (const char* p = text; *p != '\0'; ++p)
    if (!(p[0] == '\r' && p[1] == '\n')) out += *p;
  return out;
}

}  // namespace

ExampleResult RunBuiltinExample(const ReferenceEntry& entry) {
  ScratchDirectory scratch;
  CreateTclInterpreter();
  MathParser parser;
  MathParser::ClearError();
  std::unique_ptr<symtab, void (*)(symtab*)> value(
      parser.Evaluate(const_cast<char*>(entry.example.c_str())), [](symtab* v) { v->Delete(); });
  if (value == nullptr) {
    const std::string& message = MathParser::ErrorText();
    return {false, message.empty() ? "evaluation failed" : message};
  }
  std::string text;
  if (!FormatValue(*value, ValueFormat(), text)) return {false, "Undefined value type"};
  return {true, text};
}

ExampleResult RunStatementExample(const ReferenceEntry& entry) {
  ScratchDirectory scratch;
  Filler filler;
  char* errors = nullptr;
  std::unique_ptr<char[]> out(filler.Fill(entry.example.c_str(), &errors));
  std::unique_ptr<char[]> error_text(errors);
  if (error_text != nullptr) return {false, WithoutCarriageReturns(error_text.get())};
  return {true, out != nullptr ? WithoutCarriageReturns(out.get()) : ""};
}

}  // namespace quorvix::cli
