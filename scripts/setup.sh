#!/usr/bin/env bash
# Installs every Debian package the build, the app and the tests need.
# Idempotent: packages already present are skipped, so a second run is quick.
set -euo pipefail

packages=(
  build-essential cmake ninja-build pkg-config ccache
  qt6-base-dev qt6-base-dev-tools qt6-image-formats-plugins libqt6svg6-dev libgl-dev
  libsqlite3-dev
  libavformat-dev libavcodec-dev libavdevice-dev libavutil-dev libswscale-dev libswresample-dev libx264-dev libyuv-dev
  libopencv-imgproc-dev libopencv-core-dev
  libx11-dev libxtst-dev libxext-dev libxcb1-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  xvfb xauth openbox xdotool xclip trayer pulseaudio pulseaudio-utils ffmpeg sqlite3
  x11-xserver-utils x11-utils x11-xkb-utils imagemagick python3 python3-numpy python3-pil python3-psutil python3-xlib chromium
  clang libclang-rt-14-dev
  fonts-dejavu-core fonts-noto-core fonts-droid-fallback
  desktop-file-utils appstream dpkg-dev file
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup: all packages present"
  exit 0
fi

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
