#!/usr/bin/env bash
# SPDX-License-Identifier: Zlib
# Makes marble.jpg and panel.png anew. They are checked in, so that the demo
# looks the same everywhere; this says how they came about. Needs ImageMagick 6, python3 and the
# DejaVu fonts (for the panel's lettering).
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

marble() {
    python3 marble.py |
        convert ppm:- -colorspace RGB -resize 50% -colorspace sRGB -strip -quality 86 -sampling-factor 4:4:4 marble.jpg
}

# key X TEXT WIDTH: a key's cap with its name on it.
key() {
    echo "fill '#ffffff1c' stroke '#ffffff38' stroke-width 1
          roundrectangle $1.5,91.5 $(($1 + $3)).5,109.5 4,4
          stroke none fill '#eef4f6' text $(($1 + 6)),105 '$2'"
}

# word X TEXT: what the key does.
word() { echo "fill '#9fb4bd' stroke none text $1,105 '$2'"; }

# A card of dark glass, 412 x 108, 20 pixels inside a picture that leaves room for its shadow. The slot
# at the left, 76 x 76 at (36, 36), stays empty: the demo puts the solid's texture there.
panel() {
    local keys
    keys="$(key 130 F2 22) $(word 159 software) $(key 219 F11 28) $(word 254 full)
          $(key 285 F12 28) $(word 320 save) $(key 355 Esc 30) $(word 392 close)"
    convert -size 452x148 xc:none \
        \( -size 452x148 xc:none -fill '#000000b0' -draw 'roundrectangle 22,26 430,130 14,14' -blur 0x7 \) -composite \
        \( -size 452x148 xc:none -fill '#0b1722c8' -stroke '#ffffff2e' -strokewidth 1 \
        -draw 'roundrectangle 20.5,20.5 431.5,127.5 12,12' \) -composite \
        -fill '#ffffff14' -stroke none -draw 'roundrectangle 35,35 112,112 9,9' \
        -font DejaVu-Sans-ExtraLight -pointsize 25 -fill '#f6fafb' -annotate +129+57 'halvorin system' \
        -font DejaVu-Sans -pointsize 11 -fill '#9fb4bd' \
        -annotate +131+79 'drag turns    wheel zooms    drop a picture' \
        -pointsize 10.5 -draw "$keys" \
        -strip -define png:compression-level=9 -define png:exclude-chunks=date,time PNG32:panel.png
}

marble
panel
