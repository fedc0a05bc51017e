#!/usr/bin/env python3
"""Renders the GRID deck with Jinja2 for the deck benchmark.

usage: jinja_deck.py DATA OUT RUNS
DATA holds one node per line: id and three coordinates as hex floats.
Writes the rendered deck to OUT and prints the best render time in seconds.
"""
import sys
import time

import jinja2


def main():
    data, out, runs = sys.argv[1], sys.argv[2], int(sys.argv[3])
    ids, xs, ys, zs = [], [], [], []
    with open(data) as f:
        for line in f:
            i, x, y, z = line.split()
            ids.append(int(i))
            xs.append(float.fromhex(x))
            ys.append(float.fromhex(y))
            zs.append(float.fromhex(z))
    env = jinja2.Environment(keep_trailing_newline=True, autoescape=False, newline_sequence="\r\n")
    template = env.from_string(
        "{% for i in range(n) %}GRID,{{ '%d' % ids[i] }},,{{ '%g' % xs[i] }},"
        "{{ '%g' % ys[i] }},{{ '%g' % zs[i] }}\r\n{% endfor %}")
    best = None
    text = ""
    for _ in range(runs):
        start = time.perf_counter()
        text = template.render(n=len(ids), ids=ids, xs=xs, ys=ys, zs=zs)
        elapsed = time.perf_counter() - start
        best = elapsed if best is None else min(best, elapsed)
    with open(out, "w", newline="") as f:
        f.write(text)
    print(best)


if __name__ == "__main__":
    main()
