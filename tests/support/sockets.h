// SPDX-License-Identifier: Zlib
#pragma once

#include "api/network.h"
#include "support/common.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <netinet/in.h>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

// Sockets on the loopback interface, by the library's calls; what they came to is read from the
// system.
namespace sockets {

inline constexpr network_socket none = ~network_socket{0};
inline constexpr u64 rubbish = 0xA5A5A5A500000000;

inline NetworkAddress address_of(std::string_view host, u16 port, network_flags flags) {
    NetworkAddress address;
    std::memset(&address, 0xAA, sizeof address);
    network_address_find(&address, slice(host), port, flags);
    return address;
}

inline bool same(const NetworkAddress& a, const NetworkAddress& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

inline NetworkAddress loopback(network_flags flags, u16 port = 0) {
    return address_of((flags & NETWORK_IPV6) != 0 ? "::1" : "127.0.0.1", port, flags);
}

inline int descriptor(network_socket socket) {
    return static_cast<int>(socket);
}

inline u16 port_of(network_socket socket) {
    sockaddr_in6 name = {};
    socklen_t length = sizeof name;
    getsockname(descriptor(socket), reinterpret_cast<sockaddr*>(&name), &length);
    return ntohs(name.sin6_port); // where the port of IPv4 stands as well
}

// Closed at the end of the test.
class owned {
public:
    owned() = default;
    explicit owned(network_socket socket) : handle(socket) {
    }
    owned(owned&& other) noexcept : handle(std::exchange(other.handle, none)) {
    }
    owned& operator=(owned&& other) noexcept {
        std::swap(handle, other.handle);
        return *this;
    }
    ~owned() {
        if (handle != none) network_socket_destroy(handle);
    }
    operator network_socket() const {
        return handle;
    }

private:
    network_socket handle = none;
};

inline owned bound(network_flags flags) {
    owned socket(network_socket_create(flags));
    EXPECT_TRUE(network_socket_bind(socket, loopback(flags)));
    return socket;
}

inline owned listening(network_flags family) {
    owned socket = bound(family | NETWORK_TCP);
    EXPECT_TRUE(network_tcp_listen(socket));
    return socket;
}

// Both ends of a connection.
struct connection {
    owned client, server;

    explicit connection(network_flags family = NETWORK_IPV4) {
        const owned listener = listening(family);
        const network_flags flags = family | NETWORK_TCP;
        client = owned(network_socket_create(flags));
        EXPECT_TRUE(network_tcp_connect(client, loopback(flags, port_of(listener))));
        NetworkAddress peer;
        server = owned(network_tcp_accept(listener, &peer));
        EXPECT_FALSE(network_socket_failed(server));
    }
};

inline bool tell(network_socket from, network_socket to, std::string_view text) {
    return network_udp_send(from, static_cast<u32>(text.size()), text.data(),
                            loopback(NETWORK_IPV4, port_of(to))) == static_cast<i64>(text.size());
}

} // namespace sockets
