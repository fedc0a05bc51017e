"""Filling templates from Python."""
from concurrent.futures import ProcessPoolExecutor

import pytest

import quorvix


def test_fill_sets_variables_and_keeps_the_engine_line_ends():
    assert quorvix.fill("a {x + 1}\nv {v}\n", x=2, v=[1, 2, 3]) == "a 3\r\nv 1, 2, 3\r\n"
    assert quorvix.fill("a {x + 1}\n", x=2, lf=True) == "a 3\n"


def test_parser_fill_uses_and_keeps_its_variables():
    p = quorvix.Parser()
    p["n"] = 4
    assert p.fill("{m = n * 2}{m}", lf=True) == "8"
    assert p["m"] == 8.0
    assert p.fill("{name}", name="deck") == "deck"
    assert p["name"] == "deck"


def test_fill_file_with_include_directories(tmp_path):
    parts = tmp_path / "parts"
    parts.mkdir()
    (parts / "py_binding_part.txt").write_text("part {k}\n")
    main = tmp_path / "main.txt"
    main.write_text('head\n{include "py_binding_part.txt"}tail\n')
    assert quorvix.fill_file(str(main), include=[str(parts)], k=7, lf=True) == "head\npart 7\ntail\n"
    # The directories apply to that fill only.
    with pytest.raises(quorvix.Error) as raised:
        quorvix.fill_file(str(main), k=7)
    assert raised.value.message == 'The file "py_binding_part.txt" is not in the include path'


def test_failed_fill_reports_message_position_and_output(tmp_path):
    with pytest.raises(quorvix.Error) as raised:
        quorvix.fill("first\nA{include 5}B\n")
    e = raised.value
    assert e.message == "string value required in INCLUDE statement"
    assert (e.file, e.line, e.column) == (None, 2, 12)
    assert e.report == "A{include 5}B\n           ^\nstring value required in INCLUDE statement\n"
    assert e.output == "first\r\nA{error}"
    bad = tmp_path / "bad.txt"
    bad.write_text("ok\n\nA{include 5}B\n")
    with pytest.raises(quorvix.Error) as raised:
        quorvix.fill_file(str(bad), lf=True)
    assert (raised.value.file, raised.value.line, raised.value.column) == (str(bad), 3, 12)
    assert raised.value.output == "ok\n\nA{error}"


def test_fill_refuses_bad_arguments(tmp_path):
    missing = str(tmp_path / "missing.txt")
    with pytest.raises(quorvix.Error) as raised:
        quorvix.fill_file(missing)
    assert (raised.value.message, raised.value.file) == ("cannot read '%s'" % missing, missing)
    with pytest.raises(ValueError, match="^template contains a NUL character$"):
        quorvix.fill("a\0b")
    with pytest.raises(TypeError, match="^include must be a list of directories, not a str$"):
        quorvix.fill("a", include="dir")
    with pytest.raises(ValueError, match="^variable name '1x' is not a valid name$"):
        quorvix.fill("a", **{"1x": 1})


def test_restricted_fill_refuses_writing(tmp_path):
    with pytest.raises(quorvix.Error) as raised:
        quorvix.fill('{open "%s"}x{close}' % (tmp_path / "out.txt"), restricted=True)
    assert raised.value.message.endswith("is not allowed in restricted mode")
    assert not (tmp_path / "out.txt").exists()


def deck(run):
    return quorvix.fill("t {t}, load {p * 2}\n", t=run[0], p=run[1], lf=True)


def test_fills_run_in_parallel_processes():
    with ProcessPoolExecutor(max_workers=2) as pool:
        texts = list(pool.map(deck, [(1.0, 0.1), (2.0, 0.2), (3.0, 0.5)]))
    assert texts == ["t 1, load 0.2\n", "t 2, load 0.4\n", "t 3, load 1\n"]
