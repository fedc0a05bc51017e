// The per-row notes of the built-in reference (what an example needs, the
// failing calls), kept apart from the tables they annotate.
#ifndef QUORVIX_TEMPLATE_REFERENCE_NOTES_H
#define QUORVIX_TEMPLATE_REFERENCE_NOTES_H

#include <string_view>
#include <vector>

namespace quorvix {

// Every built-in name the notes mention, so a test can require that each
// names a registered built-in (a misspelt one would annotate nothing).
std::vector<std::string_view> AnnotatedBuiltinNames();

}  // namespace quorvix

#endif
