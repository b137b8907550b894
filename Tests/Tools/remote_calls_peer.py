#!/usr/bin/env python3
"""Speaks the protocol of remote calls, written from docs/formats.md alone, with `korvale control` as a client and with
`korvale ping` as a server, with each cipher and in both byte orders; and runs the two against each other.

Usage: remote_calls_peer.py KORVALE
"""

import contextlib
import json
import pathlib
import re
import signal
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import urllib.request

LIMIT = 20.0  # seconds; everything takes a fraction of one on a machine that has nothing else to do
CONTROL = bytes.fromhex("000007EA")  # the preamble: revision 0 of class 2026
ASYNCHRONOUS = 1 << 31
MILLISECONDS = r"\d+\.\d{3} ms"

faults = []


def check(condition, *what):
    if not condition:
        faults.append(" ".join(map(str, what)))


def transform(number):
    return int(number * 1.5) & 0xFFFFFFFF


def rc4(key):
    """The key stream."""
    state, j = list(range(256)), 0
    for i in range(256):
        j = (j + state[i] + key[i % len(key)]) % 256
        state[i], state[j] = state[j], state[i]
    i = j = 0
    while True:
        i = (i + 1) % 256
        j = (j + state[i]) % 256
        state[i], state[j] = state[j], state[i]
        yield state[(state[i] + state[j]) % 256]


def tea(block, key, order, encipher):
    a, b = struct.unpack(order + "II", block)
    k = struct.unpack(">IIII", key)
    delta, mask = 0x9E3779B9, 0xFFFFFFFF
    mix = lambda v, total, left, right: ((v << 4) + left ^ v + total ^ (v >> 5) + right) & mask
    for turn in range(32):
        total = delta * (turn + 1 if encipher else 32 - turn) & mask
        if encipher:
            a = a + mix(b, total, k[0], k[1]) & mask
            b = b + mix(a, total, k[2], k[3]) & mask
        else:
            b = b - mix(a, total, k[2], k[3]) & mask
            a = a - mix(b, total, k[0], k[1]) & mask
    return struct.pack(order + "II", a, b)


class Conversation:
    """Either end of a connection, in Motorola order at first."""

    def __init__(self, connection, cipher, key):
        self.connection, self.cipher, self.key, self.order = connection, cipher, key, ">"
        connection.settimeout(LIMIT)
        self.sent, self.received = rc4(key), rc4(key)

    def write(self, *numbers):
        data = b""
        for number in numbers:
            plain = struct.pack(self.order + "I", number)
            data += tea(plain + bytes(4), self.key, self.order, True) if self.cipher == "tea" else plain
        if self.cipher == "rc4":
            data = bytes(byte ^ next(self.sent) for byte in data)
        self.connection.sendall(data)

    def read(self, form="I"):
        """A number of this form; None at the end of the connection."""
        size = struct.calcsize(form)
        data = b""
        while len(data) < (8 if self.cipher == "tea" else size):
            try:
                byte = self.connection.recv(1)
            except ConnectionError:
                return None
            if not byte:
                return None
            data += byte
        if self.cipher == "rc4":
            data = bytes(byte ^ next(self.received) for byte in data)
        elif self.cipher == "tea":
            data = tea(data, self.key, self.order, False)
        return struct.unpack(self.order + form, data[:size])[0]

    def call(self, code, *arguments, result=None):
        """The status, and the result of this form after status 0."""
        self.write(code, *arguments)
        status = self.read()
        return (status, self.read(result)) if result and status == 0 else status

    def open(self):
        status, sentinel = self.call(1000, 1000, 0, result="I")
        check(sentinel != 0, "a sentinel of 0")
        check(self.call(1001, transform(sentinel), 3, result="I") == (0, 4), "wrong answer to a challenge")


# ---- A client of `korvale control`


def check_client(address, preamble, cipher, key):
    what = (cipher, preamble.hex())

    def connect():
        connection = socket.create_connection(address, LIMIT)
        connection.sendall(preamble)
        return Conversation(connection, cipher, key)

    peer = connect()
    statuses = [peer.call(1000, *arguments) for arguments in ((999, 0), (1001, 0), (1000, 7))]
    check(statuses == [3093, 3092, 3092], *what, "versions", statuses)
    peer.open()
    for order in (0, 1, 0):
        check(peer.call(1002, order, result="I") == (0, order), *what, "order", order)
        peer.order = "<>"[order]
        check(peer.call(1005) == 0, *what, "CheckAlive")
        peer.write(1005 | ASYNCHRONOUS)
        supported = [peer.call(1003, code, result="B") for code in (1005, 4242)]
        check(supported == [(0, 1), (0, 0)], *what, "supported", supported)
    check(peer.call(4242) == 3091 and peer.read() is None, *what, "unknown call")
    early = connect()
    check(early.call(1005) == 3094 and early.read() is None, *what, "before authentication")
    wrong = connect()
    _, sentinel = wrong.call(1000, 1000, 0, result="I")
    wrong.write(1001, transform(sentinel) + 1, 3)
    check(wrong.read() is None, *what, "wrong sentinel")


@contextlib.contextmanager
def control(program, *options):
    """Runs the service; gives where it listens, has its page and plain bridges. Ends it by SIGTERM."""
    arguments = [program, "--log", "/dev/null", "control", "--listen", "127.0.0.1:0", "--http", "127.0.0.1:0",
                 "--plain-port", "0", *options]
    process = subprocess.Popen(arguments, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    try:
        lines = [process.stdout.readline() for _ in range(3)]
        forms = [r"listening on 127.0.0.1:(\d+)\n", r"status page on http://127.0.0.1:(\d+)/\n",
                 r"plain bridges on 127.0.0.1:(\d+)\n"]
        matches = [re.fullmatch(form, line) for form, line in zip(forms, lines)]
        if not all(matches):
            raise RuntimeError(f"{lines} {process.stderr.read()}")
        yield [("127.0.0.1", int(match[1])) for match in matches]
        begin = time.monotonic()
        process.send_signal(signal.SIGTERM)
        rest = process.communicate(timeout=LIMIT)
        check(process.returncode == 0 and rest == ("", ""), "control: status", process.returncode, *rest)
        print(f"control {' '.join(options)}: ended within {time.monotonic() - begin:.3f} s")
    finally:
        process.kill()
        process.wait()


def check_without_output(program):
    """Nobody would learn where the service listens."""
    for output in (">&-", ">/dev/full"):
        result = subprocess.run(["sh", "-c", f'exec "$0" "$@" {output}', program, "--log", "/dev/null", "control",
                                 "--listen", "127.0.0.1:0", "--cipher", "none"],
                                stderr=subprocess.PIPE, text=True, timeout=LIMIT)
        check(result.returncode == 1 and "standard output" in result.stderr, "control without output:", result)


def ping(program, address, *options):
    place = f"{address[0]}:{address[1]}"
    return subprocess.run([program, "--log", "/dev/null", "ping", place, "--count", "5", *options],
                          capture_output=True, text=True, timeout=LIMIT)


def expect_ping(program, address, *options):
    result = ping(program, address, *options)
    form = (rf"127.0.0.1:\d+: connected in {MILLISECONDS}\n"
            rf"5 calls: minimum {MILLISECONDS}, median {MILLISECONDS}, maximum {MILLISECONDS}\n")
    check(result.returncode == 0 and re.fullmatch(form, result.stdout), "ping", options, result)


def expect_failure(program, address, text, *options):
    result = ping(program, address, *options)
    check(result.returncode == 1 and text in result.stderr and "calls" not in result.stdout, "ping", options, text, result)


def check_control(program, keys, other_keys, cipher):
    key = bytes.fromhex((keys / "key").read_text())
    protection = ["--keys", str(keys), "--cipher", cipher]
    with control(program, *protection) as (main, page, plain):
        check_client(main, CONTROL, cipher, key)
        check_client(plain, b"", cipher, key)
        expect_ping(program, main, *protection)
        expect_ping(program, plain, "--plain", *protection)
        if cipher != "none":
            expect_failure(program, main, "korvale: 127.0.0.1:", "--keys", str(other_keys), "--cipher", cipher)
        stranger = socket.create_connection(main, LIMIT)  # stays, and keeps nobody
        opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))
        with opener.open(f"http://127.0.0.1:{page[1]}/", timeout=LIMIT) as reply:
            check(b"Korvale control service" in reply.read(), "status page")
        for port, options in ((main[1], ["--listen", f"127.0.0.1:{main[1]}"]),
                              (plain[1], ["--listen", "127.0.0.1:0", "--plain-port", str(plain[1])])):
            in_use = subprocess.run([program, "--log", "/dev/null", "control", *options, *protection],
                                    capture_output=True, text=True, timeout=LIMIT)
            texts = f"korvale: 127.0.0.1:{port}: ", f"port {port}"
            check(in_use.returncode == 1 and all(text in in_use.stderr for text in texts), "port in use:", in_use)
    stranger.close()


def check_interrupted_client(program, folder):
    """A client that is interrupted logs off, so that nodes do not go on with its jobs."""
    options = ["--cipher", "none"]
    subprocess.run([program, "--log", "/dev/null", "sample", folder, "--planes", "50", "-q"], check=True)
    with control(program, *options) as (main, _, _):
        place = f"127.0.0.1:{main[1]}"

        def start(*arguments):
            return subprocess.Popen([program, "--log", "/dev/null", *arguments, *options], stdout=subprocess.DEVNULL,
                                    stderr=subprocess.DEVNULL)

        def clients():
            status = subprocess.run([program, "--log", "/dev/null", "status", place, "--json", *options],
                                    capture_output=True, timeout=LIMIT, check=True)
            return json.loads(status.stdout)["clients"]

        node = start("node", "--control", place, "--workers", "1")
        images = 100 * [f"{folder}/sample.tif"]
        client = start("measure", "--control", place, "-o", f"{folder}/objects.table", *images)
        deadline = time.monotonic() + LIMIT
        while not any(client["completed"] for client in clients()) and time.monotonic() < deadline:
            time.sleep(0.05)
        for process, status in ((client, 130), (node, 0)):
            process.send_signal(signal.SIGTERM)
            check(process.wait(LIMIT) == status, "status after an interrupt:", process.returncode)
            check(clients() == [], "a client that has not logged off")


# ---- A server of `korvale ping`


def serve(listener, preamble, cipher, key, refusal, calls):
    connection, _ = listener.accept()
    with connection:
        peer = Conversation(connection, cipher, key)
        received = b"".join(connection.recv(1) for _ in preamble)
        check(received == preamble, "preamble", received.hex())
        while (code := peer.read()) is not None:
            calls.append(code)
            answer(peer, code, refusal)


def answer(peer, code, refusal):
    if code == 1000:
        arguments = peer.read(), peer.read()
        check(arguments == (1000, 0), "InitiateConversation", arguments)
        peer.write(*([refusal] if refusal else [0, 1001]))
    elif code == 1001:
        check(peer.read() == 1501, "answer to the sentinel")
        challenge = peer.read()
        peer.write(0, transform(challenge) if refusal is not False else challenge)
    elif code == 1002:
        order = peer.read()
        peer.write(0, order)
        peer.order = "<>"[order]
    else:
        peer.write(0 if code == 1005 else 3091)


def check_server(program, keys, preamble, cipher, refusal=None):
    """`refusal` is a status for the first call; False answers the challenge wrongly."""
    options = ["--keys", str(keys), "--cipher", cipher] + ([] if preamble else ["--plain"])
    calls = []
    with socket.create_server(("127.0.0.1", 0)) as listener:
        listener.settimeout(LIMIT)
        key = bytes.fromhex((keys / "key").read_text())
        thread = threading.Thread(target=serve, args=(listener, preamble, cipher, key, refusal, calls))
        thread.start()
        if refusal is None:
            expect_ping(program, listener.getsockname(), *options)
            check(calls == [1000, 1001, 1002] + 5 * [1005], "calls", calls)
        else:
            text = "not compatible with the version" if refusal == 3092 else "RPC"
            expect_failure(program, listener.getsockname(), text, *options)
        thread.join()


def main():
    program = str(pathlib.Path(sys.argv[1]).resolve())
    with tempfile.TemporaryDirectory(prefix="korvale-test-") as name:
        keys, other_keys = pathlib.Path(name) / "keys", pathlib.Path(name) / "other"
        for folder in (keys, other_keys):
            subprocess.run([program, "--log", "/dev/null", "keys", str(folder), "-q"], check=True)
        for cipher in ("none", "rc4", "tea"):
            check_control(program, keys, other_keys, cipher)
            for preamble in (CONTROL, b""):
                check_server(program, keys, preamble, cipher)
        for refusal in (3092, 3093, False):
            check_server(program, keys, CONTROL, "rc4", refusal)
        check_without_output(program)
        check_interrupted_client(program, f"{name}/sample")
        with control(program, "--keys", str(keys), "--tls") as (main, _, plain):
            expect_ping(program, main, "--keys", str(keys), "--tls")
            expect_ping(program, plain, "--plain", "--keys", str(keys), "--tls")
            expect_failure(program, main, "korvale: 127.0.0.1:", "--keys", str(other_keys), "--tls")
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
