"""Values between Python and the expression language, and the variable mapping."""
import numpy as np
import pytest

import quorvix


@pytest.fixture
def p():
    return quorvix.Parser()


def test_scalar_is_a_float_that_prints_as_a_template_writes_it(p):
    six = p.eval("sum({1,2,3})")
    assert isinstance(six, float) and type(six) is quorvix.Scalar
    assert six == 6.0 and str(six) == "6" and repr(six) == "6"
    assert str(p.eval("1/3")) == "0.333333"
    assert type(six + 1) is float


def test_arrays_keep_their_shape_and_come_back_without_a_copy(p):
    p["x"] = np.arange(4.0)
    doubled = p.eval("x * 2")
    assert doubled.shape == (4,) and doubled.dtype == np.float64
    np.testing.assert_array_equal(doubled, [0.0, 2.0, 4.0, 6.0])
    # The array holds the library's storage, released with the array.
    assert not doubled.flags.owndata and type(doubled.base).__name__ == "PyCapsule"
    p["m"] = [[1, 2, 3], [4, 5, 6]]
    np.testing.assert_array_equal(p.eval("m + 1"), [[2, 3, 4], [5, 6, 7]])
    p["c"] = np.array([[1.5], [2.5]])
    assert p.eval("c").shape == (2, 1)


def test_other_layouts_and_dtypes_are_converted(p):
    base = np.arange(12.0).reshape(3, 4)
    p["strided"] = base[:, ::2]
    np.testing.assert_array_equal(p["strided"], [[0, 2], [4, 6], [8, 10]])
    p["f"] = np.array([1, 2, 3], dtype=np.float32)
    p["i"] = np.array([1, 2, 3], dtype=np.int32)
    np.testing.assert_array_equal(p.eval("i / 2 + f"), [1.5, 3.0, 4.5])
    p["zero_d"] = np.array(2.5)
    p["flag"] = True
    assert p.eval("zero_d * flag") == 2.5
    p["n"] = np.int64(7)
    assert p["n"] == 7.0


def test_strings_and_string_lists(p):
    p["s"] = "abc"
    p["l"] = ["one", "two"]
    assert p["s"] == "abc" and p["l"] == ["one", "two"]
    assert p.eval('"x" + "y"') == "xy"
    p["u"] = "température"
    assert p["u"] == "température"
    # Bytes that are not UTF-8 travel as surrogate escapes, both ways.
    p["raw"] = b"caf\xe9".decode("utf-8", "surrogateescape")
    assert p.eval("raw") == "caf\udce9" and p.eval("strlen(raw)") == 4


@pytest.mark.parametrize(
    "value, error, message",
    [
        (np.array([object()]), TypeError,
         "variable v: numpy arrays of dtype object are not supported (numbers only)"),
        (np.array(["a", 1]), TypeError,
         "variable v: numpy arrays of dtype <U21 are not supported (numbers only)"),
        (np.zeros((2, 2, 2)), ValueError,
         "variable v: arrays of more than 2 dimensions are not supported"),
        ({}, TypeError, "variable v: cannot convert dict to a quorvix value"),
        (None, TypeError, "variable v: cannot convert NoneType to a quorvix value"),
        ("a\0b", ValueError, "variable v contains a NUL character"),
        (["a", "b\0"], ValueError, "variable v contains a NUL character"),
    ],
)
def test_bad_values_are_refused(p, value, error, message):
    with pytest.raises(error) as raised:
        p["v"] = value
    assert str(raised.value) == message
    assert "v" not in p


def test_bad_text_arguments_are_refused(p):
    with pytest.raises(ValueError, match="^expression contains a NUL character$"):
        p.eval("1\0+2")
    with pytest.raises(TypeError, match="^expression must be a str$"):
        p.eval(3)
    with pytest.raises(ValueError, match="^variable name 'a b' is not a valid name$"):
        p["a b"] = 1


def test_variables_are_a_mapping(p):
    p["b"] = 2
    p["a"] = np.ones(3)
    p.eval("c = a * b")
    assert p.keys() == ["a", "b", "c"] and list(p) == ["a", "b", "c"] and len(p) == 3
    np.testing.assert_array_equal(p["c"], [2, 2, 2])
    assert "a" in p and "zz" not in p and 5 not in p
    assert p.get("zz", 1) == 1 and p.items()[1] == ("b", 2.0)
    del p["a"]
    assert "a" not in p
    with pytest.raises(KeyError):
        p["a"]
    with pytest.raises(KeyError):
        del p["a"]
    # Assignment replaces whatever kind the variable held.
    p["b"] = "text"
    assert p.eval("b") == "text"


def test_reading_a_variable_gives_a_copy(p):
    p["x"] = np.arange(3.0)
    got = p["x"]
    got[0] = 99
    assert p.eval("x[0]") == 0.0


def test_failed_evaluation_raises_error_with_position(p):
    with pytest.raises(quorvix.Error) as raised:
        p.eval('1 + (2 * "a")')
    e = raised.value
    assert e.message == "Invalid multiplication type"
    assert (e.expression, e.line, e.column, e.file) == ('1 + (2 * "a")', 1, 8, None)
    assert str(e) == "Invalid multiplication type (line 1, column 8)"
    with pytest.raises(quorvix.Error) as raised:
        p.eval('1 +\n (2 * "a")')
    assert (raised.value.line, raised.value.column) == (2, 5)
    with pytest.raises(quorvix.Error) as raised:
        p.eval("nosuch")
    assert raised.value.message == 'Unknown symbol "nosuch"'


def test_restricted_mode_refuses_processes():
    with pytest.raises(quorvix.Error) as raised:
        quorvix.eval('system("echo hi")', restricted=True)
    assert raised.value.message == "system is not allowed in restricted mode"
    assert quorvix.Parser(restricted=True).restricted


def test_functions_lists_the_builtins():
    names = quorvix.functions()
    assert {"sum", "fftmag", "sqrt", "strlen"} <= set(names)
    assert len(names) > 150
