/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * TCP and UDP over IPv4 and IPv6, and waiting for many sockets at once.
 *
 *   network_sockets.h    addresses, sockets, TCP, UDP
 *   network_selectors.h  lists of sockets that are waited for together
 *
 * Sockets. A socket is the system's own handle: the library keeps no table of sockets, no buffer
 * and no thread. A data call is one call of the system, whose result is the result: nothing is sent
 * or received again, and a call that a signal interrupts has failed. A number that is no handle is
 * refused like a closed one. The order of calls is that of the socket interface everywhere:
 *
 *     TCP server   network_address_find with an empty host, network_socket_create,
 *                  network_socket_bind, network_tcp_listen, then network_tcp_accept as often as
 *                  need be
 *     TCP client   network_address_find with the server's name, network_socket_create,
 *                  network_tcp_connect
 *     both         network_tcp_send, network_tcp_receive, network_tcp_disconnect,
 *                  network_socket_destroy
 *     UDP          network_address_find, network_socket_create, network_socket_bind where others
 *                  have to find it, network_udp_send, network_udp_receive, network_socket_destroy
 *
 * A socket that is sent to and has nobody at its other end fails by its result; no signal is raised
 * for it, and the process's signals stay as they are.
 *
 * Memory. Nothing comes from the heap but the list of a selector, and what the system's look-up of
 * names takes for the length of its call. A text of network_address_get_ip is a short-lived result.
 *
 * Failure. The failed socket has all 64 bits set. Why a call failed isn't reported, and a socket
 * that doesn't block and has nothing to do gives the same result as one that failed: it is a
 * selector that tells when there is something to do. Works without system_init on Linux; a host
 * that is to run elsewhere calls that first.
 *
 * Calls, where nothing else is said, of both headers:
 *
 * @thread   any: a call that waits holds up its own thread only.
 * @memory   none
 * @failure  false
 * @heap     none
 * @waits    no
 */

#include "network_selectors.h"
#include "network_sockets.h"
