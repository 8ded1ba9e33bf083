"""What the tests share: the sandbox's control URL, files to upload, and credentials."""

import hashlib
import json
import os
import shutil
import tempfile
import unittest
import urllib.request

import velk_upload
from velk_upload import twitter

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
PHOTO = os.path.join(ROOT, "examples/media/photo.jpg")
CLIP = os.path.join(ROOT, "examples/media/clip.mp4")

CONSUMER = twitter.Consumer("key", "key-secret")
USER = twitter.User("token", "token-secret", "1", "velk")

# Each arrives as it is, wherever it goes.
STRINGS = {
    "scripts": "Ünïcode, Ελληνικά, Кириллица, עברית, العربية, हिन्दी, ไทย, 中文, 日本語, 한국어",
    "quotes": "it's \"quoted\" & 'so' on",
    "backslashes": "\\ and \\\\ and \\n and \\u0041 and a final \\",
    "emoji": "😀 👩‍👩‍👧 🏳️‍🌈 👍🏽",
    "form": "a=b&c=d%20+e;f#g?h/i",
    "lines": "first\r\nsecond\tand a tab",
    "braces": "{'value': 'x'}, [1]",
}

_direct = urllib.request.build_opener(urllib.request.ProxyHandler({}))


def control(path, value=None, method=None):
    body = None if value is None else json.dumps(value).encode()
    url = os.environ["VELK_SANDBOX_CONTROL"] + path
    with _direct.open(urllib.request.Request(url, body, method=method)) as reply:
        return json.loads(reply.read())


def state(service):
    return control("/state")[service]


def requests(method=None):
    return [request for request in control("/requests") if method in (None, request["method"])]


def script(**members):
    control("/scripts", members)


def sha256(path):
    with open(path, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


class SandboxTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        velk_upload.load(os.environ["VELK_LIBRARY"])
        velk_upload.set_proxy(os.environ["VELK_SANDBOX_PROXY"])
        cls.folder = tempfile.mkdtemp(prefix="velk-python-")
        cls.addClassCleanup(shutil.rmtree, cls.folder)

    def setUp(self):
        control("/reset", method="POST")

    def file(self, name, size):
        """A file of that size. Its bytes repeat only after a long time."""
        path = os.path.join(self.folder, name)
        if not os.path.exists(path):
            with open(path, "wb") as file:
                file.write((bytes(range(251)) * (size // 251 + 1))[:size])
        return path
