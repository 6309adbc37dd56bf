#!/usr/bin/env python3
"""Doxygen input filter: prints a header with its comments made into Doxygen's.

The headers of this project are commented with plain "//" lines, written to be read in the
source. For the API reference each such line that stands on its own becomes a "///" line, so
that Doxygen takes it as the documentation of the declaration below. Outside "quoted" and
`code` spans, characters that Doxygen would read as commands or markup (a backslash, "@",
"<", ">", "%", "#") are escaped, so that the text shows as it is written; inside those spans
Doxygen reads nothing anyway. No line is added or removed, so line numbers stay right.
Comments after code ("}  // namespace x") and lint markers stay as they are.

    python3 doxygen_comment_filter.py Header.h
"""

import re
import sys

COMMENT_LINE = re.compile(r"^(\s*)//(?!/)(.*)$")
SPECIAL = set("\\@<>%#")


def escaped(text):
    result = []
    quote = None  # the character that opened the span we are in: '"' or '`'
    for character in text:
        if quote is None and character in '"`':
            quote = character
        elif character == quote:
            quote = None
        elif quote is None and character in SPECIAL:
            result.append("\\")
        result.append(character)
    return "".join(result)


def doxygen_line(line):
    match = COMMENT_LINE.match(line)
    if match is None or "NOLINT" in match.group(2):
        return line
    indent, text = match.groups()
    return indent + "///" + escaped(text)


def main():
    sys.stdout.reconfigure(encoding="utf-8", errors="surrogateescape")
    with open(sys.argv[1], encoding="utf-8", errors="surrogateescape") as header:
        for line in header:
            sys.stdout.write(doxygen_line(line.rstrip("\n")) + "\n")


if __name__ == "__main__":
    main()
