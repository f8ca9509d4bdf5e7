#!/usr/bin/env python3
"""`vqloan serve` over real sockets: http_test.py BIN_DIRECTORY."""
import collections
import contextlib
import http.client
import json
import pathlib
import re
import select
import signal
import shutil
import socket
import sqlite3
import subprocess
import time
import unittest

from client_test import BIN, ROOT, VQLOAN, Site, await_true, blocks_of, run

APPROVAL = "http://purl.org/ontology/dso#ApprovalRequired"


class Http(Site):
    def start(self, *arguments, kind="SQL2"):
        command = [VQLOAN, "serve", "--kind", kind, "--site", self.site, "--listen", "127.0.0.1:0", *arguments]
        with open(self.scratch / "access.log", "wb") as access, open(self.scratch / "server.log", "wb") as log:
            self.server = subprocess.Popen(command, stdout=access, stderr=log)
        self.addCleanup(self.stop)
        await_true(lambda: b"Serving" in self.said("access.log"), "the server")
        self.port = int(re.search(rb"Serving on http://127\.0\.0\.1:(\d+)", self.said("access.log"))[1])

    def stop(self):
        if self.server.poll() is not None:
            return 0
        self.server.send_signal(signal.SIGTERM)
        begun = time.monotonic()
        self.assertEqual(self.server.wait(20), 0, self.said("server.log"))
        return time.monotonic() - begun

    def said(self, name):
        return (self.scratch / name).read_bytes()

    def connect(self, room=None):
        connection = socket.socket()
        self.addCleanup(connection.close)
        connection.settimeout(40)
        if room:
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, room)
        connection.connect(("127.0.0.1", self.port))
        return connection

    @staticmethod
    def answer(connection, method="GET"):
        response = http.client.HTTPResponse(connection, method=method)
        response.begin()
        return response.status, dict(response.getheaders()), response.read().decode()

    def ask_raw(self, request, method="GET"):
        with self.connect() as connection:
            with contextlib.suppress(ConnectionError):
                connection.sendall(request)
            return self.answer(connection, method)

    def get(self, target, method="GET", body=b""):
        length = f"Content-Length: {len(body)}\r\n" if body else ""
        return self.ask_raw(f"{method} {target} HTTP/1.1\r\nHost: x\r\n{length}\r\n".encode() + body, method)

    def daia(self, ids, more=""):
        status, _, body = self.get(f"/daia?format=json&id={ids}{more}")
        self.assertEqual(status, 200, body)
        return json.loads(body)

    def services(self, item):
        """Of a DAIA item, by service: whether it can be had, and what else is said."""
        return {entry.pop("service"): (kind, entry) for kind in ("available", "unavailable")
                for entry in item.get(kind, [])}


class Daia(Http):
    def test_every_situation(self):
        self.start()
        said = self.daia("%7C".join(f"{row['request']['library']}:{row['request']['inventory']}"
                                    for row in self.rows("SQL2")))
        found = {}
        for row, document in zip(self.rows("SQL2"), said["document"]):
            name = f"{row['request']['library']}:{row['request']['inventory']}"
            self.assertEqual((document["requested"], document["id"]), (name, "urn:vqloan:" + name))
            for item in document.get("item", []):
                self.assertEqual((item["id"], item["about"], item["department"]),
                                 (f"urn:vqloan:{name}/item", row["availability"], {"content": row["library"]}))
            items = document.get("item")
            found[row["status"]] = items and self.services(items[0])
        three, text = ("presentation", "loan", "interloan"), {r["status"]: r["availability"] for r in self.rows("SQL2")}
        limited = {status: {"limitation": [{"id": APPROVAL, "content": text[status]}]} for status in text}
        self.assertEqual(found, {
            "available": dict.fromkeys(three, ("available", {})),
            "on_loan": dict.fromkeys(three, ("unavailable", {"expected": "unknown"})),
            "overdue": dict.fromkeys(three, ("unavailable", {"expected": "unknown"})),
            "reminded": dict.fromkeys(three, ("unavailable", {})),
            "reading_room": dict.fromkeys(three[1:], ("unavailable", limited["reading_room"])) |
                            {"presentation": ("available", {})},
            "no_shelf_mark": dict.fromkeys(three, ("available", limited["no_shelf_mark"])),
            "special_status": dict.fromkeys(three, ("unavailable", limited["special_status"])),
            "out_of_service": dict.fromkeys(three, ("unavailable", {})),
            "no_circulation": {},
            "not_held": None})

    def test_refusals(self):
        self.start()
        for method, query, status, error in (
                ("GET", "id=01:KA000002", 422, "invalid_request"),
                ("GET", "id=01:KA000002&format=xml", 422, "invalid_request"),
                ("GET", "format=json", 422, "invalid_request"),
                ("GET", "format=json&id=", 422, "invalid_request"),
                ("GET", "format=json&id=01:1&callback=a.b", 422, "invalid_request"),
                ("GET", "format=json&id=01:%FF", 400, "invalid_request"),
                ("POST", "format=json&id=01:1", 405, "invalid_request"),
                ("DELETE", "format=json&id=01:1", 405, "invalid_request"),
                *(("GET", f"format=json&id=01:1&{name}=x", 501, "not_implemented")
                  for name in ("patron", "patron-type", "access_token"))):
            with self.subTest(method=method, query=query):
                said, headers, body = self.get(f"/daia?{query}", method)
                self.assertEqual((said, headers["X-DAIA-Version"], headers["Content-Language"]), (status, "1.0.0", "en"))
                self.assertEqual(list(json.loads(body)), ["error", "code", "error_description"])
                self.assertEqual((json.loads(body)["error"], json.loads(body)["code"]), (error, status))
                suppressed = self.get(f"/daia?{query}&suppress_response_codes=1", method)
                self.assertEqual((suppressed[0], suppressed[2]), (200, body))

    def test_forms_of_answers(self):
        self.start("--institution", "Rete X", "--base-uri", "http://x.example/", "--id-prefix", "sbn:")
        status, headers, body = self.get("/daia?format=json&id=sbn:01:ka000002|other:1&id=sbn:99:A%20B/%C3%A8")
        self.assertEqual({name: headers[name] for name in ("Content-Type", "X-DAIA-Version", "Content-Language",
                                                           "Access-Control-Allow-Origin")},
                         {"Content-Type": "application/json; charset=utf-8", "X-DAIA-Version": "1.0.0",
                          "Content-Language": "it", "Access-Control-Allow-Origin": "*"})
        said = json.loads(body)
        self.assertEqual([(document["requested"], document["id"]) for document in said["document"]],
                         [("sbn:01:ka000002", "http://x.example/01:KA000002"),
                          ("sbn:99:A B/è", "http://x.example/99:A%20B%2F%C3%88")])
        self.assertEqual(said["institution"], {"content": "Rete X"})
        self.assertLess(abs(time.time() - time.mktime(time.strptime(said["timestamp"], "%Y-%m-%dT%H:%M:%SZ"))
                            + time.timezone), 5)
        _, headers, script = self.get("/daia?format=json&id=sbn:01:ka000002&callback=f_1")
        self.assertEqual(headers["Content-Type"], "application/javascript; charset=utf-8")
        self.assertEqual(json.loads(re.fullmatch(r"/\*\*/f_1\((.*)\);", script)[1])["document"], said["document"][:1])
        self.assertEqual(self.get("/daia?format=json&id=sbn:01:1|sbn:01:1", "HEAD")[::2], (200, ""))
        status, headers, _ = self.get("/daia", "OPTIONS")
        self.assertEqual((status, headers["Access-Control-Allow-Headers"], headers["Allow"]),
                         (200, "Content-Type", "GET, HEAD, OPTIONS"))
        for ids in ("sbn:01:%0D%0A02%09%091", "sbn:01", "sbn::1", "sbn:01:", "01:KA000002", "%7C|", "sbn:01:" + "1" * 300):
            self.assertEqual([ids, *self.daia(ids)["document"]], [ids]) if ids != "%7C|" else \
                self.assertEqual(self.get(f"/daia?format=json&id={ids}")[0], 422)
        twice = self.daia("sbn:01:1|sbn:01:%201|sbn:01:1")["document"]
        self.assertEqual(len(twice), 1)
        _, headers, body = self.get("/daia?format=json&id=" + "|".join(f"z{i}" for i in range(1003)))
        self.assertEqual(headers["Link"], '<?id=z1000%7Cz1001%7Cz1002&format=json>; rel="next"')


class Availability(Http):
    def test_the_same_as_ask(self):
        self.start()
        request = (self.site / "requests.txt").read_bytes() + "01\té\tKA000002\tnota".encode()
        asked = self.ask("SQL2", "--format=ndjson", text=request).stdout.decode()
        status, headers, body = self.get("/availability", "POST", request)
        self.assertEqual((status, headers["Content-Type"]), (200, "application/x-ndjson; charset=utf-8"))
        self.assertEqual(body, asked)
        self.assertEqual(self.get("/availability?library=01&inventory=KA000002&shelf=&shelf=%C3%A9&note=&note=nota"
                                  "&library=01&inventory=KA000002")[2].splitlines()[1], asked.splitlines()[-1])
        many = b"".join(b"0%d\t\tKA%06d\t\n" % (i % 10, i) for i in range(32766))
        self.assertEqual(self.get("/availability", "POST", many)[2],
                         self.ask("SQL2", "--format=ndjson", text=many).stdout.decode())
        connection = self.connect()
        connection.sendall(b"POST /availability HTTP/1.0\r\nContent-Length: %d\r\n\r\n" % len(many) + many)
        self.assertEqual(self.answer(connection)[2].count("\n"), 32766)
        for target, method, body, status in (("?library=01", "GET", b"", 422), ("?library=1&inventory=1&note=1&note=2", "GET", b"", 422),
                                             ("?library=0%0A1&inventory=1", "GET", b"", 422), ("", "GET", b"", 422),
                                             ("", "PUT", b"", 405), ("", "POST", b"\n", 422), ("", "POST", b"01\t\t1\nx\n", 422),
                                             ("", "POST", b"01\t\t\xff", 422), ("", "POST", b"1\t2\n" * 32767, 413)):
            self.assertEqual(self.get("/availability" + target, method, body)[0], status, (target, method, body[:20]))

    def test_the_page_and_other_paths(self):
        self.start()
        status, headers, body = self.get("/")
        nonces = set(re.findall(r"<(?:script|style) nonce=\"([0-9a-f]{32})\"", body))
        self.assertEqual((status, len(nonces), "@NONCE@" in body), (200, 1, False))
        policy = headers["Content-Security-Policy"]
        self.assertIn(f"default-src 'none'; script-src 'nonce-{nonces.pop()}'", policy)
        self.assertNotIn("unsafe", policy)
        self.assertNotEqual(self.get("/")[1]["Content-Security-Policy"], policy)
        for method, target, expected in (("GET", "/../etc/passwd", 404), ("GET", "/page.html", 404), ("POST", "/", 405), ("GET", "/%64aia", 404),
                                         ("GET", "/health", 200), ("BREW", "/daia", 405)):
            self.assertEqual(self.get(target, method)[0], expected, target)


class BackEnds(Http):
    QUESTION = "/daia?format=json&id=01:KA000002"

    @contextlib.contextmanager
    def locked(self):
        with contextlib.closing(sqlite3.connect(self.site / "library.db")) as writer:
            writer.execute("BEGIN EXCLUSIVE")
            yield

    def refused(self, target, status, error, reason):
        said, _, body = self.get(target)
        self.assertEqual((said, json.loads(body)["error"]), (status, error))
        self.assertRegex(json.loads(body)["error_description"], reason)

    def figures(self, *names):
        page = self.get("/metrics")[2]
        return [float(re.search("^" + re.escape(name) + r" (\S+)$", page, re.M)[1]) for name in names]

    def test_one_that_goes_and_comes_back(self):
        self.start()
        self.assertEqual(self.get("/health")[2], '{"status":"ok"}\n')
        (self.site / "library.db").rename(self.site / "away.db")
        self.refused(self.QUESTION, 502, "bad_gateway", "replaced or deleted")
        time.sleep(1)  # what was found of the health before counts so long
        status, _, body = self.get("/health")
        self.assertEqual((status, json.loads(body)["status"]), (503, "failing"))
        row = json.loads(self.get("/availability?library=01&inventory=KA000002")[2])
        self.assertEqual((row["outcome"], row["failure"]["number"] != 0), ("failure", True))
        shutil.copy(self.site / "away.db", self.site / "new.db")
        (self.site / "new.db").rename(self.site / "library.db")
        await_true(lambda: self.get(self.QUESTION)[0] == 200, "the database")
        await_true(lambda: self.get("/health")[0] == 200, "health")
        opened, failed = self.figures("vqloan_back_end_opened_total", 'vqloan_questions_total{outcome="failure"}')
        self.assertTrue(opened >= 1 and failed >= 2, (opened, failed))
        self.assertIn(b"replaced or deleted", self.said("server.log"))
        self.edit("SvrDisp.ini", b"In prestito dal", b"Prestato dal")
        self.server.send_signal(signal.SIGHUP)
        await_true(lambda: "Prestato dal" in self.get(self.QUESTION)[2], "the new settings")

    def test_one_that_is_late_and_too_many_questions(self):
        self.start("--limit=2")
        with self.locked():
            self.refused(self.QUESTION, 504, "gateway_timeout", "not answered in time")
            lines = self.get("/availability", "POST", b"01\t\tKA000002\n" * 2000)[2].splitlines()
            self.assertEqual([(row["outcome"], row["availability"]) for row in map(json.loads, lines)],
                             [("failure", "not answered in the time that a request has")] * 2000)
        self.assertEqual(self.get(self.QUESTION)[0], 200)
        with self.locked():
            waiting = [self.connect() for _ in range(500)]
            for connection in waiting:
                connection.sendall(f"GET {self.QUESTION} HTTP/1.1\r\nHost: x\r\n\r\n".encode())
            time.sleep(0.5)
            self.assertEqual(self.get("/metrics")[0], 200)  # has a place of its own
        outcomes = [self.answer(connection)[:2] for connection in waiting]
        statuses = collections.Counter(status for status, _ in outcomes)
        self.assertEqual(sorted(statuses), [200, 503], statuses)
        self.assertGreaterEqual(statuses[200], 256)
        self.assertEqual({(headers["Retry-After"], headers["X-DAIA-Version"]) for status, headers in outcomes if status == 503},
                         {("1", "1.0.0")})
        self.assertEqual(self.figures("vqloan_refused_total"), [statuses[503]])

    def test_it_ends_while_the_back_end_is_asked(self):
        self.start()
        with self.locked():
            asking = self.connect()
            asking.sendall(f"GET {self.QUESTION} HTTP/1.1\r\nHost: x\r\n\r\n".encode())
            time.sleep(0.2)
            self.assertLess(self.stop(), 5)
            starting = subprocess.Popen([VQLOAN, "serve", "--kind=SQL2", f"--site={self.site}", "--listen=127.0.0.1:0"])
            await_true(lambda: len(list(pathlib.Path(f"/proc/{starting.pid}/task").iterdir())) > 1, "a worker that opens")
            starting.terminate()
            self.assertEqual(starting.wait(20), 0)
        self.start("--client-numbers=11,12", kind="SQL")
        asking = self.connect()
        asking.sendall(f"GET {self.QUESTION} HTTP/1.1\r\nHost: x\r\n\r\n".encode())
        await_true(lambda: list(self.site.glob("gateway/*.CL1")), "the question")
        self.assertLess(self.stop(), 5)
        self.assertEqual(list(self.site.glob("gateway/*")), [])

    def test_exchanges(self):
        for kind, arguments, message in (("SQL", ["--workers=2"], b"client number"), ("SQL", ["--client-numbers=7,07"], b"twice"),
                                         ("7000", ["--client-numbers=123"], b"no client number"),
                                         ("SQL2", ["--listen=nowhere"], b"HOST:PORT"), ("SQL2", ["--base-uri=a b"], b"a URI")):
            self.assertIn(message, run("serve", "--kind", kind, "--site", self.site, *arguments, status=2).stderr)
        self.edit("SvrDisp.ini", b"\nTIMEOUT=5", b"\nTIMEOUT=1")
        self.start("--client-numbers=11,12", kind="SQL")
        self.refused(self.QUESTION, 504, "gateway_timeout", "Nessuna risposta dal server: riprovare più tardi")
        self.serve("gateway", "--site", self.site, "--delay=200")
        begun = time.monotonic()
        request = b"01\t\tKA000002\n" * 6
        body = self.get("/availability", "POST", request)[2]
        self.assertEqual([json.loads(line)["status"] for line in body.splitlines()], ["on_loan"] * 6)
        self.assertLess(time.monotonic() - begun, 1.1)  # two at once
        _, headers, body = self.get("/daia?format=json&id=" + "|".join(f"99:{i}" for i in range(26)))
        self.assertEqual((len(json.loads(body)["document"]), headers["Link"]), (25, '<?id=99:25&format=json>; rel="next"'))

    def test_a_host(self):
        self.serve("host", "--site", self.site, self.site / "host.txt")
        (self.scratch / "services").write_text("# of this site\n\nunknown ask - no # a word each\n")
        for arguments, unknown in (((), {}), (("--services", self.scratch / "services"), {
                "presentation": ("available", {"limitation": [{"id": APPROVAL, "content": "IN PRESTITO"}]}),
                "interloan": ("unavailable", {})})):
            self.start(*arguments, kind="7000")
            said, skipped = (document["item"][0] for document in self.daia("01:KA000002|07:KA000001")["document"])
            self.assertEqual((said["about"], self.services(said)), ("IN PRESTITO", unknown))
            self.assertRegex(skipped["about"], "^Disponibilità non verificabile")
            self.assertEqual(self.services(skipped), {})
            self.assertEqual(self.get("/health")[0], 200)
            self.stop()
        for text, message in (("available yes yes yes\non_laon no no no", b"line 2: no such situation: on_laon"),
                              ("on_loan no no", b"line 1: expected are"), ("on_loan no no perhaps", b"no such word: perhaps")):
            (self.scratch / "services").write_text(text)
            said = run("serve", "--kind=SQL2", "--site", self.site, "--services", self.scratch / "services", status=2)
            self.assertIn(message, said.stderr)

    def test_access_log_and_figures(self):
        self.start()
        self.get("/daia?format=json&id=01:%1B\"\x1b")
        with self.connect() as connection, connection.makefile("rb") as answers:
            request = b"GET /a\" HTTP/1.1\r\nHost: x\r\n"
            connection.sendall(request + b"\r\n" + request + b"Connection: close\r\n\r\n")  # before the first is answered
            self.assertEqual(answers.read().count(b"HTTP/1.1 404 Not Found"), 2)
        self.assertEqual(self.daia("01:KA000002|02:KA000003")["document"][1]["requested"], "02:KA000003")
        await_true(lambda: self.said("access.log").count(b"\n") == 5, "the lines")  # each is written once its answer is sent
        lines = self.said("access.log").decode().splitlines()[1:]
        form = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d[+-]\d{4} 127\.0\.0\.1 \"(\S+ \S+)\" (\d+) \d+ \d+\.\d{4}"
        self.assertCountEqual([re.fullmatch(form, line).groups() for line in lines],
                              [("- -", "400"), ("GET /a\\x22", "404"), ("GET /a\\x22", "404"),
                               ("GET /daia?format=json&id=01:KA000002|02:KA000003", "200")])
        self.assertEqual(self.figures(
            'vqloan_questions_total{outcome="answer"}', 'vqloan_requests_total{status="2xx"}', 'vqloan_requests_total{status="4xx"}',
            "vqloan_refused_total", 'vqloan_block_seconds_bucket{le="+Inf"}', "vqloan_block_seconds_count"), [2, 1, 2, 1, 1, 1])


class Hostile(Http):
    def memory(self):
        """The most that it has had, in MiB."""
        return int(re.search(r"VmHWM:\s+(\d+) kB", pathlib.Path(f"/proc/{self.server.pid}/status").read_text())[1]) / 1024

    def test_requests_that_are_none(self):
        self.start()
        head = b"POST /availability HTTP/1.1\r\nHost: x\r\n"
        for request, status in (
                (b"\x16\x03\x01\x02\r\n\r\n", 400), (b"GET / HTTP/2.0\r\n\r\n", 505), (b"GET / HTTP/1.1\r\n\r\n", 400),
                (b"GET  / HTTP/1.1\r\nHost: x\r\n\r\n", 400), (b"GET http://x/ HTTP/1.1\r\nHost: x\r\n\r\n", 400),
                (b"GET /\x00 HTTP/1.1\r\nHost: x\r\n\r\n", 400), (b"GET / HTTP/1.1\r\nHost : x\r\n\r\n", 400),
                (b"GET / HTTP/1.1\r\n Host: x\r\n\r\n", 400), (b"GET / HTTP/1.1\r\nHost: x\r\nHost: y\r\n\r\n", 400),
                (b"GET /?" + b"x" * 9000 + b" HTTP/1.1\r\nHost: x\r\n\r\n", 414),
                (b"GET / HTTP/1.1\r\nHost: x\r\nX: " + b"x" * 20000, 431),
                (head + b"Content-Length: 1048577\r\n\r\n", 413), (head + b"Content-Length: 99999999999999999999\r\n\r\n", 413),
                (head + b"Content-Length: -1\r\n\r\n", 400), (head + b"Content-Length: 1\r\nContent-Length: 2\r\n\r\n", 400),
                (head + b"Transfer-Encoding: chunked\r\n\r\n0\r\n\r\n", 411), (head + b"Content-Encoding: gzip\r\n\r\n", 415),
                (head + b"Content-Length: 3000000\r\n\r\n" + b"x" * 3000000, 413)):
            with self.subTest(request=request[:60]):
                said, _, body = self.ask_raw(request)
                self.assertEqual((said, json.loads(body)["code"]), (status, status))
        # What the library would do by itself.
        plain = self.get("/health")[2]
        for header in ("Range: bytes=0-3", "Accept-Encoding: gzip, br", "Content-Type: multipart/form-data; boundary=x"):
            said = self.ask_raw(f"GET /health HTTP/1.1\r\nHost: x\r\n{header}\r\n\r\n".encode())
            self.assertEqual((said[0], said[2]), (200, plain), header)
        connection = self.connect()
        connection.sendall(head + b"Expect: 100-continue\r\nContent-Length: 13\r\n\r\n")
        self.assertEqual(connection.recv(100), b"HTTP/1.1 100 Continue\r\n\r\n")
        connection.sendall(b"01\t\tKA000002\t")
        self.assertEqual(self.answer(connection)[0], 200)

    def test_many_and_slow(self):
        """Halves of requests, of heads and of bodies, from 500 connections at once: somebody else is served all the time."""
        self.start("--quiet", "--workers=1", "--limit=5")
        halves = [b"", b"GET /daia", b"POST /availability HTTP/1.1\r\nHost: x\r\nContent-Length: 1000000\r\n\r\n" + b"x" * 400000]
        for attempt in range(3):
            connections = [self.connect() for _ in range(500)]
            for i, connection in enumerate(connections):
                connection.setblocking(False)
                with contextlib.suppress(BlockingIOError, ConnectionError):
                    connection.send(halves[i % 3])
            self.assertEqual(self.get("/daia?format=json&id=01:KA000002")[0], 200)
            for connection in connections:
                connection.close()
            await_true(lambda: " 0\n" in re.search(r"vqloan_connections \d+\n", self.get("/metrics")[2])[0], "their end")
            if attempt == 0:
                first = self.memory()
        self.assertLess(self.memory(), first + 20)
        self.assertLess(self.memory(), 150)
        slow = self.connect()
        begun = time.monotonic()
        for byte in b"GET / HTTP/1.1\r\nX: " + b"x" * 1000:
            with contextlib.suppress(ConnectionError):
                slow.send(bytes([byte]))
            if select.select([slow], [], [], 0.1)[0]:
                break
        self.assertEqual(self.answer(slow)[0], 408)
        self.assertLess(time.monotonic() - begun, 12)
        # Those that do not take their answers hold nobody up, and are left.
        question = b"GET /daia?format=json&id=" + b"|".join(b"01:%d" % i for i in range(60)) + b" HTTP/1.1\r\nHost: x\r\n\r\n"
        for connection in [self.connect(room=4096) for _ in range(4)]:
            connection.settimeout(1)
            with contextlib.suppress(TimeoutError):
                connection.sendall(question * 20000)
        self.assertEqual(self.get("/daia?format=json&id=01:KA000002")[0], 200)
        deaf = self.connect(room=4096)
        body = b"01\t\tKA000002\n" * 32000
        deaf.sendall(b"POST /availability HTTP/1.1\r\nHost: x\r\nContent-Length: %d\r\n\r\n" % len(body) + body)
        self.assertEqual(self.get("/daia?format=json&id=01:KA000002")[0], 200)


class Guide(Http):
    def test_the_commands_and_the_table(self):
        guide = (ROOT / "docs/http.md").read_text()
        (self.scratch / "services").write_text(re.search(r"^```\n(# situation.*?)^```", guide, re.M | re.S)[1])
        self.start()
        ids = "%7C".join(f"{row['request']['library']}:{row['request']['inventory']}" for row in self.rows("SQL2"))
        said = self.daia(ids)["document"]
        with socket.create_server(("127.0.0.1", 0)) as free:
            port = str(free.getsockname()[1])
        script = "".join(blocks_of(ROOT / "docs/http.md")).replace("~/vqloan &", f"~/vqloan --listen 127.0.0.1:{port} &")
        script = script.replace("8080", port).replace("build/bin", str(BIN)).replace("~/", f"{self.scratch}/")
        done = subprocess.run(["bash", "-c", script + "\nkill $!"], cwd=ROOT, capture_output=True, text=True, timeout=60)
        self.assertIn('"requested":"01:KA000002"', done.stdout, done.stderr)
        self.stop()
        self.start("--services", self.scratch / "services")
        self.assertEqual(self.daia(ids)["document"], said)


if __name__ == "__main__":
    unittest.main(verbosity=2)
