#!/usr/bin/env python3
"""tavio against the router simulator, over real HTTP: one case per run.

    sim_cases.py CASE TAVIO_BINARY [EMULATOR [EMULATOR_ARGS...]]
    sim_cases.py --list                 the case names, one a line (CTest's sim.NAME tests)

Each case copies the example router into a fresh temporary root, starts its own simulator
there (tests/sim/scenario.json), runs tavio with sim/live-bin first on PATH (checked with
tools/check-standins before every run) and compares what the panel would show: the "v" texts
(and write statuses) of the responses, the ids of a menu. After every case: no harmless
stand-in (reboot, restoreconfig, saveconfig, activate) ran, no temporary file of tavio's is
left, and the simulator is stopped again. The emulator may also come from TAVIO_EMULATOR.

With TAVIO_API_TRANSPORT=http (CTest sets it for a build with that transport) tavio speaks HTTP
to the simulator itself, over the port the simulator wrote into the root; the cases expect the
same, but for the slow reply: tavio's own client waits the API's whole 10-second time-out, which
SIM_WGET_TIMEOUT cannot shorten, so the reply held back 6 s is waited for and shown.
"""

import json
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time

REPO = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
sys.path.insert(0, os.path.join(REPO, "tests", "schema"))
sys.dont_write_bytecode = True  # nothing written into the source tree
import validate_documents  # noqa: E402  every request and response against schemas/
LIVE_BIN = os.path.join(REPO, "sim", "live-bin")
SIMCTL = os.path.join(REPO, "sim", "simulator", "simctl")
ROUTERSIM = os.path.join(REPO, "sim", "simulator", "routersim.py")
SCENARIO = os.path.join(REPO, "tests", "sim", "scenario.json")
HARMLESS = ("reboot", "restoreconfig", "saveconfig", "activate")
QUICK_TIMEOUT = "1"  # SIM_WGET_TIMEOUT of the slow-reply case; the reply takes 6 s
OVER_HTTP = os.environ.get("TAVIO_API_TRANSPORT") == "http"

# What the panel shows, 21 characters a line.
CPU_7 = "CPU Load:          7%"
CPU_93 = "CPU Load:         93%"
WAN1_UP = "Status:     Connected\nIP:      203.0.113.25"
WAN1_DOWN = "Status:  Disconnected"
VPN_UP = "HQ[SECURED]:\n          ESTABLISHED"
VPN_NONE = "Cannot get VPN status\n. Please back to Syst\nem Status menu to ref\nresh VPN links."
NO_API = {"cpuload": "", "wan_status_1": "", "remote_assist": "", "vpn_status_1": VPN_NONE}
PMU, EXT, EXT_2, PDU = "PMU1A2B3C4D5E6", "EXT0000000001A", "EXT0000000002B", "PDU00000000001"
HOSTILE_PORT = "`reboot`;x'y\"1"  # 14 characters: a whole serial in a port-control id
PMU_MENU = {"panel": {"font_pref": 1, "font": [{"sz": 1, "ln": 4, "ch": 21}]}, "ref": "pmu_menu"}


def unreachable(unit):
    """The unit's failure text, cut into lines of 21 characters as the panel shows it."""
    text = "Fail to get status. Please check the %s connection." % unit
    return "\n".join(text[at:at + 21] for at in range(0, len(text), 21))


def ctl(*args): return ("ctl", list(args))
def ctl_refused(args, error): return ("ctl-refused", args, error)  # simctl fails, says error
def units(serials): return ("units", serials)  # what `simctl status` lists
def counted_by_check(): return ("check-units",)  # `routersim.py check` counts them alike
def read(values): return ("read", values)
def write(items): return ("write", items)  # [(k, v sent, v shown, status)]
def menu(request, ids): return ("menu", request, ids)
def event(text): return ("event", text)
def logged(line): return ("log", line)


CASES = {
    "moving-figures": [
        ctl("clock", "10"), read({"cpuload": CPU_7, "wan_status_1": WAN1_UP,
                                  "vpn_status_1": VPN_UP}),
        ctl("clock", "70"), read({"cpuload": CPU_93, "wan_status_1": WAN1_DOWN}),
        ctl("clock", "110"), read({"cpuload": CPU_7, "wan_status_1": WAN1_UP})],
    "remote-assist-switch": [
        write([("remote_assist", "Off", "Off", "ok")]), read({"remote_assist": ""}),
        event("remote assistance off"),
        write([("remote_assist", "On", "On", "ok")]), read({"remote_assist": "On"})],
    "port-switch": [
        read({"pmu_port_ctrl_%s_2" % PMU: "OFF"}),
        write([("pmu_port_ctrl_%s_2" % PMU, "ON", "ON", "ok")]),
        read({"pmu_port_ctrl_%s_2" % PMU: "ON", "pmu_port_ctrl_%s_1" % PMU: "ON"}),
        logged("capwap_cli iotdevport_set %s 2:on" % PMU)],
    "slow-reply": [
        ctl("fault", "slow", "on"),
        read({"cpuload": CPU_7 if OVER_HTTP else "", "wan_status_1": WAN1_UP,
              "remote_assist": "On"})],
    "malformed-json": [ctl("fault", "malformed", "on"), read(NO_API)],
    "no-response": [ctl("fault", "no_response", "on"), read(NO_API)],
    "http-500": [
        ctl("fault", "http_500", "on"), read(NO_API),
        write([("remote_assist", "Off", "", "failed")])],
    "server-down": [
        ctl("fault", "api_down", "on"), read(NO_API),
        write([("remote_assist", "Off", "", "failed")]),
        ctl("fault", "api_down", "off"), read({"cpuload": CPU_7, "remote_assist": "On"})],
    "unit-silent": [
        ctl("fault", "unit_silent", "on", "units=" + EXT),
        read({"ext_pmu_status_port_" + EXT: unreachable("External PMU"),
              "pdu_status_temp_PDU00000000001": "Temperature:\n       35 degree Cel."}),
        write([("pmu_port_ctrl_%s_1" % EXT, "ON", "", "failed")]),
        ctl("fault", "unit_silent", "on", "units=[]"),
        read({"local_pmu_status_temp_" + PMU: unreachable("Integrated PMU")})],
    "hostile-serials": [
        menu(PMU_MENU, []),  # not listed while the fault is off
        ctl("fault", "hostile_serials", "on"),
        menu(PMU_MENU, ["ext_pmu_status_port_a;reboot", "ext_pmu_status_port_$(reboot)",
                        "pmu_port_ctrl_" + HOSTILE_PORT]),
        read({"ext_pmu_status_port_a;reboot": "Port Status:       ON",
              "ext_pmu_status_temp_$(reboot)": "Temperature:\n       30 degree Cel."}),
        write([("pmu_port_ctrl_%s_1" % HOSTILE_PORT, "OFF", "OFF", "ok")]),
        read({"pmu_port_ctrl_%s_1" % HOSTILE_PORT: "OFF"}),
        logged("capwap_cli iotstatus 'a;reboot'"),
        logged("capwap_cli iotstatus '$(reboot)'"),
        logged("capwap_cli iotdevport_set '`reboot`;x'\\''y\"1' 1:off")],
    "unit-leaves": [
        counted_by_check(), units([PMU, EXT, EXT_2, PDU]),
        ctl("unit", "remove", EXT), units([PMU, EXT_2, PDU]), event("unit remove %r" % EXT),
        read({"ext_pmu_status_port_" + EXT: unreachable("External PMU"),
              "pdu_status_temp_" + PDU: "Temperature:\n       35 degree Cel."}),
        ctl_refused(["unit", "remove", ""], 'remove needs the serial "sn"'),
        ctl_refused(["unit", "remove", EXT], "no unit %r to remove" % EXT),
        units([PMU, EXT_2, PDU])],
}


class Run:
    def __init__(self, name, tavio, emulator, work):
        self.name, self.tavio, self.emulator, self.work = name, tavio, emulator, work
        self.root = os.path.join(work, "root")
        self.log = os.path.join(work, "standin.log")
        self.failures = 0
        self.documents = validate_documents.Documents()
        self.env = dict(os.environ, TAVIO_ROOT=self.root, TAVIO_STANDIN_LOG=self.log,
                        PATH=LIVE_BIN + os.pathsep + os.environ.get("PATH", ""))
        self.env.pop("TAVIO_SIM_API_DOWN", None)
        if name == "slow-reply":
            self.env["SIM_WGET_TIMEOUT"] = QUICK_TIMEOUT
        else:
            self.env.pop("SIM_WGET_TIMEOUT", None)

    def fail(self, text):
        print("FAIL %s: %s" % (self.name, text))
        self.failures += 1

    def simctl(self, *args, refused=False):
        """simctl's output; it must succeed (or, refused, fail: its complaint then)."""
        done = subprocess.run([sys.executable, SIMCTL, args[0], self.root] + list(args[1:]),
                              capture_output=True, text=True, timeout=30, check=False)
        if refused and done.returncode == 0:
            raise RuntimeError("simctl %s was not refused: %s" % (" ".join(args), done.stdout))
        if not refused and done.returncode != 0:
            raise RuntimeError("simctl %s: %s" % (" ".join(args), done.stderr.strip()))
        return done.stderr if refused else done.stdout

    def listed_units(self):
        return [unit["sn"] for unit in json.loads(self.simctl("status"))["units"]]

    def tavio_exchange(self, request):
        """tavio's response document to the request."""
        check = subprocess.run(["bash", os.path.join(REPO, "tools", "check-standins"), LIVE_BIN],
                               env=self.env, check=False)
        if check.returncode != 0:
            raise RuntimeError("the stand-ins of %s do not come first on PATH" % LIVE_BIN)
        in_file, out_file = os.path.join(self.work, "in.json"), os.path.join(self.work, "out.json")
        with open(in_file, "w", encoding="utf-8") as handle:
            json.dump(request, handle)
        if os.path.exists(out_file):
            os.remove(out_file)
        started = time.monotonic()
        subprocess.run(self.emulator + [self.tavio, "-i", in_file, "-o", out_file], env=self.env,
                       cwd=self.work, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                       timeout=60, check=True)
        self.elapsed = time.monotonic() - started
        with open(out_file, encoding="utf-8") as handle:
            response = json.load(handle)
        self.documents.check_exchange(request, response)
        return response["resp"]

    def step(self, kind, *args):
        if kind == "ctl":
            self.simctl(*args[0])
        elif kind == "ctl-refused":
            said = self.simctl(*args[0], refused=True)
            if args[1] not in said:
                self.fail("simctl %s said %r, not %r" % (" ".join(args[0]), said, args[1]))
        elif kind == "units":
            if self.listed_units() != args[0]:
                self.fail("units listed: %s, expected %s" % (self.listed_units(), args[0]))
        elif kind == "check-units":
            said = subprocess.run([sys.executable, ROUTERSIM, "check", SCENARIO],
                                  capture_output=True, text=True, timeout=30, check=True).stdout
            counted = re.search(r"(\d+) units", said)
            if not counted or int(counted.group(1)) != len(self.listed_units()):
                self.fail("routersim.py check says %r; status lists %s"
                          % (said.strip(), self.listed_units()))
        elif kind == "read":
            answer = self.tavio_exchange(
                {"type": "valueRead", "req": {"list": [{"k": k} for k in args[0]]}})
            shown = {item["k"]: item["v"] for item in answer["list"]}
            for key, expected in args[0].items():
                if shown.get(key) != expected:
                    self.fail("read %s: %r, expected %r" % (key, shown.get(key), expected))
        elif kind == "write":
            answer = self.tavio_exchange(
                {"type": "valueWrite", "req": {"list": [{"k": k, "v": v} for k, v, _, _ in args[0]]}})
            got = [(i["k"], i["v"], i["status"]) for i in answer["list"]]
            want = [(k, shown, status) for k, _, shown, status in args[0]]
            if got != want:
                self.fail("write: %r, expected %r" % (got, want))
        elif kind == "menu":
            answer = self.tavio_exchange({"type": "menuReq", "req": args[0]})
            ids, todo = set(), list(answer["menu"])
            while todo:
                item = todo.pop()
                ids.add(item.get("id"))
                todo += item.get("m", []) if isinstance(item.get("m"), list) else []
            hostile = sorted(i for i in ids if i and "reboot" in i)
            if not args[1] and hostile:
                self.fail("menu lists units it should not: %s" % hostile[:3])
            for wanted in args[1]:
                if wanted not in ids:
                    self.fail("menu has no item %r" % wanted)
        elif kind in ("event", "log"):
            path = os.path.join(self.root, "sim", "state", "events.log") if kind == "event" \
                else self.log
            with open(path, encoding="utf-8") as handle:
                lines = handle.read().splitlines()
            if not any(line == args[0] or line.endswith(" " + args[0]) for line in lines):
                self.fail("%s log has no line %r" % (kind, args[0]))

    def after(self):
        with open(self.log, encoding="utf-8") as handle:
            ran = [line for line in handle if line.split(" ", 1)[0].strip() in HARMLESS]
        if ran:
            self.fail("a harmless stand-in ran: %s" % ran)
        rundir = os.path.join(self.root, "var", "run", "dorva", "tavio")
        left = sorted(n for n in os.listdir(rundir) if n.startswith("wget_") or ".part." in n)
        if left:
            self.fail("temporary files left in the run directory: %s" % left)


def main(argv):
    if argv == ["--list"]:
        print("\n".join(CASES))
        return 0
    if len(argv) < 2 or argv[0] not in CASES:
        print("usage: sim_cases.py CASE TAVIO [EMULATOR...]; cases: %s" % " ".join(CASES))
        return 2
    name, tavio = argv[0], os.path.abspath(argv[1])
    emulator = argv[2:] or shlex.split(os.environ.get("TAVIO_EMULATOR", ""))
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # still stops the simulator
    work = tempfile.mkdtemp(prefix="tavio-sim.")
    run = Run(name, tavio, emulator, work)
    started = False
    try:
        shutil.copytree(os.path.join(REPO, "sim", "router"), run.root, symlinks=True)
        os.makedirs(os.path.join(run.root, "var", "run", "dorva", "tavio"), exist_ok=True)
        open(run.log, "w", encoding="utf-8").close()
        run.simctl("start", "--scenario", SCENARIO, "--lifetime", "300")
        started = True
        for step in CASES[name]:
            run.step(*step)
            if name == "slow-reply" and step[0] == "read" and (run.elapsed >= 5) != OVER_HTTP:
                run.fail("the slow reply was %swaited for (%.1f s)"
                         % ("not " if OVER_HTTP else "", run.elapsed))
        run.after()
    except (RuntimeError, OSError, ValueError, KeyError, subprocess.SubprocessError) as error:
        run.fail(str(error))
    finally:
        if started:
            try:
                run.simctl("stop")
            except (RuntimeError, subprocess.SubprocessError) as error:
                run.fail(str(error))
        if run.failures:
            print("(kept %s)" % work)
        else:
            shutil.rmtree(work, ignore_errors=True)
    if run.failures:
        return 1
    print("PASS %s: %s" % (name, run.documents.summary()))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
