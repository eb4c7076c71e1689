#!/usr/bin/env bash
# Installs what is missing, builds, and starts Vistrel in the current X11 session.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
"$root/scripts/build.sh" vistrel vistrel-keymap
exec "${VISTREL_BUILD_DIR:-$root/build}/bin/vistrel" "$@"
