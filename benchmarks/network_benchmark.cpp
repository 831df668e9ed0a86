// SPDX-License-Identifier: Zlib
// Waiting on a selector, and messages there and back on the loopback interface, against the bare
// calls of the system. Every row gives the ratio of our median to the peer's (`of_`) beside its
// goal (`goal_`).
#include "in_turn.h"

#include <halvorin_system/network.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int waited = 64;
constexpr int repeats = 50;
constexpr u32 message_size = 32;

NetworkAddress loopback(u16 port) {
    char host[] = "127.0.0.1";
    NetworkAddress address;
    network_address_find(&address, {host, sizeof host - 1}, port, NETWORK_IPV4);
    return address;
}

sockaddr_in name_of(network_socket socket) {
    sockaddr_in name = {};
    socklen_t length = sizeof name;
    getsockname(static_cast<int>(socket), reinterpret_cast<sockaddr*>(&name), &length);
    return name;
}

NetworkAddress address_of(network_socket socket) {
    return loopback(ntohs(name_of(socket).sin_port));
}

network_socket bound(network_flags transport) {
    const network_socket socket = network_socket_create(transport | NETWORK_IPV4);
    network_socket_bind(socket, loopback(0));
    return socket;
}

// A selector with 64 sockets, numbered from `first` on or as they come, and the same for poll and
// select. The sockets with an index from `ready_from` on have a datagram.
struct waiting {
    i32 selector = network_selector_create();
    std::vector<network_socket> sockets;
    std::vector<pollfd> polled;
    fd_set selected;
    int highest = 0;

    waiting(int first, int ready_from) {
        FD_ZERO(&selected);
        const network_socket sender = bound(NETWORK_UDP);
        for (int i = 0; i < waited; ++i) {
            network_socket socket = bound(NETWORK_UDP);
            if (i >= ready_from) network_udp_send(sender, 1, "x", address_of(socket));
            if (first > 0) {
                const int renumbered = fcntl(static_cast<int>(socket), F_DUPFD, first);
                network_socket_destroy(socket);
                socket = static_cast<network_socket>(renumbered);
            }
            const int descriptor = static_cast<int>(socket);
            sockets.push_back(socket);
            network_selector_add(selector, socket);
            polled.push_back({descriptor, POLLIN, 0});
            if (descriptor < FD_SETSIZE) FD_SET(descriptor, &selected);
            highest = std::max(highest, descriptor);
        }
        network_socket_destroy(sender);
    }
    ~waiting() {
        for (const network_socket socket : sockets) {
            network_socket_destroy(socket);
        }
        network_selector_destroy(selector);
    }
};

// What the host gets from us is the list of those that are ready; from the others it is counts.
void selector_wait(benchmark::State& state) {
    const int ready_count = static_cast<int>(state.range(0));
    const int first = static_cast<int>(state.range(1));
    waiting set(first, waited - ready_count);
    if (set.highest < first + waited - 1) {
        state.SkipWithError("this process may not have files of such high numbers");
        return;
    }
    network_socket ready[waited];
    i64 counts[3] = {};
    const auto ours = [&] {
        for (int i = 0; i < repeats; ++i) {
            counts[0] = network_selector_wait(set.selector, 0, {ready, waited});
            benchmark::ClobberMemory();
        }
    };
    const auto by_poll = [&] {
        for (int i = 0; i < repeats; ++i) {
            counts[1] = poll(set.polled.data(), waited, 0);
            benchmark::ClobberMemory();
        }
    };
    const auto by_select = [&] {
        for (int i = 0; i < repeats; ++i) {
            fd_set result = set.selected;
            timeval at_once = {};
            counts[2] = select(set.highest + 1, &result, nullptr, nullptr, &at_once);
            benchmark::DoNotOptimize(result);
        }
    };
    const bool can_select = set.highest < FD_SETSIZE;
    const auto nothing = [] {};
    const auto [our_time, poll_time, select_time] =
        can_select ? medians_in_turn(state, ours, by_poll, by_select)
                   : medians_in_turn(state, ours, by_poll, nothing);
    if (!can_select) counts[2] = ready_count;
    if (counts[0] != ready_count || counts[1] != ready_count || counts[2] != ready_count) {
        state.SkipWithError("the counts differ");
    }
    state.counters["ns"] = our_time / repeats * 1e9;
    show(state, "poll", our_time / poll_time, 1.10);
    if (can_select) show(state, "select", our_time / select_time, 1.00);
}
BENCHMARK(selector_wait)
    ->ArgNames({"ready", "first_handle"})
    ->ArgsProduct({{0, 1, waited}, {0, 1501}})
    ->Iterations(1001)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

void tcp_round_trip(benchmark::State& state) {
    const network_socket listener = bound(NETWORK_TCP);
    network_tcp_listen(listener);
    const network_socket client = network_socket_create(NETWORK_TCP | NETWORK_IPV4);
    network_tcp_connect(client, address_of(listener));
    NetworkAddress peer;
    const network_socket server = network_tcp_accept(listener, &peer);
    char message[message_size] = {};
    i64 received[2] = {};
    const auto ours = [&] {
        for (int i = 0; i < repeats; ++i) {
            network_tcp_send(client, message_size, message);
            network_tcp_receive(server, message_size, message);
            network_tcp_send(server, message_size, message);
            received[0] += network_tcp_receive(client, message_size, message);
        }
    };
    const int a = static_cast<int>(client);
    const int b = static_cast<int>(server);
    const auto bare = [&] {
        for (int i = 0; i < repeats; ++i) {
            send(a, message, message_size, 0);
            recv(b, message, message_size, 0);
            send(b, message, message_size, 0);
            received[1] += recv(a, message, message_size, 0);
        }
    };
    const auto [our_time, bare_time] = medians_in_turn(state, ours, bare);
    if (received[0] != received[1] || received[0] != state.iterations() * repeats * message_size) {
        state.SkipWithError("bytes are missing");
    }
    for (const network_socket socket : {listener, client, server}) {
        network_socket_destroy(socket);
    }
    state.counters["ns"] = our_time / repeats * 1e9;
    show(state, "bare_calls", our_time / bare_time, 1.03);
}
BENCHMARK(tcp_round_trip)->Iterations(1001)->UseManualTime()->Unit(benchmark::kMicrosecond);

void udp_round_trip(benchmark::State& state) {
    const network_socket client = bound(NETWORK_UDP);
    const network_socket server = bound(NETWORK_UDP);
    const NetworkAddress to = address_of(server);
    char message[message_size] = {};
    i64 received[2] = {};
    const auto ours = [&] {
        for (int i = 0; i < repeats; ++i) {
            NetworkAddress from;
            network_udp_send(client, message_size, message, to);
            network_udp_receive(server, message_size, message, &from);
            network_udp_send(server, message_size, message, from);
            received[0] += network_udp_receive(client, message_size, message, &from);
        }
    };
    const int a = static_cast<int>(client);
    const int b = static_cast<int>(server);
    const sockaddr_in name = name_of(server);
    const auto bare = [&] {
        for (int i = 0; i < repeats; ++i) {
            sockaddr_in from;
            auto* const from_name = reinterpret_cast<sockaddr*>(&from);
            socklen_t length = sizeof from;
            sendto(a, message, message_size, 0, reinterpret_cast<const sockaddr*>(&name),
                   sizeof name);
            recvfrom(b, message, message_size, 0, from_name, &length);
            sendto(b, message, message_size, 0, from_name, length);
            received[1] += recvfrom(a, message, message_size, 0, from_name, &length);
        }
    };
    const auto [our_time, bare_time] = medians_in_turn(state, ours, bare);
    if (received[0] != received[1] || received[0] != state.iterations() * repeats * message_size) {
        state.SkipWithError("datagrams are missing");
    }
    network_socket_destroy(client);
    network_socket_destroy(server);
    state.counters["ns"] = our_time / repeats * 1e9;
    show(state, "bare_calls", our_time / bare_time, 1.05);
}
BENCHMARK(udp_round_trip)->Iterations(1001)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
