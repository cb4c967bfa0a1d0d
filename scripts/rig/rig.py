"""The test rig of scripts/hostile and scripts/soak: a private bus, the programs on it, and the message counters that
the library writes into the runtime log."""

import os
import re
import shutil
import signal
import subprocess
import tempfile
import threading
import time
from collections import Counter

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
BUILD = os.path.join(ROOT, "build", "release")
BUS_CONFIGURATION = os.path.join(ROOT, "desk", "dbus", "private-bus.conf")


class CheckFailed(Exception):
    """A check of the rig failed; the text says which."""


# A signal ends the script and its children: the next wait of every thread raises CheckFailed.
STOPPED = threading.Event()
for number in (signal.SIGINT, signal.SIGTERM):
    signal.signal(number, lambda *_: STOPPED.set())


def pause(seconds):
    if STOPPED.wait(max(0.0, seconds)):
        raise CheckFailed("stopped")


def wait(what, condition, seconds):
    """Poll the condition until its result is true; returns that result. Raises CheckFailed after `seconds`."""
    end_of_wait = time.monotonic() + seconds
    while not (found := condition()):
        if time.monotonic() > end_of_wait:
            raise CheckFailed(f"{what}: not within {seconds} s")
        pause(0.01)
    return found


class Rig:
    """A bus with its socket in a temporary folder. Programs write into files of `logs`. The end of the with block ends
    all of them."""

    def __init__(self, logs):
        self.logs = logs
        self.children = []
        shutil.rmtree(logs, ignore_errors=True)
        os.makedirs(logs)

    def __enter__(self):
        self.sockets = tempfile.mkdtemp(prefix="tavroline-")
        self.address = f"unix:path={self.sockets}/bus"
        return self

    def __exit__(self, *_):
        for child in reversed(self.children):
            end(child)
        shutil.rmtree(self.sockets)

    def file(self, name):
        return os.path.join(self.logs, name)

    def start(self, output, command, **environment):
        """Start a program; its standard output and error are appended to a file."""
        with open(self.file(output), "ab") as file:
            child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=file, stderr=subprocess.STDOUT,
                                     env=dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=self.address, **environment))
        self.children.append(child)
        return child

    def start_bus(self, limits=""):
        """@param limits elements of a bus configuration. The socket listens when this returns."""
        if os.path.exists(f"{self.sockets}/bus"):
            os.unlink(f"{self.sockets}/bus")
        with open(self.file("bus.conf"), "w") as file:
            file.write('<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"\n'
                       ' "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">\n'
                       f"<busconfig><include>{BUS_CONFIGURATION}</include>{limits}</busconfig>\n")
        bus = self.start("bus.log", ["dbus-daemon", "--nofork", f"--config-file={self.file('bus.conf')}",
                                     f"--address={self.address}"])
        wait("the bus", lambda: os.path.exists(f"{self.sockets}/bus"), 5)
        return bus

    def lines(self, name):
        """The complete lines of a file so far."""
        try:
            with open(self.file(name), errors="replace") as file:
                return file.read().split("\n")[:-1]
        except FileNotFoundError:
            return []


def end(child):
    if child.poll() is None:
        child.kill()
    child.wait()


# A row of the host's report: function, calls, longest call in microseconds.
CALLS = re.compile(r"^\S+ +(\w+)_ext +(\d+) +\d+ +(\d+)$", re.M)
COUNTERS = re.compile(r"Books: accepted .*")
FIGURE = re.compile(r"([a-z][a-z ]*) (\d+)")
SUMS = {
    "accepted": ("delivered", "pending", "superseded", "dropped"),
    "dropped": ("rejected", "ends service", "unload"),
    "refused": ("queue full", "out of memory", "unsendable"),
}


def check_counters(lines):
    """Check the records of the message counters of one run of the library: each must balance, and the last one, written
    after unload, must have nothing pending. @return the figures of the last one"""
    counters = Counter()
    for match in filter(None, map(COUNTERS.search, lines)):
        counters = Counter({name: int(figure) for name, figure in FIGURE.findall(match.group())})
        for total, parts in SUMS.items():
            if counters[total] != sum(counters[part] for part in parts):
                raise CheckFailed(f"{total} is not the sum of its parts: {match.group()}")
    if counters["pending"] or not counters:
        raise CheckFailed(f"after unload: {dict(counters) or 'no record of the counters'}")
    return counters
