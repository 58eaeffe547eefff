"""The service's methods, called over a connection of its own. Signatures are those of the
interface's own descriptions."""
import os
import re
import struct
import sys
import xml.etree.ElementTree as xml

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))
from rawbus import SIZES, Bus, alignment, split  # noqa: E402

SERVICE = "org.taloantivirus.Engine1"
OBJECT = "/org/taloantivirus/Engine1"


class Refused(Exception):
    """An error that the service answered with."""

    def __init__(self, name, reason):
        super().__init__(f"{name}: {reason}")
        self.name = name.rsplit(".", 1)[-1]


class Gone(Exception):
    """There was no answer, since there was no service or it ended meanwhile."""


def signatures(folder):
    found = {}
    for name in os.listdir(folder):
        if not name.endswith(".xml"):
            continue
        for interface in xml.parse(os.path.join(folder, name)).getroot():
            for method in interface.iter("method"):
                both = {"in": "", "out": ""}
                for argument in method.iter("arg"):
                    both[argument.get("direction")] += argument.get("type")
                short = re.sub(r".*\.", "", interface.get("name"))
                found[f"{short}.{method.get('name')}"] = both["in"], both["out"]
    return found


def take(kind, data, at):
    """One value of that type, and where the next one begins."""
    at += -at % alignment(kind)
    if kind in SIZES:
        return struct.unpack_from("<" + SIZES[kind], data, at)[0], at + struct.calcsize(SIZES[kind])
    if kind in ("s", "o", "ay"):
        size = struct.unpack_from("<I", data, at)[0]
        raw = bytes(data[at + 4:at + 4 + size])
        return (raw, at + 4 + size) if kind == "ay" else (raw.decode(), at + 5 + size)
    if kind == "g":
        return data[at + 1:at + 1 + data[at]].decode(), at + 2 + data[at]
    if kind == "v":
        inner, at = take("g", data, at)
        return take(inner, data, at)
    if kind[0] == "a":
        size = struct.unpack_from("<I", data, at)[0]
        at += 4
        at += -at % alignment(kind[1:])
        end = at + size
        items = []
        while at < end:
            item, at = take(kind[1:], data, at)
            items.append(item)
        return (dict(items) if kind[1] == "{" else items), at
    values = []
    for part in split(kind[1:-1]):
        value, at = take(part, data, at)
        values.append(value)
    return tuple(values), at


class Engine:
    def __init__(self, socket, methods):
        self.methods = methods
        self.bus = Bus(socket)
        # A busy machine may take long; nothing is lost by waiting.
        self.bus.socket.settimeout(120)

    def send(self, method, *values):
        """For who does not wait; take the answer with `answer`."""
        interface, member = method.split(".")
        self.bus.socket.sendall(self.bus.message(
            SERVICE, OBJECT, f"{SERVICE}.{interface}", member,
            signature=self.methods[method][0], values=values))
        return method, self.bus.serial

    def answer(self, sent):
        method, serial = sent
        error, body = self.bus.reply(serial)
        if error.startswith("org.freedesktop.DBus.Error."):
            if error.rsplit(".", 1)[-1] in ("NoReply", "ServiceUnknown", "NameHasNoOwner"):
                raise Gone(error)
        if error:
            raise Refused(error, take("s", body, 0)[0] if body else "")
        values, at = [], 0
        for kind in split(self.methods[method][1]):
            value, at = take(kind, body, at)
            values.append(value)
        return values[0] if len(values) == 1 else values

    def ask(self, method, *values):
        return self.answer(self.send(method, *values))

    def owned(self):
        body = self.bus.call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "NameHasOwner",
                             signature="s", values=[SERVICE])[1]
        return bool(take("b", body, 0)[0])
