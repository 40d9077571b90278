"""The panel in a browser: a small HTTP bridge on 127.0.0.1 that holds the panel's state.

    GET  /            the page (web/index.html)
    GET  /screen      polls what is due, then the screen as JSON
    POST /key         body {"key": "up"|"down"|"enter"|"back"|"theme"|"font"|"menus"|CHAR}

The page only sends keys and draws the grid it gets back; every key press runs the same core
as the terminal version, one request at a time.
"""
import json
import os
import sys
from http.server import BaseHTTPRequestHandler, HTTPServer

from .exchange import EmulatorError

PAGE = os.path.join(os.path.dirname(__file__), "..", "web", "index.html")


def handler_for(panel):
    class Handler(BaseHTTPRequestHandler):
        def send(self, status, body, kind="application/json"):
            data = body.encode("utf-8")
            self.send_response(status)
            self.send_header("Content-Type", kind + "; charset=utf-8")
            self.send_header("Content-Length", str(len(data)))
            self.send_header("Cache-Control", "no-store")
            self.end_headers()
            self.wfile.write(data)

        def answer(self, act):
            try:
                act()
                self.send(200, json.dumps(panel.screen()))
            except EmulatorError as error:
                self.send(500, json.dumps({"error": str(error)}))

        def do_GET(self):
            if self.path in ("/", "/index.html"):
                with open(PAGE, encoding="utf-8") as f:
                    self.send(200, f.read(), "text/html")
            elif self.path == "/screen":
                self.answer(panel.tick)
            else:
                self.send(404, json.dumps({"error": "not found"}))

        def do_POST(self):
            if self.path != "/key":
                self.send(404, json.dumps({"error": "not found"}))
                return
            try:
                length = int(self.headers.get("Content-Length", "0"))
                key = json.loads(self.rfile.read(min(length, 4096)) or b"{}").get("key")
            except (ValueError, AttributeError):
                key = None
            if not isinstance(key, str) or not key:
                self.send(400, json.dumps({"error": "no key"}))
                return
            self.answer(lambda: panel.key(key))

        def log_message(self, *args):  # quiet: the page asks every second
            pass

    return Handler


def serve(panel, port=0):
    server = HTTPServer(("127.0.0.1", port), handler_for(panel))
    panel.start()
    print(f"panel-emu: http://127.0.0.1:{server.server_port}/", flush=True)
    try:
        server.serve_forever()
    finally:
        server.server_close()
        sys.stdout.flush()
