"""Twitter: signing in, tweets, and photos.

Every function blocks, and raises `VelkError` for a failure, or `ValueError` for a value that cannot be sent
as it is. Texts arrive unchanged.
"""

import os
import threading
from ctypes import create_string_buffer
from typing import Any, NamedTuple, Optional, Sequence

from . import _native
from ._errors import VelkError, check
from ._native import library
from ._results import Result
from ._strings import Path, decoded, encoded, encoded_path, fitting, percent
from ._upload import ProgressCallback, follow

# The library uses that many bytes of each, and Twitter refuses what is longer as unknown.
_LONGEST_KEY, _LONGEST_TOKEN = 1004, 1011


class Consumer(NamedTuple):
    """The application's own credentials."""

    key: str
    secret: str


class User(NamedTuple):
    """A signed-in user. Keep it: it does not expire."""

    token: str
    token_secret: str
    id: str
    screen_name: str


class SignIn(NamedTuple):
    """A sign-in that has begun."""

    url: str  #: Where the user allows the application, and sees a PIN.
    request_token: str  #: For `finish_sign_in`.


def sign_in(consumer: Consumer) -> SignIn:
    """Begins a sign-in."""
    page = create_string_buffer(2048)
    key = encoded(consumer.key, "key", longest=_LONGEST_KEY)
    secret = encoded(consumer.secret, "secret", longest=1023)
    check(library().GetTwitterOauthUrl(key, secret, None, page))
    url = decoded(page.value)
    return SignIn(url, url.partition("oauth_token=")[2])


def finish_sign_in(consumer: Consumer, request_token: str, pin: str) -> User:
    """Ends a sign-in. Blanks and a line end around the PIN are ignored."""
    application, user = _application(consumer), _native.TwitterAccessToken()
    request = _native.TwitterAccessRequest(
        consumerKey=application.consumerKey,
        consumerSecret=application.consumerSecret,
        requestToken=encoded(request_token, "request_token", longest=1023),
        verifier=encoded(pin.strip(), "pin", percent, 1023),
    )
    check(library().GetTwitterAccessToken(request, user))
    fields = (user.oauthToken, user.oauthTokenSecret, user.userId, user.screenName)
    if not all(fields):  # a reply without them counts as a success
        raise VelkError(Result.NO_IDENTIFIER)
    return User(*map(decoded, fields))


def tweet(consumer: Consumer, user: User, text: str, media_ids: Sequence[str] = ()) -> None:
    """Posts a text of at most 420 bytes, with the media of these identifiers.

    Twitter has a limit of its own, 140 or 280 characters.
    """
    media = encoded(",".join(media_ids), "media_ids")
    status = encoded(text, "text", longest=420)
    check(library().PostTwitterComment(_application(consumer), _account(user), status, media))


def upload_photo(
    consumer: Consumer,
    user: User,
    path: Path,
    *,
    text: str,
    progress: Optional[ProgressCallback] = None,
    cancel: Optional[threading.Event] = None,
) -> None:
    """Uploads a photo of at most 5 MiB, and posts a tweet of at most 420 bytes that shows it.

    progress is called on this thread, and counts each segment of 1 MiB by itself. An exception of it cancels
    the upload and leaves the call. cancel ends the call with `UploadCancelled` while a segment is sent.
    """
    folder, name = os.path.split(encoded_path(path))
    # The library joins both with a separator.
    file = _native.TwitterUploadFile(
        fileName=fitting(name, "path", 1023),
        folderPath=fitting(folder.rstrip(b"/\\") if folder else b".", "path", 1023),
        statusText=encoded(text, "text", longest=420),
    )
    application, account = _application(consumer), _account(user)
    start = library().StartTwitterUploadPhoto
    follow("Twitter", lambda handle: start(handle, application, account, file), progress, cancel)


def _application(consumer: Consumer) -> Any:
    return _native.TwitterConsumer(
        consumerKey=encoded(consumer.key, "key", longest=_LONGEST_KEY),
        consumerSecret=encoded(consumer.secret, "secret", longest=1023),
    )


def _account(user: User) -> Any:
    return _native.TwitterAccessToken(
        oauthToken=encoded(user.token, "token", longest=_LONGEST_TOKEN),
        oauthTokenSecret=encoded(user.token_secret, "token_secret", longest=1023),
        userId=encoded(user.id, "id", longest=259),
        screenName=encoded(user.screen_name, "screen_name", longest=259),
    )
