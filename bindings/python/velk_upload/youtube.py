"""YouTube: uploading videos, and changing what was published.

Every function blocks, and raises `VelkError` for a failure, or `ValueError` for a value that cannot be sent
as it is. Texts arrive unchanged at the sandbox; against YouTube itself this was not tested.
"""

import threading
from ctypes import create_string_buffer
from typing import Any, Optional, Sequence

from ._errors import check
from ._native import YoutubeUploadInfo, library
from ._strings import Path, decoded, encoded, encoded_path, fitting, joined_tags, youtube_text
from ._upload import ProgressCallback, follow


def upload(
    token: str,
    path: Path,
    *,
    title: str,
    description: str,
    privacy: str = "private",
    category: str = "22",
    tags: Sequence[str] = (),
    progress: Optional[ProgressCallback] = None,
    cancel: Optional[threading.Event] = None,
) -> str:
    """Uploads a video, and returns its identifier.

    privacy is "public", "private" or "unlisted". category is the number of a category; 22 is people. progress
    is called on this thread. An exception of it cancels the upload and leaves the call. cancel ends the call
    with `UploadCancelled`, unless everything was sent.
    """
    info = _described(title, description, privacy, category, tags)
    info.filePath = fitting(encoded_path(path), "path", 1023)
    checked, video_id = encoded(token, "token"), create_string_buffer(256)
    start = library().StartYoutubeUploadFile
    follow("Youtube", lambda handle: start(handle, checked, info, video_id), progress, cancel)
    return decoded(video_id.value)


def update(
    token: str,
    video_id: str,
    *,
    title: str,
    description: str,
    privacy: str,
    category: str,
    tags: Sequence[str],
) -> None:
    """Replaces all five of a video: also pass what does not change. No tags remove the tags."""
    info = _described(title, description, privacy, category, tags)
    identifier = encoded(video_id, "video_id", youtube_text)
    check(library().SetYoutubeUploadFileUpdateInfo(encoded(token, "token"), identifier, info))


def _described(title: str, description: str, privacy: str, category: str, tags: Sequence[str]) -> Any:
    # The library rewrites a record, so that each call has its own.
    return YoutubeUploadInfo(
        title=encoded(title, "title", youtube_text, 299),
        description=encoded(description, "description", youtube_text, 4999),
        privacyStatus=encoded(privacy, "privacy", youtube_text, 24),
        categoryId=encoded(category, "category", youtube_text, 24),
        tags=joined_tags(tags, 1023),
    )
