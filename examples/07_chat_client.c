/* SPDX-License-Identifier: Zlib */
/* A client of the chat: says what is typed, shows what is said.
 *
 *     07_chat_client NAME [PORT]
 *
 * PORT is that of the server's beacon (4747). The end of the input leaves the chat. Standard input
 * is waited for by the same selector as the connection; that is so on Linux, where it has a number
 * like a socket's. */

#include <halvorin_system/system.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define STANDARD_INPUT 0

static i32 selector;

static NetworkAddress local(u16 port) {
    const Slice host = {(void*)"127.0.0.1", 9};
    NetworkAddress address;
    network_address_find(&address, host, port, NETWORK_IPV4);
    return address;
}

/* Asks the beacon where the chat is: once a second, since a datagram may get lost. 0 if it is
 * silent. */
static u16 find_chat(u16 beacon_port) {
    const NetworkAddress beacon = local(beacon_port);
    const network_socket asking = network_socket_create(NETWORK_UDP | NETWORK_IPV4);
    int port = 0;
    network_socket_bind(asking, local(0)); /* for a port that no other shares */
    network_selector_add(selector, asking);
    for (int tries = 0; tries < 10 && port == 0; tries++) {
        char text[17] = "";
        network_socket ready;
        Slice room = {&ready, 1};
        NetworkAddress from;
        network_udp_send(asking, 5, "where", beacon);
        if (network_selector_wait(selector, 1000, room) != 1) continue;
        if (network_udp_receive(asking, sizeof text - 1, text, &from) <= 0) continue;
        if (memcmp(&from, &beacon, 8) != 0) continue; /* somebody else: another port or host */
        if (sscanf(text, "chat %d", &port) != 1) port = 0;
    }
    network_selector_remove(selector, asking);
    network_socket_destroy(asking);
    return (u16)port;
}

static int send_line(network_socket chat, const char* line) {
    const u32 size = (u32)strlen(line);
    u32 sent = 0;
    while (sent < size) {
        const i64 count = network_tcp_send(chat, size - sent, line + sent);
        if (count <= 0) return 0;
        sent += (u32)count;
    }
    return 1;
}

/* Until the server or the input ends. */
static void talk(network_socket chat) {
    for (;;) {
        network_socket ready[2];
        Slice room = {ready, 2};
        const i64 num_ready = network_selector_wait(selector, 60000, room);
        if (num_ready < 0) return;
        for (i64 i = 0; i < num_ready; i++) {
            char text[200];
            if (ready[i] == STANDARD_INPUT) {
                if (fgets(text, sizeof text, stdin) == NULL || !send_line(chat, text)) return;
            } else {
                const i64 count = network_tcp_receive(chat, sizeof text, text);
                if (count <= 0) return;
                fwrite(text, 1, (size_t)count, stdout);
                fflush(stdout);
            }
        }
    }
}

int main(int count, char** arguments) {
    if (count < 2 || strlen(arguments[1]) > 30) {
        fprintf(stderr, "07_chat_client NAME [PORT]\n");
        return 2;
    }
    system_init(0);
    selector = network_selector_create();
    const u16 port = find_chat((u16)(count > 2 ? atoi(arguments[2]) : 4747));
    const network_socket chat = network_socket_create(NETWORK_TCP | NETWORK_IPV4);
    char name[32];
    snprintf(name, sizeof name, "%s\n", arguments[1]);
    if (port == 0 || !network_tcp_connect(chat, local(port)) || !send_line(chat, name)) {
        fprintf(stderr, "there is no chat\n");
        return 1;
    }
    /* Lines that wait in a buffer of the C library's would be unseen by the selector. */
    setvbuf(stdin, NULL, _IONBF, 0);
    network_selector_add(selector, chat);
    network_selector_add(selector, STANDARD_INPUT);
    talk(chat);
    network_selector_destroy(selector);
    network_tcp_disconnect(chat);
    network_socket_destroy(chat);
    system_release();
    return 0;
}
