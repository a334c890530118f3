#!/usr/bin/env python3
"""`velmora watch --imap` against a real Dovecot, with a real second client.

A throwaway Dovecot listens on loopback on free ports, with implicit TLS and
STARTTLS, its certificate issued by a CA made for the test with openssl.
Velmora watches the account over IMAP; Python's imaplib plays the user's mail
client on another device. The scenario runs twice: once with CONDSTORE and
QRESYNC, once with a server that offers neither (and Velmora over STARTTLS).
Everything started is stopped at the end.

usage: dovecot_imap_host_test.py VELMORA DEMO_DIR
Exit status 0 passed, 1 failed, 77 skipped (no Dovecot or openssl, or not root).
"""

import ctypes
import imaplib
import os
import re
import select
import shutil
import signal
import socket
import ssl
import struct
import subprocess
import sys
import threading
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from dovecot_imap_test import (LDA, SKIP, DemoMail, fail, free_port,  # noqa: E402
                               run_in_scratch, wait_for)

USER = "testuser"
PASSWORD = "testpass"
# What Dovecot 2.3 offers after login, less CONDSTORE and QRESYNC.
PLAIN_CAPABILITIES = (
    "IMAP4rev1 SASL-IR LOGIN-REFERRALS ID ENABLE IDLE SORT SORT=DISPLAY THREAD=REFERENCES "
    "THREAD=REFS THREAD=ORDEREDSUBJECT MULTIAPPEND URL-PARTIAL CATENATE UNSELECT CHILDREN "
    "NAMESPACE UIDPLUS LIST-EXTENDED I18NLEVEL=1 ESEARCH ESORT SEARCHRES WITHIN CONTEXT=SEARCH "
    "LIST-STATUS BINARY MOVE SNIPPET=FUZZY PREVIEW=FUZZY PREVIEW STATUS=SIZE SAVEDATE LITERAL+ "
    "SPECIAL-USE")


def openssl(*arguments):
    subprocess.run(["openssl", *arguments], check=True, capture_output=True)


def make_certificates(root):
    """A test CA, a server certificate for localhost issued by it, and a
    second CA nobody trusts."""
    paths = {name: os.path.join(root, name) for name in
             ("ca.pem", "ca.key", "cert.pem", "key.pem", "csr.pem", "ext.cnf", "other-ca.pem",
              "other-ca.key")}
    openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
            "-subj", "/CN=Velmora Test CA", "-keyout", paths["ca.key"], "-out", paths["ca.pem"])
    openssl("req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2",
            "-subj", "/CN=Somebody Else's CA", "-keyout", paths["other-ca.key"],
            "-out", paths["other-ca.pem"])
    openssl("req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=localhost",
            "-keyout", paths["key.pem"], "-out", paths["csr.pem"])
    with open(paths["ext.cnf"], "w") as f:
        f.write("subjectAltName=DNS:localhost\n")
    openssl("x509", "-req", "-in", paths["csr.pem"], "-CA", paths["ca.pem"],
            "-CAkey", paths["ca.key"], "-CAcreateserial", "-days", "2",
            "-extfile", paths["ext.cnf"], "-out", paths["cert.pem"])
    return paths


class Dovecot:
    def __init__(self, root, uid, gid, certificates, qresync):
        self.root = root
        self.port = free_port()      # STARTTLS
        self.tls_port = free_port()  # implicit TLS
        self.conf = os.path.join(root, "dovecot.conf")
        self.log = os.path.join(root, "dovecot.log")
        self.home = os.path.join(root, "home")
        with open(os.path.join(root, "passwd"), "w") as f:
            f.write("%s:{PLAIN}%s:%d:%d::%s::\n" % (USER, PASSWORD, uid, gid, self.home))
        capabilities = "" if qresync else "imap_capability = " + PLAIN_CAPABILITIES
        with open(self.conf, "w") as f:
            f.write(f"""
protocols = imap
listen = 127.0.0.1
base_dir = {root}/run
state_dir = {root}/state
instance_name = velmora-host-test-{self.port}
log_path = {self.log}
ssl = required
ssl_cert = <{certificates["cert.pem"]}
ssl_key = <{certificates["key.pem"]}
auth_mechanisms = plain login
first_valid_uid = {uid}
mail_location = maildir:{self.home}/Maildir
lda_mailbox_autocreate = yes
{capabilities}
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
    address = 127.0.0.1
    port = {self.tls_port}
    ssl = yes
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

    def kick(self):
        """Drops every session of the user, as a server restart would."""
        subprocess.run(["doveadm", "-c", self.conf, "kick", USER], check=True,
                       capture_output=True)

    def stop(self):
        subprocess.run(["doveadm", "-c", self.conf, "stop"], check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)


class Client:
    """The user's mail client on another device, over TLS."""

    def __init__(self, dovecot, ca_file):
        context = ssl.create_default_context(cafile=ca_file)
        self.imap = imaplib.IMAP4_SSL("localhost", dovecot.tls_port, ssl_context=context)
        self.imap.login(USER, PASSWORD)

    def messages(self, folder):
        """Message-ID -> (uid, subject, flags) of every message."""
        typ, _ = self.imap.select(folder)
        if typ != "OK":
            fail("cannot select " + folder)
        typ, data = self.imap.uid("SEARCH", None, "ALL")
        found = {}
        if not data[0]:
            return found
        typ, parts = self.imap.uid(
            "FETCH", b",".join(data[0].split()).decode(),
            "(UID FLAGS BODY.PEEK[HEADER.FIELDS (MESSAGE-ID SUBJECT)])")
        for part in parts:
            if not isinstance(part, tuple):
                continue
            meta, header = part[0].decode(), part[1].decode("utf-8", "replace")
            message_id = re.search(r"Message-ID:\s*(\S+)", header, re.I).group(1)
            subject = re.search(r"Subject:\s*(.*?)\r?\n", header, re.I).group(1)
            flags = re.search(r"FLAGS \(([^)]*)\)", meta).group(1)
            uid = re.search(r"UID (\d+)", meta).group(1)
            found[message_id] = (uid, subject, flags)
        return found

    def move(self, folder, message_ids, to):
        mine = self.messages(folder)
        uids = ",".join(mine[m][0] for m in message_ids)
        typ, data = self.imap.uid("MOVE", uids, to)
        if typ != "OK":
            fail("MOVE failed: %r" % data)

    def delete(self, folder, message_id):
        """A hard delete: \\Deleted and EXPUNGE of that message alone."""
        mine = self.messages(folder)
        self.imap.uid("STORE", mine[message_id][0], "+FLAGS", "(\\Deleted)")
        self.imap.uid("EXPUNGE", mine[message_id][0])

    def set_flag(self, folder, message_id, flag):
        mine = self.messages(folder)
        self.imap.uid("STORE", mine[message_id][0], "+FLAGS", flag)

    def close(self):
        try:
            self.imap.logout()
        except Exception:
            pass


class FileWrites:
    """Counts the times a file in a folder is written (inotify, through libc)."""
    IN_CLOSE_WRITE, IN_MOVED_TO = 0x8, 0x80

    def __init__(self, folder, name):
        self.libc = ctypes.CDLL("libc.so.6", use_errno=True)
        self.fd = self.libc.inotify_init1(os.O_NONBLOCK)
        self.libc.inotify_add_watch(self.fd, folder.encode(),
                                    self.IN_CLOSE_WRITE | self.IN_MOVED_TO)
        self.name = name.encode()

    def count(self):
        writes = 0
        while True:
            try:
                data = os.read(self.fd, 65536)
            except BlockingIOError:
                return writes
            at = 0
            while at < len(data):
                _, mask, _, size = struct.unpack_from("iIII", data, at)
                name = data[at + 16:at + 16 + size].rstrip(b"\0")
                if name == self.name:
                    writes += 1
                at += 16 + size

    def close(self):
        os.close(self.fd)


class FaultyProxy:
    """A TLS proxy on loopback between velmora and Dovecot's implicit TLS port
    that fails what the test asks for, on the message with a given Message-ID:
      - ("no", id): the FETCH of the whole message is answered NO, as by a
        server that cannot read it for now;
      - ("cut", id): the connection is cut in the middle of the message's
        literal;
      - ("hold append", id): the server's OK to the APPEND of a message is
        kept back, so that the test can kill the watcher between the APPEND
        and the EXPUNGE of a subject rewrite (`append_held` is set then);
      - ("cut after expunge", ""): the next UID EXPUNGE is carried out by the
        server, but the connection is cut before its answer comes back.
    Each fault is used once, in the order given. Everything else passes
    through unchanged, one logical line (with its literals) at a time."""

    LITERAL = re.compile(rb"\{(\d+)\+?\}\r\n$")

    def __init__(self, dovecot, certificates):
        self.upstream_port = dovecot.tls_port
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.server_tls = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        self.server_tls.load_cert_chain(certificates["cert.pem"], certificates["key.pem"])
        self.client_tls = ssl.create_default_context(cafile=certificates["ca.pem"])
        self.faults = []
        self.lock = threading.Lock()
        self.append_held = threading.Event()
        self.sockets = []
        self.stopped = False
        threading.Thread(target=self.accept, daemon=True).start()

    def stop(self):
        self.stopped = True
        self.listener.close()
        with self.lock:
            for s in self.sockets:
                try:
                    s.close()
                except OSError:
                    pass

    def take_fault(self, kind, data):
        with self.lock:
            for at, (fault, message_id) in enumerate(self.faults):
                if fault == kind and message_id.encode() in data:
                    del self.faults[at]
                    return True
        return False

    def accept(self):
        while not self.stopped:
            try:
                connection, _ = self.listener.accept()
            except OSError:
                return
            threading.Thread(target=self.serve, args=(connection,), daemon=True).start()

    def serve(self, connection):
        try:
            client = self.server_tls.wrap_socket(connection, server_side=True)
            server = self.client_tls.wrap_socket(
                socket.create_connection(("127.0.0.1", self.upstream_port)),
                server_hostname="localhost")
        except (OSError, ssl.SSLError):
            connection.close()
            return
        with self.lock:
            self.sockets += [client, server]
        # One thread per connection, reading whichever side has data: an SSL
        # socket must not be read and written from two threads at once.
        state = {"from client": bytearray(), "from server": bytearray(),
                 "client literal": 0, "append": None, "append tag": None, "fail tag": False,
                 "cut tag": None}
        try:
            while not self.stopped:
                ready, _, _ = select.select([client, server], [], [], 0.5)
                for side in ready:
                    while True:
                        data = side.recv(65536)
                        if not data:
                            return
                        if side is client:
                            state["from client"] += data
                            self.from_client(state, server)
                        else:
                            state["from server"] += data
                            if not self.from_server(state, client):
                                return
                        if not side.pending():
                            break
        except (OSError, ssl.SSLError):
            pass
        finally:
            client.close()
            server.close()

    def from_client(self, state, server):
        """Passes on what velmora sent, line by line; a literal is passed on
        as it comes (a synchronising one waits for the server's +)."""
        buffer = state["from client"]
        while buffer:
            if state["client literal"]:
                part = bytes(buffer[:state["client literal"]])
                del buffer[:len(part)]
                state["client literal"] -= len(part)
                if state["append"] is not None:
                    state["append"] += part
                    if not state["client literal"]:
                        if self.take_fault("hold append", state["append"]):
                            state["append tag"] = state["append command"]
                        state["append"] = None
                server.sendall(part)
                continue
            end = buffer.find(b"\r\n")
            if end < 0:
                return
            line = bytes(buffer[:end + 2])
            del buffer[:end + 2]
            words = line.split(b" ", 2)
            if (len(words) > 2 and words[1].upper() == b"UID" and
                    words[2].upper().startswith(b"EXPUNGE") and
                    self.take_fault("cut after expunge", line)):
                state["cut tag"] = words[0]
            literal = self.LITERAL.search(line)
            if literal:
                state["client literal"] = int(literal.group(1))
                words = line.split(b" ", 2)
                if len(words) > 1 and words[1].upper() == b"APPEND":
                    state["append"], state["append command"] = b"", words[0]
            server.sendall(line)

    def from_server(self, state, client):
        """Passes on each whole response from Dovecot, failing the ones asked
        for. False when the connection is to be cut."""
        buffer = state["from server"]
        while True:
            # A response is a line, and where it ends in a literal, the
            # literal and the rest after it.
            at, literals = 0, []
            while True:
                end = buffer.find(b"\r\n", at)
                if end < 0:
                    return True
                literal = self.LITERAL.search(bytes(buffer[at:end + 2]))
                if not literal:
                    break
                size = int(literal.group(1))
                if len(buffer) < end + 2 + size:
                    return True
                literals.append((end + 2, size))
                at = end + 2 + size
            response = bytes(buffer[:end + 2])
            del buffer[:end + 2]
            tag = response.split(b" ", 1)[0]
            if literals and b" FETCH " in response[:40] and b"BODY[] {" in response:
                if self.take_fault("cut", response):
                    start, size = literals[-1]
                    client.sendall(response[:start + size // 2])
                    return False
                if self.take_fault("no", response):
                    state["fail tag"] = True
                    continue
            if tag == state["cut tag"]:
                return False
            if tag not in (b"*", b"+"):
                if state["fail tag"]:
                    state["fail tag"] = False
                    response = tag + b" NO [SERVERBUG] Internal error occurred.\r\n"
                elif tag == state["append tag"]:
                    self.append_held.set()
                    continue
            client.sendall(response)


class Watcher:
    """`velmora watch` on the account, and the other velmora commands."""

    def __init__(self, velmora, root):
        self.velmora = velmora
        self.log_path = os.path.join(root, "watch.log")
        home = os.path.join(root, "user")
        os.makedirs(home, exist_ok=True)
        self.env = dict(os.environ, HOME=home, XDG_DATA_HOME=home + "/data",
                        XDG_CONFIG_HOME=home + "/config", XDG_RUNTIME_DIR=root + "/xdg")
        self.process = None
        self.runs = 0

    def run(self, *arguments):
        return subprocess.run([self.velmora, *arguments], env=self.env, capture_output=True,
                              text=True, check=False, stdin=subprocess.DEVNULL, timeout=120)

    def start(self, *arguments):
        self.runs += 1
        self.log = open(self.log_path, "a")
        self.log.write("=== run %d\n" % self.runs)
        self.log.flush()
        self.process = subprocess.Popen(
            [self.velmora, "watch", "--headless", *arguments], env=self.env, stdout=self.log,
            stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        wait_for("the watcher to start",
                 lambda: re.search(r"^watching ", self.this_run(), re.M) or self.ended(), 60)
        if self.ended():
            fail("velmora watch ended at its start:\n" + self.this_run())

    def ended(self):
        return self.process.poll() is not None

    def output(self):
        with open(self.log_path, encoding="utf-8", errors="replace") as f:
            return f.read()

    def this_run(self):
        return self.output().rpartition("=== run %d\n" % self.runs)[2]

    def count(self, pattern):
        return len(re.findall(pattern, self.this_run(), re.M))

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.send_signal(signal.SIGTERM)
            try:
                code = self.process.wait(30)
            except subprocess.TimeoutExpired:
                self.process.kill()
                code = None
            self.log.close()
            return code
        return self.process.returncode if self.process else None


def data_path(watcher, name=""):
    return os.path.join(watcher.env["XDG_DATA_HOME"], "CORVANELSPAM", "spamdata", name)


def data_file(watcher, name):
    with open(data_path(watcher, name), "rb") as f:
        return f.read()


def timed(what, since, predicate, seconds=30):
    wait_for(what, predicate, seconds)
    milliseconds = (time.monotonic() - since) * 1000
    print("latency: %s: %.0f ms" % (what, milliseconds))
    return milliseconds


def personal_message(mail, sender, subject, body):
    """A plain message of no likeness to the demo's spam, as (Message-ID, raw)."""
    mail.count += 1
    message_id = "<own-%d-%d@velmora.test>" % (os.getpid(), mail.count)
    raw = ("From: %s\r\nSubject: %s\r\nMessage-ID: %s\r\nMIME-Version: 1.0\r\n"
           "Content-Type: text/plain; charset=utf-8\r\n\r\n%s"
           % (sender, subject, message_id, body))
    return message_id, raw.encode("utf-8")


def copies(client, message_id):
    """Subject of every copy of a message in the Inbox and Junk."""
    found = []
    for folder in ("INBOX", "Junk"):
        client.imap.select(folder)
        typ, data = client.imap.uid("SEARCH", None, "HEADER", "Message-ID", message_id)
        for uid in data[0].split():
            typ, parts = client.imap.uid("FETCH", uid.decode(),
                                         "(BODY.PEEK[HEADER.FIELDS (SUBJECT)])")
            found.append(parts[0][1].decode("utf-8", "replace").strip())
    return found


def faults(watcher, proxy, client, dovecot, mail, password_file, certificates):
    """The watcher through a proxy that fails what it is told to."""
    watcher.start("--imap", "imaps://%s@localhost:%d" % (USER, proxy.port),
                  "--password-file", password_file, "--ca-file", certificates["ca.pem"])

    # A message the server cannot hand out for a while: told by folder and
    # UID, asked again later, and judged once it comes; the watch goes on.
    seedlings = personal_message(mail, "ines@garden.example", "Seedlings",
                                 "The tomato seedlings are ready to be picked up.\r\n")
    proxy.faults = [("no", seedlings[0]), ("no", seedlings[0])]
    dovecot.deliver(seedlings[1])
    wait_for("the refused message judged at last",
             lambda: watcher.count(r"new mail from ines@garden\.example"), 30)
    for wait in ("1", "2"):
        told = (r"^\S+ Inbox: message UID \d+ could not be fetched \(NO \[SERVERBUG\] Internal "
                r"error occurred\.\); asked again in %s s$" % wait)
        if watcher.count(told) != 1:
            fail("a refused FETCH, not told as %r:\n%s" % (told, watcher.this_run()))

    # The connection cut in the middle of the message: fetched again after
    # the reconnect.
    bread = personal_message(mail, "otto@bakery.example", "Bread order",
                             "Two rye loaves for Saturday morning, please.\r\n" * 200)
    proxy.faults = [("cut", bread[0])]
    dovecot.deliver(bread[1])
    wait_for("the message cut short judged at last",
             lambda: watcher.count(r"new mail from otto@bakery\.example"), 30)
    if not watcher.count(r"^\S+ Inbox: message UID \d+ could not be fetched \(the connection "
                         r"was lost\); fetched again once connected$"):
        fail("a FETCH cut short, not told:\n" + watcher.this_run())
    time.sleep(2)  # anything twice would show now
    for sender in ("ines@garden", "otto@bakery"):
        if watcher.count(r"new mail from %s" % sender) != 1:
            fail("%s judged %d times" % (sender, watcher.count(r"new mail from %s" % sender)))
    if proxy.faults or watcher.ended():
        fail("faults left %r, watcher ended: %r" % (proxy.faults, watcher.ended()))

    # Killed between the APPEND of a rewritten message and the EXPUNGE of
    # the old one: both copies are on the server; the next start removes the
    # old one and keeps the rewritten one, judging nothing again.
    lottery = mail.raw("learn/spam/02-lottery.txt")
    proxy.faults = [("hold append", lottery[0])]
    dovecot.deliver(lottery[2])
    wait_for("the APPEND of the rewrite", proxy.append_held.is_set, 30)
    watcher.process.kill()
    watcher.process.wait()
    watcher.log.close()
    left = copies(client, lottery[0])
    if len(left) != 2:
        fail("after the kill, the rewritten message is there as %r, not twice" % left)
    watcher.start("--imap", "imaps://%s@localhost:%d" % (USER, proxy.port),
                  "--password-file", password_file, "--ca-file", certificates["ca.pem"])
    wait_for("the old copy removed",
             lambda: watcher.count(r"removed the old copy of a message whose subject rewrite "
                                   r"was interrupted"), 30)
    time.sleep(2)
    left = copies(client, lottery[0])
    if len(left) != 1 or not re.match(r"Subject: \{S:\d+%\} You are a WINNER", left[0]):
        fail("after the restart, the rewritten message is there as %r" % left)
    if watcher.count(r"claims@global-lotto|copied into|moved by the user|gone from"):
        fail("the finished rewrite was told as something else:\n" + watcher.this_run())

    # The connection cut after the server carried out the EXPUNGE of a
    # rewrite's old message, before its answer came: the rewritten copy is
    # the message now and is never removed as well.
    loan = mail.raw("learn/spam/03-loan.txt")
    proxy.faults = [("cut after expunge", "")]
    dovecot.deliver(loan[2])
    wait_for("the cut after the EXPUNGE", lambda: not proxy.faults, 30)
    wait_for("the rewritten loan offer in Junk, once",
             lambda: [s for s in copies(client, loan[0]) if s.startswith("Subject: {S:")], 30)
    time.sleep(2)
    left = copies(client, loan[0])
    if len(left) != 1:
        fail("after the cut, the rewritten message is there as %r" % left)
    code = watcher.stop()
    if code != 0 or "stopped" not in watcher.this_run():
        fail("watch ended with %r" % code)


def scenario(root, velmora, demo_dir, qresync):
    uid, gid = 65534, 65534  # nobody: Dovecot serves no mail as root
    os.makedirs(root + "/xdg", mode=0o700, exist_ok=True)
    home = os.path.join(root, "home")
    os.makedirs(home, exist_ok=True)
    os.chown(home, uid, gid)
    certificates = make_certificates(root)
    dovecot = Dovecot(root, uid, gid, certificates, qresync)
    watcher = Watcher(velmora, root)
    client = None
    writes = None
    mode = "with QRESYNC" if qresync else "without CONDSTORE/QRESYNC, STARTTLS"
    print("--- %s" % mode)
    try:
        mail = DemoMail(demo_dir)

        def deliver(relative, folder=None):
            message_id, _, raw = mail.raw(relative)
            dovecot.deliver(raw, folder)
            return message_id

        for name in sorted(os.listdir(os.path.join(demo_dir, "learn", "spam"))):
            deliver("learn/spam/" + name, "Junk")
        for name in sorted(os.listdir(os.path.join(demo_dir, "learn", "good"))):
            deliver("learn/good/" + name, "Work")
        for name in sorted(os.listdir(os.path.join(demo_dir, "sent"))):
            deliver("sent/" + name, "Sent")
        client = Client(dovecot, certificates["ca.pem"])
        for folder in ("INBOX", "Junk", "Sent", "Trash"):
            client.messages(folder)  # the server makes its folders on first use

        # Accounts: the password only from a file of the user's own.
        password_file = os.path.join(root, "password")
        with open(password_file, "w") as f:
            f.write(PASSWORD + "\n")
        os.chmod(password_file, 0o644)
        scheme, port = ("imaps", dovecot.tls_port) if qresync else ("imap", dovecot.port)
        url = "%s://%s@localhost:%d" % (scheme, USER, port)
        account = ["--imap", url, "--password-file", password_file,
                   "--ca-file", certificates["ca.pem"]]
        result = watcher.run("account", "add", *account)
        if result.returncode == 0 or "readable by you alone" not in result.stderr:
            fail("a password file others may read was taken: %r" % (result,))
        os.chmod(password_file, 0o600)
        wrong_file = os.path.join(root, "wrong-password")
        with open(wrong_file, "w") as f:
            f.write("not the password\n")
        os.chmod(wrong_file, 0o600)
        result = watcher.run("account", "test", "--imap", url, "--password-file", wrong_file,
                             "--ca-file", certificates["ca.pem"])
        if result.returncode != 3 or "refused the login of testuser" not in result.stderr:
            fail("a wrong password: %r" % (result,))
        result = watcher.run("account", "test", "--imap", url, "--password-file", password_file)
        if result.returncode != 3 or "not trusted here" not in result.stderr:
            fail("a certificate from an unknown CA: %r" % (result,))
        result = watcher.run("account", "test", "--imap", url, "--password-file", password_file,
                             "--ca-file", certificates["other-ca.pem"])
        if result.returncode != 3 or "not trusted here" not in result.stderr:
            fail("a certificate from another CA: %r" % (result,))
        result = watcher.run("account", "test", "--imap",
                             "%s://%s@127.0.0.1:%d" % (scheme, USER, port),
                             "--password-file", password_file, "--ca-file", certificates["ca.pem"])
        if result.returncode != 3 or "the certificate is for localhost, not 127.0.0.1" \
                not in result.stderr:
            fail("a certificate for another name: %r" % (result,))
        result = watcher.run("account", "add", *account)
        if result.returncode != 0 or "Junk:  Junk" not in result.stdout:
            fail("account add: %r" % (result,))
        print(result.stdout.strip())
        result = watcher.run("account", "test")
        if result.returncode != 0 or ("QRESYNC" in result.stdout) != qresync:
            fail("account test: %r" % (result,))

        built = watcher.run("build", "--maildir", os.path.join(home, "Maildir"))
        if built.returncode != 0:
            fail("velmora build failed: " + built.stdout + built.stderr)
        watcher.start()
        writes = FileWrites(data_path(watcher), "txtdata.dat")

        # New spam: judged, tagged and in Junk.
        since = time.monotonic()
        pills = deliver("incoming/01-pills-again.txt")
        timed("delivery -> spam in Junk", since,
              lambda: pills in client.messages("Junk")
              and client.messages("Junk")[pills][1].startswith("{S:"))
        if pills in client.messages("INBOX"):
            fail("spam also left in the Inbox")

        # Good mail stays; moved into Junk by the user, it is learnt as spam.
        news = deliver("incoming/04-newsletter.txt")
        wait_for("the newsletter judged", lambda: watcher.count(r"news@library\.example.*kept"))
        since = time.monotonic()
        client.move("INBOX", [news], "Junk")
        timed("move into Junk -> learnt as spam", since,
              lambda: b"news@library.example" in data_file(watcher, "txtdata.dat")
              and watcher.count(r"Inbox -> Junk: New books"))

        # Out of Junk: the tag goes, the sender is trusted, flags are kept.
        client.set_flag("Junk", pills, "\\Seen")
        since = time.monotonic()
        client.move("Junk", [pills], "INBOX")
        timed("move out of Junk -> sender trusted", since,
              lambda: b"sales@pharma-deals.example" in data_file(watcher, "trusteml.dat"))
        wait_for("the tag removed", lambda: pills in client.messages("INBOX")
                 and not client.messages("INBOX")[pills][1].startswith("{"))
        if "\\Seen" not in client.messages("INBOX")[pills][2]:
            fail("the rewritten message lost its flags")

        # Three moved together: one action. The text table is written once by
        # the Inbox's removal handler (the whole selection at once) and once
        # when Junk's additions have counted the selection off; split into
        # three actions it would be written six times.
        three = [deliver("learn/good/01-meeting.txt"), deliver("learn/good/02-family.txt"),
                 deliver("incoming/02-colleague.txt")]
        wait_for("the three judged", lambda: watcher.count(r"^\S+ new mail from") >= 5)
        writes.count()
        client.move("INBOX", three, "Junk")
        wait_for("one action of three",
                 lambda: re.search(r"moved by the user: Inbox -> Junk: [^\n]*;[^\n]*;",
                                   watcher.this_run()))
        time.sleep(1)
        written = writes.count()
        if written != 2:
            fail("txtdata.dat written %d times for one action, not twice" % written)

        # The server drops every session mid-IDLE; what happens meanwhile
        # is caught up after the reconnect.
        dovecot.kick()
        client.close()
        client = Client(dovecot, certificates["ca.pem"])  # kicked too
        casino = deliver("incoming/03-casino.txt")
        client.move("Junk", [three[0]], "INBOX")
        wait_for("the reconnect", lambda: watcher.count(r"connected again") >= 3, 30)
        wait_for("the delivery during the drop judged",
                 lambda: watcher.count(r"new mail from vip@lucky-spins\.example"))
        wait_for("the move during the drop",
                 lambda: watcher.count(r"Junk -> Inbox: Project meeting"), 20)

        # Stopped; meanwhile a delivery, a move and a hard delete; started
        # again: exactly those, once each.
        code = watcher.stop()
        if code != 0:
            fail("watch ended with %r" % code)
        sale = deliver("incoming/05-sale-again.txt")
        client.move("INBOX", [three[0]], "Junk")
        client.delete("INBOX", three[1]) if three[1] in client.messages("INBOX") else \
            client.delete("Junk", three[1])
        since = time.monotonic()
        watcher.start()
        wait_for("the replay", lambda: watcher.count(r"new mail from") >= 1
                 and watcher.count(r"moved by the user") >= 1
                 and watcher.count(r"gone from") >= 1, 30)
        print("latency: restart -> replay done: %.0f ms" % ((time.monotonic() - since) * 1000))
        time.sleep(3)  # anything twice would show now
        expected = {r"new mail from": 1, r"moved by the user: (Junk -> Inbox|Inbox -> Junk)": 1,
                    r"gone from": 1, r"copied into": 0}
        for pattern, times in expected.items():
            if watcher.count(pattern) != times:
                fail("after the restart, %r %d times, not %d:\n%s"
                     % (pattern, watcher.count(pattern), times, watcher.this_run()))
        if sale not in client.messages("Junk") and sale not in client.messages("INBOX"):
            fail("the delivery while stopped was lost")

        # A watched folder deleted on the server: told, and the rest goes on.
        client.imap.select("INBOX")
        client.imap.delete("Trash")
        crypto = deliver("incoming/06-crypto-tip.txt")
        wait_for("mail after the folder was deleted",
                 lambda: watcher.count(r"new mail from.*") >= 2, 30)
        if watcher.ended():
            fail("the watcher ended when Trash was deleted:\n" + watcher.this_run())
        if crypto not in client.messages("INBOX") and crypto not in client.messages("Junk"):
            fail("lost a message after the folder was deleted")

        # Two clients at the same moment: one rescues good mail from Junk,
        # the other files a message from the Inbox into Junk. Done while the
        # watcher is stopped, so that the restart sees all four halves at once:
        # two actions, the rescued sender trusted, the other not.
        rescued = personal_message(mail, "lena@choir.example", "Choir practice",
                                   "Practice moves to the small hall on Wednesday.\r\n"
                                   "Bring your folder with the new pieces.\r\n")
        dovecot.deliver(rescued[1], "Junk")
        wait_for("the rescued message copied into Junk",
                 lambda: watcher.count(r"copied into Junk: Choir practice"))
        unwanted = personal_message(mail, "desk@catalogue.example", "Quarterly catalogue",
                                    "Your quarterly catalogue of garden furniture is ready.\r\n"
                                    "Reply if you want a printed copy.\r\n")
        dovecot.deliver(unwanted[1])
        wait_for("the unwanted message judged",
                 lambda: watcher.count(r"new mail from desk@catalogue\.example.*kept"))
        code = watcher.stop()
        if code != 0:
            fail("watch ended with %r" % code)
        client.move("Junk", [rescued[0]], "INBOX")
        client.move("INBOX", [unwanted[0]], "Junk")
        watcher.start()
        wait_for("both moves replayed",
                 lambda: watcher.count(r"moved by the user: .*Choir practice")
                 and watcher.count(r"moved by the user: .*Quarterly catalogue"), 30)
        time.sleep(1)
        actions = re.findall(r"moved by the user: (.*)$", watcher.this_run(), re.M)
        if sorted(actions) != ["Inbox -> Junk: Quarterly catalogue",
                               "Junk -> Inbox: Choir practice"]:
            fail("moves between two folder pairs at once, raised as %r" % actions)
        wait_for("the rescued sender trusted",
                 lambda: b"lena@choir.example" in data_file(watcher, "trusteml.dat"))
        if b"desk@catalogue.example" in data_file(watcher, "trusteml.dat"):
            fail("the sender of the message moved into Junk was trusted")

        code = watcher.stop()
        if code != 0:
            fail("watch ended with %r" % code)

        # A sweep of the Inbox from the command line while nobody watches:
        # the spam goes to Junk tagged, and the next watch does not take the
        # sweep's moves for the user's. The one after a moved message is
        # passed over, as the sweep always does.
        swept = [personal_message(mail, "claims@global-lotto.example", "Your claim",
                                  "Your claim number is ready, reply with your bank details.\r\n"),
                 personal_message(mail, "grete@choir.example", "Scores",
                                  "I left the new scores on the piano in the small hall.\r\n"),
                 personal_message(mail, "approve@fastcash.example", "Approved",
                                  "Your cash advance is approved, confirm within a day.\r\n")]
        for _, raw in swept:
            dovecot.deliver(raw)
        result = watcher.run("sweep", "Inbox")
        if result.returncode != 0 or "Inbox: 2 moved to Junk" not in result.stdout:
            fail("sweep of the Inbox: %r" % (result,))
        for message_id in (swept[0][0], swept[2][0]):
            if [s[:17] for s in copies(client, message_id)] != ["Subject: {S:100%}"]:
                fail("swept spam not alone in Junk with its tag: %r" % copies(client, message_id))
        if copies(client, swept[1][0]) != ["Subject: Scores"]:
            fail("the good message after a swept one was touched: %r"
                 % copies(client, swept[1][0]))
        watcher.start()
        wait_for("the message the sweep passed over judged",
                 lambda: watcher.count(r"new mail from grete@choir\.example"), 30)
        time.sleep(3)
        if watcher.count(r"moved by the user|copied into|gone from"):
            fail("the sweep's own moves came back as the user's:\n" + watcher.this_run())

        # Killed while a delivery waits to be told (it might yet be half of
        # a move) just after the filter moved the one before it to Junk: the
        # next start judges it; the one already judged is not judged again.
        first = personal_message(mail, "claims@global-lotto.example", "Claim again",
                                 "Your claim number is still waiting, send your bank details.\r\n")
        second = personal_message(mail, "otto@choir.example", "Tickets",
                                  "I have two tickets left for the concert on Sunday.\r\n")
        dovecot.deliver(first[1])
        time.sleep(0.8)
        dovecot.deliver(second[1])
        wait_for("the first judged", lambda: watcher.count(r"new mail from claims@global-lotto"))
        watcher.process.kill()
        watcher.stop()
        if watcher.count(r"new mail from otto@choir\.example"):
            print("note: the second delivery was judged before the kill")
        watcher.start()
        wait_for("the second delivery judged after the kill",
                 lambda: watcher.count(r"new mail from otto@choir\.example"), 30)
        time.sleep(2)
        if watcher.count(r"new mail from claims@global-lotto"):
            fail("a message judged before the kill was judged again:\n" + watcher.this_run())

        # Folders without a watcher of their own: filed from the Inbox into
        # Work and back, it is two moves (not a deletion and new mail);
        # rescued from Junk into Work, its sender is trusted; deleted from
        # Junk (moved to Trash), its sender is not.
        filed = personal_message(mail, "hedda@choir.example", "Rehearsal notes",
                                 "The notes from Tuesday's rehearsal are in the shared folder.\r\n")
        dovecot.deliver(filed[1])
        wait_for("the filed message judged",
                 lambda: watcher.count(r"new mail from hedda@choir\.example.*kept"))
        client.move("INBOX", [filed[0]], "Work")
        wait_for("Inbox -> Work as a move",
                 lambda: watcher.count(r"moved by the user: Inbox -> Work: Rehearsal notes"), 20)
        client.move("Work", [filed[0]], "INBOX")
        wait_for("Work -> Inbox as a move",
                 lambda: watcher.count(r"moved by the user: Work -> Inbox: Rehearsal notes"), 20)
        # Filed into a folder made for it just now, in another client.
        client.imap.create("Projects")
        client.move("INBOX", [filed[0]], "Projects")
        wait_for("Inbox -> a new folder as a move",
                 lambda: watcher.count(r"moved by the user: Inbox -> Projects: Rehearsal notes"),
                 20)
        rescued = personal_message(mail, "ivar@choir.example", "Choir trip",
                                   "The bus for the choir trip leaves at seven from the church.\r\n")
        deleted = personal_message(mail, "promo@sale-days.example", "Sale days",
                                   "Sale days are back with prices cut on every garden chair.\r\n")
        dovecot.deliver(rescued[1], "Junk")
        dovecot.deliver(deleted[1], "Junk")
        wait_for("both copied into Junk", lambda: watcher.count(r"copied into Junk") >= 2)
        client.move("Junk", [rescued[0]], "Work")
        wait_for("the sender rescued into Work trusted",
                 lambda: b"ivar@choir.example" in data_file(watcher, "trusteml.dat"), 20)
        # Rescued from Junk and filed into Work at once, before the filter
        # heard of the rescue: the tag still goes, where the message is now.
        dues = personal_message(mail, "jonas@choir.example", "{S:100%} Choir dues",
                                "The choir dues for the autumn term are due by Friday.\r\n")
        dovecot.deliver(dues[1], "Junk")
        wait_for("the tagged message copied into Junk",
                 lambda: watcher.count(r"copied into Junk: \{S:100%\} Choir dues"))
        client.move("Junk", [dues[0]], "INBOX")
        client.move("INBOX", [dues[0]], "Work")
        wait_for("the tag removed in Work",
                 lambda: dues[0] in client.messages("Work")
                 and client.messages("Work")[dues[0]][1] == "Choir dues", 20)
        wait_for("the sender rescued and filed trusted",
                 lambda: b"jonas@choir.example" in data_file(watcher, "trusteml.dat"), 20)
        if watcher.count(r"_error"):
            fail("a handler failed on a message moved on at once:\n" + watcher.this_run())

        # Copied from Work into the Inbox: a copy, not new mail to judge.
        copied = client.messages("Work")[rescued[0]][0]  # leaves Work selected
        client.imap.uid("COPY", copied, "INBOX")
        wait_for("the copy into the Inbox",
                 lambda: watcher.count(r"copied into Inbox: Choir trip"), 20)
        if watcher.count(r"new mail from ivar@choir\.example"):
            fail("a copy into the Inbox was judged as new mail")
        client.move("Junk", [deleted[0]], "Trash")
        wait_for("the deletion from Junk",
                 lambda: watcher.count(r"deleted by the user: Junk -> Trash: Sale days"), 20)
        time.sleep(1)
        if b"promo@sale-days.example" in data_file(watcher, "trusteml.dat"):
            fail("deleting a message in Junk trusted its sender")
        if watcher.count(r"new mail from hedda@choir\.example") != 1 \
                or watcher.count(r"gone from"):
            fail("moves to and from Work taken for new mail or deletions:\n"
                 + watcher.this_run())
        code = watcher.stop()
        if code != 0:
            fail("watch ended with %r" % code)

        proxy = FaultyProxy(dovecot, certificates)
        try:
            faults(watcher, proxy, client, dovecot, mail, password_file, certificates)
        finally:
            proxy.stop()
        print(watcher.output())
    finally:
        if writes:
            writes.close()
        if client:
            client.close()
        watcher.stop()
        dovecot.stop()


def main():
    if len(sys.argv) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    if (os.geteuid() != 0 or not shutil.which("dovecot") or not os.path.exists(LDA)
            or not shutil.which("openssl")):
        print("skipped: needs root, Dovecot (dovecot-imapd) and openssl")
        return SKIP
    velmora, demo_dir = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    for qresync in (True, False):
        if not run_in_scratch("velmora-imap-host-",
                              lambda root: scenario(root, velmora, demo_dir, qresync),
                              (AssertionError, subprocess.SubprocessError, imaplib.IMAP4.error)):
            return 1
    print("passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
