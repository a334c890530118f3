#!/usr/bin/env python3
"""The IMAP password kept in the desktop keyring, against a real Dovecot and a
real Secret Service.

A private D-Bus session bus and GNOME Keyring (its secrets component only,
unlocked with a throwaway password) are started for the test, beside a
Dovecot with TLS on loopback as in dovecot_imap_host_test.py. `velmora
account add --password-keyring` reads the password from standard input and
keeps it in the keyring (typed on a terminal, it is not shown, and a Ctrl-C
gives the terminal back); `account test` and `watch` log in with it; `account
remove` deletes it. Without a session bus the keyring options say so and point
at --password-file. Everything started is stopped at the end.

usage: imap_keyring_test.py VELMORA
Exit status 0 passed, 1 failed, 77 skipped (no Dovecot, openssl, D-Bus or
GNOME Keyring, or not root).
"""

import os
import re
import shutil
import subprocess
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from dovecot_imap_host_test import (PASSWORD, USER, Dovecot, Watcher,  # noqa: E402
                                    make_certificates)
from dovecot_imap_test import LDA, SKIP, fail, run_in_scratch, wait_for  # noqa: E402
from password_prompt import prompt_problems  # noqa: E402


class SecretService:
    """A session bus of its own with GNOME Keyring's Secret Service on it."""

    def __init__(self, root):
        self.bus = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--print-address=1",
             "--address=unix:path=%s/bus" % root],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.address = self.bus.stdout.readline().strip()
        if not self.address:
            fail("dbus-daemon gave no address")
        self.env = dict(os.environ, DBUS_SESSION_BUS_ADDRESS=self.address,
                        HOME=root + "/keyring-home", XDG_DATA_HOME=root + "/keyring-home/data",
                        XDG_RUNTIME_DIR=root + "/xdg")
        os.makedirs(self.env["XDG_DATA_HOME"], exist_ok=True)
        # --unlock reads the login keyring's password from standard input and
        # makes the keyring with it when there is none yet.
        self.keyring = subprocess.Popen(
            ["gnome-keyring-daemon", "--foreground", "--unlock", "--components=secrets"],
            env=self.env, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        self.keyring.stdin.write(b"keyring-password")
        self.keyring.stdin.close()
        wait_for("the Secret Service on the bus", self.running, 20)

    def running(self):
        result = subprocess.run(
            ["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
             "org.freedesktop.DBus.NameHasOwner", "string:org.freedesktop.secrets"],
            env=self.env, capture_output=True, text=True, check=False)
        return "boolean true" in result.stdout

    def stop(self):
        for process in (self.keyring, self.bus):
            if process.poll() is None:
                process.terminate()
                try:
                    process.wait(10)
                except subprocess.TimeoutExpired:
                    process.kill()
                    process.wait()


def velmora(watcher, *arguments, secret=None):
    result = subprocess.run([watcher.velmora, *arguments], env=watcher.env, input=secret or "",
                            capture_output=True, text=True, check=False, timeout=120)
    if PASSWORD in result.stdout + result.stderr:
        fail("the password was shown: %r" % (result,))
    return result


def expect(result, code, pattern, what):
    output = result.stdout + result.stderr
    if result.returncode != code or not re.search(pattern, output):
        fail("%s: expected exit %d and /%s/, got %r" % (what, code, pattern, result))


def scenario(root, velmora_path):
    uid, gid = 65534, 65534  # nobody: Dovecot serves no mail as root
    os.makedirs(root + "/xdg", mode=0o700, exist_ok=True)
    home = os.path.join(root, "home")
    os.makedirs(home, exist_ok=True)
    os.chown(home, uid, gid)
    certificates = make_certificates(root)
    dovecot = Dovecot(root, uid, gid, certificates, qresync=True)
    service = None
    watcher = Watcher(velmora_path, root)
    try:
        url = "imaps://%s@localhost:%d" % (USER, dovecot.tls_port)
        ca = ["--ca-file", certificates["ca.pem"]]
        keyring = ["--imap", url, "--password-keyring", *ca]

        # Without a session bus: the cause, what was tried, and the way round.
        watcher.env.pop("DBUS_SESSION_BUS_ADDRESS", None)
        watcher.env.pop("DISPLAY", None)
        no_service = (r"desktop keyring could not be read: tried the Secret Service "
                      r"\(org\.freedesktop\.secrets\) on the D-Bus session bus \(none named: "
                      r"DBUS_SESSION_BUS_ADDRESS is not set\).*--password-file")
        expect(velmora(watcher, "account", "test", *keyring), 3, no_service,
               "account test without a session bus")
        expect(velmora(watcher, "account", "add", *keyring, secret=PASSWORD + "\n"), 3,
               r"could not be reached: tried the Secret Service.*--password-file",
               "account add without a session bus")
        if os.path.exists(os.path.join(watcher.env["XDG_CONFIG_HOME"], "CORVANELSPAM")):
            settings = subprocess.run(["grep", "-r", "Url=", watcher.env["XDG_CONFIG_HOME"]],
                                      capture_output=True, text=True, check=False).stdout
            if "imaps://" in settings:
                fail("an account whose password was not kept was saved:\n" + settings)

        service = SecretService(root)
        watcher.env["DBUS_SESSION_BUS_ADDRESS"] = service.address

        # Typed on a terminal: not shown, and Ctrl-C gives the terminal back.
        problems = prompt_problems(watcher.velmora, watcher.env, url)
        if problems:
            fail("the password prompt: " + "; ".join(problems))

        # Both sources, or a wrong password: nothing kept.
        expect(velmora(watcher, "account", "add", *keyring, "--password-file", "/dev/null",
                       secret=PASSWORD), 3, r"--password-file or from --password-keyring, not both",
               "both password options")
        expect(velmora(watcher, "account", "add", *keyring, secret="not the password\n"), 3,
               r"(?i)authentication failed|login", "a wrong password")
        expect(velmora(watcher, "account", "test", *keyring), 3,
               r"desktop keyring holds no password for testuser@localhost:%d" % dovecot.tls_port,
               "a refused password was not kept")

        # Kept, then used by test and watch with nothing but the keyring.
        logged_before = os.path.getsize(dovecot.log)
        expect(velmora(watcher, "account", "add", *keyring, secret=PASSWORD + "\n"), 0,
               r"logged in to testuser@localhost.*\n(.*\n)*kept the password in the desktop "
               r"keyring\n", "account add --password-keyring")
        settings_files = subprocess.run(["grep", "-rl", "PasswordKeyring=true",
                                         watcher.env["XDG_CONFIG_HOME"]],
                                        capture_output=True, text=True, check=False).stdout
        if not settings_files:
            fail("the settings do not say the password is in the keyring")
        for path in settings_files.split():
            with open(path) as f:
                if PASSWORD in f.read():
                    fail("the password is in the settings file " + path)
        expect(velmora(watcher, "account", "test"), 0, r"logged in to testuser@localhost",
               "account test with the kept password")
        watcher.start(*keyring)
        if not re.search(r"^watching ", watcher.this_run(), re.M):
            fail("velmora watch did not log in:\n" + watcher.this_run())
        watcher.stop()
        with open(dovecot.log, errors="replace") as f:
            log = f.read()[logged_before:]
        logins = len(re.findall(r"imap-login: Info: Login: user=<%s>" % USER, log))
        if logins < 3 or "auth failed" in log:
            fail("expected add, test and watch to log in with the kept password:\n" + log)

        # Saved again with a password file: the keyring's copy goes; then
        # kept in the keyring once more.
        password_file = os.path.join(root, "password")
        with open(os.open(password_file, os.O_WRONLY | os.O_CREAT, 0o600), "w") as f:
            f.write(PASSWORD + "\n")
        expect(velmora(watcher, "account", "add", "--imap", url, "--password-file",
                       password_file, *ca), 0,
               r"deleted the replaced account's password from the desktop keyring\n",
               "account add --password-file over a keyring account")
        expect(velmora(watcher, "account", "test", *keyring), 3,
               r"desktop keyring holds no password", "the replaced password is gone")
        for again in ("kept again", "kept over itself"):
            result = velmora(watcher, "account", "add", *keyring, secret=PASSWORD + "\n")
            expect(result, 0, r"kept the password in the desktop keyring\n", again)
            if "deleted" in result.stdout + result.stderr:
                fail("%s: a password was deleted:\n%s" % (again, result.stdout + result.stderr))
        expect(velmora(watcher, "account", "test"), 0, r"logged in to testuser@localhost",
               "the password kept over itself")

        # Forgotten with the account.
        expect(velmora(watcher, "account", "remove"), 0,
               r"forgot imaps://.*\ndeleted its password from the desktop keyring\n",
               "account remove")
        expect(velmora(watcher, "watch", "--headless", *keyring), 3,
               r"desktop keyring holds no password", "the password is gone from the keyring")
    finally:
        watcher.stop()
        if service:
            service.stop()
        dovecot.stop()


def main():
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    needed = ("dovecot", "openssl", "dbus-daemon", "dbus-send", "gnome-keyring-daemon")
    if os.geteuid() != 0 or not os.path.exists(LDA) or not all(map(shutil.which, needed)):
        print("skipped: needs root, Dovecot (dovecot-imapd), openssl, dbus-daemon and "
              "gnome-keyring")
        return SKIP
    velmora = os.path.abspath(sys.argv[1])
    if not run_in_scratch("velmora-imap-keyring-", lambda root: scenario(root, velmora),
                          (AssertionError, subprocess.SubprocessError)):
        return 1
    print("passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
