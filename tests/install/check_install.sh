#!/usr/bin/env bash
# Installs the built library into a fresh prefix, then builds and runs the consumer program
# once with find_package(marl) and once with pkg-config.
set -euo pipefail

prefix="$MARL_WORK_DIR/prefix"
rm -rf "$MARL_WORK_DIR"
mkdir -p "$MARL_WORK_DIR"

cmake --install "$MARL_BUILD_DIR" --prefix "$prefix" >/dev/null

libdir=$(find "$prefix" -name 'libmarl.so' -printf '%h\n' | head -n 1)
test -n "$libdir" || { echo "libmarl.so was not installed"; exit 1; }
for file in libmarl.so libmarl.so.1; do
  test -L "$libdir/$file" || { echo "$file is not a link"; exit 1; }
done
test -f "$prefix/include/marl/marl.h" || { echo "headers were not installed"; exit 1; }
test -f "$libdir/pkgconfig/marl.pc" || { echo "marl.pc was not installed"; exit 1; }
test -f "$libdir/cmake/marl/marlConfig.cmake" || { echo "CMake package was not installed"; exit 1; }
test -x "$prefix/bin/marl" || { echo "the marl tool was not installed"; exit 1; }
LD_LIBRARY_PATH="$libdir" "$prefix/bin/marl" --version >/dev/null || { echo "the installed tool does not run"; exit 1; }

# Sanitizer builds need their runtime in the consumer too.
extra_flags="${MARL_CONSUMER_FLAGS:-}"

echo "== consumer through find_package(marl)"
cmake -S "$MARL_CONSUMER_DIR" -B "$MARL_WORK_DIR/cmake-consumer" \
  -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$MARL_CXX" \
  -DCMAKE_CXX_FLAGS="$extra_flags" -DCMAKE_EXE_LINKER_FLAGS="$extra_flags" >/dev/null
cmake --build "$MARL_WORK_DIR/cmake-consumer" >/dev/null
LD_LIBRARY_PATH="$libdir" "$MARL_WORK_DIR/cmake-consumer/marl_consumer"

echo "== consumer through pkg-config"
export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
"$MARL_CXX" -std=c++17 $extra_flags "$MARL_CONSUMER_DIR/main.cpp" -o "$MARL_WORK_DIR/pkgconfig-consumer" \
  $(pkg-config --cflags --libs marl)
LD_LIBRARY_PATH="$libdir" "$MARL_WORK_DIR/pkgconfig-consumer"
