#!/bin/sh
# Installs the build into a scratch prefix, then builds and runs a small host
# program against the installed tree, once through pkg-config and once
# through find_package(cconvert).
# usage: check_install.sh BUILD_DIR WORK_DIR SOURCE_DIR CXX
set -eu
build=$1
work=$2
source=$3
cxx=$4
prefix=$work/prefix

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$prefix" > "$work/install.log"

libdir=$(dirname "$(find "$prefix" -name cconvert.pc)")/..
libdir=$(cd "$libdir" && pwd)

echo "== pkg-config"
flags=$(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --cflags --libs cconvert)
"$cxx" -std=c++20 -Wall -Werror -o "$work/host_pkgconfig" "$source/host.cpp" $flags \
    -Wl,-rpath,"$libdir"
"$work/host_pkgconfig"

echo "== find_package"
cmake -S "$source" -B "$work/cmake-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
    -DCMAKE_CXX_COMPILER="$cxx" > "$work/cmake.log"
cmake --build "$work/cmake-build" > "$work/build.log"
"$work/cmake-build/host"
