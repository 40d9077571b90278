#!/usr/bin/env python3
"""Router simulator: the router's local web API over real HTTP, and its power units.

    routersim.py serve --root ROOT [--scenario FILE] [--lifetime SECONDS]

Serves, on 127.0.0.1 only, two listeners on free ports:

- the local API (port written into ROOT/etc/localhost_http_port as LOCAL_HTTP_PORT=<port>):
  GET /api/<path with query> answers the scenario's reply for that path; POST
  /api/system.action switches remote assistance; POST /api/cmd.system.reboot is recorded.
  Every request needs the header "WEB-ADMIN-ACCESS-MODE: RW" (403 otherwise).
- the control port (ROOT/sim/state/control_port), for sim/live-bin/capwap_cli and simctl:
  GET /sim/capwap?a=COMMAND&a=ARG...   a device command (200 with its answer, 404: no answer)
  GET /sim/status                      faults, units, remote assistance, scenario clock
  POST /sim/fault {"name", "on", ...}  switches a fault, optionally with new parameters
  POST /sim/clock {"at": SECONDS|null} pins the scenario clock (null: runs again)
  POST /sim/unit {"op": "add", "unit": {...}} | {"op": "remove", "sn": SN}
  POST /sim/stop                       ends the simulator

State lives in ROOT/sim/state/: pid, port, control_port, ready (present while serving),
events.log (reboots, port switches, panel reloads, fault switches) and requests.log (one line
per HTTP request). sim/README.md ("The router simulator") describes scenarios and faults.

Python standard library only.
"""

import argparse
import copy
import json
import os
import re
import signal
import sys
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from urllib.parse import parse_qs, urlsplit

HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLE_ROUTER = os.path.normpath(os.path.join(HERE, "..", "router"))
HOST = "127.0.0.1"
MAX_BODY = 64 * 1024  # request bodies beyond this are refused
MAX_DELAY = 120.0  # the longest a slow reply may be held back
HANDLER_TIMEOUT = 30  # seconds a connection may take to send its request
REMOTE_ASSIST_PATH = "status.system.info&infoType=remoteAssistance"
API_FAULTS = ("slow", "malformed", "no_response", "http_500")
FAULT_KINDS = API_FAULTS + ("api_down", "unit_silent", "hostile_serials")
# Shell words a unit may report as its serial; the last has the 14 characters of a serial in
# a port-control identifier.
DEFAULT_HOSTILE = ["a;reboot", "$(reboot)", "`reboot`;x'y\"1"]
SCENARIO_KEYS = ("description", "base", "api", "units", "extpower", "faults", "moving")


class SimError(Exception):
    """A scenario or a control request that cannot be used."""


def path_of_reply_file(name):
    """The API path of a recorded reply file (sim/bin/wget_https's naming, reversed)."""
    return name.replace("@", "?").replace("+", "&").replace("_", "/")


def merge(base, change):
    """change deep-merged into a copy of base: objects merge, anything else replaces."""
    if not isinstance(base, dict) or not isinstance(change, dict):
        return copy.deepcopy(change)
    out = copy.deepcopy(base)
    for key, value in change.items():
        out[key] = merge(out[key], value) if key in out else copy.deepcopy(value)
    return out


def read_json(path):
    with open(path, encoding="utf-8") as handle:
        return json.load(handle)


def example_api(router):
    api = {}
    folder = os.path.join(router, "sim", "api")
    for name in sorted(os.listdir(folder)):
        if name.endswith(".json"):
            api[path_of_reply_file(name[: -len(".json")])] = read_json(os.path.join(folder, name))
    return api


def example_units(router):
    folder = os.path.join(router, "sim", "capwap")
    units = []
    for entry in read_json(os.path.join(folder, "iotdevlist.json")).get("list", []):
        serial = entry.get("sn", "")
        report = None
        status_file = os.path.join(folder, "iotstatus_%s.json" % serial.replace("/", "_"))
        if os.path.isfile(status_file):
            reports = read_json(status_file).get("rpt") or [None]
            report = reports[0]
        units.append({"sn": serial, "entry": entry, "report": report})
    extpower = read_json(os.path.join(folder, "extpower_status.json"))
    return units, extpower


def hostile_unit(serial):
    """A one-port external PMU reporting the given serial, port on."""
    return {
        "sn": serial,
        "only_with": "hostile_serials",
        "entry": {"prod": "RQ-PWRU", "sn": serial,
                  "devinfo": {"serial_num": serial, "attr": {"port_num": "1"}},
                  "config": {"resetDelay": "5", "startOnIgnition": "0"}},
        "report": {"s1": "1", "vi1": "24.0", "vo1": "23.8", "ii1": "1.00", "io1": "0.95",
                   "t": "30"},
    }


def check_unit(unit):
    if not isinstance(unit, dict) or not isinstance(unit.get("sn"), str) or not unit["sn"]:
        raise SimError("a unit needs a serial \"sn\"")
    unit.setdefault("entry", {"prod": "RQ-PWRU", "sn": unit["sn"],
                              "devinfo": {"serial_num": unit["sn"], "attr": {"port_num": "1"}}})
    unit.setdefault("report", None)
    unit.setdefault("answering", True)
    return unit


def check_fault(name, fault):
    if not isinstance(fault, dict):
        raise SimError("fault %s: not an object" % name)
    fault = dict(fault)
    fault.setdefault("kind", name)
    fault.setdefault("on", False)
    if fault["kind"] not in FAULT_KINDS:
        raise SimError("fault %s: unknown kind %r (known: %s)"
                       % (name, fault["kind"], ", ".join(FAULT_KINDS)))
    if fault["kind"] == "slow":
        delay = float(fault.setdefault("delay", 12))
        if not 0 <= delay <= MAX_DELAY:
            raise SimError("fault %s: delay must lie within 0..%d s" % (name, MAX_DELAY))
    return fault


def load_scenario(path):
    """The scenario: the example router, changed by the file at path (if any)."""
    scenario = read_json(path) if path else {}
    if not isinstance(scenario, dict):
        raise SimError("a scenario is a JSON object")
    unknown = sorted(set(scenario) - set(SCENARIO_KEYS))
    if unknown:
        raise SimError("unknown scenario keys %s (known: %s)" % (unknown, ", ".join(SCENARIO_KEYS)))
    base = scenario.get("base", "example")
    if base == "example":
        api = example_api(EXAMPLE_ROUTER)
        units, extpower = example_units(EXAMPLE_ROUTER)
    elif base == "empty":
        api, units, extpower = {}, [], None
    else:
        raise SimError("base must be \"example\" or \"empty\"")
    for api_path, reply in scenario.get("api", {}).items():
        if reply is None:
            api.pop(api_path, None)
        else:
            api[api_path] = reply
    by_serial = {unit["sn"]: unit for unit in units}
    for serial, unit in scenario.get("units", {}).items():
        if unit is None:
            by_serial.pop(serial, None)
        else:
            by_serial[serial] = check_unit(dict(unit, sn=serial))
    if "extpower" in scenario:
        extpower = scenario["extpower"]
    faults = {kind: check_fault(kind, {}) for kind in FAULT_KINDS}
    for name, fault in scenario.get("faults", {}).items():
        faults[name] = check_fault(name, fault)
    hostile = faults["hostile_serials"].get("serials", DEFAULT_HOSTILE)
    for serial in hostile:
        by_serial.setdefault(serial, hostile_unit(serial))
    for unit in by_serial.values():
        check_unit(unit)
    moving = scenario.get("moving", {})
    for target, move in moving.items():
        if not (isinstance(move, dict) and move.get("period", 0) > 0 and move.get("variants")):
            raise SimError("moving %s: needs a period > 0 and variants" % target)
    return {"api": api, "units": list(by_serial.values()), "extpower": extpower,
            "faults": faults, "moving": moving}


class Simulator:
    """The router's state; every access holds the lock."""

    def __init__(self, root, scenario):
        self.root = root
        self.state_dir = os.path.join(root, "sim", "state")
        self.lock = threading.Lock()
        self.api = scenario["api"]
        self.units = scenario["units"]
        self.extpower = scenario["extpower"]
        self.faults = scenario["faults"]
        self.moving = scenario["moving"]
        ra = self.api.get(REMOTE_ASSIST_PATH, {})
        self.remote_assist = bool(
            ((ra.get("response") or {}).get("remoteAssistance") or {}).get("enable", False))
        self.started = time.monotonic()
        self.pinned = None
        self.stopping = threading.Event()
        self.api_server = None
        self.api_port = 0

    # --- records ------------------------------------------------------------------------
    def note(self, log, line):
        with open(os.path.join(self.state_dir, log), "a", encoding="utf-8") as handle:
            handle.write("%s %s\n" % (time.strftime("%H:%M:%S"), line))

    # --- time and movement ----------------------------------------------------------------
    def clock(self):
        return self.pinned if self.pinned is not None else time.monotonic() - self.started

    def moved(self, target, document):
        move = self.moving.get(target)
        if move is None:
            return document
        at = self.clock() % move["period"]
        chosen = None
        for variant in move["variants"]:
            if variant.get("from", 0) <= at:
                chosen = variant
        if chosen is None:
            return document
        if "reply" in chosen:
            return copy.deepcopy(chosen["reply"])
        return merge(document, chosen.get("merge", {}))

    # --- faults ---------------------------------------------------------------------------
    def active(self, kind, api_path=None):
        """The switched-on faults of a kind that concern api_path (any, when None)."""
        found = []
        for fault in self.faults.values():
            if fault["kind"] != kind or not fault["on"]:
                continue
            paths = fault.get("paths")
            if api_path is not None and paths and not any(api_path.startswith(p) for p in paths):
                continue
            found.append(fault)
        return found

    def set_fault(self, name, on, params):
        with self.lock:
            if name not in self.faults:
                raise SimError("no fault %r (known: %s)" % (name, ", ".join(sorted(self.faults))))
            fault = check_fault(name, dict(self.faults[name], on=bool(on), **params))
            self.faults[name] = fault
            down = bool(self.active("api_down"))
        self.note("events.log", "fault %s %s" % (name, "on" if on else "off"))
        if fault["kind"] == "api_down":
            if down:
                self.close_api()  # connections are refused from now on
            else:
                self.open_api()  # listens again, on the same port
        return fault

    # --- the local API ----------------------------------------------------------------------
    def api_reply(self, method, api_path, body):
        """(status, text) for one API request, faults left out."""
        with self.lock:
            if method == "POST" and api_path == "system.action":
                try:
                    request = json.loads(body or b"null")
                except ValueError:
                    request = None
                if (not isinstance(request, dict) or request.get("action") != "remoteAssistance"
                        or not isinstance(request.get("enable"), bool)):
                    return 400, json.dumps({"error": "unknown action"})
                self.remote_assist = request["enable"]
                self.note("events.log", "remote assistance %s" % ("on" if self.remote_assist
                                                                  else "off"))
                return 200, json.dumps(
                    {"response": {"remoteAssistance": {"enable": self.remote_assist}}})
            if method == "POST" and api_path == "cmd.system.reboot":
                self.note("events.log", "reboot %s" % body.decode("utf-8", "replace").strip())
                return 200, json.dumps({"response": {}})
            if api_path == REMOTE_ASSIST_PATH:
                document = self.moved(api_path, self.api.get(api_path, {"response": {}}))
                document = merge(document, {"response": {"remoteAssistance": {
                    "enable": self.remote_assist}}})
                return 200, json.dumps(document)
            for key in (api_path, re.split(r"[?&]", api_path, maxsplit=1)[0]):
                if key in self.api:
                    return 200, json.dumps(self.moved(key, self.api[key]))
            return 404, json.dumps({"error": "no such API path"})

    def open_api(self):
        with self.lock:
            if self.api_server is not None:
                return
            server = ThreadingHTTPServer((HOST, self.api_port), ApiHandler)
            server.daemon_threads = True
            server.sim = self
            self.api_server = server
            self.api_port = server.server_address[1]
        threading.Thread(target=server.serve_forever, daemon=True).start()

    def close_api(self):
        with self.lock:
            server, self.api_server = self.api_server, None
        if server is not None:
            server.shutdown()
            server.server_close()

    # --- the power units ----------------------------------------------------------------------
    def visible_units(self):
        return [u for u in self.units
                if not u.get("only_with") or any(
                    f["on"] for n, f in self.faults.items() if n == u["only_with"])]

    def unit_answers(self, serial):
        for unit in self.visible_units():
            if unit["sn"] == serial:
                silent = any(not f.get("units") or serial in f["units"]
                             for f in self.active("unit_silent"))
                return unit if unit.get("answering", True) and not silent else None
        return None

    def capwap(self, args):
        """The device command's answer as a document, {} for no output, None: no answer."""
        with self.lock:
            command, rest = (args[0], args[1:]) if args else ("", [])
            if command == "iotdevlist" and not rest:
                return {"list": [copy.deepcopy(u["entry"]) for u in self.visible_units()]}
            if command == "extpower_status" and not rest:
                return self.moved("extpower", self.extpower) if self.extpower else None
            if command == "panel_reload" and len(rest) == 1:
                self.note("events.log", "panel_reload %r" % rest[0])
                return {}
            unit = self.unit_answers(rest[0]) if rest else None
            if unit is None:
                return None
            if command == "iotdevinfo" and len(rest) == 1:
                devinfo = unit["entry"].get("devinfo")
                return {"devinfo": copy.deepcopy(devinfo)} if devinfo else None
            if unit["report"] is None:
                return None
            if command == "iotstatus" and len(rest) == 1:
                return {"rpt": [self.moved("unit:" + unit["sn"], unit["report"])]}
            if command == "iotdevport_set" and len(rest) == 2:
                match = re.fullmatch(r"([0-9]{1,3}):(on|off)", rest[1])
                ports = (unit["entry"].get("devinfo") or {}).get("attr", {}).get("port_num", "0")
                if not match or not 1 <= int(match.group(1)) <= int(ports or "0"):
                    return None
                key, state = "s" + match.group(1), "1" if match.group(2) == "on" else "0"
                unit["report"][key] = state
                self.note("events.log", "port %r %s %s" % (unit["sn"], match.group(1),
                                                          match.group(2)))
                return {"ret": [{key: state}]}
            return None

    def change_units(self, request):
        with self.lock:
            if request.get("op") == "add":
                unit = check_unit(dict(request.get("unit") or {}))
                self.units = [u for u in self.units if u["sn"] != unit["sn"]] + [unit]
            elif request.get("op") == "remove":
                self.units = [u for u in self.units if u["sn"] != request.get("sn")]
            else:
                raise SimError("op must be add or remove")
        self.note("events.log", "unit %s %r" % (request["op"], request.get("sn") or unit["sn"]))

    def status(self):
        with self.lock:
            return {
                "api_port": self.api_port if self.api_server else None,
                "clock": round(self.clock(), 1), "pinned": self.pinned is not None,
                "remote_assistance": self.remote_assist,
                "faults": {n: f for n, f in sorted(self.faults.items())},
                "units": [{"sn": u["sn"], "answering": self.unit_answers(u["sn"]) is not None}
                          for u in self.visible_units()],
            }


class Handler(BaseHTTPRequestHandler):
    timeout = HANDLER_TIMEOUT
    protocol_version = "HTTP/1.0"

    def log_message(self, *args):  # noqa: D102 - requests.log has every request
        pass

    def body(self):
        length = int(self.headers.get("Content-Length") or 0)
        if not 0 <= length <= MAX_BODY:
            raise SimError("request body too large")
        return self.rfile.read(length)

    def answer(self, status, text, content_type="application/json"):
        data = text.encode("utf-8") if isinstance(text, str) else text
        self.server.sim.note("requests.log", "%s %s %d" % (self.command, self.path, status))
        try:
            self.send_response(status)
            self.send_header("Content-Type", content_type)
            self.send_header("Content-Length", str(len(data)))
            self.end_headers()
            self.wfile.write(data)
        except (BrokenPipeError, ConnectionResetError):
            pass  # the client gave up (a time-out): nothing left to answer


class ApiHandler(Handler):
    def do_GET(self):  # noqa: N802 - http.server's naming
        self.api("GET")

    def do_POST(self):  # noqa: N802
        self.api("POST")

    def api(self, method):
        sim = self.server.sim
        if not self.path.startswith("/api/") or len(self.path) == len("/api/"):
            return self.answer(404, '{"error":"not an API path"}')
        if (self.headers.get("WEB-ADMIN-ACCESS-MODE") or "").strip() != "RW":
            return self.answer(403, '{"error":"access mode RW required"}')
        api_path = self.path[len("/api/"):]
        try:
            body = self.body() if method == "POST" else b""
        except (SimError, ValueError):
            return self.answer(413, '{"error":"body"}')
        with sim.lock:
            active = {kind: sim.active(kind, api_path) for kind in API_FAULTS}
        delay = max([float(f["delay"]) for f in active["slow"]], default=0)
        if delay:
            # Bounded: ends early when the simulator stops.
            sim.stopping.wait(min(delay, MAX_DELAY))
        if active["http_500"]:
            # The usual reply, but with status 500: only the status tells that it failed.
            # A POST is not carried out.
            text = sim.api_reply("GET", api_path, b"")[1] if method == "GET" else "{}"
            return self.answer(500, text)
        status, text = sim.api_reply(method, api_path, body)
        if status == 200 and active["no_response"]:
            text = json.dumps({"error": {"code": 1, "message": "simulated failure"}})
        if status == 200 and active["malformed"]:
            text = text[: max(1, len(text) // 2)]  # cut off in the middle: not JSON any more
        return self.answer(status, text)


class ControlHandler(Handler):
    def do_GET(self):  # noqa: N802
        sim = self.server.sim
        url = urlsplit(self.path)
        if url.path == "/sim/capwap":
            args = parse_qs(url.query, keep_blank_values=True).get("a", [])
            sim.note("requests.log", "capwap %r" % args)
            answer = sim.capwap(args)
            if answer is None:
                return self.answer(404, "")
            return self.answer(200, json.dumps(answer) if answer else "")
        if url.path == "/sim/status":
            return self.answer(200, json.dumps(sim.status(), indent=1))
        return self.answer(404, '{"error":"unknown"}')

    def do_POST(self):  # noqa: N802
        sim = self.server.sim
        try:
            request = json.loads(self.body() or b"{}")
            if not isinstance(request, dict):
                raise SimError("a JSON object is expected")
            if self.path == "/sim/fault":
                params = {k: v for k, v in request.items() if k not in ("name", "on")}
                result = sim.set_fault(str(request.get("name")), bool(request.get("on")), params)
            elif self.path == "/sim/clock":
                at = request.get("at")
                with sim.lock:
                    sim.pinned = None if at is None else float(at)
                result = {"clock": sim.clock()}
            elif self.path == "/sim/unit":
                sim.change_units(request)
                result = {"units": [u["sn"] for u in sim.units]}
            elif self.path == "/sim/stop":
                sim.stopping.set()
                result = {"stopping": True}
            else:
                return self.answer(404, '{"error":"unknown"}')
        except (SimError, ValueError, TypeError, OSError) as error:
            return self.answer(400, json.dumps({"error": str(error)}))
        return self.answer(200, json.dumps(result))


def check_root(root):
    """The router root, refused unless it is a prepared copy (never the example itself)."""
    if not re.fullmatch(r"/[A-Za-z0-9/._-]*", root or ""):
        raise SimError("the root must be an absolute path of letters, digits and / . _ -")
    real = os.path.realpath(root)
    if real == "/" or real == os.path.realpath(EXAMPLE_ROUTER):
        raise SimError("refusing %s: use a copy of sim/router as the root" % root)
    if not os.path.isdir(os.path.join(real, "var", "run", "dorva", "tavio")):
        raise SimError("%s is not a prepared router root (no var/run/dorva/tavio)" % root)
    return root


def write_file(path, text):
    """Writes through a new file renamed over the old one."""
    partial = "%s.new.%d" % (path, os.getpid())
    with open(partial, "w", encoding="utf-8") as handle:
        handle.write(text)
    os.replace(partial, path)


def publish_port(root, port):
    """LOCAL_HTTP_PORT=<port> in the root's etc/localhost_http_port; other entries kept."""
    path = os.path.join(root, "etc", "localhost_http_port")
    os.makedirs(os.path.dirname(path), exist_ok=True)
    lines = []
    if os.path.isfile(path):
        with open(path, encoding="utf-8") as handle:
            lines = [line for line in handle.read().splitlines()
                     if not re.match(r"\s*LOCAL_HTTP_PORT=", line)]
    write_file(path, "\n".join(lines + ["LOCAL_HTTP_PORT=%d" % port]) + "\n")


def serve(root, scenario_path, lifetime):
    sim = Simulator(root, load_scenario(scenario_path))
    os.makedirs(sim.state_dir, exist_ok=True)
    for name in ("ready", "port", "control_port", "pid"):
        if os.path.exists(os.path.join(sim.state_dir, name)):
            os.remove(os.path.join(sim.state_dir, name))
    control = ThreadingHTTPServer((HOST, 0), ControlHandler)
    control.daemon_threads = True
    control.sim = sim
    sim.open_api()
    if sim.active("api_down"):
        sim.close_api()
    publish_port(root, sim.api_port)
    write_file(os.path.join(sim.state_dir, "pid"), "%d\n" % os.getpid())
    write_file(os.path.join(sim.state_dir, "port"), "%d\n" % sim.api_port)
    write_file(os.path.join(sim.state_dir, "control_port"), "%d\n" % control.server_address[1])
    threading.Thread(target=control.serve_forever, daemon=True).start()
    sim.note("events.log", "started: API on %s:%d, control on %s:%d, scenario %s"
             % (HOST, sim.api_port, HOST, control.server_address[1], scenario_path or "example"))
    write_file(os.path.join(sim.state_dir, "ready"), "%d\n" % os.getpid())
    signal.signal(signal.SIGTERM, lambda *_: sim.stopping.set())
    deadline = time.monotonic() + lifetime if lifetime > 0 else None
    try:
        while not sim.stopping.wait(1.0):
            if deadline is not None and time.monotonic() >= deadline:
                sim.note("events.log", "lifetime of %g s is over" % lifetime)
                break
    finally:
        os.remove(os.path.join(sim.state_dir, "ready"))
        sim.stopping.set()
        control.shutdown()
        control.server_close()
        sim.close_api()
        sim.note("events.log", "stopped")
        for name in ("pid", "port", "control_port"):
            if os.path.exists(os.path.join(sim.state_dir, name)):
                os.remove(os.path.join(sim.state_dir, name))


def main(argv):
    parser = argparse.ArgumentParser(description="router simulator for tavio")
    sub = parser.add_subparsers(dest="command", required=True)
    run = sub.add_parser("serve", help="serve a router root (in the foreground)")
    run.add_argument("--root", required=True)
    run.add_argument("--scenario", default=None)
    run.add_argument("--lifetime", type=float, default=8 * 3600,
                     help="seconds after which the simulator ends by itself (0: never)")
    check = sub.add_parser("check", help="load a scenario and report what it holds")
    check.add_argument("scenario", nargs="?", default=None)
    args = parser.parse_args(argv)
    try:
        if args.command == "check":
            scenario = load_scenario(args.scenario)
            print("%d API paths, %d units, faults: %s, moving: %s" % (
                len(scenario["api"]), len(scenario["units"]), ", ".join(sorted(scenario["faults"])),
                ", ".join(sorted(scenario["moving"])) or "none"))
            return 0
        serve(check_root(args.root), args.scenario, args.lifetime)
    except (SimError, OSError, ValueError) as error:
        print("routersim: %s" % error, file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
