"""The functions of `velk_upload.youtube` for asyncio."""

from .. import youtube as _blocking
from ._run import as_coroutine, as_upload

upload = as_upload(_blocking.upload)
update = as_coroutine(_blocking.update)
