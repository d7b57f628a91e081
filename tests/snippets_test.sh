#!/usr/bin/env bash
# Every C++ snippet of README and the guides is a piece of a program under examples/, indentation aside: there it is
# compiled and run.
set -euo pipefail
cd "$(dirname "$0")/.."
python3 - <<'END'
import pathlib, re, sys

def lines(text):
    return "\n" + "\n".join(line.strip() for line in text.splitlines()) + "\n"

programs = [lines(path.read_text()) for path in pathlib.Path("examples").rglob("*.cpp")]
guides = [pathlib.Path("README.md"), *sorted(pathlib.Path("docs").glob("*.md"))]
snippets = [(guide, text) for guide in guides for text in re.findall(r"^```cpp\n(.*?)^```", guide.read_text(), re.M | re.S)]
lost = [(guide, text) for guide, text in snippets if not any(lines(text) in program for program in programs)]
for guide, text in lost:
    print(f"{guide}: no program under examples/ has this:\n{text}")
print(f"{len(snippets)} snippets, {len(lost)} of them in no program")
sys.exit(bool(lost) or not snippets)
END
