#!/usr/bin/env bash
# The example hosts, run as a user runs them.
#   examples_test.sh demo LIBRARY EXAMPLES SOURCES   off screen; without LIBRARY ("") no host in Python
#   examples_test.sh demo_keys EXAMPLES SOURCES      in a window on the X server that DISPLAY names
#   examples_test.sh converter EXAMPLES SAMPLES      on sample sounds
#   examples_test.sh queue EXAMPLES                  on SDL's disk driver
#   examples_test.sh render_to_texture EXAMPLES
#   examples_test.sh controller_tester PROGRAM       on the X server that DISPLAY names; the program
#                                                    has the scripted controller in it
set -euo pipefail
work=$(mktemp -d)
host=
trap 'kill $host 2> /dev/null || true; rm -rf "$work"' EXIT

fail() {
    echo "FAILED: $*" >&2
    exit 1
}

# eventually WHAT COMMAND...: half a minute for the command to become true.
eventually() {
    local end=$((SECONDS + 30))
    while ((SECONDS < end)); do
        "${@:2}" > /dev/null 2>&1 && return
        sleep 0.1
    done
    fail "never saw $1; there is: $(tail -n 3 "$work/out" "$work/err" 2> /dev/null)"
}

# differing_pixels ONE TWO
differing_pixels() { compare -metric AE "$1" "$2" null: 2>&1 || true; }

crc() { python3 -c 'import sys, zlib; print("%08x" % zlib.crc32(sys.stdin.buffer.read()))'; }

# What a host of the demo makes in a folder of its own: picture, sound, and what it says.
run_demo() {
    local arguments status
    cd "$1"
    "${@:2}" --output demo.png > out
    # A sound driver that can't be opened leaves the picture.
    SDL_AUDIODRIVER=none "${@:2}" --frames 1 --output silent.png >> out
    for arguments in "--assets ../none" "--assets ../no-marble" "--assets ../no-music" "--assets ../no-chime" \
        "--frames 1 --output ../none/a.png" "--frames 1 --output ../taken.png"; do
        status=0
        # shellcheck disable=SC2086
        "${@:2}" $arguments > log 2>&1 || status=$?
        [[ $status == 1 ]] || fail "$* $arguments: exit status $status"
        grep "^demo: " log >> refusals || fail "$* $arguments: says '$(cat log)'"
    done
    rm log
    cd ..
}

demo() {
    local library=$1 examples=$2 assets=$3/examples/assets name
    # Nothing tells the hosts of a display or a driver: they go off screen by themselves.
    unset DISPLAY WAYLAND_DISPLAY SDL_VIDEODRIVER SDL_AUDIODRIVER
    # The sanitizer's own dlopen doesn't search where the program says.
    [[ $library ]] || export LD_LIBRARY_PATH=$examples/..
    cd "$work"
    mkdir cpp c99 python taken.wav
    for name in no-marble/marble.jpg no-music/music.ogg no-chime/chime.wav; do
        cp -r "$assets" "${name%/*}"
        echo "not this" > "$name"
    done
    run_demo cpp "$examples/demo"
    run_demo c99 "$examples/demo_c99"
    diff -r cpp c99 || fail "the host in C99 makes something else"
    if [[ $library ]]; then
        run_demo python python3 "$3/examples/demo.py" --library "$library"
        diff -r cpp python || fail "the host in Python makes something else"
    else
        echo "left out: the host in Python, which can't load a library with a sanitizer in it"
    fi

    cd cpp
    diff out - << END
demo.png: 960 x 540, CRC-32 $(convert demo.png -depth 8 rgb:- | crc)
demo.wav: 8.0 s, CRC-32 $(sox demo.wav -t raw - | crc)
silent.png: 960 x 540, CRC-32 $(convert silent.png -depth 8 rgb:- | crc)
END
    diff refusals - << END
demo: can't read ../none/solid.glsl
demo: can't load the picture ../no-marble/marble.jpg
demo: can't load the sound ../no-music/music.ogg
demo: can't load the sound ../no-chime/chime.wav
demo: can't write ../none/a.png
demo: can't write ../taken.wav
END
    "$(dirname "$0")/demo_sound_test.py" demo.wav "$assets" 8 88200
    # The hosts could agree on an empty view, or on one that stands still.
    (($(identify -format %k demo.png) > 20000)) || fail "the picture has $(identify -format %k demo.png) colours"
    (($(differing_pixels demo.png silent.png) > 20000)) || fail "the solid doesn't turn"

    # The smallest host runs until it is told to end.
    SDL_VIDEODRIVER=offscreen "$examples/01_window" &
    host=$!
    sleep 2
    kill $host || fail "01_window ended by itself"
    wait $host || fail "01_window: exit status $?"
}

demo_keys() {
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
            [[ $(differing_pixels "$work/one.png" "$work/two.png") != 0 ]]
    }

    unset SDL_VIDEODRIVER WAYLAND_DISPLAY
    SDL_AUDIODRIVER=disk SDL_DISKAUDIOFILE=$work/played.raw "$1/demo" --output "$shot" > "$work/out" 2> "$work/err" &
    host=$!
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
    wait $host || fail "exit status $? after Escape: $(cat "$work/err")"
    "$(dirname "$0")/demo_sound_test.py" "$work/played.raw" "$2/examples/assets" 4
}

converter() {
    local converter=$1/02_sound_converter samples=$2 row in format bits out=$work/out.wav
    # As another tool reads them.
    for row in "s24.wav s32 32" "s16-six.flac u16 16" "no-length.flac s16 16"; do
        read -r in format bits <<< "$row"
        "$converter" "$samples/$in" "$out" "$format" > "$work/log"
        sox "$out" -t raw "$work/got.raw"
        sox -D "$samples/$in" -t raw -e signed -b "$bits" "$work/expected.raw"
        cmp "$work/expected.raw" "$work/got.raw" || fail "$in is another sound in $format"
        [[ $(soxi -b "$out") == "$bits" && $(soxi -r "$out") == "$(soxi -r "$samples/$in")" ]] || fail "$(soxi "$out")"
        tail -n 1 "$work/log" | grep -q "$(soxi -s "$out") frames" || fail "says '$(cat "$work/log")'"
    done
    grep -q "%" "$work/log" && fail "shows progress through a file that doesn't say its length"
    "$converter" "$samples/long.ogg" "$out" f32 > "$work/log"
    grep -q " 46 %.* 92 %.*100 %" "$work/log" || fail "no progress: $(cat "$work/log")"
    for row in "$work/none.wav $out s16" "$samples/s16.wav $work/none/out.wav s16" "$samples/s16.wav $out s24"; do
        # shellcheck disable=SC2086
        ! "$converter" $row > "$work/log" 2>&1 || fail "02_sound_converter $row: exit status 0"
    done
}

queue() {
    export SDL_AUDIODRIVER=disk SDL_DISKAUDIOFILE=$work/played.raw SDL_DISKAUDIODELAY=2
    local line heard
    line=$("$1/03_sound_queue") || fail "03_sound_queue: exit status $?"
    # The device plays blocks of silence where the queue is empty: ahead of the sound, and whenever
    # this machine is too busy to fill it.
    heard=$(python3 - "$work/played.raw" << 'END'
import sys
content = open(sys.argv[1], "rb").read()
blocks = (content[i:i + 4096] for i in range(0, len(content), 4096))
print(sum(len(block) for block in blocks if any(block)) // 4)
END
    )
    [[ $line == "played $heard frames" && $heard -ge 88200 ]] || fail "'$line', but $heard frames are heard"
    line=$(SDL_AUDIODRIVER=none "$1/03_sound_queue" 2>&1) && fail "plays without a device"
    [[ $line == "no sound device" ]] || fail "says '$line'"
}

render_to_texture() {
    unset DISPLAY WAYLAND_DISPLAY SDL_VIDEODRIVER
    cd "$work"
    "$1/04_render_to_texture"
    "$1/04_render_to_texture" again.png
    cmp render_to_texture.png again.png || fail "two runs draw two pictures"
    [[ $(identify -format '%w %h %m' again.png) == "640 360 PNG" ]] || fail "$(identify again.png)"
    # The background, and on the cube the petals with their blended edges.
    [[ $(convert again.png -format '%[hex:p{5,5}]' info:) == 4C5466* ]] || fail "no background"
    (($(identify -format %k again.png) > 5000)) || fail "$(identify -format %k again.png) colours"
    ! "$1/04_render_to_texture" none/a.png || fail "a picture that can't be saved is no failure"
}

controller_tester() {
    mkfifo "$work/script"
    exec 3<> "$work/script"
    "$1" < "$work/script" > "$work/out" 2> "$work/err" &
    host=$!
    # shows STATE: it is the last line that was printed.
    shows() { [[ $(tail -n 1 "$work/out") == "$1" ]]; }
    # orders LINE STATE: what the controller is told to do, and what is seen of it.
    orders() {
        echo "$1" >&3
        eventually "'$2' after '$1'" shows "$2"
    }
    copied() { [[ $(timeout 5 xclip -selection clipboard -o) == "$1" ]]; }

    eventually "the window" xdotool search --onlyvisible --name '^controller tester$'
    local window rest="axes 0 0, hats 0, power unknown" moved="axes 0 -32768, hats 3, power unknown"
    window=$(xdotool search --onlyvisible --name '^controller tester$')
    xdotool windowfocus --sync "$window"
    eventually "that there is none" shows "no controller"
    import -window "$window" "$work/none.png"
    orders "attach" "scripted pad: buttons 0000, $rest"
    orders "button 2 1" "scripted pad: buttons 0010, $rest"
    orders "axis 1 -32768" "scripted pad: buttons 0010, axes 0 -32768, hats 0, power unknown"
    orders "hat 0 3" "scripted pad: buttons 0010, $moved"
    sleep 0.3
    import -window "$window" "$work/pad.png"
    (($(differing_pixels "$work/none.png" "$work/pad.png") > 3000)) || fail "the window shows no controller"
    xdotool key c
    eventually "the state in the clipboard" copied "scripted pad: buttons 0010, $moved"
    xdotool key r
    eventually "the rumble" grep -qx "rumble 0.5 for 300 ms" "$work/out"
    eventually "its end" shows "rumble is closed"
    orders "detach" "no controller"
    xdotool key r
    eventually "that none can't rumble" shows "it can't rumble"
    xdotool key Escape
    wait $host || fail "exit status $?: $(cat "$work/err")"
}

"$@"
