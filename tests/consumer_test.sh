#!/usr/bin/env bash
# Installs the built library into a fresh prefix and builds programs against it, by find_package
# and by pkg-config, and runs them.
set -euo pipefail
build=$1 sources=$2/tests/consumer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" > /dev/null
# The package file names the prefix of the configuration; the test's own is another.
pc=$(find "$work/prefix" -name halvorin-system.pc)
export PKG_CONFIG_PATH=${pc%/*}

cmake -S "$sources" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" > /dev/null
cmake --build "$work/cmake" > "$work/log" || { cat "$work/log"; exit 1; }
"$work/cmake/consumer"

flags=$(pkg-config --define-variable=prefix="$work/prefix" --cflags --libs halvorin-system)
# shellcheck disable=SC2086
c++ -x c++ "$sources/consumer.c" -x none $flags -Wl,-rpath,"$(dirname "${pc%/*}")" -o "$work/by_pkg_config"
"$work/by_pkg_config"
test "$(pkg-config --modversion halvorin-system)" = "$3"
