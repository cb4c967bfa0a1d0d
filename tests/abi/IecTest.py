"""Blocks and examples in Structured Text use only names that exist: variables, members, constants, and of each callee
its own inputs and outputs. No IEC compiler sees these files here.

Use: IecTest.py IEC_FOLDER
"""

import pathlib
import re
import sys

LANGUAGE = set("IF THEN ELSIF ELSE END_IF FOR TO DO END_FOR AND OR NOT TRUE FALSE ADR SIZEOF TO_INT MAX MIN".split())
TIMER = "FUNCTION_BLOCK TON\nVAR_INPUT\n IN : BOOL;\n PT : TIME;\nEND_VAR\nVAR_OUTPUT\n Q : BOOL;\nEND_VAR\nEND_FUNCTION_BLOCK\n"
NOT_NAMES = re.compile(r"""//.*|\{.*?\}|'.*?'|".*?"|\w+\#[\w.:-]+|\b\d[\w.]*""")
UNIT = re.compile(r"^(TYPE|FUNCTION|FUNCTION_BLOCK|PROGRAM) (\w+)\b(.*?)^END_\1$", re.DOTALL | re.MULTILINE)
SECTION = re.compile(r"^(STRUCT|VAR\w*)\b(.*?)^END_(?:STRUCT|VAR)$", re.DOTALL | re.MULTILINE)
MEMBER = re.compile(r"(\w+) : ([^;:]+?)(?: := ([^;]*))?;")
ARGUMENTS = re.compile(r"(\w+)(?: := )?\(((?:[^()]|\((?:[^()]|\([^()]*\))*\))*)\)")
PATH = re.compile(r"\w+(?:\[[^]]*\])?(?:\.\w+(?:\[[^]]*\])?)+")


class Unit:
    """A structure, function, block or program: its members' types, the section of each, and its statements."""

    def __init__(self, name, text):
        self.name, self.types, self.sections, self.statements = name, {}, {}, SECTION.sub("", text)
        for section, members in SECTION.findall(text):
            for member, type_, initial in MEMBER.findall(members):
                self.types[member] = type_.split(" OF ")[-1]
                self.sections[member] = section
                # A structure's initial value has the form of a call.
                self.statements += f"\n{self.types[member]}{initial};" if initial.startswith("(") else f"\n{initial};"


def read(folder, *patterns):
    text = "".join(path.read_text() for pattern in patterns for path in sorted(folder.glob(pattern)))
    text = NOT_NAMES.sub("", text + TIMER)
    constants = re.findall(r"^ +(TAVROLINE_\w+) : INT", text, re.MULTILINE)
    return {name: Unit(name, body) for _, name, body in UNIT.findall(text)}, constants


def wrong_arguments(unit, units):
    for callee, arguments in ARGUMENTS.findall(unit.statements):
        callee = units.get(unit.types.get(callee, callee))
        for name, sign in re.findall(r"(\w+) (:=|=>)", arguments) if callee else []:
            if callee.sections.get(name) not in (["VAR_OUTPUT"] if sign == "=>" else ["VAR_INPUT", "STRUCT"]):
                yield f"{callee.name} has no {name} for {sign}"


def wrong_members(unit, units):
    for path in PATH.findall(unit.statements):
        first, *members = re.sub(r"\[[^]]*\]", "", path).split(".")
        type_ = unit.types.get(first)
        for member in members:
            type_ = units[type_].types.get(member) if type_ in units else None
            if not type_:
                yield f"there is no {path}"


def wrong_names(unit, known):
    text = re.sub(r"\.\w+|[(,]\s*\w+ (?::=|=>)", " ", unit.statements)
    yield from (f"{name} is unknown" for name in re.findall(r"\b[A-Za-z_]\w*", text) if name not in known)
    for block in ("IF", "FOR"):
        if text.split().count(block) != len(re.findall(rf"\bEND_{block}\b", text)):
            yield f"{block} without END_{block}"


def main():
    folder = pathlib.Path(sys.argv[1])
    units, constants = read(folder, "*/*.st")
    used, _ = read(folder, "blocks/*.st", "examples/*.st")
    known = {*units, *constants, *LANGUAGE}
    faults = [
        f"{unit.name}: {fault}"
        for unit in used.values()
        for fault in [*wrong_arguments(unit, units), *wrong_members(unit, units), *wrong_names(unit, known | unit.types.keys())]
    ]
    return "\n".join(faults) or (0 if len(used) > 1 and constants else "nothing was read")


sys.exit(main())
