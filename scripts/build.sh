#!/usr/bin/env bash
# Configures and builds into ./build (or $VISTREL_BUILD_DIR). Extra arguments go to ninja;
# $VISTREL_CMAKE_ARGS (space-separated) go to cmake, e.g. "-DVISTREL_SANITIZE=ON".
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${VISTREL_BUILD_DIR:-$root/build}
# ccache makes a second build tree (another checkout, the sanitizer build) cheap.
launcher=()
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$(dirname "$root")} CCACHE_NOHASHDIR=1
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" \
      -DVISTREL_WERROR="${VISTREL_WERROR:-OFF}" ${VISTREL_CMAKE_ARGS:-} >/dev/null
ninja -C "$build" "$@"
