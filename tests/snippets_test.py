#!/usr/bin/env python3
"""Every C++ snippet of README and the guides is a piece of a program under examples/, indentation aside: there it is
compiled and run."""
import pathlib, re, sys


def lines(text):
    return "\n" + "\n".join(line.strip() for line in text.splitlines()) + "\n"


root = pathlib.Path(__file__).resolve().parent.parent
programs = [lines(path.read_text()) for path in root.glob("examples/**/*.cpp")]
snippets = [text for guide in (root / "README.md", *root.glob("docs/*.md"))
            for text in re.findall(r"^```cpp\n(.*?)^```", guide.read_text(), re.M | re.S)]
lost = [text for text in snippets if not any(lines(text) in program for program in programs)]
print(f"{len(snippets)} snippets, {len(lost)} of them in no program under examples/", *lost, sep="\n")
sys.exit(bool(lost) or not snippets)
