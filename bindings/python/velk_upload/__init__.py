"""Publishes media files and short posts to Facebook, Twitter and YouTube.

The functions are in `velk_upload.facebook`, `velk_upload.twitter` and `velk_upload.youtube`; in
`velk_upload.aio` are the same for asyncio. Any thread may make any call.
"""

from ctypes import byref, c_int32, create_string_buffer

from . import facebook, twitter, youtube
from ._errors import LibraryError, UploadCancelled, VelkError, check
from ._native import library, load
from ._results import Result
from ._strings import decoded, encoded
from ._upload import Progress

__all__ = [
    "LibraryError",
    "Progress",
    "Result",
    "UploadCancelled",
    "VelkError",
    "facebook",
    "get_proxy",
    "load",
    "set_proxy",
    "twitter",
    "youtube",
]


def set_proxy(url: str) -> None:
    """Sends all later requests of the process through a proxy; an empty string removes it.

    Set it before the first request: it is one string of at most 255 bytes, without a lock.
    """
    check(library().SetLibVelkUploadProxy(encoded(url, "url", longest=255)))


def get_proxy() -> str:
    """The proxy; empty without one."""
    url = create_string_buffer(256)
    check(library().GetLibVelkUploadProxy(url, byref(c_int32(256))))
    return decoded(url.value)
