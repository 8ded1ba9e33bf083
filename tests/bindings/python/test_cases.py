"""The cases that all bindings share, and what else is peculiar to the functions in Python."""

import json
import os
import threading
import unittest
from unittest import mock

import velk_upload
from support import ROOT, SandboxTest, arrived, control, requests, script, state
from velk_upload import Result, UploadCancelled, VelkError, facebook, twitter, youtube


def read(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return json.load(file)


RESULTS = {result["name"]: result for result in read("docs/result_codes.json")}
CASES = read("tests/bindings/cases.json")


def stored(kind):
    service, member = kind.split(".")
    return state(service)[member]


def exchange_token(appId, appSecret, token):
    exchanged = facebook.exchange_token(appId, appSecret, token)
    return {"token": exchanged.token, "seconds": exchanged.lifetime}


def sign_in(key, secret):
    page = twitter.sign_in(twitter.Consumer(key, secret))
    return {"url": page.url, "requestToken": page.request_token}


def finish_sign_in(key, secret, requestToken, pin):
    user = twitter.finish_sign_in(twitter.Consumer(key, secret), requestToken, pin)
    return {
        "token": user.token,
        "tokenSecret": user.token_secret,
        "id": user.id,
        "screenName": user.screen_name,
    }


def tweet(key, secret, userToken, userSecret, text, mediaIds=()):
    user = twitter.User(userToken, userSecret, "7", "velk")
    return twitter.tweet(twitter.Consumer(key, secret), user, text, mediaIds)


def upload_photo(key, secret, userToken, userSecret, file, **more):
    user = twitter.User(userToken, userSecret, "7", "velk")
    return twitter.upload_photo(twitter.Consumer(key, secret), user, file, **more)


def update_video(token, id, privacy="private", category="22", tags=(), **texts):
    return youtube.update(token, id, privacy=privacy, category=category, tags=tags, **texts)


FUNCTIONS = {
    "getProxy": velk_upload.get_proxy,
    "setProxy": velk_upload.set_proxy,
    "stored": stored,
    "requests": requests,
    "facebook.exchangeToken": exchange_token,
    "facebook.checkToken": lambda appId, token: facebook.check_token(appId, token),
    "facebook.user": lambda token: facebook.user(token)._asdict(),
    "facebook.pages": lambda token: [page._asdict() for page in facebook.pages(token)],
    "facebook.uploadVideo": lambda token, file, **more: facebook.upload_video(token, file, **more),
    "facebook.uploadPhoto": lambda token, file, **more: facebook.upload_photo(token, file, **more),
    "facebook.post": facebook.post,
    "facebook.update": lambda token, id, **texts: facebook.update(token, id, **texts),
    "facebook.photoUrl": lambda token, id: facebook.photo_url(token, id),
    "facebook.videoUrl": lambda id: facebook.video_url(id),
    "facebook.videoEmbedUrl": lambda token, id: facebook.video_embed_url(token, id),
    "twitter.signIn": sign_in,
    "twitter.finishSignIn": finish_sign_in,
    "twitter.tweet": tweet,
    "twitter.uploadPhoto": upload_photo,
    "youtube.upload": lambda token, file, **more: youtube.upload(token, file, **more),
    "youtube.update": update_video,
}


def expanded(value, variables):
    """With the values of variables, and what is repeated written out."""
    if isinstance(value, str):
        for name, text in variables.items():
            value = value.replace("${" + name + "}", str(text))
        return value
    if isinstance(value, list):
        return [expanded(item, variables) for item in value]
    if isinstance(value, dict) and "of" in value:
        return value.get("before", "") + value["of"] * value["times"] + value.get("then", "")
    if isinstance(value, dict):
        return {name: expanded(member, variables) for name, member in value.items()}
    return value


def save(name, value, variables):
    """Sets the variable of a value, and those of its members."""
    variables[name] = value
    members = (
        value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    )
    for key, member in members:
        save(f"{name}.{key}", member, variables)


class Cases(SandboxTest):
    def setUp(self):
        super().setUp()
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)

    def test_each(self):
        for case in CASES["cases"]:
            for row in CASES["strings"] if "each" in case else [{}]:
                with self.subTest(" ".join([case["name"], row.get("name", "")])):
                    control("/reset", method="POST")
                    variables = {"folder": self.folder, "proxy": os.environ["VELK_SANDBOX_PROXY"], **row}
                    for step in case.get("steps", [case]):
                        self.run_step(step, variables)

    def run_step(self, step, variables):
        for one in step.get("scripts", []):
            script(**expanded(one, variables))
        values = expanded({**CASES["defaults"][step["call"]], **step.get("with", {})}, variables)
        if "fails" in step:
            with self.assertRaises(VelkError) as caught:
                self.call(step, values)
            self.check_error(caught.exception, RESULTS[step["fails"]])
        elif "refused" in step:
            with self.assertRaises(ValueError) as caught:
                self.call(step, values)
            self.assertIn(step["refused"], str(caught.exception))
        else:
            result = self.call(step, values)
            save(step.get("as", "result"), result, variables)
            if "returns" in step:
                self.check(result, expanded(step["returns"], variables), step["call"])
        if "requests" in step:
            self.assertEqual(len(requests()), step["requests"])

    def call(self, step, values):
        when, function = step.get("cancel"), FUNCTIONS[step["call"]]
        if when is None:
            return function(**values)
        cancel = threading.Event()
        if when == "before":
            cancel.set()
        if when == "sent":
            values["progress"] = lambda progress: progress.sent > 0 and cancel.set()
        watcher = threading.Thread(target=lambda: when.startswith("/") and arrived(when) and cancel.set())
        watcher.start()
        try:
            return function(cancel=cancel, **values)
        finally:
            watcher.join()
            cancel.set()

    def check(self, actual, expected, where):
        """An object may have more members than expected."""
        if isinstance(expected, dict):
            for name, member in expected.items():
                self.check(actual[name], member, f"{where}.{name}")
        elif isinstance(expected, list):
            self.assertEqual(len(actual), len(expected), where)
            for index, item in enumerate(expected):
                self.check(actual[index], item, f"{where}.{index}")
        else:
            self.assertEqual(actual, expected, where)

    def check_error(self, error, result):
        code, name, meaning, advice = (result[member] for member in ("code", "name", "meaning", "advice"))
        self.assertEqual((error.name, error.meaning, error.advice), (name, meaning, advice))
        self.assertEqual((error.code, error.code, error.partial), (code, Result[name[5:]], code > 0))
        self.assertEqual(str(error), f"{name} ({code}): {meaning} {advice}")
        self.assertEqual(isinstance(error, UploadCancelled), name == "VELK_CANCELLED")


class Functions(SandboxTest):
    def test_a_valid_token_is_remembered_for_five_minutes(self):
        with mock.patch("velk_upload.facebook.time.monotonic") as now:
            for second, token, count in [(0, "one", 1), (299, "one", 1), (299, "two", 2), (301, "one", 3)]:
                now.return_value = 1000000 + second
                facebook.check_token("clock", token)
                self.assertEqual(len(requests()), count, (second, token))
            for index in range(300):
                facebook._valid["clock", str(index)] = 0
            facebook.check_token("clock", "three")
            self.assertLessEqual(len(facebook._valid), facebook._MOST_VALID)

    def test_half_of_a_character_is_refused(self):
        with self.assertRaises(ValueError):
            facebook.post("token", message="\ud83d")
        self.assertEqual(requests(), [])

    def test_a_code_of_a_later_version_is_a_failure(self):
        error = VelkError(-99)
        self.assertEqual((error.code, error.name, error.partial), (-99, "VELK_UNKNOWN", False))


if __name__ == "__main__":
    unittest.main()
