// SPDX-License-Identifier: Zlib
#include "support/guarded_text.h"
#include "support/sockets.h"

#include "api/frame.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <fcntl.h>
#include <set>

#include <sys/un.h>

using namespace sockets;
using namespace std::string_view_literals;

namespace {

// Behind the record lies what a long address of another kind of socket would run over.
struct guarded_address {
    NetworkAddress address;
    u8 behind[128];

    guarded_address() {
        std::memset(this, 0xAA, sizeof *this);
    }
    // Whether all is as it was from that byte on.
    bool is_untouched_from(size_t first) const {
        const auto* const bytes = reinterpret_cast<const u8*>(this);
        return std::all_of(bytes + first, bytes + sizeof *this, [](u8 b) { return b == 0xAA; });
    }
};

std::string ip_of(const NetworkAddress& address) {
    Slice text;
    network_address_get_ip(&text, address);
    return text_of(text);
}

// The record as the C library makes it of a numeric address.
NetworkAddress expected_address(const char* ip, u16 port) {
    NetworkAddress address = {};
    address.family = std::strchr(ip, ':') != nullptr ? AF_INET6 : AF_INET;
    address.port[0] = static_cast<u8>(port >> 8);
    address.port[1] = static_cast<u8>(port);
    inet_pton(address.family, ip, address.family == AF_INET ? address.ipv4 : address.ipv6);
    return address;
}

TEST(Addresses, NumericHostsAndTheEmptyOneComeOutByteForByte) {
    const struct {
        std::string_view host;
        u16 port;
        u64 flags;
        const char* expected;
    } cases[] = {
        {"", 80, NETWORK_IPV4 | NETWORK_TCP, "0.0.0.0"},
        {"", 0xFFFE, NETWORK_IPV6 | NETWORK_UDP, "::"},
        {"127.0.0.1\0.9"sv, 8080, rubbish << 8 | NETWORK_IPV4, "127.0.0.1"},
        {"127.1.2.34"sv.substr(0, 9), 0, 0, "127.1.2.3"},
        {"255.255.255.255", 1, 5, "255.255.255.255"},
        {"localhost", 256, 0xFFFFFFF6, "127.0.0.1"},
        {"2001:db8:1:2:3:ff00:4242:8329", 0, NETWORK_IPV6, "2001:db8:1:2:3:ff00:4242:8329"},
    };
    const auto find = by_name<void(NetworkAddress*, Slice, u64, u64)>("network_address_find");
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        const guarded_text host(c.host);
        guarded_address found;
        find(&found.address, host.slice(), rubbish | 0x50000 | c.port, c.flags);
        EXPECT_TRUE(same(found.address, expected_address(c.expected, c.port)));
        EXPECT_TRUE(found.is_untouched_from(sizeof(NetworkAddress)));
        EXPECT_EQ(ip_of(found.address), c.expected);
        EXPECT_EQ(network_address_get_port(found.address), c.port);
    }
}

// None of these asks a name server.
TEST(Addresses, AHostThatIsntFoundGivesZerosThatNothingConnectsTo) {
    const NetworkAddress not_found = address_of("127.0.0.1", 80, NETWORK_IPV6);
    for (const NetworkAddress& address :
         {not_found, address_of("::1", 80, NETWORK_IPV4 | NETWORK_TCP),
          address_of(std::string(16384, 'a'), 1, NETWORK_IPV4)}) {
        EXPECT_TRUE(same(address, {}));
    }
    const owned socket(network_socket_create(NETWORK_TCP | NETWORK_IPV4));
    EXPECT_FALSE(network_socket_bind(socket, not_found));
    EXPECT_FALSE(network_tcp_connect(socket, not_found));
    EXPECT_EQ(port_of(socket), 0);
    connection pair;
    EXPECT_FALSE(network_tcp_connect(pair.client, not_found));
    EXPECT_EQ(network_tcp_send(pair.client, 1, "x"), 1) << "it is connected still";
}

// Once round the arena: a record of no family doesn't give what its block held before.
TEST(Addresses, TextsStandInBlocksOfTheirOwn) {
    const char* const longest = "2001:db8:1:2:3:ff00:4242:8329";
    std::set<const void*> blocks;
    for (int i = 0; i < 524288 / 64; ++i) {
        Slice text;
        network_address_get_ip(&text, expected_address(longest, 1));
        ASSERT_EQ(text_of(text), longest);
        blocks.insert(text.data);
    }
    EXPECT_EQ(blocks.size(), 524288u / 64);
    EXPECT_EQ(ip_of({}), "");
}

TEST(Sockets, FlagsDecideTransportAndFamily) {
    const struct {
        network_flags flags;
        int type, family;
    } cases[] = {
        {NETWORK_TCP | NETWORK_IPV4, SOCK_STREAM, AF_INET},
        {NETWORK_TCP | NETWORK_UDP | NETWORK_IPV4, SOCK_DGRAM, AF_INET},
        {NETWORK_IPV4, SOCK_DGRAM, AF_INET},
        {NETWORK_UDP | NETWORK_IPV6, SOCK_DGRAM, AF_INET6},
        {NETWORK_TCP | NETWORK_IPV4 | NETWORK_IPV6, SOCK_STREAM, AF_INET6},
        {0xFFFFFFF5, SOCK_STREAM, AF_INET},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.flags);
        const owned socket(network_socket_create(c.flags));
        ASSERT_FALSE(network_socket_failed(socket));
        const auto option = [&](int name) {
            int value = -1;
            socklen_t length = sizeof value;
            getsockopt(descriptor(socket), SOL_SOCKET, name, &value, &length);
            return value;
        };
        EXPECT_EQ(option(SO_TYPE), c.type);
        EXPECT_EQ(option(SO_DOMAIN), c.family);
        EXPECT_EQ(option(SO_REUSEADDR), 1);
    }
    for (const network_flags flags : {0u, 2u, 0xFFFFFFF0u}) {
        EXPECT_EQ(network_socket_create(flags), none);
    }
}

// What isn't a handle must not be cut to one that is open.
TEST(Sockets, NumbersThatAreNoHandlesFailInEveryCall) {
    const owned open = bound(NETWORK_IPV4);
    const NetworkAddress address = loopback(NETWORK_IPV4, port_of(open));
    char byte = 'x';
    for (const network_socket socket :
         {none, open + (u64{1} << 32), open | u64{1} << 63, u64{INT_MAX}}) {
        SCOPED_TRACE(socket);
        guarded_address peer;
        EXPECT_EQ(network_socket_destroy(socket), -1);
        EXPECT_EQ(network_tcp_disconnect(socket), -1);
        EXPECT_EQ(network_socket_bind(socket, address), 0);
        EXPECT_EQ(network_socket_set_blocking(socket, 0), 0);
        EXPECT_EQ(network_tcp_connect(socket, address), 0);
        EXPECT_EQ(network_tcp_listen(socket), 0);
        EXPECT_EQ(network_tcp_accept(socket, &peer.address), none);
        EXPECT_EQ(network_tcp_send(socket, 1, &byte), -1);
        EXPECT_EQ(network_tcp_receive(socket, 1, &byte), -1);
        EXPECT_EQ(network_udp_send(socket, 1, &byte, address), -1);
        EXPECT_EQ(network_udp_receive(socket, 1, &byte, &peer.address), -1);
        EXPECT_TRUE(peer.is_untouched_from(0));
        EXPECT_EQ(network_socket_failed(socket), socket == none);
    }
    EXPECT_EQ(port_of(open), network_address_get_port(address)) << "it is open still";
}

TEST(Sockets, UdpSocketsShareAPortThatIsAskedForNeverOneThatIsChosen) {
    std::array<owned, 600> sockets; // more than enough for chance to hit a port twice
    std::set<u16> ports;
    for (owned& socket : sockets) {
        socket = bound(NETWORK_UDP | NETWORK_IPV4);
        ports.insert(port_of(socket));
    }
    EXPECT_EQ(ports.size(), sockets.size());
    const owned second(network_socket_create(NETWORK_UDP | NETWORK_IPV4));
    EXPECT_TRUE(network_socket_bind(second, loopback(NETWORK_IPV4, port_of(sockets[0]))));
}

class SocketsOfBothFamilies : public testing::TestWithParam<network_flags> {
protected:
    const network_flags tcp = GetParam() | NETWORK_TCP, udp = GetParam() | NETWORK_UDP;
    const size_t address_size = GetParam() == NETWORK_IPV4 ? 16 : 28;
    const owned listener = listening(GetParam()), client{network_socket_create(tcp)};
    const NetworkAddress address = loopback(tcp, port_of(listener));
    guarded_address peer;
    char text[9] = "--------";
};

TEST_P(SocketsOfBothFamilies, AConnectionCarriesBytesBothWaysUntilItEnds) {
    const owned never_connected(network_socket_create(tcp));
    EXPECT_EQ(network_tcp_disconnect(never_connected), -1);
    ASSERT_TRUE(network_tcp_connect(client, address));
    const owned server(network_tcp_accept(listener, &peer.address));
    ASSERT_FALSE(network_socket_failed(server));
    EXPECT_TRUE(peer.is_untouched_from(address_size));
    EXPECT_EQ(network_address_get_port(peer.address), port_of(client));
    EXPECT_EQ(ip_of(peer.address), ip_of(address));

    EXPECT_EQ(network_tcp_send(client, 5, "hello and more"), 5);
    EXPECT_EQ(network_tcp_receive(server, 3, text), 3);
    EXPECT_STREQ(text, "hel-----");
    EXPECT_EQ(network_tcp_receive(server, 8, text), 2);
    EXPECT_STREQ(text, "lol-----");
    EXPECT_EQ(network_tcp_send(server, 1, "!"), 1);
    // A connection tells no sender: the record stays.
    guarded_address sender;
    EXPECT_EQ(network_udp_receive(client, 8, text, &sender.address), 1);
    EXPECT_TRUE(sender.is_untouched_from(0));

    EXPECT_EQ(network_tcp_disconnect(client), 0);
    EXPECT_EQ(network_tcp_receive(server, 8, text), 0);
    // Nobody is there to take this. A signal would end the test program.
    EXPECT_EQ(network_tcp_send(client, 1, "x"), -1);
    EXPECT_EQ(network_udp_send(client, 1, "x", address), -1);
}

TEST_P(SocketsOfBothFamilies, DatagramsArriveWholeCutOrEmptyWithTheirSender) {
    const owned from = bound(udp), to = bound(udp);
    const NetworkAddress target = loopback(udp, port_of(to));
    const struct {
        u32 size, room;
        i64 received;
        const char* text;
    } cases[] = {
        {8, 3, 3, "012-----"}, {0, 8, 0, "012-----"}, {2, 0, 0, "012-----"}, {5, 8, 5, "01234---"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        guarded_address sender;
        EXPECT_EQ(network_udp_send(from, c.size, "01234567", target), c.size);
        EXPECT_EQ(network_udp_receive(to, c.room, text, &sender.address), c.received);
        EXPECT_STREQ(text, c.text);
        EXPECT_TRUE(sender.is_untouched_from(address_size));
        EXPECT_EQ(network_address_get_port(sender.address), port_of(from));
        EXPECT_EQ(ip_of(sender.address), ip_of(target));
    }
    EXPECT_EQ(network_udp_send(from, 65536, std::string(65536, 'x').data(), target), -1);
}

TEST_P(SocketsOfBothFamilies, WithoutBlockingThereIsAnAnswerAtOnce) {
    const auto set_blocking = by_name<u8(u64, u64)>("network_socket_set_blocking");
    for (const u64 argument : {u64{1}, u64{0}, u64{0x80}, rubbish | 0x100}) {
        EXPECT_EQ(set_blocking(listener, argument), 1);
        const int flags = fcntl(descriptor(listener), F_GETFL);
        EXPECT_EQ((flags & O_NONBLOCK) == 0, (argument & 0xFF) != 0);
    }
    EXPECT_EQ(network_tcp_accept(listener, &peer.address), none);
    EXPECT_TRUE(peer.is_untouched_from(0));
    EXPECT_TRUE(network_socket_set_blocking(client, 0));
    // Repeated until it succeeds.
    while (network_tcp_connect(client, address) == 0) {
    }
    network_socket accepted = none;
    while ((accepted = network_tcp_accept(listener, &peer.address)) == none) {
    }
    const owned server(accepted);
    EXPECT_EQ(network_tcp_receive(client, 8, text), -1);
    EXPECT_EQ(fcntl(descriptor(server), F_GETFL) & O_NONBLOCK, 0);
}

INSTANTIATE_TEST_SUITE_P(Families, SocketsOfBothFamilies,
                         testing::Values(NETWORK_IPV4, NETWORK_IPV6));

// A host hands over a socket that it has from elsewhere, whose addresses have up to 110 bytes.
TEST(Sockets, ALongerAddressOfAnotherKindEndsWithTheRecord) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair), 0);
    const owned from(static_cast<network_socket>(pair[0])),
        to(static_cast<network_socket>(pair[1]));
    sockaddr_un name = {AF_UNIX, {}}; // without a file: the name starts with a zero byte
    std::snprintf(name.sun_path + 1, sizeof name.sun_path - 1, "halvorin %d", getpid());
    ASSERT_EQ(bind(pair[0], reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
    ASSERT_EQ(send(pair[0], "x", 1, 0), 1);
    guarded_address sender;
    char byte = 0;
    EXPECT_EQ(network_udp_receive(to, 1, &byte, &sender.address), 1);
    EXPECT_TRUE(sender.is_untouched_from(sizeof(NetworkAddress)));
}

} // namespace
