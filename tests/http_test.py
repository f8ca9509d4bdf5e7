#!/usr/bin/env python3
"""`vqloan serve` over real sockets: http_test.py BIN_DIRECTORY."""
import contextlib
import http.client
import json
import re
import signal
import socket
import subprocess
import threading
import time
import unittest

from client_test import ROOT, VQLOAN, Site, await_true, execute, run

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
        self.server.send_signal(signal.SIGTERM)
        begun = time.monotonic()
        self.assertEqual(self.server.wait(20), 0, self.said("server.log"))
        return time.monotonic() - begun

    def said(self, name):
        return (self.scratch / name).read_bytes()

    def connect(self):
        connection = socket.create_connection(("127.0.0.1", self.port), timeout=40)
        self.addCleanup(connection.close)
        return connection

    @staticmethod
    def answer(connection, method="GET"):
        response = http.client.HTTPResponse(connection, method=method)
        response.begin()
        return response.status, dict(response.getheaders()), response.read().decode()

    def ask_raw(self, request, method="GET"):
        connection = self.connect()
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
        for method, target, expected in (("GET", "/../etc/passwd", 404), ("GET", "/page.html", 404), ("POST", "/", 405),
                                         ("GET", "/health", 200), ("BREW", "/daia", 405)):
            self.assertEqual(self.get(target, method)[0], expected, target)


if __name__ == "__main__":
    unittest.main(verbosity=2)
