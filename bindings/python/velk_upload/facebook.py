"""Facebook: tokens, the user, pages, and publishing.

Every function blocks, and raises `VelkError` for a failure, or `ValueError` for a value that cannot be sent
as it is. Texts arrive unchanged.
"""

import threading
import time
from ctypes import POINTER, byref, c_int32, c_uint32, create_string_buffer
from typing import Any, Callable, Dict, List, NamedTuple, Optional, Tuple

from ._errors import VelkError, check
from ._native import FacebookPage, FacebookUploadInfo, library
from ._results import Result
from ._strings import Path, decoded, encoded, encoded_path, fitting, json_value, percent, post_text
from ._upload import ProgressCallback, follow

_VALUE_CAPACITY = 1024  # of a value that the library writes without a size


class LongLivedToken(NamedTuple):
    """A token that lives for weeks."""

    token: str
    lifetime: Optional[int]  #: In seconds; None when Facebook did not state it.


class User(NamedTuple):
    """The owner of a token."""

    name: str
    email: str  #: The library never finds it: expect an empty string.


class Page(NamedTuple):
    """A page that the user manages."""

    id: str
    name: str  #: It ends at its first escape.


def exchange_token(app_id: str, app_secret: str, token: str) -> LongLivedToken:
    """Exchanges a token for a long-lived one."""
    exchanged = create_string_buffer(_VALUE_CAPACITY)
    length, lifetime = c_uint32(), c_uint32()
    check(
        library().ExangeFacebookAccessToken(
            encoded(app_id, "app_id", percent),
            encoded(app_secret, "app_secret", percent),
            encoded(token, "token", percent),
            exchanged,
            byref(length),
            byref(lifetime),
        )
    )
    value = json_value(exchanged.value)
    if not value:
        raise VelkError(Result.NO_IDENTIFIER)
    return LongLivedToken(value, lifetime.value or None)


_VALID_SECONDS, _MOST_VALID = 300, 256
_valid: Dict[Tuple[str, str], float] = {}  # when each valid token is to be checked again
_valid_lock = threading.Lock()


def check_token(app_id: str, token: str) -> bool:
    """Whether a token is valid.

    A valid token is remembered for five minutes, since each check of one keeps 16 KiB until the process
    exits. At most 256 tokens are remembered.
    """
    key = app_id, token
    with _valid_lock:
        if _valid.get(key, 0.0) > time.monotonic():
            return True
    valid = c_uint32()
    app, checked = encoded(app_id, "app_id", percent), encoded(token, "token", percent)
    check(library().CheckFacebookAccessTokenValid(app, checked, byref(valid)))
    with _valid_lock:
        _valid.pop(key, None)
        if valid.value:
            if len(_valid) >= _MOST_VALID:
                _valid.clear()
            _valid[key] = time.monotonic() + _VALID_SECONDS
    return valid.value != 0


def user(token: str) -> User:
    """The name of the token's owner."""
    name, email = create_string_buffer(_VALUE_CAPACITY), create_string_buffer(_VALUE_CAPACITY)
    checked = encoded(token, "token", percent)
    check(library().GetFacebookUserNameEmail(checked, name, None, email, None))
    return User(json_value(name.value), json_value(email.value))


def pages(token: str) -> List[Page]:
    """The pages that the user manages, which may be none. Their categories count as pages."""
    array, count = POINTER(FacebookPage)(), c_int32()
    checked = encoded(token, "token", percent)
    result = library().GetFacebookUserPagesList(checked, byref(array), byref(count))
    if result == Result.NO_PAGES:
        return []
    check(result)
    try:
        return [Page(decoded(page.id), decoded(page.name)) for page in array[: count.value]]
    finally:
        library().FreeFacebookUserPagesList(byref(array))


def upload_video(
    token: str,
    path: Path,
    *,
    title: str,
    description: str,
    privacy: str = "",
    target: str = "",
    progress: Optional[ProgressCallback] = None,
    cancel: Optional[threading.Event] = None,
) -> str:
    """Uploads a video, and returns its identifier.

    privacy is "EVERYONE", "ALL_FRIENDS", "FRIENDS_OF_FRIENDS", "SELF" or empty. target is the identifier of a
    page; empty for the user's own feed. progress is called on this thread. Its figures count the form too,
    and start again when the file goes to Facebook's second host. An exception of it cancels the upload and
    leaves the call. cancel ends the call with `UploadCancelled`, unless everything was sent. The form
    announces the whole path to Facebook.
    """
    info = _described(description, str, "description", privacy, target)
    info.title = encoded(title, "title", longest=259)
    start = library().StartFacebookUploadVideo
    return _upload(start, token, path, info, progress, cancel)


def upload_photo(
    token: str,
    path: Path,
    *,
    message: str,
    privacy: str,
    target: str = "",
    progress: Optional[ProgressCallback] = None,
    cancel: Optional[threading.Event] = None,
) -> str:
    """Uploads a photo. Returns the identifier of the story about it; empty when Facebook names none.

    The arguments are those of `upload_video`. The code PRIVACY_NOT_UPDATED means that the photo exists.
    """
    info = _described(message, str, "message", privacy, target)
    start = library().StartFacebookUploadPhoto
    return _upload(start, token, path, info, progress, cancel)


def post(token: str, *, message: str = "", link: str = "", privacy: str = "", target: str = "") -> str:
    """Posts a message, a link or both, and returns the identifier of the post."""
    info = _described(message, post_text, "message", privacy, target)
    info.link = encoded(link, "link", post_text, 2047)
    post_id = create_string_buffer(_VALUE_CAPACITY)
    check(library().PostFacebookComment(encoded(token, "token", percent), info, post_id))
    return decoded(post_id.value)


def update(
    token: str,
    object_id: str,
    *,
    message: Optional[str] = None,
    privacy: Optional[str] = None,
    description: Optional[str] = None,
) -> None:
    """Changes what was published.

    That is a message, a message and the privacy of what its story is about, or a description.

    After the code TEXT_NOT_UPDATED the privacy is changed.
    """
    text, name = (message, "message") if message is not None else (description, "description")
    both = message is not None and description is not None
    if text is None or both or (privacy is not None and message is None):
        raise ValueError("give either a message, or a message and a privacy, or a description")
    info = _described(text, percent, name, privacy or "", "")
    info.updateKind = 2 if message is None else 0 if privacy is None else 1
    checked, identifier = encoded(token, "token", percent), encoded(object_id, "object_id", percent)
    check(library().SetFacebookUpdateInfo(checked, identifier, info))


def photo_url(token: str, photo_id: str) -> str:
    """The URL of the page that shows a photo; empty when it has none."""
    return _url(library().GetFacebookPhotoUrl, token, photo_id)


def video_url(video_id: str) -> str:
    """The URL of the page that shows a video. Nothing is sent."""
    return _url(library().GetFacebookVideoUrl, "", video_id)


def video_embed_url(token: str, video_id: str) -> str:
    """The URL of a video's own file; empty when it has none."""
    return _url(library().GetFacebookVideoEmbedUrl, token, video_id)


def _described(text: str, encode: Callable[[str], str], name: str, privacy: str, target: str) -> Any:
    # The library publishes to the user's own feed instead of a node that is no number.
    if target and target[0] not in "123456789":
        raise ValueError("target is no identifier: it begins with a digit from 1 to 9")
    if privacy.strip("ABCDEFGHIJKLMNOPQRSTUVWXYZ_"):
        raise ValueError("privacy has other characters than A to Z and _")
    info = FacebookUploadInfo()
    info.targetId = encoded(target, "target", percent, 259)
    info.privacy = encoded(privacy, "privacy", longest=24)
    info.description = encoded(text, name, encode, 49999)
    return info


def _upload(
    start: Callable[..., int],
    token: str,
    path: Path,
    info: Any,
    progress: Optional[ProgressCallback],
    cancel: Optional[threading.Event],
) -> str:
    info.filePath = fitting(encoded_path(path), "path", 1023)
    checked, object_id = encoded(token, "token", percent), create_string_buffer(_VALUE_CAPACITY)
    follow("Facebook", lambda handle: start(handle, checked, info, object_id), progress, cancel)
    return decoded(object_id.value)


def _url(fetch: Callable[..., Any], token: str, object_id: str) -> str:
    checked, identifier = encoded(token, "token", percent), encoded(object_id, "id", percent)
    size = c_int32(2 * _VALUE_CAPACITY)
    while True:
        url = create_string_buffer(size.value)
        result = fetch(checked, identifier, url, byref(size))
        if result == Result.OK:
            return json_value(url.value)
        if result != Result.BUFFER_TOO_SMALL:
            raise VelkError(result)
