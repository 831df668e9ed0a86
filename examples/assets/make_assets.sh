#!/usr/bin/env bash
# SPDX-License-Identifier: Zlib
# Makes marble.jpg, panel.png, music.ogg and chime.wav anew. They are checked in, so that the demo
# looks and sounds the same everywhere; this says how they came about. Needs ImageMagick 6, python3,
# the DejaVu fonts (for the panel's lettering), sox and oggenc.
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

# Four chords of eight plucked notes over a bass, 6 seconds (264600 frames). What rings on behind the
# end is laid over the beginning, so that the loop has no seam.
music() {
    local work chord note i=0 parts=()
    work=$(mktemp -d)
    for chord in "A2 E3 A3 C4 E4 C4 B3 A3" "F2 C3 F3 A3 C4 A3 G3 F3" "C3 G3 C4 E4 G4 E4 D4 C4" "G2 D3 G3 B3 D4 B3 A3 G3"; do
        sox -R -r 44100 -c 2 -n "$work/bass$i.wav" synth 1.8 sine "${chord%% *}" fade t 0.02 1.8 0.5 gain -16 \
            pad "$((i * 8268 + i * 3 / 4))s"
        parts+=("$work/bass$i.wav")
        for note in $chord; do
            sox -R -r 44100 -c 2 -n "$work/$i.wav" synth 1.6 pluck "$note" fade t 0.004 1.6 1.2 \
                remix 1v0.$((8 - i % 4)) 2v0.$((5 + i % 4)) gain -9 pad "$((i * 8268 + i * 3 / 4))s"
            parts+=("$work/$i.wav")
            ((++i))
        done
    done
    sox -R -D -m "${parts[@]}" "$work/all.wav" gain 14 lowpass 5000 reverb 35 50 70 pad 0 3
    sox -D "$work/all.wav" "$work/first.wav" trim 0 264600s
    sox -D "$work/all.wav" "$work/rest.wav" trim 264600s
    sox -D -m -v 1 "$work/first.wav" -v 1 "$work/rest.wav" -b 16 "$work/music.wav" trim 0 264600s gain -n -4
    oggenc --quiet --serial 1 -q 2 "$work/music.wav" -o music.ogg
    rm -r "$work"
}

# A small bell: two partials that fade out.
chime() {
    sox -R -D -r 44100 -c 1 -n -b 16 chime.wav synth 0.22 sine 1318.5 synth 0.22 sine mix 3322 \
        fade l 0.002 0.22 0.21 gain -n -5
}

marble
panel
music
chime
