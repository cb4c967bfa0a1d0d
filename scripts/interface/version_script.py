"""The description as component/Tavroline.map: what the library exports, every other name stays local."""


def version_script(description, written_by):
    functions = [function["name"] for header in description["headers"] for function in header["functions"]]
    lines = [f"# {written_by} from the C headers; change those.", "{", "  global:"]
    for names in (description["entry"], functions, description["variables"]):
        lines += [*(f"    {name};" for name in sorted(names)), ""]
    return "\n".join([*lines, "  local:", "    *;", "};"]) + "\n"
