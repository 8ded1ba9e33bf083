"""Every function once, with strings of every kind, values of every length, and each kind of failure."""

import os
import unittest
from unittest import mock

import velk_upload
from support import (
    CLIP,
    CONSUMER,
    PHOTO,
    STRINGS,
    USER,
    SandboxTest,
    control,
    requests,
    script,
    sha256,
    state,
)
from velk_upload import Result, VelkError, facebook, twitter, youtube


class Facebook(SandboxTest):
    def test_tokens(self):
        self.assertEqual(facebook.exchange_token("app", "secret", "t&k%n"), ("long-t&k%n", 5184000))
        self.assertTrue(facebook.check_token("app", "fresh"))
        self.assertFalse(facebook.check_token("app", "expired"))

    def test_remembers_a_valid_token_for_five_minutes(self):
        with mock.patch("velk_upload.facebook.time.monotonic") as now:
            for second, token, count in [
                (0, "one", 1),
                (299, "one", 1),
                (299, "two", 2),
                (301, "one", 3),
                (301, "expired", 4),
                (301, "expired", 5),
            ]:
                now.return_value = 1000000 + second
                facebook.check_token("clock", token)
                self.assertEqual(len(requests("GET")), count, (second, token))
            for index in range(300):
                facebook._valid["clock", str(index)] = 0
            facebook.check_token("clock", "three")
            self.assertLessEqual(len(facebook._valid), facebook._MOST_VALID)

    def test_user_and_pages(self):
        self.assertEqual(facebook.user("token").email, "")
        script(path="/me", body='{"name":"Zo\\u00eb \\ud83d\\ude00 \\/","id":"1"}', status=200)
        self.assertEqual(facebook.user("token").name, "Zoë 😀 /")
        script(path="/me", body='{"name":123,"id":"1"}', status=200)
        self.assertEqual(facebook.user("token").name, "")
        self.assertIn(("104000000000001", "Velk News"), facebook.pages("token"))
        self.assertEqual(facebook.pages("pageless"), [])

    def test_publishes_and_changes(self):
        video = facebook.upload_video("token", CLIP, title="T", description="D", privacy="SELF")
        self.assertIn(video, facebook.video_url(video))
        self.assertTrue(facebook.video_embed_url("token", video).startswith("https://"))
        story = facebook.upload_photo(
            "token", PHOTO, message="M", privacy="EVERYONE", target="104000000000001"
        )
        photo = next(o for o in state("facebook")["objects"] if o["kind"] == "photo")
        self.assertEqual((photo["node"], photo["sha256"]), ("104000000000001", sha256(PHOTO)))
        self.assertTrue(facebook.photo_url("token", photo["id"]).startswith("https://"))
        facebook.update("token", video, description="D2")
        facebook.update("token", story, message="M2", privacy="SELF")
        post = facebook.post("token", message="P", link="https://example.com/?a=1&b=2", privacy="SELF")
        facebook.update("token", post, message="P2")
        objects = {o["id"]: o for o in state("facebook")["objects"]}
        self.assertEqual(objects[video]["description"], "D2")
        self.assertEqual(objects[photo["id"]]["privacy"], "SELF")
        self.assertEqual(
            (objects[post]["message"], objects[post]["link"]), ("P2", "https://example.com/?a=1&b=2")
        )

    def test_refuses_what_cannot_be_sent_as_it_is(self):
        rows = {
            "no such node": dict(message="m", target="me"),
            "a privacy that ends its quotes": dict(message="m", privacy="SELF'"),
            "a NUL": dict(message="a\0b"),
            "half of a character": dict(message="\ud83d"),
        }
        for name, arguments in rows.items():
            with self.subTest(name), self.assertRaises(ValueError):
                facebook.post("token", **arguments)
        for arguments in [{}, dict(privacy="SELF"), dict(message="m", description="d")]:
            with self.subTest(str(arguments)), self.assertRaises(ValueError):
                facebook.update("token", "1", **arguments)
        self.assertEqual(requests(), [])


class Twitter(SandboxTest):
    def test_signs_in_and_tweets(self):
        begun = twitter.sign_in(CONSUMER)
        self.assertIn(begun.request_token, begun.url)
        user = twitter.finish_sign_in(CONSUMER, begun.request_token, " 1234567\n")
        twitter.tweet(CONSUMER, user, "hello")
        twitter.upload_photo(CONSUMER, user, PHOTO, text="a photo")
        media = state("twitter")["media"][0]
        self.assertEqual(media["sha256"], sha256(PHOTO))
        self.assertEqual([tweet["text"] for tweet in state("twitter")["tweets"]], ["hello", "a photo"])
        twitter.tweet(CONSUMER, user, "again", [media["id"]])
        self.assertEqual(state("twitter")["tweets"][2]["mediaIds"], media["id"])

    def test_takes_paths_of_every_form(self):
        folder = os.path.join(self.folder, "bücher 😀")
        os.makedirs(folder)
        os.link(PHOTO, os.path.join(folder, "it's.jpg"))
        before = os.getcwd()
        self.addCleanup(os.chdir, before)
        os.chdir(folder)
        for path in [
            "it's.jpg",
            "./it's.jpg",
            os.path.join(folder, "it's.jpg"),
            "../" + os.path.basename(folder) + "//it's.jpg",
        ]:
            twitter.upload_photo(CONSUMER, USER, path, text=path)
        self.assertEqual(len(state("twitter")["tweets"]), 4)

    def test_a_reply_without_all_fields_is_a_failure(self):
        script(path="/oauth/access_token", status=200, body="oauth_token=a&oauth_token_secret=b")
        with self.assertRaises(VelkError) as caught:
            twitter.finish_sign_in(CONSUMER, "r", "1234567")
        self.assertEqual(caught.exception.code, Result.NO_IDENTIFIER)


class Youtube(SandboxTest):
    def test_uploads_and_changes(self):
        video = youtube.upload("token", CLIP, title="T", description="D", category="28", tags=["a", "b c"])
        stored = state("youtube")["videos"][0]
        self.assertEqual((stored["id"], stored["sha256"]), (video, sha256(CLIP)))
        self.assertEqual(
            (stored["tags"], stored["categoryId"], stored["privacyStatus"]), (["a", "b c"], "28", "private")
        )
        youtube.update("token", video, title="T2", description="D2", privacy="public", category="22", tags=[])
        stored = state("youtube")["videos"][0]
        self.assertEqual((stored["title"], stored["tags"], stored["privacyStatus"]), ("T2", [], "public"))

    def test_refuses_tags_that_would_be_others(self):
        for tag in ["", "a\nb"]:
            with self.subTest(tag), self.assertRaises(ValueError):
                youtube.upload("token", CLIP, title="T", description="D", tags=[tag])


class Proxy(SandboxTest):
    def test_is_kept_and_not_cut(self):
        before = velk_upload.get_proxy()
        self.assertEqual(before, os.environ["VELK_SANDBOX_PROXY"])
        with self.assertRaises(ValueError):
            velk_upload.set_proxy("x" * 256)
        self.assertEqual(velk_upload.get_proxy(), before)


class Strings(SandboxTest):
    def test_arrive_unchanged(self):
        for name, text in STRINGS.items():
            with self.subTest(name):
                control("/reset", method="POST")
                facebook.upload_video("token", CLIP, title=text, description=text, privacy="SELF")
                facebook.upload_photo("token", PHOTO, message=text, privacy="SELF")
                post = facebook.post(
                    "token", message=text, link="https://example.com/" + text, privacy="SELF"
                )
                video, photo = [o for o in state("facebook")["objects"] if o["kind"] in ("video", "photo")]
                objects = {o["id"]: o for o in state("facebook")["objects"]}
                self.assertEqual((video["title"], video["description"], photo["message"]), (text, text, text))
                self.assertEqual(objects[post]["message"], text)
                self.assertEqual(objects[post]["link"], "https://example.com/" + text)
                facebook.update("token", video["id"], description=text + "2")
                self.assertEqual(state("facebook")["objects"][0]["description"], text + "2")
                twitter.tweet(CONSUMER, USER, text)
                twitter.upload_photo(CONSUMER, USER, PHOTO, text=text + "2")
                self.assertEqual([t["text"] for t in state("twitter")["tweets"]], [text, text + "2"])
                tags = [text.replace("\n", " "), "second"]
                uploaded = youtube.upload("token", CLIP, title=text[:60], description=text, tags=tags)
                stored = state("youtube")["videos"][0]
                self.assertEqual(
                    (stored["title"], stored["description"], stored["tags"]), (text[:60], text, tags)
                )
                youtube.update(
                    "token",
                    uploaded,
                    title=text[-60:],
                    description=text + "2",
                    privacy="public",
                    category="22",
                    tags=tags[1:],
                )
                stored = state("youtube")["videos"][0]
                self.assertEqual((stored["title"], stored["description"]), (text[-60:], text + "2"))

    def test_null_is_a_text_like_others(self):
        post = facebook.post("token", message="NULL", link="https://example.com", privacy="SELF")
        self.assertEqual([o["message"] for o in state("facebook")["objects"] if o["id"] == post], ["NULL"])

    def test_the_longest_arrive_whole_and_longer_ones_are_refused(self):
        """Each value is measured as it is sent."""

        def youtube_field(name, text):
            script(
                method="POST",
                path="/upload/*",
                status=200,
                headers=["Location: https://www.googleapis.com/s"],
            )
            script(method="PUT", status=200, body='{"id": "v"}')
            youtube.upload("token", CLIP, **{"title": "t", "description": "d", name: text})
            return requests("POST")[0]["body"]

        def facebook_post(name, text):
            facebook.post("token", **{"message": "m", name: text})
            return requests("POST")[0]["body"]

        def tweeted(name, text):
            script(status=200, body="{}")
            twitter.tweet(CONSUMER, USER, text)
            return requests("POST")[0]["body"]

        for send, name, longest, sent in [
            (youtube_field, "title", "'" * 49 + "12345", "\\u0027" * 49 + "12345'"),
            (youtube_field, "title", "\n" * 149 + "x", "\\n" * 149 + "x'"),
            (youtube_field, "description", "\\" * 2499 + "x", "\\\\" * 2499 + "x'"),
            (facebook_post, "message", "é" * 8333 + "x", "%C3%A9" * 8333 + "x&"),
            (facebook_post, "link", "&" * 682 + "x", "%26" * 682 + "x&"),
            (tweeted, "text", "x" * 420, "x" * 420),
        ]:
            with self.subTest(f"{send.__name__} {name}"):
                control("/reset", method="POST")
                self.assertIn(sent, send(name, longest))
                control("/reset", method="POST")
                with self.assertRaisesRegex(ValueError, name + " is too long"):
                    send(name, longest + "x")
                self.assertEqual(requests(), [])


class Failures(SandboxTest):
    def test_have_code_name_and_advice(self):
        def status(code, body="{}", **more):
            return lambda: script(status=code, body=body, **more)

        nothing = lambda: None  # noqa: E731
        video = dict(title="T", description="D")
        rows = [
            ("VELK_TOKEN_REJECTED", nothing, lambda: facebook.user("expired")),
            ("VELK_UNEXPECTED_REPLY", status(404), lambda: facebook.user("token")),
            ("VELK_TRANSFER_FAILED", lambda: script(reset=True), lambda: facebook.user("token")),
            ("VELK_UNSUPPORTED_GET", nothing, lambda: facebook.video_embed_url("token", "999")),
            ("VELK_NO_IDENTIFIER", status(200), lambda: facebook.post("token", message="m", privacy="SELF")),
            ("VELK_NO_IDENTIFIER", status(200), lambda: facebook.exchange_token("app", "secret", "token")),
            ("VELK_BUFFER_TOO_SMALL", status(200, bodySize=20000), lambda: facebook.pages("token")),
            ("VELK_MESSAGE_NOT_UPDATED", nothing, lambda: facebook.update("token", "999", message="m")),
            ("VELK_TEXT_NOT_UPDATED", nothing, lambda: facebook.update("token", "999", description="d")),
            (
                "VELK_PRIVACY_NOT_UPDATED",
                nothing,
                lambda: facebook.update("token", "999", message="m", privacy="SELF"),
            ),
            (
                "VELK_SERVER_ERROR",
                lambda: script(path="/me/videos*", status=500, body="{}", times=2),
                lambda: facebook.upload_video("token", CLIP, **video),
            ),
            ("VELK_FILE_NOT_OPENED", nothing, lambda: youtube.upload("token", "/nowhere", **video)),
            ("VELK_FILE_NOT_OPENED", nothing, lambda: youtube.upload("token", self.folder, **video)),
            ("VELK_MISSING_ARGUMENT", nothing, lambda: youtube.upload("expired", CLIP, **video)),
            (
                "VELK_MISSING_ARGUMENT",
                nothing,
                lambda: youtube.upload("token", CLIP, title="", description="d"),
            ),
            ("VELK_FORBIDDEN", nothing, lambda: youtube.upload("forbidden", CLIP, **video)),
            ("VELK_NO_HANDLE", status(418, method="PUT"), lambda: youtube.upload("token", CLIP, **video)),
            (
                "VELK_CREDENTIALS_REFUSED",
                nothing,
                lambda: twitter.tweet(twitter.Consumer("key", "wrong"), USER, "x"),
            ),
            (
                "VELK_DUPLICATE_STATUS",
                lambda: twitter.tweet(CONSUMER, USER, "x"),
                lambda: twitter.tweet(CONSUMER, USER, "x"),
            ),
            (
                "VELK_TOO_LARGE",
                nothing,
                lambda: twitter.upload_photo(CONSUMER, USER, self.file("large.jpg", 5242881), text="x"),
            ),
        ]
        for name, prepare, call in rows:
            with self.subTest(name):
                control("/reset", method="POST")
                prepare()
                with self.assertRaises(VelkError) as caught:
                    call()
                error = caught.exception
                self.assertEqual(error.name, name)
                self.assertEqual(error.code, Result[name[5:]])
                self.assertEqual(error.partial, error.code > 0)
                self.assertIn(error.advice, str(error))
                self.assertGreater(len(error.advice), 10)

    def test_a_code_of_a_later_version_is_a_failure(self):
        error = VelkError(-99)
        self.assertEqual((error.code, error.name, error.partial), (-99, "VELK_UNKNOWN", False))


if __name__ == "__main__":
    unittest.main()
