"""Python functions as built-ins, and the process-wide guard."""
import threading

import numpy as np
import pytest

import quorvix


@pytest.fixture
def p():
    return quorvix.Parser()


def test_registered_function_is_callable_from_expressions(p):
    seen = []

    def twice(a):
        seen.append(type(a))
        return a * 2

    p.register("py_twice", twice)
    np.testing.assert_array_equal(p.eval("py_twice({1, 2}) + 1"), [3.0, 5.0])
    assert p.eval("py_twice(3)") == 6.0
    assert seen == [np.ndarray, quorvix.Scalar]
    # The registry is process-wide.
    assert quorvix.Parser().eval('py_twice("ab")') == "abab"
    p.register("py_twice", lambda a: a)
    assert p.eval("py_twice(3)") == 3.0
    p.unregister("py_twice")
    assert "py_twice" not in quorvix.functions()
    with pytest.raises(KeyError):
        p.unregister("py_twice")


def test_function_can_evaluate_in_the_same_thread(p):
    p.register("py_nested", lambda a: p.eval("a_var * 10") + a)
    p["a_var"] = 2
    assert p.eval("py_nested(1)") == 21.0

    def delete():
        del p["a_var"]

    p.register("py_delete", delete)
    with pytest.raises(quorvix.Error) as raised:
        p.eval("a_var + py_delete()")
    assert raised.value.message == (
        "py_delete: Error: variables cannot be deleted while an evaluation runs")
    assert p["a_var"] == 2.0


def test_raising_function_fails_the_evaluation(p):
    p.register("py_fails", lambda: 1 / 0)
    with pytest.raises(quorvix.Error) as raised:
        p.eval("1 + py_fails()")
    assert raised.value.message == "py_fails: ZeroDivisionError: division by zero"
    assert isinstance(raised.value.__cause__, ZeroDivisionError)
    p.register("py_odd", lambda: object())
    with pytest.raises(quorvix.Error) as raised:
        p.eval("py_odd()")
    assert raised.value.message == (
        "py_odd: py_odd result: cannot convert object to a quorvix value")
    assert raised.value.__cause__ is None
    assert p.eval("1 + 1") == 2.0


def test_registration_refuses_bad_names_and_builtins(p):
    with pytest.raises(quorvix.Error) as raised:
        p.register("sin", abs)
    assert raised.value.message == "function 'sin' is already registered"
    with pytest.raises(TypeError, match="^function 'py_x' is not callable$"):
        p.register("py_x", 3)
    with pytest.raises(ValueError, match="^function name 'a-b' is not a valid name$"):
        p.register("a-b", abs)


def test_second_thread_is_refused_while_one_evaluates(p):
    entered, release = threading.Event(), threading.Event()

    def wait():
        entered.set()
        release.wait(10)
        return 1

    p.register("py_wait", wait)
    results = []
    worker = threading.Thread(target=lambda: results.append(p.eval("py_wait() + 1")))
    worker.start()
    try:
        assert entered.wait(10)
        for call in (lambda: p.eval("1"), lambda: quorvix.fill("x"), lambda: p["v"]):
            with pytest.raises(quorvix.Error) as raised:
                call()
            assert raised.value.message == (
                "quorvix is busy in another thread (its state is process-wide; "
                "use processes to run fills in parallel)")
    finally:
        release.set()
        worker.join()
    assert results == [2.0]
    assert p.eval("2") == 2.0
