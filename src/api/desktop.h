/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Small services of the desktop: the text clipboard, a message box and the screen saver.
 *
 * Memory. clipboard_get copies the text, and nothing needs freeing. Where the copy goes is the
 * host's choice:
 *
 *  - Without a clipboard buffer it goes into the library's short-lived results (frame.h): good
 *    until later results have run once round, and at most 524288 bytes long.
 *  - Into the clipboard buffer, a block that the host lends with clipboard_set_buffer. Texts stand
 *    in it side by side, at any offset, with nothing between or behind them. What the library keeps
 *    is the position at which the next text goes, and the host moves it back:
 *
 *        clipboard_set_buffer(size, memory);              once; the position is 0
 *        mark = clipboard_get_buffer_position();          ahead of what will be given back
 *        clipboard_get(&text);                            the position moves up by text.count
 *        clipboard_set_buffer_position(mark);             all texts since the mark are gone
 *
 *    Nothing else moves it back: a buffer that the host never rewinds fills up. The block has to
 *    stay valid while texts are taken or read.
 *
 * Needs system_init with SYSTEM_INIT_VIDEO, but the message box, which doesn't. Under X11 the
 * clipboard's text lives in the program that set it: it is there for others while that program runs
 * and polls its events, and a text from another program may take a moment to come.
 *
 * Calls, where nothing else is said:
 *
 * @thread   display
 * @memory   none
 * @failure  not told
 * @heap     SDL2
 * @waits    window system
 */

#include "types.h"

/** What a message box is about; any other number is MESSAGE_BOX_INFORMATION. */
enum {
    MESSAGE_BOX_INFORMATION = 0,
    MESSAGE_BOX_WARNING = 1,
    MESSAGE_BOX_ERROR = 2
};
typedef u8 message_box_kind;

/*
 * The clipboard buffer.
 *
 * @failure  none
 * @heap     none
 * @waits    no
 */

/**
 * Lends the clipboard buffer and sets the position to 0.
 *
 * @param size    bytes.
 * @param memory  needs no alignment. Null goes back to the library's own memory.
 */
HALVORIN_API void clipboard_set_buffer(i64 size, void* memory);

/**
 * Sets the position, to one that clipboard_get_buffer_position gave. It is stored as it is: one
 * outside the buffer makes every clipboard_get fail.
 */
HALVORIN_API void clipboard_set_buffer_position(i64 position);

HALVORIN_API i64 clipboard_get_buffer_position(void);

/* Services. */

/**
 * Copies the clipboard's text.
 *
 * @param result    UTF-8, not terminated; the byte behind it isn't written.
 * @memory    clipboard buffer or results: the text's bytes.
 * @lifetime  until the position goes below its end, or later results have run over it: the first in
 *            the clipboard buffer, where clipboard_set_buffer ends it too, the second without one.
 * @failure   null `data`, count 0: there is no text, or no room for it. In the latter case the
 *            line "clipboard memory allocation failed" is printed to standard output. The position
 *            doesn't move.
 * @waits     another program
 */
HALVORIN_API void clipboard_get(Slice* result);

/**
 * Puts a text into the clipboard. One of more than 16383 bytes is refused, and the clipboard stays
 * as it was. A zero byte ends it.
 *
 * @param text  UTF-8.
 * @memory      text
 */
HALVORIN_API void clipboard_set(Slice text);

/**
 * Shows a message box over the window, or by itself while the display is closed, and waits until
 * the user has closed it. Nothing is shown where the two texts together have more than 16382 bytes,
 * or where there is nothing to show it on.
 *
 * @param title, message  UTF-8.
 * @memory                text
 * @waits                 until the user has closed it
 */
HALVORIN_API void show_simple_message_box(message_box_kind kind, Slice title, Slice message);

/** Allows the screen saver (true), or keeps it off while the program runs, as it is from the start.
 */
HALVORIN_API void screensaver_enable(b8 enable);
