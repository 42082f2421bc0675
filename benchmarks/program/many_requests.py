#!/usr/bin/env python3
"""Writes a capture of COUNT requests to standard output: many_requests.py COUNT

Each request has a start with a URI and an end, in the protobuf dialect, and an id of its own.
"""

import sys

TEXT_0, TEXT_1, RESPONSE_STATUS = 1, 2, 5  # fields of RInitData and RShutdownData
RINIT, RSHUTDOWN = 20, 21  # fields of Frame


def varint(number):
    data = bytearray()
    while number >= 0x80:
        data.append(number & 0x7F | 0x80)
        number >>= 7
    data.append(number)
    return bytes(data)


def field(number, content):
    return varint(number << 3 | 2) + varint(len(content)) + content


def main(count):
    start = field(RINIT, field(TEXT_0, b"GET") + field(TEXT_1, b"/catalogue/items?page=1234567&order=price"))
    end = field(RSHUTDOWN, varint(RESPONSE_STATUS << 3) + varint(200))
    for first in range(0, count, 10_000):
        frames = []
        for number in range(first, min(first + 10_000, count)):
            request_id = b"\x08" + varint(number + 1)
            for report in (start, end):
                frames += (varint(len(request_id) + len(report)), request_id, report)
        sys.stdout.buffer.write(b"".join(frames))


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(int(sys.argv[1]))
