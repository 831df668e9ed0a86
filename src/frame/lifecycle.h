// SPDX-License-Identifier: Zlib
#pragma once

namespace halvorin {

// Video ran and has ended. SDL2 keeps the driver's functions for pointer and cursors, and would
// call into a driver that is gone.
bool video_driver_is_gone();

} // namespace halvorin
