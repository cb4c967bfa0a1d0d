"""The description as the reference page docs/interface.md."""

from structured_text import type_name

TAG_TITLES = {"result": "results", "failure": "on failure", "thread": "thread", "blocks": "may block"}


def table(structure, function=None):
    rows = ["| at | name | type | direction | unit | meaning |", "| --- | --- | --- | --- | --- | --- |"]
    for m in structure["members"]:
        cells = [m["offset"], f"`{m['name']}`", type_name(m), m["direction"], m["unit"], m["meaning"]]
        rows.append(f"| {' | '.join(map(str, cells))} |")
    rows.append(f"| {structure['size']} | *size* | | | | alignment {structure['alignment']} |")
    if function:
        rows += [f"| | **{title}** | | | | {function[tag]} |" for tag, title in TAG_TITLES.items()]
    return "\n".join(rows)


def section(header):
    """One C header: its functions, then its other structures."""
    parts = [f"## {header['name']}.h", header["about"]]
    structures = {structure["name"]: structure for structure in header["structures"]}
    for function in header["functions"]:
        parts += [f"### `{function['name']}`", function["about"], table(structures[function["structure"]], function)]
    parameters = {function["structure"] for function in header["functions"]}
    for name, structure in structures.items():
        if name not in parameters:
            parts += [f"### `{name}`", *([structure["about"]] if structure["about"] else []), table(structure)]
    return parts


def page(description, written_by):
    parts = [
        "# The interface, function by function",
        f"<!-- {written_by} from include/tavroline/*.h; change those. -->",
        "Offsets and sizes are those of the 32-bit target. How the pieces work together: [protocols](protocols.md). The\n"
        "same in Structured Text: [iec](../iec/README.md).",
        "## Rules for all functions",
        "\n".join(f"{number}. {rule}" for number, rule in enumerate(description["rules"], 1)),
    ]
    for header in description["headers"]:
        parts += section(header)
    return "\n\n".join(parts) + "\n"
