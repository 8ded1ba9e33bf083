"""Runs the blocking functions on threads for asyncio."""

from __future__ import annotations

import asyncio
import functools
import threading
from typing import (
    TYPE_CHECKING,
    Any,
    AsyncIterator,
    Awaitable,
    Callable,
    Generator,
    Generic,
    Optional,
    TypeVar,
)

from .._upload import Progress, ProgressCallback

T = TypeVar("T")
if TYPE_CHECKING:
    from typing_extensions import ParamSpec

    P = ParamSpec("P")


def _start(function: Callable[[], T]) -> asyncio.Future[T]:
    """Runs a function on a thread of its own, which waits for no free one of a pool."""
    loop = asyncio.get_running_loop()
    future: asyncio.Future[T] = loop.create_future()

    def finish(result: Optional[T], error: Optional[BaseException]) -> None:
        if future.done():
            return
        if error is not None:
            future.set_exception(error)
        else:
            future.set_result(result)  # type: ignore[arg-type]

    def work() -> None:
        result: Optional[T] = None
        failure: Optional[BaseException] = None
        try:
            result = function()
        except BaseException as error:
            failure = error
        _post(loop, finish, result, failure)

    threading.Thread(target=work, daemon=True).start()
    return future


def _post(loop: asyncio.AbstractEventLoop, function: Callable[..., object], *values: Any) -> None:
    try:
        loop.call_soon_threadsafe(function, *values)
    except RuntimeError:
        pass  # the loop was closed, and nobody waits


def as_coroutine(function: Callable[P, T]) -> Callable[P, Awaitable[T]]:
    """Makes a coroutine of a function."""

    @functools.wraps(function)
    async def run(*args: P.args, **kwargs: P.kwargs) -> T:
        return await _start(functools.partial(function, *args, **kwargs))

    return run


def as_upload(function: Callable[P, T]) -> Callable[P, Upload[T]]:
    """Makes a function that returns an `Upload`."""

    @functools.wraps(function)
    def start(*args: P.args, **kwargs: P.kwargs) -> Upload[T]:
        return Upload(functools.partial(function, *args), kwargs)

    return start


class _Either(threading.Event):
    """Is set when another event is set, too."""

    def __init__(self, other: Optional[threading.Event]) -> None:
        super().__init__()
        self._other = other

    def is_set(self) -> bool:
        return super().is_set() or (self._other is not None and self._other.is_set())


class Upload(Generic[T]):
    """A running upload.

    Await it for the result, and iterate over it for its progress. When the task that does so is cancelled,
    the upload is cancelled too, and the task ends when the library has stopped. Without either it runs on.
    """

    def __init__(self, function: Callable[..., T], arguments: Any) -> None:
        self._loop = asyncio.get_running_loop()
        self._callback: Optional[ProgressCallback] = arguments.pop("progress", None)
        self._cancel = _Either(arguments.pop("cancel", None))
        self._changed = asyncio.Event()
        self._latest: Optional[Progress] = None
        self._failure: Optional[Exception] = None
        report = functools.partial(_post, self._loop, self._report)
        self._future = _start(functools.partial(function, **arguments, progress=report, cancel=self._cancel))
        self._future.add_done_callback(self._finish)

    def cancel(self) -> None:
        """Requests that the upload stop. It has no effect when everything was sent."""
        self._cancel.set()

    def done(self) -> bool:
        """Whether the upload has ended."""
        return self._future.done()

    def result(self) -> T:
        """The result of an upload that has ended, also after its task was cancelled. Raises its failure."""
        return self._future.result()

    def __await__(self) -> Generator[Any, None, T]:
        return self._wait().__await__()

    async def __aiter__(self) -> AsyncIterator[Progress]:
        """The newest progress, whenever there is one, until the upload has ended. Await its result then."""
        while not self._future.done() or self._latest is not None:
            latest, self._latest = self._latest, None
            if latest is not None:
                yield latest
                continue
            self._changed.clear()
            await self._until(asyncio.ensure_future(self._changed.wait()))

    async def _wait(self) -> T:
        await self._until(self._future)
        if self._failure is not None:
            raise self._failure
        return self._future.result()

    async def _until(self, event: asyncio.Future[Any]) -> None:
        try:
            await asyncio.wait({event})
        except asyncio.CancelledError:
            self.cancel()
            await asyncio.wait({self._future})
            raise

    def _report(self, progress: Progress) -> None:
        self._latest = progress
        self._changed.set()
        if self._callback is None or self._failure is not None:
            return
        try:
            self._callback(progress)
        except Exception as error:  # as in a blocking call
            self._failure = error
            self.cancel()

    def _finish(self, future: asyncio.Future[T]) -> None:
        self._callback = None
        self._changed.set()
        if self._cancel.is_set() and not future.cancelled():
            future.exception()  # nobody needs to look at it
