#!/usr/bin/env python3
"""Walks walk.scenario on the panel emulator, one of three ways.

    drive.py walk TAVIO [EMULATOR...]        the core, keys straight in, a virtual clock
    drive.py terminal TAVIO [EMULATOR...]    tools/panel-emu under tmux (77 without tmux)
    drive.py browser TAVIO [SCREENSHOT.png]  the page in Chromium (through run_browser.sh)

Each start gets a fresh copy of sim/router. EMULATOR_UPDATE_GOLDEN=1 writes the grids seen as
the golden pictures (review them before committing).
"""
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.abspath(os.path.join(HERE, "..", ".."))
sys.path.insert(0, os.path.join(REPO, "tools", "panel_emulator"))
sys.path.insert(0, os.path.join(REPO, "tests", "schema"))
sys.dont_write_bytecode = True
import validate_documents  # noqa: E402  the walk's documents against schemas/
from panelemu import cli, exchange, panel  # noqa: E402


class Failure(Exception):
    pass


class Driver:
    def polls(self, seconds):
        pass  # real time runs in a terminal and a browser; the scripted walk checks the polling

    def screenshot(self, path):
        pass  # the browser's only

    def summary(self):
        return ""


class WalkDriver(Driver):
    """The core itself, driven key by key; the clock moves only on "polls"."""

    def __init__(self, tavio, work):
        self.tavio, self.environment = tavio, None
        self.documents = validate_documents.Documents()

    def start(self, root, args):
        self.stop()
        self.clock = panel.VirtualClock()
        options = cli.parse_args(args + ["--root", root, "--tavio", self.tavio])
        self.environment = exchange.Environment(tavio=self.tavio, root=root, bin_dir=options.bin)
        self.panel = cli.make_panel(options, self.environment, self.clock)
        self.panel.tavio.check = self.documents.check_exchange
        self.panel.start()

    def keys(self, keys):
        for key in keys:
            self.panel.key(key)

    def grid(self):
        return panel.picture(self.panel.screen())

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
        if self.environment:
            self.environment.close()
            self.environment = None

    def summary(self):
        return ", " + self.documents.summary()


class TerminalDriver(Driver):
    """tools/panel-emu in a tmux session of 100 by 30 on a server of its own."""
    KEYS = {"up": "Up", "down": "Down", "enter": "Enter", "back": "BSpace",
            "theme": "t", "font": "f", "menus": "m"}

    def __init__(self, tavio, work):
        self.tavio, self.socket, self.running = tavio, os.path.join(work, "tmux.sock"), False

    def tmux(self, *args):
        return subprocess.run(["tmux", "-S", self.socket, *args], capture_output=True,
                              text=True, check=True).stdout

    def start(self, root, args):
        self.stop()
        command = [os.path.join(REPO, "tools", "panel-emu"), "--tavio", self.tavio,
                   "--root", root] + args
        self.tmux("new-session", "-d", "-x", "100", "-y", "30", shlex.join(command))
        self.running = True
        self.framed()

    def framed(self):
        """The screen and its two frame lines, once it shows a frame, no exchange under way,
        and has not changed for 0.3 s."""
        last, deadline = None, time.monotonic() + 20
        while time.monotonic() < deadline:
            screen = self.tmux("capture-pane", "-p").splitlines()
            rules = [index for index, line in enumerate(screen) if line.startswith(" +")]
            if screen == last and rules and not screen[0].startswith(" working"):
                return screen, rules
            last = screen
            time.sleep(0.3)
        raise Failure("the terminal did not settle:\n" + "\n".join(last or []))

    def keys(self, keys):
        for key in keys:
            self.tmux("send-keys", *(["-l", key] if key not in self.KEYS else [self.KEYS[key]]))
        self.framed()

    def grid(self):
        screen, rules = self.framed()
        return [line.rstrip() for line in screen[rules[0]:rules[1] + 1]]

    def status(self):
        screen, rules = self.framed()
        return screen[rules[1] + 1].strip()

    def stop(self):
        if self.running:
            self.tmux("kill-server")  # the emulator ends on SIGHUP and removes its files
            self.running = False
            time.sleep(0.3)


class BrowserDriver(Driver):
    """The page in Chromium, through browser_walk.mjs."""

    def __init__(self, tavio, work):
        self.node = subprocess.Popen(["node", os.path.join(HERE, "browser_walk.mjs"), tavio, work],
                                     stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def ask(self, *command):
        self.node.stdin.write(json.dumps(command) + "\n")
        self.node.stdin.flush()
        answer = json.loads(self.node.stdout.readline() or '{"error": "the page driver ended"}')
        if "error" in answer:
            raise Failure(answer["error"])
        return answer["ok"]

    def start(self, root, args):
        self.ask("start", root, *args)

    def keys(self, keys):
        self.ask("keys", *keys)

    def grid(self):
        return panel.picture(self.ask("screen"))

    def status(self):
        return self.ask("status")

    def screenshot(self, path):
        self.ask("screenshot", path)

    def stop(self):
        self.node.stdin.close()
        self.node.wait(timeout=30)


def golden(name, grid):
    path = Path(HERE, "golden", name + ".grid")
    if os.environ.get("EMULATOR_UPDATE_GOLDEN"):
        path.write_text("\n".join(grid) + "\n")
    return path.read_text().splitlines() == grid


def walk(driver, work, screenshot):
    """The scenario's steps on the driver; the number of checks made."""
    root, checks = None, 0
    for number, line in enumerate(Path(HERE, "walk.scenario").read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        word, _, rest = line.partition(" ")
        where = f"walk.scenario:{number}: {line}"
        if word == "start":
            root = tempfile.mkdtemp(prefix="root.", dir=work)
            shutil.copytree(os.path.join(REPO, "sim", "router"), root, symlinks=True,
                            dirs_exist_ok=True)
            driver.start(root, shlex.split(rest))
        elif word == "keys":
            driver.keys(rest.split())
        elif word in ("expect", "contains"):
            grid = driver.grid()
            if not (golden(rest, grid) if word == "expect" else any(rest in r for r in grid)):
                raise Failure(f"{where}: the grid is\n" + "\n".join(grid))
        elif word == "status":
            status = driver.status()
            if not re.match(r"^{} \d+ ms, \d+ tools?$".format(re.escape(rest)), status):
                raise Failure(f"{where}: the status line is {status!r}")
        elif word == "polls":
            driver.polls(int(rest))
        elif word == "fault" and rest == "api-down":
            Path(root, "sim", "api", "DOWN").touch()
        elif word == "screenshot":
            if screenshot:
                driver.screenshot(screenshot)
            continue
        else:
            raise Failure(f"{where}: unknown step")
        checks += word in ("expect", "contains", "status", "polls")
    return checks


def main():
    drivers = {"walk": WalkDriver, "terminal": TerminalDriver, "browser": BrowserDriver}
    if len(sys.argv) < 3 or sys.argv[1] not in drivers:
        print(__doc__, file=sys.stderr)
        return 2
    mode, tavio, rest = sys.argv[1], os.path.abspath(sys.argv[2]), sys.argv[3:]
    screenshot = os.path.abspath(rest[0]) if mode == "browser" and rest else None
    if rest and mode != "browser":
        os.environ["TAVIO_EMULATOR"] = shlex.join(rest)
    if mode == "terminal" and not shutil.which("tmux"):
        print("SKIP: tmux is not installed")
        return 77
    work = tempfile.mkdtemp(prefix="emulator-test.")
    driver = drivers[mode](tavio, work)
    try:
        checks = walk(driver, work, screenshot)
    except (Failure, subprocess.CalledProcessError, validate_documents.SchemaViolation) as error:
        print(f"FAIL {mode}: {error}")
        return 1
    finally:
        driver.stop()
        shutil.rmtree(work, ignore_errors=True)
    print(f"{mode}: {checks} checks passed{driver.summary()}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
