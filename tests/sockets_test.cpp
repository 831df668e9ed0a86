// SPDX-License-Identifier: Zlib
#include "support/guarded_text.h"
#include "support/sockets.h"

#include "api/frame.h"

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
        for (size_t i = first; i < sizeof *this; ++i) {
            if (bytes[i] != 0xAA) return false;
        }
        return true;
    }
};

std::string ip_of(const NetworkAddress& address) {
    Slice text;
    network_address_get_ip(&text, address);
    return text_of(text);
}

TEST(Addresses, NumericHostsAndTheEmptyOneComeOutByteForByte) {
    const struct {
        std::string_view host;
        u16 port;
        network_flags flags;
        std::array<u8, 32> expected; // behind the family
        const char* text;
    } cases[] = {
        {"", 80, NETWORK_IPV4 | NETWORK_TCP, {0, 80}, "0.0.0.0"},
        {"", 80, NETWORK_IPV4, {0, 80}, "0.0.0.0"},
        {"", 0xFFFE, NETWORK_IPV6 | NETWORK_UDP, {0xFF, 0xFE}, "::"},
        {"127.0.0.1", 8080, NETWORK_IPV4, {0x1F, 0x90, 127, 0, 0, 1}, "127.0.0.1"},
        {"127.1.2.3"sv, 0, 0, {0, 0, 127, 1, 2, 3}, "127.1.2.3"},
        {"127.0.0.1\0.9"sv, 1, 5, {0, 1, 127, 0, 0, 1}, "127.0.0.1"},
        {"255.255.255.255", 1, 5, {0, 1, 255, 255, 255, 255}, "255.255.255.255"},
        {"*", 1, 5, {0, 1, 127, 0, 0, 1}, "127.0.0.1"},
        {"localhost", 256, 0xFFFFFFF6, {1, 0, 127, 0, 0, 1}, "127.0.0.1"},
        {"::1", 1, 12, {0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, "::1"},
        {"2001:db8::ff00:42:8329",
         0,
         NETWORK_IPV6,
         {0, 0, 0, 0, 0, 0, 0x20, 1, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0xff, 0, 0, 0x42, 0x83, 0x29},
         "2001:db8::ff00:42:8329"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.host);
        const guarded_text host(c.host);
        guarded_address found;
        network_address_find(&found.address, host.slice(), c.port, c.flags);
        const bool is_ipv6 = std::string_view(c.text).find(':') != std::string_view::npos;
        EXPECT_EQ(found.address.family, is_ipv6 ? AF_INET6 : AF_INET);
        EXPECT_EQ(std::memcmp(found.address.port, c.expected.data(), 30), 0);
        EXPECT_TRUE(found.is_untouched_from(32));
        EXPECT_EQ(ip_of(found.address), c.text);
        EXPECT_EQ(network_address_get_port(found.address), c.port);
    }
}

// None of these asks a name server.
TEST(Addresses, AHostThatIsntFoundGivesZerosThatNothingConnectsTo) {
    const std::string too_long(16384, 'a');
    const i32 position = temporary_pos;
    EXPECT_TRUE(same(address_of(too_long, 1, NETWORK_IPV4), {}));
    EXPECT_EQ(temporary_pos, position);
    const NetworkAddress not_found = address_of("127.0.0.1", 80, NETWORK_IPV6);
    EXPECT_TRUE(same(not_found, {}));
    EXPECT_TRUE(same(address_of("::1", 80, NETWORK_IPV4 | NETWORK_TCP), {}));
    EXPECT_EQ(ip_of(not_found), "");
    NetworkAddress other = {};
    other.family = 1;
    EXPECT_EQ(ip_of(other), "");

    const owned socket(network_socket_create(NETWORK_TCP | NETWORK_IPV4));
    EXPECT_FALSE(network_socket_bind(socket, not_found));
    EXPECT_FALSE(network_tcp_connect(socket, not_found));
    EXPECT_EQ(port_of(socket), 0);
    connection pair;
    EXPECT_FALSE(network_tcp_connect(pair.client, not_found));
    EXPECT_EQ(network_tcp_send(pair.client, 1, "x"), 1);
    EXPECT_EQ(network_udp_send(bound(NETWORK_IPV4), 1, "x", not_found), -1);
}

TEST(Addresses, TextsStandInBlocksOfTheirOwn) {
    Slice first, second;
    network_address_get_ip(&first, address_of("127.0.0.1", 1, NETWORK_IPV4));
    network_address_get_ip(&second, address_of("::1", 1, NETWORK_IPV6));
    EXPECT_EQ(text_of(first), "127.0.0.1");
    EXPECT_EQ(text_of(second), "::1");
    const auto distance = static_cast<char*>(second.data) - static_cast<char*>(first.data);
    EXPECT_TRUE(distance == 64 || distance < 0) << distance;
    // Once round the arena: a record of no family doesn't give what its block held before.
    for (int i = 0; i < 524288 / 64; ++i) {
        network_address_get_ip(&first, address_of("127.0.0.1", 1, NETWORK_IPV4));
    }
    EXPECT_EQ(ip_of({}), "");
}

TEST(Sockets, FlagsDecideTransportAndFamily) {
    const struct {
        network_flags flags;
        int type, family;
    } cases[] = {
        {NETWORK_TCP | NETWORK_IPV4, SOCK_STREAM, AF_INET},
        {NETWORK_UDP | NETWORK_IPV4, SOCK_DGRAM, AF_INET},
        {NETWORK_TCP | NETWORK_UDP | NETWORK_IPV4, SOCK_DGRAM, AF_INET},
        {NETWORK_IPV4, SOCK_DGRAM, AF_INET},
        {NETWORK_TCP | NETWORK_IPV6, SOCK_STREAM, AF_INET6},
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
    for (const network_flags flags : {0u, 1u, 2u, 0xFFFFFFF0u}) {
        EXPECT_EQ(network_socket_create(flags), none);
    }
}

// What isn't a handle must not be cut to one that is open.
TEST(Sockets, NumbersThatAreNoHandlesFailInEveryCall) {
    const owned open = bound(NETWORK_IPV4);
    const NetworkAddress address = loopback(NETWORK_IPV4, port_of(open));
    const network_socket numbers[] = {none, open + (u64{1} << 32), open | u64{1} << 63,
                                      network_socket{INT_MAX}, u64{1} << 31};
    char byte = 'x';
    for (const network_socket socket : numbers) {
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
    }
    EXPECT_TRUE(is_open(open));
    EXPECT_EQ(network_socket_failed(none), 1);
    for (const network_socket socket : {network_socket{0}, network_socket{0xFFFFFFFF}, none - 1}) {
        EXPECT_EQ(network_socket_failed(socket), 0);
    }
}

TEST(Sockets, AddressesInUseAreRefusedAndLeftOnesTakenAtOnce) {
    u16 port = 0;
    {
        const owned listener = listening(NETWORK_IPV4);
        port = port_of(listener);
        const owned second(network_socket_create(NETWORK_TCP | NETWORK_IPV4));
        EXPECT_FALSE(network_socket_bind(second, loopback(NETWORK_IPV4, port)) &&
                     network_tcp_listen(second));
        const owned client(network_socket_create(NETWORK_TCP | NETWORK_IPV4));
        EXPECT_TRUE(network_tcp_connect(client, loopback(NETWORK_IPV4, port)));
        NetworkAddress peer;
        // The side that closes first keeps the port in TIME_WAIT.
        EXPECT_EQ(network_socket_destroy(network_tcp_accept(listener, &peer)), 0);
    }
    const owned client(network_socket_create(NETWORK_TCP | NETWORK_IPV4));
    EXPECT_FALSE(network_tcp_connect(client, loopback(NETWORK_IPV4, port))) << "nobody listens";
    const owned again(network_socket_create(NETWORK_TCP | NETWORK_IPV4));
    EXPECT_TRUE(network_socket_bind(again, loopback(NETWORK_IPV4, port)));
    EXPECT_TRUE(network_tcp_listen(again));
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
    const size_t address_size = GetParam() == NETWORK_IPV4 ? 16 : 28;
};

TEST_P(SocketsOfBothFamilies, AConnectionCarriesBytesBothWaysUntilItEnds) {
    const network_flags flags = GetParam() | NETWORK_TCP;
    const owned listener = listening(GetParam());
    const owned client(network_socket_create(flags));
    ASSERT_TRUE(network_tcp_connect(client, loopback(flags, port_of(listener))));
    guarded_address peer;
    const owned server(network_tcp_accept(listener, &peer.address));
    ASSERT_FALSE(network_socket_failed(server));
    EXPECT_TRUE(peer.is_untouched_from(address_size));
    EXPECT_EQ(network_address_get_port(peer.address), port_of(client));
    EXPECT_EQ(ip_of(peer.address), ip_of(loopback(flags)));

    char text[8] = "-------";
    EXPECT_EQ(network_tcp_send(client, 5, "hello and more"), 5);
    EXPECT_EQ(network_tcp_receive(server, 3, text), 3);
    EXPECT_STREQ(text, "hel----");
    EXPECT_EQ(network_tcp_receive(server, sizeof text, text), 2);
    EXPECT_STREQ(text, "lol----");
    EXPECT_EQ(network_tcp_send(server, 1, "!"), 1);
    // A connection tells no sender: the record stays.
    guarded_address sender;
    EXPECT_EQ(network_udp_receive(client, sizeof text, text, &sender.address), 1);
    EXPECT_TRUE(sender.is_untouched_from(0));

    EXPECT_EQ(network_tcp_disconnect(client), 0);
    EXPECT_EQ(network_tcp_receive(server, sizeof text, text), 0);
    // Nobody is there to take this. A signal would end the test program.
    EXPECT_EQ(network_tcp_send(client, 1, "x"), -1);
    EXPECT_EQ(network_udp_send(client, 1, "x", loopback(flags, port_of(listener))), -1);
    EXPECT_EQ(network_tcp_disconnect(listener), 0);
    const owned never_connected(network_socket_create(flags));
    EXPECT_EQ(network_tcp_receive(never_connected, 1, text), -1);
    EXPECT_EQ(network_tcp_disconnect(never_connected), -1);
}

TEST_P(SocketsOfBothFamilies, DatagramsArriveWholeCutOrEmptyWithTheirSender) {
    const network_flags flags = GetParam() | NETWORK_UDP;
    const owned from = bound(flags);
    const owned to = bound(flags);
    const NetworkAddress address = loopback(flags, port_of(to));
    const struct {
        u32 size, room;
        i64 received;
    } cases[] = {{5, 8, 5}, {8, 8, 8}, {8, 3, 3}, {0, 8, 0}, {2, 0, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.size);
        char text[] = "--------";
        guarded_address sender;
        EXPECT_EQ(network_udp_send(from, c.size, "01234567", address), c.size);
        EXPECT_EQ(network_udp_receive(to, c.room, text, &sender.address), c.received);
        const auto count = static_cast<size_t>(c.received);
        EXPECT_EQ(text, std::string("01234567").substr(0, count) + std::string(8 - count, '-'));
        EXPECT_TRUE(sender.is_untouched_from(address_size));
        EXPECT_EQ(network_address_get_port(sender.address), port_of(from));
        EXPECT_EQ(ip_of(sender.address), ip_of(address));
    }
    EXPECT_EQ(network_udp_send(from, 65536, std::string(65536, 'x').data(), address), -1);
}

TEST_P(SocketsOfBothFamilies, WithoutBlockingThereIsAnAnswerAtOnce) {
    const auto set_blocking = by_name<u8(u64, u64)>("network_socket_set_blocking");
    const network_flags flags = GetParam() | NETWORK_TCP;
    const owned listener = listening(GetParam());
    const struct {
        u64 argument;
        bool blocks;
    } cases[] = {{1, true}, {0, false}, {0x80, true}, {2, true}, {rubbish | 0x100, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(set_blocking(listener, c.argument), 1);
        EXPECT_EQ((fcntl(descriptor(listener), F_GETFL) & O_NONBLOCK) == 0, c.blocks);
    }

    guarded_address peer;
    EXPECT_EQ(network_tcp_accept(listener, &peer.address), none);
    EXPECT_TRUE(peer.is_untouched_from(0));
    const owned client(network_socket_create(flags));
    EXPECT_TRUE(network_socket_set_blocking(client, 0));
    const NetworkAddress address = loopback(flags, port_of(listener));
    // Repeated until it succeeds.
    while (network_tcp_connect(client, address) == 0) {
    }
    network_socket accepted = none;
    while ((accepted = network_tcp_accept(listener, &peer.address)) == none) {
    }
    const owned server(accepted);
    char text[4];
    EXPECT_EQ(network_tcp_receive(client, sizeof text, text), -1);
    EXPECT_EQ(fcntl(descriptor(server), F_GETFL) & O_NONBLOCK, 0);
    // Until there is no more room, only part of which may be taken at the end.
    const std::string block(1 << 20, 'x');
    i64 sent = 0;
    for (i64 count = 0; count >= 0; sent += count > 0 ? count : 0) {
        count = network_tcp_send(client, 1 << 20, block.data());
        ASSERT_LT(sent, i64{1} << 30);
    }
    EXPECT_GT(sent, 0);

    const owned datagrams = bound(GetParam() | NETWORK_UDP);
    EXPECT_TRUE(network_socket_set_blocking(datagrams, 0));
    EXPECT_EQ(network_udp_receive(datagrams, sizeof text, text, &peer.address), -1);
}

INSTANTIATE_TEST_SUITE_P(Families, SocketsOfBothFamilies,
                         testing::Values(NETWORK_IPV4, NETWORK_IPV6),
                         [](const auto& family) { return family.param == 4 ? "IPv4" : "IPv6"; });

// A host hands over a socket that it has from elsewhere, whose addresses have up to 110 bytes.
TEST(Sockets, ALongerAddressOfAnotherKindEndsWithTheRecord) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair), 0);
    const owned from(static_cast<network_socket>(pair[0]));
    const owned to(static_cast<network_socket>(pair[1]));
    sockaddr_un name = {AF_UNIX, {}}; // without a file: the name starts with a zero byte
    std::memset(name.sun_path + 1, 'n', sizeof name.sun_path - 1);
    const auto unique = std::to_string(getpid());
    std::memcpy(name.sun_path + 1, unique.data(), unique.size());
    ASSERT_EQ(bind(pair[0], reinterpret_cast<sockaddr*>(&name), sizeof name), 0);
    ASSERT_EQ(send(pair[0], "x", 1, 0), 1);
    guarded_address sender;
    char byte = 0;
    EXPECT_EQ(network_udp_receive(to, 1, &byte, &sender.address), 1);
    EXPECT_EQ(byte, 'x');
    EXPECT_TRUE(sender.is_untouched_from(sizeof(NetworkAddress)));
}

TEST(Addresses, OnlyTheLow16BitsOfAPortCount) {
    const auto find = by_name<void(NetworkAddress*, Slice, u64, u64)>("network_address_find");
    NetworkAddress address;
    find(&address, slice("127.0.0.1"), rubbish | 0x12340050, rubbish | NETWORK_IPV4);
    EXPECT_TRUE(same(address, address_of("127.0.0.1", 0x50, NETWORK_IPV4)));
    find(&address, slice(""), 0x10000, NETWORK_IPV4);
    EXPECT_EQ(network_address_get_port(address), 0);
    NetworkAddress other = {};
    other.family = 77;
    other.port[0] = 0x1F;
    other.port[1] = 0x90;
    EXPECT_EQ(network_address_get_port(other), 8080);
}

} // namespace
