#!/usr/bin/env bash
# Kill rate of the tests against a fixed, seeded set of mutants, and the test share.
# Usage: scripts/mutation-check.sh [--count N] [--seed S] [--list] [--system] [--recheck LOG [--redo REGEX]].
# Not for CI: about 25 minutes, and with --system a minute more for each mutant the unit tests miss.
exec python3 "$(dirname "$0")/mutation_check.py" "$@"
