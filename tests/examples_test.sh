#!/usr/bin/env bash
# The example hosts of one idea each, run as a user runs them.
#   examples_test.sh render_to_texture PROGRAM
#   examples_test.sh controller_tester PROGRAM    on the X server that DISPLAY names; the program has
#                                                 the scripted controller in it
# shellcheck source=support/example.sh
source "$(dirname "$0")/support/example.sh"

render_to_texture() {
    # Nothing tells the host of a display or a driver: it goes off screen by itself.
    unset DISPLAY WAYLAND_DISPLAY SDL_VIDEODRIVER
    cd "$work"
    "$1"
    "$1" again.png
    [[ $(identify -format '%w %h %m' render_to_texture.png) == "640 360 PNG" ]] || fail "$(identify ./*.png)"
    [[ $(compare -metric AE render_to_texture.png again.png null: 2>&1) == 0 ]] || fail "two runs draw two pictures"
    # The background, and on the cube the petals with their blended edges.
    [[ $(convert again.png -format '%[hex:p{5,5}]' info:) == 4C5466* ]] || fail "no background"
    (($(identify -format %k again.png) > 5000)) || fail "$(identify -format %k again.png) colours"
    (($(convert again.png -crop 200x200+220+80 -colorspace HSL -channel G -separate -format '%[fx:int(1000*mean)]' info:) > 250)) ||
        fail "the cube shows no colours"
    ! "$1" none/a.png || fail "a picture that can't be saved is no failure"
}

controller_tester() {
    mkfifo "$work/script"
    exec 3<> "$work/script"
    "$1" < "$work/script" > "$work/out" 2> "$work/err" &
    tester=$!
    trap 'kill $tester 2> /dev/null || true; rm -rf "$work"' EXIT
    # shows STATE: it is the last line that was printed.
    shows() { [[ $(tail -n 1 "$work/out") == "$1" ]]; }
    # orders LINE STATE: what the controller is told to do, and what is seen of it.
    orders() {
        echo "$1" >&3
        eventually "'$2' after '$1'" shows "$2"
    }
    copied() { [[ $(timeout 5 xclip -selection clipboard -o) == "$1" ]]; }

    eventually "the window" xdotool search --onlyvisible --name '^controller tester$'
    local window rest="axes 0 0, hats 0, power unknown"
    window=$(xdotool search --onlyvisible --name '^controller tester$')
    xdotool windowfocus --sync "$window"
    eventually "that there is none" shows "no controller"
    import -window "$window" "$work/none.png"
    orders "attach" "scripted pad: buttons 0000, $rest"
    orders "button 2 1" "scripted pad: buttons 0010, $rest"
    orders "button 2 0" "scripted pad: buttons 0000, $rest"
    orders "axis 1 -32768" "scripted pad: buttons 0000, axes 0 -32768, hats 0, power unknown"
    orders "hat 0 3" "scripted pad: buttons 0000, axes 0 -32768, hats 3, power unknown"
    sleep 0.3
    import -window "$window" "$work/pad.png"
    (($(compare -metric AE "$work/none.png" "$work/pad.png" null: 2>&1 || true) > 3000)) || fail "the window shows no controller"

    xdotool key c
    eventually "the state in the clipboard" copied "scripted pad: buttons 0000, axes 0 -32768, hats 3, power unknown"
    xdotool key r
    eventually "the rumble" grep -qx "rumble 0.5 for 300 ms" "$work/out"
    eventually "its end" shows "rumble is closed"
    orders "detach" "no controller"
    xdotool key r
    eventually "that none can't rumble" shows "it can't rumble"
    orders "attach" "scripted pad: buttons 0000, $rest"
    xdotool key Escape
    wait $tester || fail "exit status $?: $(cat "$work/err")"
}

"$@"
