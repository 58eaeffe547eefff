#!/usr/bin/env python3
"""A server of signatures for tests, on a port of the loopback that it prints.

usage: signatureserver.py FOLDER

FOLDER/mode says how it behaves towards the next request:
  normal     sends FOLDER/<name>, or 304 to who has it
  always     sends it in any case
  slow       the same, in small pieces over some seconds
  stall      sends half and then nothing
  cut        closes the connection half way
  unended    the same without having told the length
  garbage    sends something that is no database
  missing    404
  broken     500
  cooldown   429 and wishes to be left alone for an hour
  forbidden  403
  huge       more than the disk of the test holds
FOLDER/log gets a line for each answer.
"""
import email.utils
import http.server
import os
import sys
import time

folder = sys.argv[1]


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.0"

    def note(self, what):
        with open(os.path.join(folder, "log"), "a") as log:
            log.write(what + "\n")

    def log_message(self, *arguments):
        pass

    def refuse(self, code):
        self.note(str(code))
        self.send_response(code)
        if code == 429:
            self.send_header("Retry-After", "3600")
        self.send_header("Content-Length", "0")
        self.end_headers()

    def unchanged(self, when):
        since = self.headers.get("If-Modified-Since")
        return since and email.utils.parsedate_to_datetime(since).timestamp() >= when

    def send(self, pieces, pause):
        for piece in pieces:
            self.wfile.write(piece)
            self.wfile.flush()
            time.sleep(pause)

    def do_GET(self):
        with open(os.path.join(folder, "mode")) as file:
            mode = file.read().strip()
        refusals = {"missing": 404, "broken": 500, "cooldown": 429, "forbidden": 403}
        if mode in refusals:
            return self.refuse(refusals[mode])
        path = os.path.join(folder, os.path.basename(self.path))
        when = int(os.stat(path).st_mtime)
        if mode != "always" and self.unchanged(when):
            return self.refuse(304)
        with open(path, "rb") as file:
            body = file.read()
        if mode == "garbage":
            body = b"<html>".ljust(len(body), b"x") + b"\n"
        length = (1 << 30) if mode == "huge" else len(body)
        self.note("200")
        self.send_response(200)
        if mode != "unended":
            self.send_header("Content-Length", str(length))
        # What does not claim to be newer is not taken.
        claim = int(time.time()) + 3600 if mode == "always" else when
        self.send_header("Last-Modified", email.utils.formatdate(claim, usegmt=True))
        self.end_headers()
        half = body[: len(body) // 2]
        try:
            if mode == "slow":
                size = max(1, len(body) // 40)
                self.send([body[at : at + size] for at in range(0, len(body), size)], 0.1)
            elif mode == "stall":
                self.send([half], 600)
            elif mode in ("cut", "unended"):
                self.send([half], 0)
            elif mode == "huge":
                self.send((b"0" * 65536 for _ in range(1 << 14)), 0)
            else:
                self.send([body], 0)
        except OSError:
            pass  # the client has gone


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
server.daemon_threads = True
print(server.server_address[1], flush=True)
server.serve_forever()
