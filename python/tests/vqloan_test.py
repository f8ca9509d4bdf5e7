"""The package on real sites: vqloan_test.py SITE, with `vqloan` on the path; SITE is a sample site without a component."""
import concurrent.futures
import contextlib
import json
import pathlib
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import unittest

import vqloan

SAMPLE = pathlib.Path(sys.argv.pop(1)).resolve()
EXAMPLE = pathlib.Path(sys.argv.pop(1)).resolve()
LENT = vqloan.Copy("01", inventory="KA000002")


class Site(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.site = pathlib.Path(scratch.name) / "site"
        shutil.copytree(SAMPLE, self.site)
        for file in ("SvrDisp.ini", "CLIENT.PAR"):
            content = (self.site / file).read_bytes().replace(bytes(SAMPLE), bytes(self.site))
            (self.site / file).write_bytes(content)

    def edit(self, old, new):
        ini = self.site / "SvrDisp.ini"
        self.assertIn(old, ini.read_bytes())
        ini.write_bytes(ini.read_bytes().replace(old, new))

    def serve(self, *arguments):
        server = subprocess.Popen(["vqloan", *arguments, "--site", self.site], stdout=subprocess.PIPE)
        self.addCleanup(server.communicate)
        self.addCleanup(server.terminate)
        self.assertIn(b"Serving", server.stdout.readline())

    def test_answers_are_those_of_the_command_line(self):
        self.serve("gateway")
        self.serve("host", self.site / "host.txt")
        for kind in ("SQL2", "SQL", "7000"):
            command = ["vqloan", "ask", f"--kind={kind}", f"--site={self.site}", "--format=json", self.site / "requests.txt"]
            rows = json.loads(subprocess.run(command, capture_output=True, check=True).stdout)
            with vqloan.Server(self.site, kind) as server:
                copies = [vqloan.Copy(**row["request"]) for row in rows]
                for row, answer in zip(rows, server.ask(copies)):
                    outcome = "answer" if answer.asked else "skipped"
                    self.assertEqual((row["library"], row["availability"], row["outcome"], tuple(row["fields"])),
                                     (answer.library, answer.text, outcome, answer.fields))

    def test_a_copy_that_fails_is_raised_and_the_others_are_answered(self):
        with vqloan.Server(self.site) as server:
            answers = server.ask(iter([LENT, vqloan.Copy("01"), LENT]))
            first = next(answers)
            with self.assertRaises(vqloan.AskFailed) as failed:
                next(answers)
            self.assertEqual((failed.exception.copy, failed.exception.record), (vqloan.Copy("01"), None))
            self.assertEqual([first], list(answers))
            self.assertEqual(first.library, "Biblioteca di San Martino")
        self.edit(b"PATH=", b"PATH=/nowhere")
        with contextlib.closing(sqlite3.connect(self.site / "library.db")) as database:
            database.execute("DROP TABLE POSSEDUTO")
        for kind, what, where in (("SQL2", "POSSEDUTO", "Make_LstDispo"), ("SQL", "76 Path not found", "CallSql")):
            with self.subTest(kind), vqloan.Server(self.site, kind) as server:
                with self.assertRaises(vqloan.AskFailed) as failed:
                    server.ask_one(LENT)
                self.assertIn(what, str(failed.exception))
                self.assertIn(where, failed.exception.record.source)

    def test_failures_are_sentences_with_their_record(self):
        closed = vqloan.Server(self.site)
        closed.close()
        closed.close()
        here = vqloan.Server(self.site)
        self.addCleanup(here.close)
        elsewhere = concurrent.futures.ThreadPoolExecutor()
        self.addCleanup(elsewhere.shutdown)
        self.edit(b"NUMMSG=11", b"NUMMSG=many")
        nothing = self.site / "gateway"
        (nothing / "VQLoan.so").write_bytes(b"no library")
        cases = [
            (lambda: elsewhere.submit(here.last_record).result(), vqloan.Error, "thread"),
            (lambda: closed.ask_one(LENT), vqloan.Error, "the server is closed"),
            (lambda: vqloan.Server(self.site), vqloan.OpenFailed, "does not open: 13 Type mismatch"),
            (here.reload_messages, vqloan.Failure, "cannot be read: 13 Type mismatch"),
            (lambda: vqloan.Server(nothing), vqloan.ComponentError, "cannot be loaded"),
            (lambda: vqloan.Server("/nowhere"), vqloan.ComponentError, "there is no directory /nowhere"),
            (lambda: vqloan.Server(self.site, "SQL3"), ValueError, "'SQL3'"),
            (lambda: vqloan.Copy("01", note="a\tb"), ValueError, "note"),
        ]
        for call, kind, sentence in cases:
            with self.subTest(sentence), self.assertRaises(kind) as failed:
                call()
            self.assertIn(sentence, str(failed.exception))

    def test_sites_in_one_process_are_kept_apart(self):
        linked = self.site / "host"
        (linked / "CLIENT.PAR").write_bytes((self.site / "CLIENT.PAR").read_bytes().replace(b"San Martino", b"Altrove"))
        with vqloan.Server(self.site, "7000") as one:
            (linked / "VQLoan.so").symlink_to(one._component.file)
            with vqloan.Server(linked, "7000") as other:
                self.assertEqual(one.library_name("01"), "Biblioteca di San Martino")
                self.assertEqual(other.library_name("01"), "Biblioteca di Altrove")
                other.own_library = "08"
                self.assertEqual((one.own_library, other.own_library), ("00", "08"))

    def test_the_example_tells_its_troubles_in_a_sentence(self):
        no_package = ["-I", EXAMPLE]  # which -I keeps from being found
        for program, site, library, status, sentence in (
                ([EXAMPLE], self.site, "01", 0, "In prestito dal"),
                ([EXAMPLE], "/nowhere", "01", 1, "ask.py: there is no directory"),
                ([EXAMPLE], self.site / "host", "01", 1, "ask.py: the back end SQL2"),
                ([EXAMPLE], self.site, "0\t1", 1, "ask.py: the library of a copy must not hold a TAB"),
                (no_package, self.site, "01", 1, "ask.py: No module named 'vqloan'")):
            command = [sys.executable, *program, site, "SQL2", library, "KA000002"]
            done = subprocess.run(command, capture_output=True, text=True)
            self.assertEqual(done.returncode, status, done.stderr)
            self.assertIn(sentence, done.stdout + done.stderr)
            self.assertNotIn("Traceback", done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
