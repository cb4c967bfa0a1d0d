"""The description in Structured Text: how a type is written there, and the declarations of one C header."""

import itertools
import textwrap

BOUNDS = "stArrayDimInfo"
SECTIONS = {"in": "VAR_INPUT", "in/out": "VAR_INPUT", "unused": "VAR_INPUT", "out": "VAR_OUTPUT"}


def type_name(member):
    name = BOUNDS if member["type"] == "__ARRAY__DIM__INFO" else member["type"].removeprefix("RTS_IEC_")
    if member["pointer"]:
        return f"POINTER TO {name}"
    return f"{name}[{member['capacity'] - 1}]" if member["capacity"] else name


def comment(text):
    return textwrap.wrap(text, width=110, initial_indent="// ", subsequent_indent="//   ")


def member_lines(members):
    return [f"    {m['name']} : {type_name(m)}; // {m['direction']} [{m['unit']}]: {m['meaning']}" for m in members]


def structure_lines(structure):
    opening = [*comment(structure["about"]), "{attribute 'pack_mode' := '8'}", f"TYPE {structure['name']} :", "STRUCT"]
    return [*opening, *member_lines(structure["members"]), "END_STRUCT;", "END_TYPE", ""]


def function_lines(function, structure):
    """The parameter structure's members in their order, in sections by direction."""
    lines = comment(function["about"])
    for title, tag in {"Results": "result", "On failure": "failure", "May block": "blocks"}.items():
        lines += comment(f"{title}: {function[tag]}.")
    lines += [f"{{attribute 'tavroline.signature' := '16#{function['signature']}'}}", f"FUNCTION {function['name']}"]
    for section, members in itertools.groupby(structure["members"], lambda member: SECTIONS[member["direction"]]):
        lines += [section, *member_lines(members), "END_VAR"]
    return [*lines, "END_FUNCTION", ""]


HANDLE = """\
// A read or write handle: opaque, 0 means none.
TYPE TavrolineHandle : POINTER TO BYTE;
END_TYPE
"""


def conventions(description, written_by):
    """What every other declaration needs: the handle, the bounds of an array and the codes by name."""
    lines = [f"// {written_by} from include/tavroline/conventions.h, which has the rules too; change that.", "", HANDLE]
    lines += [*structure_lines({**description["bounds"], "name": BOUNDS}), "VAR_GLOBAL CONSTANT"]
    for group in description["constants"]:
        lines.append(f"    // {group['about']}")
        lines += [f"    {name} : INT := {value};" for name, value in group["values"].items()]
    return "\n".join([*lines, "END_VAR"]) + "\n"


def declarations(header, written_by):
    """A header's structures and functions."""
    lines = [f"// {written_by} from include/tavroline/{header['name']}.h; change that.", *comment(header["about"]), ""]
    structures = {structure["name"]: structure for structure in header["structures"]}
    parameters = {function["structure"] for function in header["functions"]}
    for name, structure in structures.items():
        lines += structure_lines(structure) if name not in parameters else []
    for function in header["functions"]:
        lines += function_lines(function, structures[function["structure"]])
    return "\n".join(lines)
