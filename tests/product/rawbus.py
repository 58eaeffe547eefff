"""A connection to the system bus that sends what it is told to, well-formed or not."""
import os
import socket
import struct

CALL, RETURN, ERROR = 1, 2, 3
SIZES = {"y": "B", "n": "h", "q": "H", "b": "I", "i": "i", "u": "I", "x": "q", "t": "Q", "d": "d"}


def split(signature):
    """The single complete types of a signature."""
    types = []
    while signature:
        end = 0
        while signature[end] == "a":
            end += 1
        if signature[end] in "({":
            depth = 0
            while True:
                depth += {"(": 1, "{": 1, ")": -1, "}": -1}.get(signature[end], 0)
                if depth == 0:
                    break
                end += 1
        types.append(signature[:end + 1])
        signature = signature[end + 1:]
    return types


def alignment(kind):
    if kind[0] in "({":
        return 8
    if kind[0] in "asog" and kind[0] != "g":
        return 4
    return struct.calcsize(SIZES[kind]) if kind in SIZES else 1


def put(out, kind, value):
    out += b"\0" * (-len(out) % alignment(kind))
    if kind in SIZES:
        out += struct.pack("<" + SIZES[kind], value)
    elif kind in "so":
        raw = value if isinstance(value, bytes) else value.encode()
        out += struct.pack("<I", len(raw)) + raw + b"\0"
    elif kind == "g":
        out += bytes([len(value)]) + value.encode() + b"\0"
    elif kind == "v":
        put(out, "g", value[0])
        put(out, value[0], value[1])
    elif kind == "ay":
        out += struct.pack("<I", len(value)) + bytes(value)
    elif kind[0] == "a":
        at = len(out)
        out += b"\0\0\0\0" + b"\0" * (-(at + 4) % alignment(kind[1:]))
        start = len(out)
        for item in value.items() if isinstance(value, dict) else value:
            put(out, kind[1:], item)
        out[at:at + 4] = struct.pack("<I", len(out) - start)
    else:
        for one, item in zip(split(kind[1:-1]), value):
            put(out, one, item)


class Bus:
    def __init__(self, path="/run/dbus/system_bus_socket"):
        self.serial = 0
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(20)
        self.socket.connect(path)
        identity = str(os.getuid()).encode().hex().encode()
        self.socket.sendall(b"\0AUTH EXTERNAL " + identity + b"\r\n")
        if not self.socket.recv(512).startswith(b"OK"):
            raise OSError("the bus does not know this user")
        self.socket.sendall(b"BEGIN\r\n")
        self.call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "Hello")

    def message(self, to, path, interface, member, signature="", values=(), body=None):
        if body is None:
            body = bytearray()
            for kind, value in zip(split(signature), values):
                put(body, kind, value)
        self.serial += 1
        fields = [(1, ("o", path)), (2, ("s", interface)), (3, ("s", member)), (6, ("s", to))]
        if signature:
            fields.append((8, ("g", signature)))
        head = bytearray(struct.pack("<BBBBII", ord("l"), CALL, 0, 1, len(body), self.serial))
        put(head, "a(yv)", fields)
        return bytes(head + b"\0" * (-len(head) % 8) + body)

    def receive(self, count):
        data = b""
        while len(data) < count:
            part = self.socket.recv(count - len(data))
            if not part:
                raise ConnectionError("the bus has hung up")
            data += part
        return data

    def answer(self):
        """Kind, number of the call answered, name of an error, body of one message."""
        head = self.receive(16)
        length, fields = struct.unpack_from("<I4xI", head, 4)
        names = self.receive(fields + -fields % 8)
        body = self.receive(length)
        # Enough to find: field 5 is the number, field 4 the error's name.
        serial = names.find(b"\x05\x01u\0")
        error = names.find(b"\x04\x01s\0")
        number = struct.unpack_from("<I", names, serial + 4)[0] if serial >= 0 else 0
        name = ""
        if error >= 0:
            size = struct.unpack_from("<I", names, error + 4)[0]
            name = names[error + 8:error + 8 + size].decode()
        return head[1], number, name, body

    def reply(self, serial):
        while True:
            kind, number, name, body = self.answer()
            if kind in (RETURN, ERROR) and number == serial:
                return name, body

    def call(self, *what, **how):
        self.socket.sendall(self.message(*what, **how))
        return self.reply(self.serial)
