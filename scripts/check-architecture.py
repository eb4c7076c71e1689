#!/usr/bin/env python3
"""Fails when the library edges in docs/architecture.md differ from cmake --graphviz."""
import re
import subprocess
import sys
import tempfile
from pathlib import Path


def documented(doc):
    block = re.search(r"```graph\n(.*?)```", doc.read_text(), re.S)
    return {tuple(line.split(" -> ")) for line in block.group(1).splitlines() if line.strip()}


def built(source_dir):
    # A configure of its own, so it never races a build that is using the main tree.
    with tempfile.TemporaryDirectory() as tmp:
        dot = Path(tmp, "graph.dot")
        subprocess.run(["cmake", "-S", source_dir, "-B", Path(tmp, "build"), "-G", "Ninja",
                        "-DVISTREL_BUILD_TESTS=OFF", "-DVISTREL_BUILD_BENCH=OFF", f"--graphviz={dot}"],
                       check=True, stdout=subprocess.DEVNULL)
        text = dot.read_text()
    names = dict(re.findall(r'"(node\d+)" \[ label = "([^"]+)"', text))
    edges = {(names[a], names[b]) for a, b in re.findall(r'"(node\d+)" -> "(node\d+)"', text)}
    return {(a, b) for a, b in edges if a.startswith("vistrel_") and b.startswith("vistrel_")}


def main():
    source_dir = Path(sys.argv[1])
    want, have = documented(source_dir / "docs/architecture.md"), built(source_dir)
    for a, b in sorted(have - want):
        print(f"built but not documented: {a} -> {b}")
    for a, b in sorted(want - have):
        print(f"documented but not built: {a} -> {b}")
    return 0 if want == have else 1


if __name__ == "__main__":
    sys.exit(main())
