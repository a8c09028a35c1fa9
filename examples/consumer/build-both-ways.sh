#!/usr/bin/env bash
# Builds and runs the consumer against an installed VX, once through CMake's
# package and once through pkg-config. Usage: build-both-ways.sh PREFIX WORKDIR
set -euo pipefail
prefix=$1
work=$2
here=$(cd "$(dirname "$0")" && pwd)
rm -rf "$work"
mkdir -p "$work"

cmake -S "$here" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake" >/dev/null
"$work/cmake/consumer"

export PKG_CONFIG_PATH="$prefix/lib/pkgconfig${PKG_CONFIG_PATH:+:$PKG_CONFIG_PATH}"
g++ "$here/main.cpp" -o "$work/consumer-pc" $(pkg-config --cflags --libs vx) -Wl,-rpath,"$prefix/lib"
"$work/consumer-pc"
