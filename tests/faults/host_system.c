/* SPDX-License-Identifier: Zlib */
#define _GNU_SOURCE

#include "faults/host.h"

#include <netinet/in.h>
#include <sys/socket.h>

static const network_socket failed_socket = ~(network_socket)0;

static NetworkAddress local(u16 port) {
    static const NetworkAddress none;
    NetworkAddress address;
    memset(&address, 1, sizeof address);
    network_address_find(&address, text("127.0.0.1"), port, NETWORK_TCP | NETWORK_IPV4);
    const int found = WENT(network_address_get_port(address) == port && address.family != 0);
    CHECK(found || memcmp(&address, &none, sizeof none) == 0);
    return address;
}

static u16 port_of(network_socket socket) {
    struct sockaddr_in address = {0};
    socklen_t size = sizeof address;
    getsockname((int)socket, (struct sockaddr*)&address, &size);
    return ntohs(address.sin_port);
}

/* A socket that listens, or is bound, at a port that is free. */
static network_socket open_port(network_flags kind, u16* port) {
    const network_socket socket = network_socket_create(kind | NETWORK_IPV4);
    if (!WENT(!network_socket_failed(socket))) return failed_socket;
    *port = 0;
    if (WENT(network_socket_bind(socket, local(0)))) *port = port_of(socket);
    if (*port != 0 && ((kind & NETWORK_UDP) || WENT(network_tcp_listen(socket)))) return socket;
    CHECK(network_socket_destroy(socket) == 0);
    return failed_socket;
}

/* Whether the socket is among those that are ready. */
static int waits(i32 selector, i64 milliseconds, network_socket wanted) {
    network_socket ready[20];
    const Slice room = {ready, 20};
    const i64 count = network_selector_wait(selector, milliseconds, room);
    CHECK(count >= -1 && count <= 20);
    for (i64 i = 0; i < count; i++) {
        if (ready[i] == wanted) return 1;
    }
    return 0;
}

static void talk_by_tcp(network_socket listener, u16 port) {
    char bytes[100];
    NetworkAddress peer = {0};
    const network_socket client = network_socket_create(NETWORK_TCP | NETWORK_IPV4);
    if (!WENT(client != failed_socket)) return;
    if (WENT(network_tcp_connect(client, local(port)))) {
        const network_socket server = network_tcp_accept(listener, &peer);
        if (WENT(server != failed_socket)) {
            CHECK(network_address_get_port(peer) != 0);
            const i64 sent = network_tcp_send(client, 100, big);
            CHECK(WENT(sent == 100) || (sent >= -1 && sent < 100));
            if (sent > 0) {
                const i64 count = network_tcp_receive(server, 100, bytes);
                CHECK(WENT(count == sent) || (count >= -1 && count < sent));
                CHECK(count < 0 || memcmp(bytes, big, (size_t)count) == 0);
            }
            WENT(network_socket_set_blocking(server, 0));
            WENT(network_tcp_disconnect(server) == 0);
            WENT(network_socket_destroy(server) == 0);
        }
    }
    WENT(network_socket_destroy(client) == 0);
}

static void talk_by_udp(network_socket socket, u16 port) {
    char bytes[100];
    if (!WENT(network_udp_send(socket, 50, big, local(port)) == 50)) return;
    const NetworkAddress untouched = local(1);
    NetworkAddress from = untouched;
    if (WENT(network_udp_receive(socket, 100, bytes, &from) == 50)) {
        CHECK(memcmp(bytes, big, 50) == 0 && network_address_get_port(from) == port);
    } else {
        CHECK(memcmp(&from, &untouched, sizeof from) == 0);
    }
}

void sockets_job(void) {
    u16 port;
    step();
    const network_socket listener = open_port(NETWORK_TCP, &port);
    if (listener != failed_socket) {
        talk_by_tcp(listener, port);
        WENT(network_socket_destroy(listener) == 0);
    }
    const network_socket udp = open_port(NETWORK_UDP, &port);
    if (udp != failed_socket) {
        talk_by_udp(udp, port);
        WENT(network_socket_destroy(udp) == 0);
    }
    Slice ip = {0};
    network_address_get_ip(&ip, local(1));
    CHECK(WENT(ip.count == 9 && memcmp(ip.data, "127.0.0.1", 9) == 0) || ip.count == 0);
}

/* A socket for which there is no room isn't waited for; all others are. */
void selectors_job(void) {
    enum {
        SOCKETS = 20
    };
    network_socket sockets[SOCKETS];
    u16 ports[SOCKETS];
    int opened = 0, heard = 0;
    step();
    const i32 selector = network_selector_create();
    for (int i = 0; i < SOCKETS; i++) {
        sockets[opened] = open_port(NETWORK_UDP, &ports[opened]);
        if (sockets[opened] == failed_socket) continue;
        network_selector_add(selector, sockets[opened++]);
    }
    CHECK(!waits(selector, 0, sockets[0]) && !waits(selector, 1, sockets[0]));
    for (int i = 0; i < opened; i++) {
        char byte;
        NetworkAddress from;
        if (!WENT(network_udp_send(sockets[i], 1, "x", local(ports[i])) == 1)) continue;
        if (!WENT(waits(selector, 5000, sockets[i])) || !WENT(waits(selector, 0, sockets[i])))
            continue;
        heard++;
        WENT(network_udp_receive(sockets[i], 1, &byte, &from) == 1);
    }
    CHECK(opened >= SOCKETS - 1 && heard >= SOCKETS - 1);
    for (int i = 0; i < opened; i++) {
        network_selector_remove(selector, sockets[i]);
        WENT(network_socket_destroy(sockets[i]) == 0);
    }
    network_selector_destroy(selector);
}

static i32 seven(void* data) {
    *(int*)data = 1;
    return 7;
}

void threads_job(void) {
    int ran = 0;
    i32 status = 0;
    step();
    thread_handle* const thread = thread_create(seven, &ran);
    if (WENT(thread != NULL)) {
        thread_wait(thread, &status);
        CHECK(ran && status == 7);
    }
    WENT(thread_set_priority(THREAD_PRIORITY_LOW) == 0);
    mutex_handle* const mutex = mutex_create();
    cond_handle* const cond = cond_create();
    semaphore_handle* const semaphore = semaphore_create(2);
    if (!WENT(mutex && cond && semaphore)) return;
    const i32 locked = mutex_lock(mutex);
    if (WENT(locked == 0)) {
        WENT(cond_signal(cond) == 0);
        WENT(cond_broadcast(cond) == 0);
        CHECK(!cond_wait_timeout(cond, mutex, 1));
        CHECK(mutex_unlock(mutex) == 0);
    }
    CHECK(locked <= 0);
    if (WENT(mutex_trylock(mutex))) mutex_unlock(mutex);
    const i32 taken = semaphore_wait(semaphore);
    CHECK(WENT(taken == 0) || taken < 0);
    WENT(semaphore_trywait(semaphore));
    WENT(semaphore_post(semaphore) == 0);
    const u8 waited = semaphore_wait_timeout(semaphore, 1);
    CHECK(news_is("SDL_SemWaitTimeout") ? waited == 255 : waited <= (news() ? 1 : 0));
    mutex_destroy(mutex);
    cond_destroy(cond);
    semaphore_destroy(semaphore);
}
