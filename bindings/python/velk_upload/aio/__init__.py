"""The same functions for asyncio, each on a thread of its own.

An upload returns an `Upload` at once. The other functions are coroutines, which cannot be cancelled: a
cancelled task ends, and the library's request goes on.
"""

from . import facebook, twitter, youtube
from ._run import Upload

__all__ = ["Upload", "facebook", "twitter", "youtube"]
