// SPDX-License-Identifier: Zlib
// A chat for the programs of one machine: what one client says, all of them hear, in one order.
// Usage: 06_chat_server [PORT]. The port is that of the beacon, a UDP socket: whoever sends it a
// datagram is told where the chat is. 4747 if it isn't given; 0 for any that is free. The last
// client to leave ends the server.

#include <halvorin_system/system.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int MOST_CLIENTS = 32;

struct Client {
    network_socket socket;
    bool has_left;
    int length; // of the line so far
    char line[256], name[256];
};

Client clients[MOST_CLIENTS];
i32 num_clients, selector;

NetworkAddress local(u16 port) {
    const Slice host = {(void*)"127.0.0.1", 9};
    NetworkAddress address;
    network_address_find(&address, host, port, NETWORK_IPV4);
    return address;
}

// A client that has no room for what is said would hold up all the others: it has to leave.
void say(const char* name, const char* between, const char* text) {
    char line[600];
    const u32 size = (u32)std::snprintf(line, sizeof line, "%s%s%s\n", name, between, text);
    std::fputs(line, stdout);
    for (int i = 0; i < num_clients; i++) {
        if (network_tcp_send(clients[i].socket, size, line) != size) clients[i].has_left = true;
    }
}

// What comes in ends anywhere, not only where a line does. The first line is the name.
void hear(Client* client) {
    const u32 room = (u32)((int)sizeof client->line - client->length);
    const i64 count = network_tcp_receive(client->socket, room, client->line + client->length);
    if (count <= 0) client->has_left = true; // or there was no room: a line that is too long
    if (count > 0) client->length += (int)count;
    char* end;
    while ((end = static_cast<char*>(std::memchr(client->line, '\n', (size_t)client->length)))) {
        *end++ = 0;
        const bool named = client->name[0] != 0;
        if (!named) std::memcpy(client->name, client->line, sizeof client->name);
        say(client->name, named ? ": " : " is here", named ? client->line : "");
        client->length -= (int)(end - client->line);
        std::memmove(client->line, end, (size_t)client->length);
    }
}

void welcome(network_socket newcomer) {
    if (num_clients < MOST_CLIENTS && network_socket_set_blocking(newcomer, false)) {
        clients[num_clients++] = {newcomer, false, 0, {}, {}};
        network_selector_add(selector, newcomer);
    } else {
        network_socket_destroy(newcomer);
    }
}

} // namespace

int main(int count, char** arguments) {
    u16 port = 49152, beacon_port = (u16)(count > 1 ? std::atoi(arguments[1]) : 4747);
    system_init(0);

    // A port that another program listens on is refused: the first that isn't is ours.
    network_socket listener = network_socket_create(NETWORK_TCP | NETWORK_IPV4);
    while (!network_socket_bind(listener, local(port)) || !network_tcp_listen(listener)) {
        network_socket_destroy(listener);
        if (++port == 0) return 1;
        listener = network_socket_create(NETWORK_TCP | NETWORK_IPV4);
    }
    if (beacon_port == 0) beacon_port = port; // TCP and UDP count their ports apart
    const network_socket beacon = network_socket_create(NETWORK_UDP | NETWORK_IPV4);
    if (!network_socket_bind(beacon, local(beacon_port))) return 1;
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::printf("chat at port %d, beacon at port %d\n", port, beacon_port);
    selector = network_selector_create();
    network_selector_add(selector, beacon);
    network_selector_add(selector, listener);
    char where[16];
    const u32 size = (u32)std::snprintf(where, sizeof where, "chat %d", port);
    for (int had_clients = 0; num_clients > 0 || !had_clients; had_clients |= num_clients > 0) {
        network_socket ready[MOST_CLIENTS + 2];
        NetworkAddress who;
        const i64 num_ready = network_selector_wait(selector, 60000, {ready, MOST_CLIENTS + 2});
        for (i64 i = 0; i < num_ready; i++) {
            if (ready[i] == listener) welcome(network_tcp_accept(listener, &who));
            if (ready[i] == beacon && network_udp_receive(beacon, 0, nullptr, &who) == 0) {
                network_udp_send(beacon, size, where, who);
            }
            for (int c = 0; c < num_clients; c++) {
                if (clients[c].socket == ready[i]) hear(&clients[c]);
            }
        }
        for (int c = num_clients; c-- > 0;) {
            const Client gone = clients[c];
            if (!gone.has_left) continue;
            network_selector_remove(selector, gone.socket); // ahead of the socket itself
            network_socket_destroy(gone.socket);
            clients[c] = clients[--num_clients];
            say(gone.name, " has left", "");
        }
    }
    network_socket_destroy(beacon);
    network_socket_destroy(listener);
    system_release();
    return 0;
}
