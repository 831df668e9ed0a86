// SPDX-License-Identifier: Zlib
#pragma once

#include "platform/sockets.h"

namespace halvorin {

// What the flags come to, for the look-up and for a new socket alike.
inline socket_kind kind_of(network_flags flags) {
    const address_family family = (flags & NETWORK_IPV6) != 0   ? address_family::ipv6
                                  : (flags & NETWORK_IPV4) != 0 ? address_family::ipv4
                                                                : address_family::any;
    return {family, (flags & (NETWORK_TCP | NETWORK_UDP)) == NETWORK_TCP};
}

} // namespace halvorin
