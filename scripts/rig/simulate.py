"""Run lives of the whole device on a virtual clock, with the faults of their seeds.

use: simulate [--lives N] [--twice N] [--shrink] [SEED]

Each life: eight PLC tasks call all functions for 60 virtual seconds while faults happen; then 45 seconds without faults
follow, and the library is unloaded. Checked: every load ends in time, and with 0 after the faults or while only the
disk is full; a failed load changes nothing; the flags agree after the faults; calls are repeated with pauses, and the
library is unloaded within 0.6 s; the message counters balance in every record; the lists hold what was handed over and
not named as lost (tests/hostile/Auditor.py). In every 15th life the client's queue is full for a while. --twice runs
the first N seeds twice and compares the digests. --shrink leaves out the faults that a failing seed does not need.
Without SEED the first N (200) run. Records stay in build/simulate/SEED.
"""

import argparse
import concurrent.futures
import functools
import json
import os
import re
import shutil
import subprocess
import sys
import time
from collections import Counter

sys.path.insert(1, os.path.join(os.path.dirname(__file__), "..", "..", "tests", "hostile"))
from Auditor import Audit
from rig import BUILD, ROOT, STOPPED, CheckFailed, check_counters

PROFILES = ["bus", "service", "answers", "store", "plc", "memory", "all"]
SECONDS, CAPACITY, PERIOD, BURST = 60, 300, 100, 3
DAY = 86400 * 10**9  # nanoseconds; the clock is set by whole days
FULL, FULL_SECONDS, FULL_BURST = 15, 10, 150  # in every 15th life more is logged than the client's queue holds
FAULT = re.compile(r"fault (\d+): (.+) from (\d+) ms to (\d+) ms")
NEW_OWNER = ("service killed", "store emptied", "store older", "service replaced", "bus gone", "client cut")
HARMLESS = ("task silent", "late", "clock step", "clock back", "unload")  # a load ends all the same
ENDS_TO_BLAME = 3  # ends of the service, until the client drops a message that was sent alone
MOST = {"Resume": 12, "Hello": 8, "StartServiceByName": 6, "GetState": 10}  # calls within a second: there are pauses
# Nanoseconds: of the hub, the hook and a task; until a client has heard of a new bus; s after the faults.
A_CYCLE, SETTLED, AFTER = 25 * 10**7, 3 * 10**9, 46
UNLOADING = 6 * 10**8  # nanoseconds
LIMIT = 60  # real seconds of a life


class Life:
    """One life; `only` are the numbers of the faults that happen, all if it is empty."""

    def __init__(self, seed, only=()):
        self.seed, self.only = seed, list(only)
        full = seed % FULL == 0
        self.profile = "service" if full else PROFILES[seed % len(PROFILES)]
        self.seconds, self.burst = (FULL_SECONDS, FULL_BURST) if full else (SECONDS, BURST)
        self.folder = os.path.join(ROOT, "build", "simulate", str(seed))
        self.faults, self.digest = [], None  # triples of a kind, begin and end in ms since the begin of the life

    def command(self):
        words = [f"{BUILD}/tavroline-sim", "--for", f"{self.seconds}s", "--seed", str(self.seed), "--faults", self.profile,
                 "--show-faults", "--capacity", str(CAPACITY), "--log", f"{self.folder}/log", "--record", self.folder]
        if self.only:
            words += ["--only", ",".join(map(str, self.only))]
        return words + [f"{BUILD}/libTavroline.so", f"{BUILD}/libtavroline-exerciser.so"]

    def lines(self, name):
        with open(f"{self.folder}/{name}", errors="replace") as file:
            return file.read().splitlines()

    def run(self):
        """@return why the life failed, or None"""
        shutil.rmtree(self.folder, ignore_errors=True)
        os.makedirs(self.folder)
        with open(f"{self.folder}/out", "wb") as out:
            try:
                status = subprocess.run(
                    self.command(), stdin=subprocess.DEVNULL, stdout=out, stderr=subprocess.STDOUT, timeout=LIMIT,
                    check=False, env=dict(os.environ, TZ="UTC", TAVROLINE_EXERCISE=(
                        f"{self.seed} {self.seconds} {self.burst} {self.folder}/returned {PERIOD}"))).returncode
            except subprocess.TimeoutExpired:
                return f"no end within {LIMIT} s"
        said = self.lines("out")
        planned = [match.groups() for match in map(FAULT.match, said) if match]
        self.faults = [(kind, int(begin), int(end)) for number, kind, begin, end in planned
                       if not self.only or int(number) in self.only]
        if status:
            return f"ended with {status}: {said[-1] if said else ''}"
        self.digest = said[-1].split()[-1]
        try:
            return self.judge(said)
        except CheckFailed as failure:
            return str(failure)

    def judge(self, said):
        if problems := Counter(line for line in said if line.startswith("problem ")):
            return ", ".join(f"{number} x {text}" for text, number in problems.items())
        log = self.lines("log")
        counters = check_counters(log)
        handed = sum(map(int, re.findall(r"^handed (\d+)$", "\n".join(said), re.M)))
        if handed != counters["accepted"] + counters["refused"]:
            return f"{handed} messages were handed over: {dict(counters)}"
        with open(f"{self.folder}/life.json") as file:
            life = json.load(file)
        unloaded = "quiet" not in said
        flags = [line.split()[1] for line in said if line.startswith("flags ")]
        if not unloaded and "loaded" not in said:
            return "not every reader has loaded its list since the faults are over"
        if not unloaded and self.signals_arrive() and flags and flags[-1] != life["flags"] + "1":
            return f"flags {flags[-1]} where the service says {life['flags']}, and that the list has changed"
        if late := self.late_flags(said, life):
            return f"the flags after the signal {late}"
        refused = sum(line.split()[2] == "refused" for line in said if line.startswith("did "))
        if counters["rejected"] > refused or counters["ends service"] * ENDS_TO_BLAME > self.count(NEW_OWNER):
            return f"messages were dropped: {dict(counters)}"
        if not self.loads_while_full(said, life["unable"]):
            return "no load ends while the disk is full"
        if not self.interface_is_taken_over(said):
            return "no load ends where a silent task has the list's interface"
        if (most := max(len(entries) for entries, _ in life["stores"])) > CAPACITY:
            return f"a list of {most} entries"
        if often := {method: most for method, most in life["busiest"].items() if most > MOST.get(method, most)}:
            return f"calls without a pause: {often}"
        if life["unloading"] > UNLOADING:
            return f"the unload took {life['unloading'] / 1e9:.1f} s"
        raised = life["raised"], life["raised at"]
        audit = Audit(said, log, counters, [(entries, lost) for entries, lost in life["stores"]], raised, life["cleared"],
                      life["unable"], False, CAPACITY, DAY)
        with open(f"{self.folder}/audit", "w") as file:
            file.writelines(f"{rule}: {words}\n" for rule, words in audit.problems)
        rules = Counter(rule for rule, _ in audit.problems)
        return ", ".join(f"{number} x {rule}" for rule, number in rules.items()) or None

    def count(self, kinds, since=0):
        """The faults of these kinds after which the client hears of a new owner later than `since`, in ms."""
        return sum(kind in kinds and (begin if kind == "service replaced" else end) > since
                   for kind, begin, end in self.faults)

    def signals_arrive(self):
        """Whether the client has heard of the service's last state. A bus loses no signal, so the client asks for the
        state only when the service is new."""
        last = max([end for kind, _, end in self.faults if kind == "signals lost"], default=-1)
        return last < 0 or self.count(NEW_OWNER, min(last, self.seconds * 1000)) > 0

    def late_flags(self, said, life):
        """A signal after which a reader has seen other flags for too long, where nothing kept it from the client."""
        start = life["raised at"] - (self.seconds + AFTER) * 10**9
        held = [(start + begin * 10**6, start + end * 10**6 + SETTLED) for kind, begin, end in self.faults
                if kind.startswith("bus ")]
        rows = [line.split() for line in said if line.startswith("flags ")]
        for width in (4, 1) if self.profile == "bus" and "loaded" in said else ():
            told = [signal for signal in life["signals"] if len(signal[1]) == width]
            for (time, flags), (following, _) in zip(told, [*told[1:], (life["raised at"], "")]):
                seen = [row[1] for row in rows if int(row[2]) <= time + A_CYCLE]
                seen = seen[-1][:4] if width == 4 and seen else seen[-1][4] if seen else ""
                if following > time + A_CYCLE and seen != flags and not any(
                        begin < time + A_CYCLE and end > time for begin, end in held):
                    return f"{flags}: {seen}"
        return None

    def loads_while_full(self, said, unable):
        """Where nothing else failed: requests do not wait for messages that the service cannot store."""
        full = [(begin, end) for kind, begin, end in self.faults if kind == "disk full"]
        ends = [int(line.split()[2]) for line in said if line.startswith("saw ")]
        return self.profile != "memory" or all(
            end < begin + 4000 or any(since + 1e9 < at < since + 4e9 for at in ends)
            or sum(b < begin + 4000 and e > begin - 3000 for _, b, e in self.faults) > 1
            for (begin, end), (since, _) in zip(full, unable))

    def interface_is_taken_over(self, said):
        """Whether a load ended soon after five seconds of each period in which a task was silent, unless another fault kept
        loads from ending."""
        ends = [int(line.split()[2]) % DAY / 1e6 - 1000 for line in said if line.startswith("saw ")]
        unload = min([begin for kind, begin, _ in self.faults if kind == "unload"], default=self.seconds * 1000)
        others = [(begin, end) for kind, begin, end in self.faults if kind not in HARMLESS]
        return all(any(begin + 5000 < at < begin + 9000 for at in ends)
                   or any(b < begin + 9000 and e > begin - 3000 for b, e in others)
                   for kind, begin, end in self.faults if kind == "task silent" and begin + 9000 < min(end, unload))


def shrink(seed):
    """The fewest faults with which the seed still fails in the same way, leaving out one after the other. @return a
    command"""
    def first_words(failure):
        return re.findall("[a-z]+", failure or "")[:3]

    life = Life(seed)
    whole = first_words(life.run())
    needed = list(range(1, len(life.faults) + 1))
    for number in list(needed):
        fewer = [n for n in needed if n != number]
        if fewer and first_words(Life(seed, fewer).run()) == whole:
            needed = fewer
    last = Life(seed, needed)
    failure = last.run()
    return f"faults {needed}: {failure}\n  " + " ".join(last.command())


def run_seed(twice, seed):
    """@param twice run the seed a second time if it is below this one"""
    life = Life(seed)
    failure = life.run()
    if seed < twice and not failure:
        again = Life(seed)
        again.run()
        failure = None if again.digest == life.digest else f"digest {life.digest}, then {again.digest}"
    return seed, life, failure


def main():
    parser = argparse.ArgumentParser("simulate", usage=argparse.SUPPRESS, description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--lives", type=int, metavar="N", help="number of seeds, from SEED (1) on")
    parser.add_argument("--twice", type=int, default=0, metavar="N", help="run the first N seeds twice")
    parser.add_argument("--shrink", action="store_true", help="reduce the faults of the failing seeds")
    parser.add_argument("seed", type=int, nargs="?", metavar="SEED", help="the first one; alone without --lives")
    options = parser.parse_args()
    first = options.seed or 1
    count = options.lives or (1 if options.seed else 200)
    failed, faults, began = [], Counter(), time.monotonic()
    with concurrent.futures.ProcessPoolExecutor() as pool:  # auditing takes a share of the processor, too
        for seed, life, failure in pool.map(functools.partial(run_seed, first + options.twice), range(first, first + count)):
            if STOPPED.is_set():
                pool.shutdown(cancel_futures=True)
                return 1
            faults.update(kind for kind, *_ in life.faults)
            if failure or count < 10:
                print(f"seed {seed:5} {life.profile:8} {failure or 'good, digest ' + life.digest}", flush=True)
            if failure:
                failed.append(seed)
    print(f"{count} lives in {time.monotonic() - began:.0f} s, {len(failed)} failed; faults planned:")
    print("  " + ", ".join(f"{name} {number}" for name, number in sorted(faults.items())))
    for seed in failed:
        print(f"again: scripts/simulate {seed}")
        if options.shrink:
            print("  " + shrink(seed))
    return 1 if failed else 0


sys.exit(main())
