"""The result codes of the library, and what they mean and advise.

Written by scripts/bindings from docs/result_codes.json.
"""

from enum import IntEnum
from typing import Dict, Tuple


class Result(IntEnum):
    """What a call returned."""

    OK = 0
    PRIVACY_NOT_UPDATED = 1
    NO_PAGES = 2
    TEXT_NOT_UPDATED = 3
    MESSAGE_NOT_UPDATED = 4
    UNSUPPORTED_GET = 5
    UNEXPECTED_REPLY = -1
    MISSING_ARGUMENT = -2
    TRANSFER_FAILED = -3
    NO_IDENTIFIER = -4
    TOKEN_REJECTED = -5
    BUFFER_TOO_SMALL = -6
    NO_TITLE = -7
    FORBIDDEN = -8
    CANCELLED = -10
    NOT_UPLOADING = -11
    BUSY = -12
    CREDENTIALS_REFUSED = -13
    DUPLICATE_STATUS = -14
    TOO_LARGE = -15
    SERVER_ERROR = -16
    NO_HANDLE = -17
    OUT_OF_MEMORY = -18
    FILE_NOT_OPENED = -19


# The name, meaning and advice of each code.
# fmt: off
TEXTS: Dict[int, Tuple[str, str, str]] = {
    0: (
        "VELK_OK",
        "Success.",
        "Nothing.",
    ),
    1: (
        "VELK_PRIVACY_NOT_UPDATED",
        "Facebook: published or found, but its privacy could not be set.",
        "Tell the user to set the privacy on Facebook. After a photo the library cannot set it: no identifier was returned.",
    ),
    2: (
        "VELK_NO_PAGES",
        "Facebook: the user manages no page.",
        "Publish to the user's own node.",
    ),
    3: (
        "VELK_TEXT_NOT_UPDATED",
        "Facebook update: the text step of updateKind 1 or 2 failed.",
        "Try again. With kind 1 the privacy is already changed.",
    ),
    4: (
        "VELK_MESSAGE_NOT_UPDATED",
        "Facebook update: the message step of updateKind 0 failed.",
        "Check the object and the token, then try again.",
    ),
    5: (
        "VELK_UNSUPPORTED_GET",
        "Facebook: \"Unsupported get request.\" for the embed URL of a video.",
        "Check the identifier and the token's permissions. The object may have no such URL.",
    ),
    -1: (
        "VELK_UNEXPECTED_REPLY",
        "The service replied something unexpected. For progress: nothing was reported yet.",
        "A later try seldom helps. Check the request's values and the service's state. A photo tweet: also check the network.",
    ),
    -2: (
        "VELK_MISSING_ARGUMENT",
        "A required argument is null or empty. YouTube: also status 401.",
        "Correct the call. YouTube: renew the token.",
    ),
    -3: (
        "VELK_TRANSFER_FAILED",
        "Name resolution, connection, TLS, time-out, a broken exchange, or a value that cannot be sent.",
        "Check network, proxy and the values. What was published may exist: look before a new try.",
    ),
    -4: (
        "VELK_NO_IDENTIFIER",
        "The reply lacks the token or identifier that the call is for.",
        "It may be published: look before a new try.",
    ),
    -5: (
        "VELK_TOKEN_REJECTED",
        "Facebook rejected the access token. A video: or requests a later try.",
        "Sign in again. After a video, try once later first.",
    ),
    -6: (
        "VELK_BUFFER_TOO_SMALL",
        "A buffer is smaller than required.",
        "Use the size that was written, where the call states one. For the list of pages nothing can be done.",
    ),
    -7: (
        "VELK_NO_TITLE",
        "YouTube categories: the reply has no title. No exported call returns it.",
        "Nothing.",
    ),
    -8: (
        "VELK_FORBIDDEN",
        "YouTube: status 403.",
        "Check the account's permissions and quota.",
    ),
    -10: (
        "VELK_CANCELLED",
        "The transfer was aborted through its handle.",
        "Nothing.",
    ),
    -11: (
        "VELK_NOT_UPLOADING",
        "YouTube: progress or cancel while nothing is uploading.",
        "Try again later.",
    ),
    -12: (
        "VELK_BUSY",
        "The handle's state does not allow it to be freed. Nothing was freed.",
        "YouTube: cancel, then free. Facebook, Twitter: leave the handle allocated.",
    ),
    -13: (
        "VELK_CREDENTIALS_REFUSED",
        "Twitter refused the credentials or the signature.",
        "Sign in again. Check the keys and the machine's clock.",
    ),
    -14: (
        "VELK_DUPLICATE_STATUS",
        "Twitter refused a text that repeats an earlier one.",
        "Change the text. After a second try of the same tweet this means that the first one succeeded.",
    ),
    -15: (
        "VELK_TOO_LARGE",
        "Twitter: text or file beyond its limit; or no connection in time for a media step.",
        "Shorten the text, shrink the file, or try again.",
    ),
    -16: (
        "VELK_SERVER_ERROR",
        "Facebook's video host replied with status 500.",
        "Try again later.",
    ),
    -17: (
        "VELK_NO_HANDLE",
        "libcurl gave no handle. YouTube: also a status of the PUT that is not listed.",
        "Try again later. YouTube: the video may exist.",
    ),
    -18: (
        "VELK_OUT_OF_MEMORY",
        "Memory ran out; for a signature also the system's randomness.",
        "Free memory, then try again.",
    ),
    -19: (
        "VELK_FILE_NOT_OPENED",
        "The file to upload cannot be opened for reading, or is no regular file.",
        "Check the path and the permissions.",
    ),
}
