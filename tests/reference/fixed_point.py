"""Prints what fixed-point arithmetic on 128 bits must give, worked out with whole numbers of any
size. usage: fixed_point.py > fixed_point.txt

A row is a name and its columns; numbers of 128 bits are hexadecimal, in two's complement:

    pair     signed a b   a+b a-b a*b a/b remainder a>=b     (- where b is zero)
    single   signed a     -a ~a a+2^-64 negative
    shift    signed a n   up, down; both again with sign fill
    unit     direction unit value    result status           (status 0 before)
    epoch    direction epoch value   result status
"""

import hashlib

ONE = 1 << 64
BITS = 1 << 128

EDGES = [0, 1, ONE // 2, ONE - 1, ONE, ONE + ONE // 2, 3 * ONE, 10**6 * ONE, BITS // 2 - 1,
         BITS // 2, BITS // 2 + 1, BITS - ONE - ONE // 2, BITS - ONE, BITS - ONE // 2, BITS - 1]
# Both sides of the places where words and halves meet, of the whole width, and what is far beyond.
PLACES = [0, 1, 31, 32, 33, 63, 64, 65, 95, 96, 97, 127, 128, 129, 2**31 - 1,
          -1, -32, -64, -65, -127, -128, -129, -2**31]
UNITS = {919263159: 10**18, 919263162: 10**15, 919263165: 10**12, 919263168: 10**9,
         919263170: 10**7, 919263171: 10**6, 919263174: 10**3, 919263177: None,
         919263179: 60, 919263181: 3600, 919263183: 86400}
EPOCHS = {1: -60052752000, 1601: -9561628800, 1970: 2082844800}
UNKNOWN_UNITS = [0, 1, -1, 919263158, 919263160, 919263164, 919263178, 919263184, 2**31 - 1, -2**31]
UNKNOWN_EPOCHS = [0, -1, 2, 1600, 1602, 1900, 1904, 1969, 1971, 2**31 - 1, -2**31]


def some(name, count):
    """Numbers of all lengths from 0 to 128 bits, and their negations."""
    numbers = []
    for i in range(count):
        digest = hashlib.sha256(f"{name} {i}".encode()).digest()
        number = int.from_bytes(digest[:16], "big") >> digest[16] % 129
        numbers.append(number if digest[17] % 2 else -number % BITS)
    return numbers


def value(bits, signed):
    return bits - BITS if signed and bits >= BITS // 2 else bits


def text(number):
    return f"{number % BITS:x}"


def with_sign(magnitude, negative):
    return -magnitude if negative else magnitude


def product(a, b):
    magnitude = abs(a) * abs(b)
    kept = (magnitude >> 64) + (magnitude >> 63 & 1)
    return with_sign(kept, (a < 0) != (b < 0))


def quotient(a, b):
    magnitude, rest = divmod(abs(a) << 64, abs(b))
    return with_sign(magnitude, (a < 0) != (b < 0)), with_sign(rest, a < 0)


def pair(signed, a_bits, b_bits):
    a, b = value(a_bits, signed), value(b_bits, signed)
    divided = [text(part) for part in quotient(a, b)] if b else ["-", "-"]
    return ["pair", int(signed), text(a), text(b), text(a + b), text(a - b), text(product(a, b)),
            *divided, int(a >= b)]


def single(signed, bits):
    a = value(bits, signed)
    return ["single", int(signed), text(a), text(-a), text(~bits), text(a + 1), int(a < 0)]


def moved(a, places, fill):
    """The bits of a, those places up; down where places is negative, as often as fill says."""
    if places >= 0:
        return a << min(places, 128)
    return (a if fill else a % BITS) >> min(-places, 128)


def shift(signed, bits, places):
    a = value(bits, signed)
    return ["shift", int(signed), text(a), places,
            *(text(moved(a, way * places, fill)) for fill in (False, True) for way in (1, -1))]


def unit(direction, number, bits):
    a = value(bits, True)
    factor = UNITS.get(number, 0)
    if factor is None:
        result, status = a, 0
    elif factor == 0:
        result, status = a, -50003
    elif (factor >= 1000 and number < 919263177) == (direction == 1):
        result, status = quotient(a, factor << 64)[0], 0
    else:
        result = value(product(a, factor << 64) % BITS, True)
        status = 0 if (result < 0) == (a < 0) else -50175
    return ["unit", direction, number, text(a), text(result), status]


def epoch(direction, number, bits):
    a = value(bits, True)
    if number not in EPOCHS:
        return ["epoch", direction, number, text(a), text(a), -50003]
    offset = EPOCHS[number] << 64
    result = a + (offset if direction == 1 else -offset)
    status = 0 if -BITS // 2 <= result < BITS // 2 else -50175
    return ["epoch", direction, number, text(a), text(result), status]


def arithmetic():
    pairs = [(a, b) for a in EDGES for b in EDGES]
    pairs += zip(some("a", 150), some("b", 150))
    # Numbers as times have them: tens of bits before the point.
    pairs += [(a >> 20, b >> 50) for a, b in zip(some("dividend", 50), some("divisor", 50))]
    for signed in (True, False):
        for a, b in pairs:
            yield pair(signed, a, b)
        for bits in EDGES + some("single", 30):
            yield single(signed, bits)
        for bits in some("shift", 8) + [1, BITS // 2, BITS - 1]:
            for places in PLACES:
                yield shift(signed, bits, places)


def conversions():
    for direction in (1, 2):
        for number, factor in UNITS.items():
            # The last numbers that a multiplication holds, and the first that it does not.
            limit = BITS // 2 // (factor or 1)
            limits = [sign * limit + d for sign in (1, -1) for d in (-1, 0, 1)]
            for bits in EDGES + limits + some(f"unit {number}", 10):
                yield unit(direction, number, bits % BITS)
        for number, offset in EPOCHS.items():
            near = [edge + sign * (offset << 64) + d for edge in (BITS // 2 - 1, -BITS // 2, 0)
                    for sign in (1, -1) for d in (-1, 0, 1)]
            for bits in EDGES + near + some(f"epoch {number}", 10):
                yield epoch(direction, number, bits % BITS)
    for direction in (-1, 0, 1, 2, 3):
        for number in [*UNITS, *UNKNOWN_UNITS]:
            yield unit(direction, number, 0x123456789abcdef_0123456789abcdef)
        for number in [*EPOCHS, *UNKNOWN_EPOCHS]:
            yield epoch(direction, number, 0x123456789abcdef_0123456789abcdef)


def table():
    rows = [*arithmetic(), *conversions()]
    return "".join(" ".join(map(str, row)) + "\n" for row in rows)


if __name__ == "__main__":
    print(table(), end="")
