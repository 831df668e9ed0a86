// SPDX-License-Identifier: Zlib
#pragma once

namespace halvorin {

// Names are bytes here: a path goes to the system as the host sent it.
using path_char = char;

} // namespace halvorin
