"""Follows an upload: progress, cancelling, and the life of its handle."""

import threading
from ctypes import byref, c_double
from typing import Any, Callable, List, NamedTuple, Optional

from ._errors import UploadCancelled, VelkError, check
from ._native import library
from ._results import Result

_POLL_SECONDS = 0.02
_CANCEL_SECONDS = 0.001  # a small upload to YouTube takes a cancel for some milliseconds


class Progress(NamedTuple):
    """How far an upload is."""

    sent: int  #: Bytes sent in the current transfer.
    total: int  #: Bytes to send in it.

    @property
    def fraction(self) -> float:
        """From 0 to 1."""
        return self.sent / self.total


ProgressCallback = Callable[[Progress], object]


class _Follower:
    """Polls the handle of an upload."""

    def __init__(self, service: str, handle: int, report: Optional[ProgressCallback]) -> None:
        self._progress = getattr(library(), f"Get{service}UploadFileProgress")
        self._request_cancel = getattr(library(), f"Cancel{service}UploadFile")
        self._handle = handle
        self._report = report
        self._last: Optional[Progress] = None
        self._cancelled = False

    def cancel(self) -> None:
        """YouTube takes it only once its PUT has begun, so that it is called at every poll."""
        if not self._cancelled:
            self._cancelled = self._request_cancel(self._handle) == Result.OK

    def report(self) -> None:
        sent, total = c_double(), c_double()
        if self._report is None or self._cancelled:
            return
        if self._progress(self._handle, byref(sent), byref(total)) != Result.OK or total.value <= 0:
            return
        progress = Progress(int(sent.value), int(total.value))
        if progress != self._last:
            self._last = progress
            self._report(progress)


def _release(service: str, handle: int) -> None:
    """A finished handle of YouTube can be freed after a cancel.

    Uninit refuses one of the other services, which then stays allocated, as the library requires.
    """
    if service == "Youtube":
        library().CancelYoutubeUploadFile(handle)
    getattr(library(), f"Uninit{service}FileUploder")(handle)


def follow(
    service: str,
    start: Callable[[int], Any],
    report: Optional[ProgressCallback],
    cancel: Optional[threading.Event],
) -> None:
    """Runs an upload on a thread of its own, and follows it on this one, so that Ctrl-C works."""
    if cancel is not None and cancel.is_set():
        raise UploadCancelled()
    handle = getattr(library(), f"Init{service}FileUploder")()
    if not handle:
        raise VelkError(Result.OUT_OF_MEMORY)
    results: List[int] = []
    ended = threading.Event()

    def run() -> None:
        try:
            results.append(start(handle))
        finally:
            ended.set()

    # Not is_alive: after Ctrl-C in join, Python 3.9 to 3.12 report a running thread as ended.
    def is_running() -> bool:
        return not (results or ended.is_set())

    follower = _Follower(service, handle, report)
    threading.Thread(target=run, daemon=True).start()
    try:
        while is_running():
            cancelling = cancel is not None and cancel.is_set()
            if cancelling:
                follower.cancel()
            follower.report()
            ended.wait(_CANCEL_SECONDS if cancelling else _POLL_SECONDS)
        follower.report()
    finally:
        # After an exception of the callback's, or Ctrl-C. A second Ctrl-C leaves the handle to the thread.
        while is_running():
            follower.cancel()
            ended.wait(_CANCEL_SECONDS)
        _release(service, handle)
    check(results[0])
