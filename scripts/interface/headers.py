"""The one reader of the C headers: include/tavroline/*.h, the runtime's variables in platform/CodesysRuntime.h and the
signature identifiers in component/ExternalFunctionTable.cpp become one description, a dictionary that JSON can hold:

  rules        the numbered rules of conventions.h, as texts
  capacities   the sizes of text fields, name -> number
  constants    groups of codes: about, values (name -> number)
  bounds       the structure with the bounds of an array
  headers      name, about, structures, functions
    structure  name, about, size, alignment, members
    member     name, type, pointer, const, capacity (elements of an array, else 0), offset, size, direction, unit, meaning
    function   name, structure, about, result, failure, blocks, thread, signature
  entry        functions that the component manager calls
  variables    the runtime's pf... variables

Offsets and sizes are those of the 32-bit target. A function's comment says what it does and carries @result, @failure,
@blocks and a thread tag; a member's comment says direction, [unit] and meaning. A missing part is an error in words.
"""

import pathlib
import re

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
TABLE = "component/ExternalFunctionTable.cpp"
TOPICS = ["handles", "filter", "eventlist", "events", "alarmlist", "alarms", "description"]
OTHER_HEADERS = ["component", "conventions", "tavroline"]
DIRECTIONS = ["in", "out", "in/out", "unused"]
UNITS = "handle flag code count number bytes s-UTC s-local UTF-8 UTF-16 address bounds record".split()
THREADS = {"plc-task": "any PLC task"}

# Bytes of the types on the target; each is aligned to its size.
POINTER_SIZE = 4
TYPE_SIZES = {
    "RTS_IEC_BOOL": 1,
    "RTS_IEC_INT": 2,
    "RTS_IEC_UINT": 2,
    "RTS_IEC_DINT": 4,
    "RTS_IEC_ULINT": 8,
    "RTS_IEC_DATE_AND_TIME": 4,
    "RTS_IEC_STRING": 1,
    "RTS_IEC_WSTRING": 2,
    "TavrolineHandle": POINTER_SIZE,
}


def bound(name, meaning):
    member = {"name": name, "type": "RTS_IEC_DINT", "pointer": False, "const": False, "capacity": 0}
    return {**member, "direction": "in", "unit": "number", "meaning": meaning}


# The runtime's structure, which has no comments in the form of this interface.
BOUNDS = {
    "name": "__ARRAY__DIM__INFO",
    "about": "The bounds of an array of variable length, both inclusive; a pointer beside them has its elements.",
    "members": [bound("lower", "lower bound"), bound("upper", "upper bound; below the lower one the array is empty")],
}

COMMENT = r"(/\*\*(?:[^*]|\*(?!/))*\*/)"
CONSTANTS = re.compile(rf"{COMMENT}\nenum \{{([^}}]*)\}};")
STRUCTURE = re.compile(rf"(?:{COMMENT}\n)?typedef struct \{{\n(.*?)^\}} (\w+);", re.DOTALL | re.MULTILINE)
ALIAS = re.compile(r"^typedef (\w+) (\w+);", re.MULTILINE)
FUNCTION = re.compile(rf"(?:{COMMENT}\n)?TAVROLINE_EXPORT void (\w+)\((\w+)\* parameters\);")
MEMBER = re.compile(
    rf"(?:{COMMENT}\s*)?(const )?(\w+)(\*?)\s+(\w+)(?:\[(\w+)\])?(?: __attribute__\(\(aligned\(8\)\)\))?;"
    rf"(?:[ \t]*{COMMENT})?"
)


class Fault(Exception):
    """An error in the headers, in words, with its place."""


def plain(comment):
    """A comment's text without its decoration, in one line."""
    lines = (re.sub(r"\s*\*/|/\*\*<?|^\s*\* ?", "", line).strip() for line in (comment or "").splitlines())
    return " ".join(line for line in lines if line)


def read_rules(text):
    rules = re.split(r"^ \* +\d+\. ", re.match(COMMENT, text)[0], flags=re.MULTILINE)
    return [plain(rule) for rule in rules[1:]]


def read_constants(text):
    """The groups of named numbers of conventions.h; the first one has the capacities of text fields."""
    groups = []
    for comment, body in CONSTANTS.findall(text):
        values = re.findall(r"(\w+) = (\d+)", re.sub(COMMENT, "", body))
        groups.append({"about": plain(comment), "values": {name: int(value) for name, value in values}})
    return groups


def read_member(place, found, capacities):
    before, const, c_type, pointer, name, capacity, behind = found.groups()
    said = re.fullmatch(r"(\S+) \[([^]]+)\]: (.+)", plain(before or behind))
    if not said or said[1] not in DIRECTIONS or said[2].replace(" ", "-") not in UNITS:
        raise Fault(f"{place}.{name} has no comment of the form 'direction [unit]: meaning' in the words of conventions.h")
    if capacity and capacity not in capacities:
        raise Fault(f"{place}.{name}: conventions.h has no capacity {capacity}")
    member = {"name": name, "type": c_type, "pointer": bool(pointer), "const": bool(const)}
    member["capacity"] = capacities[capacity] if capacity else 0
    member["direction"], member["unit"], member["meaning"] = said.groups()
    return member


def read_structure(header, name, about, body, capacities):
    place = f"{header}: {name}"
    members = [read_member(place, found, capacities) for found in MEMBER.finditer(body)]
    if len(members) != re.sub(COMMENT, "", body).count(";"):
        raise Fault(f"{place} has a member that this script cannot read")
    return {"name": name, "about": about, "members": members}


def read_function(header, name, structure, comment):
    parts = re.split(r"@(\w+) ", plain(comment))
    tags = dict(zip(parts[1::2], (text.strip() for text in parts[2::2])))
    thread = re.search(r" ?\[([\w-]+)\]$", parts[-1])
    if not parts[0] or sorted(tags) != ["blocks", "failure", "result"] or not thread or thread[1] not in THREADS:
        raise Fault(f"{header}: the comment of {name} needs a text, @result, @failure, @blocks and a thread tag")
    last_tag = parts[-2]
    tags[last_tag] = tags[last_tag][: -len(thread[0])]
    if not all(tags.values()):
        raise Fault(f"{header}: the comment of {name} has a tag without a text")
    if not re.match(r"never|briefly, ", tags["blocks"]):
        raise Fault(f"{header}: @blocks of {name} says neither 'never' nor 'briefly, ...'")
    return {"name": name, "structure": structure, "about": parts[0].strip(), **tags, "thread": THREADS[thread[1]]}


def read_header(topic, capacities):
    file = f"include/tavroline/{topic}.h"
    text = (ROOT / file).read_text()
    about = plain(re.match(COMMENT, text)[0]).replace("@file ", "")
    structures = {
        name: read_structure(file, name, plain(comment), body, capacities)
        for comment, body, name in STRUCTURE.findall(text)
    }
    for original, name in ALIAS.findall(text):
        structures[name] = {**structures[original], "name": name, "about": "", "alias": original}
    functions = [read_function(file, name, structure, comment) for comment, name, structure in FUNCTION.findall(text)]
    if len(functions) != text.count("TAVROLINE_EXPORT"):
        raise Fault(f"{file}: a function that this script cannot read")
    for function in functions:
        if function["structure"] not in structures:
            raise Fault(f"{file}: {function['name']} takes {function['structure']}, which is not declared there")
    return {"name": topic, "about": about, "structures": list(structures.values()), "functions": functions}


def measure(member, structures):
    """Bytes and alignment of a member on the target."""
    if member["pointer"]:
        return POINTER_SIZE, POINTER_SIZE
    if member["type"] in TYPE_SIZES:
        size = TYPE_SIZES[member["type"]]
        return size * (member["capacity"] or 1), size
    if member["type"] not in structures:
        raise Fault(f"scripts/interface/headers.py knows no size of the type {member['type']} of {member['name']}")
    nested = structures[member["type"]]
    lay_out(nested, structures)
    return nested["size"], nested["alignment"]


def lay_out(structure, structures):
    """Enter offsets and sizes into a structure and its members."""
    end, largest = 0, 1
    for member in structure["members"]:
        member["size"], alignment = measure(member, structures)
        member["offset"] = -(-end // alignment) * alignment
        end = member["offset"] + member["size"]
        largest = max(largest, alignment)
    structure["size"], structure["alignment"] = -(-end // largest) * largest, largest


def enter_signatures(functions):
    signatures = dict(re.findall(r"ROW\((\w+), 0x(\w{8})u\)", (ROOT / TABLE).read_text()))
    for function in functions:
        if function["name"] not in signatures:
            raise Fault(f"{TABLE} has no row for {function['name']}")
        function["signature"] = signatures.pop(function["name"])
    for name in signatures:
        raise Fault(f"{TABLE} has a row for {name}, which no header declares")


def describe():
    """The whole interface."""
    for path in sorted((ROOT / "include/tavroline").glob("*.h")):
        if path.stem not in TOPICS + OTHER_HEADERS:
            raise Fault(f"include/tavroline/{path.name} is not among the TOPICS of scripts/interface/headers.py")
    conventions = (ROOT / "include/tavroline/conventions.h").read_text()
    capacities, *codes = read_constants(conventions)
    capacities = capacities["values"]
    headers = [read_header(topic, capacities) for topic in TOPICS]
    structures = {structure["name"]: structure for header in headers for structure in header["structures"]}
    structures[BOUNDS["name"]] = BOUNDS
    for structure in structures.values():
        lay_out(structure, structures)
    enter_signatures([function for header in headers for function in header["functions"]])
    component = (ROOT / "include/tavroline/component.h").read_text()
    runtime = (ROOT / "platform/CodesysRuntime.h").read_text()
    return {
        "rules": read_rules(conventions),
        "capacities": capacities,
        "constants": codes,
        "bounds": BOUNDS,
        "headers": headers,
        "entry": re.findall(r"^TAVROLINE_EXPORT \w+ (\w+)\(", component, re.MULTILINE),
        "variables": re.findall(r"^extern RUNTIME_EXPORT \w+ (\w+);", runtime, re.MULTILINE),
    }
