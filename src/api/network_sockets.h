/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Addresses and sockets. The family's page is network.h.
 */

#include "types.h"

/** The system's handle of a socket in 64 bits. All bits set is the failed socket. */
typedef u64 network_socket;

/**
 * What network_address_find looks for and network_socket_create makes: transport and family, one
 * of each, or-ed together. UDP goes ahead of TCP, and is meant where neither is given; IPv6 goes
 * ahead of IPv4. Other bits don't count.
 */
enum {
    NETWORK_TCP = 1,
    NETWORK_UDP = 2,
    NETWORK_IPV4 = 4,
    NETWORK_IPV6 = 8
};

/** NETWORK_ bits. */
typedef u32 network_flags;

/**
 * An address with a port: the system's socket address and zeros behind it. For the host to keep
 * and to hand back. It travels by value, and as a pointer where the library fills it in.
 */
typedef struct NetworkAddress {
    u16 family;  /**< the system's AF_INET or AF_INET6; 0 in an address that wasn't found */
    u8 port[2];  /**< most significant byte first */
    u8 ipv4[4];  /**< the IPv4 address; in one of IPv6 the flow information */
    u8 ipv6[16]; /**< the IPv6 address */
    u32 scope;   /**< the scope of the IPv6 address */
    u8 zero[4];
} NetworkAddress;

/**
 * Finds the address of a host. May ask a name server, and wait for it.
 *
 * @param result  the first address that the system knows; all zero on failure.
 * @param host    a name or a numeric address, at most 16383 bytes; a zero byte ends it. Empty: the
 *                address to bind to, for whoever is to be reached under all of the machine's.
 * @param port    any, 0 too. Bound to port 0, a socket gets a free one from the system.
 * @param flags   NETWORK_ bits. Without a family the system chooses one.
 * @thread    one
 * @memory    text
 * @failure   all zero: no such host, or none in that family. network_socket_bind and
 *            network_tcp_connect refuse such an address, so it needs no test of its own.
 * @heap      C library: for the length of the call.
 * @waits     name server
 */
HALVORIN_API void network_address_find(NetworkAddress* result, Slice host, u16 port,
                                       network_flags flags);

/**
 * The address as text, such as "127.0.0.1" or "::1", without port and scope.
 *
 * @thread    one
 * @memory    results: 64 bytes.
 * @lifetime  until later results have run once round the arena.
 * @failure   `count` 0: a record that is neither IPv4 nor IPv6.
 */
HALVORIN_API void network_address_get_ip(Slice* result, NetworkAddress address);

/** The port, whatever the family. @failure none */
HALVORIN_API u16 network_address_get_port(NetworkAddress address);

/**
 * Makes a socket. It blocks, and may be bound to an address that has just been in use
 * (SO_REUSEADDR, which on Linux also lets two UDP sockets have one port: so bind one that is to get
 * answers, if only to port 0, before it sends); all else about it is the system's default.
 *
 * @param flags  NETWORK_ bits. A family is needed: the systems make no socket without one.
 * @lifetime     until network_socket_destroy
 * @failure      all bits set
 */
HALVORIN_API network_socket network_socket_create(network_flags flags);

/** Closes a socket. Gives 0. A selector that has it in its list isn't told. @failure -1 */
HALVORIN_API i32 network_socket_destroy(network_socket socket);

/**
 * Whether network_socket_create or network_tcp_accept has failed. Socket 0 hasn't.
 *
 * @failure  none
 */
HALVORIN_API b8 network_socket_failed(network_socket socket);

/** Gives a socket its address. */
HALVORIN_API b8 network_socket_bind(network_socket socket, NetworkAddress address);

/**
 * Whether calls on the socket wait until they can be done. A connection from network_tcp_accept
 * starts out waiting, whatever the listening socket does.
 */
HALVORIN_API b8 network_socket_set_blocking(network_socket socket, b8 blocking);

/**
 * Connects to a server.
 *
 * @failure   false: also while the connection of a socket that doesn't block is under way. Call
 *            again, and the first true means that it stands.
 * @waits     for the other side: where the socket blocks, and so below.
 */
HALVORIN_API b8 network_tcp_connect(network_socket socket, NetworkAddress address);

/**
 * Ends a connection in both directions; the socket is still to be destroyed. Gives 0.
 *
 * @failure  -1
 */
HALVORIN_API i32 network_tcp_disconnect(network_socket socket);

/**
 * Sends bytes on a connection.
 *
 * @return    how many bytes the system took, which may be fewer than `size`; the host goes on with
 *            the rest.
 * @failure   -1: also when the socket doesn't block and there is no room.
 * @waits     for room
 */
HALVORIN_API i64 network_tcp_send(network_socket socket, u32 size, const void* data);

/**
 * Receives what has come in on a connection.
 *
 * @param size  of the room at `data`, in bytes.
 * @return    the count of bytes; 0 when the other side has ended the connection.
 * @failure   -1: also when the socket doesn't block and nothing has come in.
 * @waits     for the other side
 */
HALVORIN_API i64 network_tcp_receive(network_socket socket, u32 size, void* data);

/** Starts to listen on a bound socket, with as many connections waiting as the system allows. */
HALVORIN_API b8 network_tcp_listen(network_socket socket);

/**
 * Takes the next connection of a listening socket.
 *
 * @param address  gets the other side's address: 16 bytes for IPv4 and 28 for IPv6; what lies
 *                 behind them in the record stays as it was, and all of it does on failure.
 * @return    the connection.
 * @lifetime  until network_socket_destroy
 * @failure   all bits set: also when the listening one doesn't block and no connection waits.
 * @waits     for the other side
 */
HALVORIN_API network_socket network_tcp_accept(network_socket socket, NetworkAddress* address);

/**
 * Sends a datagram.
 *
 * @param size     in bytes, 0 too.
 * @param address  where to.
 * @return    the count of bytes.
 * @failure   -1
 * @waits     for room
 */
HALVORIN_API i64 network_udp_send(network_socket socket, u32 size, const void* data,
                                  NetworkAddress address);

/**
 * Receives the next datagram.
 *
 * @param size     of the room at `data`, in bytes. On Linux a datagram that is longer is cut, and
 *                 the rest of it is gone.
 * @param address  gets the sender's address, as with network_tcp_accept.
 * @return    the count of bytes that were received.
 * @failure   -1: also when the socket doesn't block and no datagram has come in.
 * @waits     for the other side
 */
HALVORIN_API i64 network_udp_receive(network_socket socket, u32 size, void* data,
                                     NetworkAddress* address);
