#!/usr/bin/env bash
# Builds the suite with AddressSanitizer and UndefinedBehaviorSanitizer into ./build-asan
# (or $VISTREL_SANITIZE_BUILD_DIR) and runs every test but the system tests (unit, widget,
# X11, fuzz corpus) under it. The first report stops its test, and the test fails.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VISTREL_SANITIZE_BUILD_DIR:-$root/build-asan}
started=$(date +%s)

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:halt_on_error=1:detect_stack_use_after_return=1:check_initialization_order=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
# Leaks inside system libraries we do not own (fonts, X, GL) are listed there.
export LSAN_OPTIONS=${LSAN_OPTIONS:-suppressions=$root/scripts/lsan.supp:print_suppressions=0}

VISTREL_BUILD_DIR=$build VISTREL_CMAKE_ARGS="-DVISTREL_SANITIZE=ON -DVISTREL_BUILD_BENCH=OFF" \
  "$root/scripts/build.sh" -j"$(nproc)"
built=$(date +%s)
cd "$build"
ctest --output-on-failure -j"$(nproc)" -LE system "$@"
echo "sanitizer stage: build $((built - started)) s, tests $(( $(date +%s) - built )) s"
