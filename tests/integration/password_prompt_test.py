#!/usr/bin/env python3
"""The password prompt of `velmora account add --password-keyring` on a
terminal: what is typed is not echoed, and a Ctrl-C at the prompt ends the
command as Ctrl-C does, with the terminal echoing again.

usage: password_prompt_test.py VELMORA
Exit status 0 passed, 1 failed.
"""

import os
import pty
import shutil
import signal
import sys
import tempfile
import termios
import time


def main():
    binary = os.path.abspath(sys.argv[1])
    home = tempfile.mkdtemp(prefix="velmora-prompt-")
    env = dict(os.environ, HOME=home, XDG_CONFIG_HOME=home, XDG_DATA_HOME=home)
    try:
        pid, fd = pty.fork()
        if pid == 0:
            os.execve(binary, [binary, "account", "add", "--imap", "imaps://ann@127.0.0.1:9",
                               "--password-keyring"], env)
        shown = b""
        deadline = time.monotonic() + 20
        while b"Password for" not in shown and time.monotonic() < deadline:
            try:
                shown += os.read(fd, 1000)
            except OSError:
                break
        if b"Password for" not in shown:
            print("FAILED: no prompt: %r" % shown, file=sys.stderr)
            os.kill(pid, signal.SIGKILL)
            return 1
        echo_at_prompt = termios.tcgetattr(fd)[3] & termios.ECHO
        os.write(fd, b"secr")
        os.write(fd, b"\x03")  # Ctrl-C
        _, status = os.waitpid(pid, 0)
        echo_after = termios.tcgetattr(fd)[3] & termios.ECHO
        problems = []
        if echo_at_prompt:
            problems.append("the terminal echoes at the prompt")
        if not echo_after:
            problems.append("the terminal no longer echoes after Ctrl-C")
        if not (os.WIFSIGNALED(status) and os.WTERMSIG(status) == signal.SIGINT):
            problems.append("not ended by the interrupt (status %d)" % status)
        try:
            while True:
                chunk = os.read(fd, 1000)
                if not chunk:
                    break
                shown += chunk
        except OSError:
            pass
        if b"secr" in shown:
            problems.append("what was typed was shown")
        if problems:
            print("FAILED: " + "; ".join(problems), file=sys.stderr)
            return 1
        print("passed")
        return 0
    finally:
        shutil.rmtree(home, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
