"""The panel in a terminal (curses): the grid in a frame, the cursor, the last exchange.

Keys: Up/Down, Enter (or Right), Backspace/Esc (or Left) for back, 0-9 and A-F for the
keypad, t the theme, f the font size, m the named menus, q quits.
"""
import curses
import os

from .panel import picture

KEYS = {
    curses.KEY_UP: "up", curses.KEY_DOWN: "down",
    curses.KEY_ENTER: "enter", 10: "enter", 13: "enter", curses.KEY_RIGHT: "enter",
    curses.KEY_BACKSPACE: "back", 127: "back", 8: "back", 27: "back", curses.KEY_LEFT: "back",
    ord("t"): "theme", ord("f"): "font", ord("m"): "menus",
}
HELP = "arrows Enter Bksp/Esc 0-9A-F  t theme  f font  m menus  q quit"


def draw(window, screen):
    window.erase()
    height, width = window.getmaxyx()

    def put(y, text, attr=0):
        if y < height:
            window.addnstr(y, 0, text, max(0, width - 1), attr)

    put(0, f" {screen['path']}"[:width - 1], curses.A_BOLD)
    lines = picture(screen)
    for y, line in enumerate(lines, 1):
        put(y, line)
        if y - 2 in screen["cursor"] and y < height:
            # The cursor row in reverse video as well as marked with ">".
            window.chgat(y, 2, min(screen["width"], width - 3), curses.A_REVERSE)
    y = len(lines) + 1
    theme = f"theme {screen['theme']}, font {screen['font']}"
    put(y, f" {screen['status']}")
    put(y + 1, f" {theme}" + (f"  keypad {screen['keypad']}" if screen["keypad"] else ""))
    put(y + 2, f" {HELP}", curses.A_DIM)
    window.refresh()


def loop(window, panel):
    curses.curs_set(0)
    window.keypad(True)
    window.timeout(250)  # wake up to poll the values on screen
    panel.start()
    while True:
        draw(window, panel.screen())
        code = window.getch()
        if code == -1:
            panel.tick()
            continue
        if code == ord("q"):
            return
        # Until tavio has answered, the top line says so (a test waits for it to go).
        window.addstr(0, 0, " working ...".ljust(window.getmaxyx()[1] - 1))
        window.refresh()
        if code in KEYS:
            panel.key(KEYS[code])
        elif 0 <= code < 256 and chr(code).isprintable():
            panel.key(chr(code))  # a keypad character; others are ignored on the panel


def run(panel):
    os.environ.setdefault("ESCDELAY", "25")
    curses.wrapper(loop, panel)
