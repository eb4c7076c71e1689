#!/usr/bin/env bash
# Configures and builds into ./build (or $VISTREL_BUILD_DIR). Extra arguments go to ninja.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VISTREL_BUILD_DIR:-$root/build}
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
      -DVISTREL_WERROR="${VISTREL_WERROR:-OFF}" >/dev/null
ninja -C "$build" "$@"
