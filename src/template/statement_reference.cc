#include "template/statement_reference.h"

namespace quorvix {

namespace {

constexpr const char* kControl = "Control flow";
constexpr const char* kMacros = "Macros and includes";
constexpr const char* kFormats = "Formats and switches";
constexpr const char* kRegistrations = "Registrations";
constexpr const char* kOutput = "Output files, messages and layout";
constexpr const char* kReport = "Report settings";
constexpr const char* kParameters = "Design parameters";

// clang-format off
// keyword, group, usage, synopsis, example.
constexpr StatementReferenceRow kRows[] = {
    {"if", kControl, "{if c} ... [{elseif c} ...] [{else} ...] {endif}",
     "writes the text that follows while the scalar c is non-zero",
     "{x = 7}{if x > 5}big{elseif x > 2}medium{else}small{endif}"},
    {"elseif", kControl, "{elseif c}",
     "starts the next branch of an if, taken when no branch before it was and c is non-zero",
     "{x = 3}{if x > 5}big{elseif x > 2}medium{else}small{endif}"},
    {"else", kControl, "{else}",
     "starts the branch of an if taken when no branch before it was",
     "{x = 1}{if x > 5}big{else}small{endif}"},
    {"endif", kControl, "{endif}", "ends an if (or ifdef, ifndef)",
     "{if 1}shown{endif} always"},
    {"while", kControl, "{while (c)} ... {endloop}",
     "repeats the text up to endloop while c is non-zero",
     "{n = 1}{while (n <= 100)}{n},{n = n * 3}{endloop}"},
    {"for", kControl, "{for (init; c; step)} ... {endloop}",
     "runs init, then repeats the text and step while c is non-zero",
     "{for (i = 1; i <= 3; i = i + 1)}line {i}\n{endloop}"},
    {"foreach", kControl, "{foreach (x = values)} ... {endloop}",
     "repeats the text once per element (or string) of values, with x set to it",
     "{foreach (part = {\"bolt\", \"nut\", \"washer\"})}- {part}\n{endloop}"},
    {"endloop", kControl, "{endloop}", "ends the text of a while, for or foreach loop",
     "{foreach (v = {1, 2})}{v * 10}\n{endloop}"},
    {"break", kControl, "{break}", "leaves the innermost loop at the end of the current pass",
     "{for (i = 0; i < 10; i = i + 1)}{if i == 3}{break}{endif}{i}\n{endloop}"},
    {"continue", kControl, "{continue}",
     "skips the rest of the current pass of the innermost loop",
     "{for (i = 0; i < 4; i = i + 1)}{if i == 2}{continue}{endif}{i}\n{endloop}"},
    {"exit", kControl, "{exit}", "ends the file being filled (an included file: back to its includer)",
     "kept\n{exit}\nnever written\n"},
    {"return", kControl, "{return [expr]}",
     "ends the fill; the value of expr is the fill's return value for the host",
     "written\n{return 42}\nnever written\n"},
    {"function", kControl, "{function name(a, b) { statements; return expr }}",
     "defines a function callable from every later expression",
     "{function area(r) { return 3.14159 * r ^ 2 }}{area(2)}"},

    {"define", kMacros, "{define name(a, b)}text{enddefine}",
     "defines a macro; {name(x, y)} writes its text with {a} and {b} replaced by the arguments",
     "{define grid(id, x)}GRID,{id},{x}{enddefine}{grid(1, 0.5)} (node 1)"},
    {"undef", kMacros, "{undef name}", "forgets the macro name",
     "{define tag(t)}<{t}>{enddefine}{tag(\"a\")}{undef tag} done"},
    {"ifdef", kMacros, "{ifdef expr} ... {endif}",
     "always skips the text up to its else, elseif or endif; expr must not be a scalar",
     "{ifdef \"legacy\"}skipped{else}taken{endif}"},
    {"ifndef", kMacros, "{ifndef expr} ... {endif}", "the same as ifdef",
     "{ifndef \"legacy\"}skipped{else}taken{endif}"},
    {"include", kMacros, "{include \"file\"}",
     "fills the file, found along the include path, in place",
     "{open \"title.inc\"}Title: {\"{\"}name{\"}\"}{close}{name = \"bracket\"}{include \"title.inc\"}"},
    {"readfill", kMacros, "{readfill \"file\"}",
     "runs the file's text as the statements of a brace group",
     "{open \"set.txt\"}x = 4; y = x * 2{close}{readfill \"set.txt\"}{y}"},
    {"path", kMacros, "{path \"dir\"}", "adds dir to the include path",
     "{path \"/usr/share/quorvix/templates\"}include path extended"},

    {"format", kFormats, "{format F [, layout]}",
     "sets the default format of numbers (or, with the letter a, of strings) for the rest of the fill",
     "{format f8.3}[{3.14159265}] [{2}]"},
    {"safe_quotes_on", kFormats, "{safe_quotes_on}",
     "copies double-quoted passages of the text as they stand, braces included",
     "{safe_quotes_on}\"{1 + 1}\" {1 + 1}"},
    {"safe_quotes_off", kFormats, "{safe_quotes_off}",
     "ends safe quotes: braces in quoted text are statements again",
     "{safe_quotes_on}\"{1 + 1}\"{safe_quotes_off} \"{1 + 1}\""},
    {"max_compatibility_on", kFormats, "{max_compatibility_on}",
     "reproduces the line and branch rules of the oldest templates",
     "{max_compatibility_on}{if 1}a{else}b{endif}{max_compatibility_off}"},
    {"max_compatibility_off", kFormats, "{max_compatibility_off}",
     "returns to the current line and branch rules", "{max_compatibility_off}{if 0}a{else}b{endif}"},
    {"escape_characters_on", kFormats, "{escape_characters_on}",
     "backslash escapes in string literals are read (\\n, \\r, \\\", \\\\)",
     "{escape_characters_on}{\"say \\\"hi\\\"\"}"},
    {"escape_characters_off", kFormats, "{escape_characters_off}",
     "a backslash in a string literal is an ordinary character",
     "{escape_characters_off}{\"C:\\temp\"}{escape_characters_on}"},

    {"registerexternalfunction", kRegistrations,
     "{registerexternalfunction(\"name\", \"program\")}",
     "registers a program as the external function name (called when an expression uses it)",
     "{registerexternalfunction(\"twice\", \"./twice.py\")}registered"},
    {"registerexternalreader", kRegistrations, "{registerexternalreader(\"program\")}",
     "registers a program that converts a result file to delimited text (when it exists)",
     "{registerexternalreader(\"/opt/readers/to_csv.sh\")}registered"},
    {"registerimporttemplate", kRegistrations, "{registerimporttemplate(\"template\")}",
     "registers a template that converts a result file to delimited text (when it exists)",
     "{registerimporttemplate(\"/opt/readers/import.qvx\")}registered"},
    {"registersharedreader", kRegistrations, "{registersharedreader(\"library.so\")}",
     "registers a shared reader plug-in (when it exists)",
     "{registersharedreader(\"/opt/readers/reader.so\")}registered"},

    {"open", kOutput, "{open \"file\"} ... {close}",
     "sends the output to a new file until close; \"TCL\" sends it to the Tcl interpreter",
     "{open \"loads.txt\"}F1 100\n{close}{filereadstring(fileopen(\"loads.txt\", \"r\"), \"F1 [0-9]+\")}"},
    {"append", kOutput, "{append \"file\"} ... {close}",
     "sends the output to the end of a file until close",
     "{open \"log.txt\"}a{close}{append \"log.txt\"}b{close}"
     "{filereadstring(fileopen(\"log.txt\", \"r\"), \"[a-z]+\")}"},
    {"close", kOutput, "{close}", "closes the latest open or append; output goes back where it went before",
     "{open \"part.txt\"}into the file{close}into the output"},
    {"echo", kOutput, "{echo(expr [, format [, layout]])}",
     "writes the value as a message (the command line: standard error), not into the output",
     "{echo(\"checking deck\")}deck written"},
    {"margins", kOutput, "{margins(top, width, bottom, left)}",
     "a width > 0 wraps list and array output after the separator that passes it",
     "{margins(0, 20, 0, 0)}{v = 1:12:1}{v}"},
    {"page", kOutput, "{page}", "marks a page break for the host; writes nothing", "a{page}b"},
    {"tab", kOutput, "{tab(n)}", "checks that n is a scalar; writes nothing", "Name{tab(20)}Value"},
    {"table", kOutput, "{table(col, ..., \"format\", first, last)}",
     "one line per index from first to last, the columns side by side through the format",
     "{table({1, 2, 3}, {10, 20.5, 30}, \"%g: %6.2f\", 0, 2)}"},
    {"timeout", kOutput, "{timeout s}",
     "stops programs started by system and external functions after s seconds (0: never)",
     "{timeout 5}{system(\"echo done\")}"},
    {"quorvix_off", kOutput, "{quorvix_off} ... {quorvix_on}",
     "copies the text up to quorvix_on as it stands, braces included",
     "{quorvix_off}{x} stays as written{quorvix_on} {1 + 1}"},
    {"quorvix_on", kOutput, "{quorvix_on}", "ends a block started by quorvix_off",
     "{quorvix_off}{a}{quorvix_on}{1 + 1}"},

    {"display_as_output", kReport, "{display_as_output}",
     "asks the host to show the filled text as output", "{display_as_output}report"},
    {"attach_note_at", kReport, "{attach_note_at i}", "tells the host the index to attach a note at",
     "{attach_note_at 3}note set"},
    {"attach_note_to", kReport, "{attach_note_to i}", "tells the host the item to attach a note to",
     "{attach_note_to 1}note set"},
    {"report_start_time", kReport, "{report_start_time t}", "tells the host the report's start time",
     "{report_start_time 0.5}set"},
    {"report_end_time", kReport, "{report_end_time t}", "tells the host the report's end time",
     "{report_end_time 2.5}set"},
    {"report_default_incr", kReport, "{report_default_incr dt}",
     "tells the host the report's default time step", "{report_default_incr 0.1}set"},
    {"report_animate", kReport, "{report_animate}", "asks the host to animate the report",
     "{report_animate}set"},
    {"report_static", kReport, "{report_static}", "asks the host not to animate the report",
     "{report_static}set"},

    {"parameter", kParameters, "{parameter(name, type, nominal, lower, upper)}",
     "declares a design parameter; name gets the nominal value unless it has a value already",
     "{parameter(t, real, 2.0, 1.0, 4.0)}{parameter(m, level, \"steel\", \"aluminium\")}t = {t}, {m}"},
};
// clang-format on

}  // namespace

std::span<const StatementReferenceRow> StatementReferenceRows() { return kRows; }

}  // namespace quorvix
