#!/usr/bin/env python3
"""The command-line client as its users meet it: client_test.py BIN_DIRECTORY. Runs every command line of the documents."""
import collections
import contextlib
import json
import os
import pathlib
import re
import signal
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import threading
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent
BIN = pathlib.Path(sys.argv.pop(1)).resolve()
VQLOAN = str(BIN / "vqloan")


def run(*arguments, text=None, status=0, **options):
    done = subprocess.run([VQLOAN, *map(str, arguments)], input=text, capture_output=True, timeout=60, **options)
    if done.returncode != status:
        raise AssertionError(f"status {done.returncode} of {arguments}: {done.stdout.decode()}{done.stderr.decode()}")
    return done


def await_true(condition, what):
    for _ in range(500):
        if condition():
            return
        time.sleep(0.02)
    raise AssertionError(f"waited in vain for {what}")


def execute(database, statements):
    with contextlib.closing(sqlite3.connect(database)) as connection:
        connection.executescript(statements)


def blocks_of(document):
    """What is marked as command lines in it."""
    return re.findall(r"^```sh\n(.*?)^```", document.read_text(encoding="utf-8"), re.M | re.S)


class Site(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = pathlib.Path(scratch.name)
        self.site = self.scratch / "site"
        run("site", self.site, "--sample", "--copies=40")

    def serve(self, *arguments):
        """A server that has said what it serves; ended, and its status looked at, after the test. Its log is in server.log."""
        self.log = self.scratch / "server.log"
        with open(self.log, "ab") as log:
            server = subprocess.Popen([VQLOAN, *map(str, arguments)], stdout=subprocess.PIPE, stderr=log)
        self.addCleanup(self.end, server)
        self.assertIn(b"Serving", server.stdout.readline())
        return server

    def end(self, server, by=signal.SIGTERM):
        if server.stdout.closed:
            return None
        server.send_signal(by)
        said = server.communicate(timeout=20)[0]
        self.assertEqual(server.returncode, 0)
        return said

    @contextlib.contextmanager
    def responder(self, answer, pause=0):
        """Answers client 7 of the gateway, in two pieces when it is to pause; `answer` may hold the library code as %b."""
        request, told = self.site / "gateway/ZSQL_007.CL1", threading.Event()

        def respond():
            while not told.wait(0.001):
                with contextlib.suppress(FileNotFoundError):
                    asked = request.read_bytes()
                    if asked.endswith(b"\r\n"):
                        request.unlink()
                        whole = answer.replace(b"%b", asked[:-2].rsplit(b",", 1)[-1])
                        with open(request.with_suffix(".CL2"), "wb", buffering=0) as file:
                            file.write(whole[:3 if pause else None])
                            time.sleep(pause)
                            file.write(whole[3 if pause else len(whole):])
        thread = threading.Thread(target=respond)
        thread.start()
        yield
        told.set()
        thread.join()

    def ask(self, kind, *arguments, **options):
        return run("ask", "--kind", kind, "--site", self.site, *arguments, **options)

    def rows(self, kind, **options):
        return json.loads(self.ask(kind, "--format", "json", self.site / "requests.txt", **options).stdout)

    def edit(self, name, old, new):
        path = self.site / name
        content = path.read_bytes()
        self.assertIn(old, content)
        path.write_bytes(content.replace(old, new))


class Ask(Site):
    def test_every_situation_has_its_text_on_every_back_end(self):
        situations = ["Disponibile", r"In prestito dal \d\d-\d\d-\d{4}", "In prestito, scadenza superata",
                      "In prestito, restituzione già sollecitata", "Solo consultazione in sede",
                      "Senza collocazione: rivolgersi al banco", "(In |Smarrito).*", "Stato particolare - Disponibile",
                      "Fuori servizio", "Biblioteca senza prestito automatizzato: telefonare",
                      "Copia non posseduta dalla biblioteca"]
        statuses = ["available", "on_loan", "overdue", "reminded", "reading_room", "no_shelf_mark", "special_status", "available",
                    "out_of_service", "no_circulation", "not_held"]
        direct = self.rows("SQL2")
        self.assertEqual([row["status"] for row in direct], statuses)
        self.assertEqual(len(direct), len(situations))
        for row, text in zip(direct, situations):
            self.assertRegex(row["availability"], f"^{text}$")
            self.assertEqual(row["outcome"], "answer")
        self.serve("gateway", "--site", self.site)
        exchanged = self.rows("SQL")
        self.assertEqual([row["availability"] for row in exchanged], [row["availability"] for row in direct])
        self.serve("host", "--site", self.site, self.site / "host.txt")
        hosted = {row["request"]["inventory"]: row for row in self.rows("7000")}
        self.assertEqual(hosted["KA000002"]["availability"], "IN PRESTITO")
        self.assertEqual(hosted["KA999999"]["availability"], "COPIA SCONOSCIUTA")
        skipped = [row["request"]["library"] for row in hosted.values() if row["outcome"] == "skipped"]
        self.assertEqual(skipped, ["07"])

    def test_formats(self):
        request = "\ufeff\r\n01\tA \"1\"\\\x01\tKA999999\tè una nota molto lunga\r\n\n01\t\tKA000002\t".encode()
        raw = self.ask("SQL2", text=request).stdout.decode()
        self.assertTrue(raw.startswith('Coll. A "1"\\\x01, Inv. KA999999, è una'), raw)
        self.assertEqual(raw.count("\r\n"), 2)
        row = json.loads(self.ask("SQL2", "--format", "json", text=request).stdout)[0]
        self.assertEqual(row["request"]["shelf"], 'A "1"\\\x01')
        self.assertEqual("\t".join(row["fields"]), raw.split("\r\n")[0])
        self.assertEqual((row["status"], row["outcome"]), ("not_held", "answer"))
        lines = self.ask("SQL2", "--format=ndjson", text=request).stdout.decode().splitlines()
        dated = json.loads(lines[1])
        self.assertEqual((dated["status"], "-".join(dated["date"].split("-")[::-1])), ("on_loan", dated["fields"][4]))
        csv = self.ask("SQL2", "--format=csv", text=request).stdout.decode().split("\r\n")
        self.assertTrue(csv[1].startswith('01,"A ""1""\\\x01",KA999999,è una nota molto lunga,answer,not_held,'), csv)
        self.assertEqual(len(csv), 4)
        table = self.ask("SQL2", "--format", "table", text=request).stdout.decode()
        self.assertNotIn("\x01", table)
        self.assertLessEqual(max(map(len, table.splitlines())), 80)
        self.assertIn("2 answered, 0 skipped, 0 failed", table)

    def test_own_library_comes_first(self):
        request = b"11\t\t1\n07\t\t2\n10\t\t3\n08\t\t4\n"  # none of them is asked of the host
        for own, order in (((), ["10", "11", "Archivio", "Biblioteca"]), (("--own", "08"), ["Biblioteca", "10"])):
            lines = self.ask("7000", *own, text=request).stdout.decode().split("\r\n")
            self.assertEqual([re.split("[\t ]", line)[0] for line in lines][:len(order)], order)

    def test_long_requests_are_asked_in_blocks(self):
        # More lines than one call takes, and more than the sorting of one call has room for.
        for kind, count in (("SQL2", 33000), ("7000", 1500)):
            answer = self.ask(kind, text=b"07\t\tKA000019\t\n" * count).stdout
            self.assertEqual(answer.count(b"\r\n"), count)

    def test_a_reader_that_goes_ends_it(self):
        (self.scratch / "many").write_bytes(b"01\t\tKA000002\n" * 20000)
        asking = subprocess.Popen([VQLOAN, "ask", "--kind=SQL2", f"--site={self.site}", self.scratch / "many"],
                                  stdout=subprocess.PIPE)
        asking.stdout.close()
        self.assertEqual(asking.wait(), -signal.SIGPIPE)

    def test_failures_and_their_exit_status(self):
        self.assertIn(b"not UTF-8", self.ask("SQL2", text=b"01\t\xff\n", status=2).stderr)
        refused = self.ask("SQL2", text=b"01 KA000002\n01\t\tKA000002\n02 KA000002\n", status=1)
        self.assertIn(b"request 1: no request line: expected are library code", refused.stderr)
        self.assertIn(b"In prestito", refused.stdout)
        self.ask("SQL3", text=b"", status=2)
        self.assertIn(b"no such command: chek; did you mean check?", run("chek", status=2).stderr)
        for unreadable in ("absent.txt", "."):
            self.assertIn(b"cannot read", self.ask("SQL2", self.site / unreadable, status=2).stderr)
        with open("/dev/full", "wb") as full:
            lost = subprocess.run([VQLOAN, "ask", "--kind=SQL2", f"--site={self.site}", "--library=01"], stdout=full)
        self.assertEqual(lost.returncode, 2)
        self.ask("SQL2", self.site / "all.txt", "--library=01", status=2)
        self.edit("SvrDisp.ini", b"PATH=" + bytes(self.site / "gateway"), b"PATH=/nowhere")
        failed = self.ask("SQL", "--library=01", "--inventory=KA000002", status=1)
        self.assertIn(b"Errore nei parametri", failed.stdout)
        row = self.rows("SQL", status=1)[0]
        self.assertEqual((row["outcome"], row["availability"]), ("failure", "Errore nei parametri"))
        failed = self.ask("SQL", "--format=table", "--library=01", "--inventory=KA000002", status=1)
        self.assertRegex(failed.stderr.decode(), r"request 1: 76 Path not found \(SvrODBC\.CallSql")
        # What was recorded of the line before is not told for the gateway's own message.
        self.edit("SvrDisp.ini", b"PATH=/nowhere", b"PATH=" + bytes(self.site / "gateway"))
        with self.responder(b"\tE1\r\n"):
            failed = self.ask("SQL", "--format=table", text=b"\t" + b"x" * 40000 + b"\n01\t\t1\n", status=1)
        self.assertRegex(failed.stderr.decode(), r"request 1: 6 Overflow [^\n]*\n[^\n]*request 2: E1\n")
        failed = self.ask("SQL2", "--format=table", "--library=01", status=1)  # no inventory number
        self.assertIn(b"request 1: no answer", failed.stderr)
        (self.site / "library.db").unlink()
        self.assertIn(b"library.db", self.ask("SQL2", text=b"01\t\t1\n", status=2).stderr)


class Troubles(Site):
    """A gateway or a client that has trouble: a copy's answer is its own, or it is said that there is none."""

    def setUp(self):
        super().setUp()
        self.edit("SvrDisp.ini", b"\nTIMEOUT=5", b"\nTIMEOUT=1")
        codes = [first + second for first in "ABCDEFGHIJ" for second in "0123456789ABCDEFGHIJKLMNOPQRST"]
        execute(self.site / "library.db", "".join(
            f"INSERT INTO TABBIBLIOTECHE (CODBIB, DESCR) VALUES ('{code}', 'Lib {code}');"
            f"INSERT INTO POSSEDUTO (CODBIB, INVENTARIO, COLLOCAZIONE) VALUES ('{code}', '000001', 'X');"
            for code in codes))
        self.requests = "".join(f"{code}\t\tKA000001\t\n" for code in codes).encode()

    def begin(self, requests=None):
        """A client that asks, and the file of what it says: a full pipe would hold it, and its number."""
        with tempfile.NamedTemporaryFile(dir=self.scratch, delete=False) as said:
            asking = subprocess.Popen([VQLOAN, "ask", "--kind=SQL", f"--site={self.site}", "--format=ndjson", "--wait=60"],
                                      stdin=subprocess.PIPE, stdout=said, stderr=subprocess.DEVNULL)
        asking.stdin.write(requests or self.requests)
        asking.stdin.close()
        return asking, pathlib.Path(said.name)

    def judge(self, asking, said, count=300):
        """Every answer is its own copy's; gives how many timed out."""
        status = asking.wait(120)
        rows = [json.loads(line) for line in said.read_text().splitlines()]
        outcomes = collections.Counter((row["outcome"], row["status"] == row["outcome"]) for row in rows)
        late = outcomes["timeout", True]
        self.assertEqual(outcomes["answer", False] + late, count, outcomes)
        wrong = [row for row in rows if row["outcome"] == "answer" and row["library"] != f"Lib {row['request']['library']}"]
        self.assertEqual(wrong, [])
        self.assertEqual(status, 1 if late else 0)
        return late

    def test_a_slow_database(self):
        self.serve("gateway", "--site", self.site)
        with contextlib.closing(sqlite3.connect(self.site / "library.db")) as writer:
            writer.execute("BEGIN EXCLUSIVE")
            asking = self.begin()
            time.sleep(1.5)
            writer.rollback()
            self.assertIn(self.judge(*asking), range(1, 5))

    def test_interrupted_clients(self):
        self.serve("gateway", "--site", self.site, "--delay=3")
        for pause, by in ((0.1, signal.SIGINT), (0.2, signal.SIGKILL)):
            interrupted, _ = self.begin()
            time.sleep(pause)
            interrupted.send_signal(by)
            interrupted.wait()
            self.judge(*self.begin())
        self.assertEqual([path.name for path in (self.site / "gateway").glob("*_007*")], [])

    def test_two_clients_at_one_site(self):
        self.serve("gateway", "--site", self.site)
        for asking in [self.begin(), self.begin()]:
            self.judge(*asking)
        held = subprocess.Popen([VQLOAN, "ask", "--kind=SQL", f"--site={self.site}"], stdin=subprocess.PIPE)
        await_true((self.site / "gateway/ZSQL_007.lock").exists, "the number to be taken")
        self.assertIn(f"process {held.pid}".encode(), self.ask("SQL", "--wait=1", "--library=1", status=2).stderr)
        held.communicate()

    def test_a_gateway_that_is_killed(self):
        first = self.serve("gateway", "--site", self.site, "--delay=2")
        asking = self.begin()
        time.sleep(0.3)
        first.kill()
        first.communicate()
        self.serve("gateway", "--site", self.site)
        self.judge(*asking)

    def test_answers_that_are_written_slowly(self):
        with self.responder(b"Lib %b\t\tDisponibile\t\r\n", pause=0.01):
            self.judge(*self.begin())

    def test_nobody_answers(self):
        self.assertEqual(self.judge(*self.begin(b"A0\t\tKA000001\n"), count=1), 1)


class Check(Site):
    def test_a_sample_site_is_in_order(self):
        for kind in ("SQL2", "SQL", "7000"):
            self.assertIn(b"No findings", run("check", "--kind", kind, "--site", self.site).stdout)

    def test_findings(self):
        connect = b"CONNECT=Provider=SQLite;Data Source=" + bytes(self.site / "library.db")
        ini, par = "SvrDisp.ini", "CLIENT.PAR"
        cases = [
            ("SQL2", ini, connect, b"CONNECT=Data Source=\xc2\xa7NOWHERE\xc2\xa7;PWD=geheim", "cannot be resolved"),
            ("SQL2", ini, connect, b"CONNECT=Provider=SQLite;Data Source=/nowhere.db", "does not open"),
            ("SQL2", ini, connect, b"", "CONNECT is empty"),
            ("SQL2", ini, b"TIMEOUT=15", b"TIMEOUT=15s", r"\[SERVER\] TIMEOUT is not a number"),
            ("SQL2", ini, b"INVENTARIO=3", b"INVENTARIO=", "INVENTARIO is no position"),
            ("SQL2", ini, b"\n4=", b"\n04=", "Message 4 has no text"),
            ("SQL2", ini, b"NUMMSG=11", b"NUMMSG=10", "Message 11 is not read"),
            ("SQL", ini, b"NUMMSG=11", b"NUMMSG=", r"\[MESSAGGI\] NUMMSG is not a number"),
            ("SQL", ini, bytes(self.site / "gateway"), b"/nowhere", "no exchange directory /nowhere"),
            ("7000", par, b"\r\n", b"\n", "14 parameter lines and has 1"),
            ("7000", par, b"/host/\r\n", b"/host\r\n", "not end in a path separator"),
            ("7000", par, b"LARGHEZZA=60", b"LARGHEZZA=2", "no room for an answer"),
            ("7000", par, b"NC=Bib", b"NC Bib", "Line 14 of CLIENT.PAR has no \"=\""),
            ("7000", par, b"codbib=04", b"CODBIB=04", "Line 19 .* to one reader only"),
            ("7000", par, b"codbib=01", b"codbib=00", "repeats the library code 00"),
            ("7000", par, b"codbib=00", b"codbib=10,AA,X\r\ncodbib=00", "lists 11 libraries"),
        ]
        for kind, name, old, new, finding in cases:
            with self.subTest(finding):
                before = (self.site / name).read_bytes()
                self.edit(name, old, new)
                said = run("check", "--kind", kind, "--site", self.site, status=1).stdout.decode()
                (self.site / name).write_bytes(before)
                # A cell goes on over several lines; the second column holds the findings.
                table = said[said.index("Finding") - 3:].splitlines()
                end = 3 + len(table[1].split("  ")[1])
                found = " ".join(line[3:end].strip() for line in table)
                self.assertRegex(found.replace("/ ", "/"), finding)
                self.assertNotIn("geheim", said)

    def test_tables_and_late_answers(self):
        execute(self.site / "library.db", "DROP TABLE TABBLOCCOMAT; ALTER TABLE MOVIMENTI DROP COLUMN LIVSOLL;")
        said = run("check", "--kind", "SQL2", "--site", self.site, status=1).stdout.decode()
        self.assertRegex(said, r"TABBLOCCOMAT[^\n]*MISSING")
        self.assertRegex(said, r"MISSING\s+LIVSOLL")
        self.edit("SvrDisp.ini", b"ID=7", b"ID=-7")
        (self.site / "gateway/ZSQL_-007.CL2").write_bytes(b"late\r\n")
        self.assertIn(b"nobody has waited", run("check", "--kind", "SQL", "--site", self.site, status=1).stdout)


class Serving(Site):
    def exchange(self, request, client="042", prefix="gateway/ZSQL_"):
        """Writes a request as it is given, and gives the answer file's contents."""
        answer = self.site / f"{prefix}{client}.CL2"
        answer.unlink(missing_ok=True)
        (self.site / f"{prefix}{client}.CL1").write_bytes(request)
        await_true(answer.exists, f"an answer to {request}")
        return answer.read_bytes()

    def test_gateway(self):
        gateway = self.site / "gateway"
        (gateway / "ZSQL_001.CL1").write_bytes(b"WL,KA000002,01\r\n")
        server = self.serve("gateway", "--site", self.site)
        # Each request is answered, the same one twice too, and the same client's next one.
        for _ in range(2):
            self.assertRegex(self.exchange(b"WL,KA000002,01\r\n"), rb"^Biblioteca di San Martino\t\tIn prestito dal\t[0-9-]+\t\r\n$")
        self.assertEqual(self.exchange(b"WL,KA000001,00\r\n"), b"Biblioteca Centrale\t\tDisponibile\t\r\n")
        self.assertIn("già".encode("cp1252"), self.exchange(b"WL,KA000004,03\r\n"))
        # One whose answer cannot be written is given up, sooner than the last of these is answered.
        (gateway / "ZSQL_043.CL2").mkdir()
        (gateway / "ZSQL_043.CL1").write_bytes(b"WL,KA000001,00\r\n")
        for bad in (b"\r\n", b"WL\r\n", b"WL,1\r\n", b"WL,\t,\t\r\n", b"\x00\xff" * 5000 + b"\r\n", b"", b"WL,KA000002,01"):
            self.assertRegex(self.exchange(bad), rb"^\t[^\t]+\r\n$")
        (gateway / "ZSQL_043.CL2").rmdir()
        # A request in two pieces is answered once it is whole.
        with open(gateway / "ZSQL_009.CL1", "wb", buffering=0) as request:
            request.write(b"WL,KA0000")
            time.sleep(0.1)
            request.write(b"01,00\r\n")
        await_true((gateway / "ZSQL_009.CL2").exists, "the answer to a request in pieces")
        self.assertIn(b"Disponibile", (gateway / "ZSQL_009.CL2").read_bytes())
        clients = [f"{client:03}" for client in range(100, 120)]
        for client in clients:
            (gateway / f"ZSQL_{client}.CL1").write_bytes(b"WL,KA000001,00\r\n")
        for client in clients:
            await_true((gateway / f"ZSQL_{client}.CL2").exists, f"the answer to client {client}")
            (gateway / f"ZSQL_{client}.CL2").unlink()
        self.assertIn(b"Answered 32 requests", self.end(server, signal.SIGINT))
        self.assertEqual(sorted(path.name for path in gateway.glob("*.CL2")), ["ZSQL_009.CL2", "ZSQL_042.CL2"])

    def test_gateway_whose_database_goes_and_comes_back(self):
        self.serve("gateway", "--site", self.site)
        ask = lambda: self.exchange(b"WL,KA000001,00\r\n")
        self.assertIn(b"Disponibile", ask())
        aside = self.scratch / "library.db"
        shutil.move(self.site / "library.db", aside)
        (self.site / "library.db").write_bytes(b"")
        execute(aside, "DROP TABLE POSSEDUTO")
        self.assertTrue(ask().startswith(b"\tERRORE"))
        (self.site / "library.db").unlink()
        execute(self.site / "library.db", (ROOT / "examples/site/schema.sql").read_text())
        await_true(lambda: b"non posseduta" in ask(), "an answer from the new database")

    def test_host(self):
        table = self.scratch / "table.txt"
        table.write_text("# a comment\r\n\r\n01\tKA123456\tPRESTATO è\r\n01\t*\tCHIUSO\n", encoding="utf-8")
        server = self.serve("host", "--exchange", self.site / "host", table)
        for request, answer in ((b"WL,01123456", "PRESTATO è"), (b"WL,01999999", "CHIUSO"),
                                (b"WL,02123456", "Copia sconosciuta"), (b"XX", "Richiesta non valida")):
            said = self.exchange(request + b"\r\n", "07", "host/Z7000_")
            self.assertEqual(said, (answer + "\r\n").encode("cp1252"))
        table.write_text("01\tKA123456\n")
        server.send_signal(signal.SIGHUP)  # it says what is wrong, and goes on with the table that it has
        await_true(lambda: "line 1" in self.log.read_text(), "the complaint about the table")
        self.assertEqual(self.exchange(b"WL,02123456\r\n", "07", "host/Z7000_"), b"Copia sconosciuta\r\n")
        table.write_text("02\tKA123456\tDENTRO\n")
        server.send_signal(signal.SIGHUP)
        await_true(lambda: b"DENTRO" in self.exchange(b"WL,02123456\r\n", "07", "host/Z7000_"), "the new table")
        self.assertIn(b"served already (process", run("host", "--exchange", self.site / "host", table, status=2).stderr)

    def test_nobody_is_answered_who_does_not_wait_any_more(self):
        gateway = self.site / "gateway"
        (gateway / "ZSQL_001.CL2").write_bytes(b"of an earlier run\r\n")
        self.serve("gateway", "--site", self.site, "--delay=300", "--wait=1")
        (gateway / "ZSQL_001.CL1").write_bytes(b"WL,KA000002,01\r\n")
        await_true(lambda: not (gateway / "ZSQL_001.CL1").exists(), "the first request to be taken")
        (gateway / "ZSQL_001.CL1").write_bytes(b"WL,KA000001,00\r\n")  # asks again
        old = gateway / "ZSQL_002.CL1"
        (self.scratch / "old").write_bytes(b"WL,KA000001,00\r\n")
        os.utime(self.scratch / "old", (time.time() - 0.8,) * 2)
        shutil.move(self.scratch / "old", old)
        await_true((gateway / "ZSQL_001.CL2").exists, "an answer")
        self.assertIn(b"Centrale", (gateway / "ZSQL_001.CL2").read_bytes())
        await_true(lambda: "client 002 came too late" in self.log.read_text(), "the late answer to be told")
        self.assertRegex(self.log.read_text(), "client 001 has asked again")
        self.assertEqual([name for name in os.listdir(gateway) if name.endswith(".CL2")], ["ZSQL_001.CL2"])

    def test_what_strangers_put_there_stops_nobody(self):
        gateway, precious = self.site / "gateway", self.scratch / "precious"
        precious.write_bytes(b"WL,KA000002,01\r\n")
        server = self.serve("gateway", "--site", self.site)
        os.mkfifo(gateway / "ZSQL_001.CL1")
        os.symlink(precious, gateway / "ZSQL_002.CL1")
        os.symlink(precious, gateway / "ZSQL_042.CL2")
        (gateway / "ZSQL_003.CL1").mkdir()
        (gateway / "ZSQL_003.CL1/inside").touch()
        with open(gateway / "ZSQL_004.CL1", "wb") as large:
            large.truncate(512 << 20)
        (gateway / "ZSQL_\x1b[2J\xff.CL1").write_bytes(b"no line end")
        self.assertIn(b"Disponibile", self.exchange(b"WL,KA000001,00\r\n"))
        await_true(lambda: not (gateway / "ZSQL_004.CL1").exists() and not (gateway / "ZSQL_002.CL1").exists(), "all to be seen")
        time.sleep(1)
        status = pathlib.Path(f"/proc/{server.pid}/status").read_text()
        self.assertLess(int(re.search(r"VmHWM:\s+(\d+)", status)[1]), 64 * 1024)
        self.end(server)
        self.assertEqual(precious.read_bytes(), b"WL,KA000002,01\r\n")
        self.assertLess(len(self.log.read_text().splitlines()), 12)
        self.assertNotIn("\x1b", self.log.read_text())

    def test_it_ends_while_the_database_is_asked(self):
        with contextlib.closing(sqlite3.connect(self.site / "library.db")) as writer:
            server = self.serve("gateway", "--site", self.site, "--workers=1")
            writer.execute("BEGIN EXCLUSIVE")
            (self.site / "gateway/ZSQL_001.CL1").write_bytes(b"WL,KA000001,00\r\n")
            await_true(lambda: not (self.site / "gateway/ZSQL_001.CL1").exists(), "the request to be taken")
            time.sleep(0.2)
            begun = time.monotonic()
            self.end(server)
            self.assertLess(time.monotonic() - begun, 2)
        self.assertEqual(os.listdir(self.site / "gateway"), [])


class NewSite(Site):
    def test_files_are_those_of_the_examples_with_the_directory(self):
        for name, mode in (("SvrDisp.ini", 0o100640), ("CLIENT.PAR", 0o100644), ("gateway", 0o42770), ("host", 0o42770)):
            made = self.site / name
            self.assertEqual(oct(made.stat().st_mode), oct(mode), name)
            if made.is_file():
                sample = (ROOT / "examples/site" / name).read_bytes()
                self.assertEqual(made.read_bytes(), sample.replace(b"/srv/vqloan", bytes(self.site)))

    def test_what_is_there_stays_but_an_old_component(self):
        component = (self.site / "VQLoan.so").read_bytes()
        for name in ("SvrDisp.ini", "CLIENT.PAR", "library.db", "host.txt", "VQLoan.so"):
            (self.site / name).write_bytes(b"mine")
        (self.site / "SvrDisp.ini.new").write_bytes(b"left behind by a run that was ended")
        (self.site / "requests.txt").unlink()
        said = run("site", self.site, "--sample").stdout.decode()
        self.assertEqual(sorted(line.split()[-1] for line in said.splitlines() if "kept" not in line and line[0] == " "),
                         ["VQLoan.so", "requests.txt"])
        self.assertEqual((self.site / "SvrDisp.ini").read_bytes(), b"mine")
        self.assertEqual((self.site / "VQLoan.so").read_bytes(), component)

    def test_what_cannot_be_made_is_told(self):
        for directory, reason in (("a;b", b"cannot name"), ("SvrDisp.ini", b"SvrDisp.ini"), ("§", b"cannot name")):
            self.assertIn(reason, run("site", self.site / directory, status=2).stderr)
            self.assertTrue(directory == "SvrDisp.ini" or not (self.site / directory).exists())


class Documents(Site):
    def test_register_and_example_clients(self):
        environment = dict(os.environ, AUTOMATION_REGISTRY=str(self.scratch / "registry"))
        shutil.move(self.site / "VQLoan.so", self.scratch)
        self.assertIn(b"vqloan site ", run("register", "--site", self.site, status=2).stderr)
        run("site", self.site)
        run("register", "--site", self.site, env=environment)
        client = [BIN / "ask", "SQL2", "00", "KA000001"]
        self.assertIn(b"Disponibile", subprocess.run(client, env=environment, capture_output=True, check=True).stdout)
        run("unregister", "--site", self.site, env=environment)
        self.assertEqual(subprocess.run(client, env=environment, capture_output=True).returncode, 2)
        # A name that is no UTF-8; and behind a link, "..", which leads elsewhere than the names alone tell.
        odd = self.scratch / os.fsdecode(b"sit\xE0")
        shutil.copytree(self.site, odd)
        (odd / "below").mkdir()
        (self.scratch / "link").symlink_to(odd / "below")
        for site in (odd, self.scratch / "link" / ".."):
            self.assertIn("Disponibile", run("ask", "--kind", "SQL2", "--site", site, "--library", "00", "--inventory", "KA000001").stdout.decode())
            run("register", "--site", site, env=environment)
            self.assertIn(b"Disponibile", subprocess.run(client, env=environment, capture_output=True).stdout)
        run("unregister", "--site", odd, env=environment)
        self.assertEqual(subprocess.run(client, env=environment, capture_output=True).returncode, 2)

    def test_manual_page_names_every_option(self):
        page = (ROOT / "client/vqloan.1").read_text().replace("\\-", "-")
        for command in ("ask", "check", "gateway", "host", "register", "site", "unregister"):
            said = run(command, "--help").stdout.decode()
            self.assertLessEqual(max(map(len, said.splitlines())), 80, said)
            options = re.findall(r"--[a-z]+", said)
            self.assertEqual([o for o in (command, *options) if o not in page], [], command)

    def test_scripts_say_what_they_do_and_do_nothing_else(self):
        tools = self.scratch / "tools"  # with which a script can do little more than that
        tools.mkdir()
        for tool in ("dirname", "python3", "sed"):
            (tools / tool).symlink_to(shutil.which(tool))
        shutil.copytree(ROOT / "scripts", self.scratch / "tree/scripts")
        scripts = [script for script in (self.scratch / "tree/scripts").iterdir() if os.access(script, os.X_OK)]
        before = sorted(self.scratch.rglob("*"))
        for script in scripts:
            done = subprocess.run([script, "--help"], env={"PATH": str(tools)}, capture_output=True, text=True)
            self.assertRegex(done.stdout, r"\A[A-Z](.|\n)*\.\n\Z", script)
            self.assertEqual((done.returncode, done.stderr), (0, ""), script)
        self.assertEqual(sorted(self.scratch.rglob("*")), before)

    def test_the_first_minutes_of_an_ordinary_user(self):
        """The README's command lines word for word, from the top of the tree, in a home directory."""
        home = self.scratch / "home"
        home.mkdir()
        self.scratch.chmod(0o755)
        user = []
        if os.getuid() == 0:
            os.chown(home, 65534, 65534)
            user = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"]
            if subprocess.run([*user, "test", "-x", VQLOAN]).returncode != 0:
                user = []  # the tree is root's alone
        script = "set -e\n" + "".join(blocks_of(ROOT / "README.md"))
        if BIN != ROOT / "build/bin":
            script = script.replace("build/bin", str(BIN))
        done = subprocess.run([*user, "bash", "-c", script], cwd=ROOT, env=dict(os.environ, HOME=str(home)),
                              capture_output=True, text=True, timeout=100)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertIn("In prestito dal", done.stdout)
        self.assertIn("No findings.", done.stdout)

    def test_command_lines_of_the_documents(self):
        """Blocks marked sh, in order, with the documents' paths put where the test may write."""
        shutil.rmtree(self.site)
        preload = subprocess.run(["ldd", BIN / "VQLoan.so"], capture_output=True, text=True).stdout
        sanitizer = re.search(r"=> (\S*libasan\S*)", preload)
        python = f"LD_PRELOAD={sanitizer[1]} ASAN_OPTIONS=detect_leaks=0 PYTHONPATH=" if sanitizer else "PYTHONPATH="
        environment = dict(os.environ, AUTOMATION_REGISTRY=str(self.scratch / "registry"), HOME=str(self.scratch))
        script = "set -e\n"
        guides = [ROOT / "docs" / f"{name}.md" for name in ("administration", "architecture", "clients")]
        for document in guides:  # what the others say needs servers, or takes long
            for block in blocks_of(document):
                script += f"echo '# {document.name}'\n{block}"
        script = (script.replace("/srv/vqloan", str(self.site)).replace("build/bin", str(BIN))
                  .replace("\nPYTHONPATH=", "\n" + python))
        done = subprocess.run(["bash", "-c", script], cwd=ROOT, env=environment, capture_output=True, text=True, timeout=100)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertGreater(done.stdout.count("Disponibile"), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
