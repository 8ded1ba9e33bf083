"""How strings go to the library, so that they arrive unchanged, and come back from it."""

import os
import re
from typing import Callable, Optional, Sequence, Union
from urllib.parse import quote

Path = Union[str, "os.PathLike[str]"]

_YOUTUBE = {code: f"\\u{code:04X}" for code in [*range(0x20), ord("'")]}
_YOUTUBE.update({ord("\\"): "\\\\", ord("\n"): "\\n", ord("\r"): "\\r", ord("\t"): "\\t"})
_ESCAPES = {"b": "\b", "f": "\f", "n": "\n", "r": "\r", "t": "\t"}


def percent(text: str) -> str:
    """For a URL, or a value of a form post."""
    return quote(text, safe="")


def post_text(text: str) -> str:
    """For a post, where the library takes "NULL" for an absent value."""
    return "%4EULL" if text == "NULL" else percent(text)


def youtube_text(text: str) -> str:
    """For YouTube, whose texts travel between single quotes.

    Without line ends in it, the library's own escaping changes nothing and so cuts nothing.
    """
    return text.translate(_YOUTUBE)


def encoded(
    value: str, name: str, encode: Callable[[str], str] = str, longest: Optional[int] = None
) -> bytes:
    """The value as it goes to the library. By default this is its UTF-8."""
    if "\0" in value:
        raise ValueError(f"{name} contains a NUL")
    return fitting(encode(value).encode(), name, longest)


def encoded_path(path: Path) -> bytes:
    """The bytes of a path: UTF-8 on Windows, and what the system uses elsewhere."""
    value = os.fsencode(path)
    if b"\0" in value:
        raise ValueError("path contains a NUL")
    return value


def fitting(value: bytes, name: str, longest: Optional[int]) -> bytes:
    """A value that does not fit is an error, and never cut."""
    if longest is not None and len(value) > longest:
        raise ValueError(f"{name} is too long: {len(value)} bytes as it is sent, and at most {longest} fit")
    return value


def joined_tags(tags: Sequence[str], longest: int) -> bytes:
    """YouTube's tags, one in each line."""
    if any(tag == "" or "\n" in tag for tag in tags):
        raise ValueError("a tag is empty or has a line end")
    return fitting(b"\n".join(encoded(tag, "tags", youtube_text) for tag in tags), "tags", longest)


def decoded(value: bytes) -> str:
    """A string that the library returned. Where it was cut, the last character may be U+FFFD."""
    return value.decode(errors="replace")


def json_value(value: bytes) -> str:
    """A string that the library returned with JSON's escapes.

    After an unusual reply it is the punctuation around a value that is none, such as ":123,".
    """
    text = decoded(value)
    if text in (": ", ",") or (text.startswith(":") and text.endswith(",")):
        return ""

    def character(match: "re.Match[str]") -> str:
        escape = match.group(1)
        return chr(int(escape[1:], 16)) if len(escape) == 5 else _ESCAPES.get(escape, escape)

    halves = re.sub(r"\\(u[0-9a-fA-F]{4}|.|\Z)", character, text)
    return halves.encode("utf-16", "surrogatepass").decode("utf-16", "replace")
