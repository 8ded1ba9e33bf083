"""How the library is found, what is reported when it is missing or another one, and its records."""

import ctypes
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

from support import ROOT
from velk_upload import _native

LIBRARY = os.environ["VELK_LIBRARY"]
NAME = "libvelkupload.so.1"


def find_libm():
    """Some library that every process has loaded."""
    with open("/proc/self/maps") as maps:
        return next(line.split()[-1] for line in maps if "/libm" in line)


class Finding(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="velk-python-")
        self.addCleanup(shutil.rmtree, self.folder)
        source = os.path.dirname(_native.__file__)
        ignored = shutil.ignore_patterns("__pycache__", NAME)
        shutil.copytree(source, os.path.join(self.folder, "velk_upload"), ignore=ignored)

    def run_python(self, line, **environment):
        environment = {**os.environ, "PYTHONPATH": self.folder, **environment}
        return subprocess.run(
            [sys.executable, "-c", "import velk_upload; " + line],
            cwd=self.folder,
            env=environment,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            text=True,
        )

    def write(self, name, content):
        path = os.path.join(self.folder, name)
        with open(path, "wb") as file:
            file.write(content)
        return path

    def test_it_is_found_in_each_place(self):
        beside = os.path.join(self.folder, "velk_upload", NAME)
        line = "velk_upload.set_proxy('p'); print(velk_upload.get_proxy(), velk_upload.load(), end='')"
        shown = self.run_python(line, LD_LIBRARY_PATH=os.path.dirname(LIBRARY))
        self.assertEqual(shown.stdout, f"p {NAME}")
        shutil.copy(LIBRARY, beside)
        self.assertEqual(self.run_python(line).stdout, f"p {beside}")
        explicit = os.path.join(self.folder, "mine.so")
        shutil.copy(LIBRARY, explicit)
        line = "print(velk_upload.load('mine.so'), velk_upload.load('mine.so'), velk_upload.load(), end='')"
        self.assertEqual(self.run_python(line).stdout, f"{explicit} {explicit} {explicit}")

    def test_the_message_has_the_path_and_what_is_missing(self):
        with open(LIBRARY, "rb") as file:
            content = file.read()
        folder = os.path.join(self.folder, "velk_upload")
        rows = {
            "missing": ("load()", f"cannot load {NAME} (it is not in {folder}, and the system"),
            "wrong path": ("load('/nowhere/x.so')", "cannot load /nowhere/x.so: .*No such file"),
            "no library": (
                f"load({self.write('text.so', b'text')!r})",
                "cannot load .*text.so: .*file too short",
            ),
            "other architecture": (
                f"load({self.write('arm.so', content[:18] + bytes([183]) + content[19:])!r})",
                "cannot load .*arm.so: .*cannot open shared object file|wrong ELF class|invalid",
            ),
            "another library": (f"load({find_libm()!r})", "lacks the function SetLibVelkUploadProxy"),
            "another one already": (
                f"load({LIBRARY!r}); velk_upload.load('x')",
                f"{LIBRARY} is loaded already",
            ),
        }
        for name, (call, message) in rows.items():
            with self.subTest(name):
                shown = self.run_python("velk_upload." + call)
                self.assertEqual(shown.returncode, 1)
                last = shown.stdout.splitlines()[-1]
                self.assertIn("LibraryError" if "already" not in name else "ValueError", last)
                pattern = message if "*" in message else re.escape(message)
                self.assertRegex(last, pattern)


class Records(unittest.TestCase):
    def test_are_laid_out_as_the_header_states(self):
        with open(os.path.join(ROOT, "include/velk_upload.h")) as file:
            header = file.read()
        fields = re.findall(r"VELK_FIELD\((\w+), (\w+), (\d+), (\d+)\);", header)
        sizes = re.findall(r"VELK_SIZE\((\w+), (\d+)\);", header)
        opaque = "FileUploader"
        self.assertEqual({name for name, _ in sizes} - {opaque}, set(_native._RECORDS))
        for record, size in sizes:
            if record == opaque:
                continue
            structure = getattr(_native, record)
            self.assertEqual(ctypes.sizeof(structure), int(size), record)
            stated = [
                (name, int(offset), int(width)) for owner, name, offset, width in fields if owner == record
            ]
            ours = [
                (name, getattr(structure, name).offset, getattr(structure, name).size)
                for name, _ in structure._fields_
            ]
            self.assertEqual(ours, stated, record)

    def test_every_export_is_bound(self):
        with open(os.path.join(ROOT, "src/core/exports.list")) as file:
            exports = set(re.findall(r"^\w+", file.read(), re.MULTILINE))
        self.assertEqual(set(_native._FUNCTIONS), exports)


if __name__ == "__main__":
    unittest.main()
