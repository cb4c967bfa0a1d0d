"""Run the library for long and see whether it stays as it is.

use: soak [MINUTES] [--long] [--docs]

Two parts run side by side for MINUTES (2). One life of the library: eight PLC tasks use everything at once while the
list service is killed and started again and again. Many lives in one process that keeps Qt mapped: load, use, unload;
the service goes and comes here, too. --long goes on until a million operations, a thousand restarts and ten thousand
lives have been. The books have to balance all the time.

A figure of the process is what nine of ten samples do not exceed (the tenth may have met the loader at work). It counts
as flat when it is no higher in the last third of a part than in the middle third; resident memory may be higher by 5 %
plus 1 MiB, since threads, lists and the allocator do not meet in the same way twice. The first third is warming up.
--docs puts the figures into docs/robustness.md.
"""

import argparse
import concurrent.futures
import os
import random
import re
import signal
import subprocess
import sys
import threading
import time
from collections import Counter

from rig import BUILD, ROOT, Device, CheckFailed, check_books, end, pause, wait

FIGURES = ["resident memory, KiB", "descriptors", "threads", "match rules on the bus"]
PAGE = os.path.join(ROOT, "docs", "robustness.md")


class Host:
    """The runtime with the program of eight tasks; of what it prints only what counts is kept."""

    def __init__(self, device, seconds, *arguments):
        environment = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=device.address, LD_PRELOAD="libQt5Core.so.5",
                           TAVROLINE_EXERCISE=f"1 {seconds} 1")
        self.process = subprocess.Popen(
            [f"{BUILD}/tavroline-host", *arguments, f"{BUILD}/libTavroline.so", f"{BUILD}/libtavroline-exerciser.so"],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=environment, text=True,
            errors="replace")
        device.children.append(self.process)
        self.device, self.samples, self.problems = device, [], []
        self.lives = [[]]  # of each the records of the books
        self.operations = self.handed = 0
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            if "Books: " in line:
                self.lives[-1].append(line.rstrip("\n"))
            elif line.startswith("call "):
                self.operations += int(line.split()[2])
            elif line.startswith("handed "):
                self.handed += int(line.split()[1])
            elif line.startswith("end of life "):
                self.lives.append([])
            elif line.startswith("problem "):
                self.problems.append(line)

    def sample(self):
        proc = f"/proc/{self.process.pid}"
        with open(f"{proc}/status") as status:
            resident = int(re.search(r"VmRSS:\s+(\d+)", status.read()).group(1))
        self.samples.append((resident, len(os.listdir(f"{proc}/fd")), len(os.listdir(f"{proc}/task")),
                             match_rules(self.device)))

    def finish(self):
        """Let it end, and see that it was well; gives its books."""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        wait("the end of the host", lambda: self.process.poll() is not None, 20)
        self.reader.join()
        if self.process.returncode or self.problems:
            raise CheckFailed(f"the host ended with {self.process.returncode}: {self.problems[:3]}")
        books = sum(map(check_books, filter(None, self.lives)), Counter())
        if self.handed != books["accepted"] + books["refused"]:
            raise CheckFailed(f"{self.handed} messages were handed over: {books}")
        return books


def match_rules(device):
    """What the bus counts: only the library's client installs any on this bus."""
    said = subprocess.run(["dbus-send", f"--bus={device.address}", "--print-reply", "--dest=org.freedesktop.DBus",
                           "/org/freedesktop/DBus", "org.freedesktop.DBus.Debug.Stats.GetStats"],
                          capture_output=True, text=True).stdout
    return int(re.search(r'"MatchRules"\s+variant\s+uint32 (\d+)', said).group(1))


class Service:
    """The list service, killed and started again, which empties its lists."""

    def __init__(self, device):
        self.device, self.child, self.starts = device, None, 0
        self.restart()

    def restart(self, gap=0.0):
        if self.child:
            self.stop()
            pause(gap)
        self.starts += 1
        while self.device.lines("service.log").count("ready") < self.starts:
            self.child = self.device.start("service.log", [f"{BUILD}/tavroline-listd"])
            wait("the service", lambda: self.child.poll() is not None or
                 self.device.lines("service.log").count("ready") >= self.starts, 20)
            if self.child.poll() is not None:
                self.stop()  # the bus had not noticed yet that the one before has gone

    def stop(self):
        end(self.child)
        self.device.children.remove(self.child)


def one_life(seconds, restarts):
    """@return the host, its books and the number of restarts"""
    with Device(os.path.join(ROOT, "build", "soak", "one")) as device:
        device.start_bus()
        service, host = Service(device), Host(device, 1e9)
        begin, dice = time.monotonic(), random.Random(1)
        while host.process.poll() is None and (time.monotonic() - begin < seconds or service.starts <= restarts):
            pause(dice.uniform(0.1, 0.6))
            service.restart(dice.uniform(0, 0.1))
            host.sample()
        books = host.finish()
        print(f"one life: {host.operations:,} operations, {service.starts - 1:,} restarts", flush=True)
        return host, books, service.starts - 1


def many_lives(lives):
    """@return the host and how long it took"""
    with Device(os.path.join(ROOT, "build", "soak", "many")) as device:
        device.start_bus()
        service, begin = Service(device), time.monotonic()
        host = Host(device, 0.02, "--lives", str(lives))
        while host.process.poll() is None:
            try:
                host.sample()
            except (FileNotFoundError, AttributeError):
                break  # it has ended meanwhile
            pause(0.2)
            if len(host.samples) % 5 == 0:
                service.restart()
        host.finish()
        print(f"many lives: {host.operations:,} operations, {len(host.lives) - 1:,} lives", flush=True)
        return host, time.monotonic() - begin


def lives_for(seconds):
    """As many lives as the time allows, by a first look at how long they take; a stop in the midst would end the last
    one before its books are closed."""
    return many_lives(int(seconds / many_lives(30)[1] * 28) + 30)[0]


def judge(samples):
    """Figures of the middle and the last third, and whether that is flat: one row per figure."""
    third = len(samples) // 3
    if third == 0:
        raise SystemExit("soak: too short to be judged")
    rows = []
    for index, name in enumerate(FIGURES):
        middle, last = (sorted(sample[index] for sample in part)[len(part) * 9 // 10]
                        for part in (samples[third:2 * third], samples[2 * third:]))
        allowed = middle * 1.05 + 1024 if index == 0 else middle
        rows.append((name, middle, last, last <= allowed))
    return rows


def table(parts):
    lines = ["| part | figure | middle third | last third |", "| --- | --- | --- | --- |"]
    for title, rows in parts:
        for name, middle, last, _ in rows:
            lines.append(f"| {title} | {name} | {middle:,} | {last:,} |")
            title = ""
    return "\n".join(lines)


def write_docs(text):
    with open(PAGE) as file:
        page = file.read()
    begin, finish = "<!-- soak -->\n", "<!-- end of soak -->"
    head, rest = page.split(begin)
    with open(PAGE, "w") as file:
        file.write(head + begin + text + "\n" + finish + rest.split(finish)[1])


def main():
    parser = argparse.ArgumentParser("soak", usage=argparse.SUPPRESS, description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("minutes", type=float, nargs="?", default=2.0)
    parser.add_argument("--long", action="store_true")
    parser.add_argument("--docs", action="store_true")
    options = parser.parse_args()
    seconds, begin = options.minutes * 60, time.monotonic()
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        first = pool.submit(one_life, seconds, 1000 if options.long else 0)
        second = pool.submit(lambda: many_lives(10000)[0] if options.long else lives_for(seconds))
        (one, books, restarts), many = first.result(), second.result()
    lives = len(many.lives) - 1
    if options.long and (one.operations < 1000000 or lives < 10000):
        raise CheckFailed("that was not long")

    parts = [("one life", judge(one.samples)), ("many lives", judge(many.samples))]
    minutes = (time.monotonic() - begin) / 60
    text = (f"{one.operations:,} operations and {restarts:,} restarts of the service in one life,\n{books['accepted']:,} "
            f"messages accepted, {books['delivered']:,} delivered, {books['superseded']:,} superseded, "
            f"{books['dropped']:,} dropped; "
            f"{lives:,} lives in one process with {many.operations:,} operations; {minutes:.0f} minutes.\n\n{table(parts)}")
    print("\n" + text)
    if options.docs:
        write_docs(text)
    for title, rows in parts:
        for name, middle, last, flat in rows:
            if not flat:
                raise CheckFailed(f"not flat: {title}, {name}: {middle} to {last}")


try:
    main()
except CheckFailed as wrong:
    sys.exit(f"soak: {wrong}")
