#!/usr/bin/env python3
"""Makes each system call of vqloan fail in turn, once, with each error: calls.py BIN_DIRECTORY [STEP]

For the client, the gateway and the host, on all kinds. A line is answered rightly or its failure is said, and what is
asked next is answered. STEP: every so-many-th call alone, but of the few that close, and then with one error."""
import errno
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

BIN = pathlib.Path(sys.argv[1]).resolve()
STEP = int(sys.argv[2]) if len(sys.argv) > 2 else 1
ERRORS = [errno.EIO] if STEP > 1 else [errno.EIO, errno.ENOSPC, errno.EMFILE, errno.EACCES, errno.EINTR]
CALLS = ["open", "read", "write", "close", "rename", "unlink", "stat", "clock"]
wrong = []


def with_fault(fault, mark):
    return dict(os.environ, LD_PRELOAD=str(BIN / "libfailing_calls.so"), FAULT=fault, FAULT_MARK=str(mark))


class Desk:
    def __init__(self, scratch):
        self.site, self.mark = scratch / "site", scratch / "mark"
        subprocess.run([BIN / "vqloan", "site", self.site, "--sample", "--copies=40"], check=True, stdout=subprocess.DEVNULL)
        self.requests = self.site / "two.txt"
        self.requests.write_bytes(b"".join((self.site / "requests.txt").read_bytes().splitlines(True)[1:3]))
        parameters = self.site / "CLIENT.PAR"
        parameters.write_bytes(parameters.read_bytes().replace(b"ATTESA=5", b"ATTESA=1"))
        settings = self.site / "SvrDisp.ini"
        settings.write_bytes(re.sub(rb"TIMEOUT=5\b", b"TIMEOUT=1", settings.read_bytes()))

    def ask(self, kind, environment=None):
        for late in (self.site / "gateway").glob("*.CL2"):  # the next question would take it for its own
            late.unlink()
        command = [BIN / "vqloan", "ask", "--kind", kind, "--site", self.site, "--format", "json", self.requests]
        done = subprocess.run(command, capture_output=True, env=environment, timeout=60)
        try:
            return done.returncode, json.loads(done.stdout or b"[]"), done.stderr.decode()
        except json.JSONDecodeError:
            return done.returncode, [], done.stderr.decode()

    def serve(self, kind, environment=None):
        arguments = ["host", "--site", self.site, self.site / "host.txt"] if kind == "7000" else ["gateway", "--site", self.site]
        server = subprocess.Popen([BIN / "vqloan", *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment)
        server.stdout.readline()
        return server

    def check(self, what, right, kind, environment=None):
        status, rows, said = self.ask(kind, environment)
        good = len(rows) == len(right) or (status == 2 and said)
        for row in rows:
            good = good and (row in right or (row["outcome"] in ("failure", "timeout") and status == 1))
        if not good:
            wrong.append(what)
            print(f"{what}: status {status}: {said.strip()}\n  {rows}", flush=True)


def main():
    with tempfile.TemporaryDirectory() as scratch:
        desk = Desk(pathlib.Path(scratch))
        for kind in ("SQL2", "SQL", "7000"):
            server = None if kind == "SQL2" else desk.serve(kind)
            right = desk.ask(kind)[1]
            assert len(right) == 2, right
            for side in ("client", "server")[: 1 if kind == "SQL2" else 2]:
                for call in [*CALLS, "short"]:
                    calls = 0
                    for error in ERRORS if call != "short" else [0]:
                        nth, hit = 1, True
                        while hit:
                            desk.mark.unlink(missing_ok=True)
                            what = f"{kind}, {side}: {call} {nth} {errno.errorcode.get(error, '')}"
                            environment = with_fault(f"{call} {nth} {error}", desk.mark)
                            if side == "server":
                                end(server)
                                server = desk.serve(kind, environment)
                                desk.check(what, right, kind)
                                if server.poll() is not None:  # it may refuse to begin, and says why
                                    if not server.stderr.read():
                                        wrong.append(what)
                                        print(what, "ends without a word", flush=True)
                                    server = desk.serve(kind)
                            else:
                                desk.check(what, right, kind, environment)
                            hit = desk.mark.exists() and call != "short"
                            before = desk.mark.exists()
                            if desk.ask(kind)[1] != right and desk.mark.exists() == before:
                                wrong.append(what)
                                print(what, "spoils the next call", flush=True)
                            calls, nth = max(calls, nth - 1), nth + (1 if call == "close" else STEP)
                    print(f"{kind}, {side}: {call}: {calls} calls", flush=True)
            end(server)
    return 1 if wrong else 0


def end(server):
    if server:
        server.terminate()
        server.communicate(timeout=20)


sys.exit(main())
