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
from dataclasses import dataclass, field
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from typing import Callable, Optional
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


@dataclass
class Unit:
    """A power unit: its device-list entry (iotdevlist, and its "devinfo" for iotdevinfo),
    its status report (iotstatus's rpt[0]; None: it reports none) and whether it answers."""
    sn: str
    entry: dict
    report: Optional[dict] = None
    answering: bool = True
    only_with: Optional[str] = None  # listed only while the fault of this name is on

    @classmethod
    def load(cls, document):
        """A unit from its JSON record ({"sn", "entry", "report", "answering"})."""
        if not isinstance(document, dict) or not isinstance(document.get("sn"), str) \
                or not document["sn"]:
            raise SimError("a unit needs a serial \"sn\"")
        serial = document["sn"]
        entry = document.get("entry", {
            "prod": "RQ-PWRU", "sn": serial,
            "devinfo": {"serial_num": serial, "attr": {"port_num": "1"}}})
        report = document.get("report")
        if not isinstance(entry, dict) or not (report is None or isinstance(report, dict)):
            raise SimError("unit %r: \"entry\" must be an object, \"report\" an object or null"
                           % serial)
        return cls(serial, entry, report, bool(document.get("answering", True)))

    def port_count(self):
        ports = ((self.entry.get("devinfo") or {}).get("attr") or {}).get("port_num") or "0"
        try:
            return int(ports)
        except (TypeError, ValueError):
            return 0


@dataclass
class Fault:
    """A fault the simulator switches on and off: its kind and its parameters ("delay",
    "paths", "units", "serials", and whatever else a scenario notes down)."""
    kind: str
    on: bool = False
    params: dict = field(default_factory=dict)
    # The record's keys in the order it gave them (kind and on appended when it did not):
    # the status shows a fault as it was written.
    key_order: tuple = field(default=(), compare=False, repr=False)

    @classmethod
    def load(cls, name, document):
        """The fault called name from its JSON record ({"kind": name, "on": false} when
        empty); refused when its kind is unknown or its delay out of bounds."""
        if not isinstance(document, dict):
            raise SimError("fault %s: not an object" % name)
        record = dict(document)
        record.setdefault("kind", name)
        record.setdefault("on", False)
        if record["kind"] not in FAULT_KINDS:
            raise SimError("fault %s: unknown kind %r (known: %s)"
                           % (name, record["kind"], ", ".join(FAULT_KINDS)))
        if record["kind"] == "slow":
            try:
                delay = float(record.setdefault("delay", 12))
            except (TypeError, ValueError):
                delay = -1.0
            if not 0 <= delay <= MAX_DELAY:
                raise SimError("fault %s: delay must lie within 0..%d s" % (name, MAX_DELAY))
        params = {key: value for key, value in record.items() if key not in ("kind", "on")}
        return cls(record["kind"], bool(record["on"]), params, tuple(record))

    @property
    def delay(self):
        return float(self.params.get("delay", 0))

    def concerns_path(self, api_path):
        paths = self.params.get("paths")
        return not paths or any(api_path.startswith(prefix) for prefix in paths)

    def concerns_unit(self, serial):
        units = self.params.get("units")
        return not units or serial in units

    def to_json(self):
        values = dict(self.params, kind=self.kind, on=self.on)
        return {key: values[key] for key in self.key_order or values}


@dataclass
class Movement:
    """A reply that changes with the scenario clock: within each period, the last variant
    whose "from" is reached either merges into the document or replaces it ("reply")."""
    period: float
    variants: list

    @classmethod
    def load(cls, target, document):
        if not (isinstance(document, dict) and isinstance(document.get("period"), (int, float))
                and document["period"] > 0 and isinstance(document.get("variants"), list)
                and document["variants"]
                and all(isinstance(v, dict) for v in document["variants"])):
            raise SimError("moving %s: needs a period > 0 and variants" % target)
        return cls(document["period"], document["variants"])

    def apply(self, document, seconds):
        at = seconds % self.period
        chosen = None
        for variant in self.variants:
            if variant.get("from", 0) <= at:
                chosen = variant
        if chosen is None:
            return document
        if "reply" in chosen:
            return copy.deepcopy(chosen["reply"])
        return merge(document, chosen.get("merge", {}))


@dataclass
class Scenario:
    """What the simulated router holds when it starts."""
    api: dict  # API path -> reply document
    units: list  # of Unit
    extpower: Optional[dict]  # the extpower_status answer; None: no answer
    faults: dict  # name -> Fault
    moving: dict  # target -> Movement


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
        units.append(Unit(serial, entry, report))
    extpower = read_json(os.path.join(folder, "extpower_status.json"))
    return units, extpower


def hostile_unit(serial):
    """A one-port external PMU reporting the given serial, port on."""
    return Unit(
        sn=serial,
        only_with="hostile_serials",
        entry={"prod": "RQ-PWRU", "sn": serial,
               "devinfo": {"serial_num": serial, "attr": {"port_num": "1"}},
               "config": {"resetDelay": "5", "startOnIgnition": "0"}},
        report={"s1": "1", "vi1": "24.0", "vo1": "23.8", "ii1": "1.00", "io1": "0.95",
                "t": "30"},
    )


def listed_units(units, faults):
    """The units the device list holds now: those shown only with a fault need it on."""
    return [unit for unit in units
            if not unit.only_with or (unit.only_with in faults and faults[unit.only_with].on)]


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
    by_serial = {unit.sn: unit for unit in units}
    for serial, unit in scenario.get("units", {}).items():
        if unit is None:
            by_serial.pop(serial, None)
        elif not isinstance(unit, dict):
            raise SimError("unit %s: not an object" % serial)
        else:
            by_serial[serial] = Unit.load(dict(unit, sn=serial))
    if "extpower" in scenario:
        extpower = scenario["extpower"]
    faults = {kind: Fault.load(kind, {}) for kind in FAULT_KINDS}
    for name, fault in scenario.get("faults", {}).items():
        faults[name] = Fault.load(name, fault)
    for serial in faults["hostile_serials"].params.get("serials", DEFAULT_HOSTILE):
        by_serial.setdefault(serial, hostile_unit(serial))
    moving = {target: Movement.load(target, move)
              for target, move in scenario.get("moving", {}).items()}
    return Scenario(api, list(by_serial.values()), extpower, faults, moving)


class Simulator:
    """The router's state; every access holds the lock."""

    def __init__(self, root, scenario):
        self.root = root
        self.state_dir = os.path.join(root, "sim", "state")
        self.lock = threading.Lock()
        self.api = scenario.api
        self.units = scenario.units
        self.extpower = scenario.extpower
        self.faults = scenario.faults
        self.moving = scenario.moving
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
        movement = self.moving.get(target)
        return document if movement is None else movement.apply(document, self.clock())

    # --- faults ---------------------------------------------------------------------------
    def active(self, kind, api_path=None):
        """The switched-on faults of a kind that concern api_path (any, when None)."""
        return [fault for fault in self.faults.values()
                if fault.kind == kind and fault.on
                and (api_path is None or fault.concerns_path(api_path))]

    def set_fault(self, name, on, params):
        with self.lock:
            if name not in self.faults:
                raise SimError("no fault %r (known: %s)" % (name, ", ".join(sorted(self.faults))))
            fault = Fault.load(name, dict(self.faults[name].to_json(), on=bool(on), **params))
            self.faults[name] = fault
            down = bool(self.active("api_down"))
        self.note("events.log", "fault %s %s" % (name, "on" if on else "off"))
        if fault.kind == "api_down":
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
        return listed_units(self.units, self.faults)

    def unit_answers(self, serial):
        """The listed unit of that serial, unless it keeps silent (None)."""
        for unit in self.visible_units():
            if unit.sn == serial:
                silent = any(f.concerns_unit(serial) for f in self.active("unit_silent"))
                return unit if unit.answering and not silent else None
        return None

    def capwap(self, args):
        """The device command's answer as a document, {} for no output, None: no answer."""
        command = DEVICE_COMMANDS.get(args[0]) if args else None
        if command is None or len(args) - 1 != command.arguments:
            return None
        with self.lock:
            return command.answer(self, *args[1:])

    # The device commands (DEVICE_COMMANDS); each is called with the lock held.
    def device_list(self):
        return {"list": [copy.deepcopy(unit.entry) for unit in self.visible_units()]}

    def device_info(self, serial):
        unit = self.unit_answers(serial)
        devinfo = unit.entry.get("devinfo") if unit else None
        return {"devinfo": copy.deepcopy(devinfo)} if devinfo else None

    def device_status(self, serial):
        unit = self.unit_answers(serial)
        if unit is None or unit.report is None:
            return None
        return {"rpt": [self.moved("unit:" + unit.sn, unit.report)]}

    def port_switch(self, serial, switch):
        """iotdevport_set SN PORT:on|off: the port's state in the unit's report changes."""
        unit = self.unit_answers(serial)
        match = re.fullmatch(r"([0-9]{1,3}):(on|off)", switch)
        if unit is None or unit.report is None or not match \
                or not 1 <= int(match.group(1)) <= unit.port_count():
            return None
        key, state = "s" + match.group(1), "1" if match.group(2) == "on" else "0"
        unit.report[key] = state
        self.note("events.log", "port %r %s %s" % (unit.sn, match.group(1), match.group(2)))
        return {"ret": [{key: state}]}

    def external_power(self):
        return self.moved("extpower", self.extpower) if self.extpower else None

    def panel_reload(self, panel):
        self.note("events.log", "panel_reload %r" % panel)
        return {}

    def change_units(self, request):
        """A unit joins ({"op": "add", "unit": its record}) or leaves ({"op": "remove",
        "sn": its serial}); the serials of every unit afterwards."""
        op = request.get("op")
        if op == "add":
            unit = Unit.load(request.get("unit") or {})
            serial = unit.sn
            with self.lock:
                self.units = [u for u in self.units if u.sn != serial] + [unit]
        elif op == "remove":
            serial = request.get("sn")
            if not isinstance(serial, str) or not serial:
                raise SimError("remove needs the serial \"sn\" of the unit to remove")
            with self.lock:
                if not any(u.sn == serial for u in self.units):
                    raise SimError("no unit %r to remove" % serial)
                self.units = [u for u in self.units if u.sn != serial]
        else:
            raise SimError("op must be add or remove")
        self.note("events.log", "unit %s %r" % (op, serial))
        with self.lock:
            return [u.sn for u in self.units]

    def status(self):
        with self.lock:
            return {
                "api_port": self.api_port if self.api_server else None,
                "clock": round(self.clock(), 1), "pinned": self.pinned is not None,
                "remote_assistance": self.remote_assist,
                "faults": {name: fault.to_json() for name, fault in sorted(self.faults.items())},
                "units": [{"sn": u.sn, "answering": self.unit_answers(u.sn) is not None}
                          for u in self.visible_units()],
            }


@dataclass(frozen=True)
class DeviceCommand:
    """A capwap_cli command: how many arguments it takes, and the Simulator method that
    answers it (a document, {} for no output, None for no answer)."""
    arguments: int
    answer: Callable[..., Optional[dict]]


DEVICE_COMMANDS = {
    "iotdevlist": DeviceCommand(0, Simulator.device_list),
    "iotdevinfo": DeviceCommand(1, Simulator.device_info),
    "iotstatus": DeviceCommand(1, Simulator.device_status),
    "iotdevport_set": DeviceCommand(2, Simulator.port_switch),
    "extpower_status": DeviceCommand(0, Simulator.external_power),
    "panel_reload": DeviceCommand(1, Simulator.panel_reload),
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
        delay = max([fault.delay for fault in active["slow"]], default=0)
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
                fault = sim.set_fault(str(request.get("name")), bool(request.get("on")), params)
                result = fault.to_json()
            elif self.path == "/sim/clock":
                at = request.get("at")
                with sim.lock:
                    sim.pinned = None if at is None else float(at)
                result = {"clock": sim.clock()}
            elif self.path == "/sim/unit":
                result = {"units": sim.change_units(request)}
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


def describe(scenario):
    """What a scenario holds, its units counted as `simctl status` lists them at the start."""
    listed = listed_units(scenario.units, scenario.faults)
    hidden = {}
    for unit in scenario.units:
        if not any(unit is shown for shown in listed):
            hidden[unit.only_with] = hidden.get(unit.only_with, 0) + 1
    later = "".join(" (%d more while %s is on)" % (count, name)
                    for name, count in sorted(hidden.items()))
    return "%d API paths, %d units%s, faults: %s, moving: %s" % (
        len(scenario.api), len(listed), later, ", ".join(sorted(scenario.faults)),
        ", ".join(sorted(scenario.moving)) or "none")


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
            print(describe(load_scenario(args.scenario)))
            return 0
        serve(check_root(args.root), args.scenario, args.lifetime)
    except (SimError, OSError, ValueError) as error:
        print("routersim: %s" % error, file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
