"""Runs tavio once per exchange, exactly as the display process does on the router.

One request file, one run of tavio (an argv list, no shell), one response file; before every
run tools/check-standins makes sure that reboot, restoreconfig, saveconfig, activate,
wget_https and capwap_cli resolve into the chosen bin directory, so no run can reach a real
reboot. Each exchange is recorded: its type, the wall time it took and how many tools tavio
started (the lines it added to the stand-in log).
"""
from __future__ import annotations

import json
import os
import re
import shlex
import shutil
import subprocess
import tempfile
import time
from dataclasses import dataclass, field

REPO = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", "..", ".."))
RUN_DIR = os.path.join("var", "run", "dorva", "tavio")
ROOT_PATTERN = re.compile(r"^/[A-Za-z0-9/._-]*$")


class EmulatorError(Exception):
    """The environment cannot be used (no tavio, a stand-in missing, a root tavio refuses)."""


@dataclass
class Exchange:
    kind: str           # menuReq, valueRead, valueWrite, menuUpdate
    seconds: float      # wall time of the tavio run
    tools: int | None   # programs tavio started (None: no stand-in log to count them)
    ok: bool            # a response document was written
    message: str = ""   # tavio's own last line ("Error: ..." when it failed)

    def summary(self):
        tools = "? tools" if self.tools is None else (
            f"{self.tools} tool" + ("" if self.tools == 1 else "s"))
        text = f"{self.kind} {self.seconds * 1000:.0f} ms, {tools}"
        return text if self.ok else f"{text}: {self.message or 'no answer'}"


@dataclass
class Environment:
    """The root tavio runs against and the bin directory put first on PATH.

    Without a root, a temporary copy of sim/router is made (with its run directory) and
    removed by close(); without a bin directory sim/bin (the recorded replies) is used.
    """
    tavio: str = os.path.join(REPO, "build", "tavio")
    root: str | None = None
    bin_dir: str = os.path.join(REPO, "sim", "bin")
    api_down: bool = False
    work: str = field(init=False, default="")
    standin_log: str | None = field(init=False, default=None)
    _owned_root: bool = field(init=False, default=False)

    def __post_init__(self):
        self.tavio = os.path.abspath(self.tavio)
        self.bin_dir = os.path.abspath(self.bin_dir)
        if not os.access(self.tavio, os.X_OK):
            raise EmulatorError(f"no tavio program at {self.tavio} (build it first)")
        if not os.path.isdir(self.bin_dir):
            raise EmulatorError(f"no bin directory {self.bin_dir}")
        self.work = tempfile.mkdtemp(prefix="panel-emu.")
        if self.root is None:
            self.root = os.path.join(self.work, "root")
            shutil.copytree(os.path.join(REPO, "sim", "router"), self.root, symlinks=True)
            self._owned_root = True
        self.root = os.path.abspath(self.root)
        if not ROOT_PATTERN.match(self.root):
            self.close()
            raise EmulatorError(f"tavio refuses the root {self.root}: use letters, digits, / . _ -")
        # The run directory belongs to the router, not to tavio: the root provides it.
        os.makedirs(os.path.join(self.root, RUN_DIR), exist_ok=True)
        if self.api_down:
            open(os.path.join(self.root, "sim", "api", "DOWN"), "w").close()
        self.standin_log = os.environ.get("TAVIO_STANDIN_LOG") or os.path.join(
            self.work, "standin.log")

    def variables(self):
        env = dict(os.environ)
        env["TAVIO_ROOT"] = self.root
        # The stand-ins first, and no sbin folder after them: the machine's own reboot and the
        # like are never within reach.
        rest = [entry for entry in env.get("PATH", "").split(os.pathsep)
                if entry and not entry.rstrip("/").endswith("sbin")]
        env["PATH"] = os.pathsep.join([self.bin_dir] + rest)
        env["TAVIO_STANDIN_LOG"] = self.standin_log
        return env

    def check_standins(self, env):
        """Refuses to go on unless every router program resolves into the bin directory."""
        check = subprocess.run([os.path.join(REPO, "tools", "check-standins"), self.bin_dir],
                               env=env, capture_output=True, text=True, check=False)
        if check.returncode != 0:
            raise EmulatorError("stand-ins not first on PATH: " + check.stderr.strip())

    def close(self):
        if self.work:
            shutil.rmtree(self.work, ignore_errors=True)
            self.work = ""


def count_tools(path):
    """Commands in the stand-in log: every line that does not start with a blank."""
    try:
        with open(path, encoding="utf-8", errors="replace") as f:
            return sum(1 for line in f if line[:1] not in ("", " ", "\t", "\n"))
    except FileNotFoundError:
        return 0


class Tavio:
    """The exchanges of one panel (its serial, type and keypad) with tavio."""

    def __init__(self, environment, serial="", panel_type=None, keypad=False):
        self.environment = environment
        self.serial = serial
        self.panel_type = panel_type
        self.keypad = keypad
        self.history = []
        self.check = None  # if set, called with (request or None, response or None) each time

    def panel_options(self):
        options = []
        if self.serial:
            options += ["-s", self.serial]
        if self.panel_type is not None:
            options += ["-x", str(self.panel_type)]
        if self.keypad:
            options.append("-K")
        return options

    def exchange(self, kind, body=None):
        """One exchange: returns (response document or None, Exchange). A body means a request
        {"type": kind, "req": body}; without one tavio writes a menu update by itself."""
        env_vars = self.environment.variables()
        self.environment.check_standins(env_vars)
        work = self.environment.work
        response = os.path.join(work, "response.json")
        # A cross-built tavio runs under its emulator (TAVIO_EMULATOR, e.g. "qemu-arm -L ...").
        argv = shlex.split(os.environ.get("TAVIO_EMULATOR", "")) + [self.environment.tavio]
        sent = None if body is None else {"type": kind, "req": body}
        if body is not None:
            request = os.path.join(work, "request.json")
            with open(request, "w", encoding="utf-8") as f:
                json.dump(sent, f)
            argv += ["-i", request]
        argv += ["-o", response] + self.panel_options()
        # tavio leaves an old response in place when it has nothing new to write.
        if os.path.exists(response):
            os.remove(response)
        before = count_tools(self.environment.standin_log)
        started = time.monotonic()
        run = subprocess.run(argv, env=env_vars, capture_output=True, text=True, check=False,
                             timeout=60)
        seconds = time.monotonic() - started
        tools = count_tools(self.environment.standin_log) - before
        lines = run.stdout.strip().splitlines()
        document = None
        if os.path.exists(response):
            try:
                with open(response, encoding="utf-8") as f:
                    document = json.load(f)
            except ValueError:
                document = None
        record = Exchange(kind, seconds, tools, document is not None, lines[-1] if lines else "")
        self.history.append(record)
        if self.check is not None:
            self.check(sent, document)
        return document, record
