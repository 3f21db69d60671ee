#!/bin/sh
# Installs the built library into a staging prefix and builds a client against it,
# once through pkg-config and once through find_package(QZM).
# Usage: run.sh BUILD_DIR STAGE_DIR SOURCE_DIR CXX
set -eu
build=$1 stage=$2 src=$3 cxx=$4
rm -rf "$stage"
cmake --install "$build" --prefix "$stage/prefix" >/dev/null

pcdir=$(dirname "$(find "$stage/prefix" -name qzm.pc | head -n 1)")
libdir=$(PKG_CONFIG_PATH=$pcdir pkg-config --variable=libdir qzm)
mkdir -p "$stage/pc"
"$cxx" "$src/client.cpp" -o "$stage/pc/client" $(PKG_CONFIG_PATH=$pcdir pkg-config --cflags --libs qzm)
LD_LIBRARY_PATH=$libdir "$stage/pc/client"

cmake -S "$src" -B "$stage/cmake" -DCMAKE_PREFIX_PATH="$stage/prefix" -DCMAKE_CXX_COMPILER="$cxx" >/dev/null
cmake --build "$stage/cmake" >/dev/null
LD_LIBRARY_PATH=$libdir "$stage/cmake/client"
