"""tools/panel-emu: the front panel against tavio, in a terminal, a browser or a scripted walk.

    tools/panel-emu [options]                 the panel in this terminal (curses)
    tools/panel-emu --browser [--port N]      the panel as a page; the address is printed
    tools/panel-emu --script FILE | --walk    keys from a file; every screen printed as text

By default tavio (build/tavio) answers from a temporary copy of sim/router with the recorded
replies of sim/bin first on PATH; the copy is removed at the end.
"""
from __future__ import annotations

import argparse
import os
import shlex
import signal
import sys

from . import exchange, panel

WALK = os.path.join(os.path.dirname(__file__), "..", "walks", "tour.keys")
SCRIPT_WORDS = set(panel.MOVES) | {"theme", "font", "menus"}


def parse_args(argv):
    parser = argparse.ArgumentParser(
        prog="panel-emu", description=__doc__.splitlines()[0],
        formatter_class=argparse.RawDescriptionHelpFormatter,
        epilog="keys: arrows, Enter, Backspace/Esc (back), 0-9 A-F (keypad), t (theme), "
               "f (font size), m (named menus), q (quit)")
    parser.add_argument("--tavio", default=os.path.join(exchange.REPO, "build", "tavio"),
                        help="the tavio program (default: build/tavio)")
    parser.add_argument("--root", help="an existing root to run against (used as it is)")
    parser.add_argument("--bin", default=os.path.join(exchange.REPO, "sim", "bin"),
                        help="stand-in programs, first on PATH (default: sim/bin)")
    parser.add_argument("--api-down", action="store_true",
                        help="the temporary root's local API answers nothing (sim/api/DOWN)")
    parser.add_argument("-s", "--serial", default="", help="the panel's serial (-s)")
    parser.add_argument("-x", "--type", type=int, dest="panel_type",
                        help="panel type (-x): 0 External, 1 Power")
    parser.add_argument("-K", "--keypad", action="store_true",
                        help="the panel has a passcode keypad (-K)")
    parser.add_argument("--theme", choices=["default", "google"], default="default")
    parser.add_argument("--font", type=int, default=1, help="font size to prefer (1 or 2)")
    parser.add_argument("--menu", default="", help="start in a named menu (e.g. pmu_menu)")
    mode = parser.add_mutually_exclusive_group()
    mode.add_argument("--browser", action="store_true", help="serve the panel as a page")
    mode.add_argument("--script", help="walk the keys of FILE and print every screen")
    mode.add_argument("--walk", action="store_true",
                      help="the built-in walk (panel PNL-IN with a keypad unless told)")
    parser.add_argument("--port", type=int, default=0,
                        help="with --browser: the port on 127.0.0.1 (default: a free one)")
    args = parser.parse_args(argv)
    if args.walk:
        args.script = WALK
        if not args.serial:
            args.serial, args.keypad = "PNL-IN", True
    return args


def make_panel(args, environment, clock=None):
    tavio = exchange.Tavio(environment, args.serial, args.panel_type, args.keypad)
    theme = "" if args.theme == "default" else args.theme
    kwargs = {"clock": clock} if clock else {}
    return panel.Panel(tavio, font_pref=args.font, theme=theme, start_ref=args.menu, **kwargs)


def script_steps(path):
    """The steps of a key file: key words, keypad characters ("type 2580" or "2 5 8 0"),
    "wait SECONDS" (the clock moves on, polls fall due). '#' starts a comment."""
    steps = []
    with open(path, encoding="utf-8") as f:
        for number, line in enumerate(f, 1):
            words = shlex.split(line, comments=True)
            while words:
                word = words.pop(0)
                if word == "wait" and words:
                    steps.append(("wait", float(words.pop(0))))
                elif word == "type" and words:
                    steps += [("key", char) for char in words.pop(0)]
                elif word in SCRIPT_WORDS or len(word) == 1:
                    steps.append(("key", word))
                else:
                    raise ValueError(f"{path}:{number}: unknown step {word!r}")
    return steps


def show(the_panel, heading, out):
    screen = the_panel.screen()
    out.write(f"--- {heading}  [{screen['path']}]\n")
    out.write("\n".join(panel.picture(screen)) + "\n")
    out.write(f"  {screen['status']}\n")


def walk(the_panel, clock, steps, out=sys.stdout):
    """Runs the steps on the panel (a VirtualClock: waits take no time); prints each screen."""
    the_panel.start()
    show(the_panel, "start", out)
    for kind, value in steps:
        if kind == "wait":
            before = len(the_panel.tavio.history)
            for _ in range(int(value)):
                clock.advance(1)
                the_panel.tick()
            polled = len(the_panel.tavio.history) - before
            show(the_panel, f"wait {value:g} s ({polled} reads)", out)
        else:
            the_panel.key(value)
            show(the_panel, value, out)


def stop(signum, _frame):
    """Ends the emulator on SIGTERM or SIGHUP the ordinary way, so the temporary root goes."""
    sys.exit(128 + signum)


def main(argv=None):
    args = parse_args(sys.argv[1:] if argv is None else argv)
    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGHUP, stop)
    try:
        steps = script_steps(args.script) if args.script else None
        environment = exchange.Environment(tavio=args.tavio, root=args.root, bin_dir=args.bin,
                                           api_down=args.api_down and not args.root)
    except (OSError, ValueError, exchange.EmulatorError) as error:
        print(f"panel-emu: {error}", file=sys.stderr)
        return 2
    try:
        if steps is not None:
            clock = panel.VirtualClock()
            walk(make_panel(args, environment, clock), clock, steps)
        elif args.browser:
            from . import bridge
            bridge.serve(make_panel(args, environment), args.port)
        else:
            from . import terminal
            terminal.run(make_panel(args, environment))
    except exchange.EmulatorError as error:
        print(f"panel-emu: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        pass
    finally:
        environment.close()
    return 0
