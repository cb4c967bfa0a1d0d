"""The description as the manual page docs/man/tavroline.3."""

from structured_text import type_name

TAG_TITLES = {"result": "Results", "failure": "On failure", "blocks": "May block"}


def roff(text):
    """A text without what roff takes for a request or an escape."""
    text = text.replace("\\", "\\e").replace("-", "\\-").replace('"', "\\(dq")
    return f"\\&{text}" if text[:1] in (".", "'") else text


def tagged(tag, text):
    return [".TP", tag, roff(text)]


def fields(structure):
    lines = []
    for m in structure["members"]:
        lines += tagged(f".BR {m['name']} \" ({roff(type_name(m))}, {m['direction']}, {m['unit']})\"", m["meaning"])
    return lines


def section(header):
    """One C header: its functions, then its other structures."""
    structures = {s["name"]: s for s in header["structures"]}
    parameters = {f["structure"] for f in header["functions"]}
    lines = [f".SH {header['name'].upper()}.H", roff(header["about"])]
    for function in header["functions"]:
        lines += [f".SS {function['name']}", roff(function["about"])]
        lines += fields(structures[function["structure"]])
        for tag, title in TAG_TITLES.items():
            lines += tagged(f".I {title}", function[tag])
    for name, structure in structures.items():
        if name not in parameters:
            lines += [f".SS {name}", roff(structure["about"]), *fields(structure)]
    return lines


def manual(description, written_by):
    lines = [
        f'.\\" {written_by} from include/tavroline/*.h; change those.',
        '.TH TAVROLINE 3 "" "Tavroline @PROJECT_VERSION@" "Tavroline"',
        ".SH NAME",
        "tavroline \\- event and alarm lists for PLC programs",
        ".SH SYNOPSIS",
        ".B #include <tavroline/tavroline.h>",
        ".SH DESCRIPTION",
        "A PLC program finds each function by its name in the table that the component registers, and calls it with one",
        "pointer to its parameter structure, (logevent_struct*) for logevent_ext. Types are named as in IEC code. These rules hold for all functions:",
    ]
    for number, rule in enumerate(description["rules"], 1):
        lines += [f".IP {number}. 4", roff(rule)]
    lines += [".SH CODES"]
    for group in description["constants"]:
        values = ", ".join(f"{name} {value}" for name, value in group["values"].items())
        lines += tagged(f".I {roff(group['about'])}", values)
    for header in description["headers"]:
        lines += section(header)
    return "\n".join([*lines, ".SH SEE ALSO", ".BR tavroline\\-host (1)"]) + "\n"
