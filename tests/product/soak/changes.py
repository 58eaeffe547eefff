"""Changes of what the service stores: each with the call that asks for it and the world that it
leads to. Asked in the ordinary way it must be done; cut short by a kill it is done or it is not."""
import time

from engine import Gone, Refused
from service import RATE, moment
from world import CUSTOM, EVERY_DAY, EXTENSION, FULL, LOCATION, QUICK, RANGES, Agenda, observe

DAILY, WEEKLY = 501, 502
# What nobody must change, so that a full scan of this machine is one of some folders.
MOST_EXTRA = 6
MOST_SCHEDULES = 6
KEPT_FREE = 6 * RATE  # before a schedule is due nothing is done to it


class Changes:
    def __init__(self, random):
        self.random = random
        self.worlds = []  # the one that is, or those that it may be after a kill
        self.agenda = Agenda()
        self.anchors = 0
        self.numbers = 0
        self.exported = None  # text of a settings file, and the world it was made of

    @property
    def world(self):
        return self.worlds[0]

    def begin(self, engine, anchors):
        for path in anchors:
            engine.ask("Exclusions.Add", path.encode(), LOCATION)
        self.anchors = len(anchors)
        self.worlds = [observe(engine)]

    def settle(self, engine):
        """Which of the worlds it is. What is wrong, if it is none of them."""
        seen = observe(engine)
        wrong = []
        if seen not in self.worlds:
            wrong = ["the store holds what nobody asked for: " +
                     " or ".join(seen.difference(each) for each in self.worlds)]
        self.become(seen)
        return wrong

    def become(self, world):
        if world.schedules != self.agenda.schedules:
            self.agenda.replace(world.schedules, moment())
        self.worlds = [world]

    def perform(self, engine, change):
        """Asks for it, and holds the service to its answer."""
        method, values, after = change
        code = engine.ask(method, *values)
        if code not in (0, []):
            raise Refused("code", f"{method}{values} was answered with {code}")
        self.become(after)

    def cut_short(self, engine, change, kill):
        """Asks for it and kills the service at about that moment. What the answer said, if one
        came; the world is then to be settled."""
        method, values, after = change
        sent = engine.send(method, *values)
        time.sleep(self.random.choice((0, 0.0005, 0.002, 0.005, 0.02)))
        kill()
        try:
            engine.answer(sent)
            self.become(after)
            return True
        except Gone:
            self.worlds = [self.world, after]
            return False

    def calm(self, engine, names=None):
        """Whether none of those schedules, or of all, is about to run or waits."""
        now = moment()
        return not any(waits or due - now < KEPT_FREE
                       for name, _, _, _, _, due, waits in engine.ask("Schedules.All")
                       if names is None or name in names)

    def any(self, engine):
        """Some change that must be accepted, or none at this moment."""
        return self.random.choice((self.settings, self.settings, self.defaults, self.exclude,
                                   self.include, self.schedule, self.reschedule, self.unschedule,
                                   self.take_back))(engine)

    def settings(self, _):
        group = self.random.choice(list(RANGES))
        keys = self.random.sample(list(RANGES[group]), self.random.randint(1, len(RANGES[group])))
        values = {key: self.random.randint(*RANGES[group][key]) for key in keys}
        return ("Settings.Apply", (group, values),
                self.world.changed(lambda world: world.settings[group].update(values)))

    def defaults(self, _):
        defaults = {"ScanPacked": 1, "ScanArchives": 1}
        return ("Settings.ApplyDefault", ("General",),
                self.world.changed(lambda world: world.settings["General"].update(defaults)))

    def exclude(self, _):
        kind = self.random.choice((LOCATION, EXTENSION))
        known = self.world.exclusions[kind]
        if len(known) - (self.anchors if kind == LOCATION else 0) >= MOST_EXTRA:
            return None
        self.numbers += 1
        text = (f"/soak/tree/none/{self.numbers}" if kind == LOCATION else f"x{self.numbers}")
        return ("Exclusions.Add", (text.encode(), kind),
                self.world.changed(lambda world: world.exclusions[kind].append(text)))

    def include(self, _):
        kind = self.random.choice((LOCATION, EXTENSION))
        extra = self.world.exclusions[kind][self.anchors if kind == LOCATION else 0:]
        if not extra:
            return None
        text = self.random.choice(extra)
        return ("Exclusions.Remove", (text.encode(), kind),
                self.world.changed(lambda world: world.exclusions[kind].remove(text)))

    def new_schedule(self, besides=None):
        """One that is not due for a while."""
        self.numbers += 1
        day = EVERY_DAY if self.random.random() < 0.8 else self.random.randint(0, 6)
        at = int(moment() + self.random.randint(2 * KEPT_FREE, 86400 - 2 * KEPT_FREE))
        hour, minute = at // 3600 % 24, at // 60 % 60
        kind = self.random.choice((FULL, QUICK))
        for _, other_kind, other_day, *other_time in self.world.schedules:
            if [other_kind, other_day, *other_time] == [kind, day, hour, minute] != besides:
                return None
        return f"plan{self.numbers % 10000}", kind, day, hour, minute

    @staticmethod
    def arguments(schedule):
        name, kind, day, hour, minute = schedule
        return name.encode(), kind, DAILY if day == EVERY_DAY else WEEKLY, day, hour, minute

    def schedule(self, _):
        new = self.new_schedule()
        if new is None or len(self.world.schedules) >= MOST_SCHEDULES:
            return None
        return ("Schedules.Add", self.arguments(new),
                self.world.changed(lambda world: world.schedules.append(new)))

    def reschedule(self, engine):
        if not self.world.schedules:
            return None
        at = self.random.randrange(len(self.world.schedules))
        old, new = self.world.schedules[at], self.new_schedule()
        if new is None or not self.calm(engine, {old[0]}):
            return None

        def put(world):
            world.schedules[at] = new
        return ("Schedules.Edit", (old[0].encode(), *self.arguments(new)), self.world.changed(put))

    def unschedule(self, engine):
        if len(self.world.schedules) < 3:
            return None
        old = self.random.choice(self.world.schedules)
        if not self.calm(engine, {old[0]}):
            return None
        return ("Schedules.Remove", (old[0].encode(),),
                self.world.changed(lambda world: world.schedules.remove(old)))

    def take_back(self, engine):
        """Exports, or makes current again what was exported before."""
        if self.exported is None:
            self.exported = engine.ask("Settings.Export"), self.world
            return None
        text, world = self.exported
        self.exported = None
        now = moment()
        soon = Agenda()
        soon.replace(world.schedules, now)
        if not self.calm(engine) or soon.expected(FULL, now + KEPT_FREE) or \
                soon.expected(QUICK, now + KEPT_FREE):
            return None
        return "Settings.Import", (text,), world


# What must be refused, and with what.
REFUSED = [
    ("Settings.Apply", ("General", {"ScanPacked": 0, "ScanArchives": 2}), "InvalidArgument"),
    ("Settings.Apply", ("Nothing", {"ScanPacked": 0}), "InvalidArgument"),
    ("Settings.Import", (b"[General]\nScanPacked=7\n",), 2),
    ("Exclusions.Add", (b"relative", LOCATION), 703),
    ("Exclusions.Remove", (b"unknown", EXTENSION), 705),
    ("Schedules.Add", (b"a b c", FULL, DAILY, EVERY_DAY, 1, 1), 605),
    ("Schedules.Remove", (b"nobody",), 604),
    ("Reports.Delete", ("2001-01-01 00:00:00",), 203),
    ("Quarantine.Restore", ("0123456789abcdef",), "NotFound"),
    ("Scan.Start", (CUSTOM, b"/soak/nothing"), "NotFound"),
    ("Scan.Pause", (4000000000,), "NotFound"),
    ("Updates.StartSignatureUpdate", (4000000000,), "NotFound"),
]


def refused(engine, random):
    method, values, expected = random.choice(REFUSED)
    try:
        answer = engine.ask(method, *values)
    except Refused as refusal:
        answer = refusal.name
    return [] if answer == expected else [f"{method}{values} was answered with {answer}"]
