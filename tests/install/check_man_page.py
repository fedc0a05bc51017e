#!/usr/bin/env python3
"""Fails unless the man page names every command and option of `quorvix --help`.

    check_man_page.py QUORVIX MAN_PAGE
"""
import re
import subprocess
import sys

quorvix, man_page = sys.argv[1:3]
help_text = subprocess.run([quorvix, "--help"], capture_output=True, text=True, check=True).stdout
# Commands start the lines under "commands:"; options are every -x or --word.
commands = re.findall(r"^  (\w+)", help_text.split("\ncommands:\n")[1].split("\n\n")[0], re.M)
options = set(re.findall(r"(?<![\w-])(--?[A-Za-z][\w-]*)", help_text))
with open(man_page, encoding="utf-8") as f:
    text = re.sub(r"\\f[BIRP]", "", f.read().replace("\\-", "-"))
missing = [c for c in commands if not re.search(rf"^\.B quorvix {c}\b", text, re.M)]
missing += [o for o in sorted(options) if not re.search(rf"(?<![\w-]){o}(?![\w-])", text)]
for item in missing if commands and options else ["anything: --help gave nothing"]:
    print(f"{man_page}: missing {item}")
sys.exit(1 if missing or not commands else 0)
