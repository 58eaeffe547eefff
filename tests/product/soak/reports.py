"""Every scan that was accepted has one report, also where the service was killed."""
import re
import time

from engine import Refused

TYPES = {1: "Full Scan", 2: "Custom Scan", 3: "Quick Scan"}


class Reports:
    def __init__(self):
        self.here = {}       # key: type, what was scanned, result
        self.wanted = {}     # place of a custom scan: whether it must have a report
        self.found = {}      # place of a custom scan: key of its report
        self.counted = {}    # type: how many were ever seen
        self.accepted = {}   # type: how many scans of those that scan no place of their own
        self.doubtful = set()  # keys whose deletion was not answered
        self.interrupted = 0

    def accept(self, kind):
        self.accepted[TYPES[kind]] = self.accepted.get(TYPES[kind], 0) + 1

    def forget(self, key):
        self.here.pop(key, None)
        self.doubtful.discard(key)

    def deletable(self):
        """Keys that no other report can get any more: they are times of scans' ends."""
        now = time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(time.time() - 5))
        return [key for key in self.here if key < now and key not in self.doubtful]

    def look(self, engine):
        """Takes up the reports that are there now. What is wrong with them, while no scan runs."""
        code, listed = engine.ask("Reports.List", "", "")
        if code not in (0, 204):
            return [f"the list of reports is answered with {code}"]
        wrong = []
        keys = [key for key, _ in listed]
        if len(set(keys)) != len(keys):
            wrong.append("a report is listed twice")
        for key in [key for key in self.here if key not in keys]:
            if key not in self.doubtful:
                wrong.append(f"report {key} of {self.here[key]} is lost")
            self.forget(key)
        self.doubtful.clear()
        for key, kind in listed:
            if key not in self.here:
                wrong += self.take(engine, key, kind)
        return wrong + self.unmatched()

    def take(self, engine, key, kind):
        code, _, _, text, _ = engine.ask("Reports.Read", key)
        if code != 0:
            return [f"report {key} is listed, and read with {code}"]
        lines = dict(re.findall(r"^(Result|Scanned): (.*)$", text, re.M))
        self.here[key] = kind, lines["Scanned"], lines["Result"]
        self.counted[kind] = self.counted.get(kind, 0) + 1
        self.interrupted += lines["Result"].startswith("Interrupted")
        if lines["Result"].startswith("Running"):
            return [f"report {key} is of a scan that runs, and none does"]
        if kind != TYPES[2]:
            return []
        place = lines["Scanned"]
        if place not in self.wanted:
            return [f"report {key} is of {place}, which nobody had scanned"]
        if place in self.found:
            return [f"the scan of {place} has two reports, {self.found[place]} and {key}"]
        self.found[place] = key
        return []

    def unmatched(self):
        wrong = [f"the scan of {place} has no report" for place, must in self.wanted.items()
                 if must and place not in self.found]
        # Told of once.
        self.wanted.update((place, False) for place in self.wanted)
        for kind, accepted in self.accepted.items():
            seen = self.counted.get(kind, 0)
            if seen != accepted:
                wrong.append(f"{accepted} scans of the type {kind} began, and {seen} have reports")
                self.accepted[kind] = seen
        return wrong

    def scheduled(self, agenda, now, doubt):
        """What is wrong with the number of scheduled scans; `doubt` is how long it may take from
        the moment one is due to its report."""
        wrong = []
        for kind in (1, 3):
            seen = self.counted.get("Scheduled " + TYPES[kind], 0)
            least, most = agenda.expected(kind, now - doubt), agenda.expected(kind, now)
            if not least <= seen <= most:
                wrong.append(f"{least} to {most} scheduled scans of the kind {kind} were due, and "
                             f"{seen} ran")
        return wrong

    def delete(self, engine, key):
        code = engine.ask("Reports.Delete", key)
        if code != 0:
            raise Refused("code", f"report {key} is deleted with {code}")
        self.forget(key)
