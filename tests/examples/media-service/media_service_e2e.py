#!/usr/bin/env python3
"""End-to-end test of orv_media_service.

Starts the built service on a free loopback port with its console on a pipe, drives it with
curl over a table of requests, checks every answer (status line, content type, JSON body) with
Python's json module, uses the console, and stops the service with "quit", which must end it
with exit code 0 within 5 s. A second run serves the sample catalogue file with standard input
on /dev/null (so without console) and is stopped with SIGTERM.

    media_service_e2e.py <path of orv_media_service> <path of sample-catalogue.json>

The service is always killed if a check fails, so no process is left behind.
"""

import json
import os
import signal
import socket
import subprocess
import sys
import tempfile
import time

STARTUP_DEADLINE = 60.0  # sanitizer builds start slowly on a busy machine
CONSOLE_DEADLINE = 30.0
EXIT_DEADLINE = 5.0

STATUS_TEXTS = {200: "OK", 400: "Bad Request", 404: "NotFound",
                405: "Method Not Allowed", 500: "Internal Server Error"}


class Failure(Exception):
    pass


def check(condition, message):
    if not condition:
        raise Failure(message)


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def curl(url, method="GET", body=None, headers=()):
    """Runs curl and returns (status code, reason phrase, content type, parsed JSON body)."""
    with tempfile.NamedTemporaryFile() as header_file:
        command = ["curl", "-s", "-g", "--max-time", "30", "-X", method,
                   "-D", header_file.name, "-o", "-"]
        for header in headers:
            command += ["-H", header]
        if body is not None:
            command += ["-H", "Content-Type: application/json", "--data-binary", body]
        command.append(url)
        result = subprocess.run(command, stdout=subprocess.PIPE, check=False, timeout=60)
        check(result.returncode == 0, f"curl {method} {url} failed with {result.returncode}")
        header_lines = open(header_file.name, encoding="latin-1").read().splitlines()
    status_line = header_lines[0].split(" ", 2)
    content_type = next((line.split(":", 1)[1].strip() for line in header_lines
                         if line.lower().startswith("content-type:")), "")
    try:
        document = json.loads(result.stdout)
    except ValueError as error:
        raise Failure(f"{method} {url}: body is no JSON ({error}): {result.stdout[:200]!r}")
    return int(status_line[1]), status_line[2] if len(status_line) > 2 else "", content_type, \
        document


class Service:
    """The service process, its console pipe and its captured output."""

    def __init__(self, binary, arguments, console=True):
        self.output = tempfile.TemporaryFile()
        self.errors = tempfile.TemporaryFile()
        self.process = subprocess.Popen(
            [binary] + arguments,
            stdin=subprocess.PIPE if console else subprocess.DEVNULL,
            stdout=self.output, stderr=self.errors)

    def text(self, stream):
        stream.seek(0)
        return stream.read().decode("utf-8", "replace")

    def wait_ready(self, base):
        deadline = time.monotonic() + STARTUP_DEADLINE
        while time.monotonic() < deadline:
            check(self.process.poll() is None,
                  f"the service ended at start-up: {self.text(self.errors)}")
            probe = subprocess.run(["curl", "-s", "-o", "/dev/null", "--max-time", "2",
                                    base + "/media"], check=False)
            if probe.returncode == 0:
                return
            time.sleep(0.1)
        raise Failure("the service did not answer within the start-up deadline")

    def command(self, line, expected):
        """Sends one console line and waits until `expected` appears in the output."""
        before = len(self.text(self.output))
        self.process.stdin.write((line + "\n").encode())
        self.process.stdin.flush()
        deadline = time.monotonic() + CONSOLE_DEADLINE
        while time.monotonic() < deadline:
            answer = self.text(self.output)[before:]
            if expected in answer:
                return answer
            time.sleep(0.05)
        raise Failure(f"console '{line}': no '{expected}' in {self.text(self.output)[before:]!r}")

    def wait_exit(self):
        try:
            return self.process.wait(timeout=EXIT_DEADLINE)
        except subprocess.TimeoutExpired:
            raise Failure(f"the service did not exit within {EXIT_DEADLINE} s")

    def kill(self):
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()


def start(binary, arguments, console=True):
    """Starts the service on a free port; retries if another process took the port first."""
    for _ in range(3):
        port = free_port()
        service = Service(binary, ["--port", str(port)] + arguments, console)
        base = f"http://127.0.0.1:{port}"
        try:
            service.wait_ready(base)
            return service, port, base
        except Failure:
            service.kill()
            if "bind" not in service.text(service.errors).lower():
                raise
    raise Failure("no free port could be bound")


def all_of(base, kind):
    status, _, _, page = curl(f"{base}/media/{kind}?$limit=10000")
    check(status == 200 and page["count"] == page["total"], f"listing all {kind}")
    return page["items"]


def names(page):
    return [item["name"] for item in page["items"]]


def request_table(base, port, tracks, albums):
    """(what, method, path, body, headers, expected status, check of the JSON document)."""
    album = albums[3]
    track = tracks[10]
    by_name = sorted(tracks, key=lambda t: t["name"].upper())
    by_duration_desc = sorted(tracks, key=lambda t: (-t["duration"], t["name"].upper()))
    night = [t for t in tracks if "night" in t["name"].lower()]
    jazz = [a for a in albums if a["genre"] == "jazz"]
    links = f"http://127.0.0.1:{port}/media/"

    def items_have_keys(keys):
        return lambda doc: all(set(item) == keys for item in doc["items"])

    def expanded(value):
        return isinstance(value, dict) and "name" in value

    def is_link(value, kind):
        return isinstance(value, str) and value.startswith(links + kind + "/")

    def error_of(status, text):
        return lambda doc: doc["status"] == status and doc["statusText"] == text \
            and doc["message"]

    def fault_of(code, description):
        return lambda doc: doc["status"] == 500 and doc["errorCode"] == code \
            and doc["errorDescription"] == description

    rate = '{"TrackId": "%s", "Rating": %s}'
    return [
        ("index of kinds", "GET", "/media", None, (), 200,
         lambda doc: doc == {k: links[:-1] + "/" + k for k in ("artists", "albums", "tracks")}),
        ("default page", "GET", "/media/tracks", None, (), 200,
         lambda doc: doc["count"] == 20 and doc["offset"] == 0 and doc["total"] == len(tracks)
         and "$offset=20" in doc["next"] and names(doc) == [t["name"] for t in tracks[:20]]),
        ("paging", "GET", "/media/tracks?$offset=5&$limit=3", None, (), 200,
         lambda doc: [i["id"] for i in doc["items"]] == [t["id"] for t in tracks[5:8]]
         and doc["offset"] == 5 and doc["next"].endswith("$limit=3&$offset=8")),
        ("paging past the end", "GET", "/media/tracks?$offset=100000", None, (), 200,
         lambda doc: doc["count"] == 0 and "next" not in doc),
        ("limit 0", "GET", "/media/albums?$limit=0", None, (), 200,
         lambda doc: doc["count"] == 0 and doc["total"] == len(albums)),
        ("offset by element id", "GET", f"/media/tracks?$offset={track['id']}&$limit=2", None,
         (), 200, lambda doc: doc["offset"] == 10 and doc["items"][0]["id"] == track["id"]),
        ("sort ascending", "GET", "/media/tracks?$sortby=name&$limit=10000", None, (), 200,
         lambda doc: names(doc) == [t["name"] for t in by_name]),
        ("sort descending then ascending", "GET",
         "/media/tracks?$sortby=-duration,name&$limit=10000", None, (), 200,
         lambda doc: [i["id"] for i in doc["items"]] == [t["id"] for t in by_duration_desc]),
        ("fields", "GET", "/media/tracks?$fields=name,duration&$limit=5", None, (), 200,
         items_have_keys({"name", "duration"})),
        ("fields with per-field paging", "GET",
         "/media/albums?$fields=name,tracks($offset:1,$limit:2)&$limit=10000", None, (), 200,
         lambda doc: items_have_keys({"name", "tracks"})(doc) and all(
             item["tracks"] == full["tracks"][1:3] for item, full in zip(doc["items"], albums))),
        ("expand by level 1", "GET", "/media/albums?$expand=1&$limit=2", None, (), 200,
         lambda doc: all(expanded(i["artist"]) and all(expanded(t) for t in i["tracks"])
                         and is_link(i["artist"]["albums"][0], "albums")
                         for i in doc["items"])),
        ("expand by level 2", "GET", "/media/artists?$expand=2&$limit=1", None, (), 200,
         lambda doc: expanded(doc["items"][0]["albums"][0]["tracks"][0])
         and is_link(doc["items"][0]["albums"][0]["tracks"][0]["album"], "albums")),
        ("expand by name", "GET", "/media/tracks?$expand=album&$limit=3", None, (), 200,
         lambda doc: all(expanded(i["album"]) and is_link(i["artist"], "artists")
                         and is_link(i["album"]["artist"], "artists") for i in doc["items"])),
        ("search ignores case", "GET", "/media/tracks?$q=NiGhT&$limit=10000", None, (), 200,
         lambda doc: [i["id"] for i in doc["items"]] == [t["id"] for t in night] and night),
        ("search with an escaped blank", "GET", "/media/tracks?$q=the%20night&$limit=10000",
         None, (), 200,
         lambda doc: doc["total"] > 0 and all("the night" in n.lower() for n in names(doc))),
        ("filter by text field", "GET", "/media/albums?genre=JAZZ&$limit=10000", None, (), 200,
         lambda doc: [i["id"] for i in doc["items"]] == [a["id"] for a in jazz]),
        ("filter by number field", "GET", "/media/tracks?rating=5&$limit=10000", None, (), 200,
         lambda doc: doc["total"] == sum(t["rating"] == 5 for t in tracks) and
         all(i["rating"] == 5 for i in doc["items"])),
        ("filter by link", "GET", f"/media/tracks?album={album['id']}&$sortby=-number", None,
         (), 200, lambda doc: [links[:-1] + i["uri"][len("/media"):] for i in doc["items"]] ==
         list(reversed(album["tracks"]))),
        ("one element", "GET", f"/media/tracks/{track['id']}", None, (), 200,
         lambda doc: doc == track),
        ("one element, some fields", "GET", f"/media/albums/{album['id']}?$fields=name,year",
         None, (), 200, lambda doc: doc == {"name": album["name"], "year": album["year"]}),
        ("links follow the Host header (IPv6)", "GET", f"/media/tracks/{track['id']}", None,
         (f"Host: [::1]:{port}",), 200,
         lambda doc: doc["album"] == f"http://[::1]:{port}/media/albums/" +
         track["album"].rsplit("/", 1)[1]),
        ("unknown kind", "GET", "/media/songs", None, (), 404, error_of(404, "NotFound")),
        ("unknown id", "GET", "/media/tracks/00000000-0000-5000-8000-000000000000", None, (),
         404, error_of(404, "NotFound")),
        ("malformed GUID", "GET", "/media/tracks/not-a-guid", None, (), 400,
         error_of(400, "Bad Request")),
        ("unknown filter field", "GET", "/media/tracks?colour=red", None, (), 400,
         error_of(400, "Bad Request")),
        ("outside /media", "GET", "/elsewhere", None, (), 404, error_of(404, "NotFound")),
        ("wrong method", "DELETE", "/media/tracks", None, (), 405,
         error_of(405, "Method Not Allowed")),
        ("action fault: rating out of range", "POST", "/media/actions/RateTrack",
         rate % (track["id"], 9), (), 500, fault_of(601, "Argument Value Out Of Range")),
        ("action fault: missing argument", "POST", "/media/actions/RateTrack",
         '{"TrackId": "%s"}' % track["id"], (), 500, fault_of(402, "Invalid Args")),
        ("action fault: unknown action", "POST", "/media/actions/Explode", "{}", (), 500,
         fault_of(401, "Invalid Action")),
        ("action", "POST", "/media/actions/RateTrack", rate % (track["id"], 4), (), 200,
         lambda doc: doc == {"action": "RateTrack",
                             "out": {"TrackId": track["id"], "Rating": 4}}),
        ("the action's effect", "GET", f"/media/tracks/{track['id']}?$fields=rating", None, (),
         200, lambda doc: doc == {"rating": 4}),
    ]


def run_table(base, port):
    tracks = all_of(base, "tracks")
    albums = all_of(base, "albums")
    check(len(all_of(base, "artists")) + len(albums) + len(tracks) >= 300,
          "the built-in catalogue holds a few hundred elements")
    failures = []
    table = request_table(base, port, tracks, albums)
    for what, method, path, body, headers, expected, verdict in table:
        try:
            status, reason, content_type, document = curl(base + path, method, body, headers)
            check(status == expected, f"status {status}, expected {expected}")
            check(reason == STATUS_TEXTS[status], f"status text '{reason}'")
            check(content_type == "application/json", f"content type '{content_type}'")
            check(verdict(document), f"unexpected body {json.dumps(document)[:300]}")
        except (Failure, KeyError, IndexError, TypeError) as error:
            failures.append(f"{what} ({method} {path}): {error!r}")
    for failure in failures:
        print("FAIL", failure)
    return len(table), failures, tracks, albums


def run_console(service, tracks, albums):
    service.command("stats", " requests (2xx ")
    listing = service.command("list:albums", albums[-1]["uri"])
    check(listing.count("/media/albums/") == len(albums), "list:albums lists every album")
    track = tracks[0]
    shown = service.command("get:" + track["uri"], track["id"] + '"')
    check(json.loads(shown.strip().splitlines()[-1])["name"] == track["name"], "get:<uri>")
    service.command("quit", "quitting")
    service.process.stdin.close()
    code = service.wait_exit()
    check(code == 0, f"exit code {code} after quit")


def run_catalogue_file(binary, catalogue):
    service, _, base = start(binary, ["--catalogue", catalogue], console=False)
    try:
        status, _, _, page = curl(base + "/media/tracks?$sortby=-duration&$limit=1")
        check(status == 200 and page["total"] == 7 and names(page) == ["The Loom"],
              f"catalogue file served: {page}")
        service.process.send_signal(signal.SIGTERM)
        code = service.wait_exit()
        check(code == 0, f"exit code {code} after SIGTERM")
        check("Command not found!" not in service.text(service.output),
              "no console on /dev/null")
    finally:
        service.kill()


def main():
    binary, catalogue = sys.argv[1], sys.argv[2]
    service, port, base = start(binary, [])
    try:
        count, failures, tracks, albums = run_table(base, port)
        run_console(service, tracks, albums)
    except Failure as error:
        print("FAIL", error)
        print("service stderr:", service.text(service.errors)[-2000:])
        return 1
    finally:
        service.kill()
    try:
        run_catalogue_file(binary, catalogue)
    except Failure as error:
        print("FAIL catalogue file:", error)
        return 1
    print(f"e2e: {count - len(failures)} passed, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
