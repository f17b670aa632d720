"""Views of zebbase's objects and records for GDB, which loads this file with the library."""

import gdb
import gdb.printing


def memory(address, length):
    """Bytes of the program, or None where they can't be read."""
    try:
        return gdb.selected_inferior().read_memory(int(address), int(length)).tobytes()
    except gdb.MemoryError:
        return None


def hexadecimal(data, most=32):
    shown = " ".join(f"{byte:02x}" for byte in data[:most])
    return shown + (" ..." if len(data) > most else "")


def quoted(data):
    """Text in quotes, with escapes for all that a terminal shouldn't get."""
    characters = (chr(byte) if 32 <= byte < 127 and byte not in b'"\\' else f"\\x{byte:02x}"
                  for byte in data)
    return '"' + "".join(characters) + '"'


def quantity(count):
    return f"{int(count)} byte" if count == 1 else f"{int(count)} bytes"


def codes(value):
    """The codes of an object, empty while there are none."""
    completion, reason = int(value["completionCode_"]), int(value["reasonCode_"])
    if completion == 0 and reason == 0:
        return ""
    kind = {1: "warning", 2: "failed"}.get(completion, f"completion {completion}")
    return f", {kind} {reason}"


class Text:
    """ZebStr: the text."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        text = self.value["text_"]
        if int(text) == 0:
            return '""' + codes(self.value)
        data = memory(text, self.value["storageSize_"])
        if data is None:
            return f"<no memory at {int(text):#x}>"
        return quoted(data.split(b"\0")[0]) + codes(self.value)


class Binary:
    """ZebBin: how many bytes, and which."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        length = self.value["dataLength_"]
        data = memory(self.value["dataPointer_"], length) if length else b""
        if data is None:
            return f"{quantity(length)}: <no memory>"
        return quantity(length) + (": " + hexadecimal(data) if data else "") + codes(self.value)


class Cache:
    """ZebCac: the message in the buffer, and the cursor."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        value = self.value
        kind = "automatic" if value["automaticBuffer_"] else "user"
        return (f"{quantity(value['messageLength_'])} in {kind} buffer of "
                f"{int(value['bufferLength_'])}, cursor {int(value['dataOffset_'])}{codes(value)}")

    def children(self):
        length = self.value["messageLength_"]
        data = memory(self.value["bufferPointer_"], length) if length else b""
        yield "data", "<no memory>" if data is None else hexadecimal(data)


class Message(Cache):
    """ZebMsg: its buffer part, and the descriptor."""

    def __init__(self, value):
        # Both bases lead to the one pair of codes; a name takes only one way.
        super().__init__(value.cast(gdb.lookup_type("ZebCac")))
        self.message = value

    def children(self):
        yield from super().children()
        yield "descriptor", self.message["descriptor_"]


class Record:
    """A record: each field as what it holds."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return f"{self.value.type.strip_typedefs().name} of {quantity(self.value.type.sizeof)}"

    def children(self):
        for field in self.value.type.fields():
            value = self.value[field]
            kind = value.type.strip_typedefs()
            if kind.code == gdb.TYPE_CODE_ARRAY and kind.target().sizeof == 1:
                first, last = kind.range()
                data = bytes(int(value[i]) & 0xff for i in range(first, last + 1))
                # Texts are arrays of plain characters.
                plain = kind.target().strip_typedefs().unqualified().name == "char"
                yield field.name, quoted(data.rstrip(b"\0")) if plain else hexadecimal(data)
            elif kind.code == gdb.TYPE_CODE_PTR:
                yield field.name, "null" if int(value) == 0 else f"{int(value):#x}"
            else:
                yield field.name, value


def build():
    views = gdb.printing.RegexpCollectionPrettyPrinter("zebbase")
    views.add_printer("text", "^ZebStr$", Text)
    views.add_printer("bytes", "^ZebBin$", Binary)
    views.add_printer("buffer", "^ZebCac$", Cache)
    views.add_printer("message", "^ZebMsg$", Message)
    views.add_printer("record", "^ZB(MD|DLH|TIH|HIH|WIH|RMH|TM|TMC2|GMO|GMO3|CD)$", Record)
    return views


gdb.printing.register_pretty_printer(gdb.current_objfile(), build(), replace=True)
