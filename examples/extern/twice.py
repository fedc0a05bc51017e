#!/usr/bin/env python3
"""An external function for quorvix: doubles what it is given.

quorvix starts the program once per call with two arguments, the descriptor
to read the request from and the descriptor to write the reply to.

Request: the number of numeric arguments and the number of string
arguments, then per argument either "0", its element count and its elements,
or "3", the string and "0"; one item a line.

Replies: "0 COUNT X1 X2 ..." (numbers), "3 TEXT" (a one-line string),
"1 LENGTH TEXT" (a message, then another reply) or "2 LENGTH TEXT" (an
error), where LENGTH counts the bytes of TEXT after the one separator.

twice(1, [2, 3]) gives the column 2, 4, 6; twice("ab") gives "abab".
"""
import sys


def text_reply(kind, text):
    data = text.encode()
    return b"%d %d " % (kind, len(data)) + data


def main():
    with open(int(sys.argv[1]), "rb") as request, open(int(sys.argv[2]), "wb") as reply:
        lines = iter(request.read().decode().split("\n"))
        numeric, strings = int(next(lines)), int(next(lines))
        numbers, texts = [], []
        for _ in range(numeric + strings):
            if next(lines) == "3":
                texts.append(next(lines))
                next(lines)
            else:
                count = int(next(lines))
                numbers += [float(next(lines)) for _ in range(count)]
        if numeric == 0 and strings == 0:
            reply.write(text_reply(2, "twice: nothing to double"))
        elif numeric == 0:
            reply.write(b"3 " + "".join(t + t for t in texts).encode() + b"\n")
        else:
            if texts:
                reply.write(text_reply(1, "twice: strings are left out"))
            reply.write(b"0 %d\n" % len(numbers) + b"".join(b"%.17g\n" % (2 * x) for x in numbers))


if __name__ == "__main__":
    main()
