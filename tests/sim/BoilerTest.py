"""A boiler that heats again and again for a virtual minute: calls, alarms and lists are what its cycles make.

use: BoilerTest.py SIMULATOR COMPONENT PROGRAM"""
import re
import subprocess
import sys


def entries_of(cycles):
    """Descriptions and icons of the entries that so many cycles make, oldest first."""
    entries, temperature, burns, cooling, hot = [], 20, False, False, False
    for _ in range(cycles):
        cooling = cooling or temperature >= 90
        if burns == cooling:
            burns = not cooling
            entries.append(("burner started", "event-on") if burns else ("burner stopped", "event-off"))
        temperature += 1 if burns else -1
        if hot != (temperature > 80):
            hot = not hot
            entries.append(("water too hot", "alarm-on" if hot else "alarm-off"))
        cooling = cooling and temperature > 60
    if hot:  # its handle is closed
        entries.append(("water too hot", "alarm-off"))
    return entries


said = subprocess.run([sys.argv[1], "--for", "60s", "--log", "boiler.log", *sys.argv[2:]], stdin=subprocess.DEVNULL,
                      stdout=subprocess.PIPE, check=True, text=True, timeout=60).stdout
calls = dict(re.findall(r"^Boiler +(\w+)_ext +(\d+)$", said, re.M))
cycles = int(calls["logalarm"])
expected = entries_of(cycles)
events, alarms = re.search(r"^Event list: (\d+) entries.*?\n(.*)^Alarm list: (\d+) entries\n", said, re.M | re.S).group(2, 3)
found = re.findall(r"^\d+ .* Boiler: (\w.*?\w)  +(\S+)$", events, re.M)
checks = {
    "cycles": (6000 <= cycles <= 6200, True),
    "events logged": (int(calls["logevent"]), sum(icon.startswith("event") for _, icon in expected)),
    "alarms raised": (re.findall(r"^(\d+) +Boiler +Boiler: water too hot$", said, re.M),
                      [str(expected.count(("water too hot", "alarm-on")))]),
    "event entries": (re.findall(r"^Event list: (\d+) ", said, re.M), [str(len(expected))]),
    "newest entries": (found, expected[:-21:-1]),
    "alarm list": (alarms + re.search(r"^Alarm list.*?(off|on) ", said, re.M | re.S)[1], "1off"),
}
wrong = [f"{what}: {is_} instead of {should}" for what, (is_, should) in checks.items() if is_ != should]
print("\n".join(wrong) or f"{cycles} cycles, {len(expected)} entries: good")
sys.exit(bool(wrong))
