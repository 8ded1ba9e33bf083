"""What a call raises."""

from ._results import TEXTS, Result


class VelkError(Exception):
    """A call that failed. With a code above zero it succeeded in part: see `partial`."""

    code: int  #: A member of `Result`, or a code that this version does not know.
    name: str  #: Such as "VELK_TOKEN_REJECTED".
    meaning: str
    advice: str  #: What an application should do.

    def __init__(self, code: int) -> None:
        unknown = (
            "VELK_UNKNOWN",
            "A failure that this binding does not know.",
            "Use a binding of the library's version.",
        )
        self.code = code
        self.name, self.meaning, self.advice = TEXTS.get(code, unknown)
        super().__init__(code)

    @property
    def partial(self) -> bool:
        """True when something was published or found, but not as requested.

        A second try would publish it twice.
        """
        return self.code > 0

    def __str__(self) -> str:
        return f"{self.name} ({self.code}): {self.meaning} {self.advice}"


class UploadCancelled(VelkError):
    """An upload that was cancelled."""

    def __init__(self) -> None:
        super().__init__(Result.CANCELLED)


class LibraryError(OSError):
    """The library is missing, or is not the one that this package requires."""


def check(result: int) -> None:
    """Raises unless the call succeeded."""
    if result == Result.CANCELLED:
        raise UploadCancelled()
    if result != Result.OK:
        raise VelkError(result)
