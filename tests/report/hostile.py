"""Puts hostile text into every text of a capture.

A capture is a sequence of messages with their lengths. Without their types, a field of bytes is a message if it can be read
as one, and otherwise a text. The few texts that can be read as messages stay texts.
"""

HOSTILE = ("</script><script>alert(1)</script><img src=x onerror=alert(2)>\"'`${alert(3)}<!--" "\u202e\u2066\u0000\ufeff"
           "&lt;]]>javascript:alert(4)").encode()


def read_varint(data, at):
    value = shift = 0
    while True:
        byte = data[at]
        at += 1
        value |= (byte & 127) << shift
        shift += 7
        if byte < 128:
            return value, at
        if shift > 63:
            raise ValueError("a number that is too long")


def varint(value):
    result = bytearray()
    while value > 127:
        result.append(value & 127 | 128)
        value >>= 7
    result.append(value)
    return bytes(result)


def message(data):
    """Returns the message with hostile texts. Raises ValueError or IndexError if the data is not a message."""
    result = bytearray()
    at = 0
    while at < len(data):
        begin = at
        tag, at = read_varint(data, at)
        kind = tag & 7
        if tag >> 3 == 0 or kind not in (0, 1, 2, 5):
            raise ValueError("not a message")
        if kind == 2:
            size, start = read_varint(data, at)
            at = start + size
            if at > len(data):
                raise ValueError("not a message")
            content = field(data[start:at])
            result += varint(tag) + varint(len(content)) + content
            continue
        at = read_varint(data, at)[1] if kind == 0 else at + (8 if kind == 1 else 4)
        if at > len(data):
            raise ValueError("not a message")
        result += data[begin:at]
    return bytes(result)


def field(data):
    try:
        return message(data)
    except (ValueError, IndexError):
        return data + HOSTILE


def capture(data):
    result = bytearray()
    at = 0
    while at < len(data):
        size, at = read_varint(data, at)
        frame = message(data[at:at + size])
        at += size
        result += varint(len(frame)) + frame
    return bytes(result)
