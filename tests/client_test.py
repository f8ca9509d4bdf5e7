#!/usr/bin/env python3
"""The command-line client as its users meet it: client_test.py BIN_DIRECTORY. Runs every command line of the documents."""
import collections
import concurrent.futures
import contextlib
import json
import os
import pathlib
import re
import signal
import shutil
import socket
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


def in_pieces(path, *pieces, pause):
    """Writes the file, and pauses after each piece."""
    with open(path, "wb", buffering=0) as file:
        for piece in pieces:
            file.write(piece)
            time.sleep(pause)


def blocks_of(document):
    """What is marked as command lines in it."""
    return re.findall(r"^```sh\n(.*?)^```", document.read_text(encoding="utf-8"), re.M | re.S)


class Site(unittest.TestCase):
    copies = 40

    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.scratch = pathlib.Path(scratch.name)
        self.site = self.scratch / "site"
        run("site", self.site, "--sample", f"--copies={self.copies}")

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
                        in_pieces(request.with_suffix(".CL2"), *((whole[:3], whole[3:]) if pause else (whole,)), pause=pause)
        with concurrent.futures.ThreadPoolExecutor() as background:
            background.submit(respond)
            yield
            told.set()

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
        situations = [
            "available: Disponibile", r"on_loan: In prestito dal \d\d-\d\d-\d{4}", "overdue: In prestito, scadenza superata",
            "reminded: In prestito, restituzione già sollecitata", "reading_room: Solo consultazione in sede",
            "no_shelf_mark: Senza collocazione: rivolgersi al banco", "special_status: (In |Smarrito).*",
            "available: Stato particolare - Disponibile", "out_of_service: Fuori servizio",
            "no_circulation: Biblioteca senza prestito automatizzato: telefonare", "not_held: Copia non posseduta dalla biblioteca"]
        direct = self.rows("SQL2")
        found = [f"{row['outcome']}, {row['status']}: {row['availability']}" for row in direct]
        self.assertRegex("\n".join(found), "^answer, " + "\nanswer, ".join(situations) + "$")
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
        rows = json.loads(self.ask("SQL2", "--format", "json", text=request).stdout)
        self.assertEqual((rows[0]["request"]["shelf"], rows[0]["status"], rows[0]["outcome"]), ('A "1"\\\x01', "not_held", "answer"))
        self.assertEqual(["\t".join(row["fields"]) for row in rows], raw.split("\r\n")[:-1])
        lines = self.ask("SQL2", "--format=ndjson", text=request).stdout.decode().splitlines()
        self.assertEqual([json.loads(line) for line in lines], rows)
        dated = rows[1]
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
        for kind, arguments, said in (
                ("SQL2", ["absent.txt"], b"cannot read"), ("SQL2", ["."], b"cannot read"), ("SQL2", [], b"not UTF-8"),
                ("SQL2", ["all.txt", "--library=01"], b""), ("SQL2", ["--library=01", "--inventory=1\t2"], b"without TABs"),
                ("SQL3", [], b"")):
            with self.subTest(kind, arguments=arguments):
                self.assertIn(said, self.ask(kind, *arguments, text=b"01\t\xff\n", status=2, cwd=self.site).stderr)
        refused = self.ask("SQL2", text=b"01 KA000002\n01\t\tKA000002\n02 KA000002\n", status=1)
        self.assertIn(b"request 1: no request line: expected are library code", refused.stderr)
        self.assertIn(b"In prestito", refused.stdout)
        self.assertIn(b"no such command: chek; did you mean check?", run("chek", status=2).stderr)
        with open("/dev/full", "wb") as full:
            lost = subprocess.run([VQLOAN, "ask", "--kind=SQL2", f"--site={self.site}", "--library=01"], stdout=full)
        self.assertEqual(lost.returncode, 2)
        # What is closed is not the next file that is opened.
        closed = self.ask("SQL2", status=2, preexec_fn=lambda: os.close(0))
        self.assertIn(b"cannot read the standard input", closed.stderr)
        self.edit("SvrDisp.ini", b"PATH=" + bytes(self.site / "gateway"), b"PATH=/nowhere")
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
    def findings(self, kind, status=1):
        kinds = ["--kind", kind] if kind else []
        said = run("check", *kinds, "--site", self.site, "--format", "json", status=status).stdout.decode()
        self.assertNotIn("geheim", said)
        return [f"{f['file']} {f['line'] or ''} {f['key'] or ''} {f['finding']}" for f in json.loads(said)["findings"]]

    def test_a_sample_site_is_in_order(self):
        self.serve("gateway", "--site", self.site)
        self.serve("host", "--site", self.site, self.site / "host.txt")
        files = lambda: sorted(os.listdir(self.site / "gateway") + os.listdir(self.site / "host"))
        before = files()
        for kind in ("SQL2", "SQL", "7000", None):
            self.assertEqual(self.findings(kind, status=0), [])
        self.assertEqual(files(), before)
        wide, narrow = (run("check", "--site", self.site, env=dict(os.environ, COLUMNS=width)).stdout.decode() for width in ("999", "50"))
        self.assertIn("No findings", wide)
        self.assertEqual({word for word in wide.split() if word.strip("─0123456789.")} - set(narrow.split()), set())  # none is broken; times differ
        self.assertLessEqual(max(map(len, narrow[narrow.index("Messages"):narrow.index("Database")].splitlines())), 50)

    def test_misconfigurations(self):
        ini = lambda old, new: lambda: self.edit("SvrDisp.ini", old, new)
        par = lambda old, new: lambda: self.edit("CLIENT.PAR", old, new)
        sql = lambda statements: lambda: execute(self.site / "library.db", statements)
        file = lambda name, content=b"", age=0: lambda: ((self.site / name).write_bytes(content),
                                                         os.utime(self.site / name, (time.time() - age,) * 2))
        mode = lambda name, mode: lambda: (self.site / name).chmod(mode)
        aside = lambda name, other: lambda: (self.site / name).rename(self.site / other)
        here = re.escape(str(self.site))
        connect = b"CONNECT=Provider=SQLite;Data Source=" + bytes(self.site / "library.db")
        to = lambda new: ini(connect, b"CONNECT=" + new)
        copies = "UPDATE POSSEDUTO SET INVENTARIO = "
        cases = [
            # Sections, keys and lines
            ("SQL2", ini(b"INVENTARIO=", b"INVENTARI="), r"SvrDisp.ini 28 \[SERVER\] INVENTARI .*did you mean INVENTARIO\?"),
            ("SQL", ini(b"[CONFIG]", b"[CONFIGS]\nX=1\n[CONFIG]"), r"SvrDisp.ini 34 \[CONFIGS\] .*did you mean CONFIG\?"),
            ("SQL", ini(b"[CLIENT]\n", b"ID=9\n[CLIENT]\n"), r"\[CONFIG\] ID Nothing reads"),
            ("SQL", ini(b"TIMEOUT=1\n", b"TIMEOUT=1\nTIMEOUT=9\n"), r"\[CLIENT\] TIMEOUT .*further up"),
            ("SQL", ini(b"[MESSAGGI]", b"[CLIENT]\nID=8\nX=1\n[MESSAGGI]"), r"\[CLIENT\] The section .*further up"),
            ("SQL2", ini(b"CURSOR=0", b"PASSWORD geheim"), r"SvrDisp.ini 21 \[SERVER\] The line has no \"=\""),
            ("SQL2", ini(b"[SERVER]", b"KEY=1\n[SERVER]"), r"SvrDisp.ini 5 KEY .*in front of the first section"),
            ("SQL2", ini(b'- "', b"- "[:-1]), r"\[MESSAGGI\] 1 .* quote at one end"),
            ("SQL2", ini(b"11=Fuori", b"11=Fuori\n12=Fuori"), r"\[MESSAGGI\] 12 Nothing tells"),
            ("SQL2", ini(b"\n4=", b"\n04="), r"\[MESSAGGI\] 04 .*did you mean 4\?|\[MESSAGGI\] 4 The message has no text"),
            ("SQL2", ini(b"NUMMSG=11", b"NUMMSG=10"), r"\[MESSAGGI\] NUMMSG .*not read: 11"),
            ("SQL", ini(b"9=Nessuna", b"9=Nessuna\t"), r"\[MESSAGGI\] 9 .* cut at its TAB"),
            # Values
            ("SQL", ini(b"NUMMSG=11", b"NUMMSG=40000"), r"NUMMSG .* is too large: at most 32767"),
            ("SQL2", ini(b"\nTIMEOUT=15", b"\nTIMEOUT=15s"), r'SvrDisp.ini 17 \[SERVER\] TIMEOUT "15s" is not a number'),
            ("SQL2", ini(b"\nTIMEOUT=15", b"\nTIMEOUT=-1"), r"\[SERVER\] TIMEOUT -1 is not used"),
            ("SQL2", ini(b"COMMTIMEOUT=30", b"COMMTIMEOUT=99999999999"), r"COMMTIMEOUT .* is too large: at most 2147483647"),
            ("SQL2", ini(b"COMMTIMEOUT=30", b"COMMTIMEOUT=&H1E"), r'COMMTIMEOUT "&H1E" is read as 30'),
            ("SQL2", ini(b"CURSOR=0", b"CURSOR=7"), r"CURSOR 7 is no place of a cursor"),
            ("SQL2", ini(b"OPTIONS=-1", b"OPTIONS=16"), r"OPTIONS 16 does not open"),
            ("SQL2", ini(b"INVENTARIO=3", b"INVENTARIO="), r"INVENTARIO It is empty"),
            ("SQL2", ini(b"INVENTARIO=3", b"INVENTARIO=0"), r'INVENTARIO "0" is read as "1"'),
            ("SQL2", ini(b"INVENTARIO=3", b"INVENTARIO=3-8"), r'INVENTARIO "3-8" is read as "3"'),
            ("SQL2", ini(b"INVENTARIO=3", b"INVENTARIO=99999"), r"INVENTARIO .* is too large"),
            ("SQL2", ini(b"INVENTARIO=3", b"INVENTARIO=3,4"), r'INVENTARIO It does not find the copy "000001"'),
            ("SQL2", ini(b"BIBLIOTECA=1,2", b"BIBLIOTECA=1,1"), r'BIBLIOTECA It finds no copy of library "00"'),
            ("SQL2", ini(b"BIBLIOTECA=1,2", b"BIBLIOTECA=-1"), r'BIBLIOTECA "-1" is no part|copies fail'),
            ("SQL2", ini(b";USERNAME=\xc2\xa7LIBRARY_USER", b"USERNAME=\xc2\xa7LIBRARY"), r"USERNAME .*variable LIBRARY is not set"),
            ("SQL2", ini(b";USERNAME=\xc2\xa7LIBRARY_USER\xc2\xa7", b"USERNAME=\xc2\xa7X"), r"USERNAME .*no placeholder as a whole"),
            ("SQL2", ini(b"\nTIMEOUT=15", b"\nPASSWORD=geheim\nTIMEOUT=15"), r"PASSWORD .*since USERNAME is empty"),
            ("SQL", ini(b"ID=7", b"ID=-7"), r"\[CLIENT\] ID -7 is no client's number"),
            ("SQL", ini(b"TIMEOUT=1\n", b"TIMEOUT=0\n"), r"\[CLIENT\] TIMEOUT 0 lets no gateway answer"),
            ("SQL", ini(b"TIMEOUT=1\n", b"TIMEOUT=2147483\n"), r"\[CLIENT\] TIMEOUT 2147483 is longer than a day"),
            # The database
            ("SQL2", to(b""), r"\[SERVER\] CONNECT It is empty"),
            ("SQL2", to(b"Data Source=\xc2\xa7NOWHERE\xc2\xa7;PWD=geheim"), r"CONNECT The environment variable NOWHERE is not set"),
            ("SQL2", to(b"Server=x;PWD=geheim"), r"CONNECT .*DSN= or Driver= is missing.* names no database"),
            ("SQL2", to(b"DSN=nowhere;PWD=geheim"), r"CONNECT .*(IM002.*driver name|has no ODBC)"),
            ("SQL2", to(b"Provider=SQLite;Data Source=/nowhere.db"), r"CONNECT .*SQLite error 14.*no file /nowhere.db"),
            ("SQL2", to(b"Provider=SQLite;Data Source=/tmp"), r"CONNECT .*SQLite error 1[04].*/tmp is a directory"),
            ("SQL2", to(b"Provider=SQLite;Data Source=" + bytes(self.site / "host.txt")), r"CONNECT .*SQLite error 26"),
            ("SQL2", lambda: os.truncate(self.site / "library.db", 8192), r"CONNECT .*SQLite error 11.*cause: the file"),
            ("SQL2", sql("DROP TABLE TABBLOCCOMAT"), r"database  TABBLOCCOMAT .*no such table"),
            ("SQL2", sql("ALTER TABLE MOVIMENTI DROP COLUMN LIVSOLL"), r"database  MOVIMENTI.LIVSOLL .*no such column"),
            ("SQL2", sql("DROP INDEX MOVIMENTI_COPIA; CREATE INDEX I ON MOVIMENTI (CODBIB, FLGCHIUSO, INVENTARIO)"), r"database  MOVIMENTI No index begins with CODBIB, INVENTARIO"),
            ("SQL2", sql("DELETE FROM POSSEDUTO"), r"database  POSSEDUTO It has no rows"),
            ("SQL2", sql(copies + "'a' || INVENTARIO"), r'POSSEDUTO.INVENTARIO The copy "a\d+" is not found.*capitals'),
            ("SQL2", sql(copies + "'KA' || INVENTARIO"), r'\[SERVER\] INVENTARIO POSSEDUTO holds whole labels, such as "KA'),
            ("SQL2", sql("CREATE TABLE P AS SELECT CODBIB, 0 + INVENTARIO INVENTARIO, STATO, FLGSERV, COLLOCAZIONE FROM POSSEDUTO;"
                         "DROP TABLE POSSEDUTO; ALTER TABLE P RENAME TO POSSEDUTO;"
                         "CREATE INDEX I ON POSSEDUTO (INVENTARIO, CODBIB)"), r"POSSEDUTO.INVENTARIO .*(number type|not found by its number)"),
            ("SQL2", sql("UPDATE MOVIMENTI SET DATA = '3/4/26'"), r'MOVIMENTI.DATA "3/4/26" is a text: .* reads it as 2026-0'),
            ("SQL2", sql("UPDATE MOVIMENTI SET DATA_SCAD = 'domani'"), r'MOVIMENTI.DATA_SCAD "domani" is no date|copies fail'),
            ("SQL2", sql("UPDATE MOVIMENTI SET DATA_SCAD = 45000"), r'MOVIMENTI.DATA_SCAD "45000" is a number, and is read as 2023-'),
            ("SQL2", sql("UPDATE MOVIMENTI SET DATA_SCAD = NULL"), r"MOVIMENTI.DATA_SCAD A loan has none|copies fail"),
            ("SQL2", sql(f"UPDATE TABBLOCCOMAT SET MESSAGGIO = '{'x' * 40}' WHERE CODBLOCMAT = '1'"), r"MESSAGGIO The text of status \"1\" is cut after 38"),
            ("SQL2", sql("UPDATE TABBLOCCOMAT SET CODBLOCMAT = '1 ' WHERE CODBLOCMAT = '1'"), r"CODBLOCMAT The status \"1 \" ends in a blank"),
            ("SQL2", sql("UPDATE TABBIBLIOTECHE SET FLGMOVIM = 'N ' WHERE CODBIB = '09'"), r'FLGMOVIM That of library "09"'),
            # CLIENT.PAR
            ("7000", par(b"\r\n", b"\n"), r"CLIENT.PAR 1  .*ends in LF alone|needed|No library"),
            ("7000", par(b"CLIENT=7", b"CLIENT=107"), r'CLIENT.PAR 1  Of "107" only the last two'),
            ("7000", par(b"CLIENT=7", b"CLIENT=a/b"), r'CLIENT.PAR 1  "a/b" cannot be part'),
            ("7000", par(b"ATTESA=0.1", b"ATTESA=0"), r"CLIENT.PAR 2  No host answers in time"),
            ("7000", par(b"ATTESA=0.1", b"ATTESA=0,1"), r'CLIENT.PAR 2  "0,1" is read up to its comma|No host answers'),
            ("7000", par(b"/host/\r\n", b"/host\r\n"), r"CLIENT.PAR 3  .*not end in a path separator"),
            ("7000", par(b"PATH=", b"PATH= "), r"CLIENT.PAR 3  A blank stands in front"),
            ("7000", par(b"/host/\r\n", b"/haste/\r\n"), fr"CLIENT.PAR 3  There is no directory {here}/haste/"),
            ("7000", par(b"RIGA10=0", b"RIGA10=32768"), r"CLIENT.PAR 10  The number is too large: at most 32767"),
            ("7000", par(b"LARGHEZZA=60", b"LARGHEZZA=2"), r"CLIENT.PAR 6  .*no room for an answer"),
            ("7000", par(b"LARGHEZZA=60", b"LARGHEZZA=41"), r"CLIENT.PAR 12  The text is cut after 39"),
            ("7000", par(b"NC=Bib", b"NC Bib"), r'CLIENT.PAR 14  It has no "="'),
            ("7000", par(b"NC=Bib", b"=Bib"), r'CLIENT.PAR 14  Nothing stands in front of its "="'),
            ("7000", par(b"NC=Bib", b"09=Bib"), r'CLIENT.PAR 14  Its text is told for library 09'),
            ("7000", par(b"codbib=00", b"\r\ncodbib=00"), r"CLIENT.PAR 15  It is empty"),
            ("7000", par(b"codbib=04", b"CODBIB=04"), r"CLIENT.PAR 19  .*none when a question is asked"),
            ("7000", par(b"codbib=04", b"codbib = 04"), r"CLIENT.PAR 19  It looks like a library"),
            ("7000", par(b"codbib=04", b"codbib=004"), r'CLIENT.PAR 19  The library code is read as "00"|stands further up'),
            ("7000", par(b"codbib=04,AA,Biblioteca Musicale", b"codbib=04,AA"), r"CLIENT.PAR 19  The library has no name"),
            ("7000", par(b"codbib=01", b"codbib=00"), r"CLIENT.PAR 16  The library code 00 stands further up"),
            ("7000", par(b"codbib=00", b"codbib=10,AA,X\r\ncodbib=00"), r"CLIENT.PAR   11 libraries are listed"),
            ("7000", par(b"codbib=", b"bib:"), r"CLIENT.PAR   No library is listed|Nothing reads it"),
            ("7000", par(b"Borgo", "Città".encode()), r"CLIENT.PAR 17  It is UTF-8"),
            # Files
            (None, aside("SvrDisp.ini", "svrdisp.INI"), r"SvrDisp.ini   .*, but svrdisp.INI is"),
            ("7000", lambda: ((self.site / "CLIENT.PAR").unlink(), (self.site / "CLIENT.PAR").mkdir()), r"CLIENT.PAR   The account \S+ cannot read it"),
            ("SQL", file("SvrDisp.ini", "[CONFIG]\nPATH=/\n".encode("utf-16-le")), r"SvrDisp.ini   .*UTF-16 without a byte-order mark"),
            ("SQL", ini(b"2=Disp", b"; perch\xe9\n2=Disp"), r"SvrDisp.ini \d+  The line is UTF-8"),
            ("SQL2", file("VQLoan.so", b"no library"), r"VQLoan.so   It cannot be loaded"),
            ("SQL2", mode("SvrDisp.ini", 0o666), r"SvrDisp.ini   Every account may change it"),
            ("SQL2", mode(".", 0o777), fr"{here}   Every account may replace"),
            # The gateway's directory
            ("SQL", ini(b"/gateway", b"/nowhere"), r"\[CONFIG\] PATH There is no directory"),
            ("SQL", ini(bytes(self.site / "gateway"), b""), r"\[CONFIG\] PATH It names no exchange directory"),
            ("SQL", ini(bytes(self.site / "gateway"), b"."), r'\[CONFIG\] PATH "." is seen from where'),
            ("SQL", ini(b"/gateway", b"/library.db"), r"\[CONFIG\] PATH .*library.db is no directory"),
            ("SQL", mode("gateway", 0o2777), r"\[CONFIG\] PATH Every account may make files there"),
            ("SQL", mode("gateway", 0o3770), r"\[CONFIG\] PATH .*delete only its own files"),
            ("SQL", file("gateway/ZSQL_007.CL2"), r"\[CONFIG\] PATH The answer ZSQL_007.CL2 lies there"),
            ("SQL", file("gateway/ZSQL_042.CL2", age=3600), r"\[CONFIG\] PATH 1 answer lies there .*ZSQL_042.CL2"),
            ("SQL", lambda: os.mkfifo(self.site / "gateway/ZSQL_007.CL1"), r"\[CONFIG\] PATH ZSQL_007.CL1 there is no plain file"),
            ("SQL", lambda: (self.site / "gateway/.ZSQL_left").mkdir(), r"\[CONFIG\] PATH A server that was killed has left .ZSQL_left"),
        ]
        self.edit("SvrDisp.ini", b"TIMEOUT=5\n", b"TIMEOUT=1\n")
        self.edit("CLIENT.PAR", b"ATTESA=5", b"ATTESA=0.1")
        sound = self.scratch / "sound"
        shutil.copytree(self.site, sound)
        for kind, change, finding in cases:
            with self.subTest(finding):
                shutil.rmtree(self.site)
                shutil.copytree(sound, self.site)
                change()
                found = [text for text in self.findings(kind) if "Nobody answers" not in text]
                self.assertRegex("\n".join(found), finding)
                self.assertEqual([text for text in found if not re.search(finding, text)], [])

    def test_a_question_is_asked(self):
        self.edit("SvrDisp.ini", b"TIMEOUT=5\n", b"TIMEOUT=1\n")
        said = run("check", "--kind", "SQL", "--site", self.site, status=1).stdout.decode()
        self.assertRegex(said, r"\n  1 SvrDisp.ini line \d+, \[CONFIG\] PATH\n    Nobody answers a question, within 1\d\d\d ms.\n    Start")
        self.assertEqual(os.listdir(self.site / "gateway"), [])
        with self.responder(b"\tguasto\r\n"):
            self.assertRegex(self.findings("SQL")[0], r"\[CONFIG\] PATH The gateway answers with a failure: guasto")


class Serving(Site):
    def exchange(self, request, name="gateway/ZSQL_042"):
        """Writes a request as it is given, and gives the answer file's contents."""
        answer = self.site / f"{name}.CL2"
        answer.unlink(missing_ok=True)
        answer.with_suffix(".CL1").write_bytes(request)
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
        in_pieces(gateway / "ZSQL_009.CL1", b"WL,KA0000", b"01,00\r\n", pause=0.1)
        await_true((gateway / "ZSQL_009.CL2").exists, "the answer to a request in pieces")
        self.assertIn(b"Disponibile", (gateway / "ZSQL_009.CL2").read_bytes())
        for client in range(100, 120):
            (gateway / f"ZSQL_{client}.CL1").write_bytes(b"WL,KA000001,00\r\n")
        answers = [f"ZSQL_{client:03}.CL2" for client in (9, 42, *range(100, 120))]
        await_true(lambda: sorted(path.name for path in gateway.glob("*.CL2")) == answers, "the answers to all clients")
        self.assertIn(b"Answered 32 requests", self.end(server, signal.SIGINT))

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
        table.write_text("# a comment\r\n\r\n01\tKA123456\tPRESTATO è\r\n01\t*\tCHIUSO\n", encoding="utf-8-sig")
        server = self.serve("host", "--exchange", self.site / "host", table)
        ask = lambda request: self.exchange(request + b"\r\n", "host/Z7000_07")
        for request, answer in ((b"WL,01123456", "PRESTATO è"), (b"WL,01999999", "CHIUSO"),
                                (b"WL,02123456", "Copia sconosciuta"), (b"XX", "Richiesta non valida")):
            self.assertEqual(ask(request), (answer + "\r\n").encode("cp1252"))
        table.write_text("01\tKA123456\n")
        server.send_signal(signal.SIGHUP)  # it says what is wrong, and goes on with the table that it has
        await_true(lambda: "line 1" in self.log.read_text(), "the complaint about the table")
        self.assertEqual(ask(b"WL,02123456"), b"Copia sconosciuta\r\n")
        table.write_text("02\tKA123456\tDENTRO\n")
        server.send_signal(signal.SIGHUP)
        await_true(lambda: b"DENTRO" in ask(b"WL,02123456"), "the new table")
        self.assertIn(b"served already (process", run("host", "--exchange", self.site / "host", table, status=2).stderr)
        # The same where another directory has the name, and another server was the first to have it.
        shutil.move(self.site / "host", self.scratch / "gone")
        (self.site / "host").mkdir()
        second = self.serve("host", "--exchange", self.site / "host", table)
        await_true(lambda: ask(b"WL,02123456") and "served already" in self.log.read_text(), "the first one's complaint")
        self.assertIn(str(second.pid), (self.site / "host/Z7000_.lock").read_text())

    def test_output_that_nobody_reads_ends_no_server(self):
        server = subprocess.Popen([VQLOAN, "gateway", f"--site={self.site}", "-v"], stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        server.stdout.readline()
        server.stdout.close()
        server.stderr.close()
        for _ in range(2):
            self.assertIn(b"Disponibile", self.exchange(b"WL,KA000001,00\r\n"))
        server.terminate()
        self.assertEqual(server.wait(), 2)  # it could not say how many

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
            starting = subprocess.Popen([VQLOAN, "gateway", f"--site={self.site}"], stderr=subprocess.DEVNULL)
            await_true(lambda: len(os.listdir(f"/proc/{starting.pid}/task")) > 1, "a worker that opens the database")
            starting.terminate()
            self.assertEqual(starting.wait(10), 0)
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
        ask = lambda: subprocess.run(client, env=environment, capture_output=True)
        self.assertIn(b"Disponibile", ask().stdout)
        run("unregister", "--site", self.site, env=environment)
        self.assertEqual(ask().returncode, 2)
        # A name that is no UTF-8; and behind a link, "..", which leads elsewhere than the names alone tell.
        odd = self.scratch / os.fsdecode(b"sit\xE0")
        shutil.copytree(self.site, odd)
        (odd / "below").mkdir()
        (self.scratch / "link").symlink_to(odd / "below")
        for site in (odd, self.scratch / "link" / ".."):
            self.assertIn("Disponibile", run("ask", "--kind", "SQL2", "--site", site, "--library", "00", "--inventory", "KA000001").stdout.decode())
            run("register", "--site", site, env=environment)
            self.assertIn(b"Disponibile", ask().stdout)
        run("unregister", "--site", odd, env=environment)
        self.assertEqual(ask().returncode, 2)
        # With another component, which is told the directory, and with a database that is named without one.
        (odd / "VQLoan.so").unlink()
        (odd / "SvrDisp.ini").write_bytes(re.sub(rb"(Data Source=).*/", rb"\1", (odd / "SvrDisp.ini").read_bytes()))
        run("ask", "--kind", "SQL2", "--site", odd, "--library", "00", "--inventory", "KA000001", cwd=odd)

    def test_manual_page_names_every_option(self):
        page = (ROOT / "client/vqloan.1").read_text().replace("\\-", "-")
        commands = ["ask", "check", "gateway", "host", "register", "site", "unregister"]
        commands += ["serve"] if b" serve " in run("--help").stdout else []  # but in a build without HTTP
        for command in commands:
            said = run(command, "--help").stdout.decode()
            self.assertLessEqual(max(map(len, said.splitlines())), 80, said)
            options = re.findall(r"--[a-z-]+", said)
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

    def follow(self, blocks, *replaced, user=(), **environment):
        """Runs blocks of the documents from the top of the tree, with some of their words replaced; gives what they say."""
        script = "set -e\n" + "".join(blocks)
        for old, new in replaced:
            script = script.replace(old, str(new))
        done = subprocess.run([*user, "bash", "-c", script], cwd=ROOT, env={**os.environ, **environment},
                              capture_output=True, text=True, timeout=100)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout

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
        blocks = blocks_of(ROOT / "README.md")
        if b"serve" not in run("--help").stdout:  # a build without HTTP
            blocks = [block for block in blocks if "8080" not in block]
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = free.getsockname()[1]  # the README's own may be in use
        bin_directory = "build/bin" if BIN == ROOT / "build/bin" else BIN
        said = self.follow(blocks, ("8080", port), ("build/bin", bin_directory), user=user, HOME=str(home))
        self.assertIn("In prestito dal", said)
        self.assertEqual(said.count('"status":"on_loan"'), len([block for block in blocks if "curl" in block]))
        self.assertIn("No findings.", said)

    def test_command_lines_of_the_documents(self):
        """Blocks marked sh, in order, with the documents' paths put where the test may write."""
        shutil.rmtree(self.site)
        preload = subprocess.run(["ldd", BIN / "VQLoan.so"], capture_output=True, text=True).stdout
        sanitizer = re.search(r"=> (\S*libasan\S*)", preload)
        python = f"LD_PRELOAD={sanitizer[1]} ASAN_OPTIONS=detect_leaks=0 PYTHONPATH=" if sanitizer else "PYTHONPATH="
        guides = [ROOT / "docs" / f"{name}.md" for name in ("administration", "architecture", "clients")]
        blocks = [block for guide in guides for block in blocks_of(guide)]  # what the others say needs servers, or takes long
        said = self.follow(blocks, ("/srv/vqloan", self.site), ("build/bin", BIN), ("\nPYTHONPATH=", "\n" + python),
                           AUTOMATION_REGISTRY=str(self.scratch / "registry"), HOME=str(self.scratch))
        self.assertGreater(said.count("Disponibile"), 1)


if __name__ == "__main__":
    unittest.main(verbosity=2)
