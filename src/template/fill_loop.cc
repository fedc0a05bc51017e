// The fill loop: copies plain text with the blank and line-end rules, hands
// brace groups to the statement dispatcher, and keeps the stack of sources
// (included files, macro expansions, loop bodies).

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "template/engine.h"
#include "template/engine_types.h"
#include "template/text_scan.h"
#include "util/output_stream.h"
#include "util/run_budget.h"

namespace quorvix {

namespace {

// Characters that end a run of plain text: everything else is copied as it
// stands, in one write per run.
struct StopTable {
  std::array<bool, 256> plain{};      // execution on, safe quotes off
  std::array<bool, 256> quoted{};     // execution on, safe quotes on
  std::array<bool, 256> skipped{};    // execution off, safe quotes off
  std::array<bool, 256> skipped_q{};  // execution off, safe quotes on
  StopTable() {
    for (unsigned char c : {'\0', '\n', '\r', ' ', '{'}) plain[c] = quoted[c] = true;
    quoted['"'] = true;
    for (unsigned char c : {'\0', '\n', '{'}) skipped[c] = skipped_q[c] = true;
    skipped_q['"'] = true;
  }
};

const StopTable kStops;

}  // namespace

void Engine::WriteDeferredSpaces() {
  if (deferred_spaces_ > 0) {
    current_output_->put_n(' ', static_cast<std::size_t>(deferred_spaces_));
    deferred_spaces_ = 0;
    line_has_output_ = 1;
  }
}

void Engine::WriteText(const char* text, std::size_t n) {
  WriteDeferredSpaces();
  current_output_->write(text, n);
  line_has_output_ = 1;
}

void Engine::fill_buffer() {
  line_has_statement_ = line_has_output_ = 0;
  condition_depth_ = false_depth_ = 0;
  break_pending_ = continue_pending_ = false;
  number_format_ = "%g";
  string_format_ = "%s";
  auto_fill_report_ = 0;
  error_flag_ = 0;
  format_style_ = 1;
  format_letter_ = 'g';
  attach_note_idx_ = attach_note_on_ = -1;

  while (true) {
    while (read_pos_ != nullptr && *read_pos_ != '\0') {
      if (resume_brace_) {
        resume_brace_ = 0;
        if (fill_brace()) return;
        continue;
      }
      const char c = *read_pos_;
      if (c == '{') {  // the same whether execution is on or off
        ++read_pos_;
        if (BraceGroup()) return;
        continue;
      }
      const bool off = IsFalse() != 0;
      if (c == '\n') {
        if (!off && (!line_has_statement_ || line_has_output_))
          current_output_->endl();
        else
          current_output_->flush();
        ++read_pos_;
        line_has_statement_ = line_has_output_ = deferred_spaces_ = 0;
        continue;
      }
      if (c == '"' && safe_quotes_) {
        // A quoted passage is copied as it stands, braces and line feeds
        // included; a backslash takes the next character with it.
        const char* start = read_pos_;
        const char* p = SkipQuoted(read_pos_);
        if (!off) WriteText(start, static_cast<std::size_t>(p - start));
        read_pos_ = const_cast<char*>(p);
        continue;
      }
      if (off) {
        const auto& stops = safe_quotes_ ? kStops.skipped_q : kStops.skipped;
        ++read_pos_;
        while (!stops[static_cast<unsigned char>(*read_pos_)]) ++read_pos_;
        continue;
      }
      if (c == '\r') {
        ++read_pos_;
        continue;
      }
      if (c == ' ') {
        while (*read_pos_ == ' ') {
          ++deferred_spaces_;
          ++read_pos_;
        }
        continue;
      }
      const auto& stops = safe_quotes_ ? kStops.quoted : kStops.plain;
      const char* start = read_pos_;
      ++read_pos_;
      while (!stops[static_cast<unsigned char>(*read_pos_)]) ++read_pos_;
      WriteText(start, static_cast<std::size_t>(read_pos_ - start));
    }
    if (!Pop(false)) return;
    current_output_->flush();
    // The construct that opened the nested source counts as a statement on
    // the outer line.
    if (line_has_statement_ && line_has_output_) {
      line_has_output_ = 0;
    } else if (!line_has_statement_) {
      line_has_statement_ = 1;
    }
  }
}

bool Engine::HasRoomForSource() {
  const int limit = parser_->policy().limits.sources;
  if (sources_.size() < static_cast<std::size_t>(limit)) return true;
  error();
  error_stream_->puts(SourceDepthMessage(limit).c_str());
  error_stream_->endl();
  return false;
}

void Engine::PushFrame() {
  auto f = std::make_unique<SourceFrame>();
  f->saved_read_pos = read_pos_;
  f->saved_buffer_start = buffer_start_;
  f->saved_file_start = file_start_;
  f->saved_buffer = std::move(buffer_);
  f->saved_condition_depth = condition_depth_;
  f->saved_condition_entry = condition_stack_[condition_depth_];
  f->saved_false_depth = false_depth_;
  f->saved_resume_brace = resume_brace_;
  f->saved_break_pending = break_pending_;
  f->saved_continue_pending = continue_pending_;
  f->saved_source_name = source_name_;
  sources_.push_back(std::move(f));
}

bool Engine::SetBuffer(char* text, std::unique_ptr<char[]> owned) {
  if (!HasRoomForSource()) return false;
  PushFrame();
  if (owned) ++text_generation_;
  buffer_ = std::move(owned);
  read_pos_ = text;
  buffer_start_ = text;
  resume_brace_ = 0;
  return true;
}

bool Engine::Push(const char* filename) {
  if (!HasRoomForSource() || !SpendWork()) return false;
  if (!source_name_.empty() && source_name_ == filename && file_start_ != nullptr) {
    // The file being read includes itself (perhaps from a macro expansion
    // or a loop body): read the file's buffer again from the top. The
    // buffer stays with the source that owns it.
    PushFrame();
    buffer_start_ = file_start_;
    read_pos_ = file_start_ + 1;
    return true;
  }
  std::string text;
  if (!parser_->policy().ReadFile(filename, text, nullptr)) {
    error_stream_->puts("file not found:  ");
    error_stream_->puts(filename);
    error_stream_->endl();
    return true;
  }
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[text.size() + 2]);
  if (buffer == nullptr) {
    error_stream_->puts("unable to allocate file buffer:  ");
    error_stream_->puts(filename);
    error_stream_->endl();
    return true;
  }
  buffer[0] = '}';
  std::memcpy(buffer.get() + 1, text.data(), text.size());
  buffer[1 + text.size()] = '\0';
  PushFrame();
  ++text_generation_;
  buffer_start_ = buffer.get();
  file_start_ = buffer.get();
  read_pos_ = buffer.get() + 1;
  buffer_ = std::move(buffer);
  source_name_ = filename;
  const std::size_t nul = text.find('\0');
  if (nul == std::string::npos) return true;
  ReportNul(file_start_ + 1 + nul);
  return false;
}

void Engine::ReportNul(char* at) {
  // The text would end there without a word; a template never holds one.
  read_pos_ = at;
  error();
  error_stream_->puts("NUL byte in template");
  error_stream_->endl();
}

void Engine::RestoreFlags(const SourceFrame& f) {
  false_depth_ = f.saved_false_depth;
  condition_depth_ = f.saved_condition_depth;
  condition_stack_[condition_depth_] = f.saved_condition_entry;
  resume_brace_ = f.saved_resume_brace;
  break_pending_ = f.saved_break_pending;
  continue_pending_ = f.saved_continue_pending;
}

void Engine::NoSourceLeft() {
  false_depth_ = condition_depth_ = 0;
  condition_stack_[0] = 0;
  resume_brace_ = 0;
  read_pos_ = kEmptyText;
}

bool Engine::PopPlain() {
  if (sources_.empty()) {
    NoSourceLeft();
    return false;
  }
  SourceFrame& f = *sources_.back();
  read_pos_ = f.saved_read_pos ? f.saved_read_pos : kEmptyText;
  buffer_start_ = f.saved_buffer_start;
  file_start_ = f.saved_file_start;
  buffer_ = std::move(f.saved_buffer);  // the ended source's own text goes
  source_name_ = std::move(f.saved_source_name);
  sources_.pop_back();
  return true;
}

void Engine::DropLoop() {
  // A loop reads the text of the source around it; reading goes on there.
  SourceFrame& f = *sources_.back();
  buffer_start_ = f.saved_buffer_start;
  buffer_ = std::move(f.saved_buffer);
  sources_.pop_back();
}

void Engine::DeleteSources() {
  sources_.clear();
  buffer_.reset();
  buffer_start_ = file_start_ = read_pos_ = nullptr;
}

bool Engine::Pop(bool at_loop_end) {
  if (sources_.empty()) {
    NoSourceLeft();
    return false;
  }
  SourceFrame* f = sources_.back().get();
  if (at_loop_end && !f->is_loop) {
    // An "endloop" outside its loop's text abandons that text (an included
    // file, a macro expansion) and reading goes on in the text that opened it.
    RestoreFlags(*f);
    PopPlain();
    return false;
  }

  const bool was_break = break_pending_;
  RestoreFlags(*f);
  if (!f->is_loop) return PopPlain();
  if (!at_loop_end) {
    // The text ended inside the loop: the loop goes on as if "endloop"
    // stood there, and when it is over, so is the text that held it.
    error_stream_->puts("improperly terminated loop");
    error_stream_->endl();
  }
  if (f->loop_array != nullptr) {
    const int index = f->loop_index++;
    if (index < f->loop_count - 1 && !was_break && IsFalse() == 0) {
      symtab v;
      v.SetName(f->loop_variable.c_str());
      if (f->loop_array->type == SYM_ARRAY)
        v.SetScalar(f->loop_array->data[f->loop_index]);
      else
        v.SetString(f->loop_array->str_list[f->loop_index]);
      parser_->AddVariable(&v);
      return NextPass(*f, at_loop_end);
    }
  } else if (f->loop_condition != nullptr) {
    MathParser::ClearError();
    double number = 0.0;
    bool evaluated = false;
    if (f->loop_step != nullptr &&
        !LoopExpressionValue(f->loop_step, f->parsed_step, number, evaluated))
      return false;
    if (!LoopExpressionValue(f->loop_condition, f->parsed_condition, number, evaluated))
      return false;
    // NaN repeats.
    if (evaluated && !(number == 0.0) && !was_break) return NextPass(*f, at_loop_end);
  }
  // The loop is over; reading goes on after its "endloop", or, when the
  // text ended inside the loop, in the source around that text.
  DropLoop();
  if (at_loop_end) return true;
  if (!sources_.empty()) RestoreFlags(*sources_.back());
  return PopPlain();
}

bool Engine::NextPass(const SourceFrame& loop, bool at_loop_end) {
  if (!SpendWork()) return false;
  read_pos_ = loop.saved_read_pos;
  // The body starts inside the brace group of the loop head. An "endloop"
  // statement resumes that group itself; at the end of a text the fill
  // loop is outside any group and must be told.
  if (!at_loop_end) {
    resume_brace_ = 1;
    if (*read_pos_ == ';') ++read_pos_;  // the separator after the loop head
  }
  return true;
}

bool Engine::SpendWork() {
  std::string why;
  if (RunBudget::Spend(&why)) return true;
  error();
  error_stream_->puts(why.c_str());
  error_stream_->endl();
  return false;
}

bool Engine::OutputWithinLimit() {
  const std::size_t limit = parser_->policy().limits.output_bytes;
  std::size_t total = base_output_->written();
  for (const auto& stream : output_stack_) total += stream->written();
  if (total <= limit) return true;
  error();
  error_stream_->puts(("output exceeds the limit (" + std::to_string(limit) + " bytes)").c_str());
  error_stream_->endl();
  return false;
}

ostream_fast* Engine::p_PopStream() {
  if (!output_stack_.empty()) output_stack_.pop_back();
  current_output_ = output_stack_.empty() ? base_output_ : output_stack_.back().get();
  return current_output_;
}

}  // namespace quorvix
