"""What must hold while the service rests, and what is left when it has ended."""
import os
import sqlite3
import subprocess
import time

from growth import growth
from service import RATE, below, moment, processes

GRACE = 20.0     # seconds in which what lost its parent must be gone
PATIENCE = 300.0  # until the service is at rest; the machine may be busy with other things
RUN_DOUBT = 10 * RATE  # from a scan's being due to its report, by the schedules' clock
STATE_FILES = {"taloantivirus.db", "taloantivirus.db-wal", "taloantivirus.db-shm",
               "taloantivirus.db.good", "quarantine", "signatures"}
# How much a figure may grow on the straight line through its samples but for the first third. In
# an hour that is a quarter of an hour of a process, with some 500 scans: 2 kB for each are noticed.
MOST_GROWTH = {"memory": 1024, "server": 1024, "descriptors": 3, "threads": 3}  # kB and numbers


class Audit:
    def __init__(self, soak):
        self.soak = soak
        self.samples = []  # (age, generation, figures)
        self.rests = 0
        self.mounts = self.mounted()
        self.extra = 0
        self.file = open(soak.results + "/samples.tsv", "w", encoding="utf-8")

    @staticmethod
    def mounted():
        with open("/proc/self/mounts", encoding="utf-8") as file:
            return len(file.readlines())

    def wait(self, condition, patience):
        end = time.monotonic() + patience
        while not condition():
            if time.monotonic() > end:
                return False
            time.sleep(0.1)
        return True

    def strangers(self, ours):
        """Processes that belong to none of those that the soak has started."""
        soak = self.soak
        now = processes()
        known = {1, os.getpid(), soak.bus.pid, soak.updates.server.pid}
        for process in ours | {client.pid for client in soak.clients}:
            known |= {process} | below(process, now)
        return {each: now[each][0] for each in now if each not in known}

    def orphans(self, ours):
        if self.wait(lambda: not self.strangers(ours), GRACE):
            return []
        return [f"the process {name} is left" for name in self.strangers(ours).values()]

    def resting(self):
        soak = self.soak
        for job in soak.jobs.values():
            job[2] = job[2] and 0.0
        soak.watch()
        return not (soak.jobs or soak.clients or soak.updates.run or
                    soak.engine.ask("Scan.Running") or
                    any(each[6] for each in soak.engine.ask("Schedules.All")) or
                    soak.service.family("freshclam") or soak.service.family("talo-disinfect") or
                    len(soak.service.servers()) > 1)

    def at_rest(self):
        """Lets everything come to its end, and looks."""
        soak = self.soak
        if not self.wait(self.resting, PATIENCE):
            soak.complain([f"the service does not come to rest: {len(soak.jobs)} scans, "
                           f"{len(soak.clients)} clients, update {soak.updates.run}, "
                           f"{len(soak.service.servers())} servers"])
        self.rests += 1
        engine = soak.engines[0]
        soak.complain(soak.reports.look(engine))
        soak.complain(soak.reports.scheduled(soak.changes.agenda, moment(), RUN_DOUBT))
        soak.complain(soak.changes.settle(engine))
        held = engine.ask("Quarantine.List")
        soak.complain(soak.shelf.wrong([each[2] for each in held]))
        soak.complain(self.leftovers(len(held)))
        soak.complain(self.orphans({soak.service.pid}))
        soak.complain(self.sound())
        self.sample()

    def leftovers(self, objects):
        state = os.listdir("/var/lib/taloantivirus")
        wrong = [f"{name} lies in the state folder" for name in state if name not in STATE_FILES]
        vaults = os.listdir("/var/lib/taloantivirus/quarantine")
        if len(vaults) != objects:
            wrong.append(f"{objects} objects are in quarantine, and {len(vaults)} files")
        for folder, known in (("/tmp", {"soak"}), ("/var/tmp", set()), ("/dev/shm", set()),
                              (self.soak.updates.work, set()), ("/tmp/soak", set())):
            wrong += [f"{name} is left in {folder}" for name in os.listdir(folder)
                      if name not in known]
        folder = "/var/lib/taloantivirus/signatures"
        known = {"sets", "current", "previous", "freshclam.dat"}
        wrong += [f"{name} is left of an update" for name in os.listdir(folder)
                  if name not in known]
        if len(os.listdir(folder + "/sets")) > 2:
            wrong.append("more than two sets of signatures are kept")
        if self.mounted() != self.mounts:
            wrong.append(f"{self.mounted()} mounts, and {self.mounts} at the beginning")
        # What a killed shredder leaves is its user's to see; the next run begins without.
        if not self.soak.clients:
            subprocess.run(["rm", "-rf", "/soak/secret"], check=True)
        return wrong

    @staticmethod
    def sound():
        store = sqlite3.connect("file:/var/lib/taloantivirus/taloantivirus.db?mode=ro", uri=True)
        try:
            said = store.execute("PRAGMA integrity_check").fetchone()[0]
            broken = store.execute("PRAGMA foreign_key_check").fetchone()
        finally:
            store.close()
        return [] if said == "ok" and not broken else [
            f"the store is damaged: {said}, {broken or ''}"]

    def sample(self):
        figures = self.soak.service.sample()
        figures["memory"] += self.extra * len(self.samples)
        age, generation = self.soak.age(), self.soak.service.generation
        self.samples.append((age, generation, figures))
        self.file.write(f"{age:.0f}\t{generation}\t" +
                        "\t".join(f"{name} {value}" for name, value in figures.items()) + "\n")
        self.file.flush()

    def spoil(self, what):
        """What somebody else did: to be found by the next look."""
        if what in ("report", "setting"):
            store = sqlite3.connect("/var/lib/taloantivirus/taloantivirus.db", timeout=30)
            with store:
                store.execute("DELETE FROM report WHERE id IN (SELECT id FROM report WHERE "
                              "outcome <> 0 LIMIT 1)" if what == "report" else
                              "INSERT OR REPLACE INTO setting SELECT name, 1 - value FROM setting "
                              "WHERE name LIKE '%Packed%' OR name LIKE '%Archives%'")
            store.close()
        elif what == "quarantine":
            folder = "/var/lib/taloantivirus/quarantine/"
            os.unlink(folder + os.listdir(folder)[0])
        elif what == "orphan":
            subprocess.run(["sh", "-c", "sleep 1000 >/dev/null 2>&1 &"], check=True)
        elif what == "temporary":
            os.mkdir("/var/tmp/talo-scan-left")
        elif what == "memory":
            self.extra = 300

    def grown(self):
        for generation in sorted({each[1] for each in self.samples}):
            samples = [each for each in self.samples if each[1] == generation]
            for name, most in MOST_GROWTH.items():
                # There is no fork server for a moment after it was killed.
                points = [(age, figures[name]) for age, _, figures in samples if figures[name]]
                found = growth(points)
                if found is None:
                    continue
                values = [value for _, value in points]
                print(f"  service {generation}, {name}: {len(values)} samples, {min(values)} to "
                      f"{max(values)}, growth {found[0]:+.1f} in {found[1] / 60:.1f} minutes")
                if found[0] > most:
                    self.soak.complain([f"{name} of service {generation} grows"])

    def end(self):
        """Ends the service, and looks at what it leaves."""
        soak = self.soak
        if (code := soak.service.end()) != 0:
            soak.complain([f"the service ended with {code}"])
        soak.complain(self.orphans(set()))
        soak.complain(self.sound())
        vaults = len(os.listdir("/var/lib/taloantivirus/quarantine"))
        soak.complain(self.leftovers(vaults))
        print(f"{soak.age():5.0f} s  {self.rests} times at rest")
        print("  " + ", ".join(f"{name}: {count}" for name, count in sorted(soak.done.items())))
        print(f"  reports: {soak.reports.counted}, {soak.reports.interrupted} of them interrupted")
        print(f"  updates by their end: {dict(sorted(soak.updates.outcomes.items()))}")
        self.grown()
