"""Structured Text side and reference page are what the C headers say to the target's compiler and what the library
registers; blocks and examples use only names that exist.

Use: IecTest.py LIBRARY SOURCE_FOLDER [EMULATOR...] HOST
"""

import pathlib
import re
import subprocess
import sys
from types import SimpleNamespace as Unit

COMPILER = "arm-linux-gnueabihf-gcc -fsyntax-only -Wall -Wextra -Werror -Iinclude -Iplatform -xc -".split()
WORD = re.compile(r"""//.*|\{.*?\}|'.*?'|".*?"|\w+\#[\w.:-]+|\d+(?:\.\d+)?|\w+|:=|=>|<>|[<>]=|\.\.|\S""")
C_TYPES = {name: f"RTS_IEC_{name}" for name in "BOOL INT UINT DINT ULINT DATE_AND_TIME STRING WSTRING".split()}
C_TYPES |= {"stArrayDimInfo": "__ARRAY__DIM__INFO", "BYTE": "char"}
LANGUAGE = set("IF THEN ELSIF ELSE END_IF FOR TO DO END_FOR AND OR NOT TRUE FALSE ADR SIZEOF TO_INT MAX MIN".split())
KINDS = ["TYPE", "FUNCTION", "FUNCTION_BLOCK", "PROGRAM", "VAR_GLOBAL"]
TIMER = "FUNCTION_BLOCK TON VAR_INPUT IN : BOOL; PT : TIME; END_VAR VAR_OUTPUT Q : BOOL; END_VAR END_FUNCTION_BLOCK"


def parse(text):
    """Structures and program units. Initial values of members stand in the body, a structure's like a call."""
    units, attributes, section = [], {}, ""
    for word in (words := iter([word for word in WORD.findall(text) if not word.startswith("//")])):
        if word.startswith("{"):
            attributes |= dict(re.findall(r"'([\w.]+)' := '([\w#]+)'", word))
        elif word in KINDS:
            units.append(Unit(kind=word, name=next(words), attributes=attributes, types={}, sections={}, body=[]))
            attributes, section = {}, "STRUCT" if word == "VAR_GLOBAL" else ""
        elif re.fullmatch("(END_)?(STRUCT|VAR.*)", word):
            section = word if not word.startswith("END_") else ""
        elif section:
            member = [next(words), *iter(lambda: next(words), ";")]
            end = member.index(":=") if ":=" in member else len(member)
            units[-1].types[word], units[-1].sections[word] = " ".join(member[1:end]), section
            units[-1].body += [word, *member[end + (member[end + 1 : end + 2] == ["("]) :], ";"]
        elif word not in [f"END_{kind}" for kind in KINDS]:
            units[-1].body.append(word)
    return units


def declaration(type_):
    """C type, array suffix, and whether an initialiser takes braces."""
    text = re.fullmatch(r"(W?STRING) \( (\d+) \)", type_)
    if text:
        return C_TYPES[text[1]], f"[{int(text[2]) + 1}]", True
    base = type_.removeprefix("POINTER TO ")
    return C_TYPES.get(base, base) + "*" * (base != type_), "", base == type_ and base.startswith("st")


def assertions(unit, name):
    """C text that compiles only if the header's structure is this one: the same members, types and places."""
    members = [(member, *declaration(type_)) for member, type_ in unit.types.items()]
    yield f"#pragma pack(push, {unit.attributes.get('pack_mode', 8)})\ntypedef struct {{"
    yield from (f"{c_type} {member}{suffix};" for member, c_type, suffix, _ in members)
    yield f"}} iec_{name};\n#pragma pack(pop)"
    yield f"{name} all_{name} = {{{', '.join('{0}' if braces else '0' for *_, braces in members)}}};"
    yield f'_Static_assert(sizeof({name}) == sizeof(iec_{name}) && _Alignof({name}) == _Alignof(iec_{name}), "{name}");'
    for member, c_type, suffix, _ in members:
        field, constant = f"(({name}*)0)->{member}", f"const {c_type}*: 1," if "*" in c_type else ""
        yield f"_Static_assert(_Generic(&{field}, {c_type}(*){suffix}: 1, {constant} default: 0) &&"
        yield f'  offsetof({name}, {member}) == offsetof(iec_{name}, {member}), "{name}.{member}");'


def page_assertions(page):
    """What the reference page says of places and sizes, as C text."""
    for name, rows in re.findall(r"^### `(\w+)`\n(.*?)(?=^##|\Z)", page, re.MULTILINE | re.DOTALL):
        structure = re.sub("_ext$", "_struct", name)
        for offset, member in re.findall(r"^\| (\d+) \| [`*](\w+)[`*] \|", rows, re.MULTILINE):
            place = f"sizeof({structure})" if member == "size" else f"offsetof({structure}, {member})"
            yield f'_Static_assert({place} == {offset}, "page: {name}.{member}");'


def unknown(unit, units, named):
    """Names in a unit that stand for nothing, arguments that the callee does not have, blocks without an end."""
    opened, current = [], None
    for previous, word, following in zip(["", *unit.body], unit.body, [*unit.body[1:], ""]):
        callee = units.get(opened[-1]) if opened else None
        if word in "([":
            current = opened.append(current)
        elif word in ")]":
            current = (opened.pop() or "").split(" OF ")[-1]
        elif not re.match(r"[A-Za-z_]\w*$", word) or word in LANGUAGE:
            current = current if word == "." else None
        elif callee and following in (":=", "=>"):
            current = callee.types.get(word)
            if callee.sections.get(word) not in (["VAR_OUTPUT"] if following == "=>" else ["VAR_INPUT", "STRUCT"]):
                yield f"{unit.name}: {callee.name} has no {word} {following}"
        else:
            scope = units[current].types if previous == "." and current in units else {**named, **unit.types}
            current = scope.get(word)
            if not current:
                yield f"{unit.name}: {word} is unknown"
    unended = (block for block in ("IF", "FOR") if unit.body.count(block) != unit.body.count(f"END_{block}"))
    yield from (f"{unit.name}: {block} without end" for block in unended)


def main():
    library, root, host = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3:]
    declared, used = (parse("\n".join(map(pathlib.Path.read_text, root.glob(f)))) for f in ("iec/d*/*", "iec/[be]*/*"))
    functions = {unit.name: unit for unit in declared if unit.kind == "FUNCTION"}
    structures = {unit.name: unit for unit in declared if unit.kind == "TYPE" and unit.types}
    handle, constants = (unit for unit in declared if unit.name in ("TavrolineHandle", "CONSTANT"))
    parameters = {re.sub("_ext$", "_struct", name): unit for name, unit in functions.items()}
    lines = ['#include "tavroline/tavroline.h"', *page_assertions((root / "docs/interface.md").read_text())]
    same = [("sizeof(TavrolineHandle)", f"sizeof({declaration(' '.join(handle.body[1:-1]))[0]})")]
    same += re.findall(r"(TAVROLINE_(?:DONE|BUSY|ERROR)) := (\d)", " ".join(constants.body))
    lines += [f'_Static_assert({a} == {b}, "{a}");' for a, b in same]
    types = {C_TYPES.get(name, name): unit for name, unit in {**structures, **parameters}.items()}
    lines += [line for name, unit in types.items() for line in assertions(unit, name)]
    lines += [f"void (*const call_{unit.name})({name}*) = {unit.name};" for name, unit in parameters.items()]
    found = subprocess.run(COMPILER, cwd=root, input="\n".join(lines), capture_output=True, text=True)
    faults = re.findall(r"error: .*", found.stderr)
    listed = subprocess.check_output([*host, "--list", library], text=True)
    rows = {name: f"{name} +{unit.attributes['tavroline.signature'][3:]}  01000105" for name, unit in functions.items()}
    faults += [f"table: {name}" for name, row in rows.items() if not re.search(row, listed)]
    headers = "".join(path.read_text() for path in root.glob("include/tavroline/*.h") if path.stem != "component")
    named = set(re.findall(r"^(?:\}|typedef \w+) (\w+);", headers, re.MULTILINE))
    faults += [f"headers: {name}" for name in named ^ {*types} ^ {"__ARRAY__DIM__INFO"}]
    units = {unit.name: unit for unit in [*declared, *used, *parse(TIMER)]}
    faults += [fault for unit in used for fault in unknown(unit, units, {**constants.types, **dict(zip(units, units))})]
    return "\n".join(faults) or found.returncode or (len(functions), listed.count("_ext ")) != (38, 38)


if __name__ == "__main__":
    sys.exit(main())
