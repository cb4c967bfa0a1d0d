"""Run the library in a host against a faulty list service and a faulty bus.

use: hostile [--seeds N] [SEED]

Each seed is a run of a few seconds: eight PLC tasks call all functions while the faults of the seed's profile are
injected; then a healthy service starts and the library is unloaded. Checked: every load ends, with 0 after that start;
no call and no hook takes more than a second (parsing a list of 100,000 entries under its lock excepted); the flags are
right within two seconds of that start; the message counters balance, agree with the number of messages handed over,
and count only messages as delivered that the service has confirmed. Without SEED the first N (40) run. Logs stay in
build/hostile/SEED.
"""

import argparse
import concurrent.futures
import os
import random
import re
import signal
import sys
import time
from collections import Counter

from rig import BUILD, CALLS, ROOT, STOPPED, CheckFailed, Rig, check_counters, end, pause, wait

WATCHDOG = 1000000  # microseconds
FLAGS_RIGHT = 2  # seconds
# The documented exception: these parse, or wait for the lock under which another task does.
PARSING = re.compile("(open|close)(event|alarm)listreadhandle|loadcomplete|get(event|alarm)listentries|hook")

# profile: faults of the service (number n: one call in n), what happens to service and bus, other settings
PROFILES = [
    ("late", {"late": 20}, [], {}),
    ("never", {"never": 30}, [], {}),
    ("error", {"error": 4}, [], {}),
    ("broken lists", {"json": 2}, [], {}),
    ("wrong types", {"types": 4}, [], {}),
    ("100,000 entries", {"many": 15}, [], {}),
    ("signals", {"dropped": 3}, [], {}),
    ("signal before reply", {"early": 2}, [], {}),
    ("unconfirmed", {"unconfirmed": 30}, ["killed"], {}),
    ("limits of the bus", {}, [], {"limits": '<limit name="max_replies_per_connection">4</limit>'}),
    ("full queue", {}, ["stopped"], {"burst": 400}),
    ("stopped", {}, ["stopped"] * 3, {}),
    ("killed", {}, ["killed"] * 4, {}),
    ("restarted empty", {}, ["emptied"] * 4, {}),
    ("new owner", {}, ["replaced"] * 4, {}),
    ("bus dies", {}, ["bus dies"] * 2, {}),
    ("bus stopped", {}, ["bus stopped"] * 2, {}),
    ("no answers for long", {"mute": 1}, [], {"seconds": 20}),
    ("everything", {"late": 40, "never": 100, "error": 20, "json": 9, "types": 20, "dropped": 9,
                    "early": 9, "unconfirmed": 99},
     ["stopped", "killed", "emptied", "replaced", "bus dies", "bus stopped"], {}),
]


class SeedRun:
    """The run of one seed: service, bus and host, from the start to the unloading."""

    def __init__(self, seed, rig):
        self.seed, self.rig = seed, rig
        self.random = random.Random(seed)
        self.profile, self.faults, self.events, settings = PROFILES[(seed - 1) % len(PROFILES)]
        self.limits = settings.get("limits", "")
        self.burst = settings.get("burst", 3)
        self.seconds = settings.get("seconds", 2)
        self.done = Counter({"replies limited by the bus": 1} if self.limits else {})
        self.service = None

    def start_service(self, journal, faults, database=""):
        """A service with these faults; returns once it owns the name."""
        before = self.rig.lines(journal).count("ready")
        words = [str(word) for fault in faults.items() for word in fault]
        self.service = self.rig.start(journal, [f"{BUILD}/tavroline-faulty-listd", str(self.random.randrange(1 << 30)),
                                                   database, *words])
        wait("the service", lambda: self.rig.lines(journal).count("ready") > before, 20)

    def disturb(self, event):
        """Carry out one event of the profile on the service or the bus."""
        gap = self.random.uniform(0.05, 0.6)
        self.done[event] += 1
        stopped = {"stopped": self.service, "bus stopped": self.bus}.get(event)
        if stopped:
            stopped.send_signal(signal.SIGSTOP)
            pause(gap)
            stopped.send_signal(signal.SIGCONT)
            return
        if event == "replaced":
            old = self.service
            self.start_service("service.log", self.faults)
            pause(gap)
            end(old)
            return
        end(self.bus if event == "bus dies" else self.service)
        pause(gap)
        if event == "bus dies":
            end(self.service)
            self.bus = self.rig.start_bus(self.limits)
        self.start_service("service.log", self.faults, "" if event == "emptied" else self.database)

    def run(self):
        self.database = self.rig.file("lists.db")
        self.bus = self.rig.start_bus(self.limits)
        self.start_service("service.log", self.faults, self.database)
        returned = self.rig.file("returned")
        host = self.rig.start(
            "host.log", [f"{BUILD}/tavroline-host", "--report", "--log", self.rig.file("runtime.log"),
                         f"{BUILD}/libTavroline.so", f"{BUILD}/libtavroline-exerciser.so"],
            TAVROLINE_EXERCISE=f"{self.seed} {self.seconds} {self.burst} {returned}")
        started = time.monotonic()
        for number, event in enumerate(self.events, 1):
            due = started + self.seconds * (number - self.random.random()) / len(self.events)
            pause(due - time.monotonic())
            self.disturb(event)
        wait("the end of the work", lambda: "quiet" in self.rig.lines("host.log"), self.seconds + 10)
        end(self.service)
        self.start_service("return.log", {}, self.random.choice(["", self.database]))
        open(returned, "w").close()
        self.watch_flags(host)
        host.send_signal(signal.SIGTERM)
        if (status := wait("the end of the host", lambda: host.poll() is not None and [host.returncode], 10)[0]) != 0:
            raise CheckFailed(f"the host ended with {status}")
        return self.judge()

    def watch_flags(self, host):
        """Wait until the healthy service's lists are loaded and the flags are right. Raises CheckFailed if the flags
        are wrong for longer than FLAGS_RIGHT."""
        last, wrong_since, end_of_wait = None, time.monotonic(), time.monotonic() + 60
        while True:
            now = time.monotonic()
            truth = last_word("flags", self.rig.lines("return.log"))
            said = self.rig.lines("host.log")
            seen = last_word("flags", said) or ""
            loaded = "loaded" in said
            right = seen[:5] == truth and (not loaded or seen[5] == "1")
            if truth != last or right:
                wrong_since = now
            last = truth
            if loaded and right:
                return
            if now - wrong_since > FLAGS_RIGHT:
                raise CheckFailed(f"flags {seen} where the service says {truth}")
            if now > end_of_wait or host.poll() is not None:
                raise CheckFailed("the lists were not loaded from the healthy service")
            pause(0.02)

    def judge(self):
        """Check the logs. @return counts, longest calls and injected faults of this run"""
        said = self.rig.lines("host.log")
        for line in said:
            if line.startswith("problem "):
                raise CheckFailed(line)
        text = "\n".join(said)
        calls, longest = 0, Counter(hook=int(re.search(r"^hook .* (\d+)$", text, re.M).group(1)))
        for name, count, took in CALLS.findall(text):
            calls += int(count)
            longest |= Counter({name: int(took)})
        for name, took in longest.items():
            if took > WATCHDOG and not ("many" in self.faults and PARSING.match(name)):
                raise CheckFailed(f"{name} took {took} microseconds")
        journal = self.rig.lines("service.log") + self.rig.lines("return.log")
        confirmed = len({line for line in journal if line.startswith("confirmed ")})
        self.done.update(line[6:] for line in journal if line.startswith("fault "))
        counters = check_counters(self.rig.lines("runtime.log"))
        handed = sum(map(int, re.findall(r"^handed (\d+)$", text, re.M)))
        if handed != counters["accepted"] + counters["refused"]:
            raise CheckFailed(f"{handed} messages were handed over: {counters}")
        if "mute" in self.faults and counters["refused"]:
            raise CheckFailed(f"unanswered requests held up messages: {counters}")
        if not counters["delivered"] <= confirmed <= counters["accepted"]:
            raise CheckFailed(f"the service has confirmed {confirmed}: {counters}")
        if counters["unsendable"]:
            raise CheckFailed(f"a text that the bus refuses was handed to it: {counters}")
        return Counter(calls=calls, handed=handed, **counters), longest, self.done


def last_word(key, lines):
    found = [line for line in lines if line.startswith(key + " ")]
    return found[-1].split()[1] if found else None


def run_seed(seed):
    with Rig(os.path.join(ROOT, "build", "hostile", str(seed))) as rig:
        run = SeedRun(seed, rig)
        try:
            return seed, run.profile, run.run(), None
        except CheckFailed as failure:
            return seed, run.profile, None, str(failure)


def main():
    parser = argparse.ArgumentParser("hostile", usage=argparse.SUPPRESS, description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seeds", type=int, metavar="N", help="number of seeds, from SEED (1) on")
    parser.add_argument("seed", type=int, nargs="?", metavar="SEED", help="the first one; alone without --seeds")
    options = parser.parse_args()
    first = options.seed or 1
    count = options.seeds or (1 if options.seed else 40)

    sums, faults, longest, failed = Counter(), Counter(), Counter(), []
    # The long runs first, so that both processors are busy to the end.
    seeds = sorted(range(first, first + count),
                   key=lambda seed: -PROFILES[(seed - 1) % len(PROFILES)][3].get("seconds", 2))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for seed, profile, result, failure in pool.map(run_seed, seeds):
            print(f"seed {seed:4} {profile:24} {failure or 'good'}", flush=True)
            if STOPPED.is_set():
                return 1
            if failure:
                failed.append(seed)
                continue
            sums += result[0]
            longest |= result[1]
            faults += result[2]

    print("\nfaults injected")
    for name, number in sorted(faults.items()):
        print(f"  {name:28}{number:8}")
    print("\n" + ", ".join(f"{name} {number}" for name, number in sums.items()))
    print("longest: " + ", ".join(f"{name} {took / 1000:.1f} ms" for name, took in longest.most_common(4)))
    for seed in failed:
        print(f"again: scripts/hostile {seed}")
    return 1 if failed else 0


sys.exit(main())
