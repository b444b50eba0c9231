#!/usr/bin/env python3
"""Timestamp authorities for tests: authority.py DIRECTORY PORT [DATA]

The stamps are those of "openssl ts -reply". The root of its certificates is DIRECTORY/root.pem. One
port of the loopback interface takes plain connections, and TLS ones by DIRECTORY/tls/good.pem:

    /tsa     an authority by RFC 3161
    /token   bearer tokens for the client "client-of-test" with "secret-of-test", each another one
    /json    the JSON service, for whoever has the last of them

A request that differs in any byte from what it should be is answered with the status 400, so is one
with another imprint than that of the file DATA. The query of a path names a fault of the answer.
The port, of the kernel's choice for 0, is printed once it is listened on. The file "requests" gets
a line with the path of each request, "token.der" the token that was made last.
"""
import base64
import hashlib
import json
import os
import re
import socket
import socketserver
import ssl
import struct
import subprocess
import sys
import threading

MAKE_CERTIFICATES = """
new="openssl req -batch -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes"
$new -x509 -days 2 -subj "/CN=Root of tests" -keyout root.key -out root.pem
sign() { # file, issuer, extensions
    printf '%b' "$3" > $1.ext
    $new -subj "/CN=$1 of tests" -keyout $1.key |
        openssl x509 -req -CA $2.pem -CAkey $2.key -set_serial 2 -days 2 -extfile $1.ext > $1.pem
}
sign issuing root 'basicConstraints=critical,CA:true\\n'
sign signer issuing 'keyUsage=digitalSignature\\nextendedKeyUsage=critical,timeStamping\\n'
echo 01 > serial
"""

CONFIGURATION = """
[tsa]
serial = serial
signer_cert = signer.pem
signer_key = signer.key
certs = issuing.pem
signer_digest = sha256
default_policy = 1.2.3.4.1
digests = sha1, sha256, sha384, sha512
ess_cert_id_alg = sha256
"""

DIGESTS = {  # the last octets of the identifier: name, of the data, identifier
    "2.16.840.1.101.3.4.2.1": ("sha256", "608648016503040201"),
    "2.16.840.1.101.3.4.2.2": ("sha384", "608648016503040202"),
    "2.16.840.1.101.3.4.2.3": ("sha512", "608648016503040203"),
    "1.3.14.3.2.26": ("sha256", "2b0e03021a"),  # SHA-1, which no data are hashed with
}

lock = threading.Lock()
directory, data, bearers = "", None, [""]


def der(tag, content):
    size = bytes([len(content)]) if len(content) < 128 else bytes([0x81, len(content)])
    return bytes([tag]) + size + content


def make_query(oid, imprint, nonce):
    algorithm = der(0x30, der(6, bytes.fromhex(DIGESTS[oid][1])) + der(5, b""))
    number = b"" if nonce is None else der(2, nonce.to_bytes(nonce.bit_length() // 8 + 1, "big"))
    return der(0x30, der(2, b"\1") + der(0x30, algorithm + der(4, imprint)) + number +
               der(1, b"\xff"))


def is_expected(oid, imprint, nonce):
    right = data is None or hashlib.new(DIGESTS[oid][0], data).digest() == imprint
    return right and 1 << 48 <= nonce < 1 << 56


def read_query(query):
    """Digest, imprint and nonce, if the octets are just what they make."""
    for oid, (name, octets) in DIGESTS.items():
        at = query.find(bytes.fromhex(octets))
        size = hashlib.new(name).digest_size
        if at >= 0:
            imprint = query[at + len(octets) // 2 + 4:][:size]
            rest = query[at + len(octets) // 2 + 4 + size:]
            nonce = int.from_bytes(rest[2:-3], "big")
            if make_query(oid, imprint, nonce) == query and is_expected(oid, imprint, nonce):
                return oid, imprint, nonce
    return None


def stamp(fault, oid, imprint, nonce, *form):
    """A response or, with "-token_out", a token, with a fault."""
    if fault == "other-nonce":
        nonce ^= 1
    if fault == "no-nonce":
        nonce = None
    if fault == "other-imprint":
        imprint = bytes([imprint[0] ^ 1]) + imprint[1:]
    with lock:
        with open("query", "wb") as file:
            file.write(make_query(oid, imprint, nonce))
        with open("serial", "w") as file:
            file.write("01\n")
        answer = subprocess.run(
            ["openssl", "ts", "-reply", "-config", "tsa.cnf", "-section", "tsa", "-queryfile",
             "query", *form], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
    if fault == "version":
        answer = answer.replace(b"\x02\x01\x01\x06\x04", b"\x02\x01\x02\x06\x04")
    if fault == "signature":
        answer = answer[:-1] + bytes([answer[-1] ^ 1])
    if fault == "truncated":
        answer = answer[:-10]
    if fault == "not-der":
        answer = b"This is no DER."
    if fault == "empty":
        answer = b""
    with open("token.der", "wb") as file:
        file.write(answer if form else answer[answer.find(b"\x30\x82", 4):])
    return answer + b"x" if fault == "trailing" else answer


def host_of(head):
    return "127.0.0.1" if "\r\nHost: 127.0.0.1\r\n" in head else "localhost"


def answer_tsa(target, fault, head, body):
    expected = (f"POST {target} HTTP/1.0\r\nUser-Agent: QORVS\r\nHost: {host_of(head)}\r\n"
                "Content-Type: application/timestamp-query\r\nAccept: application/timestamp-reply"
                f"\r\nConnection: Close\r\nContent-Length: {len(body)}\r\n\r\n")
    query = read_query(body)
    if head != expected or query is None:
        return 400, b""
    return 200, stamp(fault, *query)


def answer_token(target, fault, head, body):
    form = (b"grant_type=client_credentials&client_id=client-of-test&"
            b"client_secret=secret-of-test&scope=openid")
    expected = (f"POST {target} HTTP/1.0\r\nUser-Agent: QORVS\r\nHost: {host_of(head)}\r\n"
                f"Content-Type: application/x-www-form-urlencoded\r\n"
                f"Content-Length: {len(form)}\r\n\r\n")
    if head != expected or body != form:
        return 400, b""
    bearers.append("" if fault == "no-bearer" else f"bearer{len(bearers)}-of-test")
    if fault == "not-json":
        return 200, b'{ "bearer-of-test" : 1, bearer-of-test }'
    name = "other" if fault == "no-bearer" else "access_token"
    return 200, json.dumps({"expires_in": 3600, name: bearers[-1] or "x"}).encode()


def answer_json(target, fault, head, body):
    expected = (f"POST {target} HTTP/1.0\r\nUser-Agent: QORVS\r\nHost: {host_of(head)}\r\n"
                f"Content-Type: application/json\r\nAuthorization: Bearer {bearers[-1]}\r\n"
                f"Connection: Close\r\nContent-Length: {len(body)}\r\n\r\n")
    query = re.fullmatch(r'\{"certReq": true,"hashAlgorithm": "([0-9.]*)",'
                         r'"hashedMessage": "((?:[0-9A-F]{2})*)","nonce": ([1-9][0-9]*)}',
                         body.decode("latin-1"))
    if head != expected or not query:
        return 400, b""
    oid, imprint, nonce = query[1], bytes.fromhex(query[2]), int(query[3])
    if not is_expected(oid, imprint, nonce):
        return 400, b""
    text = base64.b64encode(stamp(fault, oid, imprint, nonce, "-token_out")).decode()
    if fault == "bad-character":
        text = text[:1300] + "!" + text[1301:]
    if fault == "broken-line":
        text = text[:64] + "\n" + text[64:]
    if fault == "line-at-end":
        text += "\n"
    if fault == "not-json":
        return 200, b"{\"base64Token\" \"" + text.encode()
    return 200, json.dumps({"other" if fault == "no-token" else "base64Token": text}).encode()


class Handler(socketserver.BaseRequestHandler):
    def handle(self):
        connection = self.request
        if connection.recv(1, socket.MSG_PEEK) == b"\x16":
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain("tls/good.pem")
            connection = context.wrap_socket(connection, server_side=True)
        with connection, connection.makefile("rb") as stream:
            head = b""
            while not head.endswith(b"\r\n\r\n"):
                line = stream.readline()
                if not line:
                    return
                head += line
            head = head.decode("latin-1")
            body = stream.read(int(re.search("Content-Length: ([0-9]+)", head)[1]))
            target = head.split(" ")[1]
            path, _, fault = target.partition("?")
            with lock, open("requests", "a") as file:
                file.write(path + "\n")
            answer = {"/tsa": answer_tsa, "/token": answer_token, "/json": answer_json}[path]
            status, content = answer(target, fault, head, body)
            status = int(fault) if fault.isdigit() else status
            connection.sendall(f"HTTP/1.0 {status} Status\r\n\r\n".encode() +
                               (content[:100] if fault == "reset" else content))
            if fault == "reset":
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER,
                                      struct.pack("ii", 1, 0))


class Server(socketserver.ThreadingTCPServer):
    allow_reuse_address = daemon_threads = True
    request_queue_size = 32


if __name__ == "__main__":
    if len(sys.argv) > 3:
        with open(sys.argv[3], "rb") as source:
            data = source.read()
    os.chdir(sys.argv[1])
    subprocess.run(["sh", "-ec", MAKE_CERTIFICATES], check=True, stdout=sys.stderr)
    with open("tsa.cnf", "w") as settings:
        settings.write(CONFIGURATION)
    server = Server(("127.0.0.1", int(sys.argv[2])), Handler)
    print(server.server_address[1], flush=True)
    server.serve_forever()
