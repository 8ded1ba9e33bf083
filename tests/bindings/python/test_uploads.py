"""Progress, cancelling, handles, and what remains of a call."""

import gc
import signal
import threading
import time
import unittest
import weakref
from unittest import mock

from support import CLIP, CONSUMER, PHOTO, USER, SandboxTest, script, sha256, state
from velk_upload import _upload, Result, UploadCancelled, VelkError, facebook, twitter, youtube

SIZE = 8_000_000
VIDEO = {"title": "T", "description": "D"}


def after(seconds):
    """An event that is set later."""
    event = threading.Event()
    timer = threading.Timer(seconds, event.set)
    timer.start()
    return event


class Progress(SandboxTest):
    def test_rises_to_the_end(self):
        for service, upload, size in [
            ("YouTube", youtube.upload, 20_000_000),
            ("Facebook", facebook.upload_video, 4_000_000),
        ]:
            with self.subTest(service):
                self.setUp()
                path, seen = self.file(f"{size}.mp4", size), []
                script(passThrough=True, readSlowly=2 * size, times=0)
                upload("token", path, progress=seen.append, **VIDEO)
                self.assertGreater(len(seen), 4)
                self.assertEqual(seen, sorted(set(seen)))
                self.assertEqual(len({progress.total for progress in seen}), 1)
                self.assertEqual(seen[-1].fraction, 1)
                if service == "YouTube":
                    self.assertEqual(seen[-1], (size, size))
                stored = state(service.lower())["videos" if service == "YouTube" else "objects"]
                self.assertEqual(stored[0]["sha256"], sha256(path))

    def test_an_exception_of_the_callback_cancels_the_upload(self):
        script(method="PUT", passThrough=True, readSlowly=1_000_000)
        threads = []

        def report(progress):
            threads.append(threading.current_thread())
            raise KeyError("mine")

        with self.assertRaisesRegex(KeyError, "mine"):
            youtube.upload("token", self.file("large.mp4", SIZE), progress=report, **VIDEO)
        self.assertEqual(threads, [threading.current_thread()])
        self.assertEqual(state("youtube")["videos"], [])


class Cancelling(SandboxTest):
    def test_late_gives_either_result_and_the_truth(self):
        """The request comes while the last bytes travel."""
        for delay in (0.0, 0.01, 0.02, 0.04, 0.08):
            self.setUp()
            try:
                youtube.upload("token", self.file("late.mp4", 3_000_000), cancel=after(delay), **VIDEO)
            except UploadCancelled:
                continue
            self.assertEqual(len(state("youtube")["videos"]), 1)


class Handles(SandboxTest):
    """What Uninit returns, and that no function of a handle is called after it."""

    def uploads(self, cancel):
        path = self.file("small.mp4", 2_000_000)
        return {
            "Facebook": lambda: facebook.upload_video("token", path, cancel=cancel, **VIDEO),
            "Twitter": lambda: twitter.upload_photo(CONSUMER, USER, path, text="x", cancel=cancel),
            "Youtube": lambda: youtube.upload("token", path, cancel=cancel, **VIDEO),
        }

    def watched(self, service, upload):
        """The names and results of the functions of handles, in order."""
        native, calls = _upload.library(), []

        class Watcher:
            def __getattr__(self, name):
                function = getattr(native, name)

                def call(*args):
                    result = function(*args)
                    calls.append((name, result))
                    return result

                return call

        with mock.patch.object(_upload, "library", lambda: Watcher()):
            try:
                upload()
            except VelkError:
                pass
        return calls

    def test_are_released_once_the_upload_has_ended(self):
        for service, upload in self.uploads(None).items():
            with self.subTest(service + ", finished"):
                name, result = self.watched(service, upload)[-1]
                expected = Result.OK if service == "Youtube" else Result.BUSY
                self.assertEqual((name, result), (f"Uninit{service}FileUploder", expected))
        slow = {"passThrough": True, "readSlowly": 500_000, "times": 0}
        for service in self.uploads(None):
            with self.subTest(service + ", cancelled"):
                script(**slow)
                calls = self.watched(service, self.uploads(after(0.2))[service])
                self.assertEqual(calls[-1], (f"Uninit{service}FileUploder", Result.OK))
                self.assertIn((f"Cancel{service}UploadFile", Result.OK), calls)

    def test_none_is_released_in_use_after_an_interrupt(self):
        ended = threading.Event()

        def start(handle):
            time.sleep(0.4)
            ended.set()
            return Result.CANCELLED

        main = threading.main_thread().ident
        threading.Timer(0.1, signal.pthread_kill, (main, signal.SIGINT)).start()
        with self.assertRaises(KeyboardInterrupt):
            _upload.follow("Facebook", start, None, None)
        self.assertTrue(ended.is_set())

    def test_a_cancel_before_the_PUT_is_repeated(self):
        script(method="POST", passThrough=True, delayMs=300)
        script(method="PUT", passThrough=True, readSlowly=500_000)
        calls = self.watched("Youtube", self.uploads(after(0.1))["Youtube"])
        results = [result for name, result in calls if name == "CancelYoutubeUploadFile"]
        self.assertGreater(results.count(Result.NOT_UPLOADING), 2)
        self.assertIn(Result.OK, results)


class Afterwards(SandboxTest):
    def test_nothing_keeps_the_callback_alive(self):
        class Report:
            def __call__(self, progress):
                pass

        report, cancel = Report(), threading.Event()
        references = weakref.ref(report), weakref.ref(cancel)
        youtube.upload("token", CLIP, progress=report, cancel=cancel, **VIDEO)
        twitter.upload_photo(CONSUMER, USER, PHOTO, text="x", progress=report, cancel=cancel)
        del report, cancel
        gc.collect()
        self.assertEqual([reference() for reference in references], [None, None])


if __name__ == "__main__":
    unittest.main()
