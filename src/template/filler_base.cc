// The host's side of the template engine: construction, the entry points and
// the accessors, forwarded to the engine.
#include <cstring>

#include "quorvix/filler.h"
#include "template/engine.h"
#include "util/output_stream.h"
#include "util/search_path.h"

namespace {

bool g_inline_functions = true;

}  // namespace

namespace quorvix {

ostream_fast*& PublishedFillStream() {
  static ostream_fast* stream = nullptr;
  return stream;
}

}  // namespace quorvix

FillerBase::FillerBase() : engine_(std::make_unique<quorvix::Engine>(nullptr)) {}

FillerBase::FillerBase(MathParser* parser) : engine_(std::make_unique<quorvix::Engine>(parser)) {}

FillerBase::FillerBase(const FillerBase& other)
    : engine_(std::make_unique<quorvix::Engine>(*other.engine_)) {}

FillerBase& FillerBase::operator=(const FillerBase& other) {
  if (this != &other) engine_ = std::make_unique<quorvix::Engine>(*other.engine_);
  return *this;
}

FillerBase::~FillerBase() = default;

symtab* FillerBase::GetReturnCode() { return engine_->TakeReturnCode(); }
MathParser* FillerBase::GetMathParser() { return engine_->parser(); }
void FillerBase::SafeQuotes(int on) { engine_->SetSafeQuotes(on); }
int FillerBase::AttachNoteIdx() const { return engine_->AttachNoteIdx(); }
int FillerBase::AttachNoteOn() const { return engine_->AttachNoteOn(); }
int FillerBase::AutoFillReport() const { return engine_->AutoFillReport(); }
double FillerBase::StartTime() const { return engine_->StartTime(); }
double FillerBase::EndTime() const { return engine_->EndTime(); }
double FillerBase::DefaultIncr() const { return engine_->DefaultIncr(); }
bool FillerBase::GetAnimationEnabled() const { return engine_->AnimationEnabled(); }
void FillerBase::SetAnimationEnabled(bool on) { engine_->SetAnimationEnabled(on); }
void FillerBase::SetLfInFiles(bool on) { engine_->SetLfInFiles(on); }

int FillerBase::DefineMacro(char* definition) { return engine_->DefineMacro(definition); }
char* FillerBase::EvaluateMacro(char* call) { return engine_->EvaluateMacro(call); }
void FillerBase::RemoveMacro(char* name) { engine_->RemoveMacro(name); }
void FillerBase::ResetMacros() { engine_->ResetMacros(); }

void FillerBase::AllowInlineFunctions(bool on) { g_inline_functions = on; }
bool FillerBase::InlineFunctionsAllowed() { return g_inline_functions; }

std::vector<std::string>& FillerBase::IncludePath() { return quorvix::SearchPath(); }

char* Filler::Fill(const char* text, char** errors) { return engine_->FillText(text, errors); }

char* Filler::FillFile(const char* path, char** errors) { return engine_->FillFile(path, errors); }

int Filler::FillTo(const char* text, quorvix::OutputSink& sink, char** errors) {
  return engine_->FillTo(sink, text, nullptr, errors);
}

int Filler::FillFileTo(const char* path, quorvix::OutputSink& sink, char** errors) {
  if (path == nullptr) {
    if (errors != nullptr) *errors = nullptr;
    return -1;
  }
  return engine_->FillTo(sink, nullptr, path, errors);
}

char* Filler::FillLabel(const char* text) {
  MathParser* parser = engine_->parser();
  parser->SetErrorMessage(nullptr);
  char* out = Fill(text, nullptr);
  if (parser->ErrorMessage() != nullptr) {
    delete[] out;
    return nullptr;
  }
  return out;
}

symtab* Filler::Evaluate(const char* text, char** errors) {
  engine_->DropReturnCode();
  const char* start = text ? std::strchr(text, '{') : nullptr;
  if (start == nullptr) start = text ? text + std::strlen(text) : "";
  char* out = Fill(start, errors);
  ostream_fast* stream = quorvix::PublishedFillStream();
  if (stream != nullptr && out != nullptr) stream->puts(out);
  delete[] out;
  return engine_->ReturnCode();
}
