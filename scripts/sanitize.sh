#!/usr/bin/env bash
# Builds with AddressSanitizer and UndefinedBehaviorSanitizer into ./build-asan (or
# $VISTREL_SANITIZE_BUILD_DIR) and runs tests there. The first report stops its test, and
# the test fails.
#
#   ./scripts/sanitize.sh          the keyboard, keymap (with its X11 tests), storage and
#                                  platform suites and the fuzz corpora: a quick pass
#   ./scripts/sanitize.sh --all    every suite but the system tests (unit, widget, X11,
#                                  fuzz corpora): what CI runs
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VISTREL_SANITIZE_BUILD_DIR:-$root/build-asan}
started=$(date +%s)

targets=(vistrel-keymap keymap_tests keyboard_tests storage_tests platform_tests fuzz)
select=(-L "keyboard|keymap|storage|platform|fuzz")
if [ "${1:-}" = "--all" ]; then
  shift
  targets=()
  select=(-LE system)
fi

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:halt_on_error=1:detect_stack_use_after_return=1:check_initialization_order=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
# Leaks inside system libraries we do not own (fonts, X, GL) are listed there.
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/scripts/lsan.supp:print_suppressions=0}

VISTREL_BUILD_DIR=$build VISTREL_CMAKE_ARGS="-DVISTREL_SANITIZE=ON -DVISTREL_BUILD_BENCH=OFF" \
  "$root/scripts/build.sh" -j"$(nproc)" "${targets[@]}"
built=$(date +%s)
cd "$build"
ctest --output-on-failure -j"$(nproc)" "${select[@]}" "$@"
echo "sanitizer stage: build $((built - started)) s, tests $(( $(date +%s) - built )) s"
