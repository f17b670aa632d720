#!/usr/bin/env python3
"""Reads the golden vectors with nothing but the installed layout.json, as a program in another
language would, and holds both against what is known of the records without the library.

    check_vectors.py layout.json vectors.json
"""

import json
import struct
import sys

# What a new object holds where that is neither 0 nor a text of zero bytes.
BLANK = "blank"
DEFAULTS = {
    "ZBMD": {"structureId": "MD  ", "version": 2, "descriptorWord12": 8, "descriptorWord16": -1,
             "encoding": 546, "format": BLANK, "descriptorWord40": -1, "descriptorWord44": 2,
             "descriptorWord348": 1, "descriptorWord360": -1},
    "ZBDLH": {"structureId": "DLH ", "version": 1, "encoding": 546, "format": BLANK},
    "ZBTIH": {"structureId": "TIH ", "version": 2, "structureLength": 180, "encoding": 546,
              "format": BLANK, "UOWControl": 273, "getWaitInterval": -2, "linkType": 1,
              "outputDataLength": -1, "function": BLANK, "bridgeAbendCode": BLANK,
              "authenticator": BLANK, "spareText1": BLANK, "replyToFormat": BLANK,
              "spareText2": BLANK, "spareText3": BLANK, "transactionIdentifier": BLANK,
              "facilityLike": BLANK, "attentionIdentifier": BLANK, "startCode": BLANK,
              "bridgeCancelCode": BLANK, "nextTransactionIdentifier": BLANK, "spareText4": BLANK,
              "spareText5": BLANK},
    "ZBHIH": {"structureId": "HIH ", "version": 1, "structureLength": 84, "encoding": 546,
              "format": BLANK, "logicalTerminalOverride": BLANK,
              "messageFormatServicesMapName": BLANK, "replyToFormat": BLANK,
              "authenticator": BLANK, "tailByte1": " ", "tailByte2": "0", "tailByte3": "C",
              "tailByte4": " "},
    "ZBWIH": {"structureId": "WIH ", "version": 1, "structureLength": 120, "encoding": 546,
              "format": BLANK, "serviceName": BLANK, "serviceStep": BLANK},
    "ZBRMH": {"structureId": "RMH ", "version": 1, "structureLength": 108, "encoding": 546,
              "format": BLANK, "headerFlags": 1, "sourceEnvironmentOffset": 108,
              "sourceNameOffset": 108, "destinationEnvironmentOffset": 108,
              "destinationNameOffset": 108},
    "ZBTM": {"structureId": "TM  ", "version": 1},
    "ZBTMC2": {"structureId": "TMC ", "version": "   2", "queueName": BLANK, "processName": BLANK,
               "triggerData": BLANK, "triggerWord168": "   0", "applicationId": BLANK,
               "environmentData": BLANK, "userData": BLANK, "blankTail": BLANK},
    "ZBGMO": {"structureId": "GMO ", "version": 2, "gmoWord72": 3, "gmoByte76": " ",
              "gmoByte77": " ", "gmoByte78": " ", "gmoByte79": " "},
    "ZBGMO3": {"structureId": "GMO ", "version": 3, "gmoWord72": 3, "gmoByte76": " ",
               "gmoByte77": " ", "gmoByte78": " ", "gmoByte79": " ", "gmoWord96": -1},
    "ZBCD": {"word20": 8, "word24": 1, "transportType": 1, "word304": 50, "word308": 6000,
             "word312": 10, "word316": 60, "word320": 999999999, "word324": 1200,
             "word840": 999999999, "maximumMessageLength": 4194304, "word848": 1, "word1020": 1,
             "word1472": 10, "word1476": 1000, "heartBeatInterval": 300, "word1488": 2,
             "structureLength": 1888, "exitNameLength": 128, "exitUserDataLength": 32,
             "keepAliveInterval": -1, "headerCompressionList": [-1] * 2,
             "messageCompressionList": [-1] * 16, "word1872": 50},
}
LENGTHS = {"ZBMD": 364, "ZBDLH": 172, "ZBTIH": 180, "ZBHIH": 84, "ZBWIH": 120, "ZBRMH": 108,
           "ZBTM": 684, "ZBTMC2": 732, "ZBGMO": 80, "ZBGMO3": 100, "ZBCD": 1888}
FORMATS = {"ZBDLH": "ZBDEAD  ", "ZBTIH": "ZBTPMX  ", "ZBHIH": "ZBHSX   ", "ZBWIH": "ZBHWIH  ",
           "ZBRMH": "ZBHREF  ", "ZBTM": "ZBTRIG  "}

# In a full image the fields below are not filled by rule.
OWN = {"structureId", "version", "structureLength"}
FULL = {
    "ZBRMH": {"structureLength": 150, "sourceEnvironmentLength": 17, "sourceEnvironmentOffset": 108,
              "sourceNameLength": 10, "sourceNameOffset": 125, "destinationEnvironmentLength": 0,
              "destinationEnvironmentOffset": 135, "destinationNameLength": 15,
              "destinationNameOffset": 135},
    "ZBTMC2": {"version": "   2", "triggerWord168": " -42", "blankTail": " " * 48},
    "ZBCD": {"structureLength": 1888, "exitNameLength": 128, "exitUserDataLength": 32,
             "sendExitCount": 2, "receiveExitCount": 1, "sslPeerNameLength": 10},
}
# What the two lengths of the one record with versions have to say.
VERSION_1 = {"version": 1, "structureLength": 164}

# The texts that a writer fills up with blanks; all others with zero bytes.
BLANK_PADDED = {"structureId", "format", "replyToFormat"}
BLANK_PADDED_RECORDS = {"ZBTIH", "ZBWIH", "ZBTMC2"}

# Reason code and how far the cursor has moved, for each kind of damage.
REFUSED = {"structure id": (6107, 0), "encoding": (6106, 0), "format": (6119, 0),
           "three bytes": (6107, 0), "one byte short": (6114, 0), "version above": (6128, 0),
           "version zero": (6128, 0), "fixed part short": (6114, 0), "structure length": (6123, 0),
           "negative offset": (6114, 0), "offset that wraps": (6114, 0)}
# The one class that reads the structure id before the rest.
REFUSED_OTHERWISE = {("ZBTIH", "one byte short"): (6114, 4)}

# Headers from the front, and what stands behind them.
CHAIN = [("ZBDLH", 0, 172), ("ZBTIH", 172, 164), ("ZBHIH", 336, 84), ("ZBWIH", 420, 120),
         ("ZBRMH", 540, 125)]
CHAIN_REST = {"format": "FRUIT   ", "encoding": 546, "characterSet": 819, "at": 665, "length": 10}
VALUES = {"text": ("ZBSTR   ", b"3 x lemons"), "bytes": (" " * 8, b"\x00\x01\x02\xff")}

complaints = []


def expect(found, expected, *where):
    if found != expected:
        complaints.append(f"{' '.join(map(str, where))}: {found!r} instead of {expected!r}")


def decode(fields, image):
    """The fields of a record, by name. Texts with their pad, zero bytes included."""
    values = {}
    for field in fields:
        if field["offset"] >= len(image):
            continue  # a field of a later record version
        piece = image[field["offset"]:field["offset"] + field["width"]]
        if field["kind"] == "integer":
            values[field["name"]] = struct.unpack("<i", piece)[0]
        elif field["kind"] == "integers":
            values[field["name"]] = list(struct.unpack(f"<{len(piece) // 4}i", piece))
        elif field["kind"] == "text":
            values[field["name"]] = piece.decode("ascii")
        else:
            values[field["name"]] = piece.hex()
    return values


def default_of(record, field):
    value = DEFAULTS[record].get(field["name"])
    if value == BLANK:
        return " " * field["width"]
    if value is not None:
        return value
    return {"integer": 0, "text": "\0" * field["width"]}.get(field["kind"], "00" * field["width"])


def pad_of(record, field):
    blank = record in BLANK_PADDED_RECORDS or field["name"] in BLANK_PADDED
    return " " if blank else "\0"


def full_of(record, field, number):
    if field["name"] in FULL.get(record, {}):
        return FULL[record][field["name"]]
    if field["name"] in OWN:
        return default_of(record, field)
    width = field["width"]
    if field["kind"] == "text":
        return field["name"][:width].ljust(width, pad_of(record, field))
    if field["kind"] == "integer":
        return 0x01020300 + number
    if field["kind"] == "integers":
        return [0x01020300 + number + 0x100 * i for i in range(width // 4)]
    if field["kind"] == "bytes":
        return bytes((16 * number + i) & 0xff for i in range(width)).hex()
    return "00" * width


def shown(value):
    """A text as vectors.json has it."""
    return value.split("\0")[0] if isinstance(value, str) else value


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        layout = {record["name"]: record for record in json.load(file)["records"]}
    with open(sys.argv[2], encoding="utf-8") as file:
        vectors = json.load(file)

    expect({name: record["length"] for name, record in layout.items()}, LENGTHS, "lengths")
    expect({name: record["format"] for name, record in layout.items() if "format" in record},
           FORMATS, "formats")
    expect(layout["ZBTIH"]["versionLengths"], {"1": 164, "2": 180}, "ZBTIH versions")
    for name, record in layout.items():
        end = 0
        for field in record["fields"]:
            expect(field["offset"], end, name, field["name"], "offset")
            end += field["width"]
            if field["kind"] == "text" and field["width"] > 1:
                pad = {" ": "blank", "\0": "zero"}[pad_of(name, field)]
                expect(field["pad"], pad, name, field["name"], "pad")
        expect(end, record["length"], name, "end")

    seen = []
    for vector in vectors["records"]:
        name, kind = vector["record"], vector["name"]
        seen.append((name, kind))
        image = bytes.fromhex(vector["hex"])
        fields = layout[name]["fields"]
        values = decode(fields, image)
        expect({key: shown(value) for key, value in values.items()}, vector["fields"], name, kind,
               "as told")
        first_version = kind.endswith("version 1")
        for number, field in enumerate(fields, 1):
            if field["name"] not in values:
                continue
            expected = (full_of(name, field, number) if kind.startswith("full")
                        else default_of(name, field))
            if first_version:
                expected = VERSION_1.get(field["name"], expected)
            expect(values[field["name"]], expected, name, kind, field["name"])
        length = VERSION_1["structureLength"] if first_version else LENGTHS[name]
        texts = b""
        for text in layout[name].get("texts", []):
            start, size = values[text["offsetField"]], values[text["lengthField"]]
            expect(vector["texts"][text["name"]], image[start:start + size].decode("ascii"), name,
                   kind, text["name"])
            if size:
                expect(image[start:start + size].decode("ascii"), text["name"], name, kind)
            texts += image[start:start + size]
        expect(len(image), length + len(texts), name, kind, "length")
        if name == "ZBCD" and kind == "full":
            slots = {"sendExitNameArray": [b"audit(Sent)", b"pack(Deflate)"],
                     "sendUserDataArray": [b"level=2", b""],
                     "receiveExitNameArray": [b"unpack(Deflate)"],
                     "receiveUserDataArray": [b"checked"]}
            expected = {key: b"".join(entry.ljust(128 if "Name" in key else 32, b"\0")
                                      for entry in entries).hex()
                        for key, entries in slots.items()}
            expected["sslPeerNamePointer"] = b"CN=harbour".hex()
            expect(vector["blocks"], expected, "ZBCD blocks")
    for name in LENGTHS:
        expect([kind for record, kind in seen if record == name][:2], ["default", "full"], name)

    messages = {message["name"]: message for message in vectors["messages"]}
    descriptor = {name: decode(layout["ZBMD"]["fields"], bytes.fromhex(message["descriptor"]))
                  for name, message in messages.items()}
    for name, (format_name, data) in VALUES.items():
        expect(descriptor[name]["format"], format_name, name)
        expect(messages[name]["data"], data.hex(), name)
    chain = messages["chain"]
    data = bytes.fromhex(chain["data"])
    expect([(item["record"], item["at"], item["length"]) for item in chain["items"]], CHAIN,
           "chain")
    expect(chain["rest"], CHAIN_REST, "chain")
    expect(data[CHAIN_REST["at"]:], b"3 x lemons", "chain")
    description = descriptor["chain"]
    for name, at, _ in CHAIN:
        expect([description[key] for key in ("format", "encoding", "characterSet")],
               [FORMATS[name], 546, 0], "before", name)
        description = decode(layout[name]["fields"], data[at:at + LENGTHS[name]])
    expect([description[key] for key in ("format", "encoding", "characterSet")],
           [CHAIN_REST[key] for key in ("format", "encoding", "characterSet")], "data")

    kinds = {}
    for entry in vectors["refused"]:
        name, damage = entry["record"], entry["damage"]
        kinds.setdefault(name, []).append(damage)
        expected = REFUSED_OTHERWISE.get((name, damage), REFUSED[damage])
        expect((entry["reasonCode"], entry["cursor"]), expected, name, damage)
        expect(entry["completionCode"], 2, name, damage)
    expect(set(kinds), set(FORMATS), "refused")
    for name, damages in kinds.items():
        more = {"ZBTIH": 2, "ZBRMH": 4}.get(name, 0)
        expect(damages, list(REFUSED)[:5] + list(REFUSED)[5 if name == "ZBTIH" else 7:][:more],
               name)

    print("\n".join(complaints))
    return 1 if complaints else 0


sys.exit(main())
