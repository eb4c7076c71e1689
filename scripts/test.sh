#!/usr/bin/env bash
# Installs what is missing, builds everything with warnings as errors, and runs the
# unit, widget and system tests (system tests bring their own Xvfb).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VISTREL_BUILD_DIR:-$root/build}
"$root/scripts/setup.sh"
VISTREL_WERROR=ON "$root/scripts/build.sh" -j"$(nproc)"
cd "$build"
ctest --output-on-failure -j"$(nproc)" "$@"
