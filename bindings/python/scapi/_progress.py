"""Progress on a terminal."""

from __future__ import annotations

import sys
import time


class TerminalProgress:
    """Shows how far a job is, in one line of standard error. A progress callback.

    label  what is counted
    """

    def __init__(self, label: str = "done") -> None:
        self._label = label
        self._start = time.monotonic()
        self._next = 0.0

    def __call__(self, done: int, of: int) -> None:
        now = time.monotonic()
        if now < self._next and done < of:
            return
        self._next = now + 0.1
        elapsed = now - self._start
        left = f", {elapsed * (of - done) / done:.0f} s to go" if 0 < done < of else ""
        end = "\n" if done >= of else ""
        sys.stderr.write(f"\r\x1b[K{done} of {of} {self._label}, {elapsed:.0f} s{left}{end}")
        sys.stderr.flush()
