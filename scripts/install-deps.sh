#!/bin/sh
# Installs the Debian packages the build and the tests need, if any is missing.
# Mesa's software driver is named itself, since recommends are not installed: the OpenGL
# tests draw with it on Xvfb.
# `install-deps.sh bench` adds the peer libraries the benchmarks compare against.
set -eu

packages="build-essential cmake pkg-config libsdl1.2-dev libvorbis-dev libgl-dev
libgl1-mesa-dri libglx-mesa0 libgtest-dev libbenchmark-dev libsdl-image1.2-dev xvfb xauth
clang libclang-rt-14-dev"
if [ "${1:-}" = bench ]; then
    packages="$packages libsdl-gfx1.2-dev libphysfs-dev libsdl-mixer1.2-dev libsndfile1-dev"
fi

missing=""
for p in $packages; do
    status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
    case "$status" in
        *"install ok installed"*) ;;
        *) missing="$missing $p" ;;
    esac
done
[ -z "$missing" ] && exit 0

echo "install-deps: installing$missing"
if [ "$(id -u)" -eq 0 ]; then sudo=""; else sudo="sudo"; fi
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -q
$sudo apt-get install -y -q --no-install-recommends $missing
