"""Run the library in a host against a faulty list service and a faulty bus.

use: hostile [--seeds N] [SEED]

Each seed is a run of a few seconds: eight PLC tasks call all functions while the faults of the seed's profile are
injected; then a healthy service starts and the library is unloaded. Checked: every load ends, with 0 after that start;
no call and no hook takes more than a second (parsing a list of 100,000 entries under its lock excepted); the flags are
right within two seconds of that start; the message counters balance and agree with the number of messages handed over;
the lists hold what was handed over and not named as lost (tests/hostile/Auditor.py). Without SEED the first N (40) run.
Logs stay in build/hostile/SEED.
"""

import argparse
import concurrent.futures
import json
import os
import random
import re
import resource
import shutil
import signal
import sqlite3
import subprocess
import sys
import time
from collections import Counter

sys.path.insert(1, os.path.join(os.path.dirname(__file__), "..", "..", "tests", "hostile"))
from Auditor import CAPACITY, PROGRAM_ENDED, Audit
from rig import BUILD, CALLS, ROOT, STOPPED, CheckFailed, Rig, check_counters, end, pause, wait

WATCHDOG = 1000000  # microseconds
FLAGS_RIGHT = 2  # seconds
FULL, RLIM_INFINITY = 4096, resource.RLIM_INFINITY  # bytes that a file may have
FLAGS = ["alarm", "activeAlarm", "fault", "activeFault", "detector"]  # in the exerciser's order
HANG = 31  # seconds; a client gives a call up after 30
# Calls for the session of another, as arguments of dbus-send, and how often they are made.
FOREIGN, TRIES = [["Resume", "string:x"], ["Send", "uint64:1", f"uint64:{1 << 62}", "array:byte:0"],
                  ["ReportAlarms", "array:string:x"], ["RaiseAlarms", "array:byte:0"]], 10
# The documented exception: these parse, or wait for the lock under which another task does.
PARSING = re.compile("(open|close)(event|alarm)listreadhandle|loadcomplete|get(event|alarm)listentries|hook")

# profile: faults of the service (number n: one call in n), what happens to service and bus, other settings
PROFILES = [
    ("late", {"late": 20}, [], {}),
    ("never", {"never": 60}, ["killed"], {}),
    ("error", {"error": 4}, [], {}),
    ("broken lists", {"json": 2}, [], {}),
    ("wrong types", {"types": 4}, [], {"seconds": 7}),
    ("100,000 entries", {"many": 15}, [], {}),
    ("signals", {"dropped": 3}, [], {}),
    ("signal before reply", {"early": 2}, [], {}),
    ("unconfirmed", {"unconfirmed": 9}, ["killed"] * 3, {}),
    ("limits of the bus", {}, [], {"limits": '<limit name="max_replies_per_connection">4</limit>'}),
    ("full queue", {}, ["stopped"], {"burst": 400}),
    ("stopped", {}, ["stopped"] * 3, {}),
    ("killed", {}, ["killed"] * 4, {}),
    ("restarted empty", {}, ["emptied"] * 4, {}),
    ("new owner", {}, ["replaced"] * 4, {}),
    ("hangs, then is killed", {}, ["hangs"], {"seconds": HANG + 2, "burst": 1}),
    ("foreign connection", {}, ["stopped", "copied", "trespass", "trespass"], {}),
    ("unloaded in a load", {"many": 1}, [], {"end": "unloaded"}),
    ("host killed", {}, [], {"end": "killed", "orphans": 2}),
    ("older copy", {}, ["copied", "restored"] * 2, {}),
    ("disk full", {}, ["disk full"] * 3, {}),
    ("bus dies", {}, ["bus dies"] * 2, {}),
    ("bus stopped", {}, ["bus stopped"] * 2, {}),
    ("no answers for long", {"mute": 1}, [], {"seconds": 20}),
    ("everything", {"late": 40, "never": 100, "error": 20, "json": 9, "types": 20, "dropped": 9,
                    "early": 9, "unconfirmed": 99},
     ["stopped", "copied", "killed", "emptied", "disk full", "replaced", "bus dies", "restored", "bus stopped"], {}),
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
        self.end, self.orphans = settings.get("end", ""), settings.get("orphans", 60)
        self.done = Counter({"replies limited by the bus": 1} if self.limits else {})
        self.service = None
        self.databases = []  # the last one is in use
        self.lost = {}       # by database the time at which it was lost, in nanoseconds since 1970
        self.copy = ""
        self.unable = []     # pairs of times between which the service could not store

    def new_database(self, copy=""):
        """Lose the database in use, if there is one; the next one is empty or a copy."""
        if self.databases:
            self.lost[self.databases[-1]] = time.time_ns()
        self.databases.append(self.rig.file(f"lists{len(self.databases)}.db"))
        copy_database(copy, self.databases[-1])

    def start_service(self, journal, faults=None):
        """A service with these faults and the database in use; returns once it owns the name."""
        before = self.rig.lines(journal).count("ready")
        words = [self.random.randrange(1 << 30), *(word for fault in (faults or {}).items() for word in fault)]
        hostile = {} if faults is None else {"LD_PRELOAD": f"{BUILD}/libtavroline-faults.so",
                                             "TAVROLINE_FAULTS": " ".join(map(str, words))}
        self.service = self.rig.start(journal, [f"{BUILD}/tavroline-listd", "--db", self.databases[-1], "--capacity",
                                                str(CAPACITY), "--reply-entries", str(CAPACITY), "--orphans",
                                                str(self.orphans)], **hostile)
        wait("the service", lambda: self.rig.lines(journal).count("ready") > before, 20)

    def disturb(self, event):
        """Carry out one event of the profile on the service or the bus."""
        gap = HANG if event == "hangs" else self.random.uniform(0.05, 0.6)
        self.done[event] += 1
        if event == "trespass":
            return self.trespass()
        stopped = {"stopped": self.service, "copied": self.service, "bus stopped": self.bus}.get(event)
        if stopped:
            stopped.send_signal(signal.SIGSTOP)
            if event == "copied":
                pause(0.05)  # so that its present system call has ended
                self.copy = self.rig.file("copy.db")
                copy_database(self.databases[-1], self.copy)
            else:
                pause(gap)
            stopped.send_signal(signal.SIGCONT)
            return
        if event == "disk full":
            begin = time.time_ns()
            # At last to and fro, so that some of the messages in flight are stored.
            for limit, length in [(FULL, gap), *[(RLIM_INFINITY, 0.002), (FULL, 0.002)] * 50, (RLIM_INFINITY, 0)]:
                resource.prlimit(self.service.pid, resource.RLIMIT_FSIZE, (limit, RLIM_INFINITY))
                pause(length)
            self.unable.append((begin, time.time_ns() + 25 * 10**8))  # the client sends again after 2 s
            return
        if event == "replaced":
            old = self.service
            self.new_database()
            self.start_service("service.log", self.faults)
            pause(gap)
            end(old)
            return
        if event == "hangs":
            self.service.send_signal(signal.SIGSTOP)
            pause(gap)
        end(self.bus if event == "bus dies" else self.service)
        pause(gap if event != "hangs" else 0)
        if event == "bus dies":
            end(self.service)
            self.bus = self.rig.start_bus(self.limits)
        if event in ("emptied", "restored"):
            self.new_database(self.copy if event == "restored" else "")
        self.start_service("service.log", self.faults)

    def run(self):
        self.new_database()
        self.bus = self.rig.start_bus(self.limits)
        self.start_service("service.log", self.faults)
        returned = self.rig.file("returned")
        host = self.rig.start(
            "host.log", [f"{BUILD}/tavroline-host", "--report", "--log", self.rig.file("runtime.log"),
                         f"{BUILD}/libTavroline.so", f"{BUILD}/libtavroline-exerciser.so"],
            TAVROLINE_EXERCISE=f"{self.seed} {self.seconds} {self.burst} {returned}")
        started = time.monotonic()
        for number, event in enumerate(self.events, 1):
            due = started + 2 * (number - self.random.random()) / len(self.events)
            pause(due - time.monotonic())
            self.disturb(event)
        if self.end:
            pause(self.random.uniform(0.5, self.seconds))
        if self.end == "killed":
            return self.kill(host)
        raised = None if self.end else self.restore(host, returned)
        host.send_signal(signal.SIGTERM)
        if (status := wait("the end of the host", lambda: host.poll() is not None and [host.returncode], 10)[0]) != 0:
            raise CheckFailed(f"the host ended with {status}")
        if self.end:
            self.ctl("stats")  # answered behind what the host has left
            end(self.service)
            self.start_service("return.log")
        return self.judge(raised or (self.list("alarms"), time.time_ns()))

    def restore(self, host, returned):
        """Start a healthy service after the work. @return the alarm list once the host has read it, and the time"""
        wait("the end of the work", lambda: "quiet" in self.rig.lines("host.log"), self.seconds + 10)
        end(self.service)
        if self.random.random() < 0.5:
            self.new_database(self.copy)
        self.start_service("return.log")
        open(returned, "w").close()
        self.watch_flags(host)
        return self.list("alarms"), time.time_ns()

    def kill(self, host):
        """The alarms of a killed host go off after the grace time, with an entry each. @return as judge()"""
        end(host)
        pause(0.5)  # the service handles what it has received
        before = self.active_alarms()
        wait("the end of the alarms", lambda: not self.active_alarms(), self.orphans + 2)
        ended = [entry for entry in self.list("events") if entry["description"].startswith(PROGRAM_ENDED)]
        self.done["alarms of a killed host"] += before
        if not 0 < before == len(ended):
            raise CheckFailed(f"{len(ended)} entries say that an alarm's program has ended, {before} alarms were on")
        return Counter(), Counter(), self.done

    def active_alarms(self):
        return sum(entry["active"] for entry in self.list("alarms"))

    def trespass(self):
        """Another connection of the same user uses the session of the host: each call is refused."""
        with sqlite3.connect(self.copy) as database:
            (session,), = database.execute("SELECT session FROM sessions")
        for method, *arguments in FOREIGN * TRIES:
            said = subprocess.run(
                ["dbus-send", "--system", "--print-reply", "--dest=org.tavroline.ListService1", "/org/tavroline/Messages",
                 f"org.tavroline.Messages1.{method}", f"string:{session}", *arguments], capture_output=True, check=False,
                env=dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=self.rig.address))
            if b"org.tavroline.Error.NotNow" not in said.stderr:
                raise CheckFailed(f"{method} for the session of another: {said}")
            self.done["calls for another's session"] += 1

    def ctl(self, *words):
        """What tavroline-ctl prints of the service that runs."""
        said = subprocess.run([f"{BUILD}/tavroline-ctl", *words, "--json"], capture_output=True, check=False,
                              env=dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=self.rig.address))
        if said.returncode or said.stderr:
            raise CheckFailed(f"tavroline-ctl {words[0]}: {said.stderr.decode()}")
        return json.loads(said.stdout)

    def list(self, name):
        return self.ctl(name, "--count", "0")[name]

    def audit(self, raised, said, counters):
        """Compare what was called with the lists. @return the problems, pairs of a rule and a text"""
        cleared, stores = self.list("alarms"), [(self.list("events"), None)]
        for database, lost in self.lost.items():
            end(self.service)
            self.databases.append(database)
            self.start_service("return.log")
            stores.insert(-1, (self.list("events"), lost))
        false_lists = any(fault in self.faults for fault in ("json", "many"))
        return Audit(said, self.rig.lines("runtime.log"), counters, stores, raised, cleared, self.unable,
                     false_lists).problems

    def watch_flags(self, host):
        """Wait until the healthy service's lists are loaded and the flags are right. Raises CheckFailed if the flags
        are wrong for longer than FLAGS_RIGHT."""
        last, wrong_since, end_of_wait = None, time.monotonic(), time.monotonic() + 60
        while True:
            now = time.monotonic()
            state = self.ctl("stats")
            truth = "".join(str(int(state[flag])) for flag in FLAGS)
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
            pause(0.1)

    def judge(self, raised):
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
        self.done.update(line[6:] for line in journal if line.startswith("fault "))
        counters = check_counters(self.rig.lines("runtime.log"))
        handed = sum(map(int, re.findall(r"^handed (\d+)$", text, re.M)))
        if handed != counters["accepted"] + counters["refused"]:
            raise CheckFailed(f"{handed} messages were handed over: {counters}")
        if "mute" in self.faults and counters["refused"]:
            raise CheckFailed(f"unanswered requests held up messages: {counters}")
        if counters["rejected"] or counters["ends service"]:
            raise CheckFailed(f"messages were dropped: {counters}")
        if counters["unsendable"]:
            raise CheckFailed(f"a text that the bus refuses was handed to it: {counters}")
        problems = self.audit(raised, said, counters)
        with open(self.rig.file("audit"), "w") as file:
            file.writelines(f"{rule}: {words}\n" for rule, words in problems)
        if rules := Counter(rule for rule, _ in problems):
            raise CheckFailed(", ".join(f"{number} x {rule}" for rule, number in rules.items()))
        return Counter(calls=calls, handed=handed, **counters), longest, self.done


def copy_database(source, target):
    """Copy an SQLite file with its log, as a power cut would leave them. Without a source nothing is copied."""
    for suffix in ("", "-wal"):
        if source and os.path.exists(source + suffix):
            shutil.copyfile(source + suffix, target + suffix)


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
