#!/usr/bin/env python3
"""tavio built with the http transport against an API server that misbehaves on cue
(tests/e2e/replay_server.py --fault): the same answers as from a well-behaved server whatever
way it frames or ends its replies, the answers of a server that is down whatever it sends that
is no reply, reads repeated once and posts never when a kept connection is reset, one
connection for a whole exchange, and a stalled server held to the deadline and the budget.

    http_faults.py TAVIO_BINARY [EMULATOR [EMULATOR_ARGS...]]
"""
import json
import os
import shlex
import shutil
import subprocess
import sys
import tempfile
import threading
import time

REPO = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
SIM_BIN = os.path.join(REPO, "sim", "bin")
SERVER = os.path.join(REPO, "tests", "e2e", "replay_server.py")

ROWS = ["cpuload", "wan_status_1", "lan_ip", "remote_assist", "wans_throughput_in"]
READ = {"type": "valueRead", "req": {"list": [{"k": k} for k in ROWS]}}
WRITE = {"type": "valueWrite", "req": {"list": [{"k": "remote_assist", "v": "On"},
                                                {"k": "remote_assist", "v": "Off"}]}}
STALL_READ = {"type": "valueRead", "req": {"list": [{"k": k} for k in ROWS[:3]]}}

# (fault, exchange, expected answers, expected connections: "one", "per-request" or None).
# "served": those of the well-behaved server; "down": those of a server that is down. Each
# request is sent once (close-idle aside: a read that meets the close on its way out is sent
# again, as it should).
SAME = [("chunked", READ, "served", "one"), ("chunked", WRITE, "served", "one"),
        ("close", READ, "served", "per-request"), ("http10", READ, "served", "per-request"),
        ("close-idle", READ, "served", None)]
FAILED = [(fault, exchange, "down", None)
          for fault in ("reset", "garbage", "truncated", "big-head", "huge", "bad-chunk")
          for exchange in (READ, WRITE)]


class Scenario:
    def __init__(self, top, name, fault, tavio, emulator, down=False):
        self.name, self.tavio, self.emulator = name, tavio, emulator
        self.dir = os.path.join(top, name)
        self.root = os.path.join(self.dir, "root")
        self.log = os.path.join(self.dir, "standin.log")
        self.stats = os.path.join(self.dir, "connections")
        shutil.copytree(os.path.join(REPO, "sim", "router"), self.root, symlinks=True)
        os.makedirs(os.path.join(self.root, "var", "run", "dorva", "tavio"), exist_ok=True)
        open(self.log, "w", encoding="utf-8").close()
        self.env = dict(os.environ, TAVIO_ROOT=self.root, TAVIO_STANDIN_LOG=self.log,
                        PATH=SIM_BIN + os.pathsep + os.environ.get("PATH", ""))
        self.env.pop("TAVIO_SIM_API_DOWN", None)
        if down:
            self.env["TAVIO_SIM_API_DOWN"] = "1"
        ready = os.path.join(self.dir, "port")
        self.server = subprocess.Popen(
            [sys.executable, "-B", SERVER, self.root, ready, "--stats", self.stats]
            + (["--fault", fault] if fault else []), env=self.env, stdin=subprocess.DEVNULL)
        for _ in range(200):
            if os.path.exists(ready):
                break
            time.sleep(0.05)
        with open(ready, encoding="ascii") as handle:
            port = handle.read().strip()
        with open(os.path.join(self.root, "etc", "localhost_http_port"), "w",
                  encoding="ascii") as handle:
            handle.write("LOCAL_HTTP_PORT=%s\n" % port)

    def start(self, request):
        """Starts tavio on the request, after checking that every stand-in comes first."""
        check = subprocess.run(["bash", os.path.join(REPO, "tools", "check-standins"), SIM_BIN],
                               env=self.env, check=False)
        if check.returncode != 0:
            raise RuntimeError("the stand-ins of %s do not come first on PATH" % SIM_BIN)
        self.out = os.path.join(self.dir, "response.json")
        in_file = os.path.join(self.dir, "request.json")
        with open(in_file, "w", encoding="utf-8") as handle:
            json.dump(request, handle)
        started = time.monotonic()
        process = subprocess.Popen(self.emulator + [self.tavio, "-i", in_file, "-o", self.out],
                                   env=self.env, cwd=self.dir, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.DEVNULL)
        # The end is noted when it comes, while other scenarios run meanwhile.
        self.took = None
        def note_end():
            process.wait()
            self.took = time.monotonic() - started
        self.waiter = threading.Thread(target=note_end, daemon=True)
        self.waiter.start()
        return process

    def finish(self, process):
        """(answers, seconds taken) of the exchange started."""
        self.waiter.join(timeout=60)
        if self.took is None:
            process.kill()
            raise RuntimeError("%s: tavio did not end within 60 s" % self.name)
        if process.returncode != 0:
            raise RuntimeError("%s: exit status %d" % (self.name, process.returncode))
        with open(self.out, encoding="utf-8") as handle:
            return json.load(handle)["resp"]["list"], self.took

    def exchange(self, request):
        return self.finish(self.start(request))

    def requests(self, method=None):
        with open(self.log, encoding="utf-8") as handle:
            return [line for line in handle if line.startswith("http ")
                    and (method is None or line.startswith("http %s " % method))]

    def connections(self):
        with open(self.stats, encoding="ascii") as handle:
            return int(handle.read())

    def stop(self):
        self.server.terminate()
        self.server.wait(timeout=10)
        left = [n for n in os.listdir(os.path.join(self.root, "var", "run", "dorva", "tavio"))
                if n.startswith("wget_")]
        temporary = [line for line in open(self.log, encoding="utf-8") if "temporary" in line]
        return left + temporary


def main(argv):
    if not argv:
        print(__doc__)
        return 2
    tavio = os.path.abspath(argv[0])
    emulator = argv[1:] or shlex.split(os.environ.get("TAVIO_EMULATOR", ""))
    top = tempfile.mkdtemp(prefix="tavio-http-faults.")
    failures = []
    scenarios = []

    def scenario(name, fault, down=False):
        made = Scenario(top, name, fault, tavio, emulator, down)
        scenarios.append(made)
        return made

    def expect(what, got, wanted):
        if got != wanted:
            failures.append("%s: %r, expected %r" % (what, got, wanted))

    try:
        # A server that never answers, on its own meanwhile: each call ends at its 10 s
        # deadline, and two of them spend the 20 s budget, so the third is never sent.
        stalled = scenario("stall", "stall")
        stalling = stalled.start(STALL_READ)

        reference, calls = {}, {}
        for kind, down in (("served", False), ("down", True)):
            for label, exchange in (("read", READ), ("write", WRITE)):
                ran = scenario("%s-%s" % (kind, label), None, down)
                reference[kind, label] = ran.exchange(exchange)[0]
                calls[label] = len(ran.requests())
                if not down:
                    expect("%s: connections" % ran.name, ran.connections(), 1)
        expect("a write against a server that is up", [a["status"] for a in
                                                       reference["served", "write"]], ["ok", "ok"])
        expect("a write against a server that is down", [a["status"] for a in
                                                         reference["down", "write"]],
               ["failed", "failed"])

        for fault, exchange, wanted, connections in SAME + FAILED:
            label = "read" if exchange is READ else "write"
            ran = scenario("%s-%s" % (fault, label), fault)
            answers, _ = ran.exchange(exchange)
            expect("%s: answers" % ran.name, answers, reference[wanted, label])
            if fault != "close-idle":
                expect("%s: requests" % ran.name, len(ran.requests()), calls[label])
            if connections == "one":
                expect("%s: connections" % ran.name, ran.connections(), 1)
            elif connections == "per-request":
                expect("%s: connections" % ran.name, ran.connections(), len(ran.requests()))

        # A kept connection reset when the next request comes: a read goes once more on a new
        # connection; a post is never sent twice, so the second one fails.
        ran = scenario("reset-reused-read", "reset-reused")
        answers, _ = ran.exchange(READ)
        expect("reset-reused-read: answers", answers, reference["served", "read"])
        expect("reset-reused-read: requests", len(ran.requests()), 2 * calls["read"] - 1)
        ran = scenario("reset-reused-write", "reset-reused")
        answers, _ = ran.exchange(WRITE)
        expect("reset-reused-write: answers", answers,
               reference["served", "write"][:1] + reference["down", "write"][1:])
        expect("reset-reused-write: posts", len(ran.requests("POST")), 2)

        answers, took = stalled.finish(stalling)
        expect("stall: answers", answers, reference["down", "read"][:3])
        expect("stall: requests sent", len(stalled.requests()), 2)
        if not 19.5 <= took <= 27:
            failures.append("stall: took %.1f s, expected 20 to 27" % took)
    except (RuntimeError, OSError, ValueError, KeyError, subprocess.SubprocessError) as error:
        failures.append(str(error))
    finally:
        for made in scenarios:
            try:
                for left in made.stop():
                    failures.append("%s: temporary file %s" % (made.name, left.strip()))
            except (OSError, subprocess.SubprocessError) as error:
                failures.append("%s: %s" % (made.name, error))
    if failures:
        print("\n".join("FAIL " + failure for failure in failures))
        print("(kept %s)" % top)
        return 1
    shutil.rmtree(top, ignore_errors=True)
    print("PASS: %d scenarios against a misbehaving API server" % len(scenarios))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
