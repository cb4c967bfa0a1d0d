"""Runs each command of the README, docs/ci.md and docs/plant.md in a temporary folder and compares its output with the page.

use: ReadmeTest.py SOURCE_FOLDER. Reads the blocks marked `console`; "..." matches any lines, "$ scripts/test" and
"$ scripts/soak" are not run."""
import os, pathlib, re, subprocess, sys, tempfile

# What differs from run to run, and the widths of columns with it.
BLANKS = [(r"\d{4}-\d\d-\d\d[T ]\d\d:\d\d:\d\d[.\d]*(Z|[+-]\d\d:\d\d)?", "TIME"), (r"\b\d\d:\d\d:\d\d\b", "TIME"),
          (r"\{[0-9a-f]{8}\b", "ID"), (r"0x[0-9a-f]+", "ADDRESS"),
          (r"\d+ us\b", "N"), (r"(_ext +\d+) +\d+ +\d+$", r"\1 N"), (r"unix:path=\S+", "PATH"), (r"owned by :\S+", "owned"),
          (r", (not )?synchronised.*", ""), (r"\s+", " ")]


def plain(line):
    for pattern, blank in BLANKS:
        line = re.sub(pattern, blank, line)
    return line.strip()


def agrees(expected, printed):
    """Whether the lines are those expected, "..." standing for any."""
    parts = [".*" if line == "..." else re.escape(line + "\n") for line in expected]
    return re.fullmatch("".join(parts), "".join(line + "\n" for line in printed), re.DOTALL)


def wrong_commands(source, page):
    """Runs the page's commands in one shell; those that fail or print something else."""
    commands = []  # each with the lines that it prints
    for block in re.findall(r"^```console\n(.*?)^```", (source / page).read_text(), re.DOTALL | re.MULTILINE):
        for line in block.splitlines():
            if line.startswith("$ "):
                commands.append((line[2:], []))
            else:
                commands[-1][1].append(plain(line))
    commands = [c for c in commands if not re.match("scripts/(test|soak)", c[0])]
    with tempfile.TemporaryDirectory() as folder:
        for entry in source.iterdir():
            os.symlink(entry, os.path.join(folder, entry.name))
        end = "end of the output"
        script = "".join(f"{command}\necho '{end}' $?\n" for command, _ in commands)
        shell = subprocess.run(["bash"], input=script, cwd=folder, env={**os.environ, "XDG_RUNTIME_DIR": folder},
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    outputs = re.findall(rf"(.*?){end} (\d+)\n", shell.stdout, re.DOTALL)
    assert commands and len(outputs) == len(commands), shell.stdout
    return [f"{page}: $ {command}\n{output}-- status {status}, expected:\n" + "\n".join(expected)
            for (command, expected), (output, status) in zip(commands, outputs)
            if status != "0" or not agrees(expected, [plain(line) for line in output.splitlines()])]


pages = ["README.md", "docs/ci.md", "docs/plant.md"]
if not os.access("/lib/systemd/systemd-journal-remote", os.X_OK):
    print(f"{pages.pop()} is not run: systemd-journal-remote is not installed")
sys.exit("\n".join(w for page in pages for w in wrong_commands(pathlib.Path(sys.argv[1]), page)) or 0)
