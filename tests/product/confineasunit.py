#!/usr/bin/python3
"""Starts a program as systemd would by a unit, as far as system calls and capabilities go.

usage: confineasunit.py UNIT

A machine of a test's own has no systemd that could do it. Whatever the unit forbids is forbidden
here in the same words, so a line that takes away what the service needs is noticed.
"""
import ctypes
import errno
import os
import subprocess
import sys

LIBC = ctypes.CDLL(None, use_errno=True)
SECCOMP = ctypes.CDLL("libseccomp.so.2", use_errno=True)
SECCOMP.seccomp_init.restype = ctypes.c_void_p
ALLOW = 0x7FFF0000
REFUSE = 0x00050000
MASKED_EQUAL = 7
EQUAL = 4
PR_SET_NO_NEW_PRIVS = 38
PR_SET_MDWE = 65
FAMILIES = {"AF_UNIX": 1, "AF_INET": 2, "AF_INET6": 10, "AF_NETLINK": 16}
NAMESPACES = {"cgroup": 0x02000000, "ipc": 0x08000000, "net": 0x40000000, "mnt": 0x00020000,
              "pid": 0x20000000, "user": 0x10000000, "uts": 0x04000000}


class Comparison(ctypes.Structure):
    _fields_ = [("argument", ctypes.c_uint), ("operation", ctypes.c_int),
                ("first", ctypes.c_uint64), ("second", ctypes.c_uint64)]


def read(unit):
    """The words of each key; of a key that stands several times, all of them."""
    keys = {}
    with open(unit, encoding="utf-8") as lines:
        for line in lines:
            if "=" in line and not line.startswith("#"):
                key, value = line.strip().split("=", 1)
                keys.setdefault(key, []).extend(value.split())
    return keys


def expand(word):
    if not word.startswith("@"):
        return [word]
    said = subprocess.run(["systemd-analyze", "syscall-filter", word], check=True,
                          capture_output=True, text=True).stdout
    words = [line.strip() for line in said.splitlines()[1:]]
    return [call for word in words if word and word[0] != "#" for call in expand(word)]


class Filter:
    def __init__(self):
        self.context = ctypes.c_void_p(SECCOMP.seccomp_init(ALLOW))

    def refuse(self, call, comparison=None, error=errno.EPERM):
        number = SECCOMP.seccomp_syscall_resolve_name(call.encode())
        if number == -1:
            return
        rules = (Comparison * 1)(comparison) if comparison else None
        fault = SECCOMP.seccomp_rule_add_array(self.context, ctypes.c_uint(REFUSE | error), number,
                                               1 if comparison else 0, rules)
        if fault not in (0, -errno.EEXIST, -errno.EACCES, -errno.EDOM):
            sys.exit(f"no rule for {call}: {fault}")

    def load(self):
        if SECCOMP.seccomp_load(self.context) != 0:
            sys.exit("the filter cannot be loaded")


def filter_of(keys):
    made = Filter()
    if not all(word.startswith("~") or index for index, word in
               enumerate(keys["SystemCallFilter"])):
        sys.exit("only lists of what is forbidden are understood")
    for word in keys["SystemCallFilter"]:
        for call in expand(word.lstrip("~")):
            made.refuse(call)
    allowed = {FAMILIES[name] for name in keys["RestrictAddressFamilies"]}
    for family in set(range(46)) - allowed:
        made.refuse("socket", Comparison(0, EQUAL, family, 0))
    for name in set(NAMESPACES) - set(keys["RestrictNamespaces"]):
        flag = NAMESPACES[name]
        for call in ("unshare", "clone"):
            made.refuse(call, Comparison(0, MASKED_EQUAL, flag, flag))
    made.refuse("clone3", error=errno.ENOSYS)
    return made


def main():
    keys = read(sys.argv[1])
    if keys.get("NoNewPrivileges") == ["yes"]:
        LIBC.prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0)
    if keys.get("MemoryDenyWriteExecute") == ["yes"]:
        LIBC.prctl(PR_SET_MDWE, 1, 0, 0, 0)  # unknown to kernels before 6.3
    os.umask(int(keys["UMask"][0], 8))
    calls = filter_of(keys)
    rights = ",".join("+" + name[4:].lower() for name in keys["CapabilityBoundingSet"])
    # Last, as the filter needs a right that the program is not to have.
    program = ["setpriv", "--bounding-set", "-all," + rights, "--"] + keys["ExecStart"]
    calls.load()
    os.execvp(program[0], program)


main()
