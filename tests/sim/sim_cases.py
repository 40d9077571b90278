#!/usr/bin/env python3
"""tavio against the router simulator over real HTTP: what only a live router shows, state that
changes from one exchange to the next. One case per run (CTest's sim.NAME tests).

    sim_cases.py CASE TAVIO_BINARY [EMULATOR [EMULATOR_ARGS...]]  |  sim_cases.py --list

Each case starts its own simulator (tests/sim/scenario.json) in a fresh copy of sim/router,
runs tavio with sim/live-bin first on PATH (tools/check-standins before every run), compares
the texts and write statuses the panel would show and checks each document against schemas/.
(What one exchange shows on its own, the tools it runs and the files it leaves among them, the
end-to-end cases hold.) Exit status
77 without curl. With TAVIO_API_TRANSPORT=http tavio asks the simulator itself, and its own
client waits the API's whole 10 s time-out: the reply held back 6 s is then shown.
"""

import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

REPO = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
sys.path.insert(0, os.path.join(REPO, "tests", "schema"))
sys.dont_write_bytecode = True  # nothing written into the source tree
import validate_documents  # noqa: E402
LIVE_BIN = os.path.join(REPO, "sim", "live-bin")
SIMCTL = os.path.join(REPO, "sim", "simulator", "simctl")
SCENARIO = os.path.join(REPO, "tests", "sim", "scenario.json")
OVER_HTTP = os.environ.get("TAVIO_API_TRANSPORT") == "http"

# What the panel shows, 21 characters a line.
CPU_7 = "CPU Load:          7%"
WAN1_UP = "Status:     Connected\nIP:      203.0.113.25"
PMU = "PMU1A2B3C4D5E6"


def ctl(*args): return ("ctl", list(args))
def read(values): return ("read", values)
def write(key, sent, shown, status): return ("write", key, sent, shown, status)


CASES = {
    "moving-figures": [
        ctl("clock", "10"), read({"cpuload": CPU_7, "wan_status_1": WAN1_UP}),
        ctl("clock", "70"), read({"cpuload": "CPU Load:         93%",
                                  "wan_status_1": "Status:  Disconnected"})],
    "writes-stick": [
        write("remote_assist", "Off", "Off", "ok"), read({"remote_assist": ""}),
        write("remote_assist", "On", "On", "ok"), read({"remote_assist": "On"}),
        read({"pmu_port_ctrl_%s_2" % PMU: "OFF"}),
        write("pmu_port_ctrl_%s_2" % PMU, "ON", "ON", "ok"),
        read({"pmu_port_ctrl_%s_2" % PMU: "ON", "pmu_port_ctrl_%s_1" % PMU: "ON"})],
    "slow-reply": [
        ctl("fault", "slow", "on"),
        read({"cpuload": CPU_7 if OVER_HTTP else "", "wan_status_1": WAN1_UP,
              "remote_assist": "On"})],
}


def main(argv):
    if argv == ["--list"]:
        print("\n".join(CASES))
        return 0
    if len(argv) < 2 or argv[0] not in CASES:
        print("usage: sim_cases.py CASE TAVIO [EMULATOR...]; cases: %s" % " ".join(CASES))
        return 2
    if not shutil.which("curl"):
        print("SKIP %s: curl is not installed" % argv[0])
        return 77
    name, command = argv[0], argv[2:] + [os.path.abspath(argv[1])]  # the emulator first
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # still stops the simulator
    work = Path(tempfile.mkdtemp(prefix="tavio-sim."))
    root, log, in_file, out_file = (work / n for n in ("root", "standin.log", "in.json", "out.json"))
    env = dict(os.environ, TAVIO_ROOT=root, TAVIO_STANDIN_LOG=log,
               PATH=LIVE_BIN + os.pathsep + os.environ.get("PATH", ""))
    env.pop("TAVIO_SIM_API_DOWN", None)
    env.pop("SIM_WGET_TIMEOUT", None)
    env.update({"SIM_WGET_TIMEOUT": "1"} if name == "slow-reply" else {})  # the reply takes 6 s
    documents, failures = validate_documents.Documents(), []

    def simctl(*args):
        done = subprocess.run([sys.executable, SIMCTL, args[0], root, *args[1:]],
                              capture_output=True, text=True, timeout=30, check=False)
        if done.returncode != 0:
            raise RuntimeError("simctl %s: %s" % (" ".join(args), done.stderr.strip()))

    def exchange(kind, items):
        """The answers of tavio's response, as (key, text, write status) each."""
        subprocess.run(["bash", Path(REPO, "tools", "check-standins"), LIVE_BIN], env=env,
                       check=True)
        request = {"type": kind, "req": {"list": items}}
        in_file.write_text(json.dumps(request))
        out_file.unlink(missing_ok=True)
        subprocess.run(command + ["-i", in_file, "-o", out_file], env=env, cwd=work,
                       stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, timeout=60, check=True)
        response = json.loads(out_file.read_text())
        documents.check_exchange(request, response)
        return [(item["k"], item["v"], item.get("status")) for item in response["resp"]["list"]]

    try:
        shutil.copytree(Path(REPO, "sim", "router"), root, symlinks=True)
        log.write_text("")
        simctl("start", "--scenario", SCENARIO, "--lifetime", "300")
        for kind, *args in CASES[name]:
            if kind == "ctl":
                simctl(*args[0])
            elif kind == "read":
                shown = {key: text for key, text, _ in
                         exchange("valueRead", [{"k": k} for k in args[0]])}
                failures.extend("read %s: %r, expected %r" % (key, shown.get(key), expected)
                                for key, expected in args[0].items() if shown.get(key) != expected)
            elif kind == "write":
                key, sent, shown, status = args
                got = exchange("valueWrite", [{"k": key, "v": sent}])
                if got != [(key, shown, status)]:
                    failures.append("write: %r, expected %r" % (got, [(key, shown, status)]))
    except (RuntimeError, OSError, ValueError, KeyError, subprocess.SubprocessError) as error:
        failures.append(str(error))
    finally:
        try:
            if (root / "sim" / "state").exists():
                simctl("stop")
        except (RuntimeError, subprocess.SubprocessError) as error:
            failures.append(str(error))
    if failures:
        print("\n".join("FAIL %s: %s" % (name, failure) for failure in failures))
        print("(kept %s)" % work)
        return 1
    shutil.rmtree(work, ignore_errors=True)
    print("PASS %s: %s" % (name, documents.summary()))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
