/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * The display: the one window, and the two ways of bringing pixels to it.
 *
 * Hardware graphics (the usual way) gives the window an OpenGL 3.3 core context; the host draws
 * with the graphics family and ends each frame with pipeline_present. Software graphics
 * (DISPLAY_SOFTWARE) takes a finished image for each frame through display_set_content. Both may
 * exist side by side: display_set_software_graphics switches between them while frames go on.
 *
 * A machine that cannot give hardware graphics is told to the user in a message box, and the
 * process ends with exit status 1. This is the only place where the library ends the process.
 *
 * Closing the display keeps the OpenGL context with all objects in it: the next display_open for
 * hardware graphics goes on with them in the new window. Where a driver refuses that, a new, empty
 * context is made.
 *
 * What happened to the window in the latest input_poll is told by the display_is_ questions; they
 * are reads of a few bytes. Each is true for that one poll, not for as long as the state lasts.
 *
 * Without a window the setters do nothing. Titles are bound by the length of a text (frame.h): a
 * longer one is refused.
 *
 * Calls, where nothing else is said:
 *
 * @thread   display: it is the thread of the OpenGL context too.
 * @memory   none
 * @failure  not told
 * @heap     SDL2
 * @waits    window system
 */

#include "types.h"

/** Flags of display_open. Higher bits are ignored. */
enum {
    DISPLAY_HIDDEN = 1,
    DISPLAY_BORDERLESS = 2,
    DISPLAY_RESIZABLE = 4,
    DISPLAY_MINIMIZED = 8,
    DISPLAY_MAXIMIZED = 16,
    DISPLAY_FULLSCREEN = 32, /**< the desktop's size, without a change of the display mode */
    DISPLAY_VSYNC = 64,      /**< vertical sync: adaptive where the driver has it */
    DISPLAY_SOFTWARE = 128   /**< software graphics instead of an OpenGL context */
};

/** A set of DISPLAY_ bits. */
typedef u16 display_flags;

typedef struct DisplayInfo {
    i32 width;        /**< pixels */
    i32 height;       /**< pixels */
    i32 refresh_rate; /**< Hz; 0 where the system doesn't tell */
} DisplayInfo;

/*
 * The display's state, for hosts that call SDL2 themselves. All of it is zero until the first
 * display_open, and none of it is the host's to write.
 *
 * @lifetime  until a display_ call changes it
 * @failure   0
 */

/** SDL_Window*. @failure null: the display is closed. */
HALVORIN_DATA void* sdl_window;
/** SDL2's number of the window. */
HALVORIN_DATA u32 sdl_window_id;
/** Non-zero: frames are presented by display_set_content. */
HALVORIN_DATA b8 is_software_rendering;
/**
 * SDL_Renderer* and SDL_Texture* of software graphics. They end with the window that they were made
 * for, while the variables keep their values until the next ones are made.
 *
 * @failure  null
 */
HALVORIN_DATA void* sdl_renderer;
HALVORIN_DATA void* sdl_texture;
/** Size that the latest texture was asked for, in pixels. */
HALVORIN_DATA i32 sdl_texture_width;
HALVORIN_DATA i32 sdl_texture_height;
/** The vertical sync that display_open chose for hardware graphics. */
HALVORIN_DATA b8 sdl_vsync;
/** SDL_GLContext. @failure null */
HALVORIN_DATA void* opengl_context;
/** Non-zero: the context exists and OpenGL's functions are loaded. */
HALVORIN_DATA b8 opengl_initialized;
/** Non-zero: a display was opened with DISPLAY_FULLSCREEN. Never goes back to 0. */
HALVORIN_DATA b8 fullscreen;

/* The window. */

/**
 * Opens the window.
 *
 * @param width    pixels, ignored by a fullscreen window.
 * @param height   pixels.
 * @param title    UTF-8.
 * @param flags    DISPLAY_ bits.
 * @param samples  samples a pixel for multisampling; 0 or 1 asks for none. Once asked for, it stays
 *                 with later windows of the process.
 * @return         true when there is a window now.
 * @memory         text
 * @failure        false: one was open already or the title is too long (nothing changes), or a
 *                 window for software graphics can't be made. No window or no OpenGL 3.3 for
 *                 hardware graphics ends the process, see above.
 * @heap           SDL2, OpenGL
 */
HALVORIN_API b8 display_open(i32 width, i32 height, Slice title, display_flags flags, i32 samples);

/** Closes the window. The OpenGL context and its objects stay for the next one. */
HALVORIN_API void display_close(void);

/**
 * Switches vertical sync.
 *
 * Under software graphics renderer and texture are made anew: the picture is gone until the next
 * display_set_content. Not a call for every frame.
 *
 * @heap  SDL2, OpenGL
 */
HALVORIN_API void display_set_vsync(b8 on);

/**
 * Switches between software graphics (true) and hardware graphics (false).
 *
 * What exists of the other way stays. Towards software graphics the texture has the size of the
 * one before it; where there was none, the window's present size. Towards hardware graphics a
 * display that was opened with DISPLAY_SOFTWARE, with no context from earlier, ends the process:
 * its window can't get one.
 *
 * @heap  SDL2, OpenGL
 */
HALVORIN_API void display_set_software_graphics(b8 on);

/** Sets the window's size in pixels. */
HALVORIN_API void display_set_size(i32 width, i32 height);

/** Sets the window's title, UTF-8. @memory text */
HALVORIN_API void display_set_title(Slice title);

/**
 * Sets the window's icon.
 *
 * @param pixels  `height` rows of `width` pixels without gaps, top row first; 4 bytes a pixel: red,
 *                green, blue, alpha. Not needed after the call.
 */
HALVORIN_API void display_set_icon(i32 width, i32 height, const void* pixels);

/**
 * Presents one frame under software graphics; does nothing where there is no software renderer.
 *
 * The image goes into the top left corner of the texture, cut to its size, and the whole texture
 * is stretched over the window.
 *
 * @param pixels  `height` rows of `width` pixels without gaps, top row first; 4 bytes a pixel: red,
 *                green, blue, alpha.
 * @waits   vertical sync
 */
HALVORIN_API void display_set_content(i32 width, i32 height, const void* pixels);

/** Shows or hides the window. */
HALVORIN_API void display_set_visible(b8 on);

/** Gives the window a border or takes it away. */
HALVORIN_API void display_set_border(b8 on);

/** Makes the window cover the desktop, or be a window again. `fullscreen` doesn't change. */
HALVORIN_API void display_set_fullscreen(b8 on);

/** Keeps the pointer inside the window, or lets it go. */
HALVORIN_API void display_set_grab(b8 on);

HALVORIN_API void display_maximize(void);
HALVORIN_API void display_minimize(void);

/** Back to the size and place from before it was maximized or minimized. */
HALVORIN_API void display_restore(void);

/**
 * Tells the display's size and refresh rate.
 *
 * The size is the window's, in pixels; after a display_open with DISPLAY_FULLSCREEN it is the
 * display mode's from then on.
 *
 * @failure  all zero: the display is closed.
 */
HALVORIN_API void display_get_info(DisplayInfo* result);

/*
 * What the latest input_poll saw of the window.
 *
 * @failure  none
 * @heap     none
 * @waits    no
 */

HALVORIN_API b8 display_is_minimized(void);
HALVORIN_API b8 display_is_maximized(void);
HALVORIN_API b8 display_is_restored(void);

/** The pointer came into the window, or left it. */
HALVORIN_API b8 display_is_entered(void);
HALVORIN_API b8 display_is_left(void);

/** The window got the keyboard's focus, or lost it. */
HALVORIN_API b8 display_is_focus_gained(void);
HALVORIN_API b8 display_is_focus_lost(void);

/** The user asked to close the window, or the system to end the program. */
HALVORIN_API b8 display_is_closed(void);

/**
 * The window's size changed. Only then are the new width and height, in pixels, written through
 * the pointers, which mustn't be null.
 */
HALVORIN_API b8 display_is_resized(i32* width, i32* height);

/**
 * The file that was dropped on the window.
 *
 * @param result  UTF-8 path of the latest drop, at most its first 256 bytes, not terminated.
 * @lifetime      until a later input_poll brings another drop.
 * @failure       `count` 0: there was none.
 */
HALVORIN_API void display_file_dropped(Slice* result);
