// The template engine. A filler copies a template text to an output text and
// executes the statements and expressions written between curly braces.
//
// Ownership: Fill and FillLabel return new[] texts that the caller frees with
// delete[]; the error text handed out through `errors` likewise (null when
// there was no error). Evaluate's record stays owned by the filler until the
// caller takes it with GetReturnCode.
#ifndef QUORVIX_FILLER_H
#define QUORVIX_FILLER_H

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "quorvix/math_parser.h"
#include "quorvix/optimization_parameter.h"
#include "quorvix/output_sink.h"
#include "quorvix/symtab.h"

namespace quorvix {
class Engine;
}  // namespace quorvix

class FillerBase {
 public:
  FillerBase();
  explicit FillerBase(MathParser* parser);
  // A copy has its own macros, switches and formats, and its own parser when
  // the original owns one.
  FillerBase(const FillerBase& other);
  FillerBase& operator=(const FillerBase& other);
  virtual ~FillerBase();

  virtual char* Fill(const char* text, char** errors) = 0;

  symtab* GetReturnCode();
  MathParser* GetMathParser();
  static int CheckForBreak() { return 0; }
  void SafeQuotes(int on);
  static void AllowInlineFunctions(bool on);
  static bool InlineFunctionsAllowed();
  int AttachNoteIdx() const;
  int AttachNoteOn() const;
  int AutoFillReport() const;
  double StartTime() const;
  double EndTime() const;
  double DefaultIncr() const;
  bool GetAnimationEnabled() const;
  void SetAnimationEnabled(bool on);
  // Files written by "open" and "append" get LF line ends instead of CR LF.
  void SetLfInFiles(bool on);

  // Host macros: "name,params)body"; stored under the bare name.
  int DefineMacro(char* definition);
  // "name,args)": the expanded text (new[]), or null.
  char* EvaluateMacro(char* call);
  void RemoveMacro(char* name);
  void ResetMacros();

  // The process-wide include path.
  static std::vector<std::string>& IncludePath();

 protected:
  std::unique_ptr<quorvix::Engine> engine_;
};

class Filler : public FillerBase {
 public:
  Filler() = default;
  explicit Filler(MathParser* parser) : FillerBase(parser) {}
  char* Fill(const char* text, char** errors) override;
  // As Fill without error collection; null when the parser reported an error.
  char* FillLabel(const char* text);
  // Fills the text from its first '{' and returns the "return" value.
  symtab* Evaluate(const char* text, char** errors);
  // Fills the contents of a file, which error reports then name. Returns
  // null (and no error text) when the file cannot be read.
  char* FillFile(const char* path, char** errors);
  // As Fill and FillFile, but the output goes to `sink` as the fill goes,
  // so that a fill of any size runs in flat memory. Returns 0 when the fill
  // reported no error, 1 when it did (a write the sink refused adds "output
  // write failed" to the error text), and -1 (no error text) when the file
  // cannot be read.
  int FillTo(const char* text, quorvix::OutputSink& sink, char** errors);
  int FillFileTo(const char* path, quorvix::OutputSink& sink, char** errors);

  // Registrations, process-wide (the lists: quorvix/reader_lists.h). A
  // missing file gives one warning line (the parser's message service, else
  // the active one, else standard error) and changes nothing.
  // Registers the program `path` as the external function `name`.
  static void ReadExternalFunction(const char* name, MathParser* parser, const char* path);
  // Adds an external reader program unless its path is listed already;
  // `check` has no effect.
  static void ReadExternalReader(const char* path, const char* type, const char* ext, bool check);
  static void ReadExternalReader(const char* path);
  // Adds a reader on the import template `path`; a null type or extension
  // is left out of its list.
  static void ReadImportTemplate(const char* path, const char* type, const char* ext);
  // Adds the shared reader module `name` when it ends in ".so" and exists,
  // else the first existing DIR/name.so of `directories`; nothing when none
  // exists.
  static void ReadSharedReader(const char* name, const std::vector<std::string>& directories);
  static void ClearExternalReaders();
  static void ClearImportTemplates();
  static void ClearSharedReaders();
  // Fills the preference file `file` as a template (on `parser` when given,
  // else on a parser of its own) and registers what its directive lines
  // ("*registerexternalreader(...)" and the like) name. 0 on success; 1 when
  // the file cannot be read, its fill fails (the error text goes out as a
  // warning) or the parser is restricted.
  static int GetTemplatesViaPreferenceFile(const char* file, MathParser* parser);
};

// A filler that also collects the design parameters ("parameter"
// statements) of a template and its literally included files, and puts the
// host's values for them into the parser before a fill.
class DOEFiller : public FillerBase {
 public:
  // Name to record, in name order; the filler owns the records.
  using ParameterList = std::map<std::string, std::unique_ptr<OptimizationParameter>>;

  DOEFiller() = default;
  explicit DOEFiller(MathParser* parser) : FillerBase(parser) {}
  DOEFiller(const DOEFiller& other);
  DOEFiller& operator=(const DOEFiller& other);
  char* Fill(const char* text, char** errors) override;
  // As Filler::FillFileTo: the file's text, named in error reports, with
  // the output going to `sink`; -1 (no error text) when it cannot be read.
  int FillFileTo(const char* path, quorvix::OutputSink& sink, char** errors);

  // Each stores a new record under `name`, replacing one of that name, and
  // returns it (owned by the filler).
  OptimizationParameter* SetOptimizationParameter(const char* name, const char* type,
                                                  double nominal, double lower, double upper);
  OptimizationParameter* SetOptimizationParameter(const char* name, const char* type,
                                                  const char* nominal, const char* lower,
                                                  const char* upper);
  OptimizationParameter* SetOptimizationParameter(const char* name, const char* type,
                                                  std::vector<std::string> levels);
  // Takes `p` (null does nothing), replacing any record of that name.
  void _SetOptimizationParameter(const char* name, OptimizationParameter* p);
  // The record or null; stays owned by the filler.
  OptimizationParameter* GetOptimizationParameter(const char* name);
  ParameterList& GetParameterList() { return parameters_; }
  void ResetParameterList() { parameters_.clear(); }
  // Clears the parser's variables and adds every record's value as one.
  // With `from`, each record first takes the value of `from`'s variable of
  // the same name, when it has one.
  void InitializeOptimizationParameters(MathParser* from);
  // Empties the list and collects the declarations of `text` and of the
  // files it includes by a literal name (found along the include path),
  // without running anything: declarations in switched-off branches count.
  // Returns the names of the complete declarations in the order met (a name
  // declared twice comes twice); records are kept only for declarations
  // with all their arguments.
  std::vector<std::string> ScanForOptimizationParameters(const char* text);

 private:
  ParameterList parameters_;
};

#endif
