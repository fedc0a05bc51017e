// The reference entries come from the registration tables themselves, so
// help and the generated reference cannot drift from what is registered.
#include "quorvix/reference.h"

#include <algorithm>
#include <string_view>

#include "builtins/builtin_table.h"
#include "template/reference_notes.h"
#include "template/statement_reference.h"

namespace quorvix {

namespace {

struct BuiltinNote {
  std::string_view name;
  const char* note;
};

// Built-ins whose example gives a different result from run to run or
// machine to machine, or needs more than the library itself.
constexpr BuiltinNote kNotes[] = {
    {"cr", "the result is a carriage return and a line feed"},
    {"date", "the result is today's date"},
    {"extern", "needs the external function twice, registered from examples/extern/twice.py"},
    {"fileclose", "the result is a handle that differs from run to run"},
    {"filefindstring", "the result depends on the running process"},
    {"filereadstring", "the result depends on the running process"},
    {"fileopen", "the result is a handle that differs from run to run"},
    {"getenv", "the result depends on the environment"},
    {"getvalue", "needs the result file results.csv in the working directory"},
    {"rand", "the result is random"},
    {"read", "needs the result file results.csv in the working directory"},
    {"readsubcase", "needs the result file results.csv in the working directory"},
    {"sysarch", "the result depends on the host program"},
    {"tclgetvar", "the result depends on the Tcl version"},
    {"time", "the result is the time of day"},
    {"timer", "the result depends on the processor clock"},
};

struct BuiltinFailure {
  std::string_view name;
  const char* call;
  const char* message;
};

// A call per message a built-in reports, for the reference; the docs test
// runs each and requires its message.
constexpr BuiltinFailure kFailures[] = {
    {"abs", "abs(1, 2)", "Invalid number of arguments"},
    {"abstorelative", "abstorelative(\"/a\")",
     "Invalid number of arguments in ABSTORELATIVE function"},
    {"abstorelative", "abstorelative(1, \"/a\")", "String expected in ABSTORELATIVE function"},
    {"acos", "acos(2)", "Domain violation"},
    {"akima", "akima({0, 1}, {1, 2, 3}, {0.5})", "Vectors must have the same number of elements"},
    {"akima", "akima({0, 0}, {1, 2}, {0})", "Akima failed"},
    {"array", "array(0)", "Size must be greater than 0"},
    {"array", "array(-1, 2)", "Argument 1 must be positive"},
    {"array", "array(2, -1)", "Argument 2 must be positive"},
    {"array", "array(1, 1)", "Both arguments cannot be 1"},
    {"array", "array(1e9)", "array too large (limit 100000000 elements)"},
    {"asc", "asc(1)", "String expected in ASC function"},
    {"asin", "asin(2)", "Domain violation"},
    {"atoi", "atoi(1, 2)", "The format specifier must be a string in CONVERT function"},
    {"atoi", "atoi({1, 2})", "String or scalar expected in CONVERT function"},
    {"batch", "batch({0, 1}, {1, 2, 3}, 2, 0)", "Vectors must have same number of points"},
    {"batch", "batch({0, 1}, {1, 2}, 0, 0)", "Size must be greater than 0"},
    {"batch", "batch({0, 1}, {1, 2}, 2, 6)", "Value out of range"},
    {"batchpolyfit", "batchpolyfit({1, 2}, {1, 2, 3}, 1, 3, 0)",
     "Vectors must have same number of points"},
    {"batchpolyfit", "batchpolyfit({1, 2, 3}, {1, 2, 3}, 1, 3, -1)", "Value out of range"},
    {"batchpolyfit", "batchpolyfit({1, 2, 3}, {1, 2, 3}, 3, 1, 0)", "Unable to fit data"},
    {"bins", "bins({1, 2}, 0)", "Size must be greater than 0"},
    {"blockfftimag", "blockfftimag({}, 4, 0)", "Argument has no data."},
    {"blockfftmag", "blockfftmag({}, 4, 0)", "Argument has no data."},
    {"blockfftphase", "blockfftphase({}, 4, 0)", "Argument has no data."},
    {"blockfftreal", "blockfftreal({}, 4, 0)", "Argument has no data."},
    {"blockfrfimag", "blockfrfimag({1, 2}, {1, 2, 3}, 4, 0)",
     "Vectors must have same number of points"},
    {"blockfrfmag", "blockfrfmag({1, 2}, {1, 2, 3}, 4, 0)",
     "Vectors must have same number of points"},
    {"blockfrfphase", "blockfrfphase({1, 2}, {1, 2, 3}, 4, 0)",
     "Vectors must have same number of points"},
    {"blockfrfreal", "blockfrfreal({1, 2}, {1, 2, 3}, 4, 0)",
     "Vectors must have same number of points"},
    {"cat", "cat({1}, \"a\")", "Cannot mix concatenation argument types"},
    {"chr", "chr(\"a\")", "The CHR function requires a scalar value"},
    {"coherence", "coherence({1, 2}, {1, 2, 3}, 4, 0)", "Vectors must have same number of points"},
    {"convert", "convert(\"a\", 1)", "The format specifier must be a string in CONVERT function"},
    {"convert", "convert({1, 2})", "String or scalar expected in CONVERT function"},
    {"convert", "convert(1, \"%d\")",
     "convert format must hold exactly one number conversion (%g, %f, %e or %a), with width and "
     "precision at most 1000"},
    {"curval", "curval({0, 1}, {0, 1})", "No time is available"},
    {"dba", "dba({1, 2}, {1, 2, 3}, 1)", "Vectors must have same number of points"},
    {"dba", "dba({1, 2}, {1, 2}, 0)", "Argument 3 must be positive"},
    {"dbb", "dbb({1, 2}, {1, 2}, 0)", "Argument 3 must be positive"},
    {"dbc", "dbc({1, 2}, {1, 2}, 0)", "Argument 3 must be positive"},
    {"dbu", "dbu({1, 2}, {1, 2}, 0)", "Argument 3 must be positive"},
    {"dcorr", "dcorr({1, 2}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"derivative", "derivative({0, 1}, {1, 2, 3})",
     "Vectors must have the same number of elements"},
    {"derivative", "derivative({0}, {1})", "Vectors must contain at least two elements"},
    {"determinant", "determinant(\"m\")", "Invalid argument type"},
    {"determinant", "determinant({{1, 2, 3}})", "Matrix must be square"},
    {"dfreq", "dfreq({0})", "Argument has no data."},
    {"dfreq", "dfreq({1, 1})", "Sampling interval is zero"},
    {"eigvalimag", "eigvalimag({{1, 2, 3}})", "Matrix must be square"},
    {"eigvalimag", "eigvalimag({{1e308 * 10, 1}, {1, 1}})", "Eigensolver failed."},
    {"eigvalreal", "eigvalreal({{1, 2, 3}})", "Matrix must be square"},
    {"eigvalreal", "eigvalreal({{1e308 * 10, 1}, {1, 1}})", "Eigensolver failed."},
    {"eigvecimag", "eigvecimag({{1, 2, 3}})", "Matrix must be square"},
    {"eigvecimag", "eigvecimag({{1e308 * 10, 1}, {1, 1}})", "Eigensolver failed."},
    {"eigvecreal", "eigvecreal({{1, 2, 3}})", "Matrix must be square"},
    {"eigvecreal", "eigvecreal({{1e308 * 10, 1}, {1, 1}})", "Eigensolver failed."},
    {"eval", "eval(1)", "String expected in EVAL function"},
    {"expfit", "expfit({0, 1}, {-1, 2})", "Cannot perform expfit with negative data"},
    {"expfit", "expfit({1}, {1})", "Unable to fit data"},
    {"expfit", "expfit({1, 2}, {1, 2, 3})", "Vectors must have the same number of points"},
    {"extern", "extern(1)", "Expected function name"},
    {"extern", "extern(\"nosuchfunction\")", "extern: no external function named nosuchfunction"},
    {"fcorr", "fcorr({1, 2}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"fftimag", "fftimag({1, 2}, {1, 2, 3})", "Arguments do not have compatible dimensions"},
    {"fftmag", "fftmag({1, 2}, {1, 2, 3})", "Arguments do not have compatible dimensions"},
    {"fftphase", "fftphase({1, 2}, {1, 2, 3})", "Arguments do not have compatible dimensions"},
    {"fftreal", "fftreal({1, 2}, {1, 2, 3})", "Arguments do not have compatible dimensions"},
    {"fileclose", "fileclose(\"nohandle\")", "Invalid file handle"},
    {"fileexists", "fileexists(1)", "String expected in FILEEXISTS function"},
    {"filefindstring", "filefindstring(\"nohandle\", \"a\")", "Invalid file handle"},
    {"fileopen", "fileopen(\"/nonexistent/x\", \"r\")", "File not found"},
    {"fileopen", "fileopen(\"\", \"\")", "File not specified"},
    {"filereadstring", "filereadstring(\"nohandle\", \"a\")", "Invalid file handle"},
    {"fill", "fill(1)", "String expected in FILL function"},
    {"fold", "fold({1})", "Argument has no data."},
    {"freq", "freq({0})", "Argument has no data."},
    {"freq", "freq({1, 1})", "Sampling interval is zero"},
    {"frfimag", "frfimag({1, 2}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"frfmag", "frfmag({1, 2}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"frfphase", "frfphase({1, 2}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"frfreal", "frfreal({1, 2}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"getenv", "getenv(1)", "String expected in GETENV function"},
    {"getval2", "getval2({1, 2, 3}, {10, 20, 30}, 5)", "Value not found"},
    {"getval2", "getval2({1, 2, 3}, {10}, 3)", "Value found out of range"},
    {"getvalue", "getvalue(1, \"a\", 0, 0)", "Filename string expected for GETVALUE function"},
    {"getvalue", "getvalue(\"results.csv\", 1, 0, 0)",
     "Varname string expected for GETVALUE function"},
    {"getvalue", "getvalue(\"results.csv\", \"a\", \"r\", 0)",
     "Record index expected for GETVALUE function"},
    {"getvalue", "getvalue(\"results.csv\", \"a\", 0, \"e\")",
     "Entity index expected for GETVALUE function"},
    {"getvalue", "getvalue(\"results.csv\", \"t\", 0, 0, 0)",
     "Type index expected for GETVALUE function"},
    {"getvalue", "getvalue(\"results.csv\", 0, \"r\", 0, 0)",
     "Request index expected for GETVALUE function"},
    {"getvalue", "getvalue(\"results.csv\", 0, 0, \"c\", 0)",
     "Component index expected for GETVALUE function"},
    {"getvalueatindex", "getvalueatindex(1, 0)",
     "The ParserGetValueAtIndex function takes a string for its first parameter"},
    {"getvalueatindex", "getvalueatindex(\"nosuchvar\", 0)", "Unable to find variable"},
    {"getvalueatindex", "getvalueatindex(\"pi\", \"i\")",
     "The ParserGetValueAtIndex function takes a scalar for its second parameter"},
    {"idft", "idft({1, 2}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"ifft", "ifft({1, 2}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"integral", "integral({0, 1}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"intercepts", "intercepts({0, 1}, {1, 2, 3})",
     "Vectors must have the same number of elements"},
    {"intersect", "intersect({1, 2}, {3, 4})", "Arguments have no elements in common"},
    {"intersect", "intersect(1, {1})", "Argument 1 must be a vector"},
    {"intersect", "intersect({1}, \"a\")", "Argument 2 must be a vector"},
    {"inverse", "inverse({{1, 2}, {2, 4}})", "Matrix is singular"},
    {"inverse", "inverse({{1, 2, 3}})", "Matrix must be square"},
    {"irfilter", "irfilter({1}, {0, 1}, {1, 2})", "Domain violation"},
    {"itoa", "itoa(1, 2)", "The format specifier must be a string in CONVERT function"},
    {"itoa", "itoa(1, \"%s\")",
     "convert format must hold exactly one number conversion (%g, %f, %e or %a), with width and "
     "precision at most 1000"},
    {"lininterp", "lininterp({0, 1}, {0, 10}, 2)", "Value out of range"},
    {"lininterp", "lininterp({0, 1}, {1, 2, 3}, 0.5)",
     "Vectors must have the same number of elements"},
    {"ln", "ln(0)", "Domain violation"},
    {"log", "log(0)", "Domain violation"},
    {"log10", "log10(-1)", "Domain violation"},
    {"mean", "mean(\"a\")", "Invalid argument type"},
    {"mid", "mid(5, 1)", "The MID function does not work on scalars"},
    {"mid", "mid({{1, 2}, {3, 4}}, 0)", "The MID function does not work on two dimensional arrays"},
    {"mid", "mid(\"abc\", \"x\")", "The MID function requires a scalar index"},
    {"mid", "mid(\"abc\", 1, \"x\")", "The MID function requires a scalar length"},
    {"nonlinfit", "nonlinfit(\"\", {\"a\"}, {1}, {1, 2}, {1, 2})",
     "Function expression not specified"},
    {"nonlinfit", "nonlinfit(1, {\"a\"}, {1}, {1, 2}, {1, 2})", "Invalid type of arguments"},
    {"nonlinfit", "nonlinfit(\"a*x\", {\"a\"}, {1, 2}, {1, 2}, {1, 2})",
     "Invalid type of arguments"},
    {"nonlinfit", "nonlinfit(\"a*x1+x2\", {\"a\"}, {1}, {1, 2}, {1, 2, 3}, {1, 2})",
     "All X-vectors must have the same number of elements"},
    {"nonlinfit", "nonlinfit(\"a*x\", {\"a\"}, {1}, {1, 2}, {1, 2, 3})",
     "All X-vectors and the Y-vector must have the same number of elements"},
    {"nonlinfit", "nonlinfit(\"a*\", {\"a\"}, {1}, {1, 2}, {1, 2})", "Syntax Error"},
    {"pdf", "pdf({1, 2}, 0)", "Size must be greater than 0"},
    {"polyfit", "polyfit({0, 1, 2}, {1, 2, 3}, 3)", "Order must be less than the number of points"},
    {"polyfit", "polyfit({0, 1, 2}, {1, 2, 3}, 1, 7)", "Unknown option"},
    {"polyfit", "polyfit({1, 2}, {1, 2, 3}, 1)", "Vectors must have the same number of points"},
    {"polyfit", "polyfit({0, 0, 0}, {1, 2, 3}, 1)", "Unable to fit data"},
    {"polyrootsimag", "polyrootsimag(array(1, 502) + 1)",
     "polynomial degree too large (limit 500)"},
    {"polyrootsimag", "polyrootsimag({1e-320, 1, 1})", "Eigensolver failed."},
    {"polyrootsreal", "polyrootsreal(array(1, 502) + 1)",
     "polynomial degree too large (limit 500)"},
    {"polyrootsreal", "polyrootsreal({1e-320, 1, 1})", "Eigensolver failed."},
    {"psd", "psd({0}, {1})", "Argument has no data."},
    {"psd", "psd({1, 1}, {1, 2})", "Sampling interval is zero"},
    {"psd", "psd({0, 1}, {1, 2, 3})", "Vectors must have the same number of elements"},
    {"read", "read(1, \"a\")", "Filename string expected for READ function"},
    {"read", "read(\"results.csv\", 1, 2)", "Invalid number of arguments"},
    {"read", "read(\"results.csv\", {1, 2})", "Typename string expected for READ function"},
    {"read", "read(\"results.csv\", \"t\", 1, \"c\")",
     "Request name string expected for READ function"},
    {"read", "read(\"results.csv\", \"t\", \"r\", 1)",
     "Component name string expected for READ function"},
    {"read", "read(\"results.csv\", 1, \"r\", 1)", "Request number expected in READ function"},
    {"read", "read(\"results.csv\", 1, 1, \"c\")", "Component number expected in READ function"},
    {"readsubcase", "readsubcase(1)", "Filename string expected for READ function"},
    {"readsubcase", "readsubcase(\"/nonexistent/results.csv\")", "Invalid number of arguments"},
    {"relativetoabs", "relativetoabs(1, \"/a\")", "String expected in RELATIVETOABS function"},
    {"relativetoabs", "relativetoabs(\"a\")",
     "Invalid number of arguments in RELATIVETOABS function"},
    {"replace", "replace(\"a\", \"b\")", "Invalid number of arguments in REPLACE function"},
    {"replace", "replace(1, \"a\", \"b\")", "String expected in REPLACE function"},
    {"replace", "replace(\"a\", \"(\", \"b\")",
     "invalid pattern in replace: missing closing parenthesis at offset 1"},
    {"resampresp", "resampresp({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, {5}, \"time\")",
     "invalid keyword \"time\" for argument 5"},
    {"resampresp", "resampresp({0, 1, 2, 3}, {1, 2, 1, 2}, {10, 20}, {5}, \"response\")",
     "Vectors must have same number of points"},
    {"resampresp", "resampresp({0, 1, 2, 3}, {1, 2, 1, 2}, {10, 20, 30, 40}, {}, \"response\")",
     "Value out of range"},
    {"resampresp", "resampresp({0, 1, 2, 3}, {1, 2, 1, 2}, {10, 20, 30, 40}, {0}, \"response\")",
     "Sampling interval is zero"},
    {"resampresp",
     "resampresp({0, 1, 2, 3}, {1, 2, 1, 2}, {10, 20, 30, 40}, {5, 50}, \"response\")",
     "Value out of range"},
    {"resamprevs", "resamprevs({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, \"time\")",
     "invalid keyword \"time\" for argument 4"},
    {"resamprevs", "resamprevs({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60}, \"revolutions\")",
     "Vectors must have same number of points"},
    {"resamprevs", "resamprevs({1, 1}, {1, 2}, {60, 60}, \"revolutions\")",
     "Sampling interval is zero"},
    {"resamprevs", "resamprevs({0, 1, 2, 3}, {1, 2, 1, 2}, {0, 0, 0, 0}, \"revolutions\")",
     "Value out of range"},
    {"resamptime", "resamptime({0, 1, 2, 3}, {1, 2, 1, 2}, {0.5}, \"revs\")",
     "invalid keyword \"revs\" for argument 4"},
    {"resamptime", "resamptime({0, 1, 2, 3}, {1, 2}, {0.5}, \"time\")",
     "Vectors must have same number of points"},
    {"resamptime", "resamptime({0, 1, 2, 3}, {1, 2, 1, 2}, {0.5, 0, 3, 1}, \"time\")",
     "Value out of range"},
    {"resamptime", "resamptime({0, 1, 2, 3}, {1, 2, 1, 2}, {0}, \"time\")",
     "Sampling interval is zero"},
    {"resamptime", "resamptime({0, 1, 2, 3}, {1, 2, 1, 2}, {0.5, -1}, \"time\")",
     "Value out of range"},
    {"resvector", "resvector(\"nosuchvariable\", 0, 0, 1, 0, 0, 1)", "Unable to find variable"},
    {"saefilter", "saefilter({0, 1}, {1, 2, 3}, 60)", "Vectors must have same number of points"},
    {"saefilter", "saefilter({1, 1}, {1, 2}, 60)", "Sampling interval is zero"},
    {"size", "size(nosuchvariable)", "Unknown variable nosuchvariable"},
    {"sort", "sort(\"x\", {1, 2})", "The first parameter to SORT must be a scalar"},
    {"sort", "sort(0, 5)", "The second (key) parameter to SORT must be a vector or a string"},
    {"sort", "sort(0, {1, 2}, {1})",
     "The number of elements in the sorted arrays does not match the number of elements in the key "
     "array"},
    {"spline", "spline({0, 0}, {1, 2}, {0})", "Vector 1 must be strictly increasing"},
    {"spline", "spline({0, 1}, {1, 2}, {5})", "Value out of range"},
    {"spline", "spline({0, 1}, {1, 2, 3}, {0.5})", "Vectors must have the same number of elements"},
    {"sqrt", "sqrt(-1)", "Domain violation"},
    {"sqrt", "sqrt(\"a\")", "Invalid argument type"},
    {"stfreq", "stfreq({0, 1}, {1, 2, 3}, 0.5)", "Vectors must have same number of points"},
    {"stft", "stft({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, 2, \"none\", \"db\", \"slices\")",
     "invalid keyword \"db\" for argument 6"},
    {"stft", "stft({0, 1, 2, 3}, {1, 2}, {60, 60, 60, 60}, 2, \"none\", \"peak\", \"slices\")",
     "Vectors must have same number of points"},
    {"stft",
     "stft({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, 8, \"none\", \"peak\", \"slices\")",
     "Window size must not be greater than number of data points"},
    {"stft",
     "stft({1, 1, 1, 1}, {1, 2, 1, 2}, {60, 60, 60, 60}, 2, \"none\", \"peak\", \"slices\")",
     "Sampling interval is zero"},
    {"stft",
     "stft({0, 1, 2, 3}, {1, 2, 1, 2}, {0, 0, 0, 0}, 2, \"none\", \"peak\", \"revolutions\")",
     "Value out of range"},
    {"storder", "storder({0, 1, 2, 3}, {1, 2, 1, 2}, {0, 0, 0, 0}, {1}, 2, \"none\")",
     "Value out of range"},
    {"storder", "storder({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, {1}, 0, \"none\")",
     "Size must be greater than 0"},
    {"storder", "storder({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, {1}, 2, \"flat\")",
     "invalid keyword \"flat\" for argument 6"},
    {"strchr", "strchr(1, \"a\")", "The STRCHR function takes a string for its first parameter"},
    {"strchr", "strchr(\"a\", {1})",
     "The STRCHR function takes a string or number for its second parameter"},
    {"stringarray", "stringarray(0)", "Size must be greater than 0"},
    {"strlen", "strlen(1)", "The STRLEN function takes a string parameter"},
    {"strrchr", "strrchr(1, \"a\")", "The STRCHR function takes a string for its first parameter"},
    {"strrchr", "strrchr(\"a\", {1})",
     "The STRCHR function takes a string or number for its second parameter"},
    {"strsegrevs",
     "strsegrevs({1, 2, 1, 2}, \"none\", 2, 0, {0, 1, 2, 3}, {60, 60, 60, 60}, \"time\")",
     "Value out of range"},
    {"strsegrevs",
     "strsegrevs({1, 2, 1, 2}, \"none\", 100, 1, {0, 1, 2, 3}, {60, 60, 60, 60}, \"time\")",
     "Window size must not be greater than number of data points"},
    {"strsegrps",
     "strsegrps({1, 2, 1, 2}, \"none\", 2, 0, {0, 1, 2, 3}, {60, 60, 60, 60}, \"time\")",
     "Value out of range"},
    {"strsegrps",
     "strsegrps({1, 2, 1, 2}, \"none\", 100, 10, {0, 1, 2, 3}, {60, 60, 60, 60}, \"time\")",
     "Window size must not be greater than number of data points"},
    {"strstr", "strstr(\"a\", 1)", "The STRSTR function takes a string for its second parameter"},
    {"strstr", "strstr(1, \"a\")", "The STRSTR function takes a string for its first parameter"},
    {"stsegrps",
     "stsegrps({1, 2, 1, 2}, \"none\", 2, 10, {0, 1, 2, 3}, {60, 60, 60, 60}, \"order\")",
     "invalid keyword \"order\" for argument 7"},
    {"stsegrps", "stsegrps({1, 2, 1, 2}, \"none\", 2, 10, {0, 1}, {60, 60, 60, 60}, \"time\")",
     "Vectors must have same number of points"},
    {"stsegrps",
     "stsegrps({1, 2, 1, 2}, \"none\", 2, 10, {1, 1, 1, 1}, {60, 60, 60, 60}, \"time\")",
     "Sampling interval is zero"},
    {"stsegrps", "stsegrps({1, 2, 1, 2}, \"none\", 2, 10, {0, 1, 2, 3}, {0, 0, 0, 0}, \"time\")",
     "Value out of range"},
    {"stsegrps", "stsegrps({1, 2, 1, 2}, \"none\", 2, 0, {0, 1, 2, 3}, {60, 60, 60, 60}, \"time\")",
     "Value out of range"},
    {"stsegtime", "stsegtime({1, 2, 3}, \"box\", 2, 0)", "invalid keyword \"box\" for argument 2"},
    {"stsegtime", "stsegtime({1, 2, 3}, \"none\", 0, 0)", "Size must be greater than 0"},
    {"stsegtime", "stsegtime({1, 2, 3}, \"none\", 4, 0)",
     "Window size must not be greater than number of data points"},
    {"subrange", "subrange({1, 2, 3}, 3, 1)", "End value must be greater than starting value"},
    {"subrange", "subrange({1, 2, 3}, 5, 6)", "No points found in given range"},
    {"suppress", "suppress({0, 1}, {1, 2, 3}, 0.1)", "Vectors must have same number of points"},
    {"suppress", "suppress({0, 1}, {1, 2}, 1)", "Tolerance must be less than 1"},
    {"sync2", "sync2({0, 1}, {1, 2, 3})", "Vectors must have same number of points"},
    {"system", "system(1)", "The SYSTEM function takes a string parameter"},
    {"tcleval", "tcleval(1)", "String expected in TCLEVAL function"},
    {"tclevalfile", "tclevalfile(1)", "String expected in TCLEVAL function"},
    {"tclgetvar", "tclgetvar(1)", "String expected in TCLEVAL function"},
    {"time", "time(1)", "Format string expected for TIME function"},
    {"timer", "timer(\"a\")", "Invalid number of arguments"},
    {"tolower", "tolower(1)", "The input parameter must be a string in the TOUPPER function"},
    {"toupper", "toupper(1)", "The input parameter must be a string in the TOUPPER function"},
    {"vtdft",
     "vtdft({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, 2, {0}, {1}, \"none\", \"speed\", "
     "\"time\", \"peak\")",
     "invalid keyword \"speed\" for argument 8"},
    {"vtdft",
     "vtdft({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, 2, {0}, {1}, \"none\", \"frequency\", "
     "\"slices\", \"peak\")",
     "invalid keyword \"slices\" for argument 9"},
    {"vtdft",
     "vtdft({0, 1, 2, 3}, {1, 2, 1, 2}, {60, 60, 60, 60}, 5, {0}, {1}, \"none\", \"frequency\", "
     "\"time\", \"peak\")",
     "Window size must not be greater than number of data points"},
    {"vtdft",
     "vtdft({0, 1, 2, 3}, {1, 2, 1, 2}, {0, 0, 0, 0}, 2, {0}, {1}, \"none\", \"frequency\", "
     "\"revolutions\", \"peak\")",
     "Value out of range"},
    {"vtfreq", "vtfreq({1, 2, 1, 2}, \"none\", 2, 0, {0, 1, 2, 3}, {60, 60, 60, 60}, 1)",
     "Value out of range"},
    {"vtfreq", "vtfreq({1, 2, 1, 2}, \"none\", 2, 10, {0, 1}, {60, 60, 60, 60}, 1)",
     "Vectors must have same number of points"},
    {"vtfreq", "vtfreq({1, 2, 1, 2}, \"none\", 2, 10, {1, 1, 1, 1}, {60, 60, 60, 60}, 1)",
     "Sampling interval is zero"},
    {"vtorder", "vtorder({1, 2, 1, 2}, \"none\", 2, 10, {0, 1, 2, 3}, {0, 0, 0, 0}, 1)",
     "Value out of range"},
    {"vtorder", "vtorder({1, 2, 1, 2}, \"none\", 0, 10, {0, 1, 2, 3}, {60, 60, 60, 60}, 1)",
     "Size must be greater than 0"},
    {"vtsegrps", "vtsegrps({1, 2, 1, 2}, \"none\", 2, 0, {0, 1, 2, 3}, {60, 60, 60, 60}, \"time\")",
     "Value out of range"},
    {"vtsegrps",
     "vtsegrps({1, 2, 1, 2}, \"none\", 2, 10, {0, 1, 2, 3}, {60, 60, 60, 60}, \"frequency\")",
     "invalid keyword \"frequency\" for argument 7"},
    {"vtsegtime", "vtsegtime({1, 2, 1, 2}, \"none\", 2, 0, {0, 1}, {60, 60, 60, 60}, \"time\")",
     "Vectors must have same number of points"},
    {"vtsegtime", "vtsegtime({1, 2, 1, 2}, \"none\", 2, 0, {0, 1, 2, 3}, {0, 0, 0, 0}, \"time\")",
     "Value out of range"},
};

std::vector<ReferenceFailure> FailuresOf(std::string_view name) {
  std::vector<ReferenceFailure> failures;
  for (const BuiltinFailure& f : kFailures)
    if (f.name == name) failures.push_back({f.call, f.message});
  return failures;
}

const char* NoteFor(std::string_view name) {
  for (const BuiltinNote& n : kNotes)
    if (n.name == name) return n.note;
  return "";
}

}  // namespace

std::vector<std::string_view> AnnotatedBuiltinNames() {
  std::vector<std::string_view> names;
  for (const BuiltinNote& n : kNotes) names.push_back(n.name);
  for (const BuiltinFailure& f : kFailures) names.push_back(f.name);
  return names;
}

std::vector<ReferenceEntry> BuiltinReference() {
  std::vector<ReferenceEntry> entries;
  for (const TitledBuiltinFamily& family : TitledBuiltinFamilies()) {
    const std::size_t first = entries.size();
    for (const BuiltinEntry& e : family.rows())
      entries.push_back({e.name, family.title, e.usage, e.synopsis, e.example, e.nargs,
                         NoteFor(e.name), FailuresOf(e.name)});
    std::sort(entries.begin() + static_cast<long>(first), entries.end(),
              [](const ReferenceEntry& a, const ReferenceEntry& b) { return a.name < b.name; });
  }
  return entries;
}

std::vector<ReferenceEntry> StatementReference() {
  std::vector<ReferenceEntry> entries;
  for (const StatementReferenceRow& r : StatementReferenceRows())
    entries.push_back({r.keyword, r.group, r.usage, r.synopsis, r.example, 0, "", {}});
  return entries;
}

}  // namespace quorvix
