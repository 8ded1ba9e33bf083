"""The functions of `velk_upload.twitter` for asyncio."""

from .. import twitter as _blocking
from ._run import as_coroutine, as_upload

sign_in = as_coroutine(_blocking.sign_in)
finish_sign_in = as_coroutine(_blocking.finish_sign_in)
tweet = as_coroutine(_blocking.tweet)
upload_photo = as_upload(_blocking.upload_photo)
