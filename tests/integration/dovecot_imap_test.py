#!/usr/bin/env python3
"""Velmora on a Maildir served by a real Dovecot, driven by a real IMAP client.

A throwaway Dovecot listens on loopback on a free port over a Maildir in a
temporary folder; mail is delivered with Dovecot's own delivery agent;
`velmora watch` runs on the Maildir as the mailbox's owner; Python's imaplib
plays the user's mail client. Everything started is stopped at the end.

usage: dovecot_imap_test.py VELMORA DEMO_DIR
Exit status 0 passed, 1 failed, 77 skipped (no Dovecot, or not root).
"""

import base64
import imaplib
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

LDA = "/usr/lib/dovecot/dovecot-lda"
SKIP = 77
USER = "testuser"
PASSWORD = "testpass"


def fail(message):
    raise AssertionError(message)


def run_in_scratch(prefix, scenario, failures=(AssertionError,)):
    """Runs scenario(root) in a fresh folder the server's user may enter, and
    reports a failure with the folder's logs. Returns True when it passed."""
    root = tempfile.mkdtemp(prefix=prefix)
    os.chmod(root, 0o755)
    try:
        scenario(root)
        return True
    except failures as error:
        report_failure(root, error)
        return False
    finally:
        shutil.rmtree(root, ignore_errors=True)


def report_failure(root, error):
    """Prints why a scenario failed, with the watcher's and the server's logs."""
    print("FAILED: %s" % error, file=sys.stderr)
    for log in ("watch.log", "dovecot.log"):
        path = os.path.join(root, log)
        if os.path.exists(path):
            with open(path, errors="replace") as f:
                print("--- %s\n%s" % (log, f.read()), file=sys.stderr)


def wait_for(what, predicate, seconds=20):
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        result = predicate()
        if result:
            return result
        time.sleep(0.05)
    fail("timed out waiting for " + what)


def free_port():
    with socket.socket() as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


class DemoMail:
    """The bundled demo messages as raw mail, each with its own Message-ID."""

    def __init__(self, demo_dir):
        self.demo_dir = demo_dir
        self.count = 0

    def raw(self, relative):
        with open(os.path.join(self.demo_dir, relative), encoding="utf-8") as f:
            text = f.read()
        head, _, body = text.partition("\n\n")
        headers = {}
        for line in head.splitlines():
            name, _, value = line.partition(":")
            headers[name.strip().lower()] = value.strip()
        self.count += 1
        message_id = "<demo-%d-%d@velmora.test>" % (os.getpid(), self.count)
        lines = ["From: " + headers["from"], "Subject: " + headers["subject"],
                 "Message-ID: " + message_id, "MIME-Version: 1.0"]
        if "to" in headers:
            lines.append("To: " + headers["to"])
        text_part = ("Content-Type: text/plain; charset=utf-8\r\n"
                     "Content-Transfer-Encoding: 8bit\r\n\r\n"
                     + body.replace("\n", "\r\n"))
        if "attachment" not in headers:
            raw = "\r\n".join(lines) + "\r\n" + text_part
        else:
            name = headers["attachment"]
            with open(os.path.join(self.demo_dir, "pictures", name), "rb") as f:
                picture = base64.encodebytes(f.read()).decode().replace("\n", "\r\n")
            raw = ("\r\n".join(lines) + "\r\n"
                   "Content-Type: multipart/mixed; boundary=\"part\"\r\n\r\n--part\r\n"
                   + text_part + "\r\n--part\r\nContent-Type: image/png; name=\"" + name
                   + "\"\r\nContent-Disposition: attachment; filename=\"" + name
                   + "\"\r\nContent-Transfer-Encoding: base64\r\n\r\n" + picture
                   + "--part--\r\n")
        return message_id, body.strip(), raw.encode("utf-8")


class Dovecot:
    def __init__(self, root, uid, gid):
        self.root = root
        self.port = free_port()
        self.conf = os.path.join(root, "dovecot.conf")
        self.log = os.path.join(root, "dovecot.log")
        home = os.path.join(root, "home")
        with open(os.path.join(root, "passwd"), "w") as f:
            f.write("%s:{PLAIN}%s:%d:%d::%s::\n" % (USER, PASSWORD, uid, gid, home))
        with open(self.conf, "w") as f:
            f.write(f"""
protocols = imap
listen = 127.0.0.1
base_dir = {root}/run
state_dir = {root}/state
instance_name = velmora-test-{self.port}
log_path = {self.log}
ssl = no
disable_plaintext_auth = no
auth_mechanisms = plain login
first_valid_uid = {uid}
mail_location = maildir:{home}/Maildir
lda_mailbox_autocreate = yes
passdb {{
  driver = passwd-file
  args = scheme=PLAIN username_format=%u {root}/passwd
}}
userdb {{
  driver = passwd-file
  args = username_format=%u {root}/passwd
}}
service imap-login {{
  inet_listener imap {{
    address = 127.0.0.1
    port = {self.port}
  }}
  inet_listener imaps {{
    port = 0
  }}
}}
namespace inbox {{
  inbox = yes
  separator = .
  mailbox Junk {{
    special_use = \\Junk
    auto = subscribe
  }}
  mailbox Sent {{
    special_use = \\Sent
    auto = subscribe
  }}
  mailbox Trash {{
    special_use = \\Trash
    auto = subscribe
  }}
}}
""")
        subprocess.run(["dovecot", "-c", self.conf], check=True)

    def deliver(self, raw, folder=None):
        command = [LDA, "-c", self.conf, "-d", USER]
        if folder:
            command += ["-m", folder]
        subprocess.run(command, input=raw, check=True)

    def stop(self):
        subprocess.run(["doveadm", "-c", self.conf, "stop"], check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def errors(self):
        with open(self.log, encoding="utf-8", errors="replace") as f:
            return [line for line in f
                    if re.search(r"\b(Error|Panic|Fatal)\b", line)]


class Client:
    """The user's mail client."""

    def __init__(self, port):
        self.imap = imaplib.IMAP4("127.0.0.1", port)
        self.imap.login(USER, PASSWORD)

    def messages(self, folder):
        """Message-ID -> (uid, subject, flags, body) of every message."""
        typ, _ = self.imap.select(folder)
        if typ != "OK":
            fail("cannot select " + folder)
        typ, data = self.imap.uid("SEARCH", None, "ALL")
        found = {}
        for uid in data[0].split():
            typ, parts = self.imap.uid(
                "FETCH", uid, "(FLAGS BODY.PEEK[HEADER.FIELDS (MESSAGE-ID SUBJECT)] BODY.PEEK[1])")
            if typ != "OK":
                fail("cannot fetch %s in %s: %r" % (uid, folder, parts))
            meta = b"".join(p[0] for p in parts if isinstance(p, tuple)).decode()
            texts = [p[1] for p in parts if isinstance(p, tuple)]
            header = texts[0].decode("utf-8", "replace")
            body = texts[1].decode("utf-8", "replace") if len(texts) > 1 else ""
            message_id = re.search(r"Message-ID:\s*(\S+)", header, re.I).group(1)
            subject = re.search(r"Subject:\s*(.*?)\r?\n", header, re.I).group(1)
            flags = re.search(r"FLAGS \(([^)]*)\)", meta).group(1)
            found[message_id] = (uid.decode(), subject, flags, body)
        return found

    def move(self, folder, message_ids, to):
        mine = self.messages(folder)
        uids = ",".join(mine[m][0] for m in message_ids)
        typ, data = self.imap.uid("MOVE", uids, to)
        if typ != "OK":
            fail("MOVE failed: %r" % data)

    def set_flag(self, folder, message_id, flag):
        mine = self.messages(folder)
        self.imap.uid("STORE", mine[message_id][0], "+FLAGS", flag)

    def close(self):
        try:
            self.imap.logout()
        except Exception:
            pass


def provide_starter_pictures(velmora, data_home, uid, gid):
    """Puts the starter pictures where velmora copies them at its first start.
    Run as the mailbox's owner it may not be able to read the build tree (a
    clone in a folder only root may enter), and would then start without."""
    folder = os.path.dirname(os.path.abspath(velmora))
    while folder != os.path.dirname(folder):
        shipped = os.path.join(folder, "share", "velmora", "defaultpicdata.dat")
        if os.path.isfile(shipped):
            target = os.path.join(data_home, "CORVANELSPAM", "spamdata")
            os.makedirs(target, exist_ok=True)
            shutil.copyfile(shipped, os.path.join(target, "defaultpicdata.dat"))
            for at, _, files in os.walk(data_home):
                os.chown(at, uid, gid)
                for name in files:
                    os.chown(os.path.join(at, name), uid, gid)
            return
        folder = os.path.dirname(folder)


class Watcher:
    """`velmora watch` run as the mailbox's owner."""

    def __init__(self, velmora, root, uid, gid, maildir):
        self.log_path = os.path.join(root, "watch.log")
        home = os.path.join(root, "home")
        self.env = dict(os.environ, HOME=home, XDG_DATA_HOME=home + "/data",
                        XDG_CONFIG_HOME=home + "/config", XDG_RUNTIME_DIR=root + "/xdg")
        self.as_owner = ["setpriv", "--reuid=%d" % uid, "--regid=%d" % gid, "--clear-groups"]
        self.velmora = velmora
        provide_starter_pictures(velmora, home + "/data", uid, gid)
        self.maildir = maildir
        self.process = None

    def run(self, *arguments):
        return subprocess.run(self.as_owner + [self.velmora, *arguments, "--maildir",
                                                self.maildir],
                              env=self.env, capture_output=True, text=True, check=False,
                              stdin=subprocess.DEVNULL)

    def start(self):
        self.log = open(self.log_path, "w")
        self.process = subprocess.Popen(
            self.as_owner + [self.velmora, "watch", "--maildir", self.maildir],
            env=self.env, stdout=self.log, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        wait_for("the watcher to start", lambda: "watching" in self.output())

    def output(self):
        with open(self.log_path, encoding="utf-8", errors="replace") as f:
            return f.read()

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                return self.process.wait(20)
            except subprocess.TimeoutExpired:
                self.process.kill()
                return None
        return self.process.returncode if self.process else None


def data_file(root, name):
    path = os.path.join(root, "home", "data", "CORVANELSPAM", "spamdata", name)
    with open(path, "rb") as f:
        return f.read()


def scenario(root, velmora, demo_dir):
    uid, gid = 65534, 65534  # nobody: Dovecot serves no mail as root
    home = os.path.join(root, "home")
    maildir = os.path.join(home, "Maildir")
    for path in (home, maildir, root + "/xdg"):
        os.makedirs(path, exist_ok=True)
        os.chown(path, uid, gid)
    os.chmod(root + "/xdg", 0o700)
    dovecot = Dovecot(root, uid, gid)
    watcher = Watcher(velmora, root, uid, gid, maildir)
    client = None
    try:
        mail = DemoMail(demo_dir)
        expected = {}  # Message-ID -> body text

        def deliver(relative, folder=None):
            message_id, body, raw = mail.raw(relative)
            dovecot.deliver(raw, folder)
            expected[message_id] = body
            return message_id

        # What the user has: spam in Junk, mail of theirs in Work, sent mail.
        for name in sorted(os.listdir(os.path.join(demo_dir, "learn", "spam"))):
            deliver("learn/spam/" + name, "Junk")
        for name in sorted(os.listdir(os.path.join(demo_dir, "learn", "good"))):
            deliver("learn/good/" + name, "Work")
        for name in sorted(os.listdir(os.path.join(demo_dir, "sent"))):
            deliver("sent/" + name, "Sent")
        client = Client(dovecot.port)
        client.messages("Junk")  # the server makes its folders on first use

        built = watcher.run("build")
        if built.returncode != 0:
            fail("velmora build failed: " + built.stdout + built.stderr)
        watcher.start()

        # New spam: tagged, in Junk, and the client sees it there.
        pills = deliver("incoming/01-pills-again.txt")
        junk = wait_for("the spam in Junk", lambda: pills in client.messages("Junk")
                        and client.messages("Junk"))
        subject = junk[pills][1]
        if not subject.startswith("{S:"):
            fail("spam not tagged: " + subject)
        if pills in client.messages("INBOX"):
            fail("spam also left in the Inbox")

        # Good mail stays; moved into Junk by the user, it is learnt as spam.
        news = deliver("incoming/04-newsletter.txt")
        wait_for("the newsletter judged", lambda: "news@library.example" in watcher.output())
        if news not in client.messages("INBOX"):
            fail("good mail left the Inbox")
        client.move("INBOX", [news], "Junk")
        wait_for("the newsletter learnt",
                 lambda: b"news@library.example" in data_file(root, "txtdata.dat"))

        # Spam taken out of Junk loses its tag and its sender is trusted.
        client.set_flag("Junk", pills, "\\Seen")
        client.move("Junk", [pills], "INBOX")
        wait_for("the tag removed", lambda: pills in client.messages("INBOX")
                 and not client.messages("INBOX")[pills][1].startswith("{"))
        wait_for("the sender trusted",
                 lambda: b"sales@pharma-deals.example" in data_file(root, "trusteml.dat"))
        if "\\Seen" not in client.messages("INBOX")[pills][2]:
            fail("the rewritten message lost its flags")

        # Three messages moved together are one action.
        three = [deliver("learn/spam/02-lottery.txt", "Work"),
                 deliver("learn/spam/03-loan.txt", "Work"),
                 deliver("incoming/03-casino.txt", "Work")]
        client.move("Work", three, "Junk")
        wait_for("one action of three",
                 lambda: re.search(r"moved by the user: Work -> Junk: [^\n]*;[^\n]*;",
                                   watcher.output()))

        # Moved into Junk and straight back: two moves.
        colleague = deliver("incoming/02-colleague.txt")
        wait_for("the colleague's mail judged",
                 lambda: "anna.berg@work.example" in watcher.output())
        client.move("INBOX", [colleague], "Junk")
        client.move("Junk", [colleague], "INBOX")
        wait_for("the move back",
                 lambda: re.search(r"Inbox -> Junk: Budget sheet[^\n]*\n(.*\n)*.*"
                                   r"Junk -> Inbox: Budget sheet", watcher.output()))
        time.sleep(1)  # anything late would show now

        # Every message exactly once, whole.
        seen = {}
        for folder in ("INBOX", "Junk", "Sent", "Trash", "Work"):
            for message_id, (_, _, _, body) in client.messages(folder).items():
                if message_id in seen:
                    fail("%s is in %s and %s" % (message_id, seen[message_id], folder))
                seen[message_id] = folder
                if expected[message_id].split("\n")[0] not in body:
                    fail("%s lost its body in %s" % (message_id, folder))
        missing = set(expected) - set(seen)
        if missing:
            fail("lost: %s" % sorted(missing))
        if client.messages("INBOX").keys() != {news, pills, colleague} - {news}:
            fail("Inbox holds %s" % sorted(client.messages("INBOX")))

        code = watcher.stop()
        if code != 0 or "stopped" not in watcher.output():
            fail("watch ended with %r" % code)
        errors = dovecot.errors()
        if errors:
            fail("Dovecot logged errors:\n" + "".join(errors))
        print(watcher.output())
    finally:
        if client:
            client.close()
        watcher.stop()
        dovecot.stop()


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    if os.geteuid() != 0 or not shutil.which("dovecot") or not os.path.exists(LDA):
        print("skipped: needs root and Dovecot (dovecot-imapd)")
        return SKIP
    velmora, demo_dir = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    if not run_in_scratch("velmora-dovecot-", lambda root: scenario(root, velmora, demo_dir)):
        return 1
    print("passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
