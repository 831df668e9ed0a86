#!/usr/bin/env bash
# Every public header compiles alone as C99 and as C++ without a warning, on both compilers.
set -euo pipefail
api=$1
strict=(-fsyntax-only -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
for header in "$api"/*.h; do
    name=$(basename "$header")
    for c in gcc clang; do
        echo "#include \"$name\"" | "$c" -std=c99 "${strict[@]}" -I "$api" -x c -
    done
    for cxx in g++ clang++; do
        # Names that windows.h gives meanings of its own.
        printf '#define near\n#define far\n#define THREAD_PRIORITY_NORMAL 0\n#include "%s"\n' "$name" |
            "$cxx" -std=c++11 "${strict[@]}" -I "$api" -x c++ -
    done
done
echo "$(ls "$api"/*.h | wc -l) headers"
