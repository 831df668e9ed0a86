// SPDX-License-Identifier: Zlib
#include "platform/sockets.h"
#include "api/network_sockets.h"
#include "frame/boundary.h"
#include "network/flags.h"

using namespace halvorin;

network_socket network_socket_create(network_flags flags) {
    return create_socket(kind_of(flags));
}

i32 network_socket_destroy(network_socket socket) {
    return close_socket(socket);
}

b8 network_socket_failed(network_socket socket) {
    return socket == failed_socket;
}

b8 network_socket_bind(network_socket socket, NetworkAddress address) {
    return bind_socket(socket, address) != -1;
}

b8 network_socket_set_blocking(network_socket socket, b8 blocking) {
    return set_socket_blocking(socket, is_true(blocking)) == 0;
}

b8 network_tcp_connect(network_socket socket, NetworkAddress address) {
    return connect_socket(socket, address) == 0;
}

i32 network_tcp_disconnect(network_socket socket) {
    return shut_down_socket(socket);
}

i64 network_tcp_send(network_socket socket, u32 size, const void* data) {
    return send_bytes(socket, size, data);
}

i64 network_tcp_receive(network_socket socket, u32 size, void* data) {
    return receive_bytes(socket, size, data);
}

b8 network_tcp_listen(network_socket socket) {
    return listen_on_socket(socket) == 0;
}

network_socket network_tcp_accept(network_socket socket, NetworkAddress* address) {
    return accept_connection(socket, address);
}

i64 network_udp_send(network_socket socket, u32 size, const void* data, NetworkAddress address) {
    return send_datagram(socket, size, data, address);
}

i64 network_udp_receive(network_socket socket, u32 size, void* data, NetworkAddress* address) {
    return receive_datagram(socket, size, data, address);
}
