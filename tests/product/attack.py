#!/usr/bin/python3
"""What an ordinary user tries against the service of the system bus. Ends with 1 where anything
but a refusal comes of it. Whether the service lives and nothing changed is the caller's to see.

usage: attack.py PROCESS-OF-THE-SERVICE REPORT-KEY QUARANTINE-ID
"""
import ctypes
import os
import re
import signal
import struct
import sys
import time

from rawbus import Bus, split

SERVICE = "org.taloantivirus.Engine1"
OBJECT = "/org/taloantivirus/Engine1"
REFUSALS = {"org.taloantivirus.Error." + name for name in
            ("NotPermitted", "PasswordNeeded", "InvalidArgument", "LimitReached", "NotFound")}
# Every user may ask these, and have what was permitted to others take effect.
READING = {"Exclusions.List", "Notices.Listen", "Password.Exists", "Password.Protection", "Password.Validate",
           "ProductUpdate.ProgramUpdateProgress", "Quarantine.List", "Reports.List",
           "Reports.Read", "Reports.LastFullScan", "Scan.Progress", "Scan.Running",
           "Schedules.Details", "Schedules.All", "Settings.Get", "Settings.Export",
           "Settings.NotifyChange", "Status.GetStatus", "Updates.UpdateState",
           "Updates.SignatureUpdateProgress"}
# These change something. With such arguments others would have it done: that they are refused is
# for who asks.
REPORT, OBJECT_ID = sys.argv[2:4]
CHANGING = {
    "Exclusions.Add": (b"/srv", 401),
    "Exclusions.Remove": (b"/srv", 401),
    "Firewall.Trigger": (2,),
    "Password.SetProtection": (False,),
    "Password.Create": (b"visitor1", b"visitor1"),
    "Password.Change": (b"visitor1", b"visitor2", b"visitor2"),
    "Password.Reset": (),
    "ProductUpdate.CheckProgram": (),
    "ProductUpdate.UpdateProgram": (),
    "ProductUpdate.StopProgramUpdate": (),
    "Quarantine.Restore": (OBJECT_ID,),
    "Quarantine.Purge": (OBJECT_ID,),
    "Reports.Delete": (REPORT,),
    "Scan.Start": (2, b"/home/visitor"),
    "Scan.Pause": (1,),
    "Scan.Resume": (1,),
    "Scan.Stop": (1,),
    "Schedules.Add": (b"visits", 1, 1, 8, 12, 30),
    "Schedules.Edit": (b"nightly", b"never", 1, 1, 8, 4, 0),
    "Schedules.Remove": (b"nightly",),
    "Settings.Apply": ("General", {"ScanArchives": 1}),
    "Settings.ApplyDefault": ("General",),
    "Settings.Import": (b"[TALO Antivirus Settings]\nVersion=1\n[General]\nScanArchives=1\n",),
    "Updates.PrepareSignatureUpdate": (),
    "Updates.StartSignatureUpdate": (1,),
    "Updates.StopSignatureUpdate": (1,),
}
TEXTS = ["General", "0123456789abcdef", "../../../../etc/shadow", "/etc/shadow",
         "/home/visitor/link", "/proc/self/root/etc", "a\nb%n%s\x1b[2J", "ä" * 60000, ""]
NUMBERS = [0, 1, -1, 2**31 - 1, -2**31, 401]
wrong = []


def value(kind, turn):
    if kind == "s":
        return TEXTS[turn % len(TEXTS)]
    if kind == "ay":
        return ([text.encode() for text in TEXTS] + [b"/\0/etc", b"\xff\xfe/.."])[turn % 11]
    if kind in "ixn":
        return NUMBERS[turn % len(NUMBERS)]
    if kind in "utq":
        return NUMBERS[turn % len(NUMBERS)] & 0xFFFF
    if kind == "b":
        return turn % 2
    if kind == "a{si}":
        return {TEXTS[turn % len(TEXTS)]: NUMBERS[turn % len(NUMBERS)], "ScanArchives": 1}
    sys.exit(f"nothing to try is known for the type {kind}")


def methods(bus):
    body = bus.call(SERVICE, OBJECT, "org.freedesktop.DBus.Introspectable", "Introspect")[1]
    found = {}
    for interface, content in re.findall(rf'<interface name="{SERVICE}\.(\w+)">(.*?)</interface>',
                                         body[4:].decode("utf-8", "replace"), re.S):
        for name, inner in re.findall(r'<method name="(\w+)"(?:/>|>(.*?)</method>)', content, re.S):
            inputs = [argument for argument in re.findall(r"<arg [^>]*>", inner)
                      if 'direction="in"' in argument]
            found[f"{interface}.{name}"] = "".join(
                re.search(r'type="([^"]+)"', argument)[1] for argument in inputs)
    return found


def ask(bus, method, signature, values=(), **how):
    interface, member = method.split(".")
    return bus.call(SERVICE, OBJECT, f"{SERVICE}.{interface}", member, signature=signature,
                    values=values, **how)[0]


def refused(bus, method, signature, values):
    """Whether it is refused for who asks, and not because he asks too often."""
    while True:
        name = ask(bus, method, signature, values)
        if not name.endswith("LimitReached"):
            break
        time.sleep(0.1)
    if name.endswith(("NotPermitted", "PasswordNeeded")):
        return True
    wrong.append(f"{method} of {values!r:.200}: {name or 'done'}")
    return False


def every_method(bus):
    found = methods(bus)
    for method in set(found) ^ (READING | set(CHANGING)):
        wrong.append(f"{method}: it is not known here, or not there, whether it changes something")
    for method, signature in found.items():
        kinds = split(signature)
        if method in CHANGING:
            refused(bus, method, signature, CHANGING[method])
        for turn in range(11 if kinds else 1):
            values = [value(kind, turn) for kind in kinds]
            if method in CHANGING:
                refused(bus, method, signature, values)
            else:
                ask(bus, method, signature, values)
    # Arguments of other types are nobody's method.
    for method in found:
        if not ask(bus, method, "a{sv}v", [{}, ("s", "x")]):
            wrong.append(f"{method} took arguments that it does not have")


def malformed():
    """What is not D-Bus, or too much: the bus hangs up, and the service never sees it."""
    call = (SERVICE, OBJECT, SERVICE + ".Settings", "Import")
    bodies = [struct.pack("<I", 1000) + b"short", struct.pack("<I", 2**26 + 1)]
    for body in bodies:
        bus = Bus()
        try:
            name = bus.call(*call, signature="ay", body=body)[0]
            if not name:
                wrong.append("a message that is none was answered")
        except OSError:
            pass
    bus = Bus()
    try:
        bus.socket.sendall(bus.message(*call, signature="ay", values=[b"x" * (40 << 20)]))
        if not bus.reply(bus.serial)[0]:
            wrong.append("40 MiB were taken")
    except OSError:
        pass
    bus = Bus()
    if bus.call(*call, signature="ay", values=[b"[x]\n" * (5 << 20)])[0] not in REFUSALS:
        wrong.append("20 MiB of settings were not refused")


def flood():
    """Thousands of questions without waiting for the answers: many are turned away."""
    bus = Bus()
    refused = 0
    for _ in range(40):
        first = bus.serial + 1
        batch = b"".join(bus.message(SERVICE, OBJECT, SERVICE + ".Status", "GetStatus")
                         for _ in range(100))
        bus.socket.sendall(batch)
        for _ in range(first, bus.serial + 1):
            kind, _, name, _ = bus.answer()
            refused += kind == 3 and name.endswith("LimitReached")
    if refused == 0:
        wrong.append("nobody limits a flood")


def processes(service):
    """Signals, memory, files of the service and its workers."""
    libc = ctypes.CDLL(None, use_errno=True)
    workers = [int(entry) for entry in os.listdir("/proc") if entry.isdigit()
               and "talo" in open(f"/proc/{entry}/comm", encoding="utf-8").read()]
    if service not in workers or len(workers) < 2:
        wrong.append("there are no processes to attack")
    for process in workers:
        if process == os.getpid():
            continue
        for number in (0, signal.SIGTERM, signal.SIGKILL, signal.SIGSTOP):
            try:
                os.kill(process, number)
                wrong.append(f"process {process} took signal {number}")
            except PermissionError:
                pass
        if libc.ptrace(16, process, 0, 0) == 0:
            wrong.append(f"process {process} can be traced")
        for file in ("mem", "environ", "maps", "fd", "root", "cwd"):
            path = f"/proc/{process}/{file}"
            try:
                os.listdir(path) if file in ("fd", "root", "cwd") else open(path, "rb").read(1)
                wrong.append(f"{path} can be read")
            except OSError:
                pass


def stores():
    for folder in ("/var/lib/taloantivirus", "/var/lib/taloantivirus/quarantine"):
        try:
            os.listdir(folder)
            wrong.append(f"{folder} can be read")
        except PermissionError:
            pass
    for path in ("/var/lib/taloantivirus/taloantivirus.db", "/etc/taloantivirus/planted.conf",
                 "/etc/taloantivirus/usb-storage-blocked", "/var/lib/taloantivirus/firewall-on",
                 "/usr/local/taloantivirus/lib/planted.so"):
        try:
            with open(path, "a", encoding="utf-8"):
                wrong.append(f"{path} can be written")
        except PermissionError:
            pass


def name_of_the_service():
    """Nobody else may answer in the service's place."""
    code = Bus().call("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "RequestName",
                      signature="su", values=[SERVICE, 7])
    if not code[0].endswith("AccessDenied"):
        wrong.append("the service's name can be taken")


every_method(Bus())
malformed()
processes(int(sys.argv[1]))
stores()
name_of_the_service()
flood()
print("\n".join(wrong))
sys.exit(1 if wrong else 0)
