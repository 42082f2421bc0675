"""Pretty printers for gdb: PHP values and QString in readable form.

    (gdb) source PREFIX/share/tarnwick/gdb/tarnwick_gdb.py
"""

import gdb
import gdb.printing

LONGEST_ARRAY = 20  # number of elements that are shown of a nested array


def payload_of(handle):
    """Returns the payload of a handle, or None."""
    pointer = handle["d"]
    if pointer.type.strip_typedefs().code != gdb.TYPE_CODE_PTR:
        pointer = pointer["ptr"]  # later versions of Qt wrap the pointer
    return pointer.dereference() if int(pointer) else None


ESCAPES = {"\\": "\\\\", '"': '\\"', "\n": "\\n", "\r": "\\r", "\t": "\\t"}


def escaped(character):
    code = ord(character)
    if 0xDC80 <= code <= 0xDCFF:  # a byte that is not UTF-8, as "surrogateescape" decodes it
        return f"\\x{code - 0xDC00:02x}"
    return ESCAPES.get(character, character if character.isprintable() else f"\\x{code:02x}")


def quoted(text):
    return '"' + "".join(map(escaped, text)) + '"'


def memory(address, size):
    return bytes(gdb.selected_inferior().read_memory(int(address), int(size))) if int(size) else b""


def bytes_text(raw):
    return quoted(raw.decode("utf-8", "surrogateescape"))


def qstring_text(string):
    data = string["d"]
    if not int(data["ptr"]):
        return "null"
    return quoted(memory(data["ptr"], int(data["size"]) * 2).decode("utf-16-le", "replace"))


def qbytearray_text(array):
    data = array["d"]
    return bytes_text(memory(data["ptr"], data["size"])) if int(data["ptr"]) else '""'


def std_string_text(string):
    return bytes_text(memory(string["_M_dataplus"]["_M_p"], string["_M_string_length"]))


def time_text(time):
    return f"{{{int(time['seconds'])} s, {int(time['nanos'])} ns}}"


def array_text(array):
    elements = array["elements_"]["_M_impl"]
    first, last = elements["_M_start"], elements["_M_finish"]
    size = int(last - first)
    shown = [
        f"{handle_text((first + i)['first'])} => {handle_text((first + i)['second'])}"
        for i in range(min(size, LONGEST_ARRAY))
    ]
    if size > LONGEST_ARRAY:
        shown.append(f"... {size - LONGEST_ARRAY} more")
    return "[" + ", ".join(shown) + "]"


def object_text(value):
    text = f"{qstring_text(value['class_name_'])} object {handle_text(value['properties_'])}"
    inner = handle_text(value["value_"])
    return text if inner == "undefined" else f"{text} ({inner})"


def resource_text(value):
    return f"{qstring_text(value['type_name_'])} resource ({handle_text(value['value_'])})"


def double_text(value):
    return repr(float(value))


KIND_TEXTS = (
    lambda _: "undefined",
    lambda _: "null",
    lambda content: "true" if bool(content) else "false",
    lambda content: str(int(content)),
    double_text,
    std_string_text,
    lambda content: handle_text(content),
    lambda content: handle_text(content),
    lambda content: handle_text(content),
    lambda content: "json " + qbytearray_text(content),
    time_text,
)


def value_text(value):
    variant = value["value_"]
    index = int(variant["_M_index"])
    if index >= len(KIND_TEXTS):
        return "valueless"
    # Every alternative is at the start of the variant's storage.
    kind = variant.type.strip_typedefs().template_argument(index)
    return KIND_TEXTS[index](variant["_M_u"].address.cast(kind.pointer()).dereference())


PAYLOAD_TEXTS = {
    "ZVal": value_text,
    "PelorinArray": array_text,
    "PelorinObject": object_text,
    "PelorinResource": resource_text,
}


def handle_text(handle):
    payload = payload_of(handle)
    if payload is None:
        return "null handle"
    return PAYLOAD_TEXTS[payload.type.strip_typedefs().unqualified().name.rsplit("::", 1)[-1]](payload)


class Printer:
    def __init__(self, text):
        self._text = text

    def to_string(self):
        return self._text


def printer_of(text_of):
    return lambda value: Printer(text_of(value))


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("tarnwick")
    for name, text_of in PAYLOAD_TEXTS.items():
        collection.add_printer(name, f"^tarnwick::data::php::{name}$", printer_of(handle_text))
        collection.add_printer(f"{name} payload", f"^tarnwick::data::php::detail::{name}$", printer_of(text_of))
    collection.add_printer("QString", "^QString$", printer_of(qstring_text))
    collection.add_printer("TimePair", "^tarnwick::data::TimePair$", printer_of(time_text))
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
