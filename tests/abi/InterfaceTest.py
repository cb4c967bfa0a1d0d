"""The library's surface, the two tables written by hand, layout assertions and outside table, and iec/tavroline.xml have
what the description of the C headers has: the same names, places, sizes and signature identifiers.

Use: InterfaceTest.py DESCRIPTION LIBRARY SOURCE_FOLDER C_COMPILER [EMULATOR...] HOST
"""

import json
import pathlib
import re
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

VERSION = "01000105"
WIDTHS = {"BOOL": 1, "INT": 2, "UINT": 2, "DINT": 4, "ULINT": 8, "DT": 4, "pointer": 4, "string": 1, "wstring": 2}


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def differences(place, rows, expected):
    """What `place` lacks, has too much or says otherwise."""
    for name in sorted(expected.keys() | rows.keys()):
        if name not in rows:
            yield f"{place} has no row for {name}"
        elif name not in expected:
            yield f"{place} has a row for {name}, which no header declares"
        elif rows[name] != expected[name]:
            yield f"{place} says {rows[name]} of {name}, the headers say {expected[name]}"


def layout_assertions(source, structures):
    """Size and alignment of each structure, offset and size of each member."""
    text = (source / "component/LayoutAssertions.cpp").read_text()
    rows = re.findall(r"^(?:SIZE|FIELD)\((\w+(?:, [A-Za-z]\w*)?), (\d+), (\d+)\);", text, re.MULTILINE)
    rows = {name.replace(", ", "."): (int(first), int(second)) for name, first, second in rows}
    return {name: numbers for name, numbers in rows.items() if name.split(".")[0] in structures}


def layouts(structures):
    """The layout assertions that there must be."""
    for name, structure in structures.items():
        yield name, (structure["size"], structure["alignment"])
        yield from ((f"{name}.{m['name']}", (m["offset"], m["size"])) for m in structure["members"])


def outside_table(source, compiler):
    """Signature and size of each layout, offset and width of each field by its direction."""
    text = output(compiler, "-E", "-P", "-xc", source / "tests/abi/OutsideTable.h").replace('" "', "")
    rows = {}
    for name, signature, size, fields in re.findall(r'\{"(\w+)", (\w+), (\d+), \{(.*?)\}\}', text, re.DOTALL):
        rows[name] = (f"{int(signature, 16):08X}", int(size))
        for field, offset, width, is_output in re.findall(r'\{"([\w.]+)", (\d+), (\d+), (\w+)', fields):
            rows[f"{name}.{field} {'in' if is_output in ('0', 'false') else 'out'}"] = (int(offset), int(width))
    return rows


def fields(name, structure, structures, start=0):
    """The fields that the outside table must have for a structure; those of a nested one stand in its place."""
    for member in structure["members"]:
        path, offset = f"{name}.{member['name']}", start + member["offset"]
        if member["type"] in structures and not member["pointer"]:
            yield from fields(path, structures[member["type"]], structures, offset)
        elif member["direction"] != "unused":
            for direction in member["direction"].split("/"):
                yield f"{path} {direction}", (offset, member["size"])


def exchanged(source):
    """Signature of each function of iec/tavroline.xml; offset and size of each variable, which follow from the types there."""
    space, layouts, rows = "{http://www.plcopen.org/xml/tc6_0201}", {"TavrolineHandle": (4, 4)}, {}
    types, pous = list(ElementTree.parse(source / "iec/tavroline.xml").getroot().find(f"{space}types"))
    for unit in [*types, *pous]:
        end, largest = 0, 1
        for variable in unit.iter(f"{space}variable"):
            kind = variable.find(f"{space}type")[0]
            align = WIDTHS.get(kind.tag.removeprefix(space))
            size, align = layouts[kind.get("name")] if not align else (align * (int(kind.get("length", 0)) + 1), align)
            start = -(-end // align) * align
            rows[f"{unit.get('name')}.{variable.get('name')}"] = (start, size)
            end, largest = start + size, max(largest, align)
        layouts.setdefault(unit.get("name"), (-(-end // largest) * largest, largest))
        rows |= {unit.get("name"): signature.text for signature in unit.iter(f"{space}signature")}
    return rows


def main():
    description, library, source, compiler, *host = sys.argv[1:]
    description, source = json.loads(pathlib.Path(description).read_text()), pathlib.Path(source)
    functions = {f["name"]: f for header in description["headers"] for f in header["functions"]}
    structures = {s["name"]: s for header in description["headers"] for s in header["structures"]}
    all_structures = {**structures, description["bounds"]["name"]: description["bounds"]}

    exported = [line.split()[-1].split("@")[0] for line in output("nm", "-D", "--defined-only", library).splitlines()]
    names = [*functions, *description["entry"], *description["variables"]]
    found = [*differences("the library's dynamic symbol table", dict.fromkeys(exported), dict.fromkeys(names))]
    registered = re.findall(r"^  (\w+) +(\w+) +(\w+)", output(*host, "--list", library), re.MULTILINE)
    expected = {name: (f["signature"], VERSION) for name, f in functions.items()}
    found += differences("the registered table", {name: (a, b) for name, a, b in registered}, expected)

    assertions = layout_assertions(source, all_structures)
    found += differences("component/LayoutAssertions.cpp", assertions, dict(layouts(all_structures)))

    units = {"stArrayDimInfo": description["bounds"], **structures} | {n: structures[f["structure"]] for n, f in functions.items()}
    for name in {f["structure"] for f in functions.values()}:
        del units[name]
    expected = {name: f"16#{f['signature']}" for name, f in functions.items()}
    expected |= {f"{name}.{m['name']}": (m["offset"], m["size"]) for name, s in units.items() for m in s["members"]}
    found += differences("iec/tavroline.xml", exchanged(source), expected)

    by_row = {name: (f["signature"], structures[f["structure"]]) for name, f in functions.items()}
    by_row |= {name: ("0" * 8, s) for name, s in structures.items() if name.startswith("stGet")}
    expected = {name: (signature, s["size"]) for name, (signature, s) in by_row.items()}
    for name, (_, structure) in by_row.items():
        expected |= fields(name, structure, all_structures)
    found += differences("tests/abi/OutsideTable.h", outside_table(source, compiler), expected)
    return "\n".join(found) or (0 if functions else "the description has no functions")


sys.exit(main())
