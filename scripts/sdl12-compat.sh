#!/bin/sh
# Unpacks sdl12-compat (SDL 1.2 over SDL2, Debian's libsdl1.2-compat) into DIR without
# installing anything: DIR/lib then holds libSDL-1.2.so.0 for LD_LIBRARY_PATH. When the machine
# has no SDL2, SDL2 and those of its dependencies that are missing are unpacked there as well.
set -eu
[ $# -eq 1 ] || { echo "usage: $0 DIR" >&2; exit 2; }
mkdir -p "$1"
dir=$(cd "$1" && pwd)
[ -e "$dir/lib/libSDL-1.2.so.0" ] && exit 0

if [ "$(id -u)" -eq 0 ]; then sudo=""; else sudo="sudo"; fi
debs=$dir/debs
rm -rf "${dir:?}/debs" "${dir:?}/root" "${dir:?}/lib"
mkdir -p "$debs/partial" "$dir/root" "$dir/lib"
(cd "$debs" && apt-get download libsdl1.2-compat) ||
    { $sudo apt-get update -q && (cd "$debs" && apt-get download libsdl1.2-compat); }
# Without SDL2, apt picks what a real install of it would bring and leaves it in debs/.
if ! dpkg-query -W -f='${Status}' libsdl2-2.0-0 2>/dev/null | grep -q 'install ok installed'; then
    $sudo apt-get install -y -q --download-only --no-install-recommends \
        -o Dir::Cache::Archives="$debs" libsdl2-2.0-0
fi
for deb in "$dir"/debs/*.deb; do dpkg-deb -x "$deb" "$dir/root"; done
find "$dir/root" -name '*.so.*' -exec ln -sf {} "$dir/lib/" \;
