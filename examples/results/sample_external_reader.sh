#!/bin/sh
# A sample external reader: the library runs it with a result file's path
# and reads what it prints as delimited text. This one takes files of
# semicolon-separated columns with "//" comment lines and prints them as CSV.
# A reader reports a file it cannot read on standard error and exits non-zero.
[ -r "$1" ] || { echo "cannot read $1" >&2; exit 1; }
exec sed -e '/^\/\//d' -e 's/;/,/g' "$1"
