"""The log filter, the recorder and the fault rules, written down from what they are to do.

Models answer with the bytes that log_replay writes for the same operation.
"""

import struct
import time

from kinds import MASK, hash_of

TYPES = 29
LIFETIME = 3600
LONGEST_LINE = 1023
LONGEST_RECORD = 255
SEPARATOR = (b"------+-------+--------------------------+---------------------------------+"
             b"----------+---------------+--------\r\n")
NO_LENGTH = b"get hash code error, hashFuncId[0] strLen[0] ret[0x1]"

_number = struct.Struct("<I").pack


def tagged(letter, text):
    return letter + _number(len(text)) + text


def message(level, text):
    return b"p" + _number(level) + _number(len(text)) + text


class Ring:
    """The lines of one type. An entry is [hash, begin, last, repeats, state, time text]."""

    __slots__ = ("first", "size", "entries", "at")

    def __init__(self):
        self.first = self.size = 0
        self.entries = []
        self.at = {}  # hash -> position, of live entries

    def age(self, now):
        if self.size == 0:
            self.first = 0
            return
        entries = self.entries
        capacity = len(entries)
        removed = 0
        position = 0
        while removed != self.size:
            position = (self.first + removed) % capacity
            entry = entries[position]
            if (entry[1] + LIFETIME & MASK) > now:
                break
            entry[4] = 0
            if self.at.get(entry[0]) == position:
                del self.at[entry[0]]
            removed += 1
        self.first = position
        self.size -= removed

    def grow(self):
        capacity = len(self.entries)
        if capacity <= 1024 and capacity <= self.size + 1:
            self.entries += [[0, 0, 0, 0, 0, b""] for _ in range(capacity + 1)]
            if self.first + self.size > capacity:
                # Not straightened: what lay before the first entry is live no more.
                self.at = {}
                for i in range(self.size):
                    position = (self.first + i) % len(self.entries)
                    self.at.setdefault(self.entries[position][0], position)

    def add(self, hash_code, now, text):
        self.grow()
        capacity = len(self.entries)
        position = (self.first + self.size) % capacity
        if self.size == capacity:
            oldest = self.entries[position][0]
            if self.at.get(oldest) == position:
                del self.at[oldest]
            self.first = (self.first + 1) % capacity
        else:
            self.size += 1
        self.entries[position] = [hash_code, now, now, 0, 1, text]
        self.at[hash_code] = position

    def clear(self):
        self.first = self.size = 0
        self.at = {}


class LogFilter:
    def __init__(self, time_text):
        self.rings = [Ring() for _ in range(TYPES)]
        self.on = 1
        self.now = 0
        self.time_text = time_text
        self.hashes = {}
        self.passed = self.suppressed = 0

    def hash(self, text):
        found = self.hashes.get(text)
        if found is None:
            found = hash_of(text)
            if len(text) <= LONGEST_LINE and len(self.hashes) < 50000:
                self.hashes[text] = found
        return found

    def repeated(self, log_type, interval, text):
        """True: suppress."""
        if self.on == 0:
            self.passed += 1
            return False
        hash_code = self.hash(text)
        if hash_code == 0 or log_type >= TYPES:
            self.passed += 1
            return False
        ring = self.rings[log_type]
        now = self.now
        ring.age(now)
        position = ring.at.get(hash_code)
        if position is None:
            ring.add(hash_code, now, self.time_text(now))
            self.passed += 1
            return False
        entry = ring.entries[position]
        if interval and now >= (entry[2] + interval & MASK):
            entry[2] = now
            self.passed += 1
            return False
        entry[3] += 1
        self.suppressed += 1
        return True

    def asked(self, text):
        """What is said before a decision on the text."""
        return message(1, NO_LENGTH) if not text and self.on else b""

    def same(self, log_type, interval, text):
        end = text.find(b"\0")
        line = text[:LONGEST_LINE] if end < 0 else text[:min(end, LONGEST_LINE)]
        said = self.asked(line)
        return said if self.repeated(log_type, interval, line) else said + tagged(b"d", line)

    def raw(self, log_type, interval, text):
        said = self.asked(text)
        return said + (b"\1" if self.repeated(log_type, interval, text) else b"\0")

    def different(self, log_type, interval, keys, text):
        if self.repeated(log_type, interval, b"%d%d%d%d%d" % ((log_type,) + keys)):
            return b""
        end = text.find(b"\0")
        return tagged(b"d", (text if end < 0 else text[:end])[:LONGEST_LINE])

    def same_key(self, keys):
        return b"\1" if self.repeated(26, 0, b"26%d%d%d%d" % keys) else b"\0"

    def clear(self, log_type):
        if log_type < TYPES:
            self.rings[log_type].clear()

    def table(self, log_type, first, rows):
        ring = self.rings[log_type]
        ring.age(self.now)
        capacity = len(ring.entries)
        text = [b"logtype[%d], curIndex[%d], curSize[%d], capacity[%d] switchState[%d]\r\n" % (
            log_type, ring.first, ring.size, capacity, self.on), SEPARATOR,
            b"Index | state |       logBeginTime       |  logHashCode  | logCnt \r\n", SEPARATOR]
        for i in range(rows if capacity else 0):
            position = (first + i & MASK) % capacity
            entry = ring.entries[position]
            text.append(b"  %-3d    %s    %-23s     0x%-11x   %d\r\n" % (
                position, b"CUR" if entry[4] else b"HIS", entry[5], entry[0], entry[3]))
        text.append(SEPARATOR)
        return b"".join(text)

    def show(self, log_type, first, rows, room):
        if log_type >= TYPES:
            return tagged(b"l", b"")
        return tagged(b"l", self.table(log_type, first, rows)[:room - 1])


def calendar(sec, known={}):
    """The two parts that a listing shows of a time; none of second 0."""
    text = known.get(sec)
    if text is None:
        text = known[sec] = time.strftime("%Y/%m/%d %H:%M:%S", time.gmtime(sec)).encode()
    return text


class Recorder:
    SLOTS = 1024

    def __init__(self):
        self.now = 0
        self.destroy()

    def destroy(self):
        self.records = []  # by slot: [text, count, first, last]
        self.slots = {}
        self.next = 0

    def record(self, text):
        end = text.find(b"\0")
        text = text[:LONGEST_RECORD] if end < 0 else text[:min(end, LONGEST_RECORD)]
        if len(text) == LONGEST_RECORD:
            text = text[:252] + b"..."
        slot = self.slots.get(text)
        if slot is not None:
            record = self.records[slot]
            record[1] += 1
            record[3] = self.now
            return
        slot = self.next
        if slot == len(self.records):
            self.records.append(None)
        else:
            del self.slots[self.records[slot][0]]
        self.records[slot] = [text, 1, self.now, self.now]
        self.slots[text] = slot
        self.next = (slot + 1) % self.SLOTS

    def listing(self, room):
        text = []
        for slot, (words, count, first, last) in enumerate(self.records):
            if first != 0:
                shown = calendar(last) if last else b"0000/00/00 00:00:00"
                text.append(b"\r\n%4d:   First time:%s, last time:%s, count[%03d], %s" % (
                    slot, calendar(first), shown, count, words))
        return tagged(b"l", b"".join(text)[:room - 1])


class Judge:
    """The fault rules: of each pair, of all pairs together, of a time-out."""

    KEPT = 4096

    def __init__(self):
        self.now = 0
        self.times = []
        self.pairs = []

    def holds(self, interval, events):
        times = self.times
        if interval == 0 or not times:
            return False
        if events == 0:
            return (self.now - times[-1] & MASK) > interval
        if events > min(len(times), self.KEPT):
            return False
        return (self.now - times[-events] & MASK) <= interval

    def verdicts(self):
        each = [self.holds(interval, events) for interval, events in self.pairs]
        timeout = self.pairs[-1][0]
        return bytes(each + [any(each), timeout != 0 and bool(self.times) and self.now > timeout])

    def event(self):
        before = self.verdicts()
        self.times.append(self.now)
        if len(self.times) > 3 * self.KEPT:
            del self.times[:-self.KEPT]
        return before + self.verdicts()

    def reset(self):
        self.times = []
