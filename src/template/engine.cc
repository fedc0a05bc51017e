// The engine's life: construction and copies, and the frame of every fill.
#include "template/engine.h"

#include <cstdio>
#include <cstring>
#include <new>

#include "template/engine_types.h"
#include "template/expression_cache.h"
#include "template/group_memo.h"
#include "template/text_scan.h"
#include "util/chunked_output.h"
#include "util/output_stream.h"
#include "util/run_budget.h"
#include "util/search_path.h"
#include "util/stack_budget.h"

namespace quorvix {

Engine::Engine(MathParser* parser)
    : error_stream_(std::make_unique<ocappedstream_fast>(kMaxErrorText)),
      parser_(parser != nullptr ? parser : new MathParser),
      owns_parser_(parser == nullptr),
      condition_stack_(new int[kConditionStackSize]()) {}

Engine::Engine(const Engine& other)
    : return_code_(other.return_code_ ? new symtab(*other.return_code_) : nullptr),
      error_stream_(std::make_unique<ocappedstream_fast>(kMaxErrorText)),
      parser_(other.owns_parser_ ? new MathParser(*other.parser_) : other.parser_),
      owns_parser_(other.owns_parser_),
      safe_quotes_(other.safe_quotes_),
      max_compatibility_(other.max_compatibility_),
      condition_stack_(new int[kConditionStackSize]()),
      number_format_(other.number_format_),
      string_format_(other.string_format_),
      format_style_(other.format_style_),
      format_letter_(other.format_letter_),
      start_time_(other.start_time_),
      end_time_(other.end_time_),
      default_incr_(other.default_incr_),
      attach_note_idx_(other.attach_note_idx_),
      attach_note_on_(other.attach_note_on_),
      auto_fill_report_(other.auto_fill_report_),
      animation_enabled_(other.animation_enabled_),
      lf_in_files_(other.lf_in_files_) {
  for (int i = 0; i < 3; ++i) page_state_[i] = other.page_state_[i];
  for (int i = 0; i < 4; ++i) margins_[i] = other.margins_[i];
  for (const auto& [key, macro] : other.macros_)
    macros_[key] = macro ? std::make_unique<Macro>(*macro) : nullptr;
  for (int i = 0; i < kConditionStackSize; ++i) condition_stack_[i] = other.condition_stack_[i];
}

Engine::~Engine() {
  if (return_code_ != nullptr) return_code_->Delete();
  if (owns_parser_) delete parser_;
}

symtab* Engine::TakeReturnCode() {
  symtab* r = return_code_;
  return_code_ = nullptr;
  return r;
}

void Engine::DropReturnCode() {
  if (return_code_ != nullptr) return_code_->Delete();
  return_code_ = nullptr;
}

char* Engine::p_Fill(char** errors) {
  if (return_code_ != nullptr) {
    return_code_->Delete();
    return_code_ = nullptr;
  }
  error_stream_->clear();
  // Buffers of earlier fills are gone; so are the places they held.
  if (expression_cache_) expression_cache_->Clear();
  if (group_memo_) group_memo_->Clear();
  page_state_[0] = -1;
  page_state_[1] = 25;
  page_state_[2] = 0;
  deferred_spaces_ = 0;

  base_output_ = current_output_;
  bool published = false;
  ostream_fast*& fill_stream = PublishedFillStream();
  if (fill_stream == nullptr) {
    fill_stream = current_output_;
    published = true;
  }

  RunBudget::Nesting depth;
  RunBudget::Scope budget(parser_->policy().limits);
  try {
    const int limit = parser_->policy().limits.fills;
    const bool no_stack = !depth.too_deep(limit) && StackExhausted();
    if (depth.too_deep(limit) || no_stack) {
      const std::string why = no_stack ? StackMessage() : FillDepthMessage(limit);
      current_output_->puts("{error}");
      error_stream_->puts(why.c_str());
      error_stream_->endl();
      error_flag_ = 1;
      if (no_stack) parser_->SetErrorMessage(why.c_str());  // callers report it as the cause
    } else if (nul_at_ != nullptr) {
      ReportNul(nul_at_);
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

  CloseOutputs();
  DeleteSources();
  if (published) fill_stream = nullptr;
  return errors != nullptr ? *errors : nullptr;
}

char* Engine::FillText(const char* text, char** errors) {
  ochunkedstream_fast out;
  if (!FillTextInto(out, text, errors)) return nullptr;
  return out.str();
}

char* Engine::FillFile(const char* path, char** errors) {
  ochunkedstream_fast out;
  if (!FillFileInto(out, path, errors)) return nullptr;
  return out.str();
}

int Engine::FillTo(OutputSink& sink, const char* text, const char* path, char** errors) {
  char* own_errors = nullptr;
  char** errs = errors != nullptr ? errors : &own_errors;
  osinkstream_fast out(sink);
  if (!(path != nullptr ? FillFileInto(out, path, errs) : FillTextInto(out, text, errs))) return -1;
  if (!out.finish()) {
    // The output is lost from here on; the error text says so.
    std::string text = *errs != nullptr ? *errs : "";
    text += "output write failed\r\n";
    delete[] * errs;
    *errs = CopyText(text).release();
  }
  const int status = *errs != nullptr ? 1 : 0;
  delete[] own_errors;
  return status;
}

bool Engine::FillTextInto(ostream_fast& out, const char* text, char** errors) {
  // The fill reads its own copy: the caller's text may be read-only.
  std::unique_ptr<char[]> buffer = CopyText(text ? text : "");
  char* start = buffer.get();
  RunFill(out, std::move(buffer), start, std::string(), errors);
  return true;
}

void Engine::RunFill(ostream_fast& out, std::unique_ptr<char[]> buffer, char* start,
                     const std::string& name, char** errors, char* nul_at) {
  if (errors != nullptr) *errors = nullptr;
  current_output_ = &out;
  DeleteSources();
  output_stack_.clear();
  ++text_generation_;
  read_pos_ = start;
  buffer_start_ = buffer.get();
  file_start_ = name.empty() ? nullptr : buffer.get();
  buffer_ = std::move(buffer);
  source_name_ = name;
  // A fill that stopped inside a brace group leaves these set.
  resume_brace_ = 0;
  leave_group_ = false;
  nul_at_ = nul_at;
  p_Fill(errors);
  current_output_ = nullptr;
  base_output_ = nullptr;
}

bool Engine::FillFileInto(ostream_fast& out, const char* path, char** errors) {
  if (errors != nullptr) *errors = nullptr;
  if (path == nullptr) return false;
  // Restricted mode reads inside the template's own directory.
  TemplateDirScope template_dir(path);
  std::string text;
  if (!parser_->policy().ReadFile(path, text, nullptr)) return false;
  text.insert(0, 1, '}');  // as for included files: a template may include itself
  std::unique_ptr<char[]> buffer = CopyText(text);
  char* start = buffer.get() + 1;
  const std::size_t nul = text.find('\0');
  char* nul_at = nul == std::string::npos ? nullptr : buffer.get() + nul;
  RunFill(out, std::move(buffer), start, path, errors, nul_at);
  return true;
}

}  // namespace quorvix
