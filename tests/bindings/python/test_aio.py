"""The functions for asyncio."""

import asyncio
import gc
import threading
import time
import unittest
import weakref

import velk_upload
from support import CLIP, CONSUMER, PHOTO, USER, SandboxTest, requests, script, state
from velk_upload import Result, UploadCancelled, VelkError, aio

VIDEO = {"title": "T", "description": "D"}


class Asyncio(SandboxTest, unittest.IsolatedAsyncioTestCase):
    async def test_every_function(self):
        for service in ("facebook", "twitter", "youtube"):
            functions = {
                name
                for name, value in vars(getattr(velk_upload, service)).items()
                if getattr(value, "__module__", "") == f"velk_upload.{service}" and name[0].islower()
            }
            self.assertEqual({n for n in vars(getattr(aio, service)) if n in functions}, functions, service)
        self.assertEqual((await aio.facebook.exchange_token("app", "secret", "t")).token, "long-t")
        await aio.twitter.tweet(CONSUMER, USER, "hello")
        await aio.twitter.upload_photo(CONSUMER, USER, PHOTO, text="photo")
        with self.assertRaises(VelkError) as caught:
            await aio.facebook.user("expired")
        self.assertEqual(caught.exception.code, Result.TOKEN_REJECTED)
        with self.assertRaises(ValueError):
            await aio.youtube.upload("token", CLIP, title="x" * 300, description="D")

    async def test_progress_by_iterator_and_callback(self):
        script(method="PUT", passThrough=True, readSlowly=20_000_000)
        called, seen = [], []
        path = self.file("medium.mp4", 8_000_000)
        upload = aio.youtube.upload("token", path, progress=lambda p: called.append(p), **VIDEO)
        async for progress in upload:
            seen.append(progress)
        self.assertTrue(upload.done())
        self.assertEqual(await upload, state("youtube")["videos"][0]["id"])
        self.assertGreater(len(seen), 3)
        self.assertEqual(seen, sorted(set(seen)))
        self.assertEqual(seen[-1], (8_000_000, 8_000_000))
        self.assertLessEqual(set(seen), set(called))

    async def test_a_failure_of_the_callback_is_that_of_the_upload(self):
        script(method="PUT", passThrough=True, readSlowly=500_000)

        def report(progress):
            raise KeyError("mine")

        with self.assertRaisesRegex(KeyError, "mine"):
            await aio.youtube.upload("token", self.file("medium.mp4", 8_000_000), progress=report, **VIDEO)
        self.assertEqual(state("youtube")["videos"], [])

    async def test_cancelling(self):
        path = self.file("medium.mp4", 8_000_000)

        async def awaits(upload):
            await upload

        async def iterates(upload):
            async for _ in upload:
                pass

        for name, follow in [("awaiting", awaits), ("iterating", iterates)]:
            with self.subTest(name):
                script(method="PUT", passThrough=True, readSlowly=500_000)
                upload = aio.youtube.upload("token", path, **VIDEO)
                with self.assertRaises(asyncio.TimeoutError):
                    await asyncio.wait_for(follow(upload), 0.3)
                self.assertTrue(upload.done())
                with self.assertRaises(UploadCancelled):
                    upload.result()
        for name, event in [("by an event", threading.Event()), ("by the upload", None)]:
            with self.subTest(name):
                script(method="PUT", passThrough=True, readSlowly=500_000)
                upload = aio.youtube.upload("token", path, cancel=event, **VIDEO)
                asyncio.get_running_loop().call_later(0.3, event.set if event else upload.cancel)
                with self.assertRaises(UploadCancelled):
                    await upload
        self.assertEqual(state("youtube")["videos"], [])

    async def test_a_late_cancel_keeps_the_result(self):
        script(path="/1.1/statuses/update.json", passThrough=True, delayMs=300)
        upload = aio.twitter.upload_photo(CONSUMER, USER, PHOTO, text="photo")
        task = asyncio.ensure_future(asyncio.wait_for(upload, 5))
        while not any("statuses" in request["target"] for request in requests()):
            await asyncio.sleep(0.005)
        task.cancel()
        try:
            await task
        except asyncio.CancelledError:
            pass
        self.assertIsNone(upload.result())

    async def test_eight_uploads_at_once_delay_nothing_else(self):
        script(method="PUT", passThrough=True, readSlowly=1_000_000, times=0)
        uploads = []
        for index in range(8):
            path = self.file(f"{index}.mp4", 500_000 + index)
            uploads.append(aio.youtube.upload("token", path, title=f"video {index}", description="D"))
        start = time.monotonic()
        await asyncio.get_running_loop().run_in_executor(None, len, "x")
        self.assertLess(time.monotonic() - start, 0.3)
        self.assertFalse(any(upload.done() for upload in uploads))
        identifiers = await asyncio.gather(*uploads)
        stored = {video["id"]: (video["title"], video["size"]) for video in state("youtube")["videos"]}
        expected = [(f"video {index}", 500_000 + index) for index in range(8)]
        self.assertEqual([stored[identifier] for identifier in identifiers], expected)

    async def test_a_cancelled_task_leaves_a_call_that_cannot_be_cancelled(self):
        script(path="/1.1/statuses/update.json", passThrough=True, delayMs=300)
        with self.assertRaises(asyncio.TimeoutError):
            await asyncio.wait_for(aio.twitter.tweet(CONSUMER, USER, "posted"), 0.1)
        while not any(request["status"] for request in requests()):
            await asyncio.sleep(0.05)
        self.assertEqual([tweet["text"] for tweet in state("twitter")["tweets"]], ["posted"])

    async def test_nothing_keeps_the_callback_alive(self):
        def report(progress):
            pass

        reference = weakref.ref(report)
        upload = aio.youtube.upload("token", CLIP, progress=report, **VIDEO)
        await upload
        del report
        await asyncio.sleep(0.05)
        gc.collect()
        self.assertIsNone(reference())


if __name__ == "__main__":
    unittest.main()
