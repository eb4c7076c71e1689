"""Process bookkeeping: every process a session starts has its own process group, dies with
the harness (PR_SET_PDEATHSIG) and carries the session's token in its environment, so
teardown finds stragglers that left the group without touching anything else."""

import collections
import ctypes
import os
import signal
import subprocess
import sys
import time

TOKEN_VARIABLE = "VISTREL_SYSTEM_TEST_TOKEN"
# Loaded before any fork: the child must not load libraries between fork and exec.
_libc = ctypes.CDLL(None, use_errno=True)
ProcInfo = collections.namedtuple("ProcInfo", "pid ppid pgid state args")


class WaitTimeout(AssertionError):
    """A polled condition did not hold before its deadline."""


def wait_until(condition, timeout, what, interval=0.05):
    """Polls `condition` until it returns a truthy value, which is returned. An exception
    counts as "not yet"; the last value or exception is reported at the deadline."""
    started = time.monotonic()
    while True:
        try:
            last = condition()
            if last:
                if os.environ.get("VISTREL_SYSTEM_TEST_TRACE"):
                    sys.stderr.write("  %.2f s: %s\n" % (time.monotonic() - started, what))
                return last
        except Exception as error:  # noqa: BLE001 - reported below
            last = error
        if time.monotonic() >= started + timeout:
            raise WaitTimeout("timed out after %.1f s waiting for %s (last: %r)" % (timeout, what, last))
        time.sleep(interval)


class ManagedProcess:
    """A child in its own process group, with its output in a log file."""

    def __init__(self, name, argv, env, log_path, pass_fds=(), cwd=None, death_signal=signal.SIGKILL):
        self.name, self.log_path, self.token = name, log_path, env.get(TOKEN_VARIABLE)
        parent = os.getpid()

        def die_with_parent():
            _libc.prctl(1, death_signal, 0, 0, 0)   # PR_SET_PDEATHSIG
            if os.getppid() != parent:               # the parent died before prctl
                os._exit(1)
        with open(log_path, "wb") as log:
            self.popen = subprocess.Popen(list(argv), env=env, cwd=cwd, stdin=subprocess.DEVNULL,
                                          stdout=log, stderr=subprocess.STDOUT, pass_fds=pass_fds,
                                          start_new_session=True, preexec_fn=die_with_parent)
        self.pid = self.popen.pid

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
            raise WaitTimeout("%s (pid %d) still running after %.1f s" % (self.name, self.pid, timeout)) from None

    def log_text(self):
        with open(self.log_path, "rb") as log:
            return log.read().decode("utf-8", "replace")

    def stop(self, grace=3.0):
        """Ends the whole group: TERM, then KILL after `grace` seconds."""
        for signum in (signal.SIGTERM, signal.SIGKILL):
            if signum == signal.SIGKILL:
                # The leader may be gone while members live on; kill those we own.
                for info in session_processes(self.token):
                    if info.pgid == self.pid:
                        _kill(os.kill, info.pid)
            if self.alive():
                _kill(os.killpg, self.pid, signum)
            try:
                self.popen.wait(timeout=grace)
            except subprocess.TimeoutExpired:
                pass


def _kill(how, pid, signum=signal.SIGKILL):
    try:
        how(pid, signum)
    except (ProcessLookupError, PermissionError):
        pass


def session_processes(token):
    """Live processes (zombies excluded) that carry the session token."""
    found, marker = [], ("%s=%s" % (TOKEN_VARIABLE, token)).encode()
    for pid in (int(entry) for entry in os.listdir("/proc") if entry.isdigit()):
        try:
            with open("/proc/%d/environ" % pid, "rb") as environ:
                if pid == os.getpid() or marker not in environ.read().split(b"\0"):
                    continue
            with open("/proc/%d/stat" % pid, "rb") as stat:
                raw = stat.read().decode("utf-8", "replace")
            with open("/proc/%d/cmdline" % pid, "rb") as cmdline:
                args = " ".join(a.decode("utf-8", "replace") for a in cmdline.read().split(b"\0") if a)
        except OSError:
            continue
        # The command name may hold spaces and parentheses: split after the last ")".
        fields = raw[raw.rfind(")") + 2:].split()
        if fields[0] != "Z":
            found.append(ProcInfo(pid, int(fields[1]), int(fields[2]), fields[0], args))
    return found


def kill_session_processes(token):
    """SIGKILLs every process of the session still alive; returns what it found."""
    leftovers = session_processes(token)
    for info in leftovers:
        _kill(os.kill, info.pid)
    return leftovers


def process_table(token):
    """The session's processes, one a line, for failure reports."""
    return "    PID    PPID    PGID S  COMMAND\n" + "".join("%7d %7d %7d %s  %s\n" % p for p in session_processes(token))
