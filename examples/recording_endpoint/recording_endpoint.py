#!/usr/bin/env python3
"""An endpoint for recordings of the log: shows the lines as they come and answers each post.

Every post is one block of the log, numbered by "&id=" at the end of its target; what stands before
it names the log. A block counts once it is answered with 200; the blocks of a log are joined in the
order of their numbers, each number once. Start it with a certificate and its key, and give the
address that it prints, with a query, to StartRemoteLogsRecord:

    recording_endpoint.py --certificate cert.pem --key key.pem

It can be told to fail, on the posts of given places ("--fail 3=500,7=close") or at random
("--fail-rate 0.01 --seed 7"), in these ways; a post that it fails is not kept:

    500, 401    the status instead of 200
    close       no answer, and the connection is closed
    reset       the same with a reset
    silence     no answer to this post and the next ones for a moment, then close
    split       200 in two pieces
    freeze=SEC  nothing is read for so many seconds, then 200 (only with --fail, as "3=freeze:10")

GET, of any target, shows all logs. SIGINT and SIGTERM end it with a summary.
"""

import argparse
import random
import re
import signal
import socket
import ssl
import struct
import sys
import threading
import time

RANDOM_FAILURES = ("500", "close", "reset", "silence", "split")
SILENT_SECONDS = 0.2
CLOSING_SECONDS = 2.0


class Blocks:
    """What has been accepted, by number, and how each post is to be answered."""

    def __init__(self, options):
        self.lock = threading.Lock()
        self.logs = {}
        self.posts = 0
        self.rate = options.fail_rate
        self.random = random.Random(options.seed)
        self.failures = dict(part.split("=", 1) for part in options.fail.split(",") if part)

    def choose(self):
        with self.lock:
            self.posts += 1
            wanted = self.failures.get(str(self.posts))
            if wanted is None and self.random.random() < self.rate:
                wanted = self.random.choice(RANDOM_FAILURES)
            return wanted

    def accept(self, log, number, body):
        with self.lock:
            blocks = self.logs.setdefault(log, {})
            if number in blocks:
                return
            blocks[number] = body
            sys.stdout.buffer.write(body)
            sys.stdout.buffer.flush()

    def joined(self):
        with self.lock:
            return b"".join(
                body for blocks in self.logs.values() for _, body in sorted(blocks.items()))


def read_request(stream):
    """The request line and the body of the next request, or None at the end of the connection."""
    request = stream.readline()
    length = 0
    for line in iter(stream.readline, b"\r\n"):
        if not line:
            return None
        name, _, value = line.partition(b":")
        if name.lower() == b"content-length":
            length = int(value)
    body = stream.read(length)
    return (request, body) if request and len(body) == length else None


def reply(connection, text):
    """Sends an answer. A client that ended right behind its last post does not hear it, and what it
    has sent is read all the same."""
    try:
        connection.sendall(text)
    except OSError:
        pass


def answer(blocks, connection, request, body):
    """Answers one request; false when the connection is to be closed."""
    found = re.match(rb"POST (\S*)&id=(-?\d+) HTTP/1\.[01]\r\n$", request)
    if not found:
        reply(connection, b"HTTP/1.0 200 OK\r\n\r\n" + blocks.joined())
        return False
    way = blocks.choose() or "200"
    if way in ("500", "401"):
        reply(connection, b"HTTP/1.0 " + way.encode() + b" Refused\r\n\r\n")
        return True
    if way == "reset":
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    if way in ("close", "reset"):
        return False
    if way == "silence":
        time.sleep(SILENT_SECONDS)
        return False
    if way.startswith("freeze:"):
        time.sleep(float(way.partition(":")[2]))
    blocks.accept(found.group(1), int(found.group(2)), body)
    if way == "split":
        reply(connection, b"HTTP/1.0 2")
        time.sleep(SILENT_SECONDS)
        reply(connection, b"00 OK\r\n\r\n")
    else:
        reply(connection, b"HTTP/1.0 200 OK\r\n\r\n")
    return True


def serve(blocks, context, client):
    try:
        client.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        with context.wrap_socket(client, server_side=True) as connection:
            stream = connection.makefile("rb")
            while True:
                request = read_request(stream)
                if request is None or not answer(blocks, connection, *request):
                    return
    except (OSError, ValueError):
        pass  # the client went away
    finally:
        client.close()


def parse_options():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--certificate", required=True)
    parser.add_argument("--key", required=True)
    parser.add_argument("--port", type=int, default=0, help="0 takes a free one")
    parser.add_argument("--fail", default="", help="PLACE=WAY,... counted from 1")
    parser.add_argument("--fail-rate", type=float, default=0.0)
    parser.add_argument("--seed", type=int, default=0)
    return parser.parse_args()


def main():
    options = parse_options()
    blocks = Blocks(options)
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(options.certificate, options.key)
    listener = socket.create_server(("127.0.0.1", options.port))
    print(f"https://127.0.0.1:{listener.getsockname()[1]}/record", flush=True)

    def end(_signal, _frame):
        # What clients that have ended left behind is read first.
        last = time.monotonic() + CLOSING_SECONDS
        for thread in threading.enumerate():
            if thread is not threading.main_thread():
                thread.join(max(0.0, last - time.monotonic()))
        accepted = sum(len(log) for log in blocks.logs.values())
        print(f"{blocks.posts} posts, {accepted} accepted", flush=True)
        sys.exit(0)

    signal.signal(signal.SIGTERM, end)
    signal.signal(signal.SIGINT, end)
    while True:
        client, _ = listener.accept()
        threading.Thread(target=serve, args=(blocks, context, client), daemon=True).start()


if __name__ == "__main__":
    main()
