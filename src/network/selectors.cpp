// SPDX-License-Identifier: Zlib
#include "api/network_selectors.h"
#include "platform/sockets.h"

#include <bit>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <iterator>

using namespace halvorin;

static_assert(sizeof(NetworkSelector) == 24 && offsetof(NetworkSelector, sockets) == 8 &&
              offsetof(NetworkSelector, count) == 16 && offsetof(NetworkSelector, capacity) == 20);

constinit NetworkSelector selectors[1024] = {};
constinit i32 num_selectors = 0;

namespace {

// The selector of a number, or null.
NetworkSelector* selector_in_use(i32 number) {
    if (number < 0 || number >= i32{std::size(selectors)}) return nullptr;
    return selectors[number].in_use ? &selectors[number] : nullptr;
}

// A list lives as long as its selector, which no block of the arena for short-lived results does.
// So it stands on the heap, and stays there for the next selector of the same number.
bool make_room(NetworkSelector& selector) {
    if (selector.count < selector.capacity) return true;
    if (selector.capacity > INT_MAX / 2) return false;
    const i32 capacity = selector.capacity == 0 ? 8 : 2 * selector.capacity;
    void* const list =
        std::realloc(selector.sockets, static_cast<size_t>(capacity) * sizeof(network_socket));
    if (list == nullptr) return false;
    selector.sockets = static_cast<network_socket*>(list);
    selector.capacity = capacity;
    return true;
}

i32 place_of(const NetworkSelector& selector, network_socket socket) {
    for (i32 i = 0; i < selector.count; ++i) {
        if (selector.sockets[i] == socket) return i;
    }
    return -1;
}

// The different sockets at the front of a list, as many as are waited for. Handles are small and
// mostly close together: a mark for the low byte of each spares nearly every search. (Bits in place
// of bytes would make each mark wait for the one before.)
struct waited_sockets {
    i32 count = 0;
    bool is_marked[256] = {};
    network_socket sockets[most_waited];
    i32 places[most_waited]; // in the list, of the first of each

    i32 find(network_socket socket) const {
        if (!is_marked[socket & 255]) return -1;
        for (i32 i = 0; i < count; ++i) {
            if (sockets[i] == socket) return i;
        }
        return -1;
    }
    void add(network_socket socket, i32 place) {
        is_marked[socket & 255] = true;
        sockets[count] = socket;
        places[count++] = place;
    }
};

void list_different(waited_sockets& waited, const NetworkSelector& selector) {
    for (i32 i = 0; i < selector.count && waited.count < most_waited; ++i) {
        if (waited.find(selector.sockets[i]) < 0) waited.add(selector.sockets[i], i);
    }
}

// Sockets that were added as they were made have rising handles: no two are the same.
bool rises(const NetworkSelector& selector) {
    for (i32 i = 1; i < selector.count; ++i) {
        if (selector.sockets[i] <= selector.sockets[i - 1]) return false;
    }
    return true;
}

// In the list's order. In most lists all sockets differ and are waited for, so that the bits tell
// their places.
void give_each(Slice ready, const network_socket* sockets, u64 bits) {
    auto* const given = static_cast<network_socket*>(ready.data);
    for (i64 count = 0; bits != 0 && count < ready.count; bits &= bits - 1) {
        given[count++] = sockets[std::countr_zero(bits)];
    }
}

// The same for any list: a socket is given as often as it stands there.
void give_repeated(Slice ready, const NetworkSelector& selector, const waited_sockets& waited,
                   u64 bits) {
    auto* const given = static_cast<network_socket*>(ready.data);
    i64 count = 0;
    i32 next = 0;
    for (i32 i = 0; i < selector.count && count < ready.count; ++i) {
        const bool is_first = next < waited.count && waited.places[next] == i;
        const i32 found = is_first ? next++ : waited.find(selector.sockets[i]);
        if (found >= 0 && (bits >> found & 1) != 0) given[count++] = selector.sockets[i];
    }
}

i64 wait_for_each(const NetworkSelector& selector, i64 milliseconds, Slice ready) {
    u64 bits = 0;
    const i64 result = wait_for_sockets(selector.sockets, selector.count, milliseconds, &bits);
    if (result > 0) give_each(ready, selector.sockets, bits);
    return result;
}

i64 wait_for_different(const NetworkSelector& selector, i64 milliseconds, Slice ready) {
    waited_sockets waited;
    list_different(waited, selector);
    u64 bits = 0;
    const i64 result = wait_for_sockets(waited.sockets, waited.count, milliseconds, &bits);
    if (result > 0 && waited.count == selector.count) {
        give_each(ready, waited.sockets, bits);
    } else if (result > 0) {
        give_repeated(ready, selector, waited, bits);
    }
    return result;
}

} // namespace

i32 network_selector_create() {
    i32 number = 0;
    while (number < num_selectors && selectors[number].in_use) {
        ++number;
    }
    if (number == i32{std::size(selectors)}) return -1;
    if (number == num_selectors) ++num_selectors;
    selectors[number].in_use = true;
    selectors[number].count = 0;
    return number;
}

b8 network_selector_failed(i32 selector) {
    return selector == -1;
}

void network_selector_destroy(i32 selector) {
    NetworkSelector* const found = selector_in_use(selector);
    if (found != nullptr) found->in_use = false;
}

void network_selector_add(i32 selector, network_socket socket) {
    NetworkSelector* const found = selector_in_use(selector);
    if (found != nullptr && make_room(*found)) found->sockets[found->count++] = socket;
}

void network_selector_remove(i32 selector, network_socket socket) {
    NetworkSelector* const found = selector_in_use(selector);
    const i32 place = found != nullptr ? place_of(*found, socket) : -1;
    if (place >= 0) found->sockets[place] = found->sockets[--found->count];
}

i64 network_selector_wait(i32 selector, i64 milliseconds, Slice ready) {
    const NetworkSelector* const found = selector_in_use(selector);
    if (found == nullptr) return 0;
    return found->count <= most_waited && rises(*found)
               ? wait_for_each(*found, milliseconds, ready)
               : wait_for_different(*found, milliseconds, ready);
}
