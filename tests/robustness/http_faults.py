#!/usr/bin/env python3
"""tavio built with the http transport against an API server that misbehaves on cue
(tests/e2e/replay_server.py --fault): the same answers as from a well-behaved server whether it
keeps or closes its connections, the answers of a server that is down whatever it sends that
is no reply, reads repeated once and posts never when a kept connection is reset, one
connection for a whole exchange, and a stalled server held to the deadline and the budget.
(How each framing is read, byte by byte, and whether it keeps the connection, is the reply
parser's unit test.)

    http_faults.py TAVIO_BINARY [EMULATOR [EMULATOR_ARGS...]]
"""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

REPO = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
SIM_BIN = os.path.join(REPO, "sim", "bin")
SERVER = os.path.join(REPO, "tests", "e2e", "replay_server.py")

ROWS = ["cpuload", "wan_status_1", "lan_ip", "remote_assist", "wans_throughput_in"]
REQUESTS = {
    "read": {"type": "valueRead", "req": {"list": [{"k": k} for k in ROWS]}},
    "write": {"type": "valueWrite", "req": {"list": [{"k": "remote_assist", "v": "On"},
                                                     {"k": "remote_assist", "v": "Off"}]}},
    "stall": {"type": "valueRead", "req": {"list": [{"k": k} for k in ROWS[:3]]}}}

# (fault, exchange, expected answers). "served": those of the well-behaved server; "down":
# those of a server that is down. Each request is sent once, after a close on a new connection.
# (A kept connection closed without a word while idle goes the way of one reset when the next
# request comes: reset-reused below.)
CASES = [("close", "read", "served"), ("status-299", "read", "served")] + [
    (fault, label, "down") for fault in ("reset", "garbage", "status-300")
    for label in ("read", "write")]


def main(argv):
    if not argv:
        print(__doc__)
        return 2
    tavio = argv[1:] + [os.path.abspath(argv[0])]
    top = Path(tempfile.mkdtemp(prefix="tavio-http-faults."))
    failures = []

    def expect(what, got, wanted):
        if got != wanted:
            failures.append("%s: %r, expected %r" % (what, got, wanted))

    def run(name, fault, label, down=False):
        """tavio on one request against a replay server with the fault: (answers, seconds
        taken, the requests the server logged, the connections it accepted)."""
        work = top / name
        root, log, stats, ready = (work / n for n in ("root", "standin.log", "connections", "port"))
        shutil.copytree(Path(REPO, "sim", "router"), root, symlinks=True)
        log.write_text("")
        env = dict(os.environ, TAVIO_ROOT=root, TAVIO_STANDIN_LOG=log,
                   PATH=SIM_BIN + os.pathsep + os.environ.get("PATH", ""))
        env.pop("TAVIO_SIM_API_DOWN", None)
        env.update({"TAVIO_SIM_API_DOWN": "1"} if down else {})
        server = subprocess.Popen([sys.executable, "-B", SERVER, root, ready, "--stats", stats]
                                  + (["--fault", fault] if fault else []), env=env,
                                  stdin=subprocess.DEVNULL)
        try:
            for _ in range(200):
                if ready.exists():
                    break
                time.sleep(0.05)
            Path(root, "etc", "localhost_http_port").write_text(
                "LOCAL_HTTP_PORT=%s\n" % ready.read_text().strip())
            subprocess.run(["bash", Path(REPO, "tools", "check-standins"), SIM_BIN], env=env,
                           check=True)
            in_file, out_file = work / "request.json", work / "response.json"
            in_file.write_text(json.dumps(REQUESTS[label]))
            started = time.monotonic()
            subprocess.run(tavio + ["-i", in_file, "-o", out_file], env=env, cwd=work,
                           timeout=60, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                           check=True)
            took = time.monotonic() - started
        finally:
            server.terminate()
            server.wait(timeout=10)
        logged = log.read_text().splitlines()
        failures.extend("%s: temporary file %s" % (name, left) for left in
                        [n.name for n in (root / "var" / "run" / "dorva" / "tavio").glob("wget_*")]
                        + [line for line in logged if "temporary" in line])
        return (json.loads(out_file.read_text())["resp"]["list"], took,
                [line for line in logged if line.startswith("http ")], int(stats.read_text()))

    try:
        reference, calls = {}, {}
        for kind in ("served", "down"):
            for label in ("read", "write"):
                name = "%s-%s" % (kind, label)
                answers, _, requests, connections = run(name, None, label, kind == "down")
                reference[kind, label], calls[label] = answers, len(requests)
                if kind == "served":
                    expect("%s: connections" % name, connections, 1)

        for fault, label, wanted in CASES:
            name = "%s-%s" % (fault, label)
            answers, _, requests, accepted = run(name, fault, label)
            expect("%s: answers" % name, answers, reference[wanted, label])
            expect("%s: requests" % name, len(requests), calls[label])
            if fault == "close":
                expect("%s: connections" % name, accepted, len(requests))

        # A kept connection reset when the next request comes: a read goes once more on a new
        # connection; a post is never sent twice, so the second one fails.
        answers, _, requests, _ = run("reset-reused-read", "reset-reused", "read")
        expect("reset-reused-read: answers", answers, reference["served", "read"])
        expect("reset-reused-read: requests", len(requests), 2 * calls["read"] - 1)
        answers, _, requests, _ = run("reset-reused-write", "reset-reused", "write")
        expect("reset-reused-write: answers", answers,
               reference["served", "write"][:1] + reference["down", "write"][1:])
        expect("reset-reused-write: posts", len([r for r in requests if " POST " in r]), 2)

        # A server that never answers: each call ends at its 10 s deadline, and two of them
        # spend the 20 s budget, so the third is never sent.
        answers, took, requests, _ = run("stall", "stall", "stall")
        expect("stall: answers", answers, reference["down", "read"][:3])
        expect("stall: requests sent", len(requests), 2)
        if not 19.5 <= took <= 27:
            failures.append("stall: took %.1f s, expected 20 to 27" % took)
    except (RuntimeError, OSError, ValueError, KeyError, subprocess.SubprocessError) as error:
        failures.append(str(error))
    if failures:
        print("\n".join("FAIL " + failure for failure in failures))
        print("(kept %s)" % top)
        return 1
    print("PASS: %d exchanges against a misbehaving API server" % len(list(top.iterdir())))
    shutil.rmtree(top, ignore_errors=True)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
