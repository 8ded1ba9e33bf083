"""The library: where it is found, its records and its functions."""

import ctypes
import os
import threading
from ctypes import POINTER, c_char, c_char_p, c_double, c_int32, c_uint32, c_void_p
from ctypes.util import find_library
from typing import Any, Dict, List, Optional, Tuple

from ._errors import LibraryError
from ._strings import Path

_WINDOWS = os.name == "nt"
_NAME = "LibVelkUpload.dll" if _WINDOWS else "libvelkupload.so.1"


# A number is the width of a string.
_RECORDS: Dict[str, Dict[str, Any]] = {
    "FacebookUploadInfo": {
        "updateKind": c_uint32,
        "targetId": 260,
        "filePath": 1024,
        "title": 260,
        "description": 50000,
        "privacy": 25,
        "link": 2048,
    },
    "FacebookPage": {"id": 260, "name": 1024},
    "TwitterConsumer": {"consumerKey": 1024, "consumerSecret": 1024},
    "TwitterAccessRequest": {
        "consumerKey": 1024,
        "consumerSecret": 1024,
        "requestToken": 1024,
        "verifier": 1024,
    },
    "TwitterAccessToken": {"oauthToken": 1024, "oauthTokenSecret": 1024, "userId": 260, "screenName": 260},
    "TwitterUploadFile": {"fileName": 1024, "folderPath": 1024, "statusText": 1024},
    "YoutubeUploadInfo": {
        "filePath": 1024,
        "title": 300,
        "description": 5000,
        "privacyStatus": 25,
        "categoryId": 25,
        "tags": 1024,
    },
}


def _structure(name: str) -> Any:
    fields = [
        (field, c_char * kind if isinstance(kind, int) else kind) for field, kind in _RECORDS[name].items()
    ]
    return type(name, (ctypes.Structure,), {"_fields_": fields})


FacebookUploadInfo = _structure("FacebookUploadInfo")
FacebookPage = _structure("FacebookPage")
TwitterConsumer = _structure("TwitterConsumer")
TwitterAccessRequest = _structure("TwitterAccessRequest")
TwitterAccessToken = _structure("TwitterAccessToken")
TwitterUploadFile = _structure("TwitterUploadFile")
YoutubeUploadInfo = _structure("YoutubeUploadInfo")

_TEXT, _HANDLE, _SIZE, _COUNT = c_char_p, c_void_p, POINTER(c_int32), POINTER(c_uint32)
_PROGRESS: List[Any] = [_HANDLE, POINTER(c_double), POINTER(c_double)]
_START_FACEBOOK: List[Any] = [_HANDLE, _TEXT, POINTER(FacebookUploadInfo), _TEXT]
_CONSUMER, _TOKEN = POINTER(TwitterConsumer), POINTER(TwitterAccessToken)

# The parameters of each function. All return a code, but for Init.
_FUNCTIONS: Dict[str, List[Any]] = {
    "SetLibVelkUploadProxy": [_TEXT],
    "GetLibVelkUploadProxy": [_TEXT, _SIZE],
    "ExangeFacebookAccessToken": [_TEXT, _TEXT, _TEXT, _TEXT, _COUNT, _COUNT],
    "CheckFacebookAccessTokenValid": [_TEXT, _TEXT, _COUNT],
    "GetFacebookUserNameEmail": [_TEXT, _TEXT, _SIZE, _TEXT, _SIZE],
    "StartFacebookUploadVideo": _START_FACEBOOK,
    "StartFacebookUploadPhoto": _START_FACEBOOK,
    "PostFacebookComment": [_TEXT, POINTER(FacebookUploadInfo), _TEXT],
    "GetFacebookUserPagesList": [_TEXT, POINTER(POINTER(FacebookPage)), _SIZE],
    "FreeFacebookUserPagesList": [POINTER(POINTER(FacebookPage))],
    "SetFacebookUpdateInfo": [_TEXT, _TEXT, POINTER(FacebookUploadInfo)],
    "GetFacebookPhotoUrl": [_TEXT, _TEXT, _TEXT, _SIZE],
    "GetFacebookVideoUrl": [_TEXT, _TEXT, _TEXT, _SIZE],
    "GetFacebookVideoEmbedUrl": [_TEXT, _TEXT, _TEXT, _SIZE],
    "GetTwitterOauthUrl": [_TEXT, _TEXT, _SIZE, _TEXT],
    "GetTwitterAccessToken": [POINTER(TwitterAccessRequest), _TOKEN],
    "PostTwitterComment": [_CONSUMER, _TOKEN, _TEXT, _TEXT],
    "StartTwitterUploadPhoto": [_HANDLE, _CONSUMER, _TOKEN, POINTER(TwitterUploadFile)],
    "StartYoutubeUploadFile": [_HANDLE, _TEXT, POINTER(YoutubeUploadInfo), _TEXT],
    "SetYoutubeUploadFileUpdateInfo": [_TEXT, _TEXT, POINTER(YoutubeUploadInfo)],
}
for _service in ("Facebook", "Twitter", "Youtube"):
    _FUNCTIONS[f"Init{_service}FileUploder"] = []
    _FUNCTIONS[f"Uninit{_service}FileUploder"] = [_HANDLE]
    _FUNCTIONS[f"Get{_service}UploadFileProgress"] = _PROGRESS
    _FUNCTIONS[f"Cancel{_service}UploadFile"] = [_HANDLE]


def _find() -> Tuple[str, str]:
    """Where the library is, and where it was searched for."""
    folder = os.path.dirname(os.path.abspath(__file__))
    beside = os.path.join(folder, _NAME)
    if os.path.exists(beside):
        return beside, ""
    found = find_library(_NAME) if _WINDOWS else None
    return found or _NAME, f" (it is not in {folder}, and the system does not find it)"


def _open(path: str, searched: str) -> ctypes.CDLL:
    try:
        opened = ctypes.CDLL(path)
    except OSError as error:
        raise LibraryError(f"velk_upload: cannot load {path}{searched}: {error}") from error
    for name, parameters in _FUNCTIONS.items():
        try:
            function = getattr(opened, name)
        except AttributeError:
            raise LibraryError(
                f"velk_upload: {path} lacks the function {name}: "
                "it is another library, or an older version"
            ) from None
        function.argtypes = parameters
        function.restype = c_void_p if name.startswith("Init") else c_int32
    return opened


_lock = threading.Lock()
_loaded: Optional[Tuple[str, ctypes.CDLL]] = None


def load(path: Optional[Path] = None) -> str:
    """Loads the library, which otherwise happens at the first call.

    Without a path it is the one beside this package, or else the one that the system finds. It stays loaded.

    Returns the path. Raises `LibraryError` when the library is missing or is another one, and `ValueError`
    when another library is loaded already.
    """
    global _loaded
    with _lock:
        if _loaded is None:
            file, searched = (os.path.abspath(path), "") if path is not None else _find()
            _loaded = file, _open(file, searched)
        elif path is not None and os.path.abspath(path) != _loaded[0]:
            raise ValueError(f"velk_upload: {_loaded[0]} is loaded already")
        return _loaded[0]


def library() -> ctypes.CDLL:
    """The functions of the library."""
    if _loaded is None:
        load()
    assert _loaded is not None
    return _loaded[1]
