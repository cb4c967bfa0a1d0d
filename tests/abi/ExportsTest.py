"""The library's surface: what it exports, what the version script lists, what the headers declare and what it
registers are one and the same set of names.

Use: ExportsTest.py LIBRARY SOURCE_FOLDER [EMULATOR...] HOST
"""

import pathlib
import re
import subprocess
import sys

FUNCTIONS = 38
RUNTIME_FUNCTIONS = 7


def exported(library):
    """Names of the dynamic symbols that the library defines."""
    lines = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    return [line.split()[-1].split("@")[0] for line in lines.splitlines()]


def listed(source):
    """Names in the version script's global part."""
    text = (source / "component/Tavroline.map").read_text()
    return re.findall(r"^\s*(\w+);", text.split("global:")[1].split("local:")[0], re.MULTILINE)


def registered(library, host):
    """Names in the table that the component registers, in its order."""
    lines = subprocess.run([*host, "--list", library], check=True, capture_output=True, text=True).stdout
    return [line.split()[0] for line in lines.splitlines() if line.startswith("  ")]


def declared(source, headers, pattern):
    texts = (path.read_text() for path in sorted(source.glob(headers)))
    return [name for text in texts for name in re.findall(pattern, text, re.MULTILINE)]


def main():
    library, source, host = sys.argv[1], pathlib.Path(sys.argv[2]), sys.argv[3:]
    functions = registered(library, host)
    prototypes = declared(source, "include/tavroline/*.h", r"^TAVROLINE_EXPORT \w+ (\w+)\(")
    variables = declared(source, "platform/CodesysRuntime.h", r"^extern RUNTIME_EXPORT \w+ (\w+);")
    surface = functions + ["ComponentEntry"] + variables

    sources = {"nm -D": exported(library), "version script": listed(source), "headers": prototypes + variables}
    faults = [
        f"{what}: differs in {sorted(set(names) ^ set(surface)) or 'names given twice'}"
        for what, names in sources.items()
        if sorted(names) != sorted(surface)
    ]
    if len(functions) != FUNCTIONS or len(variables) != RUNTIME_FUNCTIONS:
        faults.append(f"{len(functions)} functions and {len(variables)} variables")
    print("\n".join(faults) or f"{len(surface)} names")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
