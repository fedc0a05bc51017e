# The quorvix Tcl package: values, errors, options, and the calling
# interpreter as the one that tcleval and tclgetvar use.
#   tclsh package_test.tcl DATA_DIR   (TCLLIBPATH names the package directory)
package require quorvix

set failures 0
set data [lindex $argv 0]

# check compares a result, check_error the message of an error.
proc outcome {script} {
    set code [catch {uplevel 2 $script} got]
    return [list $code $got]
}
proc compare {name got want} {
    if {$got ne $want} {
        puts "$name: got {$got}, want {$want}"
        incr ::failures
    }
}
proc check {name script want} { compare $name [outcome $script] [list 0 $want] }
proc check_error {name script want} { compare $name [outcome $script] [list 1 $want] }

# Values: whole numbers as integers, others at full precision, vectors as
# lists, matrices as lists of rows, strings as strings.
check integer {quorvix::eval {2*3}} 6
check double {expr {[quorvix::eval {1/3}] * 3}} 1.0
check vector {quorvix::eval {{1, 2, 3} * 2}} {2 4 6}
check matrix {quorvix::eval {{{1, 2}, {3, 4}}'}} {{1 3} {2 4}}
check string {quorvix::eval {"two words"}} {two words}
check strings {quorvix::eval {{"a b", "c"}}} {{a b} c}
check persists {quorvix::eval {x = 5}; quorvix::eval {x + 1}} 6
check_error unknown {quorvix::eval {nosuch}} {Unknown symbol "nosuch"}
check_error no_args {quorvix::eval} {wrong # args: should be "quorvix::eval expression"}

# The calling interpreter: a variable set here is seen by tclgetvar, and
# tcleval runs here.
set greeting hello
check getvar {quorvix::eval {tclgetvar("greeting")}} hello
check fill_getvar {quorvix::fill {{tclgetvar("greeting")} world}} {hello world}
quorvix::fill {{tcleval("set from_template [expr {6 * 7}]")}}
check tcleval {set from_template} 42
check tcl_stream {quorvix::fill "{open \"TCL\"}set streamed 7\n{close}"; set streamed} 7

# Options of fill and fillfile.
check define {quorvix::fill {{n * 2}} -D n=21} 42
check crlf {quorvix::fill "a\n{1 + 1}\n"} "a\r\n2\r\n"
check lf {quorvix::fill "a\n{1 + 1}\n" -lf} "a\n2\n"
check_error bad_option {quorvix::fill x -Q} {bad option "-Q": must be -D, -I or -lf}
check_error no_value {quorvix::fill x -D} {-D needs a value}
check_error bad_define {quorvix::fill x -D n} {bad definition "n": expected NAME=EXPR}
check_error fill_error {quorvix::fill "a\n{nosuch}\n"} \
    "Unknown symbol \"nosuch\" in expression:\nnosuch"
check fillfile {quorvix::fillfile [file join $data main.qvx] -I [file join $data parts] -lf} \
    "main\npart 3\n"
check include_path_restored {catch {quorvix::fillfile [file join $data main.qvx]}} 1
check_error missing_file {quorvix::fillfile /nonexistent/x.qvx} \
    {cannot read template "/nonexistent/x.qvx"}

# Each interpreter has its own parser.
set child [interp create]
$child eval [list set auto_path $auto_path]
$child eval {package require quorvix}
check own_parser {$child eval {catch {quorvix::eval {x}}}} 1
interp delete $child

exit [expr {$failures > 0}]
