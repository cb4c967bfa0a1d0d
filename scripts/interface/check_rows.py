"""The description as C++ for desk/host/ParameterCheck.cpp, which checks the values of a call's inputs: a function per
structure with a row per rule of a field, and a row per external function."""

import re

from headers import Fault
from trace_rows import bounds_by_array, nested_first


def code_row(structure, member):
    """The numbers that a code has and the words about them: what the meaning says before the first semicolon."""
    meanings = member["meaning"].split(";")[0]
    numbers = re.findall(r"\b\d+\b", meanings)
    if not numbers:
        raise Fault(f"{structure['name']}.{member['name']}: the meaning of a code begins with its numbers")
    return f'checkCode(found, at + "{member["name"]}", s.{member["name"]}, "{meanings}", {{{", ".join(numbers)}}});'


def row(structure, member, bounds, checked):
    name, unit = member["name"], member["unit"]
    place, value = f'at + "{name}"', f"s.{name}"
    if unit == "code":
        return code_row(structure, member)
    if unit == "bounds":
        return f"checkBounds(found, {place}, {value});"
    if unit == "bytes":
        texts = next(m["name"] for m in structure["members"] if m["name"] in bounds and m["unit"] == "UTF-8")
        return f'checkSize(found, {place}, {value}, "{texts}", s.{bounds[texts]});'
    if unit == "count" and member["type"] == "RTS_IEC_DINT":
        return f"checkRoom(found, {place}, {value});"
    if member["pointer"] and "null: not wanted" in member["meaning"]:
        return None
    if member["type"] not in checked:
        needed = unit in ("address", "handle") or name in bounds
        return f"checkNotNull(found, {place}, {value});" if needed else None
    if name in bounds:
        return f"checkArray(found, {place}, {value}, s.{bounds[name]});"
    return f"checkTarget(found, {place}, {'' if member['pointer'] else '&'}{value});"


def order_rows(structure):
    """The row for a range of times: the members whose meanings begin with 'earliest' and 'latest'."""
    times = {m["meaning"].split()[0]: m["name"] for m in structure["members"] if m["unit"] == "s local"}
    if not times:
        return []
    earliest, latest = times["earliest"], times["latest"]
    return [f'checkOrder(found, "{earliest}", s.{earliest}, at + "{latest}", s.{latest});']


def by_name(description):
    return {s["name"]: s for header in description["headers"] for s in header["structures"]}


def rules_of_structures(description):
    """Structure -> its rows; those without a rule are left out."""
    rules = {}
    for structure in nested_first({name: s for name, s in by_name(description).items() if "alias" not in s}):
        bounds = bounds_by_array(structure)
        inputs = [m for m in structure["members"] if m["direction"].startswith("in")]
        rows = [*filter(None, (row(structure, m, bounds, rules) for m in inputs)), *order_rows(structure)]
        if rows:
            rules[structure["name"]] = rows
    return rules


def field_rules(description):
    text = ""
    for name, rows in rules_of_structures(description).items():
        lines = "".join(f"  {row}\n" for row in rows)
        text += f"void check(Texts& found, const {name}& s, const std::string& at) {{\n{lines}}}\n\n"
    return text


def function_row(function, structure, checked):
    name, type_ = function["name"], function["structure"]
    check = f"checkCall<{type_}>" if structure.get("alias", type_) in checked else "nullptr"
    kind = {"open": "Opens", "clos": "Closes"}.get(name[:4], "None")
    handle = [m["name"] for m in structure["members"] if m["unit"] == "handle" and kind != "None"]
    read = f'"{handle[0]}", handleOf<{type_}, &{type_}::{handle[0]}>' if handle else '"", nullptr'
    return f'{{"{name}", {{{check}, HandleUse::Kind::{kind}, {read}}}}},\n'


def function_rules(description):
    structures, checked = by_name(description), rules_of_structures(description)
    functions = [f for header in description["headers"] for f in header["functions"]]
    return "".join(function_row(f, structures[f["structure"]], checked) for f in functions)
