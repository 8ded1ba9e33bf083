"""The functions of `velk_upload.facebook` for asyncio."""

from .. import facebook as _blocking
from ._run import as_coroutine, as_upload

exchange_token = as_coroutine(_blocking.exchange_token)
check_token = as_coroutine(_blocking.check_token)
user = as_coroutine(_blocking.user)
pages = as_coroutine(_blocking.pages)
upload_video = as_upload(_blocking.upload_video)
upload_photo = as_upload(_blocking.upload_photo)
post = as_coroutine(_blocking.post)
update = as_coroutine(_blocking.update)
photo_url = as_coroutine(_blocking.photo_url)
video_url = _blocking.video_url
video_embed_url = as_coroutine(_blocking.video_embed_url)
