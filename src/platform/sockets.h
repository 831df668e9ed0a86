// SPDX-License-Identifier: Zlib
#pragma once

#include "api/network_sockets.h"

// What the network calls need of a system. A socket is the system's handle, widened with its sign;
// a number that can't be a handle fails as a closed one does, and is never cut to another that is
// open. Each call on a socket is one call of the system, and gives what that gave: -1, or the
// failed socket, for a failure. None of them raises a signal.
namespace halvorin {

inline constexpr network_socket failed_socket = ~network_socket{0};

enum class address_family : u8 {
    any,
    ipv4,
    ipv6
};

// A stream of bytes (TCP) or datagrams (UDP).
struct socket_kind {
    address_family family;
    bool is_stream;
};

// Fills the record, all of it. A null host asks for the address to bind to.
void find_address(NetworkAddress* result, const char* host, u16 port, socket_kind kind);

// Writes an address as terminated text. False, with nothing written, when the family isn't known.
bool write_address(char* text, u32 size, const NetworkAddress& address);

// May bind to an address that has just been in use.
network_socket create_socket(socket_kind kind);
i32 close_socket(network_socket socket);

// An address without a family is none: both refuse it, also where the system gives it a meaning. A
// datagram socket that is bound to port 0 gets a port that no other has.
i32 bind_socket(network_socket socket, const NetworkAddress& address);
i32 connect_socket(network_socket socket, const NetworkAddress& address);

i32 set_socket_blocking(network_socket socket, bool blocking);

// Ends both directions.
i32 shut_down_socket(network_socket socket);

// With the longest queue that the system allows.
i32 listen_on_socket(network_socket socket);

// The bytes of the other side's address go into the record, as many as there are and as have room.
// Nothing does on failure, nor where the system tells no address.
network_socket accept_connection(network_socket socket, NetworkAddress* address);
i64 receive_datagram(network_socket socket, u32 size, void* data, NetworkAddress* address);

i64 send_bytes(network_socket socket, u32 size, const void* data);
i64 receive_bytes(network_socket socket, u32 size, void* data);
i64 send_datagram(network_socket socket, u32 size, const void* data, const NetworkAddress& address);

inline constexpr i32 most_waited = 64;

// Waits until a socket is readable, or for so long, whatever signals come in meanwhile. The sockets
// differ, and are `most_waited` at most; their handles may be of any size. Gives how many are
// readable, with a bit for each in `ready`; 0 when time is up; -1, and no bit, for a negative time
// or when one of them is no open socket.
i64 wait_for_sockets(const network_socket* sockets, i32 count, i64 milliseconds, u64* ready);

} // namespace halvorin
