#!/usr/bin/env python3
"""Checks that the man page names every command and option of `quorvix --help`.

    check_man_page.py QUORVIX MAN_PAGE

Commands are the words at the start of the lines under "commands:", options
every -x / --word token of the text. Prints what is missing and exits 1.
"""
import re
import subprocess
import sys


def help_items(help_text):
    commands, options = set(), set()
    section = None
    for line in help_text.splitlines():
        if re.match(r"^\w+:$", line):
            section = line[:-1]
            continue
        match = re.match(r"^  (\w+)\b", line)
        if section == "commands" and match:
            commands.add(match.group(1))
        options.update(re.findall(r"(?<![\w-])(--?[A-Za-z][\w-]*)", line))
    return commands, options


def man_text(path):
    with open(path, encoding="utf-8") as f:
        text = f.read()
    # Plain text: dashes unescaped, font changes dropped.
    text = text.replace("\\-", "-")
    return re.sub(r"\\f[BIRP]", "", text)


def main():
    quorvix, man_page = sys.argv[1], sys.argv[2]
    help_text = subprocess.run([quorvix, "--help"], capture_output=True, text=True,
                               check=True).stdout
    commands, options = help_items(help_text)
    text = man_text(man_page)
    missing = [f"command {c}" for c in sorted(commands)
               if not re.search(rf"^\.B quorvix {c}\b", text, re.M)]
    missing += [f"option {o}" for o in sorted(options)
                if not re.search(rf"(?<![\w-]){re.escape(o)}(?![\w-])", text)]
    if not commands or not options:
        missing.append("nothing read from --help")
    for item in missing:
        print(f"{man_page}: missing {item}")
    return 1 if missing else 0


if __name__ == "__main__":
    sys.exit(main())
