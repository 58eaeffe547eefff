"""The service's process and what it starts: begun, ended, killed, counted and measured."""
import os
import signal
import subprocess
import time

RATE = 900  # of the schedules' clock: a day in a minute and a half
BEGIN = 1795269900


def moment():
    """What the clock of the schedules shows."""
    return BEGIN + RATE * (time.monotonic() - STARTED)


STARTED = time.monotonic()


def processes():
    """Each living process: name, parent."""
    found = {}
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as file:
                text = file.read()
        except OSError:
            continue
        name = text[text.index("(") + 1:text.rindex(")")]
        state, parent = text[text.rindex(")") + 2:].split()[:2]
        if state not in "ZX":
            found[int(entry)] = name, int(parent)
    return found


def below(process, all_of_them):
    """The process's children, and theirs."""
    found = set()
    grown = {process}
    while grown:
        grown = {each for each, (_, parent) in all_of_them.items() if parent in grown}
        found |= grown
    return found


def kilobytes(process, field="RssAnon"):
    """Memory that is the process's own; shared code comes and goes with the machine's needs."""
    with open(f"/proc/{process}/status", encoding="utf-8") as lines:
        for line in lines:
            if line.startswith(field + ":"):
                return int(line.split()[1])
    return 0


class Service:
    def __init__(self, build, bus, state, configuration, log):
        self.command = [build + "/bin/talod", "--bus", bus, "--state", state,
                        "--config", configuration]
        self.log = open(log, "ab")
        self.process = None
        self.generation = 0

    @property
    def pid(self):
        return self.process.pid

    def begin(self, engine, patience=60):
        """Starts it, as the bus or systemd would, and waits until it answers."""
        self.generation += 1
        self.log.write(f"--- service {self.generation}\n".encode())
        self.log.flush()
        self.process = subprocess.Popen(
            self.command + ["--schedule-clock", f"{int(moment())}*{RATE}"],
            stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log)
        end = time.monotonic() + patience
        while time.monotonic() < end:
            if self.process.poll() is not None:
                return f"the service ended at its start with {self.process.returncode}"
            if engine.owned():
                return ""
            time.sleep(0.02)
        return "the service does not answer"

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()

    def end(self):
        """Asks it to end. Its exit code."""
        self.process.send_signal(signal.SIGTERM)
        try:
            return self.process.wait(60)
        except subprocess.TimeoutExpired:
            self.kill()
            return "none within a minute"

    def family(self, name):
        """Processes of that name that it or its children have started."""
        now = processes()
        return [each for each in below(self.pid, now) if now[each][0] == name[:15]]

    def servers(self):
        now = processes()
        return [each for each, (name, parent) in now.items()
                if parent == self.pid and name == "talo-scan-worke"]

    def workers(self):
        servers = set(self.servers())
        return [each for each, (_, parent) in processes().items() if parent in servers]

    def sample(self):
        """Figures of an idle service: memory, descriptors and threads, and the fork server's."""
        return {
            "memory": kilobytes(self.pid),
            "descriptors": len(os.listdir(f"/proc/{self.pid}/fd")),
            "threads": len(os.listdir(f"/proc/{self.pid}/task")),
            "server": sum(kilobytes(each) for each in self.servers()),
        }
