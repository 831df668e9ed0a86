// SPDX-License-Identifier: Zlib
#include "support/heap_calls.h"
#include "support/sockets.h"

#include "api/frame.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <thread>

#include <sys/time.h>

using namespace sockets;

namespace {

using list = std::vector<network_socket>;

i64 milliseconds_of(const std::function<void()>& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    const auto time = std::chrono::steady_clock::now() - start;
    return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
}

class SelectorsTest : public testing::Test {
protected:
    ~SelectorsTest() override {
        for (i32 i = 0; i < 1024; ++i) {
            network_selector_destroy(i);
        }
    }

    list content(i32 number) const {
        const NetworkSelector& s = selectors[number];
        return {s.sockets, s.sockets + s.count};
    }
    // One that has never had a list.
    static i32 fresh_selector() {
        i32 fresh = network_selector_create();
        while (selectors[fresh].sockets != nullptr) {
            fresh = network_selector_create();
        }
        return fresh;
    }
    void add_all(const list& sockets) const {
        for (const network_socket socket : sockets) {
            network_selector_add(selector, socket);
        }
    }
    i64 wait(i64 milliseconds, list& ready) const {
        const Slice room = {ready.data(), static_cast<i64>(ready.size())};
        return network_selector_wait(selector, milliseconds, room);
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
};

TEST_F(SelectorsTest, TheLowestFreeNumberWinsAndThereAre1024) {
    EXPECT_EQ(selector, 0);
    EXPECT_EQ(network_selector_create(), 1);
    EXPECT_EQ(network_selector_create(), 2);
    network_selector_destroy(1);
    EXPECT_EQ(network_selector_create(), 1);
    for (i32 i = 3; i < 1024; ++i) {
        ASSERT_EQ(network_selector_create(), i);
    }
    EXPECT_EQ(network_selector_create(), -1);
    EXPECT_EQ(num_selectors, 1024);
    network_selector_add(1023, 7);
    EXPECT_EQ(content(1023), list{7});
    network_selector_destroy(1023);
    network_selector_destroy(700);
    EXPECT_EQ(num_selectors, 1024);
    EXPECT_EQ(network_selector_create(), 700);
    EXPECT_EQ(network_selector_failed(-1), 1);
    for (const i32 number : {0, 1023, 1024, -2, INT_MIN}) {
        EXPECT_EQ(network_selector_failed(number), 0);
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
    add_all({10, 14, none});
    remove(10, {none, 13, 10, 14});
    remove(none, {14, 13, 10});
    remove(13, {14, 10});
    remove(10, {14});
    remove(14, {});
    remove(14, {});

    const i32 fresh = fresh_selector();
    list expected;
    for (network_socket i = 0; i < 17; ++i) {
        EXPECT_EQ(selectors[fresh].capacity, i == 0 ? 0 : i <= 8 ? 8 : 16);
        network_selector_add(fresh, 100 + i);
        expected.push_back(100 + i);
        EXPECT_EQ(content(fresh), expected);
    }
    EXPECT_EQ(selectors[fresh].capacity, 32);
}

// More texts than the arena holds pass by, twice, while two lists grow in turn.
TEST_F(SelectorsTest, ListsOutliveAnyUseOfTheScratchMemory) {
    const i32 other = network_selector_create();
    list expected;
    for (network_socket i = 0; i < 100; ++i) {
        network_selector_add(selector, i);
        network_selector_add(other, 1000 - i);
        expected.push_back(i);
        for (int text = 0; text < 200; ++text) {
            Slice result;
            network_address_get_ip(&result, loopback(NETWORK_IPV4));
        }
    }
    EXPECT_EQ(content(selector), expected);
    EXPECT_EQ(content(other).back(), 901u);
}

TEST_F(SelectorsTest, ANumberHandedOutAgainStartsEmptyWithTheOldRoom) {
    for (network_socket i = 0; i < 20; ++i) {
        network_selector_add(selector, i);
    }
    const NetworkSelector before = selectors[selector];
    network_selector_destroy(selector);
    EXPECT_EQ(selectors[selector].in_use, 0);
    ASSERT_EQ(network_selector_create(), selector);
    EXPECT_EQ(content(selector), list{});
    EXPECT_EQ(selectors[selector].sockets, before.sockets);
    EXPECT_EQ(selectors[selector].capacity, before.capacity);
    list ready(2);
    EXPECT_EQ(wait(0, ready), 0);
    network_selector_add(selector, 5);
    EXPECT_EQ(content(selector), list{5});
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
    list sockets;
    for (const bool ready : {false, true, false, true, true}) {
        sockets.push_back(new_socket(ready));
    }
    std::swap(sockets[1], sockets[4]);
    add_all(sockets);
    for (const size_t room : {0u, 2u, 3u, 6u}) {
        SCOPED_TRACE(room);
        list ready(room, 77);
        EXPECT_EQ(wait(0, ready), 3);
        list expected = {sockets[1], sockets[3], sockets[4], 77, 77, 77};
        expected.resize(room);
        EXPECT_EQ(ready, expected);
    }
    const auto nowhere = reinterpret_cast<void*>(uintptr_t{1});
    EXPECT_EQ(network_selector_wait(selector, 0, {nowhere, 0}), 3);
    EXPECT_EQ(network_selector_wait(selector, 0, {nowhere, -1}), 3);
    EXPECT_EQ(network_selector_wait(selector, 0, {nowhere, INT64_MIN}), 3);

    // Twice in the list, twice in the array; but one socket in the count.
    network_selector_add(selector, sockets[3]);
    list ready(5, 77);
    EXPECT_EQ(network_selector_wait(selector, 0, {ready.data(), 2}), 3);
    EXPECT_EQ(ready, (list{sockets[1], sockets[3], 77, 77, 77}));
    EXPECT_EQ(wait(0, ready), 3);
    EXPECT_EQ(ready, (list{sockets[1], sockets[3], sockets[4], sockets[3], 77}));
}

TEST_F(SelectorsTest, OnlyTheFirst64DifferentSocketsAreWaitedFor) {
    list sockets;
    for (int i = 0; i < 70; ++i) {
        sockets.push_back(new_socket(i >= 62));
        network_selector_add(selector, sockets.back());
        network_selector_add(selector, sockets.front());
    }
    list ready(10, 77);
    EXPECT_EQ(wait(0, ready), 2);
    EXPECT_EQ(ready, (list{sockets[62], sockets[63], 77, 77, 77, 77, 77, 77, 77, 77}));
    // What is passed over isn't looked at either, be it no socket at all.
    network_selector_add(selector, none);
    EXPECT_EQ(wait(0, ready), 2);
    network_selector_remove(selector, none);
    // The last two entries, the 1st socket again and the 70th, move into the gaps, and the 65th
    // moves up in place of the one that left.
    network_selector_remove(selector, sockets[1]);
    network_selector_remove(selector, sockets[2]);
    EXPECT_EQ(wait(0, ready), 4);
    ready.resize(5);
    EXPECT_EQ(ready, (list{sockets[69], sockets[62], sockets[63], sockets[64], 77}));
}

// Handles of one low byte, and handles beyond what select has room for.
TEST_F(SelectorsTest, TheNumbersOfHandlesDontMatter) {
    const network_socket idle = new_socket(false);
    const network_socket busy = new_socket(true);
    constexpr int highest = 1500 + 256 * 3;
    if (sysconf(_SC_OPEN_MAX) <= highest) {
        GTEST_SKIP() << "this process may not have " << highest << " open files";
    }
    add_all({numbered(idle, 1500), numbered(busy, 1500 + 256), numbered(idle, 1500 + 512),
             numbered(busy, highest), busy});
    list ready(4, 77);
    EXPECT_EQ(wait(1000, ready), 3);
    EXPECT_EQ(ready, (list{1500 + 256, highest, busy, 77}));
}

TEST_F(SelectorsTest, NoSocketsAndNegativeTimesAreFailuresAtOnce) {
    const network_socket busy = new_socket(true);
    list ready(1, 77);
    for (const i64 time : {i64{-1}, i64{-1000}, i64{-4294967296}, INT64_MIN}) {
        EXPECT_EQ(wait(time, ready), -1);
    }
    network_selector_add(selector, busy);
    EXPECT_EQ(wait(-1, ready), -1);
    const network_socket closed = bound(NETWORK_IPV4);
    for (const network_socket socket : {none, closed, busy + (u64{1} << 32), busy | u64{1} << 31}) {
        SCOPED_TRACE(socket);
        network_selector_add(selector, socket);
        EXPECT_EQ(wait(INT64_MAX, ready), -1);
        network_selector_remove(selector, socket);
    }
    EXPECT_EQ(ready[0], 77u);
    EXPECT_EQ(wait(0, ready), 1);
}

TEST_F(SelectorsTest, TimeIsUpAfterTheTimeForAnEmptyListToo) {
    list ready(1, 77);
    EXPECT_GE(milliseconds_of([&] { EXPECT_EQ(wait(60, ready), 0); }), 60);
    network_selector_add(selector, new_socket(false));
    EXPECT_GE(milliseconds_of([&] { EXPECT_EQ(wait(1100, ready), 0); }), 1100);
    EXPECT_EQ(ready[0], 77u);
}

// Cut to 32 bits, or added to the time of day, they would be no time, or in the past.
TEST_F(SelectorsTest, NoTimeIsTooLong) {
    const network_socket socket = new_socket(false);
    network_selector_add(selector, socket);
    for (const i64 time : {i64{1} << 32, i64{1} << 31, i64{4294967296000}, INT64_MAX}) {
        SCOPED_TRACE(time);
        std::thread other([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(60));
            EXPECT_TRUE(tell(sender, socket, "x"));
        });
        list ready(1, 77);
        EXPECT_EQ(wait(time, ready), 1);
        other.join();
        EXPECT_EQ(ready[0], socket);
        char byte;
        NetworkAddress from;
        EXPECT_EQ(network_udp_receive(socket, 1, &byte, &from), 1);
    }
}

// Connections, ends and failures count as readable.
TEST_F(SelectorsTest, ReadyIsWhateverTheNextCallWontWaitFor) {
    const owned listener = listening(NETWORK_IPV4);
    connection pair;
    const auto expect_only = [&](network_socket socket) {
        list ready(3, 77);
        EXPECT_EQ(wait(1000, ready), 1);
        EXPECT_EQ(ready[0], socket);
    };
    list none_ready(3);
    add_all({listener, pair.server});
    EXPECT_EQ(wait(0, none_ready), 0);
    const owned client(network_socket_create(NETWORK_TCP | NETWORK_IPV4));
    ASSERT_TRUE(network_tcp_connect(client, loopback(NETWORK_IPV4, port_of(listener))));
    expect_only(listener);
    NetworkAddress address;
    owned accepted(network_tcp_accept(listener, &address));
    EXPECT_EQ(wait(0, none_ready), 0);

    network_tcp_disconnect(pair.client);
    expect_only(pair.server);
    network_selector_remove(selector, pair.server);
    // What is closed with bytes unread resets its connection.
    EXPECT_EQ(network_tcp_send(client, 1, "x"), 1);
    network_selector_add(selector, accepted);
    expect_only(accepted);
    network_selector_remove(selector, accepted);
    network_selector_add(selector, client);
    EXPECT_EQ(wait(0, none_ready), 0);
    accepted = owned();
    expect_only(client);
    char byte;
    EXPECT_EQ(network_tcp_receive(client, 1, &byte), -1);
}

volatile std::sig_atomic_t alarms = 0;

// Ten milliseconds apart, with a handler that has system calls interrupted.
class interval_alarm {
public:
    interval_alarm() {
        struct sigaction action = {};
        action.sa_handler = [](int) { alarms = alarms + 1; };
        sigaction(SIGALRM, &action, &before);
        set({0, 10000});
    }
    ~interval_alarm() {
        set({0, 0});
        sigaction(SIGALRM, &before, nullptr);
    }

private:
    void set(timeval time) {
        const itimerval timer = {time, time};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
    struct sigaction before;
};

TEST_F(SelectorsTest, SignalsDontEndAWait) {
    const network_socket socket = new_socket(false);
    network_selector_add(selector, socket);
    list ready(1, 77);
    const interval_alarm interrupting;
    alarms = 0;
    const i64 time = milliseconds_of([&] { EXPECT_EQ(wait(300, ready), 0); });
    EXPECT_GT(alarms, 5);
    EXPECT_GE(time, 300);
    EXPECT_TRUE(tell(sender, socket, "x"));
    EXPECT_EQ(wait(INT64_MAX, ready), 1);
    EXPECT_EQ(wait(0, ready), 1);
    EXPECT_EQ(ready[0], socket);
}

TEST_F(SelectorsTest, TheHeapIsntCalledAfterTheFirstAdd) {
    if (!HEAP_CALLS_COUNT) GTEST_SKIP() << "a sanitizer brings a heap of its own";
    const network_socket socket = new_socket(true);
    network_socket ready = none;
    const i32 fresh = fresh_selector();
    EXPECT_EQ(heap_calls::during([&] { network_selector_add(fresh, socket); }), 1);
    const int calls = heap_calls::during([&] {
        for (int i = 1; i < 8; ++i) {
            network_selector_add(fresh, socket);
        }
        EXPECT_EQ(network_selector_wait(fresh, 1, {&ready, 1}), 1);
        network_selector_remove(fresh, socket);
        network_selector_destroy(fresh);
        EXPECT_EQ(network_selector_create(), fresh);
        network_selector_add(fresh, socket);
        EXPECT_EQ(network_selector_wait(fresh, 0, {&ready, 1}), 1);
    });
    EXPECT_EQ(calls, 0);
}

} // namespace
