// SPDX-License-Identifier: Zlib
#include "support/sockets.h"

#include "api/frame.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <thread>

#include <sys/time.h>

using namespace sockets;

namespace {

using list = std::vector<network_socket>;

class SelectorsTest : public testing::Test {
protected:
    ~SelectorsTest() override {
        for (i32 i = 0; i < 1024; ++i) {
            network_selector_destroy(i);
        }
    }

    static list content(i32 number) {
        const NetworkSelector& s = selectors[number];
        return {s.sockets, s.sockets + s.count};
    }
    void add_all(const list& sockets) const {
        for (const network_socket socket : sockets) {
            network_selector_add(selector, socket);
        }
    }
    // What is ready, of an array with room for so many; the result comes first.
    list wait(i64 milliseconds, size_t room = 5) const {
        list ready(room, 77);
        const Slice array = {ready.data(), static_cast<i64>(room)};
        const i64 result = network_selector_wait(selector, milliseconds, array);
        ready.insert(ready.begin(), static_cast<network_socket>(result));
        while (ready.size() > 1 && ready.back() == 77) {
            ready.pop_back();
        }
        return ready;
    }
    i64 milliseconds_of_a_wait(i64 milliseconds) const {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(wait(milliseconds), list{0});
        const auto time = std::chrono::steady_clock::now() - start;
        return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    }

    // A socket that has something to receive, or hasn't.
    network_socket new_socket(bool ready) {
        owned_sockets.push_back(bound(NETWORK_IPV4));
        if (ready) {
            EXPECT_TRUE(tell(sender, owned_sockets.back(), "x"));
        }
        return owned_sockets.back();
    }
    // The same socket under another number.
    network_socket numbered(network_socket socket, int number) {
        const int copy = fcntl(descriptor(socket), F_DUPFD, number);
        EXPECT_EQ(copy, number);
        owned_sockets.push_back(owned(static_cast<network_socket>(copy)));
        return owned_sockets.back();
    }

    const owned sender = bound(NETWORK_IPV4);
    std::vector<owned> owned_sockets;
    const i32 selector = network_selector_create();
    static constexpr network_socket failed = none; // -1 as the first number of a wait
};

TEST_F(SelectorsTest, TheLowestFreeNumberWinsAndThereAre1024) {
    for (i32 i = 1; i < 1024; ++i) {
        ASSERT_EQ(network_selector_create(), i);
    }
    EXPECT_EQ(network_selector_create(), -1);
    EXPECT_EQ(num_selectors, 1024);
    network_selector_add(1023, 7);
    EXPECT_EQ(content(1023), list{7});
    network_selector_destroy(1023);
    network_selector_destroy(700);
    EXPECT_EQ(network_selector_create(), 700);
    EXPECT_EQ(num_selectors, 1024);
    for (const i32 number : {-1, 0, 1023, 1024, -2}) {
        EXPECT_EQ(network_selector_failed(number), number == -1);
    }
}

TEST_F(SelectorsTest, ListsKeepWhatIsAddedAndFillTheGapsFromTheEnd) {
    const auto remove = [&](network_socket socket, const list& expected) {
        network_selector_remove(selector, socket);
        EXPECT_EQ(content(selector), expected) << "without " << socket;
    };
    add_all({10, 11, 12, 13});
    remove(11, {10, 13, 12});
    remove(12, {10, 13});
    remove(99, {10, 13});
    add_all({10, none});
    remove(10, {none, 13, 10});
    remove(none, {10, 13});
    remove(13, {10});
    remove(10, {});
    remove(10, {});
}

// More texts than the arena holds pass by, twice, while two lists grow in turn. The number that is
// handed out again starts empty, with the old room.
TEST_F(SelectorsTest, ListsGrowByDoublingAndOutliveAnyUseOfTheScratchMemory) {
    i32 other = network_selector_create();
    while (selectors[other].sockets != nullptr) {
        other = network_selector_create();
    }
    list expected;
    for (network_socket i = 0; i < 100; ++i) {
        const u64 capacity = i == 0 ? 0 : std::max(u64{8}, std::bit_ceil(i));
        EXPECT_EQ(static_cast<u64>(selectors[other].capacity), capacity);
        network_selector_add(selector, i);
        network_selector_add(other, 1000 - i);
        expected.push_back(1000 - i);
        for (int text = 0; text < 200; ++text) {
            Slice result;
            network_address_get_ip(&result, {});
        }
        ASSERT_EQ(content(other), expected);
    }
    EXPECT_EQ(content(selector).back(), 99u);
    const NetworkSelector before = selectors[selector];
    network_selector_destroy(selector);
    EXPECT_EQ(selectors[selector].in_use, 0);
    ASSERT_EQ(network_selector_create(), selector);
    EXPECT_EQ(content(selector), list{});
    EXPECT_EQ(selectors[selector].sockets, before.sockets);
    EXPECT_EQ(selectors[selector].capacity, before.capacity);
}

// What waited in spite of it would do so for ever.
TEST_F(SelectorsTest, NumbersOfNoSelectorDoNothing) {
    const network_socket socket = new_socket(true);
    network_selector_add(selector, socket);
    network_selector_destroy(selector);
    network_socket ready = none;
    for (const i32 number : {-1, 1024, INT_MIN, INT_MAX, selector}) {
        network_selector_add(number, socket);
        network_selector_remove(number, socket);
        network_selector_destroy(number);
        EXPECT_EQ(network_selector_wait(number, INT64_MAX, {&ready, 1}), 0);
        EXPECT_EQ(network_selector_wait(number, -1, {&ready, 1}), 0);
    }
    EXPECT_EQ(ready, none);
    EXPECT_EQ(content(selector), list{socket});
}

TEST_F(SelectorsTest, ReadySocketsComeInTheListsOrderAsManyAsHaveRoom) {
    list s;
    for (const bool ready : {false, true, false, true, true}) {
        s.push_back(new_socket(ready));
    }
    // As they were made, and with an older one behind them.
    for (int round = 0; round < 2; ++round) {
        add_all(s);
        EXPECT_EQ(wait(0, 2), (list{3, s[1], s[3]}));
        EXPECT_EQ(wait(0, 6), (list{3, s[1], s[3], s[4]}));
        const auto nowhere = reinterpret_cast<void*>(uintptr_t{1});
        for (const i64 room : {i64{0}, i64{-1}, INT64_MIN}) {
            EXPECT_EQ(network_selector_wait(selector, 0, {nowhere, room}), 3);
        }
        for (const network_socket socket : s) {
            network_selector_remove(selector, socket);
        }
        std::swap(s[1], s[4]);
    }
    // Twice in the list, twice in the array; but one socket in the count.
    add_all({s[0], s[1], s[2], s[3], s[3], s[4]});
    EXPECT_EQ(wait(0, 2), (list{3, s[1], s[3]}));
    EXPECT_EQ(wait(0), (list{3, s[1], s[3], s[3], s[4]}));
}

TEST_F(SelectorsTest, OnlyTheFirst64DifferentSocketsAreWaitedFor) {
    list s;
    for (int i = 0; i < 70; ++i) {
        s.push_back(new_socket(i >= 62));
    }
    add_all(s);
    EXPECT_EQ(wait(0), (list{2, s[62], s[63]})) << "each once, as they were made";
    for (const network_socket socket : s) {
        network_selector_remove(selector, socket);
    }
    for (const network_socket socket : s) {
        add_all({socket, s.front()});
    }
    EXPECT_EQ(wait(0), (list{2, s[62], s[63]}));
    // What is passed over isn't looked at either, be it no socket at all.
    network_selector_add(selector, none);
    EXPECT_EQ(wait(0), (list{2, s[62], s[63]}));
    network_selector_remove(selector, none);
    // The last two entries, the 1st socket again and the 70th, move into the gaps, and the 65th
    // moves up in place of the one that left.
    network_selector_remove(selector, s[1]);
    network_selector_remove(selector, s[2]);
    EXPECT_EQ(wait(0), (list{4, s[69], s[62], s[63], s[64]}));
}

// Handles of one low byte, and handles beyond what select has room for.
TEST_F(SelectorsTest, TheNumbersOfHandlesDontMatter) {
    const network_socket idle = new_socket(false), busy = new_socket(true);
    constexpr int highest = 1500 + 256 * 3;
    if (sysconf(_SC_OPEN_MAX) <= highest) {
        GTEST_SKIP() << "this process may not have " << highest << " open files";
    }
    add_all({numbered(idle, 1500), numbered(busy, 1500 + 256), numbered(idle, 1500 + 512),
             numbered(busy, highest), busy});
    EXPECT_EQ(wait(1000), (list{3, 1500 + 256, highest, busy}));
}

TEST_F(SelectorsTest, NoSocketsAndNegativeTimesAreFailuresAtOnce) {
    const network_socket busy = new_socket(true);
    EXPECT_EQ(wait(-1), list{failed});
    network_selector_add(selector, busy);
    for (const i64 time : {i64{-1}, i64{-4294967296}, INT64_MIN}) {
        EXPECT_EQ(wait(time), list{failed});
    }
    const network_socket closed = bound(NETWORK_IPV4);
    for (const network_socket socket : {none, closed, busy + (u64{1} << 32)}) {
        network_selector_add(selector, socket);
        EXPECT_EQ(wait(INT64_MAX), list{failed}) << socket;
        network_selector_remove(selector, socket);
    }
    EXPECT_EQ(wait(0), (list{1, busy}));
}

// Cut to 32 bits, or added to the time of day, the long ones would be no time, or in the past.
TEST_F(SelectorsTest, AWaitLastsItsTimeHoweverLong) {
    EXPECT_GE(milliseconds_of_a_wait(60), 60) << "with an empty list too";
    const network_socket socket = new_socket(false);
    network_selector_add(selector, socket);
    EXPECT_GE(milliseconds_of_a_wait(1100), 1100);
    for (const i64 time : {i64{1} << 32, i64{1} << 31, i64{4294967296000}, INT64_MAX}) {
        std::thread other([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(60));
            EXPECT_TRUE(tell(sender, socket, "x"));
        });
        EXPECT_EQ(wait(time), (list{1, socket})) << time;
        other.join();
        char byte;
        NetworkAddress from;
        EXPECT_EQ(network_udp_receive(socket, 1, &byte, &from), 1);
    }
}

TEST_F(SelectorsTest, ConnectionsAndTheirEndsAreReady) {
    const owned listener = listening(NETWORK_IPV4);
    connection pair;
    add_all({listener, pair.server});
    EXPECT_EQ(wait(0), list{0});
    const owned client(network_socket_create(NETWORK_TCP | NETWORK_IPV4));
    EXPECT_TRUE(network_tcp_connect(client, loopback(NETWORK_IPV4, port_of(listener))));
    EXPECT_EQ(wait(1000), (list{1, listener}));
    network_selector_remove(selector, listener);
    network_tcp_disconnect(pair.client);
    EXPECT_EQ(wait(1000), (list{1, pair.server}));
}

volatile std::sig_atomic_t alarms = 0;

void alarm_every(long microseconds) {
    const timeval time = {0, microseconds};
    const itimerval timer = {time, time};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

TEST_F(SelectorsTest, SignalsDontEndAWait) {
    const network_socket socket = new_socket(false);
    network_selector_add(selector, socket);
    // Without SA_RESTART: system calls are interrupted.
    struct sigaction action = {}, before;
    action.sa_handler = [](int) { alarms = alarms + 1; };
    sigaction(SIGALRM, &action, &before);
    alarm_every(10000);
    EXPECT_GE(milliseconds_of_a_wait(300), 300);
    alarm_every(0);
    sigaction(SIGALRM, &before, nullptr);
    EXPECT_GT(alarms, 5);
}

} // namespace
