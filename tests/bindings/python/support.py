"""What the tests share: the sandbox's control URL, files to upload, and credentials."""

import hashlib
import json
import os
import shutil
import tempfile
import time
import unittest
import urllib.request

import velk_upload
from velk_upload import twitter

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))))
PHOTO = os.path.join(ROOT, "examples/media/photo.jpg")
CLIP = os.path.join(ROOT, "examples/media/clip.mp4")

CONSUMER = twitter.Consumer("key", "key-secret")
USER = twitter.User("token", "token-secret", "1", "velk")

_direct = urllib.request.build_opener(urllib.request.ProxyHandler({}))


def control(path, value=None, method=None):
    body = None if value is None else json.dumps(value).encode()
    url = os.environ["VELK_SANDBOX_CONTROL"] + path
    with _direct.open(urllib.request.Request(url, body, method=method)) as reply:
        return json.loads(reply.read())


def state(service):
    return control("/state")[service]


def requests():
    return control("/requests")


def arrived(path):
    """Waits for a request to a path."""
    end = time.monotonic() + 10
    while not any(request["target"].split("?")[0] == path for request in requests()):
        if time.monotonic() > end:
            raise AssertionError("no request to " + path)
        time.sleep(0.005)
    return True


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
        temporary = tempfile.mkdtemp(prefix="velk-python-")
        cls.addClassCleanup(shutil.rmtree, temporary)
        # The files of the cases.
        cls.folder = os.path.join(temporary, "我的 & пр 😀")
        os.mkdir(cls.folder)
        for name, source in [
            ("clip.mp4", CLIP),
            ("photo.jpg", PHOTO),
            ("it's.jpg", PHOTO),
            ("large.jpg", PHOTO),
        ]:
            shutil.copy(source, os.path.join(cls.folder, name))
        os.truncate(os.path.join(cls.folder, "large.jpg"), 3_000_000)
        cls.file(cls, "too large.jpg", 5_242_881)

    def setUp(self):
        control("/reset", method="POST")

    def file(self, name, size):
        """A file of that size. Its bytes repeat only after a long time."""
        path = os.path.join(self.folder, name)
        if not os.path.exists(path):
            with open(path, "wb") as file:
                file.write((bytes(range(251)) * (size // 251 + 1))[:size])
        return path
