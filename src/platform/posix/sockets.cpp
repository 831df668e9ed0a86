// SPDX-License-Identifier: Zlib
#include "platform/sockets.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace halvorin {
namespace {

// The record is handed to the system as it is.
static_assert(sizeof(sockaddr_in) == 16 && sizeof(sockaddr_in6) == 28);
static_assert(offsetof(sockaddr_in, sin_port) == offsetof(NetworkAddress, port) &&
              offsetof(sockaddr_in, sin_addr) == offsetof(NetworkAddress, ipv4) &&
              offsetof(sockaddr_in6, sin6_addr) == offsetof(NetworkAddress, ipv6) &&
              offsetof(sockaddr_in6, sin6_scope_id) == offsetof(NetworkAddress, scope));

int descriptor_of(network_socket socket) {
    return socket <= network_socket{INT_MAX} ? static_cast<int>(socket) : -1;
}

network_socket socket_of(int descriptor) {
    return static_cast<network_socket>(i64{descriptor});
}

int native_family(address_family family) {
    switch (family) {
    case address_family::any: return AF_UNSPEC;
    case address_family::ipv4: return AF_INET;
    case address_family::ipv6: return AF_INET6;
    }
    return AF_UNSPEC;
}

int native_type(socket_kind kind) {
    return kind.is_stream ? SOCK_STREAM : SOCK_DGRAM;
}

const sockaddr* native_address(const NetworkAddress& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

socklen_t native_length(const NetworkAddress& address) {
    return address.family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
}

// Other kinds of sockets have addresses that are longer than the record.
void keep_address(NetworkAddress* address, const sockaddr_storage& native, socklen_t length) {
    std::memcpy(address, &native, std::min<size_t>(length, sizeof *address));
}

bool is_datagram_socket(int descriptor) {
    int type = 0;
    socklen_t length = sizeof type;
    return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_DGRAM;
}

// The option takes an int here; a single byte would be refused.
void set_address_reuse(int descriptor, bool is_on) {
    const int value = is_on;
    setsockopt(descriptor, SOL_SOCKET, SO_REUSEADDR, &value, sizeof value);
}

// Among sockets that may use an address again, the free port that Linux chooses may be one that
// another has, which would then get the datagrams.
int bind_to_free_port(int descriptor, const NetworkAddress& address) {
    set_address_reuse(descriptor, false);
    const int result = bind(descriptor, native_address(address), native_length(address));
    set_address_reuse(descriptor, true);
    return result;
}

// False when there is one that poll would pass over in silence.
bool list_sockets(pollfd* entries, const network_socket* sockets, i32 count) {
    int all = 0;
    for (i32 i = 0; i < count; ++i) {
        const int descriptor = descriptor_of(sockets[i]);
        entries[i] = {descriptor, POLLIN | POLLRDNORM | POLLRDBAND, 0};
        all |= descriptor;
    }
    return all >= 0;
}

timespec now() {
    timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

constexpr long nanoseconds = 1'000'000'000;

timespec sum(const timespec& a, const timespec& b) {
    const long carry = a.tv_nsec + b.tv_nsec >= nanoseconds;
    return {a.tv_sec + b.tv_sec + carry, a.tv_nsec + b.tv_nsec - carry * nanoseconds};
}

timespec time_until(const timespec& end) {
    const timespec start = now();
    const long borrow = end.tv_nsec < start.tv_nsec;
    const timespec left = {end.tv_sec - start.tv_sec - borrow,
                           end.tv_nsec - start.tv_nsec + borrow * nanoseconds};
    return left.tv_sec < 0 ? timespec{0, 0} : left;
}

// A host's timer signals mustn't look like failures, nor hold up the end of the wait. Seconds have
// 64 bits here, so that no time is too long. Only to look, poll is the quicker one.
int poll_through_signals(pollfd* entries, i32 count, i64 milliseconds) {
    const auto native_count = static_cast<nfds_t>(count);
    timespec left = {milliseconds / 1000, milliseconds % 1000 * 1'000'000};
    const timespec end = milliseconds > 0 ? sum(now(), left) : left;
    for (;;) {
        const int result = milliseconds > 0 ? ppoll(entries, native_count, &left, nullptr)
                                            : poll(entries, native_count, 0);
        if (result >= 0 || errno != EINTR) return result;
        left = time_until(end);
    }
}

} // namespace

void find_address(NetworkAddress* result, const char* host, u16 port, socket_kind kind) {
    addrinfo hints = {};
    hints.ai_flags = host == nullptr ? AI_PASSIVE : 0;
    hints.ai_family = native_family(kind.family);
    hints.ai_socktype = native_type(kind);
    char service[8];
    std::snprintf(service, sizeof service, "%d", port);
    addrinfo* list = nullptr;
    const int error = getaddrinfo(host, service, &hints, &list);
    *result = {};
    if (error == 0) {
        std::memcpy(result, list->ai_addr, std::min<size_t>(list->ai_addrlen, sizeof *result));
    }
    if (list != nullptr) freeaddrinfo(list);
}

bool write_address(char* text, u32 size, const NetworkAddress& address) {
    const void* const bytes = address.family == AF_INET ? address.ipv4 : address.ipv6;
    return inet_ntop(address.family, bytes, text, size) != nullptr;
}

network_socket create_socket(socket_kind kind) {
    const int descriptor = socket(native_family(kind.family), native_type(kind), 0);
    if (descriptor < 0) return failed_socket;
    set_address_reuse(descriptor, true);
    return socket_of(descriptor);
}

i32 close_socket(network_socket socket) {
    return close(descriptor_of(socket));
}

// Linux would take a host that wasn't found for the wildcard address with any port ...
i32 bind_socket(network_socket socket, const NetworkAddress& address) {
    if (address.family == AF_UNSPEC) return -1;
    const int descriptor = descriptor_of(socket);
    const bool wants_any_port = address.port[0] == 0 && address.port[1] == 0;
    if (wants_any_port && is_datagram_socket(descriptor)) {
        return bind_to_free_port(descriptor, address);
    }
    return bind(descriptor, native_address(address), native_length(address));
}

// ... and here for an order to take the connection apart, which succeeds.
i32 connect_socket(network_socket socket, const NetworkAddress& address) {
    if (address.family == AF_UNSPEC) return -1;
    return connect(descriptor_of(socket), native_address(address), native_length(address));
}

i32 set_socket_blocking(network_socket socket, bool blocking) {
    int without_blocking = !blocking;
    return ioctl(descriptor_of(socket), FIONBIO, &without_blocking);
}

i32 shut_down_socket(network_socket socket) {
    return shutdown(descriptor_of(socket), SHUT_RDWR);
}

// The system cuts the number to what it allows.
i32 listen_on_socket(network_socket socket) {
    return listen(descriptor_of(socket), INT_MAX);
}

network_socket accept_connection(network_socket socket, NetworkAddress* address) {
    sockaddr_storage peer;
    socklen_t length = sizeof peer;
    const int descriptor =
        accept(descriptor_of(socket), reinterpret_cast<sockaddr*>(&peer), &length);
    if (descriptor >= 0) keep_address(address, peer, length);
    return socket_of(descriptor);
}

i64 receive_datagram(network_socket socket, u32 size, void* data, NetworkAddress* address) {
    sockaddr_storage sender;
    socklen_t length = sizeof sender;
    const ssize_t count = recvfrom(descriptor_of(socket), data, size, 0,
                                   reinterpret_cast<sockaddr*>(&sender), &length);
    if (count >= 0) keep_address(address, sender, length);
    return count;
}

i64 send_bytes(network_socket socket, u32 size, const void* data) {
    return send(descriptor_of(socket), data, size, MSG_NOSIGNAL);
}

i64 receive_bytes(network_socket socket, u32 size, void* data) {
    return recv(descriptor_of(socket), data, size, 0);
}

i64 send_datagram(network_socket socket, u32 size, const void* data,
                  const NetworkAddress& address) {
    return sendto(descriptor_of(socket), data, size, MSG_NOSIGNAL, native_address(address),
                  native_length(address));
}

// Not select: it can't take a descriptor above 1023, and would write behind its set for one.
i64 wait_for_sockets(const network_socket* sockets, i32 count, i64 milliseconds, u64* ready) {
    pollfd entries[most_waited];
    *ready = 0;
    if (milliseconds < 0 || !list_sockets(entries, sockets, count)) return -1;
    const int result = poll_through_signals(entries, count, milliseconds);
    if (result <= 0) return result;
    u64 found = 0;
    int events = 0;
    for (i32 i = 0; i < count; ++i) {
        found |= u64{entries[i].revents != 0} << i;
        events |= entries[i].revents;
    }
    if ((events & POLLNVAL) != 0) return -1;
    *ready = found;
    return result;
}

} // namespace halvorin
