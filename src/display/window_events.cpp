// SPDX-License-Identifier: Zlib
#include "api/display.h"
#include "display/frame_state.h"

using namespace halvorin;

b8 display_is_minimized() {
    return poll_state.window_minimized;
}

b8 display_is_maximized() {
    return poll_state.window_maximized;
}

b8 display_is_restored() {
    return poll_state.window_restored;
}

b8 display_is_entered() {
    return poll_state.window_entered;
}

b8 display_is_left() {
    return poll_state.window_left;
}

b8 display_is_focus_gained() {
    return poll_state.window_focus_gained;
}

b8 display_is_focus_lost() {
    return poll_state.window_focus_lost;
}

b8 display_is_closed() {
    return poll_state.window_closed;
}

b8 display_is_resized(i32* width, i32* height) {
    if (!poll_state.window_resized) return false;
    *width = lasting_state.window_new_width;
    *height = lasting_state.window_new_height;
    return true;
}

void display_file_dropped(Slice* result) {
    *result = {lasting_state.dropped_file_data, poll_state.dropped_file_length};
}
