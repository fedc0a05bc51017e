// The statement keywords of the template language and their handlers. Each
// family of statements is a unit of its own that defines its table here; the
// dispatcher consumes the keyword and calls the handler with the read
// position right behind it.
#ifndef QUORVIX_TEMPLATE_STATEMENT_TABLE_H
#define QUORVIX_TEMPLATE_STATEMENT_TABLE_H

#include <cstddef>
#include <span>

#include "template/engine.h"

namespace quorvix {

struct StatementTable {
  using Handler = int (Engine::*)();
  struct Row {
    const char* keyword;
    Handler handler;
  };
  struct Entry {
    Row row;
    std::size_t length;  // of the keyword
  };
  // The families, each defined in its own unit.
  static std::span<const Row> ControlFlow();         // control_flow.cc
  static std::span<const Row> MacrosAndInclusion();  // macros.cc
  static std::span<const Row> FormatsAndSwitches();  // formats_switches.cc

  // The keywords for one lower-cased first letter (empty when none starts
  // with it).
  static std::span<const Entry> ForLetter(char lower);
};

// True when `text` starts with `keyword` and the keyword is not followed by
// a letter, digit or '_'.
bool MatchKeyword(const char* text, const char* keyword);

}  // namespace quorvix

#endif
