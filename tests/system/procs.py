"""Process bookkeeping: every process a session starts has its own process group, dies with
the harness (PR_SET_PDEATHSIG) and carries the session's token in its environment, so
teardown finds stragglers that left the group without touching anything else."""

import collections
import contextlib
import ctypes
import os
import signal
import subprocess
import time
from pathlib import Path

import psutil

TOKEN_VARIABLE = "VISTREL_SYSTEM_TEST_TOKEN"
# Loaded before any fork: the child must not load libraries between fork and exec.
_libc = ctypes.CDLL(None, use_errno=True)
ProcInfo = collections.namedtuple("ProcInfo", "pid ppid state args")


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
                return last
        except Exception as error:  # noqa: BLE001 - reported below
            last = error
        if time.monotonic() >= started + timeout:
            raise WaitTimeout("timed out after %.1f s waiting for %s (last: %r)" % (timeout, what, last))
        time.sleep(interval)


def retried(action, wait, timeout, attempts=3):
    """action(), then wait(seconds) for its effect, again until it comes (the last wait gets the whole
    timeout): openbox drops a chord or click that lands while it re-reads a keymap the bridge changed."""
    for attempt in range(1, attempts + 1):
        action()
        with contextlib.suppress(WaitTimeout) if attempt < attempts else contextlib.nullcontext():
            return wait(timeout / attempts if attempt < attempts else timeout)


class ManagedProcess(subprocess.Popen):
    """A child in its own process group, with its output in a log file."""

    def __init__(self, name, argv, env, log_path, cwd=None, death_signal=signal.SIGKILL):
        self.name, self.log_path, parent = name, log_path, os.getpid()

        def die_with_parent():
            _libc.prctl(1, death_signal, 0, 0, 0)   # PR_SET_PDEATHSIG
            if os.getppid() != parent:               # the parent died before prctl
                os._exit(1)
        with open(log_path, "wb") as log:
            super().__init__(list(argv), env=env, cwd=cwd, stdin=subprocess.DEVNULL, stdout=log,
                             stderr=subprocess.STDOUT, start_new_session=True, preexec_fn=die_with_parent)

    def alive(self):
        return self.poll() is None

    def log_text(self):
        return Path(self.log_path).read_bytes().decode("utf-8", "replace")

    def stop(self, grace=3.0):
        """Ends the whole group: TERM, then KILL after `grace` seconds. Members that outlive
        their leader are left to the session's token sweep."""
        for signum in (signal.SIGTERM, signal.SIGKILL):
            if self.alive():
                with contextlib.suppress(ProcessLookupError, PermissionError):
                    os.killpg(self.pid, signum)
            with contextlib.suppress(subprocess.TimeoutExpired):
                self.wait(timeout=grace)


def session_processes(token):
    """Live processes (zombies excluded) that carry the session token."""
    return [ProcInfo(p.pid, p.info["ppid"], p.info["status"], " ".join(p.info["cmdline"] or ()))
            for p in psutil.process_iter(["ppid", "status", "cmdline", "environ"])
            if (p.info["environ"] or {}).get(TOKEN_VARIABLE) == token and p.pid != os.getpid()
            and p.info["status"] != psutil.STATUS_ZOMBIE]


def process_table(token):
    """The session's processes, one a line, for failure reports."""
    return "    PID    PPID S  COMMAND\n" + "".join("%7d %7d %s  %s\n" % p for p in session_processes(token))
