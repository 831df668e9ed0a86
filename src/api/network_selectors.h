/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Selectors: lists of sockets that are waited for together. The family's page is network.h.
 *
 * A selector is a number: its index in `selectors`, where 1024 have room. It doesn't own its
 * sockets. One that is to be destroyed is removed from the list first: a wait on a list with a
 * closed socket fails, or tells of another socket that has got its number since.
 *
 * A number that names no selector in use does nothing, and gives 0 from network_selector_wait.
 *
 * Calls, where nothing else is said:
 *
 * @thread   one: but two threads may wait on two selectors that nobody changes meanwhile.
 * @failure  not told
 */

#include "network_sockets.h"

/** A selector. For the host to look at; the calls below keep it. */
typedef struct NetworkSelector {
    b8 in_use;
    network_socket* sockets; /**< the list; null until the first socket is added */
    i32 count;               /**< sockets in the list */
    i32 capacity;            /**< sockets that have room there: 8, doubled when they're all taken */
} NetworkSelector;

/**
 * All selectors: the index is the number.
 *
 * @lifetime  always valid: the selector calls change it.
 * @failure   none
 */
HALVORIN_DATA NetworkSelector selectors[1024];

/**
 * How many selectors at the front of `selectors` have ever been used. It only grows.
 *
 * @lifetime  until the next selector is made
 * @failure   none
 */
HALVORIN_DATA i32 num_selectors;

/**
 * Makes a selector with an empty list, by the lowest number that is free.
 *
 * @lifetime  until network_selector_destroy
 * @failure   -1: all are used.
 */
HALVORIN_API i32 network_selector_create(void);

/** Whether network_selector_create has failed: true for -1. @failure none */
HALVORIN_API b8 network_selector_failed(i32 selector);

/**
 * Gives a selector back. Its sockets stay open, and the memory of its list is kept for the next
 * selector of this number.
 */
HALVORIN_API void network_selector_destroy(i32 selector);

/**
 * Adds a socket to the list, once more if it is in there. The only call of the network family that
 * takes memory from the heap, for the 1st, 9th, 17th, 33rd ... socket that a number's list has
 * ever held; where there is none left, the list stays as it is.
 *
 * @heap  the list
 */
HALVORIN_API void network_selector_add(i32 selector, network_socket socket);

/** Takes a socket out of the list, at its first place only. The last one of the list moves there.
 */
HALVORIN_API void network_selector_remove(i32 selector, network_socket socket);

/**
 * Waits until one of the sockets has something to receive or to accept, has been closed by its
 * other side or has failed. What is ready stays so until it is dealt with: the next wait tells of
 * it again. A TCP socket that neither listens nor has ever been connected counts as ready on Linux.
 *
 * Only the first 64 different sockets of the list are waited for; those behind are passed over in
 * silence until others are removed. How large the numbers of the sockets are doesn't matter.
 *
 * @param milliseconds  how long at most; 0 only looks. Signals that the process handles don't end
 *                      the wait.
 * @param ready         array of network_socket, with room for `count`: gets the sockets that are
 *                      ready, in the list's order, as many as have room. One that stands in the
 *                      list twice is given twice. Room behind the last one stays as it was.
 * @return    how many different sockets are ready, however many had room; 0 when time is up.
 * @failure   -1: nothing is written. A negative time, or a socket that is closed or none.
 * @waits     for that time at most
 */
HALVORIN_API i64 network_selector_wait(i32 selector, i64 milliseconds, Slice ready);
