"""Writes captures whose requests differ in ids and times, as those of a busy server do.

The captures are those of an application, again and again. Without types of messages, a message whose last number can be nanoseconds is
a time, and a number of more than 40 bits is an id.
"""

import random

from hostile import read_varint, varint


def message(data, step, numbers):
    """Returns the message with other ids and times. Raises ValueError or IndexError if the data is not a message."""
    fields = []
    at = 0
    while at < len(data):
        tag, at = read_varint(data, at)
        kind = tag & 7
        if tag >> 3 == 0 or kind not in (0, 1, 2, 5):
            raise ValueError("not a message")
        if kind == 0:
            value, at = read_varint(data, at)
        else:
            size = {1: 8, 5: 4}.get(kind)
            if kind == 2:
                size, at = read_varint(data, at)
            if at + size > len(data):
                raise ValueError("not a message")
            value = data[at:at + size]
            at += size
        fields.append([tag, kind, value])
    if [tag for tag, _, _ in fields] in ([8, 16], [16]) and 999 < fields[-1][2] < 10**9:
        fields[-1][2] = int(fields[-1][2] * numbers.uniform(0.5, 1))
    result = bytearray()
    for tag, kind, value in fields:
        result += varint(tag)
        if kind == 0:
            result += varint(value ^ step << 20 if value >= 2**40 else value)
        elif kind == 2:
            try:
                value = message(value, step, numbers)
            except (ValueError, IndexError):
                pass
            result += varint(len(value)) + value
        else:
            result += value
    return bytes(result)


def capture(data, step):
    """Returns the capture with other ids and times; each step has its own."""
    numbers = random.Random(step)
    result = bytearray()
    at = 0
    while at < len(data):
        size, at = read_varint(data, at)
        frame = message(data[at:at + size], step, numbers)
        at += size
        result += varint(len(frame)) + frame
    return bytes(result)
