#!/usr/bin/env bash
# Installs the build into a scratch prefix and builds a C program against it
# twice: through find_package(zepcv) and through pkg-config.
set -euo pipefail
build=$1 source=$2 scratch=$3
rm -rf "$scratch" && mkdir -p "$scratch/consumer"
cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
cp "$source/tests/core/header_c.c" "$scratch/consumer/app.c"
cat > "$scratch/consumer/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(consumer C)
find_package(zepcv REQUIRED)
add_executable(app app.c)
target_link_libraries(app PRIVATE zepcv::zepcv)
CMAKE
cmake -S "$scratch/consumer" -B "$scratch/consumer/build" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/consumer/build" >/dev/null
LD_LIBRARY_PATH="$scratch/prefix/lib" "$scratch/consumer/build/app"
export PKG_CONFIG_PATH="$scratch/prefix/lib/pkgconfig"
cc -std=c99 "$scratch/consumer/app.c" $(pkg-config --cflags --libs zepcv) -o "$scratch/consumer/app-pc"
LD_LIBRARY_PATH="$scratch/prefix/lib" "$scratch/consumer/app-pc"
echo "installed library, header, CMake package and pkg-config file work"
