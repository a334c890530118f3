#!/usr/bin/env python3
"""Velmora beside bogofilter on the same public mail, in one run.

Builds a Maildir from the corpus (part of the spam in Junk, part of the good
mail in two folders of the user's, a sent message with several recipients),
holds the rest back, and then, three times and interleaved:
  - trains both filters on the same messages (velmora build / bogofilter -s -n);
  - classifies the held-back messages in bulk (velmora classify / bogofilter -B);
  - delivers them to a running `velmora watch` (live classification);
  - classifies them with Velmora's text table grown to 32,000 records.
Then it checks that the cost per message is flat (1,000 against 10,000
messages) and measures, at every text level, how much spam is caught and how
much good mail is wrongly taken. Prints the tables in Markdown.

Run it through run.sh, which installs and builds what it needs.
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
from pathlib import Path

HELD_BACK = (3, 4)  # of every five messages, these two are held back
USER = "me@velmora.example"


def wait_rusage(proc):
    """Waits for `proc`; returns (exit code, peak resident memory in MB)."""
    _, status, usage = os.wait4(proc.pid, 0)
    proc.returncode = os.waitstatus_to_exitcode(status)
    return proc.returncode, usage.ru_maxrss / 1024.0


def run(cmd, env=None, cwd=None, stdin=None, check=True):
    """Runs a command; returns (seconds, peak MB, stdout)."""
    start = time.perf_counter()
    proc = subprocess.Popen(cmd, env=env, cwd=cwd, stdin=stdin or subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    out, err = b"", b""
    # Read before waiting, so that a full pipe cannot stall the child.
    out, err = proc.stdout.read(), proc.stderr.read()
    code, peak = wait_rusage(proc)
    seconds = time.perf_counter() - start
    if check and code not in (0, 1):
        sys.exit(f"{cmd[0]} failed ({code}): {err.decode(errors='replace')[-2000:]}")
    return seconds, peak, out.decode(errors="replace")


class Corpus:
    def __init__(self, root: Path, limit: int):
        self.spam = sorted((root / "spam-1").glob("*.txt"))
        self.ham = sorted((root / "easy-ham-1").glob("*.txt"))
        if limit:
            self.spam, self.ham = self.spam[:limit], self.ham[:limit]
        if not self.spam or not self.ham:
            sys.exit(f"no messages under {root}/spam-1 and {root}/easy-ham-1")

        def split(files):
            train = [f for i, f in enumerate(files) if i % 5 not in HELD_BACK]
            held = [f for i, f in enumerate(files) if i % 5 in HELD_BACK]
            return train, held

        self.train_spam, self.held_spam = split(self.spam)
        self.train_ham, self.held_ham = split(self.ham)


def sent_message(recipients):
    return (f"From: {USER}\r\nTo: {', '.join(recipients)}\r\n"
            "Subject: Minutes of the meeting\r\nMessage-ID: <sent-1@velmora.example>\r\n"
            "Date: Mon, 2 Sep 2002 10:00:00 +0000\r\n\r\nHere are the minutes.\r\n").encode()


def make_maildir(root: Path, corpus: Corpus):
    for sub in ("", ".Junk", ".Sent", ".Trash", ".Work", ".Lists"):
        for part in ("cur", "new", "tmp"):
            (root / sub / part).mkdir(parents=True, exist_ok=True)
    for i, f in enumerate(corpus.train_spam):
        shutil.copyfile(f, root / ".Junk" / "cur" / f"{i}.spam.bench:2,S")
    for i, f in enumerate(corpus.train_ham):
        folder = ".Work" if i % 2 == 0 else ".Lists"
        shutil.copyfile(f, root / folder / "cur" / f"{i}.ham.bench:2,S")
    recipients = ["friend@velmora.example", "colleague@velmora.example", "family@velmora.example"]
    (root / ".Sent" / "cur" / "1.sent.bench:2,S").write_bytes(sent_message(recipients))


class Velmora:
    """One user of the velmora command: own XDG folders and a Maildir."""

    def __init__(self, binary: Path, home: Path, maildir: Path):
        self.binary, self.home, self.maildir = binary, home, maildir
        self.env = dict(os.environ)
        self.env.update(HOME=str(home), XDG_DATA_HOME=str(home / "data"),
                        XDG_CONFIG_HOME=str(home / "config"), QT_QPA_PLATFORM="offscreen")

    @property
    def work_root(self):
        return self.home / "data" / "CORVANELSPAM"

    def cmd(self, *args, **kw):
        return run([str(self.binary), *args], env=self.env, **kw)

    def clone(self, home: Path, maildir: Path = None):
        """A second user with a copy of this one's data (and Maildir)."""
        if home.exists():
            shutil.rmtree(home)
        shutil.copytree(self.home, home)
        if maildir:
            if maildir.exists():
                shutil.rmtree(maildir)
            shutil.copytree(self.maildir, maildir)
        other = Velmora(self.binary, home, maildir or self.maildir)
        other.cmd("settings", "--maildir", str(other.maildir))
        return other


def verdicts_velmora(output):
    spam = set()
    for line in output.splitlines():
        m = re.match(r"(.*?): (spam|good)", line)
        if m and m.group(2) == "spam":
            spam.add(os.path.basename(m.group(1)))
    return spam


def verdicts_bogofilter(output):
    return {os.path.basename(line.split()[0]) for line in output.splitlines()
            if len(line.split()) >= 2 and line.split()[1] == "S"}


def live_classify(user: Velmora, messages):
    """Delivers `messages` at once to a running watch; seconds until all are judged."""
    log_path = user.home / "watch.log"
    with open(log_path, "wb") as log:
        proc = subprocess.Popen([str(user.binary), "watch", "--headless"], env=user.env,
                                stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT)
    deadline = time.time() + 60
    while b"watching " not in log_path.read_bytes():
        if time.time() > deadline or proc.poll() is not None:
            sys.exit(f"velmora watch did not start: {log_path.read_text(errors='replace')}")
        time.sleep(0.02)
    inbox = user.maildir
    start = time.perf_counter()
    for i, f in enumerate(messages):
        name = f"{i}.live.bench"
        shutil.copyfile(f, inbox / "tmp" / name)
        os.rename(inbox / "tmp" / name, inbox / "new" / name)
    judged = 0
    deadline = time.time() + 600
    while judged < len(messages):
        judged = log_path.read_bytes().count(b"new mail ")
        if time.time() > deadline:
            sys.exit(f"velmora watch judged {judged} of {len(messages)}")
        time.sleep(0.005)
    seconds = time.perf_counter() - start
    proc.send_signal(signal.SIGTERM)
    _, peak = wait_rusage(proc)
    return seconds, peak


def with_sender_suffix(src: Path, dst: Path, suffix: str):
    """A copy of a message whose From address is made unique with `suffix`."""
    raw = src.read_bytes()
    head, sep, body = raw.partition(b"\n\n")
    head = re.sub(rb"(?im)^(From:.*?)([A-Za-z0-9._%+-]+)@", lambda m: m.group(1) + m.group(2) +
                  suffix.encode() + b"@", head, count=1)
    dst.write_bytes(head + sep + body)


def median(values):
    values = sorted(values)
    return values[len(values) // 2]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--corpus", type=Path, required=True, help="the corpus's data folder")
    parser.add_argument("--velmora", type=Path, required=True)
    parser.add_argument("--grow-table", type=Path, required=True)
    parser.add_argument("--work", type=Path, default=None)
    parser.add_argument("--runs", type=int, default=3)
    parser.add_argument("--limit", type=int, default=0, help="messages per folder (quick runs)")
    parser.add_argument("--flat", type=int, default=10000, help="messages for the flatness check")
    args = parser.parse_args()

    work = args.work or Path(tempfile.mkdtemp(prefix="velmora-corpus-"))
    work.mkdir(parents=True, exist_ok=True)
    corpus = Corpus(args.corpus, args.limit)
    train = corpus.train_spam + corpus.train_ham
    held = corpus.held_spam + corpus.held_ham
    held_dir = work / "held"
    shutil.rmtree(held_dir, ignore_errors=True)
    held_dir.mkdir()
    for f in held:
        shutil.copyfile(f, held_dir / f.name)
    held_names = [f.name for f in held]
    held_spam = {f.name for f in corpus.held_spam}
    print(f"corpus: {len(corpus.train_spam)} spam and {len(corpus.train_ham)} good messages to "
          f"learn, {len(corpus.held_spam)} spam and {len(corpus.held_ham)} good held back",
          file=sys.stderr)

    maildir = work / "Maildir"
    shutil.rmtree(maildir, ignore_errors=True)
    make_maildir(maildir, corpus)

    rows = {k: {"velmora": [], "bogofilter": []} for k in
            ("build", "bulk", "live", "full")}
    verdicts = {}
    for r in range(args.runs):
        print(f"run {r + 1} of {args.runs}", file=sys.stderr)
        home = work / f"user{r}"
        shutil.rmtree(home, ignore_errors=True)
        user = Velmora(args.velmora, home, maildir)
        user.cmd("settings", "--maildir", str(maildir))
        s, peak, _ = user.cmd("build")
        rows["build"]["velmora"].append((len(train) / s, peak))

        db = work / f"bogofilter{r}"
        shutil.rmtree(db, ignore_errors=True)
        db.mkdir()
        s1, p1, _ = run(["bogofilter", "-d", str(db), "-s", "-B", *map(str, corpus.train_spam)])
        s2, p2, _ = run(["bogofilter", "-d", str(db), "-n", "-B", *map(str, corpus.train_ham)])
        rows["build"]["bogofilter"].append((len(train) / (s1 + s2), max(p1, p2)))

        bulk = user.clone(work / f"bulk{r}")
        s, peak, out = bulk.cmd("classify", *held_names, cwd=held_dir)
        rows["bulk"]["velmora"].append((len(held) / s, peak))
        verdicts["velmora"] = verdicts_velmora(out)

        s, peak, out = run(["bogofilter", "-d", str(db), "-T", "-B", *held_names], cwd=held_dir)
        rows["bulk"]["bogofilter"].append((len(held) / s, peak))
        rows["full"]["bogofilter"].append((len(held) / s, peak))
        verdicts["bogofilter"] = verdicts_bogofilter(out)

        live = user.clone(work / f"live{r}", work / f"live-maildir{r}")
        s, peak = live_classify(live, held)
        rows["live"]["velmora"].append((len(held) / s, peak))

        full = user.clone(work / f"full{r}")
        run([str(args.grow_table), str(full.work_root), "32000"])
        s, peak, _ = full.cmd("classify", *held_names, cwd=held_dir)
        rows["full"]["velmora"].append((len(held) / s, peak))

    labels = {"build": "build (messages learnt a second)",
              "bulk": "classify in bulk (messages a second)",
              "live": "classify live, delivered to `velmora watch`",
              "full": "classify in bulk, text table at 32,000 records"}
    print(f"| {'measure':48} | Velmora | peak MB | bogofilter | peak MB | Velmora/bogofilter |")
    print(f"|{'-' * 50}|--------:|--------:|-----------:|--------:|-------------------:|")
    for key, label in labels.items():
        v = median(x[0] for x in rows[key]["velmora"])
        vp = max(x[1] for x in rows[key]["velmora"])
        b_rows = rows[key]["bogofilter"] or rows["bulk"]["bogofilter"]
        b = median(x[0] for x in b_rows)
        bp = max(x[1] for x in b_rows)
        print(f"| {label:48} | {v:7.0f} | {vp:7.1f} | {b:10.0f} | {bp:7.1f} | {v / b:17.2f}x |")

    # Cost per message against the number of messages.
    flat_dir = work / "flat"
    shutil.rmtree(flat_dir, ignore_errors=True)
    flat_dir.mkdir()
    names = []
    for i in range(args.flat):
        src = held[i % len(held)]
        name = f"{i:05d}.{src.name}"
        with_sender_suffix(src, flat_dir / name, f"+{i // len(held)}")
        names.append(name)
    print("\n| messages classified in one run | µs a message | peak MB |")
    print("|---:|---:|---:|")
    for count in (1000, args.flat):
        user = Velmora(args.velmora, work / "user0", maildir).clone(work / f"flat{count}")
        s, peak, _ = user.cmd("classify", *names[:count], cwd=flat_dir)
        print(f"| {count} | {s / count * 1e6:.0f} | {peak:.1f} |")

    # What each text level catches.
    print("\n| text level | spam moved to Junk | good mail moved to Junk |")
    print("|---:|---:|---:|")
    base = Velmora(args.velmora, work / "user0", maildir)
    for level in range(0, 21):
        user = base.clone(work / "level")
        user.cmd("settings", "--text-level", str(level))
        _, _, out = user.cmd("classify", *held_names, cwd=held_dir)
        caught = verdicts_velmora(out)
        print(f"| {level} (Velmora) | {100 * len(caught & held_spam) / len(held_spam):.1f} % | "
              f"{100 * len(caught - held_spam) / (len(held) - len(held_spam)):.1f} % |")
    caught = verdicts["bogofilter"]
    print(f"| bogofilter (its default cut-off) | "
          f"{100 * len(caught & held_spam) / len(held_spam):.1f} % | "
          f"{100 * len(caught - held_spam) / (len(held) - len(held_spam)):.1f} % |")


if __name__ == "__main__":
    main()
