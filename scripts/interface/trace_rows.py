"""The description as rows of macros for desk/host/ParameterText.cpp, which prints a call's parameter structure."""

from headers import Fault


def bounds_by_array(structure):
    """Array -> the member with its bounds; the meaning of such a member is 'of ARRAY'."""
    names = [member["name"] for member in structure["members"]]
    bounds = {}
    for member in structure["members"]:
        if member["unit"] == "bounds":
            array = member["meaning"].removeprefix("of ")
            if array not in names:
                raise Fault(f"{structure['name']}.{member['name']}: the meaning of bounds is 'of' and a member's name")
            bounds[array] = member["name"]
    return bounds


def row(member, bounds, element_size, filled_count):
    name = member["name"]
    if name in bounds and member["unit"] == "address":
        return f"ARRAY({name}, {bounds[name]})"
    if name in bounds:
        return f"TEXTS({name}, {bounds[name]}, {element_size})"
    if filled_count and member["unit"] == "address":
        return f"FILLED({name}, {filled_count})"
    return f"FIELD({name})"


def structure_rows(structure):
    bounds = bounds_by_array(structure)
    sizes = [member["name"] for member in structure["members"] if member["unit"] == "bytes"]
    counts = [m["name"] for m in structure["members"] if (m["direction"], m["unit"]) == ("out", "count")]
    rows = [row(m, bounds, sizes[0] if sizes else "", counts[0] if counts else "") for m in structure["members"]]
    return [f"STRUCTURE({structure['name']})", *rows, "END_STRUCTURE"]


def nested_first(structures):
    """The structures, each after those that its members refer to."""
    ordered = {}

    def add(structure):
        for member in structure["members"]:
            if member["type"] in structures:
                add(structures[member["type"]])
        ordered[structure["name"]] = structure

    for structure in structures.values():
        add(structure)
    return ordered.values()


def trace_rows(description):
    headers = description["headers"]
    structures = {s["name"]: s for header in headers for s in header["structures"] if "alias" not in s}
    rows = [line for structure in nested_first(structures) for line in structure_rows(structure)]
    for header in headers:
        rows += [f"FUNCTION({function['name']}, {function['structure']})" for function in header["functions"]]
    return "\n".join(rows) + "\n"
