#!/bin/sh
# Unpacks what the 32-bit x86 build links against into DIR/root without installing anything:
# SDL 1.2, libvorbisfile, OpenGL and Mesa's software renderer with their dependencies, from
# Debian's i386 archive through an apt configuration of its own. The C and C++ runtimes stay
# those of g++-multilib. GoogleTest is built for 32 bits into DIR/gtest.
set -eu
[ $# -eq 1 ] || { echo "usage: $0 DIR" >&2; exit 2; }
mkdir -p "$1"
dir=$(cd "$1" && pwd)
[ -e "$dir/done" ] && exit 0

codename=$(. /etc/os-release && echo "$VERSION_CODENAME")
apt=$dir/apt
rm -rf "${dir:?}/apt" "${dir:?}/root" "${dir:?}/gtest"
mkdir -p "$apt/lists/partial" "$apt/cache/archives/partial" "$apt/debs" "$dir/root"
: > "$apt/status"
cat > "$apt/sources.list" <<LIST
deb [arch=i386] http://deb.debian.org/debian $codename main
deb [arch=i386] http://deb.debian.org/debian $codename-updates main
LIST
cat > "$apt/apt.conf" <<CONF
APT::Architecture "i386";
APT::Architectures { "i386"; };
Dir::Etc::SourceList "$apt/sources.list";
Dir::Etc::SourceParts "/nonexistent";
Dir::State "$apt";
Dir::State::Lists "$apt/lists";
Dir::State::status "$apt/status";
Dir::Cache "$apt/cache";
CONF
export APT_CONFIG="$apt/apt.conf"
apt-get update -q
# Everything the development packages pull in, less tools and data that a link never needs.
packages=$(apt-cache depends --recurse --no-recommends --no-suggests --no-conflicts \
        --no-breaks --no-replaces --no-enhances \
        libsdl1.2-dev libvorbis-dev libgl-dev libgl1-mesa-dri libglx-mesa0 |
    grep -v '^ ' | grep -v '<' | sort -u |
    grep -vE '^(perl|python|libpython|dpkg|tar|install-info|mailcap|media-types|mime-support|pkg-?conf|libpkgconf|libglib2\.0-(bin|dev-bin|data)|libperl|readline-common|libc-dev-bin|rpcsvc-proto|xorg-sgml|libc6|libc6-dev|libstdc\+\+6|libgcc-s1|linux-libc-dev|libcrypt1|libcrypt-dev)$')
(cd "$apt/debs" && apt-get download $packages)
for deb in "$apt"/debs/*.deb; do dpkg-deb -x "$deb" "$dir/root"; done

cmake -S /usr/src/googletest -B "$dir/gtest-build" -DCMAKE_BUILD_TYPE=Release -DBUILD_GMOCK=OFF \
    -DCMAKE_CXX_FLAGS=-m32 -DCMAKE_C_FLAGS=-m32 -DCMAKE_INSTALL_PREFIX="$dir/gtest" >/dev/null
cmake --build "$dir/gtest-build" -j"$(nproc)" >/dev/null
cmake --install "$dir/gtest-build" >/dev/null
touch "$dir/done"
