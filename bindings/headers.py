# SPDX-License-Identifier: Zlib
"""The public headers as data: what they declare, and the facts that their comments tell of each export.

How the facts stand in the comments is told by types.h. An export that lacks one, or whose facts contradict
its type, is an error. Sizes and offsets are those of the 64-bit systems that the library runs on.
"""
import re

NUMBERS = {"uint8_t": 1, "uint16_t": 2, "uint32_t": 4, "uint64_t": 8,
           "int8_t": 1, "int16_t": 2, "int32_t": 4, "int64_t": 8, "double": 8}
POINTER_SIZE = 8
FACTS = ("thread", "memory", "lifetime", "failure", "heap", "waits")
THREADS = ("any", "one", "display")
COMMENT = re.compile(r"/\*.*?\*/", re.DOTALL)


class Fault(Exception):
    """What is wrong with a header, in one line."""


def read_interface(folder):
    """Everything that the headers of a folder declare."""
    pages = {path.name: Header(path) for path in sorted(folder.glob("*.h"))}
    interface = {"headers": [], "types": [], "constants": [], "records": [], "functions": [], "data": []}
    types = {name: {"name": name, "size": size} for name, size in NUMBERS.items()}
    for header in in_order_of_use(pages):
        interface["headers"].append({"name": header.name, "title": title_of(header.page)})
        chief = pages.get(header.name.split("_")[0] + ".h", header)
        Reader(header, {**chief.facts, **header.facts}, interface, types).read()
    return interface


def in_order_of_use(pages):
    """Headers behind those that they include, in the order of the list in system.h."""
    done = []

    def visit(name):
        if pages[name] not in done:
            for used in pages[name].includes:
                visit(used)
            done.append(pages[name])

    for name in [*re.findall(r"\b(\w+\.h) ", pages["system.h"].page), *pages]:
        visit(name)
    return done


def lines_of(comment):
    """The text of a comment without its stars."""
    return [re.sub(r"^\s*\*? ?", "", line) for line in comment[2:-2].strip("*").split("\n")]


def tags_of(comment):
    """The facts in a comment, of which the words ahead of the first colon, semicolon or full stop count."""
    text = "\n".join(lines_of(comment))
    found = re.findall(r"(?:^|\s)@(\w+) (.*?)(?=\n\s*\n|\s@\w|\Z)", text, re.DOTALL)
    return {tag: re.split(r"[.:;](?:\s|$)", " ".join(words.split()))[0] for tag, words in found if tag in FACTS}


def title_of(comment):
    """The first sentence of a page."""
    return re.match(r"\s*(.*?)\.(?:\s|$)", " ".join(lines_of(comment)))[1]


class Header:
    """A header as its comments and statements, in their order."""

    def __init__(self, path):
        self.name = path.name
        text = path.read_text()
        self.includes = re.findall(r'^#include "(\w+\.h)"', text, re.MULTILINE)
        # Conditions and macros are the business of types.h alone.
        text = re.sub(r"^#(?:.*\\\n)*.*$", "#", text, flags=re.MULTILINE)
        self.items = list(self.split(text))
        page = next(item for kind, item, _ in self.items if kind == "comment" and item.startswith("/**"))
        self.page = page
        self.facts = tags_of(page)

    @staticmethod
    def split(text):
        """Pieces as (kind, text, whether a blank line or a directive stands ahead)."""
        apart = True
        at = 0
        while at < len(text):
            space = re.compile(r"[\s#]*").match(text, at)[0]
            at += len(space)
            apart = space.count("\n") > 1 or "#" in space
            if at == len(text):
                return
            comment = COMMENT.match(text, at)
            piece = comment or re.compile(r"(?:/\*.*?\*/|\{.*?\}|[^;{/])*;", re.DOTALL).match(text, at)
            yield "comment" if comment else "statement", piece[0], apart
            at = piece.end()


class Reader:
    """Adds what one header declares to the interface."""

    def __init__(self, header, page_facts, interface, types):
        self.header = header
        self.page_facts = page_facts
        self.interface = interface
        self.types = types
        self.enumeration = None  # of the statement before, until a typedef gives it a name

    def read(self):
        group, own = {}, {}
        items = self.header.items
        for i, (kind, text, apart) in enumerate(items):
            if kind == "comment":
                # A comment with a blank line behind it is that of a group.
                opens_group = i + 1 == len(items) or items[i + 1][2] or items[i + 1][0] == "comment"
                if opens_group:
                    group, own = tags_of(text), {}
                else:
                    own = tags_of(text)
                continue
            if apart:
                own = {}
            self.statement(" ".join(COMMENT.sub(" ", text).rstrip(";").split()), {**self.page_facts, **group, **own})
        self.end_enumeration()

    def statement(self, text, facts):
        enumeration = re.fullmatch(r"enum \{(.*)\}", text)
        if enumeration:
            self.end_enumeration()
            self.enumeration = [{"name": name, "value": int(value, 0)}
                                for name, value in re.findall(r"(\w+) = (\w+)", enumeration[1])]
            return
        number = re.fullmatch(r"typedef (\w+) (\w+)", text)
        record = re.fullmatch(r"typedef struct (\w+) \{(.*)\} \1", text)
        opaque = re.fullmatch(r"typedef struct \w+ (\w+)", text)
        callback = re.fullmatch(r"typedef (.+?) ?\(\*(\w+)\)\((.*)\)", text)
        function = re.fullmatch(r"HALVORIN_API (.+?[ *])(\w+)\((.*)\)", text)
        data = re.fullmatch(r"HALVORIN_DATA (.+?[ *])(\w+)(?:\[(\d+)\])?", text)
        if number:
            self.add_number(number[2], number[1])
        elif record:
            self.add_record(record[1], record[2])
        elif opaque:
            self.add_type({"name": opaque[1], "kind": "opaque"})
        elif callback:
            self.add_type({"name": callback[2], "kind": "callback", "size": POINTER_SIZE, "result": callback[1],
                           "parameters": self.parameters(callback[3])})
        elif function:
            self.add_function(function[2], function[1].strip(), self.parameters(function[3]), facts)
        elif data:
            self.add_data(data[2], data[1].strip(), data[3], facts)
        else:
            raise Fault(f"{self.header.name}: can't read: {text}")

    def end_enumeration(self):
        """Numbers that no typedef has taken up are constants."""
        self.interface["constants"] += self.enumeration or []
        self.enumeration = None

    def add_type(self, described):
        self.end_enumeration()
        described["header"] = self.header.name
        self.types[described["name"]] = described
        self.interface["types"].append(described)

    def add_number(self, name, base):
        values, self.enumeration = self.enumeration, None
        described = {"name": name, "kind": "number", "size": self.size_of(base)}
        if base in NUMBERS:
            described["signed"] = not base.startswith("u")
            if name.endswith("_bits"):
                described["bits_of"] = name.removesuffix("_bits")
        else:
            described |= {"base": base, "signed": self.types[base]["signed"]}
        if values:
            described |= {"kind": "enumeration", "values": values}
        self.add_type(described)

    def add_record(self, name, body):
        fields, end, alignment = [], 0, 1
        for statement in filter(None, (part.strip() for part in body.split(";"))):
            kind, field, count = re.fullmatch(r"(.+?[ *])(\w+)(?:\[(\d+)\])?", statement).groups()
            kind = kind.strip()
            size, own_alignment = self.size_of(kind), self.alignment_of(kind)
            offset = -(-end // own_alignment) * own_alignment
            end = offset + size * int(count or 1)
            alignment = max(alignment, own_alignment)
            fields.append({"name": field, "type": kind} | ({"count": int(count)} if count else {}) |
                          {"offset": offset})
        size = -(-end // alignment) * alignment
        described = {"name": name, "header": self.header.name, "size": size, "alignment": alignment,
                     "fields": fields}
        self.end_enumeration()
        self.types[name] = described
        self.interface["records"].append(described)

    def size_of(self, kind):
        return POINTER_SIZE if kind.endswith("*") else self.types[kind]["size"]

    def alignment_of(self, kind):
        return POINTER_SIZE if kind.endswith("*") else self.types[kind].get("alignment", self.types[kind]["size"])

    def parameters(self, text):
        if text == "void":
            return []
        pairs = (re.fullmatch(r"(.+?[ *])(\w+)", part.strip()).groups() for part in text.split(","))
        named = [{"name": name, "type": kind.strip()} for kind, name in pairs]
        for parameter in named:
            self.check_type(parameter["type"])
        return named

    def check_type(self, kind):
        bare = kind.removeprefix("const ").rstrip("*")
        if bare != "void" and bare not in self.types:
            raise Fault(f"{self.header.name}: unknown type: {kind}")

    def add_function(self, name, result, parameters, facts):
        self.check_type(result)
        result_record = parameters[0]["type"].rstrip("*") if parameters and parameters[0]["name"] == "result" else None
        described = {"name": name, "header": self.header.name, "result": result, "parameters": parameters}
        self.check_function(described, result_record, facts)
        lifetime = {"lifetime": facts["lifetime"]} if "lifetime" in facts else {"lifetime": "none"}
        described["facts"] = {tag: {**facts, **lifetime}[tag] for tag in FACTS}
        self.interface["functions"].append(described)

    def add_data(self, name, kind, count, facts):
        self.check_type(kind)
        self.check_facts(name, facts, ("thread", "lifetime", "failure"))
        described = {"name": name, "header": self.header.name, "type": kind}
        if count:
            described["count"] = int(count)
        described["facts"] = {tag: facts[tag] for tag in ("thread", "lifetime", "failure")}
        self.interface["data"].append(described)

    def check_facts(self, name, facts, wanted):
        missing = [tag for tag in wanted if not facts.get(tag)]
        if missing:
            raise Fault(f"{self.header.name}: {name} lacks @{', @'.join(missing)}")
        if facts["thread"] not in THREADS:
            raise Fault(f"{self.header.name}: {name}: no such @thread: {facts['thread']}")

    def check_function(self, described, result_record, facts):
        """What holds for a page or a group is easily left standing where it can't be true."""
        name, result, failure = described["name"], described["result"], facts.get("failure", "")
        record = next((r for r in self.interface["records"] if r["name"] == result_record), None)
        gives_pointer = result.endswith("*") or (record is not None and self.holds_pointer(record))
        wanted = FACTS if gives_pointer else [tag for tag in FACTS if tag != "lifetime"]
        self.check_facts(name, facts, wanted)
        silent = failure in ("none", "not told", "OpenGL")
        fits = (failure == "false" if result == "b8" else
                failure in ("null", "an empty wide string") if result.endswith("*") else
                failure not in ("false", "null")) or silent
        if not fits or (result == "void" and record is None and not silent and "record" not in failure):
            raise Fault(f"{self.header.name}: {name} gives {result}, which can't fail by: {failure}")

    def holds_pointer(self, record):
        return any(field["type"].endswith("*") or
                   any(r["name"] == field["type"] and self.holds_pointer(r) for r in self.interface["records"])
                   for field in record["fields"])
