/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * The system library's whole interface.
 *
 *   types.h        types at the boundary, and the rules that hold for every call
 *   frame.h        start and stop, services, scratch memory
 *   files.h        files and directories
 *   display.h      the window and its two ways of presenting
 *   input.h        event poll, keyboard and mouse
 *   controllers.h  game controllers and rumble
 *   desktop.h      clipboard, message box, screen saver
 *   graphics.h     OpenGL 3.3 in the library's numbers
 *   images.h       image files to pixels and back
 *   audio.h        sound files, streams, conversion, player and recorder
 *   concurrency.h  threads, locks and atomics
 *   network.h      addresses, TCP and UDP sockets, selectors
 *   math.h         scalar functions on doubles
 *
 * Every header compiles alone, as C99 and as C++.
 */

#include "types.h"

#include "audio.h"
#include "concurrency.h"
#include "controllers.h"
#include "desktop.h"
#include "display.h"
#include "files.h"
#include "frame.h"
#include "graphics.h"
#include "images.h"
#include "input.h"
#include "math.h"
#include "network.h"
