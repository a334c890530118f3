#!/usr/bin/env python3
"""Velmora on a large mailbox: build, sweep, and bursts of new mail.

A Maildir of generated messages (a quarter spam in Junk, half good mail in
three folders of the user's, a quarter mixed in the Inbox, sent mail to a
few people) is built into a database with `velmora build`, and the Inbox is
swept with `velmora sweep Inbox`; both are timed. Then two bursts of new
messages are delivered into the Inbox's new/, each all at once, while one
`velmora watch` runs, its resident memory sampled from /proc throughout and
reported after each burst. Checked: every message of a burst is judged
exactly once (one "new mail" line each),
every message of the mailbox is there exactly once afterwards, and the
watch ends cleanly. Times, rates and memory are reported, never asserted.

usage: scale_test.py VELMORA [--messages N] [--burst N] [--keep]
The short run (2,000 messages, bursts of 500) is the default;
VELMORA_LONG_TESTS=1 makes it 100,000 messages and bursts of 10,000.
Exit status 0 passed, 1 failed.
"""

import argparse
import os
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from collections import Counter
from pathlib import Path

sys.dont_write_bytecode = True  # nothing written into the source tree
sys.path.insert(0, str(Path(__file__).resolve().parent))
from maildir_load import (COLLEAGUES, GeneratedMail, Maildir, Velmora,  # noqa: E402
                          check_messages_once, rss_kb, untagged)

USER_FOLDERS = (".Work", ".Work.Projects", ".Lists")
NEW_MAIL = re.compile(r'new mail from .*? "(.*)": ')
SAMPLE_SECONDS = 0.05


def timed(user, *args):
    """Runs a command to its end: (seconds, peak resident MB, output)."""
    start = time.perf_counter()
    proc = subprocess.Popen([str(user.binary), *args], env=user.env, stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    out = proc.stdout.read()
    _, status, usage = os.wait4(proc.pid, 0)
    proc.returncode = os.waitstatus_to_exitcode(status)
    seconds = time.perf_counter() - start
    text = out.decode(errors="replace")
    if proc.returncode != 0:
        raise AssertionError("velmora %s failed (%d):\n%s" % (" ".join(args), proc.returncode,
                                                               text[-3000:]))
    return seconds, usage.ru_maxrss / 1024.0, text


class Scale(GeneratedMail):
    def __init__(self, binary, work: Path, messages, burst):
        super().__init__(15, Maildir(work / "Maildir"))
        self.work, self.messages, self.burst = work, messages, burst
        self.user = Velmora(binary, work / "home", self.maildir.root)
        self.report = []

    def say(self, line):
        self.report.append(line)
        print(line, flush=True)

    def populate(self):
        start = time.perf_counter()
        n = self.messages
        for _ in range(n // 4):
            self.add(True, ".Junk")
        for i in range(n // 2):
            self.add(False, USER_FOLDERS[i % len(USER_FOLDERS)])
        inbox = n - n // 4 - n // 2 - max(1, n // 10000)
        for i in range(inbox):
            self.add(i % 5 < 2, "")
        for i in range(max(1, n // 10000)):
            test_id, raw = self.mail.sent(COLLEAGUES[i % 2:i % 2 + 3])
            self.maildir.place(raw, ".Sent")
            self.expected.add(test_id)
        self.say("mailbox: %d messages (%d in Junk, %d in the user's folders, %d in the Inbox), "
                 "written in %.1f s" % (len(self.expected), n // 4, n // 2, inbox,
                                        time.perf_counter() - start))
        self.user.run("settings", "--maildir", str(self.maildir.root))

    def build_and_sweep(self):
        learnt = self.messages // 4 + self.messages // 2
        seconds, peak, out = timed(self.user, "build")
        self.say("build: %.1f s (%.0f messages learnt a second), peak %.1f MB: %s" % (
            seconds, learnt / seconds, peak, out.strip().splitlines()[-1]))
        in_inbox = sum(1 for _ in self.maildir.files(""))
        seconds, peak, out = timed(self.user, "sweep", "Inbox")
        self.say("sweep of the Inbox: %d messages in %.1f s (%.0f a second), peak %.1f MB: %s" % (
            in_inbox, seconds, in_inbox / seconds, peak, out.strip().splitlines()[-1]))
        self.check_once("the sweep")
        self.say("after the sweep: %s" % self.placement(self.expected))

    def placement(self, ids):
        """Where the spam and the good mail among `ids` are now."""
        spam_in_junk = good_in_junk = 0
        for test_id, copies in self.maildir.messages().items():
            if test_id in ids and copies[0][0].parent.parent.name == ".Junk":
                if test_id in self.spam:
                    spam_in_junk += 1
                else:
                    good_in_junk += 1
        spam = len(ids & self.spam)
        return "%d of %d spam in Junk, %d of %d good messages in Junk" % (
            spam_in_junk, spam, good_in_junk, len(ids) - spam)

    def check_once(self, after):
        problems, extra = check_messages_once(self.maildir, self.expected,
                                              remove_extra_copies=False)
        if extra:
            problems.append("%d messages twice after a subject rewrite" % extra)
        if problems:
            raise AssertionError("after %s:\n  %s" % (after, "\n  ".join(problems[:20])))

    def burst_to_watch(self):
        """Two bursts into one running watch: memory after the second shows
        whether what a burst leaves behind grows with each one."""
        log = self.work / "watch.log"
        start = time.perf_counter()
        proc = self.user.start_watch(log, timeout=3600)
        started = time.perf_counter() - start
        samples = []

        def sample():
            rss = rss_kb(proc.pid)
            if rss is not None:
                samples.append(rss)

        time.sleep(0.5)  # settled after its start
        sample()
        rest = [samples[-1]]
        self.read_at = 0
        for number in (1, 2):
            burst, delivered, seconds = self.one_burst(proc, log, sample)
            for _ in range(20):  # a second of rest after the burst
                sample()
                time.sleep(SAMPLE_SECONDS)
            rest.append(samples[-1])
            self.say("burst %d: %d messages delivered in %.1f s, all judged once within %.1f s "
                     "of the first (%.0f a second); %s" % (
                         number, self.burst, delivered, seconds, self.burst / seconds,
                         self.placement(burst)))
        code = self.user.stop(proc)
        if code != 0:
            raise AssertionError("velmora watch ended with %d:\n%s" % (
                code, log.read_text(errors="replace")[-3000:]))
        self.check_once("the bursts")
        self.say("watch: started in %.1f s on %d messages" % (
            started, len(self.expected) - 2 * self.burst))
        self.say("watch memory (RSS, %d samples): start %.1f MB, after burst 1 %.1f MB, after "
                 "burst 2 %.1f MB, peak %.1f MB" % (len(samples), rest[0] / 1024, rest[1] / 1024,
                                                    rest[2] / 1024, max(samples) / 1024))

    def one_burst(self, proc, log, sample):
        """Delivers a burst and waits until each message of it is judged
        exactly once: (the burst's names, seconds to deliver, seconds to judge)."""
        burst = set()
        start = time.perf_counter()
        next_sample = time.monotonic()
        for i in range(self.burst):
            burst.add(self.add(i % 5 < 2, "", deliver=True))
            if time.monotonic() >= next_sample:
                sample()
                next_sample = time.monotonic() + SAMPLE_SECONDS
        delivered = time.perf_counter() - start
        judged = Counter()
        deadline = time.monotonic() + 600 + self.burst
        while sum(judged.values()) < self.burst:
            if proc.poll() is not None or time.monotonic() > deadline:
                self.user.kill(proc)
                raise AssertionError("velmora watch judged %d of %d:\n%s" % (
                    sum(judged.values()), self.burst, log.read_text(errors="replace")[-3000:]))
            with open(log, "rb") as f:
                f.seek(self.read_at)
                chunk = f.read()
            complete = chunk.rfind(b"\n") + 1
            self.read_at += complete
            for line in chunk[:complete].decode(errors="replace").splitlines():
                if "new mail " not in line:
                    continue
                m = NEW_MAIL.search(line)
                if not m:
                    raise AssertionError("a new message not judged: " + line)
                judged[untagged(m.group(1)).split()[-1]] += 1
            sample()
            time.sleep(SAMPLE_SECONDS)
        seconds = time.perf_counter() - start
        twice = sorted(t for t, n in judged.items() if n > 1)
        never = sorted(burst - set(judged))
        strange = sorted(set(judged) - burst)
        if twice or never or strange:
            raise AssertionError("judged twice: %s; never judged: %s; not of the burst: %s" % (
                twice[:10], never[:10], strange[:10]))
        return burst, delivered, seconds


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("velmora", type=Path)
    long_run = os.environ.get("VELMORA_LONG_TESTS") == "1"
    parser.add_argument("--messages", type=int, default=100000 if long_run else 2000)
    parser.add_argument("--burst", type=int, default=10000 if long_run else 500)
    parser.add_argument("--keep", action="store_true", help="keep the test's folder")
    args = parser.parse_args()

    # Ended from outside (a test timeout): what was started is stopped all the same.
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))
    work = Path(tempfile.mkdtemp(prefix="velmora-scale-"))
    scale = Scale(args.velmora.resolve(), work, args.messages, args.burst)
    failed = True
    try:
        scale.populate()
        scale.build_and_sweep()
        scale.burst_to_watch()
        failed = False
    except AssertionError as error:
        print("FAILED: %s" % error, file=sys.stderr)
    finally:
        scale.user.stop_all()
        if args.keep:
            print("test folder kept: %s" % work, file=sys.stderr)
        else:
            shutil.rmtree(work, ignore_errors=True)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
