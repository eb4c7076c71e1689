#!/usr/bin/env python3
"""Measures how many small, deliberate faults the tests catch.

A fixed, seeded set of mutants (flipped comparisons, off-by-one, dropped calls, swapped
arguments, inverted booleans) is drawn round-robin across every folder of src/ and tools/.
Each mutant is applied to a scratch copy and built; every unit and X11 test program that links
the changed code is run, and a failing or hanging one kills it. A mutant that does not compile
is skipped for the next in the order, so the set stays the same for the same sources and seed:
the printed fingerprint shows it. With --system, a mutant the unit and X11 programs miss is
rebuilt into the app and given to the system tests of its folder (SYSTEM_TESTS), which drive
the real binary: much of the widget and X11 code is guarded only there.

Too slow for CI: a mutant takes 10 to 20 seconds on two cores.
"""

import argparse
import hashlib
import json
import os
import random
import re
import shutil
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# (kind, pattern, replacement); patterns run on code with strings and comments blanked.
OPERATORS = [
    ("flip ==", re.compile(r"(?<![=!<>])==(?!=)"), "!="),
    ("flip !=", re.compile(r"!=(?!=)"), "=="),
    ("boundary <=", re.compile(r"(?<=\s)<=(?=\s)"), "<"),
    ("boundary >=", re.compile(r"(?<=\s)>=(?=\s)"), ">"),
    ("boundary <", re.compile(r"(?<=\s)<(?=\s)"), "<="),
    ("boundary >", re.compile(r"(?<=\s)>(?=\s)"), ">="),
    ("flip &&", re.compile(r"&&"), "||"),
    ("flip ||", re.compile(r"\|\|"), "&&"),
    ("off by one +", re.compile(r"(?<=\s)\+ 1\b"), "- 1"),
    ("off by one -", re.compile(r"(?<=\s)- 1\b"), "+ 1"),
    ("invert true", re.compile(r"\btrue\b"), "false"),
    ("invert false", re.compile(r"\bfalse\b"), "true"),
    ("swap arguments", re.compile(r"\b(\w+)\((\w+), (\w+)\)"), None),
    ("drop call", re.compile(r"^(\s*)((?:emit\s+)?[\w:]+(?:(?:\.|->)\w+)*\(.*\);)\s*$"), None),
]
# The system tests that exercise each folder's code, as a CTest name pattern.
SYSTEM_TESTS = {
    "src/app": r"system\.(app_lifecycle|command_line|bridge)",
    "src/ui": r"system\.(app_lifecycle|bridge|history)",
    "src/capture/library": r"system\.(screenshot|history)",
    "src/capture/selector": r"system\.(screenshot|recording)",
    "src/capture/screenshot": r"system\.screenshot",
    "src/capture/recording": r"system\.recording",
    "src/capture/scrolling": r"system\.scrolling",
    "src/capture/scrollingflow": r"system\.scrolling",
    "src/editor": r"system\.(editor|history)",
    "src/keyboard": r"system\.bridge",
    "src/storage": r"system\.(history|app_lifecycle)",
    "src/platform": r"system\.(bridge|screenshot)",
    "src/platform/ffmpeg": r"system\.recording",
    "src/platform/x11": r"system\.(bridge|screenshot|scrolling)",
    "tools/keymap": r"system\.(bridge|keymap_watchdog)",
}

KEYWORDS = {"if", "while", "for", "switch", "return", "sizeof", "static_cast", "Q_ASSERT",
            "Q_UNUSED", "delete", "new", "case"}

def subsystem(path):
    parts = path.split("/")
    return "/".join(parts[:3]) if parts[1] in ("capture", "editor", "platform") and len(parts) > 3 \
        else "/".join(parts[:2])


def blank_strings_and_comments(line):
    """The line with string/char literals and // comments replaced by spaces."""
    out, quote, i = [], None, 0
    while i < len(line):
        c = line[i]
        if quote:
            if c == "\\":
                out.append("  ")
                i += 2
                continue
            if c == quote:
                quote = None
            out.append(" ")
        elif c in "\"'":
            quote = c
            out.append(" ")
        elif line.startswith("//", i):
            out.append(" " * (len(line) - i))
            break
        else:
            out.append(c)
        i += 1
    return "".join(out)


def sources():
    for top in ("src", "tools"):
        for folder, _, files in sorted(os.walk(os.path.join(ROOT, top))):
            for name in sorted(files):
                if name.endswith(".cpp") and "/fake" not in folder and not name.startswith("main"):
                    yield os.path.relpath(os.path.join(folder, name), ROOT)


def candidates(path):
    """Every mutant of one file as (path, line number, kind, new line, old line stripped)."""
    with open(os.path.join(ROOT, path), encoding="utf-8") as f:
        lines = f.read().split("\n")
    found = []
    for number, line in enumerate(lines, 1):
        stripped = line.strip()
        if not stripped or stripped.startswith(("#", "//", "*", "/*", "Q_")):
            continue
        code = blank_strings_and_comments(line)
        for kind, pattern, replacement in OPERATORS:
            for match in pattern.finditer(code):
                if kind == "drop call":
                    head = match.group(2).split("(")[0].split()[-1].split(".")[0].split("->")[0]
                    previous = next((l.strip() for l in reversed(lines[:number - 1]) if l.strip()), "")
                    if (head in KEYWORDS or "=" in code.split("(")[0]
                            or not previous.endswith((";", "{", "}", ":"))):   # a continuation line
                        continue
                    new = match.group(1) + ";"
                elif kind == "swap arguments":
                    a, b = match.group(2), match.group(3)
                    if a == b or match.group(1) in KEYWORDS:
                        continue
                    new = line[:match.start()] + "%s(%s, %s)" % (match.group(1), b, a) + line[match.end():]
                else:
                    new = line[:match.start()] + replacement + line[match.end():]
                found.append((path, number, kind, new, stripped))
    return found


def round_robin(pools):
    order, keys = [], sorted(pools)
    while any(pools.values()):
        for key in keys:
            if pools[key]:
                order.append(pools[key].pop())
    return order


def draw(seed):
    """Every candidate in a seeded order that alternates between subsystems and, within
    one, between kinds of fault, so any prefix is spread across both."""
    rng = random.Random(seed)
    pools = {}
    for path in sources():
        by_kind = {}
        for mutant in candidates(path):
            by_kind.setdefault(mutant[2].split()[0], []).append(mutant)
        for group in by_kind.values():
            pools.setdefault(subsystem(path), {}).setdefault(group[0][2].split()[0], []).extend(group)
    for key in sorted(pools):
        for kind in sorted(pools[key]):
            rng.shuffle(pools[key][kind])
        pools[key] = list(reversed(round_robin(pools[key])))
    return round_robin(pools)


def test_share():
    def count(top, suffixes):
        total = 0
        for folder, _, files in os.walk(os.path.join(ROOT, top)):
            for name in files:
                if name.endswith(suffixes):
                    with open(os.path.join(folder, name), encoding="utf-8", errors="replace") as f:
                        total += sum(1 for line in f if line.strip())
        return total
    code = count("src", (".cpp", ".h")) + count("tools", (".cpp", ".h"))
    cpp_tests = count("tests", (".cpp", ".h"))
    py_tests = count("tests", (".py",))
    return code, cpp_tests, py_tests


def test_programs(build):
    """Every unit and X11 test program, with the commands CTest runs it with and their
    environment. A Google Test program is run once for all its cases instead."""
    out = subprocess.run(["ctest", "--show-only=json-v1", "-LE", "system"], cwd=build, capture_output=True,
                         check=True).stdout
    programs = {}
    for test in json.loads(out)["tests"]:
        command = test.get("command") or [""]
        if not command[0].startswith(build + os.sep):
            continue        # a script, such as the architecture check: no code under test
        env = next((p["value"] for p in test.get("properties", []) if p["name"] == "ENVIRONMENT"), [])
        entry = programs.setdefault(command[0], {"env": dict(os.environ, **dict(v.split("=", 1) for v in env)),
                                                 "commands": []})
        gtest = any(a.startswith("--gtest_filter") for a in command)
        entry["commands"] = [[command[0], "--gtest_fail_fast"]] if gtest else entry["commands"] + [command]
    return programs


def killed_by(programs, build):
    """Whether any of these programs fails or hangs; it stops at the first failure."""
    for program in programs.values():
        for command in program["commands"]:
            try:
                result = subprocess.run(command, cwd=build, env=program["env"], timeout=300,
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            except subprocess.TimeoutExpired:
                return True
            if result.returncode != 0:
                return True
    return False


def system_fails(pattern, build, jobs):
    try:
        return run(["ctest", "-j%d" % jobs, "-R", pattern], build, timeout=1800) != 0
    except subprocess.TimeoutExpired:
        return True


def mtimes(paths):
    return {p: os.stat(p).st_mtime_ns if os.path.exists(p) else 0 for p in paths}


def survivors_of(log):
    """(path, line, new line) of the mutants an earlier run's log lists as surviving."""
    found = set()
    with open(log, encoding="utf-8") as f:
        for line in f:
            match = re.match(r"^SURVIVED\s+[\d.]+s\s+(\S+):(\d+)\s+.*?  ->  (.*)$", line.rstrip("\n"))
            if match:
                found.add((match.group(1), int(match.group(2)), match.group(3).strip()))
    return found


def run(cmd, cwd, timeout=None):
    return subprocess.run(cmd, cwd=cwd, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                          timeout=timeout).returncode


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--count", type=int, default=150)
    parser.add_argument("--seed", type=int, default=20261123)
    parser.add_argument("--work", default=os.path.join(ROOT, "build-mutation"),
                        help="scratch checkout and build (reused between runs)")
    parser.add_argument("--list", action="store_true", help="print the mutant set and stop")
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 2)
    parser.add_argument("--system", action="store_true",
                        help="give what the unit and X11 programs miss to the system tests of its folder")
    parser.add_argument("--recheck", metavar="LOG",
                        help="run only the mutants this earlier run's log lists as survivors")
    args = parser.parse_args()

    code, cpp_tests, py_tests = test_share()
    print("test share: %d test lines (C++ %d, Python %d) to %d code lines = %.2f (C++ alone %.2f)"
          % (cpp_tests + py_tests, cpp_tests, py_tests, code, (cpp_tests + py_tests) / code,
             cpp_tests / code), flush=True)

    order = draw(args.seed)
    if args.list:
        for path, number, kind, new, old in order[:args.count]:
            print("%s:%d  %-14s %s  ->  %s" % (path, number, kind, old, new.strip()))
        return 0

    # The build sits inside the copy, as in a checkout, so ccache finds the same relative paths.
    tree = os.path.join(args.work, "tree")
    build = os.path.join(tree, "build")
    if os.path.exists(tree):
        shutil.rmtree(tree)
    shutil.copytree(ROOT, tree, ignore=lambda folder, names: [
        n for n in names if n == ".git" or (folder == ROOT and n.startswith("build") and n != "build.sh")])
    # No debug information and a faster linker: the tree is relinked for every mutant.
    env = dict(os.environ, VISTREL_BUILD_DIR=build,
               VISTREL_CMAKE_ARGS="-DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_EXE_LINKER_FLAGS=-fuse-ld=lld")
    print("building the unmutated tree in %s" % build, flush=True)
    subprocess.run([os.path.join(tree, "scripts", "build.sh"), "-j%d" % args.jobs], env=env, check=True,
                   stdout=subprocess.DEVNULL)
    if run(["ctest", "-j%d" % args.jobs] + ([] if args.system else ["-LE", "system"]), build) != 0:
        sys.exit("the unmutated tree fails its tests; fix that first")

    # A mutant is judged by every test program that links the code it changed: those are
    # the programs the build relinks. The app and the benchmarks are not rebuilt.
    programs = test_programs(build)
    recheck = survivors_of(args.recheck) if args.recheck else None
    results, per_subsystem, stillborn = [], {}, 0
    fingerprint = hashlib.sha256()
    for path, number, kind, new, old in order:
        if len(results) == args.count:
            break
        key = subsystem(path)
        if recheck is not None and (path, number, new.strip()) not in recheck:
            continue
        target = os.path.join(tree, path)
        with open(target, encoding="utf-8") as f:
            original = f.read()
        lines = original.split("\n")
        lines[number - 1] = new
        with open(target, "w", encoding="utf-8") as f:
            f.write("\n".join(lines))
        started = time.monotonic()
        try:
            before = mtimes(programs)
            if run(["ninja", "-j%d" % args.jobs] + [os.path.relpath(p, build) for p in programs], build) != 0:
                stillborn += 1
                continue
            fingerprint.update(("%s:%d:%s\n" % (path, number, new)).encode())
            after = mtimes(programs)
            failed = killed_by({p: v for p, v in programs.items() if after[p] != before[p]}, build)
            by_system = False
            if not failed and args.system:
                pattern = SYSTEM_TESTS.get(key) or SYSTEM_TESTS.get("/".join(key.split("/")[:2]))
                # The system tests build the binaries they launch (a CTest fixture).
                by_system = failed = pattern is not None and system_fails(pattern, build, args.jobs)
            results.append((path, number, kind, new.strip(), failed))
            per_subsystem.setdefault(key, []).append(failed)
            print("%-8s %5.1fs  %s:%d  %s: %s  ->  %s" % (
                ("killed*" if by_system else "killed") if failed else "SURVIVED", time.monotonic() - started,
                path, number, kind,
                old, new.strip()), flush=True)
        finally:
            with open(target, "w", encoding="utf-8") as f:
                f.write(original)
    run(["ninja", "-j%d" % args.jobs], build)

    killed = sum(1 for r in results if r[4])
    print("\nper folder:")
    for key in sorted(per_subsystem):
        outcome = per_subsystem[key]
        print("  %-24s %d/%d" % (key, sum(outcome), len(outcome)))
    print("\nmutant set %s: %d mutants (%d did not compile and were replaced)"
          % (fingerprint.hexdigest()[:12], len(results), stillborn))
    print("kill rate: %d/%d = %.1f%%%s" % (killed, len(results), 100.0 * killed / max(1, len(results)),
                                         " (killed* = by the system tests)" if args.system else ""))
    survivors = [r for r in results if not r[4]]
    if survivors:
        print("\nsurvivors:")
        for path, number, kind, new, _ in survivors:
            print("  %s:%d  %s  ->  %s" % (path, number, kind, new))
    return 0


if __name__ == "__main__":
    sys.exit(main())
