"""The front panel: a stack of screens over the documents tavio answers with.

Keys are words: "up", "down", "enter", "back", a keypad character ("0".."9", "A".."F", or
whatever the response's keypad list holds), and the emulator's own "theme", "font" and
"menus" (a list of the menus tavio knows by name). Every screen draws itself into the panel's
grid (characters per line and lines of the font size in use); rows the cursor is on are
marked, and so is a screen with more lines below the last one shown. A value on screen is read again when its "ttl" has passed: tick() does that against
the panel's clock, a real one or a VirtualClock that only moves when told.
"""
from __future__ import annotations

import json
import time
from pathlib import Path

DEFAULT_FONTS = [{"sz": 1, "ln": 4, "ch": 21}, {"sz": 2, "ln": 3, "ch": 16}]
SCHEMAS = Path(__file__).resolve().parents[3] / "schemas"


def named_menus():
    """The menus tavio answers by name ("ref"), as the menu request's schema lists them."""
    schema = json.loads((SCHEMAS / "menuReq.request.schema.json").read_text())
    refs = schema["properties"]["req"]["properties"]["ref"]["enum"]
    return [ref for ref in refs if ref not in ("", "Home")]


NAMED_MENUS = named_menus()
MOVES = ("up", "down", "enter", "back")


class VirtualClock:
    """A clock for tests and scripted walks: time passes only through advance()."""

    def __init__(self):
        self.now = 0.0

    def __call__(self):
        return self.now

    def advance(self, seconds):
        self.now += seconds


def lines_of(text):
    return text.split("\n") if text else []


def is_separator(item):
    title = item.get("t", "")
    return bool(title) and set(title) == {"-"} and not ({"c", "m", "i"} & item.keys())


class Screen:
    """One screen on the stack. rows() gives (text, marked) pairs; key() handles a key."""
    path = ""

    def __init__(self, panel):
        self.panel = panel
        self.top = 0

    def rows(self):
        return []

    def key(self, key):
        if key == "back":
            self.panel.pop()

    def shown(self):
        """Called whenever the screen comes (back) to the top of the stack."""

    def poll(self):
        """Reads what the screen shows again when it is due."""

    def scroll(self, key, count):
        lines = self.panel.lines
        if key == "down" and self.top + lines < count:
            self.top += 1
        elif key == "up" and self.top > 0:
            self.top -= 1


class TextScreen(Screen):
    """A text laid out by tavio ("st", a value, a message); up and down scroll it."""

    def __init__(self, panel, text, path):
        super().__init__(panel)
        self.text = text
        self.path = path

    def rows(self):
        return [(row, False) for row in lines_of(self.text)]

    def key(self, key):
        if key in ("up", "down"):
            self.scroll(key, len(self.rows()))
        else:
            super().key(key)


class MenuScreen(Screen):
    """A menu: item titles (a dashboard group shows its info lines), a cursor on one item."""

    def __init__(self, panel, items, path, keypads):
        super().__init__(panel)
        self.items = [item for item in items if isinstance(item, dict)]
        self.path = path
        self.keypads = keypads  # the document's "it": keypad type -> characters
        choosable = self.choosable()
        self.cursor = choosable[0] if choosable else None

    def choosable(self):
        return [index for index, item in enumerate(self.items)
                if {"c", "m", "i"} & item.keys() and not is_separator(item)]

    @staticmethod
    def item_rows(item):
        if "i" in item:
            return [line.get("t", "") for line in item["i"].get("il", [])] or [""]
        if "st" in item and "t" not in item:  # custom content: the text itself
            return lines_of(item["st"]) or [""]
        return lines_of(item.get("t", "")) or [""]

    def layout(self):
        rows = []
        for index, item in enumerate(self.items):
            rows += [(row, index) for row in self.item_rows(item)]
        return rows

    def rows(self):
        return [(text, index == self.cursor) for text, index in self.layout()]

    def follow_cursor(self):
        spans = [row for row, (_, index) in enumerate(self.layout()) if index == self.cursor]
        if not spans:
            return
        lines = self.panel.lines
        if spans[0] < self.top:
            self.top = spans[0]
        elif spans[-1] >= self.top + lines:
            self.top = min(spans[0], spans[-1] - lines + 1)

    def key(self, key):
        choosable = self.choosable()
        if key in ("up", "down") and self.cursor is not None:
            at = choosable.index(self.cursor) + (1 if key == "down" else -1)
            if 0 <= at < len(choosable):
                self.cursor = choosable[at]
            elif key == "up":
                self.top = 0  # show what stands above the first item (a heading)
            self.follow_cursor()
        elif key == "enter" and self.cursor is not None:
            self.open(self.items[self.cursor])
        elif key == "back" and len(self.panel.stack) > 1:
            self.panel.pop()

    def open(self, item):
        lines = item.get("i", {}).get("il") or [{}]
        title = item.get("t") or lines[0].get("t", "").strip() or item.get("id", "")
        path = f"{self.path} / {title}"
        if "m" in item:
            self.panel.push(MenuScreen(self.panel, item["m"], path, self.keypads))
        elif "i" in item:
            self.panel.push(MenuScreen(self.panel, item["i"].get("m", []), path, self.keypads))
        else:
            content = item.get("c", {})
            if "it" in content:
                chars = self.keypads.get(content["it"], "")
                self.panel.push(KeypadScreen(self.panel, content, chars, path))
            elif content.get("qt") == "poll":
                self.panel.push(ValueScreen(self.panel, content, path))
            elif "select" in content:
                self.panel.push(SelectScreen(self.panel, content, path, None))
            elif "st" in content:
                self.panel.push(TextScreen(self.panel, content["st"], path))


class ValueScreen(TextScreen):
    """A polled entry: its value, read again at its "ttl"; Enter chooses a new one if the
    entry may be written."""

    def __init__(self, panel, content, path):
        super().__init__(panel, "", path)
        self.content = content
        self.due = None

    def shown(self):
        self.read()

    def read(self):
        answer = self.panel.read_values([self.content["k"]]).get(self.content["k"])
        ttl = self.content.get("ttl", 0)
        if answer is not None:
            self.text = answer.get("v", "")
            ttl = answer.get("ttl", ttl)
        self.due = self.panel.clock() + ttl if isinstance(ttl, int) and ttl > 0 else None

    def poll(self):
        if self.due is not None and self.panel.clock() >= self.due:
            self.read()

    def key(self, key):
        if key == "enter" and "select" in self.content and "w" in self.content.get("a", ""):
            self.panel.push(SelectScreen(self.panel, self.content, self.path, self.text))
        else:
            super().key(key)


class SelectScreen(Screen):
    """The hint on the first row, the choices below it; the cursor starts on the current
    value (read first for a readable entry that was not on screen)."""

    def __init__(self, panel, content, path, current):
        super().__init__(panel)
        self.content = content
        self.path = path
        self.choices = [str(choice) for choice in content.get("select", [])]
        if current is None and "r" in content.get("a", ""):
            current = panel.read_values([content["k"]]).get(content["k"], {}).get("v")
        self.cursor = self.choices.index(current) if current in self.choices else 0

    def rows(self):
        """The hint, then the window of choices around the cursor (the grid's other lines)."""
        shown = self.shown_choices()
        self.top = min(max(self.top, self.cursor - shown + 1), self.cursor)
        rows = [(self.content.get("ht", ""), False)]
        rows += [(choice, index == self.cursor) for index, choice in
                 enumerate(self.choices)][self.top:self.top + shown]
        return rows

    def shown_choices(self):
        return max(1, self.panel.lines - 1)

    def more_below(self):
        return self.top + self.shown_choices() < len(self.choices)

    def key(self, key):
        if key == "up" and self.cursor > 0:
            self.cursor -= 1
        elif key == "down" and self.cursor + 1 < len(self.choices):
            self.cursor += 1
        elif key == "enter" and self.choices:
            self.panel.push(ConfirmScreen(self.panel, self.content, self.path,
                                          self.choices[self.cursor]))
        else:
            super().key(key)


class ConfirmScreen(Screen):
    """The choice once more before it is written: Enter writes it, Back goes back."""

    def __init__(self, panel, content, path, choice):
        super().__init__(panel)
        self.content = content
        self.path = path
        self.choice = choice

    def rows(self):
        return [(self.content.get("ht", ""), False), (self.choice, True),
                ("Enter: confirm", False), ("Back: cancel", False)]

    def key(self, key):
        if key == "enter":
            self.panel.write(self.content, self.choice, self.path, leave=2)
        else:
            super().key(key)


class KeypadScreen(Screen):
    """The passcode entry: i_min..i_max characters of the keypad, then a value write."""

    def __init__(self, panel, content, chars, path):
        super().__init__(panel)
        self.content = content
        self.chars = chars
        self.path = path
        self.typed = ""
        self.least = int(content.get("i_min", 1))
        self.most = int(content.get("i_max", max(self.least, 16)))

    def shown(self):
        self.typed = ""

    def rows(self):
        mask = "*" * len(self.typed) + "_" * (self.most - len(self.typed))
        ready = len(self.typed) >= self.least
        return [(self.content.get("ht", ""), False), (mask, True), (self.chars, False),
                ("Enter: sign in" if ready else "", False)]

    def key(self, key):
        if len(key) == 1 and key in self.chars:
            if len(self.typed) < self.most:
                self.typed += key
        elif key == "back" and self.typed:
            self.typed = self.typed[:-1]
        elif key == "enter":
            if len(self.typed) >= self.least:
                self.panel.write(self.content, self.typed, self.path, leave=0)
        else:
            super().key(key)


class ResultScreen(TextScreen):
    """What a write answered: its message, or the hint, the value and whether it was done.
    Enter or Back goes on as the answer says (the home menu after a sign-in or lock)."""

    def __init__(self, panel, text, path, then):
        super().__init__(panel, text, path)
        self.then = then

    def key(self, key):
        if key in ("enter", "back"):
            self.then()
        else:
            super().key(key)


class RebootingScreen(TextScreen):
    """The router reboots; any key stands for its return: the home menu comes again."""

    def key(self, key):
        if key in MOVES:
            self.panel.home_update()


class NamedMenusScreen(MenuScreen):
    """The emulator's own list of the menus tavio answers to by name ("ref")."""

    def __init__(self, panel):
        super().__init__(panel, [{"t": ref, "m": []} for ref in NAMED_MENUS], "Menus", {})

    def open(self, item):
        self.panel.open_menu(item["t"])


class Panel:
    def __init__(self, tavio, clock=time.monotonic, fonts=None, font_pref=1, theme="",
                 start_ref=""):
        self.tavio = tavio
        self.clock = clock
        self.fonts = fonts or DEFAULT_FONTS
        self.font_pref = font_pref
        self.theme = theme
        self.start_ref = start_ref
        self.stack = []
        self.last = None  # the last Exchange

    # --- the grid ------------------------------------------------------------------------
    def font(self):
        for font in self.fonts:
            if font["sz"] == self.font_pref:
                return font
        return self.fonts[0]

    @property
    def lines(self):
        return int(self.font()["ln"])

    @property
    def width(self):
        return int(self.font()["ch"])

    # --- the stack -----------------------------------------------------------------------
    def push(self, screen):
        self.stack.append(screen)
        screen.shown()

    def pop(self, count=1, show=True):
        del self.stack[len(self.stack) - count:]
        if self.stack and show:
            self.stack[-1].shown()

    def replace(self, screen):
        self.stack = []
        self.push(screen)

    # --- exchanges -----------------------------------------------------------------------
    def exchange(self, kind, body=None):
        document, self.last = self.tavio.exchange(kind, body)
        return document

    def menu_document(self, document, path):
        if document is None:
            return None
        body = document.get("resp") or document.get("req") or {}
        keypads = {entry.get("tp"): "".join(entry.get("cl", []))
                   for entry in body.get("it", []) if isinstance(entry, dict)}
        return MenuScreen(self, body.get("menu", []), path, keypads)

    def request_menu(self, ref):
        panel = {"font_pref": self.font_pref, "font": self.fonts, "theme": self.theme}
        return self.menu_document(self.exchange("menuReq", {"panel": panel, "ref": ref}),
                                  ref or "Home")

    def start(self):
        self.home(self.start_ref)

    def home(self, ref=""):
        """A menu request for the home menu (or a named one): it becomes the whole stack."""
        screen = self.request_menu(ref)
        if screen is not None:
            self.replace(screen)
        elif not self.stack:
            self.replace(TextScreen(self, "No menu.\n" + self.last.message, "Home"))

    def home_update(self):
        """The menu update the router sends after a sign-in, a lock or a reboot."""
        screen = self.menu_document(self.exchange("menuUpdate"), "Home")
        if screen is not None:
            self.replace(screen)

    def open_menu(self, ref):
        screen = self.request_menu(ref)
        if screen is not None:
            self.pop()  # the list of named menus
            self.push(screen)

    def read_values(self, keys):
        document = self.exchange("valueRead", {"list": [{"k": key} for key in keys]})
        answers = ((document or {}).get("resp") or {}).get("list", [])
        return {answer.get("k"): answer for answer in answers if isinstance(answer, dict)}

    def write(self, content, value, path, leave):
        """Writes one choice; `leave` screens (selection, confirmation) give way to the
        answer."""
        key = content["k"]
        document = self.exchange("valueWrite", {"list": [{"k": key, "v": value}]})
        answers = ((document or {}).get("resp") or {}).get("list", [])
        answer = answers[0] if answers and isinstance(answers[0], dict) else {}
        status = answer.get("status", "no answer")
        self.pop(leave, show=False)  # the screen below reads again when the answer goes
        if answer.get("action_status") == "rebooting":
            self.replace(RebootingScreen(self, answer.get("msg") or "Rebooting...", "Reboot"))
            return
        text = answer.get("msg") or "\n".join(
            [content.get("ht", ""), answer.get("v") or value,
             "Done." if status == "ok" else "Failed."])
        if answer.get("action_status") == "panel_logout" or (
                key == "panel_passcode" and status == "ok"):
            then = self.home_update
        else:
            then = self.pop
        self.push(ResultScreen(self, text, path, then))

    # --- keys and time -------------------------------------------------------------------
    def key(self, key):
        if key == "theme":
            self.theme = "" if self.theme == "google" else "google"
            self.home()
        elif key == "font":
            sizes = [font["sz"] for font in self.fonts]
            at = sizes.index(self.font_pref) if self.font_pref in sizes else -1
            self.font_pref = sizes[(at + 1) % len(sizes)]
            self.home()
        elif key == "menus":
            if not isinstance(self.stack[-1], NamedMenusScreen):
                self.push(NamedMenusScreen(self))
        elif self.stack:
            self.stack[-1].key(key)

    def tick(self):
        if self.stack:
            self.stack[-1].poll()

    # --- what the panel shows ------------------------------------------------------------
    def screen(self):
        top = self.stack[-1]
        rows = top.rows()
        if isinstance(top, MenuScreen):
            top.follow_cursor()
        if isinstance(top, SelectScreen):
            below = top.more_below()  # its rows are the window already
        else:
            below = len(rows) > top.top + self.lines
            rows = rows[top.top:top.top + self.lines]
        rows += [("", False)] * (self.lines - len(rows))
        return {
            "rows": [text[:self.width].ljust(self.width) for text, _ in rows],
            "cursor": [index for index, (_, marked) in enumerate(rows) if marked],
            "below": below,  # more lines follow below the last row shown
            "width": self.width,
            "lines": self.lines,
            "path": top.path,
            "status": self.status(),
            "keypad": top.chars if isinstance(top, KeypadScreen) else "",
            "theme": self.theme or "default",
            "font": self.font_pref,
        }

    def status(self):
        return self.last.summary() if self.last else "no exchange yet"


def picture(screen):
    """The grid as text: a frame, a ">" before every row the cursor is on, a "v" at the right
    end of the bottom line when more lines follow below."""
    rule = " +" + "-" * screen["width"] + "+"
    bottom = rule[:-2] + "v+" if screen["below"] else rule
    rows = [(">" if index in screen["cursor"] else " ") + "|" + row + "|"
            for index, row in enumerate(screen["rows"])]
    return [rule] + rows + [bottom]
