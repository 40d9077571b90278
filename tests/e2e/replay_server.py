#!/usr/bin/env python3
"""The local web API over real HTTP for a tavio built with the http transport: serves a
case's recorded replies exactly as sim/bin/wget_https maps them, and logs each request.

    replay_server.py ROOT READY_FILE [--logged-port N] [--fault MODE] [--stats FILE]

Listens on a free port of 127.0.0.1 and writes that port into READY_FILE once it accepts
connections; serves until it gets SIGTERM. Replies come from ROOT/sim/api/ as the stand-in
finds them: the request target /api/PATH, the full PATH first, then PATH without its query;
'?' becomes '@', '&' '+' and '/' '_', plus ".json" (served as it is, status 200) or ".down"
(status 503). A target found nowhere gets 404; every request gets 503 while TAVIO_SIM_API_DOWN
is non-empty or ROOT/sim/api/DOWN exists. Replies are HTTP/1.1 with a Content-Length, and the
connection is kept open.

With TAVIO_STANDIN_LOG set, each request is appended to that file before it is answered:
"http METHOD http://127.0.0.1:N/api/PATH" (N the port given by --logged-port, the one the
case's router files name; the real one without it), then every header line but Host and
Content-Length ("  header: Name: value") and the body's lines ("  body: ..."), as the stand-in
logs the tool's header and body files; tests/e2e/run_case.sh turns the stand-in's lines into
this form to compare. A Host other than 127.0.0.1 and the real port, and any temporary file of
tavio's in ROOT's run directory while a request is served, add a line of their own.

--fault MODE makes the server misbehave on every request (tests/robustness/http_faults.py):
  chunked       the reply in chunks of 7 bytes, each sent on its own
  close         "Connection: close", and the connection closed after the reply
  close-idle    the connection closed after each reply without a word
  http10        an HTTP/1.0 reply without a length, ended by closing the connection
  reset-reused  a connection that carried a reply is reset when the next request comes
  reset         every connection reset when its first request comes
  garbage       bytes that are no HTTP reply, then the close
  truncated     a Content-Length 10 bytes longer than the body, then the close
  big-head      a header field larger than any client should take
  huge          a body one byte longer than 1 MiB
  bad-chunk     chunked with a chunk size that is not a number
  stall         the request is read and never answered
--stats FILE: the number of connections accepted, rewritten after each.
"""
import argparse
import os
import signal
import socket
import socketserver
import struct
import sys
import threading

MAX_HEAD = 64 * 1024
MAX_BODY = 1024 * 1024
FAULTS = ("chunked", "close", "close-idle", "http10", "reset-reused", "reset", "garbage",
          "truncated", "big-head", "huge", "bad-chunk", "stall")
REASONS = {200: "OK", 404: "Not Found", 503: "Service Unavailable"}
TEMPORARY = ("wget_ext_hdr_", "wget_input_", "wget_result_")


def reply_file_name(path):
    return path.replace("?", "@").replace("&", "+").replace("/", "_")


class Replay:
    def __init__(self, root, logged_port, fault, stats):
        self.root, self.logged_port, self.fault, self.stats = root, logged_port, fault, stats
        self.api = os.path.join(root, "sim", "api")
        self.run_dir = os.path.join(root, "var", "run", "dorva", "tavio")
        self.log = os.environ.get("TAVIO_STANDIN_LOG") or None
        self.down = bool(os.environ.get("TAVIO_SIM_API_DOWN"))
        self.lock = threading.Lock()
        self.connections = 0
        self.port = 0
        self.stopping = threading.Event()

    def accepted(self):
        with self.lock:
            self.connections += 1
            if self.stats:
                with open(self.stats, "w", encoding="ascii") as handle:
                    handle.write("%d\n" % self.connections)

    def note(self, method, target, headers, body):
        if not self.log:
            return
        lines = ["http %s http://127.0.0.1:%d%s" % (method, self.logged_port or self.port, target)]
        for name, value in headers:
            if name.lower() == "host":
                if value != "127.0.0.1:%d" % self.port:
                    lines.append("  (Host: %s)" % value)
            elif name.lower() != "content-length":
                lines.append("  header: %s: %s" % (name, value))
        text = body.decode("utf-8", "replace")
        if text:
            lines += ["  body: " + line for line in text.split("\n")[:-1 if text.endswith("\n")
                                                                     else None]]
        try:
            left = sorted(n for n in os.listdir(self.run_dir) if n.startswith(TEMPORARY))
        except OSError:
            left = []
        lines += ["  (temporary file in the run directory: %s)" % name for name in left]
        with self.lock, open(self.log, "a", encoding="utf-8") as handle:
            handle.write("".join(line + "\n" for line in lines))

    def answer(self, target):
        """(status, body) as the stand-in would fare with the target."""
        if self.down or os.path.exists(os.path.join(self.api, "DOWN")):
            return 503, b"{}"
        if not target.startswith("/api/") or target == "/api/":
            return 404, b"{}"
        path = target[len("/api/"):]
        cut = min([at for at in (path.find("?"), path.find("&")) if at >= 0], default=len(path))
        for query in (path, path[:cut]):
            name = os.path.join(self.api, reply_file_name(query))
            if os.path.exists(name + ".down"):
                return 503, b"{}"
            if os.path.isfile(name + ".json"):
                with open(name + ".json", "rb") as handle:
                    return 200, handle.read()
        return 404, b"{}"


def read_request(stream):
    """(method, target, [(name, value)], body), or None when the client closed."""
    line = stream.readline(MAX_HEAD)
    if not line:
        return None
    parts = line.decode("latin-1").rstrip("\r\n").split(" ")
    if len(parts) != 3 or parts[2] != "HTTP/1.1":
        raise ValueError("bad request line %r" % line)
    headers, size = [], len(line)
    while True:
        line = stream.readline(MAX_HEAD)
        size += len(line)
        if not line or size > MAX_HEAD:
            raise ValueError("head cut short or too long")
        text = line.decode("latin-1").rstrip("\r\n")
        if not text:
            break
        name, colon, value = text.partition(":")
        if not colon:
            raise ValueError("bad header line %r" % text)
        headers.append((name, value.strip()))
    length = [int(value) for name, value in headers if name.lower() == "content-length"]
    body = stream.read(length[0]) if length and 0 < length[0] <= MAX_BODY else b""
    return parts[0], parts[1], headers, body


class Handler(socketserver.StreamRequestHandler):
    def handle(self):
        replay = self.server.replay
        replay.accepted()
        self.connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        served = 0
        while True:
            try:
                request = read_request(self.rfile)
            except (ValueError, OSError):
                return
            if request is None:
                return
            method, target, headers, body = request
            replay.note(method, target, headers, body)
            fault = replay.fault
            if fault == "reset" or (fault == "reset-reused" and served > 0):
                return self.reset()
            if fault == "stall":
                replay.stopping.wait()
                return
            status, data = replay.answer(target)
            try:
                if not self.send(fault, status, data):
                    return
            except OSError:
                return  # the client gave up on the reply (a bound, a deadline)
            served += 1

    def reset(self):
        # A close with a zero linger time sends RST instead of FIN; closed here, before the
        # server's own shutdown of the connection would send a FIN first.
        self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.connection.close()

    def send(self, fault, status, data):
        """Sends one reply; False when the connection is to end after it."""
        head = "HTTP/1.1 %d %s\r\n" % (status, REASONS.get(status, "Status"))
        out = self.wfile
        if fault == "chunked":
            out.write((head + "Transfer-Encoding: chunked\r\n\r\n").encode("latin-1"))
            out.flush()
            for at in range(0, len(data), 7):
                piece = data[at:at + 7]
                out.write(b"%x\r\n%s\r\n" % (len(piece), piece))
                out.flush()
            out.write(b"0\r\n\r\n")
        elif fault == "http10":
            out.write(("HTTP/1.0 %d %s\r\n\r\n" % (status, REASONS.get(status, "Status"))).encode()
                      + data)
        elif fault == "garbage":
            out.write(b"<html><body>busy</body></html>\r\n\r\n")
        elif fault == "truncated":
            out.write(("%sContent-Length: %d\r\n\r\n" % (head, len(data) + 10)).encode() + data)
        elif fault == "big-head":
            out.write(("%sX-Filler: %s\r\nContent-Length: %d\r\n\r\n"
                       % (head, "a" * 65536, len(data))).encode() + data)
        elif fault == "huge":
            size = 1024 * 1024 + 1
            out.write(("%sContent-Length: %d\r\n\r\n" % (head, size)).encode())
            out.write(data[:size] + b" " * (size - min(len(data), size)))
        elif fault == "bad-chunk":
            out.write((head + "Transfer-Encoding: chunked\r\n\r\nzz\r\n").encode() + data)
        else:
            close = "Connection: close\r\n" if fault == "close" else ""
            out.write(("%s%sContent-Length: %d\r\n\r\n" % (head, close, len(data))).encode()
                      + data)
        out.flush()
        return fault not in ("close", "close-idle", "http10", "garbage", "truncated", "big-head",
                             "huge", "bad-chunk")


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    allow_reuse_address = True


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("root")
    parser.add_argument("ready_file")
    parser.add_argument("--logged-port", type=int, default=0)
    parser.add_argument("--fault", choices=FAULTS)
    parser.add_argument("--stats")
    args = parser.parse_args(argv)
    replay = Replay(args.root, args.logged_port, args.fault, args.stats)
    server = Server(("127.0.0.1", 0), Handler)
    server.replay = replay
    replay.port = server.server_address[1]

    def stop(*_):
        replay.stopping.set()
        threading.Thread(target=server.shutdown, daemon=True).start()
    signal.signal(signal.SIGTERM, stop)
    signal.signal(signal.SIGINT, stop)
    partial = args.ready_file + ".part"
    with open(partial, "w", encoding="ascii") as handle:
        handle.write("%d\n" % replay.port)
    os.rename(partial, args.ready_file)
    server.serve_forever(poll_interval=0.1)
    server.server_close()
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
