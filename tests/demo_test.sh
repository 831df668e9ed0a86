#!/usr/bin/env bash
# The example hosts, run as a user runs them.
#   demo_test.sh pictures LIBRARY EXAMPLES SOURCES   off screen; without LIBRARY ("") no host in Python
#   demo_test.sh keys EXAMPLES SOURCES               in a window on the X server that DISPLAY names
#   demo_test.sh converter EXAMPLES SAMPLES          on sample sounds
#   demo_test.sh queue EXAMPLES                      on SDL's disk driver
# shellcheck source=support/example.sh
source "$(dirname "$0")/support/example.sh"

gone() { ! kill -0 "$1"; }

# refuses MESSAGE COMMAND...: exit status 1, and one line that says why.
refuses() {
    local status=0
    "${@:2}" > "$work/out" 2> "$work/err" || status=$?
    [[ $status == 1 ]] || fail "${*:2}: exit status $status"
    grep -qF "demo: $1" "$work/err" || fail "${*:2}: says '$(cat "$work/err")', not '$1'"
}

crc() { python3 -c 'import sys, zlib; print("%08x" % zlib.crc32(sys.stdin.buffer.read()))'; }

pictures() {
    local library=$1 examples=$2 sources=$3 name line first=""
    # Nothing tells the hosts of a display or a driver: they go off screen by themselves.
    unset DISPLAY WAYLAND_DISPLAY SDL_VIDEODRIVER SDL_AUDIODRIVER
    declare -A hosts=([cpp]="$examples/demo" [c99]="$examples/demo_c99")
    if [[ $library ]]; then
        hosts[python]="python3 $sources/examples/demo.py --library $library"
    else
        echo "left out: the host in Python, which can't load a library with a sanitizer in it"
        # The sanitizer's own dlopen doesn't search where the program says.
        export LD_LIBRARY_PATH=$examples/..
    fi
    cp -r "$sources/examples/assets" "$work/assets"
    echo "no picture" > "$work/assets/marble.jpg"
    cp -r "$sources/examples/assets" "$work/no-music"
    echo "no sound" > "$work/no-music/music.ogg"
    cp -r "$sources/examples/assets" "$work/no-chime"
    echo "no sound" > "$work/no-chime/chime.wav"
    mkdir "$work/taken.wav"

    for name in "${!hosts[@]}"; do
        # shellcheck disable=SC2206
        local host=(${hosts[$name]}) picture=$work/$name.png sound=$work/$name.wav sum samples shape
        line=$("${host[@]}" --output "$picture")
        sum=$(convert "$picture" -depth 8 rgb:- | crc)
        samples=$(sox "$sound" -t raw - | crc)
        [[ $line == "$picture: 960 x 540, CRC-32 $sum"$'\n'"$sound: 8.0 s, CRC-32 $samples" ]] ||
            fail "$name prints '$line'; the files' pixels have $sum, the samples $samples"
        shape=$(for option in -t -c -r -s -b; do soxi $option "$sound"; done)
        [[ ${shape//$'\n'/ } == "wav 2 44100 352800 16" ]] || fail "$name: $(soxi "$sound")"
        [[ $(identify -format '%w %h %m' "$picture") == "960 540 PNG" ]] || fail "$name: $(identify "$picture")"
        first=${first:-$picture}
        cmp "${first%.png}.wav" "$sound" || fail "$name plays another sound than $first"
        [[ $(compare -metric AE "$first" "$picture" null: 2>&1) == 0 ]] ||
            fail "$name draws another picture than $first"

        refuses "can't read $work/none/solid.glsl" "${host[@]}" --assets "$work/none"
        refuses "can't load the picture $work/assets/marble.jpg" "${host[@]}" --assets "$work/assets"
        refuses "can't load the sound $work/no-music/music.ogg" "${host[@]}" --assets "$work/no-music"
        refuses "can't load the sound $work/no-chime/chime.wav" "${host[@]}" --assets "$work/no-chime"
        refuses "can't write $work/none/a.png" "${host[@]}" --frames 1 --output "$work/none/a.png"
        refuses "can't write $work/taken.wav" "${host[@]}" --frames 1 --output "$work/taken.png"

        # A sound driver that the user names is used, and one that can't be opened leaves the picture.
        line=$(SDL_AUDIODRIVER=none "${host[@]}" --frames 1 --output "$work/silent.png")
        [[ $line == "$work/silent.png: "* && $line != *$'\n'* && ! -e $work/silent.wav ]] ||
            fail "$name without a sound device prints '$line'"
    done

    "$(dirname "$0")/demo_sound_test.py" "${first%.png}.wav" "$sources/examples/assets" 8 88200

    # The three could agree on an empty view, or on one that stands still.
    (($(identify -format %k "$first") > 20000)) || fail "the picture has $(identify -format %k "$first") colours"
    "$examples/demo" --frames 1 --output "$work/early.png" > /dev/null
    (($(compare -metric AE "$first" "$work/early.png" null: 2>&1 || true) > 20000)) || fail "the solid doesn't turn"

    # The smallest host runs until it is told to end. (Scripts start background jobs deaf to SIGINT.)
    SDL_VIDEODRIVER=offscreen "$examples/01_window" &
    sleep 2
    kill -0 $! || fail "01_window ended by itself"
    kill $!
    wait $! || fail "01_window: exit status $?"
}

keys() {
    local shot=$work/shot.png window round
    # saves KEY SIZE: the key saves the frame, which has the size by now.
    saves() {
        rm -f "$shot"
        xdotool key "$1"
        sleep 1
        [[ $(identify -format '%wx%h' "$shot") == "$2" && $(tail -n 1 "$work/out") == "$shot: "* ]]
    }
    # moves: the window shows a frame, and then another one.
    moves() {
        import -window "$window" "$work/one.png"
        sleep 0.5
        import -window "$window" "$work/two.png"
        (($(identify -format %k "$work/one.png") > 10000)) &&
            [[ $(compare -metric AE "$work/one.png" "$work/two.png" null: 2>&1) != 0 ]]
    }

    unset SDL_VIDEODRIVER WAYLAND_DISPLAY
    SDL_AUDIODRIVER=disk SDL_DISKAUDIOFILE=$work/played.raw "$1/demo" --output "$shot" > "$work/out" 2> "$work/err" &
    demo=$!
    trap 'kill $demo 2> /dev/null || true; rm -rf "$work"' EXIT
    eventually "the window" xdotool search --onlyvisible --name '^halvorin system$'
    window=$(xdotool search --onlyvisible --name '^halvorin system$')
    xdotool windowfocus --sync "$window"

    eventually "a picture by F12, as large as the window" saves F12 960x540
    xdotool key space
    xdotool windowsize --sync "$window" 640 400
    eventually "a picture by P, as large as the window is now" saves p 640x400
    for round in "software graphics" "hardware graphics again"; do
        xdotool key F2
        sleep 2 # frames from before the key don't count
        eventually "frames under $round" moves
    done
    xdotool key Escape
    eventually "the end after Escape" gone $demo
    wait $demo || fail "exit status $? after Escape: $(cat "$work/err")"
    "$(dirname "$0")/demo_sound_test.py" "$work/played.raw" "$2/examples/assets" 4
}

converter() {
    local examples=$1 samples=$2 row in format bits expected out=$work/out.wav status
    # Every sample as another tool reads it.
    for row in "s24.wav s32 32" "s16.flac s16 16" "s16.flac u16 16" "s16-six.flac s16 16" "s16.wav u32 32" \
        "s24.flac s32 32" "long.wav s16 16" "no-length.flac s16 16"; do
        read -r in format bits <<< "$row"
        expected=$work/expected.raw
        sox -D "$samples/$in" -t raw -e signed -b "$bits" "$expected"
        "$examples/02_sound_converter" "$samples/$in" "$out" "$format" > "$work/log"
        sox "$out" -t raw "$work/got.raw"
        cmp "$expected" "$work/got.raw" || fail "$in is another sound in $format"
        [[ $(soxi -b "$out") == "$bits" && $(soxi -r "$out") == "$(soxi -r "$samples/$in")" ]] || fail "$(soxi "$out")"
        tail -n 1 "$work/log" | grep -q "$(soxi -s "$out") frames" || fail "says '$(cat "$work/log")'"
    done
    grep -q "%" "$work/log" && fail "shows progress through a file that doesn't say its length"

    # Vorbis: to one step of 16 bits, by whole and by floating numbers.
    for format in s16 f32; do
        "$examples/02_sound_converter" "$samples/long.ogg" "$out" $format > "$work/log"
        grep -q " 46 %.* 92 %.*100 %" "$work/log" || fail "no progress: $(cat "$work/log")"
        sox -D "$out" -t raw -b 16 "$work/got.raw"
        python3 - "$samples/long.ogg.s16" "$work/got.raw" << 'END'
import sys
from array import array
expected, got = (array("h", open(name, "rb").read()) for name in sys.argv[1:])
assert len(expected) == len(got) > 80000, (len(expected), len(got))
assert max(abs(a - b) for a, b in zip(expected, got)) <= 1
END
    done

    for row in "$work/none.wav $out s16" "$samples/s16.wav $work/none/out.wav s16" "$samples/s16.wav $out s24"; do
        status=0
        # shellcheck disable=SC2086
        "$examples/02_sound_converter" $row > "$work/log" 2>&1 || status=$?
        ((status > 0)) || fail "02_sound_converter $row: exit status 0"
    done
}

queue() {
    export SDL_AUDIODRIVER=disk SDL_DISKAUDIOFILE=$work/played.raw SDL_DISKAUDIODELAY=2
    local line note=0 pitch heard
    line=$("$1/03_sound_queue") || fail "03_sound_queue: exit status $?"
    # The device plays blocks of silence where the queue is empty: ahead of the sound, and whenever
    # this machine is too busy to fill it.
    python3 - "$work/played.raw" > "$work/sound.raw" << 'END'
import sys
content = open(sys.argv[1], "rb").read()
blocks = (content[i:i + 4096] for i in range(0, len(content), 4096))
sys.stdout.buffer.write(b"".join(block for block in blocks if any(block)))
END
    sox -t raw -e float -b 32 -c 1 -r 44100 "$work/sound.raw" "$work/played.wav"
    [[ $line == "played $(soxi -s "$work/played.wav") frames" ]] || fail "'$line', but $(soxi "$work/played.wav")"
    # Each quarter of a second has its note: the loudest line of its spectrum.
    for pitch in 262 330 392 523 659 523 392 330; do
        heard=$(sox "$work/played.wav" -n trim "$((note * 11025))s" 8192s stat -freq 2>&1 |
            awk 'NF == 2 && $1 + 0 == $1 && $1 > 200 && $2 > most {most = $2; at = $1} END {printf "%d", at}')
        ((heard > pitch - 12 && heard < pitch + 12)) || fail "note $note is heard at $heard Hz, not $pitch"
        ((++note))
    done
    line=$(SDL_AUDIODRIVER=none "$1/03_sound_queue" 2>&1) && fail "plays without a device"
    [[ $line == "no sound device" ]] || fail "says '$line'"
}

"$@"
