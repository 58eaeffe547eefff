"""Updates of the signatures from a server of the soak's own, which often fails on purpose."""
import re
import subprocess
import time

from engine import Refused
from shelf import publish, write

DONE, LATEST = 2, 7
FINAL = (2, 3, 4, 7, 8)
MODES = ["always"] * 5 + ["slow", "stall", "cut", "unended", "garbage", "missing", "broken"]


class Updates:
    def __init__(self, folder, source, random):
        self.random = random
        self.folder = folder + "/www"
        self.work = folder + "/work"
        self.database = self.folder + "/test.ndb"
        self.published = 1
        self.floor = -1  # number of the oldest set that may be in use
        self.run = None  # handle, number, when it is asked to stop
        self.outcomes = {}
        write(self.folder + "/mode", b"always")
        self.server = subprocess.Popen(
            ["/usr/bin/python3", source + "/tests/engine/service/signatureserver.py", self.folder],
            stdout=subprocess.PIPE)
        port = int(self.server.stdout.readline())
        write(self.work + "/x", b"")
        subprocess.run(["rm", self.work + "/x"], check=True)
        subprocess.run(["chmod", "1777", self.work], check=True)
        write(folder + "/conf", f"""[Update]
Official = no
Database = http://127.0.0.1:{port}/test.ndb
StartDelay = 86400
WorkFolder = {self.work}
Timeout = 2
""".encode())

    def begin(self, engine, mode=None):
        if self.run:
            return
        mode = mode or self.random.choice(MODES)
        write(self.folder + "/mode", mode.encode())
        self.published += 1
        publish(self.database, self.published)
        handle = engine.ask("Updates.PrepareSignatureUpdate")
        engine.ask("Updates.StartSignatureUpdate", handle)
        self.run = handle, self.published, time.monotonic()

    def stop(self):
        """Of the run in the server: it says nothing any more. Of the service: asked by `watch`."""
        if self.run:
            self.run = *self.run[:2], 0.0

    def lost(self):
        self.run = None

    def watch(self, engine):
        """What is wrong with the run, if there is one."""
        if not self.run:
            return []
        handle, number, begun = self.run
        if begun == 0.0:
            begun = time.monotonic()
            self.run = handle, number, begun
            try:
                engine.ask("Updates.StopSignatureUpdate", handle)
            except Refused as refusal:
                if refusal.name != "NotFound":
                    raise
        status = engine.ask("Updates.SignatureUpdateProgress", handle)[0]
        if status not in FINAL:
            if time.monotonic() - begun > 180:
                self.run = None
                return [f"an update has not ended after three minutes, status {status}"]
            return []
        self.run = None
        self.outcomes[status] = self.outcomes.get(status, 0) + 1
        if status == DONE:
            self.floor = max(self.floor, number)
        return []

    def detected(self, name, floor):
        """`floor` is what it was as the scan began: no set may be older."""
        found = re.match(r"Talo\.Test\.N(\d+)", name)
        number = int(found[1]) if found else -1
        self.floor = max(self.floor, number)
        if floor <= number <= self.published:
            return []
        return [f"{name} was found, and the set in use has at least the number {floor}"]
