/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Game controllers and rumble.
 *
 * A controller is a set of raw inputs by index: buttons, axes, balls (relative motion) and hats
 * (eight directions). Which of them lies under which thumb is the device's own matter; there is no
 * mapping to named buttons.
 *
 * Devices and handles. Attached devices have an index from 0 to controller_num minus 1, which
 * changes as devices come and go. controller_open turns it into a handle that stands for the device
 * until controller_close, also after the device is gone. The same goes for haptic devices. Handles
 * are SDL2's (SDL_Joystick*, SDL_Haptic*); the library keeps no list of them, and system_release
 * ends them all. No handle may be used behind its _close or behind system_release.
 *
 * State is what the latest input_poll brought. While the program has a window, SDL2 takes input
 * from controllers only when it has the keyboard's focus.
 *
 * Rumble: haptic_open_controller or haptic_open_mouse, haptic_has_rumble, haptic_init_rumble, then
 * any number of haptic_play_rumble and haptic_stop_rumble, then haptic_close.
 *
 * Needs system_init with SYSTEM_INIT_JOYSTICK, and SYSTEM_INIT_HAPTIC for rumble.
 *
 * Calls, where nothing else is said:
 *
 * @thread   display: the one that calls input_poll.
 * @memory   none
 * @failure  none
 * @heap     none
 * @waits    no
 */

#include "types.h"

/** How full a controller's battery is. */
enum {
    CONTROLLER_POWER_UNKNOWN = 0,
    CONTROLLER_POWER_EMPTY = 1,
    CONTROLLER_POWER_LOW = 2,
    CONTROLLER_POWER_MEDIUM = 3,
    CONTROLLER_POWER_FULL = 4,
    CONTROLLER_POWER_WIRED = 5, /**< it has none to run down */
    CONTROLLER_POWER_MAX = 6
};
typedef i32 controller_power_level;

/**
 * The latest input_poll saw a device arrive. Devices that are there from the start arrive with the
 * first poll.
 *
 * @param index  may be null. Gets the index of the latest device that arrived, also when that was
 *               in an earlier poll; 0 when there has been none.
 */
HALVORIN_API b8 controller_is_added(i32* index);

/**
 * The latest input_poll saw a device leave.
 *
 * @param handle  may be null. Gets the handle of the latest device that left, also when that was in
 *                an earlier poll; null when it wasn't open, or there has been none. It stays open.
 */
HALVORIN_API b8 controller_is_removed(void** handle);

/** The number of attached devices. @failure negative */
HALVORIN_API i64 controller_num(void);

/**
 * A device's name.
 *
 * @param result  UTF-8.
 * @lifetime      for a copy at once: it is SDL2's memory.
 * @failure       null `data`, count 0: there is no such device, or it has no name.
 */
HALVORIN_API void controller_name_for_index(Slice* result, i32 index);

/**
 * Opens a device. One that is open already gives the same handle once more, and needs as many
 * closes.
 *
 * @lifetime  until controller_close or system_release
 * @failure   null
 * @heap      SDL2
 * @waits     the device
 */
HALVORIN_API void* controller_open(i32 index);

/** @failure not told. @heap SDL2 */
HALVORIN_API void controller_close(void* controller);

/**
 * As controller_name_for_index, for an open controller.
 *
 * @lifetime  for a copy at once: it is SDL2's memory.
 * @failure   null `data`, count 0
 */
HALVORIN_API void controller_name(Slice* result, void* controller);

/** How many inputs of a kind there are. @failure negative */
HALVORIN_API i32 controller_num_buttons(void* controller);
HALVORIN_API i32 controller_num_axes(void* controller);
HALVORIN_API i32 controller_num_balls(void* controller);
HALVORIN_API i32 controller_num_hats(void* controller);

/** 1 when haptic_open_controller can open it, 0 when not. @failure 255 */
HALVORIN_API u8 controller_is_haptic(void* controller);

/** 1 while the device is attached, then 0. @failure 0 */
HALVORIN_API u8 controller_is_connected(void* controller);

/** @failure CONTROLLER_POWER_UNKNOWN */
HALVORIN_API controller_power_level controller_power(void* controller);

/** 1 while the button is down. @failure 0: there is no such button. */
HALVORIN_API u8 controller_button(void* controller, i32 button);

/** Where an axis stands: -32768 to 32767, about 0 at rest. @failure 0: there is no such axis. */
HALVORIN_API i16 controller_axis(void* controller, i32 axis);

/**
 * How far a ball has turned since the last call.
 *
 * @return   0.
 * @failure  negative: nothing is written.
 */
HALVORIN_API i32 controller_ball(void* controller, i32 ball, i32* dx, i32* dy);

/** Where a hat points, bits: 1 up, 2 right, 4 down, 8 left. @failure 0: there is no such hat. */
HALVORIN_API u8 controller_hat(void* controller, i32 hat);

/**
 * The haptic device of a controller, or of the mouse.
 *
 * @lifetime  until haptic_close or system_release
 * @failure   null
 * @heap      SDL2
 * @waits     the device
 */
HALVORIN_API void* haptic_open_controller(void* controller);
HALVORIN_API void* haptic_open_mouse(void);

/** @failure not told. @heap SDL2 */
HALVORIN_API void haptic_close(void* haptic);

/** 1 when the device can rumble, 0 when not. @failure 255 */
HALVORIN_API u8 haptic_has_rumble(void* haptic);

/** Makes the device ready to rumble. @failure false. @heap SDL2. @waits the device */
HALVORIN_API b8 haptic_init_rumble(void* haptic);

/**
 * Rumbles, in place of what went on before.
 *
 * @param strength  0 to 1.
 * @param length    milliseconds.
 * @return          0.
 * @failure         negative
 * @waits           the device
 */
HALVORIN_API i32 haptic_play_rumble(void* haptic, f32_bits strength, u32 length);

/** Ends the rumble. Gives 0. @failure negative. @waits the device */
HALVORIN_API i32 haptic_stop_rumble(void* haptic);
