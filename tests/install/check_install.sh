#!/bin/sh
# Installs the built library into a temporary prefix and builds a consumer
# against it twice: with find_package(qorapit CONFIG) and with pkg-config.
set -eu
build=$1 consumer=$2 cc=$3
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cmake --install "$build" --prefix "$tmp/prefix" > "$tmp/install.log"
libdir=$(find "$tmp/prefix" -name 'libqorapit.so*' -print | head -n 1 | xargs dirname)

cmake -S "$consumer" -B "$tmp/cmake" -DCMAKE_PREFIX_PATH="$tmp/prefix" -DCMAKE_C_COMPILER="$cc" \
    > "$tmp/configure.log"
cmake --build "$tmp/cmake" > "$tmp/build.log"
LD_LIBRARY_PATH="$libdir" "$tmp/cmake/consumer"

PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --exists qorapit
"$cc" -o "$tmp/pc-consumer" "$consumer/main.c" \
    $(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs qorapit)
LD_LIBRARY_PATH="$libdir" "$tmp/pc-consumer"
