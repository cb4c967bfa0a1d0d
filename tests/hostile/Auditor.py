"""Compares what the exerciser called with what the lists hold.

An entry's key (Exerciser.cpp) identifies its message. Each message is in the list once, in the order of the calls,
unless a record of a gap names it, later edges superseded it, a later deletion removed it, or its store was lost. A store
that replaces a lost one may have the entry of an alarm that is on a second time."""
import re
from bisect import bisect_left, bisect_right
from collections import namedtuple
from datetime import datetime

CAPACITY, COPIED = 40000, 50  # of the service's event list; entries at most after a load
TRACELESS = ("acknowledge", "delete")  # messages without an entry
REJECTED = "rejected by the service"
MAYBE_STORED = ("the service ended each time it was sent", "not confirmed before unload")
NOT_REPORTED, PROGRAM_ENDED = "Off, no longer reported by its program", "Off, its program has ended"
GAP = re.compile(r"(\d+) message\(s\) lost, ([a-z ]+): (?:numbers (\d+) to (\d+), )?handed over (\S+) to ([^\s,]+)")
Message = namedtuple("Message", "key kind alarm begin end")


class Gap:
    """Messages that one record names as lost: how many, handed over from when to when."""

    def __init__(self, match, step):
        count, self.cause, first, last, *times = match.groups()
        self.count = self.left = int(count)
        self.numbers = first and (int(first), int(last))
        begin, end = (datetime.fromisoformat(time.replace("Z", "+00:00")).timestamp() for time in times)
        # Where the clock was set in between, the two times do not tell the first and the last message.
        is_set = begin * 1e9 // step != end * 1e9 // step
        self.begin, end = (0, step) if is_set else (begin * 1e9 % step, end * 1e9 % step)
        self.end = end + 1e6  # the record cuts them to milliseconds

    def covers(self, message):
        return message.begin < self.end and message.end >= self.begin


class Audit:
    """@param said lines of the host  @param log lines of the runtime log  @param counters the last message counters
    @param stores event lists and when each was lost (None: it is kept)  @param raised the alarm list before the unload
    @param cleared the same after it  @param unable pairs of times between which the service could not store
    @param false_lists whether it sent such  @param step the clock may have been set by multiples of it. Times are in
    nanoseconds since 1970."""

    def __init__(self, said, log, counters, stores, raised, cleared, unable, false_lists,
                 capacity=CAPACITY, step=1 << 63):
        self.capacity = capacity
        # Entries of the service itself: where a store was lost, the next one may have an alarm whose "off" was in the lost
        # one; and an unloaded library may have been unable to send an "off".
        self.ends = (NOT_REPORTED,) * (len(stores) > 1) + (PROGRAM_ENDED,) * ("quiet" not in said)
        self.memory_fails = any(line.startswith("fault ") and "no memory" in line for line in said)
        self.problems = []  # pairs of a rule's name and a text
        rows = [line.split() for line in said if line.startswith("did ")]
        self.messages = sorted((Message(*row[1:4], *(int(time) % step for time in row[4:])) for row in rows),
                               key=lambda m: m.begin)
        self.edges = [m for m in self.messages if m.kind in ("on", "off")]
        self.by_key = {m.key: m for m in self.messages}
        self.gaps = [Gap(match, step) for match in map(GAP.search, log) if match]
        self.counters = counters
        self.stores, confirmed, self.sizes = [], set(), [len(entries) for entries, _ in stores]
        for entries, lost in stores:
            lost = lost and lost % step
            keys = self.keys_of(entries, stores[-1][0])
            self.order(keys, confirmed)
            # Of what this store had before its oldest entry, a deletion may have removed the entries.
            oldest = self.by_key[keys[0]].end if keys else lost
            confirmed.update(keys, (m.key for m in self.edges if lost and m.begin < oldest))
            self.stores.append((keys, lost))
        self.losses()
        self.alarms(raised[0], raised[1] % step, cleared)
        for _, begin, end, *seen in (line.split() for line in said if line.startswith("saw ")):
            begin, end = int(begin) % step, int(end) % step
            overlaps = any(first % step < end and begin < last % step for first, last in unable)
            if (seen and "?" not in seen or not false_lists) and not overlaps:
                self.load(begin, end, seen)

    def report(self, rule, *words):
        self.problems.append((rule, " ".join(map(str, words))))

    def keys_of(self, entries, final):
        """The keys of a list, oldest first; compares the entries' contents."""
        keys, ended = [entry["user"] + "'" * (entry["user"] != entry["icon"]) for entry in entries], 0
        for key, entry in zip(keys, entries):
            if not entry["user"] and entry["description"].startswith(self.ends):
                ended += 1
                continue
            if key not in self.by_key:
                self.report("unknown entry", entry)
                continue
            _, number, event_type = map(int, key.strip("'").split("."))
            description = f"Pump {(number + 1) % 30000 or '%d'}"
            type_name = ["alarm", "audit", "fault", "event"][event_type]
            if type_name != entry["type"] or description != entry["description"] and event_type != 1:
                self.report("changed entry", key, entry)
        known = [key for key in reversed(keys) if key in self.by_key]
        last = {self.by_key[key].alarm: key for key in known if self.by_key[key].kind in ("on", "off")}
        left_on = sum(self.by_key[key].kind == "on" for key in last.values())
        if entries is final and left_on > ended:
            self.report("off without an entry", left_on, "alarms,", ended, "entries")
        return known

    def order(self, keys, confirmed):
        """Each entry once, none after an entry whose call began when its own had ended. An alarm that an earlier store had
        confirmed may be raised again at any place."""
        latest, before = None, set()
        for message in map(self.by_key.get, keys):
            if message.key in before:
                self.report("repeated entry", message)
            before.add(message.key)
            if message.kind == "on" and message.key in confirmed:
                continue
            if latest and message.end < latest.begin:
                self.report("order", message, "after", latest)
            latest = max(latest or message, message, key=lambda m: m.begin)

    def losses(self):
        """The messages without an entry are those that the gaps name, and the superseded edges."""
        self.stored = {key for keys, _ in self.stores for key in keys}
        self.absent = {m for m in self.messages if m.key not in self.stored and m.kind not in TRACELESS}
        oldest = [(size, self.by_key[keys[0]].end) for (keys, _), size in zip(self.stores, self.sizes) if keys]
        hidden_until = max([end for count, end in oldest if count >= self.capacity], default=0)
        emptied = not self.stores[-1][0]  # by the last deletion, even if nothing confirmed it before the unload
        for deletion in (m for m in self.messages if m.kind == "delete"):
            if emptied or any(end >= deletion.begin for _, end in oldest):  # carried out in one of the stores
                hidden_until = max(hidden_until, deletion.end)
            else:
                self.absent.add(deletion)
        absent = {m for m in self.absent if m.begin > hidden_until}
        superseded = self.superseded(absent)
        # Where memory failed, so may the record of a gap.
        unrecorded = self.counters["dropped"] + self.counters["refused"] - sum(gap.count for gap in self.gaps)
        unrecorded *= self.memory_fails
        for message in sorted(absent - superseded, key=lambda m: m.end):
            if gaps := [gap for gap in self.gaps if gap.left and gap.covers(message)
                        and (gap.cause != REJECTED or message.kind == "refused")]:
                min(gaps, key=lambda gap: gap.end).left -= 1
            elif unrecorded > 0:
                unrecorded -= 1
            else:
                self.report("missing", message)
        for message in (m for m in self.messages if m.kind == "refused" and m.key in self.stored):
            self.report("stored although invalid", message)
        figures = self.counters["superseded"], self.counters["dropped"] + self.counters["refused"]
        found = figures[0] if hidden_until else len(superseded), sum(gap.count for gap in self.gaps)
        if figures[0] != found[0] or figures[1] < found[1] or figures[1] > found[1] and not self.memory_fails:
            self.report("counters", "superseded and lost:", figures, "found:", found)
        unknown = [m for m in self.messages if m.kind in TRACELESS or m.begin <= hidden_until]
        for gap in self.gaps:
            if gap.cause not in MAYBE_STORED and gap.left > sum(map(gap.covers, unknown)):
                self.report("named as lost but stored", gap.left, "of", gap.count, gap.cause)
            self.numbers(gap)

    def superseded(self, absent):
        """Pairs of adjacent edges of one alarm that have no entry, as many as the counter says."""
        pairs, before = set(), {}
        for edge in self.edges:
            last = before.pop(edge.alarm, None)
            if edge in absent and last and len(pairs) < self.counters["superseded"]:
                pairs |= {last, edge}
            elif edge in absent:
                before[edge.alarm] = edge
        return pairs

    def numbers(self, gap):
        """The numbers belong to messages of the gap's times. Refused and superseded messages have none: a number is lower
        than the message's place by at most their count. The record of refused ones has no numbers."""
        unnumbered = self.counters["refused"] + self.counters["superseded"]
        lowest = sum(m.end < gap.begin for m in self.messages) + 1 - unnumbered
        highest = sum(m.begin < gap.end for m in self.messages)
        first, last = gap.numbers or (highest - gap.count + 1, highest)
        # At the unload, edges that turn an alarm off get numbers before all dropped messages.
        highest = len(self.messages) if gap.cause == MAYBE_STORED[1] else highest
        if not lowest <= first <= last - gap.count + 1 <= highest - gap.count + 1:
            self.report("numbers of a gap", first, last, "where", lowest, "to", highest, "were handed over")

    def alarms(self, entries, time, cleared):
        """An alarm's state is its last edge; after the unload it is off."""
        last = {edge.alarm: edge for edge in self.edges if edge.end < time}
        on = {alarm for alarm, edge in last.items() if edge.kind == "on"}
        active = {self.by_key[entry["icon"]].alarm for entry in entries if entry["active"]}
        for alarm in on ^ active:
            self.report("alarm still active" if alarm in active else "alarm not active", last[alarm],
                        "" if last[alarm].key in self.stored else "its entry was lost")
        for entry in (entry for entry in cleared if entry["active"]):
            self.report("alarm active after the unload", entry)
        self.acknowledged(entries)

    def acknowledged(self, entries):
        """An alarm is acknowledged if it was acknowledged after it was raised last. One that is off stays until then."""
        acknowledged = {m.alarm: m for m in self.messages if m.kind == "acknowledge"}
        raised = {edge.alarm: edge for edge in self.edges if edge.kind == "on"}
        raised = {alarm: edge for alarm, edge in raised.items() if self.is_kept(edge)}
        for entry in (entry for entry in entries if entry["icon"] in self.by_key):
            on, message = raised.pop(self.by_key[entry["icon"]].alarm, None), acknowledged.get(entry["id"])
            if on and message and on.end < message.begin and self.is_kept(message) and not entry["acknowledged"]:
                self.report("acknowledgement lost", message, on)
            if entry["acknowledged"] and (not message or on and message.end < on.begin or not entry["active"]):
                self.report("acknowledged alarm in the list", entry)
        # Where the component or the service chose the icon, it does not tell which alarm it is.
        raised = raised.keys() - {edge.alarm for edge in self.edges if edge.key.endswith("'")}
        if len(raised) > len(acknowledged) and PROGRAM_ENDED not in self.ends:
            self.report("alarms not in the list", len(raised), "with", len(acknowledged), "acknowledged")

    def is_kept(self, message):
        """Whether no gap may name it, and no store was lost since."""
        return not any(gap.covers(message) for gap in self.gaps) and all(
            lost < message.begin for _, lost in self.stores if lost)

    def load(self, begin, end, seen):
        """A load shows all that was handed over before it began, down to the oldest entry copied or a deletion, each once
        and in order."""
        deleted = max([m.end for m in self.messages if m.kind == "delete" and m.begin < end], default=0)
        full = len(seen) == COPIED
        seen = [key for key in seen if not key.startswith("?")]  # without entries of the service itself
        oldest = self.by_key[seen[-1]].end if full and seen else begin if full else deleted
        lost_keys = [keys for keys, lost in self.stores if lost and lost < end]
        gone = self.absent.union(*(map(self.by_key.get, keys) for keys in lost_keys))
        # Older ones may have been turned over in a store before that was lost.
        oldest = max([oldest, *(self.by_key[keys[0]].end for keys in lost_keys if keys)])
        self.order([key for key in reversed(seen) if key in self.by_key],
                   {m.key for m in self.edges if lost_keys})
        first, last = (bisect(self.messages, time, key=lambda m: m.begin)
                       for bisect, time in ((bisect_right, oldest), (bisect_left, begin)))
        for m in self.messages[first:last]:
            if m.end < begin and not (m.key in seen or m in gone or m.kind in TRACELESS):
                self.report("load without entry", m, "begun at", begin)
