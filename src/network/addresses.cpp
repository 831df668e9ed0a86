// SPDX-License-Identifier: Zlib
#include "api/network_sockets.h"
#include "frame/boundary.h"
#include "frame/scratch.h"
#include "network/flags.h"
#include "platform/sockets.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

using namespace halvorin;

static_assert(std::is_trivially_copyable_v<NetworkAddress> && sizeof(NetworkAddress) == 32 &&
              offsetof(NetworkAddress, port) == 2 && offsetof(NetworkAddress, ipv4) == 4 &&
              offsetof(NetworkAddress, ipv6) == 8 && offsetof(NetworkAddress, scope) == 24);

void network_address_find(NetworkAddress* result, Slice host, u16 port, network_flags flags) {
    const bool any = host.count <= 0;
    if (!any && !append_character(host)) {
        *result = {};
        return;
    }
    find_address(result, any ? nullptr : c_string(host), low_bits(port), kind_of(flags));
}

// The block isn't cleared, so that a text that can't be written has to be ended here.
void network_address_get_ip(Slice* result, NetworkAddress address) {
    constexpr u32 size = 64;
    auto* const text = static_cast<char*>(system_allocate(size));
    if (!write_address(text, size, address)) text[0] = 0;
    *result = {text, static_cast<i64>(std::strlen(text))};
}

u16 network_address_get_port(NetworkAddress address) {
    return static_cast<u16>(address.port[0] << 8 | address.port[1]);
}
