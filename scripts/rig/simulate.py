"""Run lives of the whole device on a virtual clock, with the faults of their seeds.

use: simulate [--lives N] [--twice N] [--shrink] [SEED]

Each life: eight PLC tasks call all functions for 60 virtual seconds while faults happen; then 45 seconds without faults
follow, and the library is unloaded. Checked: every load ends in time, and with 0 after the faults; the flags agree then;
the message counters balance in every record; the lists hold what was handed over and not named as lost
(tests/hostile/Auditor.py). --twice runs the first N seeds twice and compares the digests. --shrink leaves out the faults that a
failing seed does not need. Without SEED the first N (200) run. Records stay in build/simulate/SEED.
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
LIMIT = 60  # real seconds of a life


class Life:
    """One life; `only` are the numbers of the faults that happen, all if it is empty."""

    def __init__(self, seed, only=()):
        self.seed, self.only = seed, list(only)
        self.profile = PROFILES[seed % len(PROFILES)]
        self.folder = os.path.join(ROOT, "build", "simulate", str(seed))
        self.faults, self.digest = [], None

    def command(self):
        words = [f"{BUILD}/tavroline-sim", "--for", f"{SECONDS}s", "--seed", str(self.seed), "--faults", self.profile,
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
                        f"{self.seed} {SECONDS} {BURST} {self.folder}/returned {PERIOD}"))).returncode
            except subprocess.TimeoutExpired:
                return f"no end within {LIMIT} s"
        said = self.lines("out")
        self.faults = [line.split(" from ")[0].split(": ")[1] for line in said if line.startswith("fault ")]
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
        if not unloaded and flags and flags[-1][:5] != life["flags"]:
            return f"flags {flags[-1]} where the service says {life['flags']}"
        raised = life["raised"], life["raised at"]
        audit = Audit(said, log, counters, [(entries, lost) for entries, lost in life["stores"]], raised, life["cleared"],
                      life["unable"], False, CAPACITY, DAY)
        with open(f"{self.folder}/audit", "w") as file:
            file.writelines(f"{rule}: {words}\n" for rule, words in audit.problems)
        rules = Counter(rule for rule, _ in audit.problems)
        return ", ".join(f"{number} x {rule}" for rule, number in rules.items()) or None


def shrink(seed):
    """The fewest faults with which the seed still fails, leaving out one after the other. @return a command"""
    life = Life(seed)
    life.run()
    needed = list(range(1, len(life.faults) + 1))
    for number in list(needed):
        fewer = [n for n in needed if n != number]
        if fewer and Life(seed, fewer).run():
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
            faults.update(life.faults)
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
