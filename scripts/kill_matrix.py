#!/usr/bin/env python3
"""Which test case kills which mutant, to find cases that prove nothing another case does not.

Draws mutants of the files matching --paths from the same seeded order as mutation_check.py,
builds each, and runs every relinked Google Test program in full (not stopping at the first
failure), writing one JSON line per mutant: the failing cases as "program:Suite.Test". The
report then lists, for every case, how many mutants it kills and how many only it kills. A case
with no sole kill is a candidate for deletion; the system tests are not run, so a case whose
sole kills a system test also catches shows up as needed here and must be checked by hand.
"""

import argparse
import json
import os
import re
import sys
import tempfile
import time
from collections import defaultdict

from mutation_check import ROOT, draw, exit_status, mutated, prepare_tree, relinked, test_programs


def failing_cases(programs, build):
    """The cases of these programs that fail; a hang or a crash names the whole program."""
    failed = []
    for program, spec in programs.items():
        name = os.path.basename(program)
        for command in spec["commands"]:
            if not spec["gtest"]:      # a plain program, such as a fuzz corpus run
                if exit_status(command, spec, build, timeout=120) != 0:
                    failed.append("%s:%s" % (name, os.path.basename(command[-1])))
                continue
            with tempfile.NamedTemporaryFile(suffix=".json") as report:
                if exit_status(command + ["--gtest_output=json:" + report.name], spec, build, timeout=120) is None:
                    failed.append(name + ":(hang)")
                    continue
                try:
                    with open(report.name, encoding="utf-8") as f:
                        suites = json.load(f)["testsuites"]
                except (ValueError, KeyError):
                    failed.append(name + ":(crash)")
                    continue
            failed += ["%s:%s.%s" % (name, suite["name"], case["name"])
                       for suite in suites for case in suite["testsuite"] if case.get("failures")]
    return failed


def measure(args):
    tree, build = prepare_tree(args.work, args.jobs, system=False)
    programs = test_programs(build)
    done = 0
    with open(args.out, "a", encoding="utf-8") as out:
        for path, number, kind, new, old in draw(args.seed):
            if done == args.count:
                break
            if not re.search(args.paths, path):
                continue
            started = time.monotonic()
            with mutated(tree, path, number, new):
                changed = relinked(programs, build, args.jobs)
                if changed is None:
                    continue
                killers = failing_cases(changed, build)
            done += 1
            out.write(json.dumps({"mutant": "%s:%d  %s  ->  %s" % (path, number, old, new.strip()),
                                  "killers": killers}, ensure_ascii=False) + "\n")
            out.flush()
            print("%3d %5.1fs %-3d %s:%d %s" % (done, time.monotonic() - started, len(killers), path, number, kind),
                  flush=True)


def report(matrix_path):
    with open(matrix_path, encoding="utf-8") as f:
        rows = [json.loads(line) for line in f]
    kills, sole = defaultdict(int), defaultdict(list)
    for row in rows:
        for case in row["killers"]:
            kills[case] += 1
        if len(row["killers"]) == 1:
            sole[row["killers"][0]].append(row["mutant"])
    survivors = sum(1 for row in rows if not row["killers"])
    print("%d mutants, %d killed by no case" % (len(rows), survivors))
    print("%6s %5s  case" % ("kills", "sole"))
    for case in sorted(kills, key=lambda c: (len(sole[c]), kills[c], c)):
        print("%6d %5d  %s" % (kills[case], len(sole[case]), case))


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--paths", default=".", help="regex over src/ and tools/ paths to mutate")
    parser.add_argument("--count", type=int, default=10 ** 6, help="stop after this many; the default takes every mutant")
    parser.add_argument("--seed", type=int, default=20261123)
    parser.add_argument("--work", default=os.path.join(ROOT, "build-matrix"))
    parser.add_argument("--jobs", type=int, default=os.cpu_count() or 2)
    parser.add_argument("--out", default="kill-matrix.jsonl", help="appended to, one line per mutant")
    parser.add_argument("--report", action="store_true", help="only print the report of --out")
    args = parser.parse_args()
    if not args.report:
        measure(args)
    report(args.out)
    return 0


if __name__ == "__main__":
    sys.exit(main())
