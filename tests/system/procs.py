"""Process bookkeeping for the system tests.

Every process a session starts gets its own process group, dies with the
harness (PR_SET_PDEATHSIG) and carries the session's token in its
environment, so teardown can find and end stragglers that left the group
(daemons, detached relaunches) without touching anything else on the machine.
"""

import ctypes
import os
import signal
import subprocess
import sys
import time

TOKEN_VARIABLE = "VISTREL_SYSTEM_TEST_TOKEN"

_PR_SET_PDEATHSIG = 1
# Loaded before any fork: the child must not load libraries between fork and exec.
_libc = ctypes.CDLL(None, use_errno=True)


def _die_with_parent(parent_pid, signum):
    def setup():
        _libc.prctl(_PR_SET_PDEATHSIG, signum, 0, 0, 0)
        # The parent may have died between fork and prctl.
        if os.getppid() != parent_pid:
            os._exit(1)
    return setup


class WaitTimeout(AssertionError):
    """A polled condition did not hold before its deadline."""


def wait_until(condition, timeout, what, interval=0.05):
    """Polls `condition` until it returns a truthy value, which is returned.

    Exceptions raised by the condition count as "not yet"; the last one is
    reported if the deadline passes.
    """
    started = time.monotonic()
    deadline = started + timeout
    last = None
    while True:
        try:
            value = condition()
            if value:
                if os.environ.get("VISTREL_SYSTEM_TEST_TRACE"):
                    sys.stderr.write("  %.2f s: %s\n" % (time.monotonic() - started, what))
                return value
            last = value
        except Exception as error:  # noqa: BLE001 - reported below
            last = error
        if time.monotonic() >= deadline:
            raise WaitTimeout("timed out after %.1f s waiting for %s (last: %r)"
                              % (timeout, what, last))
        time.sleep(interval)


class ManagedProcess:
    """A child in its own process group, with its output in a log file."""

    def __init__(self, name, argv, env, log_path, pass_fds=(), cwd=None,
                 death_signal=signal.SIGKILL):
        self.name = name
        self.argv = list(argv)
        self.log_path = log_path
        self._log = open(log_path, "wb")
        try:
            self.popen = subprocess.Popen(
                self.argv, env=env, cwd=cwd, stdin=subprocess.DEVNULL,
                stdout=self._log, stderr=subprocess.STDOUT, pass_fds=pass_fds,
                start_new_session=True, preexec_fn=_die_with_parent(os.getpid(), death_signal))
        except BaseException:
            self._log.close()
            raise
        self.pid = self.popen.pid
        self.token = env.get(TOKEN_VARIABLE)

    @property
    def returncode(self):
        return self.popen.poll()

    def alive(self):
        return self.popen.poll() is None

    def wait(self, timeout):
        """Exit status within `timeout` seconds, or WaitTimeout."""
        try:
            return self.popen.wait(timeout=timeout)
        except subprocess.TimeoutExpired:
            raise WaitTimeout("%s (pid %d) still running after %.1f s"
                              % (self.name, self.pid, timeout)) from None

    def log_text(self):
        self._log.flush()
        with open(self.log_path, "rb") as log:
            return log.read().decode("utf-8", "replace")

    def stop(self, grace=3.0):
        """Ends the whole group: TERM, then KILL after `grace` seconds."""
        if self.alive():
            _signal_group(self.pid, signal.SIGTERM)
            try:
                self.popen.wait(timeout=grace)
            except subprocess.TimeoutExpired:
                pass
        # The leader may be gone while members live on; kill those we own.
        for pid in group_members(self.pid, self.token):
            _kill(pid, signal.SIGKILL)
        if self.alive():
            _signal_group(self.pid, signal.SIGKILL)
        try:
            self.popen.wait(timeout=grace)
        except subprocess.TimeoutExpired:
            pass
        self._log.close()


def _signal_group(pgid, signum):
    try:
        os.killpg(pgid, signum)
    except (ProcessLookupError, PermissionError):
        pass


def _kill(pid, signum):
    try:
        os.kill(pid, signum)
    except (ProcessLookupError, PermissionError):
        pass


class ProcInfo:
    def __init__(self, pid, ppid, pgid, state, args):
        self.pid, self.ppid, self.pgid, self.state, self.args = pid, ppid, pgid, state, args


def _read_proc(pid):
    try:
        with open("/proc/%d/stat" % pid, "rb") as stat:
            raw = stat.read().decode("utf-8", "replace")
        with open("/proc/%d/cmdline" % pid, "rb") as cmdline:
            args = cmdline.read().split(b"\0")
    except OSError:
        return None
    # The command name may hold spaces and parentheses: split after the last ")".
    fields = raw[raw.rfind(")") + 2:].split()
    text = " ".join(a.decode("utf-8", "replace") for a in args if a)
    return ProcInfo(pid, int(fields[1]), int(fields[2]), fields[0], text)


def _has_token(pid, token):
    try:
        with open("/proc/%d/environ" % pid, "rb") as environ:
            return ("%s=%s" % (TOKEN_VARIABLE, token)).encode() in environ.read().split(b"\0")
    except OSError:
        return False


def _all_pids():
    return [int(entry) for entry in os.listdir("/proc") if entry.isdigit()]


def session_processes(token):
    """Live processes (zombies excluded) that carry the session token."""
    found = []
    for pid in _all_pids():
        if pid == os.getpid() or not _has_token(pid, token):
            continue
        info = _read_proc(pid)
        if info is not None and info.state != "Z":
            found.append(info)
    return found


def group_members(pgid, token):
    return [p.pid for p in session_processes(token) if p.pgid == pgid] if token else []


def kill_session_processes(token):
    """SIGKILLs every process of the session still alive; returns what it found."""
    leftovers = session_processes(token)
    for info in leftovers:
        _kill(info.pid, signal.SIGKILL)
    return leftovers


def process_tree(token):
    """The session's processes as an indented tree, for failure reports."""
    procs = {p.pid: p for p in session_processes(token)}
    children = {}
    for p in procs.values():
        children.setdefault(p.ppid if p.ppid in procs else None, []).append(p)
    lines = ["%7s %7s %7s %s  %s" % ("PID", "PPID", "PGID", "S", "COMMAND")]

    def walk(parent, depth):
        for p in sorted(children.get(parent, []), key=lambda q: q.pid):
            lines.append("%7d %7d %7d %s  %s%s" % (p.pid, p.ppid, p.pgid, p.state,
                                                   "  " * depth, p.args))
            walk(p.pid, depth + 1)
    walk(None, 0)
    return "\n".join(lines) + "\n"
