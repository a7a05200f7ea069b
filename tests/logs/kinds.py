"""Logs of many kinds, made from a seed: each kind is a generator of (second, text) pairs."""

import operator

MASK = 0xFFFFFFFF
HASH_CHUNK = 1024
POWERS = [0] * HASH_CHUNK
POWERS[-1] = 1
for _i in range(HASH_CHUNK - 2, -1, -1):
    POWERS[_i] = POWERS[_i + 1] * 31 & MASK
FACTOR = POWERS[0] * 31 & MASK  # of a whole chunk that follows


def hash_of(text):
    """h = h * 31 + byte for each byte, modulo 2^32, as a sum of powers."""
    result = 0
    for start in range(0, len(text), HASH_CHUNK):
        chunk = text[start:start + HASH_CHUNK]
        power = FACTOR if len(chunk) == HASH_CHUNK else POWERS[-1 - len(chunk)]
        result = (result * power + sum(map(operator.mul, chunk, POWERS[-len(chunk):]))) & MASK
    return result


def with_hash(prefix, wanted):
    """A text that begins with the prefix and has this hash: seven characters more, which are the
    digits of what is missing to the base 31, from the blank on."""
    rest = (wanted - hash_of(prefix + b" " * 7)) & MASK
    digits = []
    for _ in range(7):
        rest, digit = divmod(rest, 31)
        digits.append(32 + digit)
    return prefix + bytes(reversed(digits))


class Clock:
    """Seconds that go on, mostly."""

    def __init__(self, draw, start=1780000000):
        self.draw = draw
        self.now = start

    def go(self, most):
        self.now += int(self.draw() * (most + 1))
        return self.now


def bursts(draw, lines):
    """Thirty sites, each of which repeats itself for a while."""
    clock = Clock(draw)
    while lines > 0:
        site = int(draw() * 30)
        port = int(draw() * 8)
        text = b"linkd[%d]: port %d of slot %d: signal lost" % (site, port, site % 4)
        for _ in range(min(lines, 1 + int(draw() ** 4 * 500))):
            yield clock.now, text
            lines -= 1
            if draw() < 0.1:
                clock.go(3)
        clock.go(60)


def flood(draw, lines):
    """One line without end, and now and then another."""
    clock = Clock(draw)
    text = b"kernel: queue 7 is full"
    for i in range(lines):
        if draw() < 0.001:
            yield clock.now, b"watchdog: still here, round %d" % (i // 5000)
        else:
            yield clock.now, text
        if draw() < 0.01:
            clock.go(8)


def churn(draw, lines):
    """More different lines than any ring holds, some of which come again at once, some late."""
    clock = Clock(draw)
    for i in range(lines):
        what = draw()
        number = i if what < 0.6 else max(0, i - int(draw() * (20 if what < 0.8 else 4000)))
        yield clock.now, b"session %08x opened from 10.%d.%d.7" % (
            number * 2654435761 & MASK, number >> 8 & 255, number & 255)
        if draw() < 0.05:
            clock.go(2)


def clocks(draw, lines):
    """Few lines; the clock is set forth and back, by seconds, hours and days, to the first seconds
    there are and past the last one."""
    clock = Clock(draw)
    steps = (1, -1, 10, -10, 59, 61, 3599, 3600, 3601, -3599, -3600, -3601, 86400, -86400)
    for _ in range(lines):
        what = draw()
        if what < 0.05:
            clock.now = (clock.now + steps[int(draw() * len(steps))]) & MASK
        elif what < 0.051:
            clock.now = (0, 1, 5, 3600, MASK, MASK - 1, MASK - 3599, MASK - 3600, 1 << 31,
                         1780000000)[int(draw() * 10)]
        yield clock.now, b"timer %d expired" % int(draw() * 12)


def megabytes(draw, lines):
    """Lines of up to a megabyte, some equal in all that is kept of them."""
    clock = Clock(draw)
    bases = [bytes((i * k) % 95 + 32 for i in range(95)) * 11100 for k in (1, 3, 7)]
    for _ in range(max(3, lines // 500)):
        base = bases[int(draw() * 3)]
        length = 1 << 20 if draw() < 0.5 else int(draw() * (1 << 20))
        cut = int(draw() * 3)
        yield clock.go(5), base[cut:cut + length]


def octets(draw, lines):
    """Bytes of all values: NUL, controls, UTF-8 that is whole, cut short, overlong or none."""
    clock = Clock(draw)
    pieces = [b"\0", b"\r", b"\t", b"\x1b[31m", b"\x7f", b"\xff\xfe", b"\xc3\xa9", b"\xc3",
              b"\xe2\x82\xac", b"\xe2\x82", b"\xf0\x9f\x94\xa5", b"\xf0\x9f", b"\xc0\x80",
              b"\xed\xa0\x80", b"a", b"port 1", b" ", b"%s%n%d", b"\\", b"\x80\x80"]
    known = []
    for _ in range(lines):
        if known and draw() < 0.5:
            text = known[int(draw() * len(known))]
        else:
            text = b"".join(pieces[int(draw() * len(pieces))] for _ in range(int(draw() * 12)))
            if len(known) < 400:
                known.append(text)
        yield clock.now, text
        if draw() < 0.1:
            clock.go(4)


def collisions(draw, lines):
    """Different texts of one hash, texts of hash 0, and their neighbours."""
    clock = Clock(draw)
    wanted = [0, 1, 3105, MASK, 1 << 31, hash_of(b"kernel: queue 7 is full")]
    known = [b"kernel: queue 7 is full", b"ab"]
    for hash_code in wanted:
        known += [with_hash(b"fan %d: " % i, hash_code) for i in range(6)]
        known += [with_hash(b"x" * i, hash_code) for i in (0, 1, 500, 1016)]
    pairs = [b"Aa", b"BB", b"C#"]  # of one hash each
    for a in pairs:
        for b in pairs:
            known += [a + b, a + b + b" up", b"port " + a + b]
    for text in known[:]:
        known.append(text[:-1] + bytes([text[-1] + 1]))
    for _ in range(lines):
        yield clock.now, known[int(draw() ** 2 * len(known))]
        if draw() < 0.02:
            clock.go(30)


def lengths(draw, lines):
    """Lengths about those at which texts are cut, with differences before and after the cut."""
    clock = Clock(draw)
    about = (0, 1, 251, 252, 253, 254, 255, 256, 257, 511, 512, 1022, 1023, 1024, 1025, 2000)
    for _ in range(lines):
        length = about[int(draw() * len(about))]
        text = (b"chassis: %d " % int(draw() * 3)).ljust(length, b"=")[:length]
        if length and draw() < 0.5:
            text = text[:-1] + b"#"
        yield clock.now, text
        if draw() < 0.05:
            clock.go(5)


def rings(draw, lines):
    """Rings that have moved on by ageing when they grow: what wraps is then forgotten."""
    clock = Clock(draw)
    number = 0
    while lines > 0:
        most = 1 + int(draw() ** 2 * 300)
        for _ in range(min(lines, most * 3)):
            if draw() < 0.6:
                number += 1
                yield clock.now, b"line %d" % number
            else:
                yield clock.now, b"line %d" % max(0, number - int(draw() * most))
            lines -= 1
            if draw() < 0.2:
                clock.go(20)
        clock.now += (0, 1800, 3500, 7200)[int(draw() * 4)]


KINDS = {kind.__name__: kind for kind in (bursts, flood, churn, clocks, megabytes, octets,
                                          collisions, lengths, rings)}
