"""The description as iec/tavroline.xml, the exchange format of PLCopen's technical committee 6, version 2.01: types and
functions, and the codes as global constants of a configuration."""

import itertools
import re
import xml.etree.ElementTree as ET

from headers import ROOT, Fault
from structured_text import BOUNDS, SECTIONS

FORMAT = "http://www.plcopen.org/xml/tc6_0201"
XHTML = "http://www.w3.org/1999/xhtml"
SIGNATURE = "tavroline.signature"  # names the additional data that has a function's signature identifier
NOTE = "No tool has imported this file here."
SECTION_NAMES = {"VAR_INPUT": "inputVars", "VAR_OUTPUT": "outputVars"}
TYPE_NAMES = {"DATE_AND_TIME": "DT", "__ARRAY__DIM__INFO": BOUNDS}
ELEMENTARY = ["BOOL", "INT", "UINT", "DINT", "ULINT", "DT"]


def add(parent, tag, **attributes):
    return ET.SubElement(parent, tag, attributes)


def add_text(parent, tag, text):
    ET.SubElement(add(parent, tag), "xhtml", {"xmlns": XHTML}).text = text


def add_type(parent, member):
    """The element for a member's type."""
    name = member["type"].removeprefix("RTS_IEC_")
    name = TYPE_NAMES.get(name, name)
    if member["pointer"]:
        parent = add(add(parent, "pointer"), "baseType")
    if name in ("STRING", "WSTRING"):
        add(parent, name.lower(), **({"length": str(member["capacity"] - 1)} if member["capacity"] else {}))
    elif name in ELEMENTARY:
        add(parent, name)
    else:
        add(parent, "derived", name=name)


def add_members(parent, members):
    for member in members:
        variable = add(parent, "variable", name=member["name"])
        add_type(add(variable, "type"), member)
        add_text(variable, "documentation", f"{member['direction']} [{member['unit']}]: {member['meaning']}")


def add_structure(parent, structure):
    data_type = add(parent, "dataType", name=structure["name"])
    add_members(add(add(data_type, "baseType"), "struct"), structure["members"])
    add_text(data_type, "documentation", structure["about"])


def add_function(parent, function, structure):
    pou = add(parent, "pou", name=function["name"], pouType="function")
    interface = add(pou, "interface")
    for section, members in itertools.groupby(structure["members"], lambda member: SECTIONS[member["direction"]]):
        add_members(add(interface, SECTION_NAMES[section]), members)
    add_text(add(pou, "body"), "ST", "")
    data = add(add(pou, "addData"), "data", name=SIGNATURE, handleUnknown="preserve")
    add(data, "signature").text = f"16#{function['signature']}"
    add_text(pou, "documentation", f"{function['about']} Results: {function['result']}. On failure: {function['failure']}.")


def add_constants(parent, groups):
    configuration = add(add(add(parent, "instances"), "configurations"), "configuration", name="Tavroline")
    for group in groups:
        variables = add(configuration, "globalVars", constant="true")
        for name, value in group["values"].items():
            variable = add(variables, "variable", name=name)
            add(add(variable, "type"), "INT")
            add(add(variable, "initialValue"), "simpleValue", value=str(value))
        add_text(variables, "documentation", group["about"])


def add_headers(project):
    """The two headers, with the newest version of CHANGELOG.md and its date."""
    version = re.search(r"^## ([\d.]+) \((.+)\)$", (ROOT / "CHANGELOG.md").read_text(), re.MULTILINE)
    if not version:
        raise Fault("CHANGELOG.md has no heading of the form '## VERSION (DATE)'")
    add(project, "fileHeader", companyName="Tavroline authors", productName="Tavroline", productVersion=version[1],
        creationDateTime=f"{version[2]}T00:00:00")
    content = add(project, "contentHeader", name="Tavroline")
    add(content, "Comment").text = NOTE
    coordinates = add(content, "coordinateInfo")
    for language in ("fbd", "ld", "sfc"):
        add(add(coordinates, language), "scaling", x="1", y="1")


def plcopen(description, written_by):
    headers = description["headers"]
    structures = {s["name"]: s for header in headers for s in header["structures"]}
    functions = [f for header in headers for f in header["functions"]]
    parameters = {f["structure"] for f in functions}
    project = ET.Element("project", xmlns=FORMAT)
    add_headers(project)
    types = add(project, "types")
    data_types = add(types, "dataTypes")
    handle = add(add(data_types, "dataType", name="TavrolineHandle"), "baseType")
    add(add(add(handle, "pointer"), "baseType"), "BYTE")
    for structure in [{**description["bounds"], "name": BOUNDS}, *structures.values()]:
        if structure["name"] not in parameters:
            add_structure(data_types, structure)
    pous = add(types, "pous")
    for function in functions:
        add_function(pous, function, structures[function["structure"]])
    add_constants(project, description["constants"])
    ET.indent(project, " ")
    note = f"<!-- {written_by} from the C headers; change those. {NOTE} -->"
    return f'<?xml version="1.0" encoding="utf-8"?>\n{note}\n{ET.tostring(project, encoding="unicode")}\n'
