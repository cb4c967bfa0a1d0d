"""Run the library in a host against a list service, and a bus, that do not do what they should.

use: hostile [--seeds N] [SEED]

Each seed is a life of a few seconds: eight PLC tasks use everything at once while the faults of the seed's profile
strike; then a healthy service returns and the library is unloaded. Checked: every load ends, with 0 after the return;
no call and no hook takes more than a second (parsing a list of 100,000 entries under its lock excepted); the flags are
right within two seconds of the return; the books balance, agree with what was handed over, and claim nothing as
delivered that the service has not confirmed. Without SEED the first N (40) run. Logs stay in build/hostile/SEED.
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

from rig import BUILD, ROOT, STOPPED, Device, CheckFailed, check_books, end, pause, wait

WATCHDOG = 1000000  # microseconds
FLAGS_RIGHT = 2  # seconds
# The documented exception: these parse, or wait for the lock under which another task does.
PARSING = re.compile("(open|close)(event|alarm)listreadhandle|loadcomplete|get(event|alarm)listentries|hook")

# profile: faults of the service (each strikes one call in so many), what happens to service and bus, other settings
PROFILES = [
    ("late", {"late": 20}, [], {}),
    ("never", {"never": 30}, [], {}),
    ("error", {"error": 4}, [], {}),
    ("broken JSON", {"json": 2}, [], {}),
    ("wrong types", {"types": 4}, [], {}),
    ("half entries", {"half": 2}, [], {}),
    ("100,000 entries", {"many": 15}, [], {}),
    ("signals", {"dropped": 3, "doubled": 2}, [], {}),
    ("signal before reply", {"early": 2}, [], {}),
    ("unconfirmed", {"unconfirmed": 30}, ["killed"], {}),
    ("limits of the service", {"limits": 4}, [], {}),
    ("limits of the bus", {}, [], {"limits": '<limit name="max_replies_per_connection">4</limit>'}),
    ("full queue", {}, ["stopped"], {"burst": 400}),
    ("stopped", {}, ["stopped"] * 3, {}),
    ("killed", {}, ["killed"] * 4, {}),
    ("restarted empty", {}, ["emptied"] * 4, {}),
    ("new owner", {}, ["replaced"] * 4, {}),
    ("bus dies", {}, ["bus dies"] * 2, {}),
    ("bus stopped", {}, ["bus stopped"] * 2, {}),
    ("no answers for long", {"mute": 1}, [], {"seconds": 20}),
    ("everything", {"late": 40, "never": 100, "error": 20, "json": 9, "types": 20, "half": 9, "dropped": 9, "doubled": 9,
                    "early": 9, "unconfirmed": 99, "limits": 20},
     ["stopped", "killed", "emptied", "replaced", "bus dies", "bus stopped"], {}),
]


class Life:
    """One seed: service, bus and host, from the start to the unloading."""

    def __init__(self, seed, device):
        self.seed, self.device = seed, device
        self.random = random.Random(seed)
        self.profile, self.faults, self.events, settings = PROFILES[(seed - 1) % len(PROFILES)]
        self.limits = settings.get("limits", "")
        self.burst = settings.get("burst", 3)
        self.seconds = settings.get("seconds", 2)
        self.done = Counter({"replies limited by the bus": 1} if self.limits else {})
        self.service = None

    def start_service(self, journal, faults, database=""):
        """A service with these faults; returns once it owns the name."""
        before = self.device.lines(journal).count("ready")
        words = [str(word) for fault in faults.items() for word in fault]
        self.service = self.device.start(journal, [f"{BUILD}/tavroline-faulty-listd", str(self.random.randrange(1 << 30)),
                                                   database, *words])
        wait("the service", lambda: self.device.lines(journal).count("ready") > before, 20)

    def disturb(self, event):
        """One thing that happens to the service or the bus."""
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
            self.bus = self.device.start_bus(self.limits)
        self.start_service("service.log", self.faults, "" if event == "emptied" else self.database)

    def run(self):
        self.database = self.device.file("lists.db")
        self.bus = self.device.start_bus(self.limits)
        self.start_service("service.log", self.faults, self.database)
        returned = self.device.file("returned")
        host = self.device.start(
            "host.log", [f"{BUILD}/tavroline-host", "--log", self.device.file("runtime.log"),
                         f"{BUILD}/libTavroline.so", f"{BUILD}/libtavroline-exerciser.so"],
            TAVROLINE_EXERCISE=f"{self.seed} {self.seconds} {self.burst} {returned}")
        started = time.monotonic()
        for number, event in enumerate(self.events, 1):
            due = started + self.seconds * (number - self.random.random()) / len(self.events)
            pause(due - time.monotonic())
            self.disturb(event)
        wait("the end of the work", lambda: "quiet" in self.device.lines("host.log"), self.seconds + 10)
        end(self.service)
        self.start_service("return.log", {}, self.random.choice(["", self.database]))
        open(returned, "w").close()
        self.watch_flags(host)
        host.send_signal(signal.SIGTERM)
        if (status := wait("the end of the host", lambda: host.poll() is not None and [host.returncode], 10)[0]) != 0:
            raise CheckFailed(f"the host ended with {status}")
        return self.judge()

    def watch_flags(self, host):
        """From the return on until all lists have been loaded and the flags have been right at the end."""
        last, wrong_since, end_of_wait = None, time.monotonic(), time.monotonic() + 60
        while True:
            now = time.monotonic()
            truth = last_word("flags", self.device.lines("return.log"))
            said = self.device.lines("host.log")
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
                raise CheckFailed("the lists were not loaded after the service's return")
            pause(0.02)

    def judge(self):
        """What the logs tell: counts of this life."""
        said = self.device.lines("host.log")
        for line in said:
            if line.startswith("problem "):
                raise CheckFailed(line)
        text = "\n".join(said)
        calls, longest = 0, Counter(hook=int(re.search(r"^hook: .*longest cycle (\d+)", text, re.M).group(1)))
        for name, count, took in re.findall(r"^call (\S+) (\d+) (\d+)$", text, re.M):
            calls += int(count)
            longest |= Counter({name: int(took)})
        for name, took in longest.items():
            if took > WATCHDOG and not ("many" in self.faults and PARSING.match(name)):
                raise CheckFailed(f"{name} took {took} microseconds")
        journal = self.device.lines("service.log") + self.device.lines("return.log")
        confirmed = len({line for line in journal if line.startswith("confirmed ")})
        self.done.update(line[6:] for line in journal if line.startswith("fault "))
        books = check_books(self.device.lines("runtime.log"))
        handed = sum(map(int, re.findall(r"^handed (\d+)$", text, re.M)))
        if handed != books["accepted"] + books["refused"]:
            raise CheckFailed(f"{handed} messages were handed over: {books}")
        if "mute" in self.faults and books["refused"]:
            raise CheckFailed(f"questions without an answer held up messages: {books}")
        if not books["delivered"] <= confirmed <= books["accepted"]:
            raise CheckFailed(f"the service has confirmed {confirmed}: {books}")
        if books["unsendable"]:
            raise CheckFailed(f"not every text was made fit for the bus: {books}")
        return Counter(calls=calls, handed=handed, **books), longest, self.done


def last_word(key, lines):
    found = [line for line in lines if line.startswith(key + " ")]
    return found[-1].split()[1] if found else None


def live(seed):
    with Device(os.path.join(ROOT, "build", "hostile", str(seed))) as device:
        life = Life(seed, device)
        try:
            return seed, life.profile, life.run(), None
        except CheckFailed as wrong:
            return seed, life.profile, None, str(wrong)


def main():
    parser = argparse.ArgumentParser("hostile", usage=argparse.SUPPRESS, description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--seeds", type=int, metavar="N", help="so many, from SEED (1) on")
    parser.add_argument("seed", type=int, nargs="?", metavar="SEED", help="the first one; alone without --seeds")
    options = parser.parse_args()
    first = options.seed or 1
    count = options.seeds or (1 if options.seed else 40)

    sums, faults, longest, failed = Counter(), Counter(), Counter(), []
    # The long lives first, so that none of them runs on alone at the end.
    seeds = sorted(range(first, first + count), key=lambda seed: -PROFILES[(seed - 1) % len(PROFILES)][3].get("seconds", 2))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for seed, profile, result, wrong in pool.map(live, seeds):
            print(f"seed {seed:4} {profile:24} {wrong or 'good'}", flush=True)
            if STOPPED.is_set():
                return 1
            if wrong:
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
