#!/usr/bin/env python3
"""Walks walk.scenario on the panel emulator's core: keys straight in, a virtual clock, every
document of the walk against schemas/.

    drive.py TAVIO [EMULATOR...]

Each start gets a fresh copy of sim/router. EMULATOR_UPDATE_GOLDEN=1 writes the grids seen as
the golden pictures (review them before committing).
"""
import os
import shlex
import shutil
import sys
import tempfile
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


class Walk:
    """The core itself, driven key by key, on a clock that stands still: nothing is polled."""

    def __init__(self, tavio):
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

    def grid(self):
        return panel.picture(self.panel.screen())

    def stop(self):
        if self.environment:
            self.environment.close()
            self.environment = None


def golden(name, grid):
    path = Path(HERE, "golden", name + ".grid")
    if os.environ.get("EMULATOR_UPDATE_GOLDEN"):
        path.write_text("\n".join(grid) + "\n")
    return path.read_text().splitlines() == grid


def walk(driver, work):
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
            for key in rest.split():
                driver.panel.key(key)
        elif word in ("expect", "contains"):
            grid = driver.grid()
            if not (golden(rest, grid) if word == "expect" else any(rest in r for r in grid)):
                raise Failure(f"{where}: the grid is\n" + "\n".join(grid))
        else:
            raise Failure(f"{where}: unknown step")
        checks += word in ("expect", "contains")
    return checks


def main():
    if len(sys.argv) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    tavio, rest = os.path.abspath(sys.argv[1]), sys.argv[2:]
    if rest:
        os.environ["TAVIO_EMULATOR"] = shlex.join(rest)
    work = tempfile.mkdtemp(prefix="emulator-test.")
    driver = Walk(tavio)
    try:
        checks = walk(driver, work)
    except (Failure, validate_documents.SchemaViolation) as error:
        print(f"FAIL walk: {error}")
        return 1
    finally:
        driver.stop()
        shutil.rmtree(work, ignore_errors=True)
    print(f"walk: {checks} checks passed, {driver.documents.summary()}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
