"""What the load tests share: generated mail, a Maildir read back by message,
one user of the velmora command, and checks on the data folder's files.

Every generated message carries a unique X-Test-Id header, and the same id
in its subject and body, so that a message is recognised wherever the filter
or the test has put it, whatever its subject has become.
"""

import os
import random
import re
import signal
import subprocess
import time
from pathlib import Path

USER = "me@home.example"
FOLDERS = ("", ".Junk", ".Sent", ".Trash", ".Work", ".Work.Projects", ".Lists")
COLLEAGUES = ["anna.berg@work.example", "tom@family.example", "lena.ott@work.example",
              "ben.ward@partner.example", "club@lists.example"]

# Spam comes in families, as it does: the same offer from the same sender,
# with a few words and numbers changed. The filter finds new spam by its
# likeness to what it learnt from Junk.
SPAM_FAMILIES = [
    ("offers@pharma-deals.example", "Cheap pills, no prescription needed",
     "Dear friend,\nOur online pharmacy sells premium medication at the lowest prices.\n"
     "No prescription, no questions, discreet delivery to your door.\n"
     "Order today at http://www.pharma-deals.example/order?ref={n}\n"
     "Special offer: buy two packs and get the third one free.\n"
     "Unsubscribe: write to remove@pharma-deals.example\n"),
    ("winner@lotto-intl.example", "You have won the international lottery",
     "CONGRATULATIONS!!!\nYour e-mail address was drawn in our international lottery.\n"
     "You have won USD {n},000.00 (ONE MILLION DOLLARS).\n"
     "To claim your prize send your full name, address and bank details to\n"
     "claims@lotto-intl.example within 7 days. Reference number LX-{n}.\n"
     "Visit http://claims.lotto-intl.example/now to confirm.\n"),
    ("loans@quick-cash.example", "Approved: your loan of $5000",
     "Hello,\nYour application has been APPROVED. Get $5000 in your account today.\n"
     "No credit check, no paperwork, bad credit OK!\n"
     "Click http://apply.quick-cash.example/?id={n} and fill in the short form.\n"
     "Rates from 1.9% - this offer ends in 24 hours.\n"),
    ("vip@casino-royal.example", "200 free spins are waiting for you",
     "Welcome bonus: 200 FREE SPINS and 100% up to 500 EUR!\n"
     "Play now at http://www.casino-royal.example/vip{n}\n"
     "Thousands of players win every day. Why not you?\n"
     "Claim your bonus before midnight.\n"),
    ("info@watch-replica.example", "Luxury watches at 90% off",
     "Replica watches of the finest quality.\n"
     "Rolex, Omega, Breitling from only $199. Code {n} gives another 10% off.\n"
     "Worldwide shipping in discreet packaging.\n"
     "Shop now: http://shop.watch-replica.example/sale\n"),
    ("alerts@crypto-boom.example", "This coin will go 100x next week",
     "Insider tip: the next coin to explode is launching now.\n"
     "Early buyers made 4000% last month. Do not miss the train!\n"
     "Buy before the listing at http://crypto-boom.example/buy?c={n}\n"
     "Limited places, act now.\n"),
]

WORDS = ("project meeting report budget draft Thursday Monday review agenda notes family "
         "dinner weekend garden holiday train tickets invoice schedule paper chapter "
         "football practice school concert library book children birthday present "
         "colleague office plan minutes team release version question answer thanks "
         "photos trip mountains lake summer winter recipe soup bread coffee").split()


class MailFactory:
    """Spam-like and good messages with unique ids, reproducible from a seed."""

    def __init__(self, seed, prefix="T"):
        self.random = random.Random(seed)
        self.prefix = prefix
        self.count = 0

    def next_id(self):
        self.count += 1
        return "%s%06d" % (self.prefix, self.count)

    def message(self, spam):
        """(id, raw bytes) of one new message."""
        test_id = self.next_id()
        r = self.random
        if spam:
            sender, subject, body = r.choice(SPAM_FAMILIES)
            body = body.format(n=r.randint(10, 99))
            subject = "%s %s" % (subject, test_id)
        else:
            sender = r.choice(COLLEAGUES + ["friend%d@mail%d.example" % (r.randint(1, 200),
                                                                           r.randint(1, 9))])
            subject = "%s %s %s" % (r.choice(WORDS).capitalize(), r.choice(WORDS), test_id)
            lines = [" ".join(r.choice(WORDS) for _ in range(r.randint(5, 12))).capitalize() + "."
                     for _ in range(r.randint(2, 8))]
            body = "Hi,\n" + "\n".join(lines) + "\nBest wishes\n"
        body += "-- %s\n" % test_id
        head = ("From: %s\r\nTo: %s\r\nSubject: %s\r\nMessage-ID: <%s@load.example>\r\n"
                "X-Test-Id: %s\r\nDate: Mon, 2 Sep 2024 10:00:00 +0000\r\nMIME-Version: 1.0\r\n"
                "Content-Type: text/plain; charset=utf-8\r\n\r\n"
                % (sender, USER, subject, test_id, test_id))
        return test_id, (head + body.replace("\n", "\r\n")).encode()

    def sent(self, recipients):
        test_id = self.next_id()
        raw = ("From: %s\r\nTo: %s\r\nSubject: Minutes %s\r\nMessage-ID: <%s@load.example>\r\n"
               "X-Test-Id: %s\r\n\r\nHere are the minutes.\r\n-- %s\r\n"
               % (USER, ", ".join(recipients), test_id, test_id, test_id, test_id))
        return test_id, raw.encode()


def untagged(subject):
    """A subject without the tags the filter puts in front ("{S:97%} ")."""
    return re.sub(r"^(\{[^}]*\}\s*)+", "", subject)


def header_block(raw):
    return raw.split(b"\r\n\r\n", 1)[0] if b"\r\n\r\n" in raw else raw.split(b"\n\n", 1)[0]


def body_of(raw):
    for sep in (b"\r\n\r\n", b"\n\n"):
        if sep in raw:
            return raw.split(sep, 1)[1]
    return b""


def test_id_of(raw):
    m = re.search(rb"(?im)^X-Test-Id:\s*(\S+)", header_block(raw))
    return m.group(1).decode() if m else None


def subject_of(raw):
    m = re.search(rb"(?im)^Subject:[ \t]*(.*(?:\r?\n[ \t].*)*)", header_block(raw))
    return m.group(1).decode("utf-8", "replace").strip() if m else ""


class Maildir:
    """A Maildir++ tree written as a mail delivery agent and a server would."""

    def __init__(self, root: Path):
        self.root = root
        self.serial = 0
        for folder in FOLDERS:
            for part in ("cur", "new", "tmp"):
                (root / folder / part).mkdir(parents=True, exist_ok=True)

    def _unique(self):
        self.serial += 1
        return "%d.M%dP%d.loadtest" % (int(time.time()), self.serial, os.getpid())

    def deliver(self, raw, folder=""):
        """Into new/, through tmp/, as an MDA delivers."""
        name = self._unique()
        tmp = self.root / folder / "tmp" / name
        tmp.write_bytes(raw)
        os.rename(tmp, self.root / folder / "new" / name)

    def place(self, raw, folder=""):
        """Straight into cur/, seen: mail that was there before."""
        name = self._unique() + ":2,S"
        (self.root / folder / "cur" / name).write_bytes(raw)

    def files(self, folder):
        for part in ("new", "cur"):
            directory = self.root / folder / part
            try:
                names = os.listdir(directory)
            except FileNotFoundError:
                continue
            for name in names:
                yield directory / name

    def user_move(self, path: Path, folder):
        """What an IMAP server does when the user moves a message: a rename into
        the other folder's cur/. False when the file has gone meanwhile."""
        name = path.name if ":2," in path.name else path.name + ":2,S"
        try:
            os.rename(path, self.root / folder / "cur" / name)
            return True
        except FileNotFoundError:
            return False

    def messages(self):
        """Test id -> list of (path, subject, body) over every folder."""
        found = {}
        for folder in FOLDERS:
            for path in self.files(folder):
                try:
                    raw = path.read_bytes()
                except FileNotFoundError:
                    continue
                found.setdefault(test_id_of(raw), []).append((path, subject_of(raw),
                                                             body_of(raw)))
        return found


class GeneratedMail:
    """Messages a test puts into a Maildir, remembered by their test ids."""

    def __init__(self, seed, maildir: Maildir):
        self.mail = MailFactory(seed)
        self.maildir = maildir
        self.expected = set()
        self.spam = set()

    def add(self, spam, folder, deliver=False):
        test_id, raw = self.mail.message(spam)
        (self.maildir.deliver if deliver else self.maildir.place)(raw, folder)
        self.expected.add(test_id)
        if spam:
            self.spam.add(test_id)
        return test_id


def check_messages_once(maildir: Maildir, expected, remove_extra_copies=True):
    """Every expected message there exactly once, or twice where a subject
    rewrite was cut short: the same body, and one subject the other's with a
    tag in front. Returns (problems, extra copies). With `remove_extra_copies`
    the copy with the older subject goes, as a user would delete it, so that
    the next round starts clean."""
    problems, extra = [], 0
    found = maildir.messages()
    for test_id in sorted(expected):
        copies = found.get(test_id, [])
        if not copies:
            problems.append("%s: lost" % test_id)
            continue
        if len(copies) == 1:
            continue
        bodies = {c[2] for c in copies}
        subjects = {c[1] for c in copies}
        rewrite = (len(copies) == 2 and len(bodies) == 1 and len(subjects) == 2
                   and len({untagged(s) for s in subjects}) == 1)
        if not rewrite:
            problems.append("%s: %d copies: %s" % (
                test_id, len(copies), ", ".join("%s %r" % (c[0], c[1]) for c in copies)))
            continue
        extra += 1
        if remove_extra_copies:
            older = min(copies, key=lambda c: len(c[1]))
            os.unlink(older[0])
    unknown = set(found) - set(expected)
    if unknown:
        problems.append("messages the test never made: %s" % sorted(map(str, unknown))[:5])
    return problems, extra


# -- the data folder ---------------------------------------------------------

TABLE_FIELDS = {"txtdata.dat": 24, "picdata.dat": 26, "defaultpicdata.dat": 26}
LIST_FILES = ("trusteml.dat", "restricted.dat")
NUMBER = re.compile(rb"^[ -]\d+$")


def table_numbers(name):
    """The fields that hold numbers: lengths and counters; the rest is text."""
    return [3, 4, *range(7, 23)] if name == "txtdata.dat" else range(3, 25)


def file_problems(name, content):
    """Why `content` is not a whole data file named `name` ('' when it is)."""
    if not content:
        return ""
    if not content.endswith(b"\r\n"):
        return "does not end with CR LF (%d bytes, ends %r)" % (len(content), content[-40:])
    lines = content[:-2].split(b"\r\n")
    for number, line in enumerate(lines, 1):
        if b"\n" in line or b"\r" in line:
            return "line %d: a lone CR or LF" % number
        if name in TABLE_FIELDS:
            fields = line.split(b"\xb5")
            if len(fields) != TABLE_FIELDS[name]:
                return "line %d: %d fields, not %d" % (number, len(fields), TABLE_FIELDS[name])
            if fields[0] not in (b"S", b"G") or not fields[1]:
                return "line %d: no flag or sender: %r" % (number, line[:60])
            for i in table_numbers(name):
                if not NUMBER.match(fields[i]):
                    return "line %d: field %d is not a number: %r" % (number, i + 1, fields[i])
        elif not line:
            return "line %d: empty" % number
        elif name == "trusteml.dat" and b"@" not in line:
            return "line %d: not an address: %r" % (number, line)
    return ""


def record_count(content):
    return content.count(b"\r\n")


class DataFolderCheck:
    """The data folder's files: each must be whole and well formed; versions
    seen after clean runs are remembered by content."""

    KNOWN = set(TABLE_FIELDS) | set(LIST_FILES)

    def __init__(self, folder: Path):
        self.folder = folder

    def snapshot(self):
        files = {}
        if self.folder.is_dir():
            for path in self.folder.iterdir():
                if path.is_file():
                    files[path.name] = path.read_bytes()
        return files

    def problems(self, files=None):
        files = self.snapshot() if files is None else files
        problems = []
        for name, content in sorted(files.items()):
            if name in self.KNOWN:
                why = file_problems(name, content)
                if why:
                    problems.append("%s: %s" % (name, why))
            elif ".saved-" in name:
                # Kept aside only when a file was found unreadable or about to
                # be emptied: after a crash, that means a torn file was seen.
                problems.append("%s: an old version kept aside (%d bytes)" % (name, len(content)))
            elif name.endswith(".part") and name[:-5] in self.KNOWN:
                pass  # a copy cut short under a name never read; replaced at the next start
            else:
                problems.append("%s: a file left over (%d bytes)" % (name, len(content)))
        return problems


# -- the command ---------------------------------------------------------------

class Velmora:
    """One user of the velmora command, with their own home, XDG folders and
    Maildir. Every process started is stopped by stop_all()."""

    def __init__(self, binary: Path, home: Path, maildir: Path):
        self.binary, self.home, self.maildir = binary, home, maildir
        self.env = dict(os.environ)
        self.env.update(HOME=str(home), XDG_DATA_HOME=str(home / "data"),
                        XDG_CONFIG_HOME=str(home / "config"), QT_QPA_PLATFORM="offscreen")
        self.env.pop("DISPLAY", None)
        self.env.pop("WAYLAND_DISPLAY", None)
        self.processes = []

    @property
    def data_folder(self):
        return self.home / "data" / "CORVANELSPAM" / "spamdata"

    def run(self, *args, check=True, cwd=None):
        """Runs a command to its end; (exit code, seconds, output)."""
        start = time.perf_counter()
        proc = subprocess.run([str(self.binary), *args], env=self.env, cwd=cwd,
                              stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, timeout=3600)
        seconds = time.perf_counter() - start
        out = proc.stdout.decode(errors="replace")
        if check and proc.returncode not in (0, 1):
            raise AssertionError("velmora %s failed (%d):\n%s" % (" ".join(args),
                                                                   proc.returncode, out))
        return proc.returncode, seconds, out

    def start(self, *args, log: Path):
        with open(log, "wb") as f:
            proc = subprocess.Popen([str(self.binary), *args], env=self.env,
                                    stdin=subprocess.DEVNULL, stdout=f,
                                    stderr=subprocess.STDOUT)
        self.processes.append(proc)
        return proc

    def start_watch(self, log: Path, timeout=120):
        proc = self.start("watch", "--headless", log=log)
        deadline = time.monotonic() + timeout
        while b"watching " not in log.read_bytes():
            if proc.poll() is not None or time.monotonic() > deadline:
                self.kill(proc)
                raise AssertionError("velmora watch did not start:\n" +
                                     log.read_text(errors="replace"))
            time.sleep(0.01)
        return proc

    def kill(self, proc, sig=signal.SIGKILL):
        if proc.poll() is None:
            proc.send_signal(sig)
        try:
            proc.wait(timeout=60)
        except subprocess.TimeoutExpired:
            proc.kill()
            proc.wait()
        if proc in self.processes:
            self.processes.remove(proc)

    def stop(self, proc):
        """Ends a watch as the user would; the exit code."""
        self.kill(proc, signal.SIGTERM)
        return proc.returncode

    def stop_all(self):
        for proc in list(self.processes):
            self.kill(proc)


def rss_kb(pid):
    """Resident memory of a process in kB, None once it has gone."""
    try:
        with open("/proc/%d/status" % pid) as f:
            for line in f:
                if line.startswith("VmRSS:"):
                    return int(line.split()[1])
    except (FileNotFoundError, ProcessLookupError):
        return None
    return None
