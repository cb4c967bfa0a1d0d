"""Blocks and examples in Structured Text call what is declared, with its own inputs and outputs and with all inputs of a
function, use constants that exist and hold to the standard's form. No IEC compiler sees these files here.

Use: IecTest.py IEC_FOLDER
"""

import pathlib
import re
import sys

COMMENT_OR_TEXT = re.compile(r"""//.*|'.*?'|".*?\"""")
UNIT = re.compile(r"^(TYPE|FUNCTION|FUNCTION_BLOCK|PROGRAM) (\w+)\b(.*?)^END_\1$", re.DOTALL | re.MULTILINE)
SECTION = re.compile(r"^(STRUCT|VAR\w*)\b(.*?)^END_(?:STRUCT;|VAR)$", re.DOTALL | re.MULTILINE)
# An end without a semicolon, a length in parentheses, the address of an array where that of its element is meant.
LOOSE = re.compile(r"END_(?:IF|FOR|STRUCT)\b(?!;)|STRING\(\d+\)|ADR\(a\w+\)")
MEMBER = re.compile(r"(\w+) : ([\w ]+)")
CALL = re.compile(r"(\w+)(?: := )?\(((?:[^()]|\((?:[^()]|\([^()]*\))*\))*)\)")
SECTIONS = {":=": ("VAR_INPUT", "STRUCT"), "=>": ("VAR_OUTPUT",)}


def units(folder):
    """Structures, functions, blocks and programs by name: their text, and each member's section and type."""
    text = COMMENT_OR_TEXT.sub("", "".join(path.read_text() for path in sorted(folder.glob("*/*.st"))))
    for _, name, body in UNIT.findall(text):
        yield name, (body, {m: (section, type_) for section, members in SECTION.findall(body) for m, type_ in MEMBER.findall(members)})


def faults(name, body, members, declared, constants):
    for callee, arguments in CALL.findall(body):
        callee = members[callee][1] if callee in members else callee
        if callee.endswith("_ext") and callee not in declared:
            yield f"{name}: there is no {callee}"
        given = re.findall(r"(\w+) :=", arguments)
        inputs = declared[callee][1].items() if callee.endswith("_ext") and callee in declared else []
        yield from (f"{name}: {callee} without {i}" for i, (section, _) in inputs if section == "VAR_INPUT" and i not in given)
        for argument, sign in re.findall(r"(\w+) (:=|=>)", arguments) if callee in declared else []:
            if declared[callee][1].get(argument, [""])[0] not in SECTIONS[sign]:
                yield f"{name}: {callee} has no {argument} for {sign}"
    yield from (f"{name}: {loose}" for loose in LOOSE.findall(body))
    yield from (f"{name}: {word} without its end" for word in ("IF", "FOR", "STRUCT")
                if len(re.findall(rf"\b{word}\b", body)) != body.count(f"END_{word};"))
    yield from (f"{name}: there is no {used}" for used in re.findall(r"TAVROLINE_\w+", body) if used not in constants)


folder = pathlib.Path(sys.argv[1])
declared = dict(units(folder))
constants = re.findall(r"^ +(TAVROLINE_\w+) : INT", (folder / "declarations/conventions.st").read_text(), re.MULTILINE)
found = [fault for name, unit in declared.items() for fault in faults(name, *unit, declared, constants)]
sys.exit("\n".join(found) or (0 if "LogEvent" in declared and constants else "nothing was read"))
