#!/usr/bin/env python3
"""Runs every example of docs/*.md through the quorvix program and compares
its output, and checks that docs/builtins.md is what the registration tables
give (`quorvix functions --markdown`).

Conventions in the Markdown files:
  ```qvx      a template, filled by `quorvix fill --lf` in an empty working
              directory; the next block must be ```output, its exact output
  ```expr     expressions evaluated in order by one `quorvix eval`; each is
              followed by `=> LINE` lines (its printed value, one per line;
              `=>` alone is an empty line) or by `!! MESSAGE` (it fails with
              that message; nothing may follow it)
Other blocks are not run.

usage: check_docs.py QUORVIX_PROGRAM SOURCE_DIR
"""
import pathlib
import re
import subprocess
import sys
import tempfile

FENCE = re.compile(r"^```(\w*)\n(.*?)^```\n", re.M | re.S)


def blocks(text):
    for m in FENCE.finditer(text):
        yield m.group(1), m.group(2), text.count("\n", 0, m.start()) + 1


def run(program, args, stdin=""):
    with tempfile.TemporaryDirectory() as work:
        return subprocess.run([program, *args], input=stdin, capture_output=True, text=True,
                              cwd=work, timeout=60)


def check_template(program, template, expected):
    r = run(program, ["fill", "--lf"], template)
    if r.returncode != 0:
        return f"fill failed ({r.returncode}): {r.stderr.strip()}"
    if r.stdout != expected:
        return f"output differs:\n--- expected\n{expected}--- got\n{r.stdout}"
    return None


def check_expressions(program, body):
    exprs, expected, failure = [], [], None
    for line in body.splitlines():
        if failure is not None:
            return "nothing may follow a !! line"
        if line == "=>" or line.startswith("=> "):
            expected.append(line[3:])
        elif line.startswith("!! "):
            failure = line[3:]
        elif line.strip():
            exprs.append(line)
    r = run(program, ["eval", "--", *exprs])
    want = "".join(e + "\n" for e in expected)
    if r.stdout != want:
        return f"values differ:\n--- expected\n{want}--- got\n{r.stdout}{r.stderr}"
    if failure is None and r.returncode != 0:
        return f"eval failed: {r.stderr.strip()}"
    if failure is not None and (r.returncode != 1 or
                                r.stderr.splitlines()[:1] != ["quorvix: " + failure]):
        return f"expected the failure {failure!r}, got: {r.stderr.strip()!r}"
    return None


def main():
    program, source = str(pathlib.Path(sys.argv[1]).resolve()), pathlib.Path(sys.argv[2])
    problems, count = [], 0
    generated = subprocess.run([program, "functions", "--markdown"], capture_output=True,
                               text=True, check=True).stdout
    if (source / "docs/builtins.md").read_text() != generated:
        problems.append("docs/builtins.md differs from what the tables give: "
                        "quorvix functions --markdown > docs/builtins.md")
    for path in sorted((source / "docs").glob("*.md")):
        found = list(blocks(path.read_text()))
        for i, (kind, body, line) in enumerate(found):
            problem = None
            if kind == "qvx":
                following = found[i + 1] if i + 1 < len(found) else ("", "", 0)
                if following[0] != "output":
                    problem = "a qvx block must be followed by an output block"
                else:
                    problem = check_template(program, body, following[1])
            elif kind == "expr":
                problem = check_expressions(program, body)
            else:
                continue
            count += 1
            if problem:
                problems.append(f"{path.name}:{line}: {problem}")
    for p in problems:
        print(p)
    print(f"{count} examples, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
