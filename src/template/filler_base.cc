// Construction, entry points and accessors of the template engine.
#include <cstdio>
#include <cstring>
#include <new>

#include "quorvix/filler.h"
#include "template/engine_types.h"
#include "template/expression_cache.h"
#include "util/output_stream.h"
#include "util/stack_budget.h"

namespace {

bool g_inline_functions = true;
ostream_fast* g_fill_stream = nullptr;
int g_fill_depth = 0;

// Tracks how deeply fills are nested inside expressions of other fills.
class FillDepthScope {
 public:
  FillDepthScope() { ++g_fill_depth; }
  ~FillDepthScope() { --g_fill_depth; }
  FillDepthScope(const FillDepthScope&) = delete;
  FillDepthScope& operator=(const FillDepthScope&) = delete;
  bool too_deep(int limit) const { return g_fill_depth > limit; }
};

}  // namespace

FillerBase::FillerBase()
    : error_stream_(std::make_unique<ostrstream_fast>()),
      parser_(new MathParser),
      owns_parser_(1),
      condition_stack_(new int[kConditionStackSize]()) {}

FillerBase::FillerBase(MathParser* parser)
    : error_stream_(std::make_unique<ostrstream_fast>()),
      parser_(parser),
      owns_parser_(0),
      condition_stack_(new int[kConditionStackSize]()) {}

FillerBase::FillerBase(const FillerBase& other)
    : error_stream_(std::make_unique<ostrstream_fast>()),
      condition_stack_(new int[kConditionStackSize]()) {
  CopyState(other);
}

FillerBase& FillerBase::operator=(const FillerBase& other) {
  if (this != &other) {
    DeleteSources();
    DeleteOutputStack();
    if (owns_parser_) delete parser_;
    parser_ = nullptr;
    CopyState(other);
  }
  return *this;
}

void FillerBase::CopyState(const FillerBase& other) {
  owns_parser_ = other.owns_parser_;
  parser_ = other.owns_parser_ ? new MathParser(*other.parser_) : other.parser_;
  if (return_code_ != nullptr) return_code_->Delete();
  return_code_ = other.return_code_ ? new symtab(*other.return_code_) : nullptr;
  for (int i = 0; i < 3; ++i) page_state_[i] = other.page_state_[i];
  for (int i = 0; i < 4; ++i) margins_[i] = other.margins_[i];
  macros_.clear();
  for (const auto& [key, macro] : other.macros_)
    macros_[key] = macro ? std::make_unique<quorvix::Macro>(*macro) : nullptr;
  safe_quotes_ = other.safe_quotes_;
  max_compatibility_ = other.max_compatibility_;
  number_format_ = other.number_format_;
  string_format_ = other.string_format_;
  format_style_ = other.format_style_;
  format_letter_ = other.format_letter_;
  start_time_ = other.start_time_;
  end_time_ = other.end_time_;
  default_incr_ = other.default_incr_;
  attach_note_idx_ = other.attach_note_idx_;
  attach_note_on_ = other.attach_note_on_;
  auto_fill_report_ = other.auto_fill_report_;
  animation_enabled_ = other.animation_enabled_;
  for (int i = 0; i < kConditionStackSize; ++i) condition_stack_[i] = other.condition_stack_[i];
}

FillerBase::~FillerBase() {
  DeleteSources();
  DeleteOutputStack();
  if (return_code_ != nullptr) return_code_->Delete();
  delete[] pending_assignment_;
  if (owns_parser_) delete parser_;
}

void FillerBase::DeleteSources() {
  while (source_top_ != nullptr) {
    quorvix::SourceFrame* f = source_top_;
    source_top_ = f->next;
    // The buffer in use belongs to the innermost source; buffers of outer
    // sources are saved in the frames.
    if (buffer_owned_) delete[] buffer_start_;
    buffer_start_ = f->saved_buffer_start;
    buffer_owned_ = f->saved_buffer_owned;
    delete f;
  }
  if (buffer_owned_) delete[] buffer_start_;
  buffer_owned_ = 0;
  buffer_start_ = nullptr;
  read_pos_ = nullptr;
  source_depth_ = 0;
}

void FillerBase::DeleteOutputStack() {
  for (ostream_fast* s : output_stack_)
    if (s != base_output_) delete s;
  output_stack_.clear();
}

symtab* FillerBase::GetReturnCode() {
  symtab* r = return_code_;
  return_code_ = nullptr;
  return r;
}

void FillerBase::AllowInlineFunctions(bool on) { g_inline_functions = on; }
bool FillerBase::InlineFunctionsAllowed() { return g_inline_functions; }
ostream_fast* FillerBase::CurrentFillStream() { return g_fill_stream; }

std::vector<std::string>& FillerBase::IncludePath() {
  static std::vector<std::string> path;
  return path;
}


char* FillerBase::p_Fill(char** errors) {
  if (return_code_ != nullptr) {
    return_code_->Delete();
    return_code_ = nullptr;
  }
  error_stream_->clear();
  // Buffers of earlier fills are gone; so are the places they held.
  if (expression_cache_) expression_cache_->Clear();
  page_state_[0] = -1;
  page_state_[1] = 25;
  page_state_[2] = 0;
  deferred_spaces_ = 0;

  // Frames left from an earlier fill; the caller's text stays the read buffer.
  DeleteOutputStack();
  char* keep_pos = read_pos_;
  char* keep_start = buffer_start_;
  int keep_owned = buffer_owned_;
  buffer_owned_ = 0;
  while (source_top_ != nullptr) {
    quorvix::SourceFrame* f = source_top_;
    source_top_ = f->next;
    delete f;
  }
  source_depth_ = 0;
  read_pos_ = keep_pos;
  buffer_start_ = keep_start;
  buffer_owned_ = keep_owned;

  base_output_ = current_output_;
  bool published = false;
  if (g_fill_stream == nullptr) {
    g_fill_stream = current_output_;
    published = true;
  }

  FillDepthScope depth;
  try {
    const int limit = parser_->policy().limits.fills;
    const bool no_stack = !depth.too_deep(limit) && quorvix::StackExhausted();
    if (depth.too_deep(limit) || no_stack) {
      const std::string why = no_stack ? quorvix::StackMessage() : quorvix::FillDepthMessage(limit);
      current_output_->puts("{error}");
      error_stream_->puts(why.c_str());
      error_stream_->endl();
      error_flag_ = 1;
      if (no_stack) parser_->SetErrorMessage(why.c_str());  // callers report it as the cause
    } else {
      fill_buffer();
    }
  } catch (...) {
    error_stream_->puts("Out of memory");
    error_stream_->endl();
  }

  char* error_text = nullptr;
  if (error_stream_->pending() > 0) error_text = error_stream_->str();
  if (errors != nullptr) {
    *errors = error_text;
    error_text = nullptr;
  }
  delete[] error_text;

  while (current_output_ != base_output_ && !output_stack_.empty()) {
    delete current_output_;
    current_output_ = output_stack_.back();
    output_stack_.pop_back();
  }
  current_output_ = base_output_;
  DeleteSources();
  DeleteOutputStack();
  if (published) g_fill_stream = nullptr;
  return errors != nullptr ? *errors : nullptr;
}

char* FillerBase::RunFill(const char* text, char** errors) {
  char* buffer = const_cast<char*>(text ? text : "");
  return RunFill(buffer, buffer, std::string(), errors);
}

char* FillerBase::RunFill(char* buffer, char* start, const std::string& name, char** errors) {
  if (errors != nullptr) *errors = nullptr;
  quorvix::StackScope stack(parser_->policy().limits.stack_bytes);
  ostrstream_fast out;
  current_output_ = &out;
  DeleteSources();
  // The caller's text is read in place and never freed by the engine.
  read_pos_ = start;
  buffer_start_ = buffer;
  buffer_owned_ = 0;
  source_name_ = name;
  // A fill that stopped inside a brace group leaves these set.
  resume_brace_ = 0;
  leave_group_ = false;
  p_Fill(errors);
  char* result = out.str();
  current_output_ = nullptr;
  base_output_ = nullptr;
  return result;
}

char* Filler::Fill(const char* text, char** errors) { return RunFill(text, errors); }

char* DOEFiller::Fill(const char* text, char** errors) { return RunFill(text, errors); }

char* Filler::FillFile(const char* path, char** errors) {
  if (errors != nullptr) *errors = nullptr;
  std::string text;
  if (path == nullptr || !parser_->policy().ReadFile(path, text, nullptr)) return nullptr;
  text.insert(0, 1, '}');  // as for included files: a template may include itself
  return RunFill(text.data(), text.data() + 1, path, errors);
}

char* Filler::FillLabel(const char* text) {
  parser_->SetErrorMessage(nullptr);
  char* out = Fill(text, nullptr);
  if (parser_->ErrorMessage() != nullptr) {
    delete[] out;
    return nullptr;
  }
  return out;
}

symtab* Filler::Evaluate(const char* text, char** errors) {
  if (return_code_ != nullptr) {
    return_code_->Delete();
    return_code_ = nullptr;
  }
  const char* start = text ? std::strchr(text, '{') : nullptr;
  if (start == nullptr) start = text ? text + std::strlen(text) : "";
  char* out = Fill(start, errors);
  if (g_fill_stream != nullptr && out != nullptr) g_fill_stream->puts(out);
  delete[] out;
  return return_code_;
}
