// SPDX-License-Identifier: Zlib
#include "fuzzing.h"

#include "api/network.h"
#include "frame/scratch.h"

#include <dlfcn.h>
#include <netdb.h>
#include <sys/socket.h>

// Host names and address records of any bytes. The system's look-up reads numbers alone, so that
// nobody is asked for a name, or gives what the input says.

using namespace fuzzing;

namespace {

struct answer {
    bool is_made_up;
    int error;
    bytes address;
};

answer next_answer;
addrinfo made_up;

} // namespace

extern "C" int getaddrinfo(const char* host, const char* service, const addrinfo* hints,
                           addrinfo** list) {
    if (next_answer.is_made_up) {
        if (next_answer.error != 0) return next_answer.error;
        made_up = {};
        static sockaddr nothing;
        made_up.ai_addr = next_answer.address.empty()
                              ? &nothing
                              : reinterpret_cast<sockaddr*>(next_answer.address.data());
        made_up.ai_addrlen = static_cast<socklen_t>(next_answer.address.size());
        *list = &made_up;
        return 0;
    }
    addrinfo numbers_only = *hints;
    numbers_only.ai_flags |= AI_NUMERICHOST;
    static const auto system =
        reinterpret_cast<decltype(&getaddrinfo)>(dlsym(RTLD_NEXT, "getaddrinfo"));
    return system(host, service, &numbers_only, list);
}

extern "C" void freeaddrinfo(addrinfo* list) noexcept {
    static const auto system =
        reinterpret_cast<void (*)(addrinfo*)>(dlsym(RTLD_NEXT, "freeaddrinfo"));
    if (list != &made_up) system(list);
}

namespace {

std::string text_of(const NetworkAddress& address) {
    Slice text = {};
    halvorin::dynamic_pos = 0;
    std::memset(halvorin::dynamic_buffer, 'x', 200);
    network_address_get_ip(&text, address);
    require(text.data != nullptr && text.count >= 0 && text.count < 64, "a text is short");
    const auto* const first = static_cast<const char*>(text.data);
    require(first[text.count] == 0 && std::strlen(first) == static_cast<size_t>(text.count),
            "a text ends where its count says");
    require((text.count > 0) == (address.family == AF_INET || address.family == AF_INET6),
            "there is a text for both families, and for no other");
    return {first, static_cast<size_t>(text.count)};
}

NetworkAddress found(const void* host, size_t count, u16 port, network_flags flags) {
    NetworkAddress address;
    std::memset(&address, 0xA5, sizeof address);
    network_address_find(&address, {const_cast<void*>(host), static_cast<i64>(count)}, port, flags);
    return address;
}

bool is_empty(const NetworkAddress& address) {
    constexpr NetworkAddress none = {};
    return std::memcmp(&address, &none, sizeof none) == 0;
}

// An address that was found has a text that leads to it again.
void check_find(const bytes& host, u16 port, network_flags flags) {
    next_answer = {false, 0, {}};
    const NetworkAddress address = found(host.data(), host.size(), port, flags);
    if (is_empty(address)) return;
    require(address.family == AF_INET || address.family == AF_INET6, "the family is known");
    require(network_address_get_port(address) == port, "the port is the one asked for");
    const std::string text = text_of(address);
    const NetworkAddress again = found(text.data(), text.size(), port, flags);
    require(again.family == address.family && text_of(again) == text, "the text leads back to it");
    require(std::memcmp(again.ipv4, address.ipv4, sizeof again.ipv4) == 0 ||
                address.family == AF_INET6,
            "the IPv4 address is the same");
    require(std::memcmp(again.ipv6, address.ipv6, sizeof again.ipv6) == 0, "the IPv6 address too");
}

void check_made_up(int error, const bytes& answered, const bytes& host) {
    next_answer = {true, error, answered};
    const NetworkAddress address = found(host.data(), host.size(), 80, NETWORK_TCP);
    bytes expected(sizeof address);
    const bool is_asked = host.size() < 16384;
    if (error == 0 && is_asked) {
        std::copy_n(answered.begin(), std::min(answered.size(), expected.size()), expected.begin());
    }
    require(std::memcmp(&address, expected.data(), sizeof address) == 0,
            "a record holds as much as it has room for");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    input from(data, size);
    const u8 kind = from.byte();
    const u16 port = from.number<u16>();
    const network_flags flags = from.byte();
    if (kind % 4 == 0) {
        NetworkAddress address = {};
        const bytes record = from.block(sizeof address);
        std::copy(record.begin(), record.end(), reinterpret_cast<u8*>(&address));
        if (kind % 8 == 0) address.family = kind & 16 ? AF_INET : AF_INET6;
        text_of(address);
        require(network_address_get_port(address) == (address.port[0] << 8 | address.port[1]),
                "a port is in network order");
        return 0;
    }
    if (kind % 4 == 1) {
        const i32 error = (flags & 1) != 0 ? -static_cast<i32>(flags) : 0;
        const bytes answered = from.block(port % (sizeof(sockaddr_storage) + 1));
        check_made_up(error, answered, from.rest());
        return 0;
    }
    check_find(from.rest(), port, flags);
    return 0;
}
