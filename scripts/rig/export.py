"""Check `tavroline-ctl export` against what was logged.

use: export.py [CUTS] [RESTARTS] [ENTRIES]

ENTRIES odd entries (quotes, commas, line ends, NUL, astral characters) are exported as jsonl and csv, read with Python's
json and csv and compared with what was sent and with the event list; damaged ones are said to be missing. The reader of an export is cut CUTS times, and each
time the next export goes on behind its last complete entry, while entries are logged, deleted and overwritten: every
number is in the joined output once, or was said to be missing. An export that follows lives through RESTARTS kills of
the service, each twentieth one of the bus. systemd-journal-remote gathers the list, is killed again and again, and
`journalctl --file` shows every entry once. Logs stay in build/export.
"""

import contextlib
import csv
import ctypes
import io
import json
import os
import random
import re
import sqlite3
import struct
import subprocess
import sys
import tempfile
import threading
import time

from rig import BUILD, ROOT, CheckFailed, Rig, end, wait

CTL = f"{BUILD}/tavroline-ctl"
REMOTE = "/lib/systemd/systemd-journal-remote"
ODD = ['"', '""', ",", "\n", "\r\n", "\t", "\0", "\\", "'", ";", "=", " ", "ä", "日本", "\U0001f525", "\u2028", "\x01", "a", "7"]
SYSTEMD = ctypes.CDLL("libsystemd.so.0")
ADDRESS = ["org.tavroline.ListService1", "/org/tavroline/Messages", "org.tavroline.Messages1"]


def check(agrees, what):
    if not agrees:
        raise CheckFailed(what)


def shown(text):
    return text.replace("\0", "\ufffd")


def packed(text):
    utf8 = text.encode()
    return struct.pack("<I", len(utf8)) + utf8


def message(user, module, keywords):
    """An event in the form that org.tavroline.ListService1.xml describes."""
    body = b"\1" + packed("") + struct.pack("<iiq", 0, 3, random.randrange(1 << 41)) + packed("") + packed(module)
    body += packed(user) + packed("") + struct.pack("<I", len(keywords)) + b"".join(map(packed, keywords)) + struct.pack("<I", 0)
    return struct.pack("<I", len(body)) + body


DELETION = struct.pack("<IB", 1, 2)


class Writer:
    """A session that sends messages, through restarts of service and bus; each is stored once."""

    def __init__(self):
        self.bus, self.sent, self.name = None, 0, f"writer {random.random()}".encode()

    def call(self, method, types, values, data=None):
        """@return the reply's first number; None if the call failed"""
        request, reply, number = ctypes.c_void_p(), ctypes.c_void_p(), ctypes.c_uint64()
        names = [name.encode() for name in [*ADDRESS, method]]
        failed = SYSTEMD.sd_bus_message_new_method_call(self.bus, ctypes.byref(request), *names) < 0
        if not failed:
            SYSTEMD.sd_bus_message_append(request, types.encode(), *values)
            if data is not None:
                SYSTEMD.sd_bus_message_append_array(request, ctypes.c_char(b"y"), data, ctypes.c_size_t(len(data)))
            failed = SYSTEMD.sd_bus_call(self.bus, request, ctypes.c_uint64(0), None, ctypes.byref(reply)) < 0
        if not failed:
            SYSTEMD.sd_bus_message_read_basic(reply, ctypes.c_char(b"t"), ctypes.byref(number))
        SYSTEMD.sd_bus_message_unref(reply)
        SYSTEMD.sd_bus_message_unref(request)
        return None if failed else number.value

    def send(self, messages):
        """Send messages until they are stored."""
        last = self.sent + len(messages)
        while self.sent < last:
            if self.bus is None:
                self.bus = ctypes.c_void_p()
                stored = None
                if SYSTEMD.sd_bus_open_system(ctypes.byref(self.bus)) >= 0:
                    stored = self.call("Resume", "ss", [self.name, b"export"])
            else:
                rest = messages[len(messages) - (last - self.sent):][:50]
                first, floor = ctypes.c_uint64(self.sent + 1), ctypes.c_uint64(self.sent)
                stored = self.call("Send", "stt", [self.name, first, floor], b"".join(rest))
            if stored is None:
                SYSTEMD.sd_bus_flush_close_unref(self.bus)
                self.bus = None
                time.sleep(0.01)
            else:
                self.sent = stored


class Plant(Rig):
    """A bus, a service and a writer. The k-th entry has the number k."""

    def begin(self, *options):
        os.environ["DBUS_SYSTEM_BUS_ADDRESS"] = self.address  # of the writer
        self.options, self.entries, self.writer = options, [], Writer()
        self.bus = self.start_bus()
        self.start_service()

    def start_service(self):
        ready = self.lines("service").count("ready")
        self.service = self.start("service", [f"{BUILD}/tavroline-listd", "--db", self.file("db"), *self.options])
        wait("the service", lambda: self.lines("service").count("ready") > ready, 20)

    def restart(self, bus):
        """Kill the service, with `bus` the bus too, and start what was killed."""
        if bus:
            end(self.bus)
        end(self.service)
        if bus:
            self.bus = self.start_bus()
        self.start_service()

    def log(self, count, deleted=False):
        """Log odd entries; delete the list before the last one if `deleted`."""
        odd = lambda: "".join(random.choices(ODD, k=random.randrange(9)))
        new = [(f"{odd()}{len(self.entries) + k + 1}", odd(), [odd() for _ in range(random.randrange(3))]) for k in range(count)]
        self.writer.send([*[message(*entry) for entry in new[:-1]], *[DELETION] * deleted, message(*new[-1])])
        self.entries += new

    def check_entries(self, what, rows, missing="", words=list):
        """Every logged entry is in one row, or one that was said to be missing; the rows are in their order."""
        numbers = [int(row["cursor"].split(":")[1]) for row in rows]
        said = {n for first, last in re.findall(r"entries (\d+) to (\d+)", missing) for n in range(int(first), int(last) + 1)}
        check(numbers == sorted(set(numbers)), f"{what}: not in order, or doubled")
        check(not said & set(numbers), f"{what}: said to be missing and exported")
        lost = set(range(1, len(self.entries) + 1)) - said - set(numbers)
        check(not lost, f"{what}: missing and not said: {sorted(lost)[:9]}")
        for number, row in zip(numbers, rows):
            user, module, keywords = self.entries[number - 1]
            sent = [shown(user), shown(module), words(map(shown, keywords))]
            check([row["user"], row["module"], words(row["keywords"])] == sent,
                  f"{what}: entry {number} is {row}, {self.entries[number - 1]} was sent")
        return len(said)


def complete(form, text):
    """The text without an incomplete last entry."""
    at = text.rfind(b"\n") + 1
    while form == "csv" and text.count(b'"', 0, at) % 2:
        at = text.rfind(b"\n", 0, at - 1) + 1
    return text[:at]


def rows_of(form, text):
    """Each entry by its members or columns."""
    if form == "jsonl":
        return [json.loads(line) for line in text.decode().split("\n") if line]
    rows = csv.DictReader(io.StringIO(text.decode(), newline=""))
    return [{**row, "keywords": json.loads(row["keywords"])} for row in rows]


def export(form, *options, **settings):
    return subprocess.Popen([CTL, "export", "--format", form, *options], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            **settings)


def check_round_trip(count):
    with Plant(f"{ROOT}/build/export/odd") as plant:
        plant.begin("--capacity", str(count))
        plant.log(count)
        listed = json.loads(subprocess.run([CTL, "events", "--json"], check=True, stdout=subprocess.PIPE).stdout)["events"]
        for form in ["jsonl", "csv"]:
            rows = rows_of(form, export(form).communicate()[0])
            plant.check_entries(form, rows)
            # A list reply has as many entries as fit; the export has all.
            for row, entry in zip(reversed(rows), listed):
                check(row.pop("cursor").endswith(f":{entry['id']}"), f"{form}: not the number {entry['id']}")
                check(row == {name: value for name, value in entry.items() if name != "id"}, f"{form}: {row} is not {entry}")
            with open("/dev/full", "wb") as full:
                check(subprocess.call([CTL, "export", "--format", form], stdout=full, stderr=subprocess.DEVNULL) == 1,
                      "a full disk is not said")
        end(plant.service)
        with contextlib.closing(sqlite3.connect(plant.file("db"), isolation_level=None)) as database:
            database.execute("UPDATE events SET keywords = '[' WHERE id <= ?", [count - 5])
        plant.start_service()
        text, said = export("jsonl", stderr=subprocess.PIPE).communicate()
        plant.check_entries("damaged", rows_of("jsonl", text), said.decode())
        print(f"{count} odd entries are the same in jsonl and csv; {len(listed)} of them compared with events --json", flush=True)


class Chain:
    """The joined output of exports, each behind the last complete entry of the one before."""

    def __init__(self, form):
        self.form, self.text, self.said = form, export(form).communicate()[0], ""

    def after(self):
        """The option that goes on behind the joined output."""
        return ["--after", rows_of(self.form, self.text)[-1]["cursor"]]

    def cut(self):
        """Export, and end the reader or the exporter at some byte."""
        with tempfile.TemporaryFile() as said:
            exporter = export(self.form, *self.after(), *random.choice([[], ["--follow"]]), stderr=said)
            part = os.read(exporter.stdout.fileno(), random.choice([1, 100, 5000, 60000]))
            if random.random() < 0.3:
                exporter.kill()
            exporter.stdout.close()
            exporter.wait(20)
            said.seek(0)
            self.said += said.read().decode()
        self.text += complete(self.form, part)


def check_cuts(count):
    with Plant(f"{ROOT}/build/export/cuts") as plant:
        plant.begin("--capacity", "400")
        plant.log(1)
        chains = [Chain("jsonl"), Chain("csv")]
        for i in range(count):
            plant.log(random.choice([1, 3, 30, 30, 30 + 500 * (i % 50 == 9)]), deleted=i % 40 == 20)
            chains[i % 2].cut()
        lost = []
        for chain in chains:
            text, said = export(chain.form, *chain.after(), stderr=subprocess.PIPE).communicate()
            lost.append(plant.check_entries(chain.form, rows_of(chain.form, chain.text + text), chain.said + said.decode()))
        print(f"{count} cuts: {len(plant.entries)} entries once, or said to be missing ({lost[0]} in jsonl, {lost[1]} in csv)",
              flush=True)


def gather(plant):
    os.makedirs(plant.file("remote"), exist_ok=True)
    return plant.start("gather", [f"{ROOT}/scripts/gather", plant.file("remote"), "oven", CTL])


def gather_for_a_while(plant):
    gatherer = gather(plant)
    time.sleep(random.uniform(0, 0.5))
    end(gatherer)


def journal_rows(plant):
    """Each gathered entry by the names of the export."""
    command = ["journalctl", "--quiet", "--all", "--file", plant.file("remote/oven*"), "--output", "json"]
    lines = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.decode().split("\n")
    text = lambda value: bytes(value).decode() if isinstance(value, list) else value  # journalctl shows some as bytes
    rows = []
    for fields in map(json.loads, filter(None, lines)):
        words = fields.get("TAVROLINE_KEYWORDS", [])
        several = isinstance(words, list) and not (words and isinstance(words[0], int))
        rows.append({"keywords": [*map(text, words if several else [words])],
                     **{name: text(fields[f"TAVROLINE_{name.upper()}"]) for name in ["cursor", "user", "module"]}})
    return sorted(rows, key=lambda row: int(row["cursor"].split(":")[1]))


def check_journal(plant):
    gatherer = gather(plant)
    wait("the gathered entries", lambda: len(journal_rows(plant)) >= len(plant.entries), 60)
    end(gatherer)
    plant.check_entries("journal", journal_rows(plant), words=lambda words: sorted({*words}))  # a journal's fields are a set
    starts = sum(line.startswith("Spawning") for line in plant.lines("gather"))
    print(f"systemd-journal-remote, started {starts} times: {len(plant.entries)} entries once", flush=True)


def check_restarts(count):
    remote = os.access(REMOTE, os.X_OK)
    with Plant(f"{ROOT}/build/export/restarts") as plant:
        plant.begin("--capacity", "1000000")
        plant.log(1)
        plant.start("followed", [CTL, "export", "--format", "jsonl", "--follow"])
        wait("the first entry", lambda: plant.lines("followed"), 20)  # without a service it ends at once
        for i in range(count):
            logging = threading.Thread(target=plant.log, args=[random.randrange(1, 200)])
            logging.start()
            time.sleep(random.uniform(0, 0.05))
            plant.restart(bus=i % 20 == 19)
            logging.join()
            if remote and i % 10 == 5:
                gather_for_a_while(plant)
        last = f":{len(plant.entries)}\""
        wait("the last entry", lambda: last in "".join(plant.lines("followed")[-9:]), 20)
        lines = plant.lines("followed")
        rows = [json.loads(line) for line in lines if line.startswith("{")]
        check(not any("missing" in line for line in lines), "something is missing")
        plant.check_entries("follow", rows)
        print(f"{count} restarts: {len(rows)} entries once", flush=True)
        if remote:
            check_journal(plant)
        else:
            print("systemd-journal-remote is not installed: its part is skipped")


def main():
    if any(word.startswith("-") for word in sys.argv[1:]):
        sys.exit(__doc__)
    cuts, restarts, entries = [*map(int, sys.argv[1:]), *[1000, 200, 10000][len(sys.argv) - 1:]]
    check_round_trip(entries)
    check_cuts(cuts)
    check_restarts(restarts)


try:
    main()
except CheckFailed as failed:
    sys.exit(f"export: {failed}")
