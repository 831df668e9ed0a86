# SPDX-License-Identifier: Zlib
"""What is written from the interface: the page for host authors, the description of it all, and what hosts
have compiled in."""
import json

INTRODUCTION = """# The interface, call by call

Written by `script/describe` from the comments in [src/api](../src/api), which are the reference; `types.h` has these
conventions in full. For each call: where it may be made, what it takes, how long its result is good, what a failure
looks like.

**Crossing.** Each call runs on the caller's thread. Of a narrow argument only the bits of its type count. A truth value
(`b8`) is a byte: 0 is false, anything else true. A float by value (`f32_bits`, `f64_bits`) travels as its bits in a
whole number: 1.0 is `0x3F800000`, or `0x3FF0000000000000`. A `Slice` is `{ pointer, i64 count }` by value: text in UTF-8
without a terminator, or an array; with a `count` of 0 or less it's empty, and its pointer isn't looked at. A record
comes back through the first parameter, `result`.

**Thread.** *any*: on all threads at once. *one*: on any thread, but one call of its family at a time; nothing is locked.
*display*: on the thread that opened the display. Calls with *text* or *results* under Memory share these arenas, of
whatever family and on whatever thread they are: while one is under way, no other is. The callback of a sound device is
on a thread of its own.

**Memory.** *text*: the call terminates its texts in `temporary_buffer`, 16384 bytes, and needs them for itself alone. A
text of more than 16383 bytes is refused, and so are two of one call with more than 16382 together. *results*: it leaves
its result in an arena of 524288 bytes, which is used from the front to the back and then from the front again: copy
what is to be kept before the next such call. *image*, *audio* and *clipboard buffer*: blocks that the host has lent;
what is taken stays taken until the host moves the position back.

**Failure.** The value, and nothing else: no error state, no exception, no log. *not told*: nothing is done and nothing
shows it. *OpenGL*: `pipeline_get_error` tells. A lent buffer that is exhausted also prints one line on standard output:
"image memory allocation failed", or "reallocation", and the same for audio and clipboard.

**Heap, Waits.** Who may call the heap on the way, to take or to give back, and what the call may wait for. Under
*SDL2*, *OpenGL* and *C library* the library's own code doesn't, but what it calls there may. (SDL2 notes why a call
failed; the first note on a thread takes a block.)

A dash stands for: none, never, a plain number. *(data)* marks exported variables, for the host to read.
"""

COLUMNS = {"thread": "Thread", "memory": "Memory", "lifetime": "Result is good", "failure": "Failure",
           "heap": "Heap", "waits": "Waits"}


def host_page(interface):
    """A table for each header, a row for each export."""
    lines = [INTRODUCTION]
    for header in interface["headers"]:
        exports = [e for kind in ("functions", "data") for e in interface[kind] if e["header"] == header["name"]]
        if exports:
            lines += [f"## [{header['name']}](../src/api/{header['name']})", "", f"{header['title']}.", "",
                      "| Call | " + " | ".join(COLUMNS.values()) + " |", "|---" * (1 + len(COLUMNS)) + "|",
                      *map(row, exports), ""]
    return "\n".join(lines)


def row(export):
    name = f"`{export['name']}`" + ("" if "parameters" in export else " (data)")
    facts = (export["facts"].get(tag, "none") for tag in COLUMNS)
    return "| " + " | ".join([name, *("–" if fact in ("none", "no") else fact for fact in facts)]) + " |"


def description(interface):
    """JSON with a line for each thing that is declared."""
    parts = []
    for kind, entries in interface.items():
        rows = ",\n".join("    " + json.dumps(entry, ensure_ascii=False) for entry in entries)
        parts.append(f'  "{kind}": [\n{rows}\n  ]')
    return '{\n  "library": "halvorin_system",\n  "pointer_size": 8,\n' + ",\n".join(parts) + "\n}\n"


def constants(interface):
    """What hosts have compiled in and no symbol shows: the numbers, and the width of each type of a number."""
    lines = [f"{entry['name']} = {entry['value']}" for entry in interface["constants"]]
    for described in interface["types"]:
        if described["kind"] in ("number", "enumeration"):
            lines.append(f"{described['name']}: {'i' if described['signed'] else 'u'}{8 * described['size']}")
            lines += [f"{entry['name']} = {entry['value']}" for entry in described.get("values", ())]
    return "\n".join(sorted(lines)) + "\n"


def proof(interface):
    """A C program's file that compiles when the compiler sees the headers as they are described."""
    lines = ["#include <stddef.h>", '#include "system.h"', "#define IS(type, thing) "
             "_Static_assert(__builtin_types_compatible_p(__typeof__(thing), type), #thing)"]
    for described in interface["types"]:
        if "size" in described:
            lines.append(f"_Static_assert(sizeof({described['name']}) == {described['size']}, \"\");")
        if "signed" in described:
            lines.append(f"_Static_assert((({described['name']})-1 < 0) == {int(described['signed'])}, \"\");")
    for entry in values_of(interface):
        lines.append(f"_Static_assert({entry['name']} == {entry['value']}, \"\");")
    for record in interface["records"]:
        lines.append(f"_Static_assert(sizeof({record['name']}) == {record['size']}, \"\");")
        for field in record["fields"]:
            lines += [f"_Static_assert(offsetof({record['name']}, {field['name']}) == {field['offset']}, \"\");",
                      f"IS({array(field)}, (({record['name']}*)0)->{field['name']});"]
    for function in interface["functions"]:
        parameters = ", ".join(parameter["type"] for parameter in function["parameters"]) or "void"
        lines.append(f"IS({function['result']}({parameters}), {function['name']});")
    lines += [f"IS({array(data)}, {data['name']});" for data in interface["data"]]
    return "\n".join(lines) + "\n"


def values_of(interface):
    return interface["constants"] + [entry for described in interface["types"] for entry in described.get("values", ())]


def array(described):
    return described["type"] + (f"[{described['count']}]" if "count" in described else "")
