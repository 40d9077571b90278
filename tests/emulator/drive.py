#!/usr/bin/env python3
"""Walks walk.scenario on the panel emulator: in-process with a virtual clock, or in a terminal.

    drive.py walk TAVIO [EMULATOR...]        the core, keys straight in, no waiting
    drive.py terminal TAVIO [EMULATOR...]    tools/panel-emu under tmux: send-keys, capture-pane

A cross-built tavio runs under EMULATOR (e.g. qemu-arm -L ...). Each start gets a fresh copy
of sim/router under a temporary directory, removed at the end, with the tmux server of its
own. Exit status 77 when tmux is missing. EMULATOR_UPDATE_GOLDEN=1 writes the grids seen as
the golden pictures (review them before committing).
"""
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.abspath(os.path.join(HERE, "..", ".."))
STATUS = r"^{} \d+ ms, \d+ tools?$"
sys.path.insert(0, os.path.join(REPO, "tools", "panel_emulator"))
sys.path.insert(0, os.path.join(REPO, "tests", "schema"))
sys.dont_write_bytecode = True
import validate_documents  # noqa: E402  the walk's documents against schemas/


class Failure(Exception):
    pass


def scenario():
    with open(os.path.join(HERE, "walk.scenario"), encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            line = line.rstrip("\n")
            if line.strip() and not line.startswith("#"):
                word, _, rest = line.partition(" ")
                yield number, word, rest


def golden(name, grid):
    path = os.path.join(HERE, "golden", name + ".grid")
    if os.environ.get("EMULATOR_UPDATE_GOLDEN"):
        with open(path, "w", encoding="utf-8") as f:
            f.write("\n".join(grid) + "\n")
        return True
    with open(path, encoding="utf-8") as f:
        return f.read().splitlines() == grid


class WalkDriver:
    """The core itself, driven key by key; the clock moves only on "polls"."""

    def start(self, root, args):
        from panelemu import cli, exchange, panel
        self.stop()
        self.clock = panel.VirtualClock()
        options = cli.parse_args(args + ["--root", root, "--tavio", self.tavio])
        self.environment = exchange.Environment(tavio=options.tavio, root=root,
                                                bin_dir=options.bin)
        self.panel = cli.make_panel(options, self.environment, self.clock)
        self.panel.tavio.check = self.documents.check_exchange
        self.panel.start()
        self.picture = panel.picture

    def keys(self, keys):
        for key in keys:
            self.panel.key(key)

    def grid(self):
        return self.picture(self.panel.screen())

    def status(self):
        return self.panel.screen()["status"]

    def polls(self, seconds):
        history = self.panel.tavio.history
        before = len(history)
        self.clock.advance(seconds - 1)
        self.panel.tick()
        if len(history) != before:
            raise Failure("a value was read before its ttl had passed")
        self.clock.advance(1)
        self.panel.tick()
        if [record.kind for record in history[before:]] != ["valueRead"]:
            raise Failure(f"no single value read at the ttl: {history[before:]}")

    def stop(self):
        if getattr(self, "environment", None):
            self.environment.close()
            self.environment = None


class TerminalDriver:
    """tools/panel-emu in a tmux session of 100 by 30 on a server of its own."""
    KEYS = {"up": "Up", "down": "Down", "enter": "Enter", "back": "BSpace",
            "theme": "t", "font": "f", "menus": "m"}

    def __init__(self, work):
        self.socket = os.path.join(work, "tmux.sock")
        self.running = False

    def tmux(self, *args):
        return subprocess.run(["tmux", "-S", self.socket, *args], capture_output=True,
                              text=True, check=True).stdout

    def start(self, root, args):
        self.stop()
        command = [os.path.join(REPO, "tools", "panel-emu"), "--tavio", self.tavio,
                   "--root", root] + args
        self.tmux("new-session", "-d", "-x", "100", "-y", "30", shlex.join(command))
        self.running = True
        self.settle()

    def capture(self):
        return self.tmux("capture-pane", "-p").splitlines()

    def settle(self):
        """Waits until the screen shows a frame, no exchange under way, and has not changed
        for 0.3 s."""
        last, deadline = None, time.monotonic() + 20
        while time.monotonic() < deadline:
            screen = self.capture()
            if screen == last and any(line.startswith(" +") for line in screen) and not (
                    screen[0].startswith(" working")):
                return screen
            last = screen
            time.sleep(0.3)
        raise Failure("the terminal did not settle:\n" + "\n".join(last or []))

    def keys(self, keys):
        for key in keys:
            self.tmux("send-keys", *(["-l", key] if key not in self.KEYS else [self.KEYS[key]]))
        self.settle()

    def grid(self):
        screen = self.settle()
        rules = [index for index, line in enumerate(screen) if line.startswith(" +")]
        return [line.rstrip() for line in screen[rules[0]:rules[1] + 1]]

    def status(self):
        screen = self.settle()
        rules = [index for index, line in enumerate(screen) if line.startswith(" +")]
        return screen[rules[1] + 1].strip()

    def polls(self, seconds):
        pass  # real time runs here; the scripted walk checks the polling

    def stop(self):
        if self.running:
            self.tmux("kill-server")  # the emulator ends on SIGHUP and removes its files
            self.running = False
            time.sleep(0.3)


def main():
    if len(sys.argv) < 3 or sys.argv[1] not in ("walk", "terminal"):
        print(__doc__, file=sys.stderr)
        return 2
    mode, tavio = sys.argv[1], os.path.abspath(sys.argv[2])
    if sys.argv[3:]:
        os.environ["TAVIO_EMULATOR"] = shlex.join(sys.argv[3:])
    if mode == "terminal" and not shutil.which("tmux"):
        print("SKIP: tmux is not installed")
        return 77
    work = tempfile.mkdtemp(prefix="emulator-test.")
    driver = WalkDriver() if mode == "walk" else TerminalDriver(work)
    driver.tavio = tavio
    driver.documents = validate_documents.Documents() if mode == "walk" else None
    root, checks = None, 0
    try:
        for number, word, rest in scenario():
            where = f"walk.scenario:{number}: {word} {rest}"
            if word == "start":
                root = tempfile.mkdtemp(prefix="root.", dir=work)
                shutil.copytree(os.path.join(REPO, "sim", "router"), root, symlinks=True,
                                dirs_exist_ok=True)
                driver.start(root, shlex.split(rest))
            elif word == "keys":
                driver.keys(rest.split())
            elif word == "expect":
                grid = driver.grid()
                if not golden(rest, grid):
                    raise Failure(f"{where}: the grid is\n" + "\n".join(grid))
            elif word == "contains":
                grid = driver.grid()
                if not any(rest in line for line in grid):
                    raise Failure(f"{where}: not in the grid\n" + "\n".join(grid))
            elif word == "status":
                status = driver.status()
                if not re.match(STATUS.format(re.escape(rest)), status):
                    raise Failure(f"{where}: the status line is {status!r}")
            elif word == "polls":
                driver.polls(int(rest))
            elif word == "fault" and rest == "api-down":
                open(os.path.join(root, "sim", "api", "DOWN"), "w").close()
            elif word == "screenshot":
                continue
            else:
                raise Failure(f"{where}: unknown step")
            checks += word in ("expect", "contains", "status", "polls")
    except (Failure, subprocess.CalledProcessError, validate_documents.SchemaViolation) as error:
        print(f"FAIL {mode}: {error}")
        return 1
    finally:
        driver.stop()
        shutil.rmtree(work, ignore_errors=True)
    print(f"{mode}: {checks} checks passed" + (
        f", {driver.documents.summary()}" if driver.documents else ""))
    return 0


if __name__ == "__main__":
    sys.exit(main())
