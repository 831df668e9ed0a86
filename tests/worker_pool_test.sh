#!/usr/bin/env bash
# The worker pool's lines against ImageMagick's pixels and zlib's sums: one right line for each
# file of a folder, in any order. Takes the example.
set -euo pipefail
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Nothing tells it of a display or a driver: it goes off screen by itself.
unset DISPLAY WAYLAND_DISPLAY SDL_VIDEODRIVER

images=$work/images
mkdir -p "$images/a folder"
for i in {1..18}; do
    formats=(png bmp tga)
    convert -size $((17 * i))x$((11 * (19 - i))) -seed "$i" plasma:red-blue -depth 8 "$images/$i.${formats[i % 3]}"
done
convert "$images/1.bmp" -alpha set -channel A -evaluate set 40% "$images/blended.png"
echo "no picture" > "$images/broken.png"
: > "$images/empty"

adler='import sys, zlib; print("%08x" % zlib.adler32(sys.stdin.buffer.read()))'
for file in "$images"/*.*; do
    if [[ $file == */broken.png ]]; then continue; fi
    echo "$file: $(identify -format '%wx%h' "$file"), $(convert "$file" -auto-orient -depth 8 rgba:- | python3 -c "$adler")"
done > "$work/expected"
printf '%s: can'\''t be decoded\n' "$images/broken.png" "$images/empty" >> "$work/expected"
(($(wc -l < "$work/expected") == 21))

for _ in {1..5}; do
    "$1" "$images" > "$work/printed"
    diff <(sort "$work/expected") <(sort "$work/printed")
done
# Nothing to do is no reason to wait.
[[ $(timeout 20 "$1" "$images/a folder") == "" ]]
echo "21 lines, five times"
