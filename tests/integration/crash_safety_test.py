#!/usr/bin/env python3
"""velmora watch, build and sweep killed with SIGKILL while they work.

A Maildir of a few hundred generated messages (spam in Junk, good mail in
the user's folders, both in the Inbox, a sent message) is built into a
database; then, round after round, one of the three commands is killed at a
random moment:
  - watch, while the test delivers new mail into the Inbox's new/ and moves
    messages between the Inbox, Junk and the user's folders, as a server does
    for a mail client;
  - build, at a random time within what a whole build takes;
  - sweep of the Inbox, with fresh mail placed there, likewise.
After each kill: every message is in the Maildir exactly once (twice only
where a subject rewrite was cut short: the same body, the subject once with
and once without the filter's tag), every data file is whole (after a build,
byte for byte the old version or the one a finished build writes), nothing
is left over in the data folder, and the filter starts again: the table it
reads holds every record of the file, and it still tells spam from good mail.
At the end a watch judges everything left waiting and two new messages.

usage: crash_safety_test.py VELMORA [--kills N] [--seed S] [--keep]
The short run (10 kills) is the default; VELMORA_LONG_TESTS=1 makes it 60.
Exit status 0 passed, 1 failed.
"""

import argparse
import os
import random
import re
import shutil
import signal
import sys
import tempfile
import time
from pathlib import Path

sys.dont_write_bytecode = True  # nothing written into the source tree
sys.path.insert(0, str(Path(__file__).resolve().parent))
from maildir_load import (COLLEAGUES, DataFolderCheck, GeneratedMail, MailFactory, Maildir,  # noqa: E402
                          Velmora, check_messages_once, record_count, test_id_of,
                          untagged)

USER_FOLDERS = (".Work", ".Work.Projects", ".Lists")


class CrashRounds(GeneratedMail):
    def __init__(self, binary, work: Path, seed):
        super().__init__(seed, Maildir(work / "Maildir"))
        self.random = random.Random(seed)
        self.work = work
        self.user = Velmora(binary, work / "home", self.maildir.root)
        self.data = DataFolderCheck(self.user.data_folder)
        self.kills = {"watch": 0, "build": 0, "sweep": 0}
        self.finished_first = 0
        self.extra_copies = 0
        self.build_seconds = 0.0
        self.sweep_seconds = 0.0
        self.round = 0

    def populate(self):
        for _ in range(150):
            self.add(True, ".Junk")
        for i in range(300):
            self.add(False, USER_FOLDERS[i % len(USER_FOLDERS)])
        for i in range(60):
            self.add(i % 3 == 0, "")
        test_id, raw = self.mail.sent(COLLEAGUES[:3])
        self.maildir.place(raw, ".Sent")
        self.expected.add(test_id)
        self.user.run("settings", "--maildir", str(self.maildir.root))
        # The first build makes the database; the second reads the starter
        # pictures merged in, as every later run does.
        self.user.run("build")
        _, self.build_seconds, _ = self.user.run("build")
        for _ in range(30):
            self.add(self.random.random() < 0.5, "")
        _, self.sweep_seconds, out = self.user.run("sweep", "Inbox")
        if " moved to " not in out:
            raise AssertionError("sweep did not run: " + out)
        self.check("setup")

    # -- one round each ---------------------------------------------------------

    def watch_round(self):
        log = self.work / ("watch-%d.log" % self.round)
        proc = self.user.start_watch(log)
        kill_at = time.monotonic() + self.random.uniform(0.05, 2.5)
        while time.monotonic() < kill_at:
            action = self.random.random()
            if action < 0.6:
                self.add(self.random.random() < 0.5, "", deliver=True)
            else:
                self.user_move(log)
            time.sleep(self.random.uniform(0, 0.02))
        if proc.poll() is not None:
            raise AssertionError("velmora watch ended by itself:\n" +
                                 log.read_text(errors="replace"))
        self.user.kill(proc)
        self.kills["watch"] += 1

    def user_move(self, log):
        """The user moves a message, as their mail client would through a
        server: spam the filter let through into Junk, good mail out of Junk
        or the Inbox into one of their folders, or between their folders. The
        user is right each time, so that what the filter learns stays true,
        and moves only what they have seen: new mail once it has been judged
        (a message taken away before the filter has seen it arrive reaches the
        filter as a copy into the other folder)."""
        source = self.random.choice(("", ".Junk") + USER_FOLDERS)
        files = list(self.maildir.files(source))
        if not files:
            return
        path = self.random.choice(files)
        try:
            test_id = test_id_of(path.read_bytes())
        except FileNotFoundError:
            return  # moved by the filter meanwhile
        if path.parent.name == "new" and test_id not in log.read_text(errors="replace"):
            return
        target = ".Junk" if test_id in self.spam else self.random.choice(("",) + USER_FOLDERS)
        if target != source:
            self.maildir.user_move(path, target)

    def timed_kill(self, args, expected_seconds):
        """Starts a command, kills it at a random moment of its expected run;
        True when it was still running."""
        log = self.work / ("%s-%d.log" % (args[0], self.round))
        proc = self.user.start(*args, log=log)
        time.sleep(self.random.uniform(0, expected_seconds))
        running = proc.poll() is None
        self.user.kill(proc)
        if not running:
            if proc.returncode != 0:
                raise AssertionError("velmora %s failed (%d):\n%s" % (
                    args[0], proc.returncode, log.read_text(errors="replace")))
            self.finished_first += 1
        return running

    def build_round(self):
        old = self.data.snapshot()
        # What a finished build writes, from the same folders and settings.
        reference = Velmora(self.user.binary, self.work / "reference-home", self.maildir.root)
        shutil.rmtree(reference.home, ignore_errors=True)
        shutil.copytree(self.user.home, reference.home, symlinks=True)
        _, seconds, _ = reference.run("build")
        new = DataFolderCheck(reference.data_folder).snapshot()
        if self.timed_kill(["build"], seconds):
            self.kills["build"] += 1
        for name, content in sorted(self.data.snapshot().items()):
            versions = [v[name] for v in (old, new) if name in v]
            if versions and content not in versions:
                raise AssertionError(
                    "%s after a killed build is neither the old (%d bytes) nor the new version "
                    "(%d bytes) but %d bytes" % (name, len(old.get(name, b"")),
                                                 len(new.get(name, b"")), len(content)))
        shutil.rmtree(reference.home, ignore_errors=True)

    def sweep_round(self):
        for _ in range(40):
            self.add(self.random.random() < 0.6, "")
        if self.timed_kill(["sweep", "Inbox"], self.sweep_seconds * 2):
            self.kills["sweep"] += 1

    # -- after each kill ------------------------------------------------------------

    def check(self, what):
        problems, extra = check_messages_once(self.maildir, self.expected)
        self.extra_copies += extra
        problems += self.data.problems()
        if problems:
            raise AssertionError("after %s:\n  %s" % (what, "\n  ".join(problems)))
        self.check_restart(what)

    def check_restart(self, what):
        """The filter starts on what was left: it reads every record of its
        text table, and still tells spam from good mail."""
        _, _, out = self.user.run("stats")
        m = re.search(r"text records: (\d+)", out)
        txt = self.data.snapshot().get("txtdata.dat", b"")
        if not m or int(m.group(1)) != record_count(txt):
            raise AssertionError("after %s the filter reads %s text records of %d in the "
                                 "file:\n%s" % (what, m and m.group(1), record_count(txt), out))
        probe = self.work / "probe"
        probe.mkdir(exist_ok=True)
        for spam in (True, False):
            _, raw = MailFactory(self.round, "P").message(spam)
            (probe / "message.eml").write_bytes(raw)
            code, _, out = self.user.run("classify", str(probe / "message.eml"))
            if code != (0 if spam else 1):
                raise AssertionError("after %s a %s message is judged %s:\n%s" % (
                    what, "spam" if spam else "good", "spam" if code == 0 else "good", out))

    def final_watch(self):
        """A last watch judges everything left in new/ (by the killed watches,
        or delivered while none ran), then new mail as it comes."""
        waiting = {test_id_of(p.read_bytes()) for p in (self.maildir.root / "new").iterdir()}
        log = self.work / "watch-final.log"
        proc = self.user.start_watch(log)
        spam = self.add(True, "", deliver=True)
        good = self.add(False, "", deliver=True)
        deadline = time.monotonic() + 120
        while True:
            text = log.read_text(errors="replace")
            judged = set(re.findall(r'new mail from .*?(T\d+)": ', text))
            if judged >= waiting | {spam, good}:
                break
            if time.monotonic() > deadline or proc.poll() is not None:
                self.user.kill(proc)
                raise AssertionError("the last watch did not judge %s:\n%s" % (
                    sorted(waiting | {spam, good} - judged)[:10], text[-2000:]))
            time.sleep(0.05)
        if self.user.stop(proc) != 0:
            raise AssertionError("velmora watch did not stop cleanly:\n" + text[-2000:])
        found = self.maildir.messages()
        if not any(c[0].parent.parent.name == ".Junk" and untagged(c[1]) != c[1]
                   for c in found[spam]):
            raise AssertionError("the last spam was not tagged and moved to Junk: %s" %
                                 found[spam])
        if [c[0].parent.parent for c in found[good]] != [self.maildir.root]:
            raise AssertionError("the last good message left the Inbox: %s" % found[good])
        self.check("the last watch")

    def run(self, kills):
        self.populate()
        kinds = []
        deadline_rounds = kills * 4
        while sum(self.kills.values()) < kills:
            if self.round >= deadline_rounds:
                raise AssertionError("only %d kills landed in %d rounds" % (
                    sum(self.kills.values()), self.round))
            if not kinds:
                kinds = ["watch", "build", "sweep"]
                self.random.shuffle(kinds)
            kind = kinds.pop()
            self.round += 1
            getattr(self, kind + "_round")()
            self.check("round %d (%s)" % (self.round, kind))
        self.final_watch()


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("velmora", type=Path)
    long_run = os.environ.get("VELMORA_LONG_TESTS") == "1"
    parser.add_argument("--kills", type=int, default=60 if long_run else 10)
    parser.add_argument("--seed", type=int, default=None)
    parser.add_argument("--keep", action="store_true", help="keep the test's folder")
    args = parser.parse_args()
    seed = args.seed if args.seed is not None else random.randrange(1 << 30)

    # Ended from outside (a test timeout): what was started is stopped all the same.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    work = Path(tempfile.mkdtemp(prefix="velmora-crash-"))
    rounds = CrashRounds(args.velmora.resolve(), work, seed)
    start = time.monotonic()
    failed = True
    try:
        rounds.run(args.kills)
        failed = False
    except AssertionError as error:
        print("FAILED (seed %d, round %d): %s" % (seed, rounds.round, error), file=sys.stderr)
    finally:
        rounds.user.stop_all()
        if args.keep or failed and os.environ.get("VELMORA_KEEP_FAILED") == "1":
            print("test folder kept: %s" % work, file=sys.stderr)
        else:
            shutil.rmtree(work, ignore_errors=True)
    print("seed %d: %d kills (watch %d, build %d, sweep %d) in %d rounds, %d runs ended before "
          "their kill, %d subject rewrites cut short, %d messages, %.0f s" % (
              seed, sum(rounds.kills.values()), rounds.kills["watch"], rounds.kills["build"],
              rounds.kills["sweep"], rounds.round, rounds.finished_first, rounds.extra_copies,
              len(rounds.expected), time.monotonic() - start))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
