#!/usr/bin/python3
"""Uses a real service for a long time, at random and with kills, and holds it to what it accepted.

usage: soak.py BUILD-FOLDER SOURCE-FOLDER [--minutes N] [--seed N] [--break WHAT]

Runs as machine.sh prepares it. For two fifths of the time the service is left alone but for kills
of its helpers, then for one fifth it is killed again and again, and then left alone once more.
Ends with 1 where something is wrong. --break spoils something on purpose, to see it found:
report, setting, quarantine, orphan, temporary or memory.
"""
import argparse
import collections
import os
import random
import signal
import subprocess
import sys
import time

from audit import Audit
from changes import Changes, refused
from engine import Engine, Gone, Refused, signatures
from reports import Reports
from service import Service
from shelf import Shelf, publish, write
from updates import Updates
from world import CUSTOM, FULL, QUICK

STATE = "/var/lib/taloantivirus"
RUN = "/run/soak"
TREE = "/soak/tree"
QUICK_PLACE = "/tmp/soak"
ENDED = 4


class Soak:
    def __init__(self, options):
        self.options = options
        self.random = random.Random(options.seed)
        self.done = collections.Counter()
        self.wrong = []
        self.jobs = {}      # number: place, floor, when it goes on
        self.clients = {}   # process: place
        self.results = options.build + "/soak"
        self.numbers = 0
        for folder in (RUN, TREE, QUICK_PLACE, "/soak/places"):
            os.makedirs(folder)
        os.chmod(RUN, 0o755)
        self.shelf = Shelf(TREE, self.random)
        self.reports = Reports()
        self.changes = Changes(self.random)
        self.start_bus()
        self.methods = signatures(options.source + "/engine/interface")
        self.engines = [Engine(RUN + "/bus", self.methods) for _ in range(2)]
        self.updates = Updates(RUN, options.source, self.random)
        self.service = Service(options.build, f"unix:path={RUN}/bus", STATE, RUN + "/conf",
                               self.results + "/talod.log")
        self.audit = Audit(self)

    @property
    def engine(self):
        return self.random.choice(self.engines)

    def start_bus(self):
        write(RUN + "/bus.conf", f"""<busconfig><type>session</type>
            <listen>unix:path={RUN}/bus</listen><auth>EXTERNAL</auth><policy context='default'>
            <allow user='*'/><allow send_destination='*'/><allow receive_sender='*'/>
            <allow own='*'/></policy></busconfig>""".encode())
        self.bus = subprocess.Popen(
            ["dbus-daemon", f"--config-file={RUN}/bus.conf", "--nofork", "--nopidfile",
             "--print-address=1"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        self.bus.stdout.readline()

    def complain(self, problems):
        for problem in problems:
            if problem not in self.wrong:
                self.wrong.append(problem)
                print(f"{self.age():5.0f} s  WRONG: {problem}")

    def age(self):
        return time.monotonic() - self.begun

    # Scans

    def place(self):
        """A path of its own for each scan, by which its report is known."""
        self.numbers += 1
        path = f"/soak/places/{self.numbers}"
        os.symlink(self.random.choice([TREE] + self.shelf.folders), path)
        return path

    def scan(self, kind=CUSTOM):
        for _ in range(self.random.randint(0, 3)):
            if len(self.shelf.infected) + len(self.shelf.archives) < 60:
                self.shelf.plant()
        path = self.place() if kind == CUSTOM else "/"
        try:
            job = self.engine.ask("Scan.Start", kind, path.encode())
        except Refused as refusal:
            if refusal.name not in ("AlreadyRunning", "LimitReached"):
                raise
            return
        if kind == CUSTOM:
            self.reports.wanted[path] = True
        else:
            self.reports.accept(kind)
        self.jobs[job] = [path, self.updates.floor, None]

    def watch(self):
        """Takes up what has become of scans, clients and the update."""
        now = time.monotonic()
        for job, (path, floor, resumed) in list(self.jobs.items()):
            if resumed is not None and now >= resumed:
                self.engine.ask("Scan.Resume", job)
                self.jobs[job][2] = None
            progress = self.engine.ask("Scan.Progress", job, 0)
            state, report, failure, found = (progress[0], *progress[-3:])
            if state < ENDED:
                continue
            del self.jobs[job]
            self.done["scans ended"] += 1
            if state == 6:
                self.complain([f"the scan of {path} failed: {failure}"])
            if not report:
                self.complain([f"the scan of {path} ended without a report"])
            for _, name, _, _ in found:
                self.done["threats found"] += 1
                self.complain(self.updates.detected(name, floor))
        for client in [client for client in self.clients if client.poll() is not None]:
            path = self.clients.pop(client)
            self.done[f"clients that ended with {client.returncode}"] += 1
            # 0 and 1: nothing, or something was found; 2: refused, or the service was killed.
            if client.returncode not in (0, 1, 2, -signal.SIGKILL):
                self.complain([f"{client.args[1:]} ended with {client.returncode}"])
            if client.args[1] == "shred" and client.returncode == 0 and \
                    os.path.lexists(client.args[-1]):
                self.complain([f"{client.args[-1]} was shredded and is still there"])
            if path and client.returncode in (0, 1):
                self.reports.wanted[path] = True
        self.complain(self.updates.watch(self.engine))

    def stop(self):
        if self.jobs:
            self.engine.ask("Scan.Stop", self.random.choice(list(self.jobs)))

    def pause(self):
        if self.jobs:
            job = self.random.choice(list(self.jobs))
            self.engine.ask("Scan.Pause", job)
            self.jobs[job][2] = time.monotonic() + self.random.uniform(0.1, 4)

    def client(self, *words, path=None):
        if len(self.clients) < 2:
            self.clients[subprocess.Popen(
                [self.options.build + "/bin/talo", *words], stdin=subprocess.DEVNULL,
                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                env={**os.environ, "TALO_BUS": f"unix:path={RUN}/bus"})] = path

    def scan_in_terminal(self):
        path = self.place()
        self.reports.wanted[path] = False
        self.client("scan", path, path=path)

    def shred(self):
        path = f"/soak/secret/{self.numbers}"
        self.numbers += 1
        write(path, self.random.randbytes(200000))
        self.client("shred", "--yes", path)

    # The store

    def change(self):
        change = self.changes.any(self.engines[0])
        if change:
            self.changes.perform(self.engines[0], change)

    def browse(self):
        engine = self.engine
        engine.ask("Status.GetStatus")
        engine.ask("Reports.LastFullScan")
        engine.ask("Quarantine.List")
        engine.ask("Settings.Export")
        listed = engine.ask("Reports.List", "2026:1:1", "")[1]
        if listed:
            engine.ask("Reports.Read", self.random.choice(listed)[0])

    def delete_report(self):
        keys = self.reports.deletable()
        for key in self.random.sample(keys, max(min(len(keys), 1), len(keys) - 80)):
            self.reports.delete(self.engine, key)

    def quarantined(self):
        """Some object whose place is free, since restoring replaces nothing."""
        held = [each for each in self.engine.ask("Quarantine.List") if not os.path.exists(each[2])]
        return self.random.choice(held) if held else None

    def restore(self):
        if held := self.quarantined():
            self.engine.ask("Quarantine.Restore", held[0])

    def purge(self):
        if held := self.engine.ask("Quarantine.List"):
            chosen = self.random.choice(held)
            self.engine.ask("Quarantine.Purge", chosen[0])
            # An archive that was cleaned lies in its place.
            if os.path.exists(chosen[2]):
                os.unlink(chosen[2])
            self.shelf.forget(chosen[2])

    # Kills

    def kill_one_of(self, what, pids):
        if pids:
            try:
                os.kill(self.random.choice(pids), signal.SIGKILL)
                self.done["kills of " + what] += 1
            except ProcessLookupError:
                pass

    def kill_client(self):
        self.kill_one_of("clients", [client.pid for client in self.clients])

    def hunt(self):
        """Those that do not live long are to be met at any time."""
        if self.updates.run and self.random.random() < 0.2:
            self.kill_one_of("freshclam", self.service.family("freshclam"))
        if self.jobs and self.random.random() < 0.3:
            self.kill_one_of("talo-disinfect", self.service.family("talo-disinfect"))

    def in_flight(self):
        """Something that the service is asked for while it is killed, often in mid-scan."""
        if self.random.random() < 0.7:
            self.scan(self.random.choice((CUSTOM, QUICK, FULL)))
            time.sleep(self.random.uniform(0, 0.3))
        engine = self.engines[0]
        choice = self.random.random()
        if choice < 0.6 and (change := self.changes.any(engine)):
            self.changes.cut_short(engine, change, self.service.kill)
            return
        if choice < 0.75:
            path = self.place()
            self.reports.wanted[path] = False
            self.cut_short("Scan.Start", (CUSTOM, path.encode()),
                           lambda _: self.reports.wanted.update({path: True}))
        elif choice < 0.85 and (keys := self.reports.deletable()):
            self.reports.doubtful.add(keys[0])
            self.cut_short("Reports.Delete", (keys[0],), lambda _: self.reports.forget(keys[0]))
        elif held := self.quarantined():
            purge = self.random.random() < 0.5
            if purge:
                self.shelf.doubtful.add(held[2])
            self.cut_short("Quarantine.Purge" if purge else "Quarantine.Restore", (held[0],),
                           lambda _: self.shelf.forget(held[2]) if purge else None)
        else:
            self.service.kill()

    def cut_short(self, method, values, answered):
        sent = self.engines[0].send(method, *values)
        time.sleep(self.random.choice((0, 0.001, 0.005, 0.02)))
        self.service.kill()
        try:
            answered(self.engines[0].answer(sent))
        except (Gone, Refused):
            pass

    def crash(self):
        self.done["kills of the service"] += 1
        self.in_flight()
        self.again()

    def end_and_begin(self):
        self.done["ends of the service"] += 1
        if (code := self.service.end()) != 0:
            self.complain([f"the service that was asked to end did so with {code}"])
        self.again()

    def again(self):
        """Starts the service anew, after all that it had started has gone."""
        self.jobs.clear()
        self.updates.lost()
        self.complain(self.audit.orphans(set()))
        if problem := self.service.begin(self.engines[0]):
            sys.exit(problem)
        self.complain(self.changes.settle(self.engines[0]))

    # The whole

    def actions(self, killing):
        usual = [
            (8, self.scan), (2, lambda: self.scan(QUICK)), (2, lambda: self.scan(FULL)),
            (3, self.stop), (3, self.pause), (2, self.scan_in_terminal), (9, self.change),
            (2, lambda: self.complain(refused(self.engine, self.random))), (4, self.browse),
            (4, self.delete_report), (4, self.restore), (2, self.purge), (1, self.shred),
            (1, lambda: self.client("duplicates", TREE)),
            (2, lambda: self.updates.begin(self.engine)), (0.5, self.updates.stop),
            (1, lambda: self.kill_one_of("workers", self.service.workers())),
            (0.3, lambda: self.kill_one_of("fork servers", self.service.servers())),
            (1, self.kill_client),
        ]
        return usual + ([(5, self.crash), (2, self.end_and_begin)] if killing else [])

    def act(self, killing):
        actions = self.actions(killing)
        action = self.random.choices(actions, [weight for weight, _ in actions])[0][1]
        try:
            action()
            self.done["actions"] += 1
            self.hunt()
            self.watch()
        except Refused as refusal:
            self.complain([str(refusal)])
        except Gone:
            code = self.service.process.poll()
            self.complain([f"the service went by itself, with {code}"])
            if code is None:
                self.service.kill()
            self.again()

    def run(self):
        self.begun = time.monotonic()
        span = 60 * self.options.minutes
        publish(self.updates.database, self.updates.published)
        if problem := self.service.begin(self.engines[0]):
            sys.exit(problem)
        anchors = ["/" + name for name in sorted(os.listdir("/")) if name not in ("soak", "tmp")]
        self.changes.begin(self.engines[0], anchors)
        for _ in range(3):
            if change := self.changes.schedule(self.engines[0]):
                self.changes.perform(self.engines[0], change)
        self.updates.begin(self.engine, "always")
        self.audit.at_rest()
        rested = time.monotonic()
        while (age := self.age()) < span:
            self.act(killing=0.4 * span < age < 0.6 * span)
            time.sleep(min(self.random.expovariate(1 / self.options.pause), 3))
            if time.monotonic() - rested > self.options.rest:
                self.audit.at_rest()
                rested = time.monotonic()
            if self.options.spoil and self.age() > 0.7 * span:
                self.audit.spoil(self.options.spoil)
                self.options.spoil = None
        self.audit.at_rest()
        self.audit.end()
        return 1 if self.wrong else 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("build")
    parser.add_argument("source")
    parser.add_argument("--minutes", type=float, default=60)
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 31))
    parser.add_argument("--pause", type=float, default=0.4, help="seconds between two actions")
    parser.add_argument("--rest", type=float, default=30, help="seconds between two rests")
    parser.add_argument("--break", dest="spoil")
    options = parser.parse_args()
    print(f"{options.minutes:g} minutes, --seed {options.seed}")
    return Soak(options).run()


sys.exit(main())
