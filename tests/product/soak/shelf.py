"""The files that are scanned: harmless ones, which nothing may touch, and infected ones, each of
which is in its place or in the quarantine, and never in both or neither."""
import hashlib
import io
import os
import zipfile

MALWARE = b"X5O!P%@AP[4\\PZX54(P^)7CC)7}$EICAR-STANDARD-" + b"ANTIVIRUS-TEST-FILE!$H+H*"


def write(path, content, mode=0o644):
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "wb") as file:
        file.write(content)
    os.chmod(path, mode)


def read(path):
    try:
        with open(path, "rb") as file:
            return file.read()
    except FileNotFoundError:
        return None


def publish(path, number):
    """A set of signatures by whose number a detection tells which set it was. Always of one size,
    so that the memory it takes can be compared."""
    text = f"Talo.Test.N{number:06d}:0:0:{MALWARE.hex()}\n"
    for each in range(2000):
        text += f"Talo.None.{each:06d}:0:*:{hashlib.sha256(str(each).encode()).hexdigest()}\n"
    write(path + ".new", text.encode())
    os.rename(path + ".new", path)


class Shelf:
    def __init__(self, root, random):
        self.root = root
        self.random = random
        self.harmless = {}
        self.infected = {}   # path: content
        self.archives = {}   # path: how it was
        self.doubtful = set()  # those whose purge was not answered
        self.folders = [f"{root}/{name}" for name in ("letters", "music", "programs", "deep/er")]
        self.numbers = 0
        for folder in self.folders:
            for number in range(150):
                content = random.randbytes(random.choice((100, 4000, 60000)))
                path = f"{folder}/{number:02d}"
                write(path, content)
                self.harmless[path] = content

    def plant(self, folder=None):
        """A new infected file; in one of four an archive, and in one of six hidden."""
        self.numbers += 1
        folder = folder or self.random.choice(self.folders)
        name = f"{self.random.choice(['', '', '', '', '', '.'])}threat{self.numbers}"
        if self.random.random() < 0.25:
            path = f"{folder}/{name}.zip"
            held = io.BytesIO()
            with zipfile.ZipFile(held, "w") as archive:
                archive.writestr("letter", f"harmless {self.numbers}")
                archive.writestr("virus", MALWARE)
            self.archives[path] = held.getvalue()
            write(path, held.getvalue())
        else:
            path = f"{folder}/{name}"
            content = MALWARE + f"\n{self.numbers}\n".encode()
            self.infected[path] = content
            write(path, content, self.random.choice((0o600, 0o644, 0o755)))
        return path

    def forget(self, path):
        """It was destroyed, and that was asked for."""
        self.infected.pop(path, None)
        self.archives.pop(path, None)
        self.doubtful.discard(path)

    def wrong(self, quarantined):
        """What is not as it must be, while nothing acts on the files."""
        found = []
        for path, content in self.harmless.items():
            if read(path) != content:
                found.append(f"the harmless {path} was changed")
        for path, content in list(self.infected.items()) + list(self.archives.items()):
            here = read(path)
            # Of an archive that was cleaned the original is in the quarantine.
            cleaned = path in self.archives and here not in (None, content)
            places = (here is not None and not cleaned) + quarantined.count(path)
            if places == 0 and path in self.doubtful:
                self.forget(path)
                continue
            self.doubtful.discard(path)
            if places != 1:
                found.append(f"{path} is in {places} places")
            elif here is not None and path in self.infected and here != content:
                found.append(f"{path} is not what it was")
            elif cleaned and not self.clean(here):
                found.append(f"{path} was spoilt")
        for folder, folders, files in os.walk(self.root):
            for name in folders + files:
                path = f"{folder}/{name}"
                if os.path.isdir(path) and ".talo-" not in name:
                    continue
                if not any(path in known for known in
                           (self.harmless, self.infected, self.archives)):
                    found.append(f"{path} was left behind")
        return found

    @staticmethod
    def clean(content):
        """Whether it is an archive that has lost its infected member and nothing else."""
        try:
            with zipfile.ZipFile(io.BytesIO(content)) as archive:
                return archive.namelist() == ["letter"] and archive.read("letter") != b""
        except zipfile.BadZipFile:
            return False
