"""A private device for scripts/hostile and scripts/soak: a bus, what runs on it, and what the runtime log tells."""

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
BUS_CONFIGURATION = os.path.join(ROOT, "platform", "dbus", "private-bus.conf")

class CheckFailed(Exception):
    """Something did not hold that must."""


# Whoever ends a script ends what it has started: the next wait of every thread ends by an exception.
STOPPED = threading.Event()
for number in (signal.SIGINT, signal.SIGTERM):
    signal.signal(number, lambda *_: STOPPED.set())


def pause(seconds):
    if STOPPED.wait(max(0.0, seconds)):
        raise CheckFailed("stopped")


def wait(what, condition, seconds):
    """Look at the condition until it gives something; that is returned."""
    end_of_wait = time.monotonic() + seconds
    while not (found := condition()):
        if time.monotonic() > end_of_wait:
            raise CheckFailed(f"{what}: not within {seconds} s")
        pause(0.01)
    return found


class Device:
    """A bus with a socket in a folder of its own. Programs write into files of `logs`; all end with the block."""

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
        """Start a program whose standard output and error go to the end of a file."""
        with open(self.file(output), "ab") as file:
            child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=file, stderr=subprocess.STDOUT,
                                     env=dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=self.address, **environment))
        self.children.append(child)
        return child

    def start_bus(self, limits=""):
        """@param limits elements of a bus configuration; the socket listens when this returns"""
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


BOOKS = re.compile(r"Books: accepted .*")
FIGURE = re.compile(r"([a-z][a-z ]*) (\d+)")


def check_books(lines):
    """Every record of the books of one life of the library has to balance, and nothing be pending in the last one,
    after unload. @return the figures of the last one"""
    books = Counter()
    for match in filter(None, map(BOOKS.search, lines)):
        books = Counter({name: int(figure) for name, figure in FIGURE.findall(match.group())})
        if books["accepted"] != books["delivered"] + books["pending"] + books["superseded"] + books["dropped"] or \
                books["dropped"] != sum(books[cause] for cause in ("unsendable", "rejected", "unanswered", "unload")) or \
                books["refused"] != books["queue full"] + books["out of memory"]:
            raise CheckFailed("books do not balance: " + match.group())
    if books["pending"] or not books:
        raise CheckFailed(f"after unload: {dict(books) or 'no record of the books'}")
    return books
