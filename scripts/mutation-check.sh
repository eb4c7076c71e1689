#!/usr/bin/env bash
# Kill rate of the tests against a fixed, seeded set of mutants, and the test share.
# Usage: scripts/mutation-check.sh [--count N] [--seed S] [--list]. Not for CI: about an hour.
exec python3 "$(dirname "$0")/mutation_check.py" "$@"
