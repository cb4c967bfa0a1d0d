"""Run the library for long and check that its resource use does not grow.

use: soak [MINUTES] [--long] [--docs]

Two parts run side by side for MINUTES (2). One run: the library is loaded once, and eight PLC tasks call all functions
while the list service is killed and restarted again and again. Many runs: one process that keeps Qt mapped loads, uses
and unloads the library; the service is restarted here, too. --long runs until there were a million operations, a
thousand restarts and ten thousand runs. The message counters must balance in every run.

A figure of the process is the value that nine of ten samples do not exceed (the tenth may have been taken while the
library was being loaded). It is flat if it is no higher in the last third of a part than in the middle third; resident
memory may be higher by 5 % plus 1 MiB, since the allocator's state depends on how threads happen to run. The first
third is the warm-up.
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

from rig import BUILD, CALLS, ROOT, CheckFailed, Rig, check_counters, end, pause, wait

FIGURES = ["resident memory, KiB", "descriptors", "threads", "match rules on the bus"]
PAGE = os.path.join(ROOT, "docs", "robustness.md")


class Host:
    """The runtime with the program of eight tasks. Of its output only counters, operations and problems are kept."""

    def __init__(self, rig, seconds, *arguments):
        # With one arena of the allocator, memory does not depend on how many threads have allocated at once.
        environment = dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=rig.address, LD_PRELOAD="libQt5Core.so.5",
                           MALLOC_ARENA_MAX="1", TAVROLINE_EXERCISE=f"1 {seconds} 1")
        self.process = subprocess.Popen(
            [f"{BUILD}/tavroline-host", "--report", *arguments, f"{BUILD}/libTavroline.so",
             f"{BUILD}/libtavroline-exerciser.so"],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=environment, text=True,
            errors="replace")
        rig.children.append(self.process)
        self.rig, self.samples, self.problems = rig, [], []
        self.runs = [[]]  # the records of the message counters, by run
        self.operations = self.handed = 0
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def read(self):
        for line in self.process.stdout:
            if "Books: " in line:
                self.runs[-1].append(line.rstrip("\n"))
            elif call := CALLS.match(line):
                self.operations += int(call.group(2))
            elif line.startswith("handed "):
                self.handed += int(line.split()[1])
            elif line.startswith("end of run "):
                self.runs.append([])
            elif line.startswith("problem "):
                self.problems.append(line)

    def sample(self):
        proc = f"/proc/{self.process.pid}"
        with open(f"{proc}/status") as status:
            resident = int(re.search(r"VmRSS:\s+(\d+)", status.read()).group(1))
        self.samples.append((resident, len(os.listdir(f"{proc}/fd")), len(os.listdir(f"{proc}/task")),
                             match_rules(self.rig)))

    def finish(self):
        """End the host and check its output. @return the sum of its message counters"""
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
        wait("the end of the host", lambda: self.process.poll() is not None, 20)
        self.reader.join()
        if self.process.returncode or self.problems:
            raise CheckFailed(f"the host ended with {self.process.returncode}: {self.problems[:3]}")
        counters = sum(map(check_counters, filter(None, self.runs)), Counter())
        if self.handed != counters["accepted"] + counters["refused"]:
            raise CheckFailed(f"{self.handed} messages were handed over: {counters}")
        return counters


def match_rules(rig):
    """The number of match rules on the bus; only the library's client adds any."""
    said = subprocess.run(["dbus-send", f"--bus={rig.address}", "--print-reply", "--dest=org.freedesktop.DBus",
                           "/org/freedesktop/DBus", "org.freedesktop.DBus.Debug.Stats.GetStats"],
                          capture_output=True, text=True).stdout
    return int(re.search(r'"MatchRules"\s+variant\s+uint32 (\d+)', said).group(1))


class Service:
    """The list service; a restart kills it and starts it with empty lists."""

    def __init__(self, rig):
        self.rig, self.child, self.starts = rig, None, 0
        self.restart()

    def restart(self, gap=0.0):
        if self.child:
            self.stop()
            pause(gap)
        self.starts += 1
        while self.rig.lines("service.log").count("ready") < self.starts:
            self.child = self.rig.start("service.log", [f"{BUILD}/tavroline-listd"])
            wait("the service", lambda: self.child.poll() is not None or
                 self.rig.lines("service.log").count("ready") >= self.starts, 20)
            if self.child.poll() is not None:
                self.stop()  # the bus had not yet noticed the end of the last one: the name was taken

    def stop(self):
        end(self.child)
        self.rig.children.remove(self.child)


def one_run(seconds, restarts):
    """@return the host, its message counters and the number of restarts"""
    with Rig(os.path.join(ROOT, "build", "soak", "one")) as rig:
        rig.start_bus()
        service, host = Service(rig), Host(rig, 1e9)
        begin, dice = time.monotonic(), random.Random(1)
        while host.process.poll() is None and (time.monotonic() - begin < seconds or service.starts <= restarts):
            pause(dice.uniform(0.1, 0.6))
            service.restart(dice.uniform(0, 0.1))
            host.sample()
        counters = host.finish()
        print(f"one run: {host.operations:,} operations, {service.starts - 1:,} restarts", flush=True)
        return host, counters, service.starts - 1


def many_runs(count):
    """@return the host and the seconds taken"""
    with Rig(os.path.join(ROOT, "build", "soak", "many")) as rig:
        rig.start_bus()
        service, begin = Service(rig), time.monotonic()
        host = Host(rig, 0.02, "--repeat", str(count))
        while host.process.poll() is None:
            try:
                host.sample()
            except (FileNotFoundError, AttributeError):
                break  # it has ended meanwhile
            pause(0.2)
            if len(host.samples) % 5 == 0:
                service.restart()
        host.finish()
        print(f"many runs: {host.operations:,} operations, {len(host.runs) - 1:,} runs", flush=True)
        return host, time.monotonic() - begin


def runs_for(seconds):
    """As many runs as fit into the time; the first 30 are measured for that. Stopping the process instead would cut off
    the last run before it writes its message counters."""
    return many_runs(int(seconds / many_runs(30)[1] * 28) + 30)[0]


def judge(samples):
    """One row per figure: its name, its values in the middle and in the last third, whether it is flat."""
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
        first = pool.submit(one_run, seconds, 1000 if options.long else 0)
        second = pool.submit(lambda: many_runs(10000)[0] if options.long else runs_for(seconds))
        (one, counters, restarts), many = first.result(), second.result()
    runs = len(many.runs) - 1
    if options.long and (one.operations < 1000000 or runs < 10000):
        raise CheckFailed(f"too few for --long: {one.operations} operations, {runs} runs")

    parts = [("one run", judge(one.samples)), ("many runs", judge(many.samples))]
    minutes = (time.monotonic() - begin) / 60
    text = (f"{one.operations:,} operations and {restarts:,} restarts of the service in one run,\n"
            f"{counters['accepted']:,} messages accepted, {counters['delivered']:,} delivered, "
            f"{counters['superseded']:,} superseded, {counters['dropped']:,} dropped; "
            f"{runs:,} runs in one process with {many.operations:,} operations; "
            f"{minutes:.0f} minutes.\n\n{table(parts)}")
    print("\n" + text)
    if options.docs:
        write_docs(text)
    for title, rows in parts:
        for name, middle, last, flat in rows:
            if not flat:
                raise CheckFailed(f"not flat: {title}, {name}: {middle} to {last}")


try:
    main()
except CheckFailed as failure:
    sys.exit(f"soak: {failure}")
