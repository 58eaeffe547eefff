"""What the store of the service must hold: settings, exclusions and schedules."""
import copy
import time

RANGES = {
    "General": {"ScanPacked": (0, 1), "ScanArchives": (0, 1)},
    "ScanActions": {which + order: (301 if order == "First" else 302, 304)
                    for which in ("Infected", "Suspected", "Hidden")
                    for order in ("First", "Second")},
    "ExternalDrive": {"ScanOnArrival": (0, 1)},
    "Firewall": {"On": (0, 1)},
    "Update": {"Automatic": (0, 1), "Frequency": (0, 3)},
}
LOCATION, EXTENSION = 401, 402
FULL, CUSTOM, QUICK = 1, 2, 3
EVERY_DAY = 8


class World:
    def __init__(self):
        self.settings = {}
        self.exclusions = {LOCATION: [], EXTENSION: []}
        self.schedules = []  # name, type, weekday, hour, minute

    def __eq__(self, other):
        return vars(self) == vars(other)

    def changed(self, how):
        """A copy to which `how` has been done."""
        after = copy.deepcopy(self)
        how(after)
        return after

    def difference(self, other):
        return "; ".join(f"{name}: {vars(self)[name]} and not {vars(other)[name]}"
                         for name in vars(self) if vars(self)[name] != vars(other)[name])


def observe(engine):
    world = World()
    world.settings = {group: engine.ask("Settings.Get", group) for group in RANGES}
    locations, extensions = engine.ask("Exclusions.List")
    world.exclusions = {LOCATION: locations, EXTENSION: extensions}
    world.schedules = [tuple(each[:5]) for each in engine.ask("Schedules.All")]
    return world


def due_times(schedule, since, until):
    """How often a schedule is due after one moment and up to another, in UTC."""
    _, _, weekday, hour, minute = schedule
    count = 0
    day = int(since) // 86400 * 86400
    while day <= until:
        due = day + hour * 3600 + minute * 60
        days = (EVERY_DAY, (time.gmtime(day).tm_wday + 1) % 7)
        count += since < due <= until and weekday in days
        day += 86400
    return count


class Agenda:
    """How many scheduled scans must have begun. Schedules change only at moments when none of them
    is due soon or waits, so that there is no doubt about any."""

    def __init__(self):
        self.counted = {FULL: 0, QUICK: 0}
        self.since = 0
        self.schedules = []

    def replace(self, schedules, now):
        for kind in self.counted:
            self.counted[kind] = self.expected(kind, now)
        self.schedules = list(schedules)
        self.since = now

    def expected(self, kind, now):
        return self.counted[kind] + sum(due_times(each, self.since, now)
                                        for each in self.schedules if each[1] == kind)
