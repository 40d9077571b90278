#!/usr/bin/env python3
"""The local web API over real HTTP for a tavio built with the http transport: serves a
case's recorded replies exactly as sim/bin/wget_https maps them, and logs each request.

    replay_server.py ROOT READY_FILE [--logged-port N] [--fault MODE] [--stats FILE]

Listens on a free port of 127.0.0.1, written into READY_FILE once it accepts connections, and
serves until SIGTERM: HTTP/1.1 with a Content-Length on kept connections, the body from
ROOT/sim/api/ as the stand-in finds it (503 while TAVIO_SIM_API_DOWN is set or sim/api/DOWN
exists, 404 for what is found nowhere). Each request is appended to TAVIO_STANDIN_LOG as
"http METHOD http://127.0.0.1:N/api/PATH" (N: --logged-port, the port the case's files name)
and the header and body lines the stand-in logs; a Host other than the real one, and any
temporary file of tavio's in the run directory while a request is served, add a line of their
own. --stats FILE: the number of connections accepted.

--fault MODE misbehaves on every request: close ("Connection: close" and the close),
reset-reused (a connection that carried a reply is reset at the next request), reset (reset at
the first request), garbage (no reply, then the close), status-299 and status-300 (the reply
whole, under the last successful status and the one just past it), stall (never answered).
"""
import argparse
import http.server
import os
import signal
import socket
import struct
import sys
import threading

MAX_BODY = 1024 * 1024
FAULTS = ("close", "reset-reused", "reset", "garbage", "status-299", "status-300", "stall")
TEMPORARY = ("wget_ext_hdr_", "wget_input_", "wget_result_")


class Server(http.server.ThreadingHTTPServer):
    def __init__(self, args):
        super().__init__(("127.0.0.1", 0), Handler)
        self.args, self.port, self.fault = args, self.server_address[1], args.fault
        self.api = os.path.join(args.root, "sim", "api")
        self.run_dir = os.path.join(args.root, "var", "run", "dorva", "tavio")
        self.log = os.environ.get("TAVIO_STANDIN_LOG")
        self.down = bool(os.environ.get("TAVIO_SIM_API_DOWN"))
        self.lock, self.stopping, self.connections = threading.Lock(), threading.Event(), 0

    def accepted(self):
        with self.lock:
            self.connections += 1
            if self.args.stats:
                with open(self.args.stats, "w", encoding="ascii") as handle:
                    handle.write("%d\n" % self.connections)

    def note(self, method, target, headers, body):
        if not self.log:
            return
        lines = ["http %s http://127.0.0.1:%d%s" % (method, self.args.logged_port or self.port, target)]
        for name, value in headers:
            if name.lower() == "host":
                if value != "127.0.0.1:%d" % self.port:
                    lines.append("  (Host: %s)" % value)
            elif name.lower() != "content-length":
                lines.append("  header: %s: %s" % (name, value))
        text = body.decode("utf-8", "replace")
        lines += ["  body: " + line for line in text.removesuffix("\n").split("\n") if text]
        try:
            left = sorted(n for n in os.listdir(self.run_dir) if n.startswith(TEMPORARY))
        except OSError:
            left = []
        lines += ["  (temporary file in the run directory: %s)" % name for name in left]
        with self.lock, open(self.log, "a", encoding="utf-8") as handle:
            handle.write("".join(line + "\n" for line in lines))

    def answer(self, target):
        """(status, body) as the stand-in would fare with the target: /api/PATH is found as
        PATH, then PATH without its query, '?' read as '@', '&' as '+', '/' as '_', with
        ".json" (200) or ".down" (503)."""
        if self.down or os.path.exists(os.path.join(self.api, "DOWN")):
            return 503, b"{}"
        if not target.startswith("/api/") or target == "/api/":
            return 404, b"{}"
        path = target[len("/api/"):]
        cut = min([at for at in (path.find("?"), path.find("&")) if at >= 0], default=len(path))
        for query in (path, path[:cut]):
            name = os.path.join(self.api, query.replace("?", "@").replace("&", "+")
                                .replace("/", "_"))
            if os.path.exists(name + ".down"):
                return 503, b"{}"
            if os.path.isfile(name + ".json"):
                with open(name + ".json", "rb") as handle:
                    return 200, handle.read()
        return 404, b"{}"


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"  # connections are kept

    def setup(self):
        super().setup()
        self.served = 0
        self.server.accepted()
        self.connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

    def log_message(self, *_):
        pass

    def finish(self):
        try:
            super().finish()
        except OSError:
            pass  # reset, or given up by the client

    def do_GET(self):  # noqa: N802
        server, fault = self.server, self.server.fault
        length = int(self.headers.get("Content-Length") or 0)
        body = self.rfile.read(length) if 0 < length <= MAX_BODY else b""
        server.note(self.command, self.path, self.headers.items(), body)
        self.close_connection = True  # unless the reply goes out whole below
        if self.request_version != "HTTP/1.1":
            return
        if fault == "reset" or (fault == "reset-reused" and self.served):
            # A close with a zero linger time sends RST instead of FIN; closed here, before
            # the server's own shutdown of the connection would send a FIN first.
            self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER,
                                       struct.pack("ii", 1, 0))
            self.connection.close()
        elif fault == "stall":
            server.stopping.wait()
        else:
            try:
                self.send(fault, *server.answer(self.path))
            except OSError:
                return  # the client gave up on the reply (a bound, a deadline)
            self.served += 1
            self.close_connection = fault in ("close", "garbage")

    do_POST = do_GET

    def send(self, fault, status, data):
        status = {"status-299": 299, "status-300": 300}.get(fault, status)
        head = "HTTP/1.1 %d %s\r\n" % (status, self.responses.get(status, ("Fine",))[0])
        if fault == "garbage":
            self.wfile.write(b"<html><body>busy</body></html>\r\n\r\n")
        else:
            close = "Connection: close\r\n" if fault == "close" else ""
            self.wfile.write(("%s%sContent-Length: %d\r\n\r\n" % (head, close, len(data)))
                             .encode() + data)
        self.wfile.flush()


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("root")
    parser.add_argument("ready_file")
    parser.add_argument("--logged-port", type=int, default=0)
    parser.add_argument("--fault", choices=FAULTS)
    parser.add_argument("--stats")
    server = Server(parser.parse_args(argv))

    def stop(*_):
        server.stopping.set()
        threading.Thread(target=server.shutdown, daemon=True).start()
    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGINT, stop)
    with open(server.args.ready_file + ".part", "w", encoding="ascii") as handle:
        handle.write("%d\n" % server.port)
    os.rename(server.args.ready_file + ".part", server.args.ready_file)
    server.serve_forever(poll_interval=0.1)
    server.server_close()
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
