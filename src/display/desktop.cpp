// SPDX-License-Identifier: Zlib
#include "api/desktop.h"

#include "display/window.h"
#include "frame/boundary.h"
#include "frame/failure_line.h"
#include "frame/lent_memory.h"
#include "frame/scratch.h"

#include <SDL.h>

#include <cstdint>
#include <cstring>

using namespace halvorin;

namespace {

constinit lent_memory clipboard_memory = {
    .memory = nullptr,
    .size = 0,
    .pos = 0,
    .largest_block = INT64_MAX,
    .allocation_failed = "clipboard memory allocation failed",
    .reallocation_failed = nullptr, // texts don't grow
};

// Other programs put texts of any length into the clipboard.
void* take_short_lived(i64 length) {
    void* const block = system_allocate(length);
    if (block == nullptr) print_failure_line(clipboard_memory.allocation_failed);
    return block;
}

Slice copy_of(const char* text) {
    const auto length = static_cast<i64>(std::strlen(text));
    void* const target = clipboard_memory.memory == nullptr ? take_short_lived(length)
                                                            : lent_take(clipboard_memory, length);
    if (target == nullptr) return {nullptr, 0};
    std::memcpy(target, text, static_cast<size_t>(length));
    return {target, length};
}

u32 to_sdl_message_box(message_box_kind kind) {
    switch (kind) {
    case MESSAGE_BOX_ERROR: return SDL_MESSAGEBOX_ERROR;
    case MESSAGE_BOX_WARNING: return SDL_MESSAGEBOX_WARNING;
    default: return SDL_MESSAGEBOX_INFORMATION;
    }
}

} // namespace

void clipboard_set_buffer(i64 size, void* memory) {
    lend(clipboard_memory, size, memory);
}

void clipboard_set_buffer_position(i64 position) {
    clipboard_memory.pos = position;
}

i64 clipboard_get_buffer_position(void) {
    return clipboard_memory.pos;
}

void clipboard_get(Slice* result) {
    *result = {nullptr, 0};
    if (SDL_HasClipboardText() == SDL_FALSE) return;
    char* const text = SDL_GetClipboardText();
    if (text == nullptr) return;
    *result = copy_of(text);
    SDL_free(text);
}

void clipboard_set(Slice text) {
    if (!append_character(text)) return;
    SDL_SetClipboardText(c_string(text));
}

void show_simple_message_box(message_box_kind kind, Slice title, Slice message) {
    if (!append_characters(message, title)) return;
    SDL_ShowSimpleMessageBox(to_sdl_message_box(low_bits(kind)), c_string(title), c_string(message),
                             live_window());
}

void screensaver_enable(b8 enable) {
    if (is_true(enable)) {
        SDL_EnableScreenSaver();
    } else {
        SDL_DisableScreenSaver();
    }
}
