#!/usr/bin/env python3
# SPDX-License-Identifier: Zlib
"""07_chat_client.c in Python, by ctypes: says what is typed, shows what is said.

chat_client.py NAME [--port PORT] [--library FILE], where PORT is that of the server's beacon.
"""

import argparse
import os
import re
import sys
from ctypes import (CDLL, Structure, addressof, byref, c_char_p, c_int32, c_int64, c_uint8, c_uint16, c_uint32,
                    c_uint64, c_void_p, create_string_buffer)

TCP, UDP, IPV4 = 1, 2, 4
STANDARD_INPUT = 0


class Slice(Structure):
    _fields_ = [("data", c_void_p), ("count", c_int64)]


class NetworkAddress(Structure):
    _fields_ = [("family", c_uint16), ("port", c_uint8 * 2), ("ipv4", c_uint8 * 4), ("ipv6", c_uint8 * 16),
                ("scope", c_uint32), ("zero", c_uint8 * 4)]


# The address travels by value where it is read, and as a pointer where it is filled in.
TYPES = {"void": None, "pointer": c_void_p, "b8": c_uint8, "u16": c_uint16, "u32": c_uint32, "i32": c_int32,
         "u64": c_uint64, "i64": c_int64, "bytes": c_char_p, "Slice": Slice, "NetworkAddress": NetworkAddress}
CALLS = """
    void system_init(u32)   void system_release()
    void network_address_find(pointer, Slice, u16, u32)
    u64 network_socket_create(u32)   i32 network_socket_destroy(u64)
    b8 network_socket_bind(u64, NetworkAddress)
    b8 network_tcp_connect(u64, NetworkAddress)   i32 network_tcp_disconnect(u64)
    i64 network_tcp_send(u64, u32, bytes)   i64 network_tcp_receive(u64, u32, pointer)
    i64 network_udp_send(u64, u32, bytes, NetworkAddress)   i64 network_udp_receive(u64, u32, pointer, pointer)
    i32 network_selector_create()   i64 network_selector_wait(i32, i64, Slice)
    void network_selector_add(i32, u64)   void network_selector_remove(i32, u64)
"""


here = os.path.dirname(os.path.abspath(__file__))
parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
parser.add_argument("name")
parser.add_argument("--port", type=int, default=4747)
parser.add_argument("--library", default=os.path.join(here, "../build/release/libhalvorin_system.so"))
arguments = parser.parse_args()

system = CDLL(arguments.library)
for result, name, parameters in re.findall(r"(\w+) (\w+)\((.*?)\)", CALLS):
    function = getattr(system, name)
    function.restype = TYPES[result]
    function.argtypes = [TYPES[parameter] for parameter in parameters.split(", ") if parameter]


def local(port):
    host, address = create_string_buffer(b"127.0.0.1", 9), NetworkAddress()
    system.network_address_find(byref(address), Slice(addressof(host), 9), port, IPV4)
    return address


def wait(milliseconds):
    ready = (c_uint64 * 2)()
    count = system.network_selector_wait(selector, milliseconds, Slice(addressof(ready), 2))
    return ready[:count] if count >= 0 else None


def find_chat():
    """Asks the beacon where the chat is: once a second, since a datagram may get lost."""
    beacon, asking, port = local(arguments.port), system.network_socket_create(UDP | IPV4), 0
    system.network_socket_bind(asking, local(0))  # for a port that no other shares
    system.network_selector_add(selector, asking)
    for _ in range(10):
        text, sender = create_string_buffer(16), NetworkAddress()
        system.network_udp_send(asking, 5, b"where", beacon)
        if (wait(1000) and system.network_udp_receive(asking, 15, text, byref(sender)) > 0
                and bytes(sender)[:8] == bytes(beacon)[:8] and text.value.startswith(b"chat ")):
            port = int(text.value[5:])
            break
    system.network_selector_remove(selector, asking)
    system.network_socket_destroy(asking)
    return port


def send(data):
    while data and (count := system.network_tcp_send(chat, len(data), data)) > 0:
        data = data[count:]
    return not data


def talk():
    """Until the server or the input ends."""
    text = create_string_buffer(512)
    while (ready := wait(60000)) is not None:
        for number in ready:
            if number == STANDARD_INPUT:
                said = os.read(STANDARD_INPUT, 200)
                if not said or not send(said):
                    return
            else:
                count = system.network_tcp_receive(chat, len(text), text)
                if count <= 0:
                    return
                sys.stdout.buffer.write(text.raw[:count])
                sys.stdout.flush()


system.system_init(0)
selector = system.network_selector_create()
chat_port = find_chat()
chat = system.network_socket_create(TCP | IPV4)
if not chat_port or not system.network_tcp_connect(chat, local(chat_port)) or not send(arguments.name.encode() + b"\n"):
    sys.exit("there is no chat")
system.network_selector_add(selector, chat)
system.network_selector_add(selector, STANDARD_INPUT)
talk()
system.network_tcp_disconnect(chat)
system.network_socket_destroy(chat)
system.system_release()
