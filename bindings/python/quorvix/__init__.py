"""The quorvix template and expression languages.

    >>> import quorvix, numpy
    >>> p = quorvix.Parser()
    >>> p["x"] = numpy.arange(4.0)
    >>> p.eval("sum(x * 2)")
    12
    >>> quorvix.fill("a = {a}", a=3, lf=True)
    'a = 3'

The library's state is process-wide: one thread at a time may evaluate or
fill (a call from a second thread meanwhile raises quorvix.Error); run many
fills in parallel with processes (concurrent.futures.ProcessPoolExecutor).
"""

__all__ = ["Error", "Parser", "Scalar", "eval", "fill", "fill_file", "functions"]


class Error(Exception):
    """A failed evaluation or fill.

    message: the library's message; expression: the expression that failed
    (evaluations); file: the template file that failed (fills); line, column:
    1-based position of the failure, when known; output: what a failed fill
    wrote before it stopped; report: a fill's whole error report (the quoted
    line with a caret under the position, then the message), LF line ends.
    An exception raised by a registered Python function is the __cause__.
    """

    def __init__(self, message, expression=None, file=None, line=None, column=None, output=None,
                 report=None):
        super().__init__(message)
        self.message = message
        self.expression = expression
        self.file = file
        self.line = line
        self.column = column
        self.output = output
        self.report = report

    def __str__(self):
        where = []
        if self.file is not None:
            where.append(self.file)
        if self.line is not None:
            where.append("line %d" % self.line)
        if self.column is not None:
            where.append("column %d" % self.column)
        return "%s (%s)" % (self.message, ", ".join(where)) if where else self.message


class Scalar(float):
    """A scalar result: a float that prints as a template writes it (6, not 6.0)."""

    __slots__ = ()

    def __repr__(self):
        return format_number(self)

    __str__ = __repr__


from . import _quorvix  # noqa: E402
from ._quorvix import format_number, functions  # noqa: E402

_quorvix._bind(Error, Scalar)


class Parser(_quorvix.Parser):
    """An expression parser with its variables, which it reads as a mapping:
    p["x"] = value, p["x"], "x" in p, del p["x"], keys(), items(), get().

    Keywords: restricted (untrusted text: no processes, no writing, reading
    only in the allowed directories), allow_env (names getenv may read when
    restricted), max_elements, max_output (bytes a fill may write) and
    time_limit (seconds an evaluation or fill may run).
    """

    __slots__ = ()

    def get(self, name, default=None):
        return self[name] if name in self else default

    def items(self):
        return [(name, self[name]) for name in self.keys()]

    def values(self):
        return [self[name] for name in self.keys()]


def eval(text, *, restricted=False):  # noqa: A001 - the language's own word
    """Evaluates one expression in a new parser and returns its value."""
    return Parser(restricted=restricted).eval(text)


def fill(template, *, include=(), lf=False, restricted=False, **variables):
    """Fills a template text in a new parser with the given variables.

    The engine writes CR LF line ends, as `quorvix fill` does; lf=True gives LF.
    """
    return Parser(restricted=restricted).fill(template, include=include, lf=lf, **variables)


def fill_file(path, *, include=(), lf=False, restricted=False, **variables):
    """Fills a template file in a new parser with the given variables."""
    return Parser(restricted=restricted).fill_file(path, include=include, lf=lf, **variables)
