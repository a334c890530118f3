"""The password prompt of `velmora account add --password-keyring` on a
terminal: what is typed is not echoed, and a Ctrl-C at the prompt ends the
command as Ctrl-C does, with the terminal echoing again. The keyring must be
reachable, or no password is asked for."""

import os
import pty
import signal
import termios
import time


def prompt_problems(binary, env, url):
    """Runs `account add` on a pseudo-terminal, types a little and presses
    Ctrl-C at its prompt; returns what went wrong (empty when nothing did)."""
    pid, fd = pty.fork()
    if pid == 0:
        os.execve(binary, [binary, "account", "add", "--imap", url, "--password-keyring"], env)
    shown = b""
    deadline = time.monotonic() + 20
    while b"Password for" not in shown and time.monotonic() < deadline:
        try:
            shown += os.read(fd, 1000)
        except OSError:
            break
    if b"Password for" not in shown:
        os.kill(pid, signal.SIGKILL)
        os.waitpid(pid, 0)
        os.close(fd)
        return ["no prompt: %r" % shown]
    echo_at_prompt = termios.tcgetattr(fd)[3] & termios.ECHO
    os.write(fd, b"secr")
    os.write(fd, b"\x03")  # Ctrl-C
    _, status = os.waitpid(pid, 0)
    echo_after = termios.tcgetattr(fd)[3] & termios.ECHO
    try:
        while True:
            chunk = os.read(fd, 1000)
            if not chunk:
                break
            shown += chunk
    except OSError:
        pass
    os.close(fd)
    problems = []
    if echo_at_prompt:
        problems.append("the terminal echoes at the prompt")
    if not echo_after:
        problems.append("the terminal no longer echoes after Ctrl-C")
    if not (os.WIFSIGNALED(status) and os.WTERMSIG(status) == signal.SIGINT):
        problems.append("not ended by the interrupt (status %d)" % status)
    if b"secr" in shown:
        problems.append("what was typed was shown")
    return problems
