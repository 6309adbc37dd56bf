#!/usr/bin/env python3
# End-to-end test of orv_media_service.
#
# Starts the built service (--port 0; the port is read from its first line) with its console on
# a pipe, sends every row of the request table with curl and checks status line, content type
# and body, uses the console and stops the service with "quit", which must end it with exit
# code 0 within 5 s. A second run serves the sample catalogue file with standard input on
# /dev/null (so without console) and is stopped with SIGTERM. A third run, with short deadlines
# and a small connection cap, takes the abuse table over raw sockets. The service is always
# killed when a check fails.
#
#     media_service_e2e.py <path of orv_media_service> <path of sample-catalogue.json>
#
# Every body must be compact JSON with sorted keys, as the library's writer promises. Expected
# bodies come from the service's full listings where they can, so that a row states its rule
# rather than a copy of the answer; ids are pinned where the README shows them.

import json, os, re, select, signal, socket, subprocess, sys, tempfile, time  # noqa: E401

DEADLINE = 60.0  # start-up and console answers; sanitizer builds start slowly on a busy machine
TEXTS = {200: "OK", 400: "Bad Request", 404: "NotFound", 405: "Method Not Allowed",
         408: "Request Time-out", 413: "Request Entity Too Large", 414: "Request-URI Too Large",
         431: "Request Header Fields Too Large", 500: "Internal Server Error",
         503: "Service Unavailable"}
FAULTS = {401: "Invalid Action", 402: "Invalid Args", 600: "Argument Value Invalid",
          601: "Argument Value Out Of Range"}
STARTED = []  # every service process, killed at the end whatever happened


def check(condition, message):
    if not condition:
        raise AssertionError(message)


# Sends "METHOD /path [JSON body]" (`extra`: more curl arguments); returns the head and the body.
def curl(base, request, extra=()):
    method, path, *body = request.split(" ", 2)
    data = ["-H", "Content-Type: application/json", "--data-binary", body[0]] if body else []
    command = ["curl", "-s", "-g", "-i", "--max-time", "30", "-X", method, *data, *extra]
    out = subprocess.run(command + [base + path], stdout=subprocess.PIPE, check=True, timeout=60)
    return out.stdout.decode().partition("\r\n\r\n")[::2]


# Rows: (request, status, the expected JSON value or a check of it, [extra curl arguments]);
# None stands for the error body of the status.
def request_table(port, tracks, albums, artists):
    media = f"http://127.0.0.1:{port}/media/"
    by_link = {media[:-7] + element["uri"]: element for element in tracks + albums + artists}
    track, album, all_ = tracks[10], albums[3], "&$limit=10000"
    name = lambda element: element["name"].upper()  # noqa: E731
    on_album, by_name = [by_link[link] for link in album["tracks"]], sorted(tracks, key=name)
    at = by_name.index(track)

    def grow(value, level):  # the value with its links replaced by the elements, `level` deep
        if isinstance(value, dict):
            return {key: grow(member, level) for key, member in value.items()}
        if isinstance(value, list):
            return [grow(member, level) for member in value]
        return grow(by_link[value], level - 1) if level and value in by_link else value

    def page(kind, items, limit, offset, total, next_query=None):
        doc = {"kind": kind, "total": total, "offset": offset, "limit": limit,
               "count": len(items), "items": items}
        return dict(doc, next=f"{media}{kind}?{next_query}") if next_query else doc

    def items(expected):
        return lambda doc: doc["items"] == expected

    def rate(track_id, rating):
        return "POST /media/actions/RateTrack " + json.dumps(dict(TrackId=track_id, Rating=rating))

    return [
        ("GET /media", 200, {kind: media + kind for kind in ("artists", "albums", "tracks")}),
        # ids are hashes of stable names: the same on every machine
        ("GET /media/tracks?$fields=id,name&$limit=1", 200, items(
            [{"id": "785b66bf-3361-51d3-8147-3aa3a32317ae", "name": "Running from the Stars"}])),
        # paging by count or from an element's id; an empty offset counts as 0, a limit that is
        # no number as 0
        ("GET /media/tracks", 200, page("tracks", tracks[:20], 20, 0, 422, "$limit=20&$offset=20")),
        ("GET /media/tracks?$offset=5&$limit=3", 200,
         page("tracks", tracks[5:8], 3, 5, 422, "$limit=3&$offset=8")),
        (f"GET /media/tracks?$sortby=name&$offset={track['id']}&$limit=2", 200, page("tracks",
         by_name[at:at + 2], 2, at, 422, f"$limit=2&$offset={at + 2}&$sortby=name")),
        *[(f"GET /media/tracks?{key}=", 200, items(tracks[:20])) for key in ("$offset", "$q")],
        ("GET /media/tracks?$offset=100000", 200, page("tracks", [], 20, 422, 422)),
        ("GET /media/albums?$limit=0", 200, page("albums", [], 0, 0, 58)),
        ("GET /media/artists?$limit=x", 200, page("artists", [], 0, 0, 20)),
        # sorting: case ignored, ties in catalogue order, empty names skipped
        ("GET /media/tracks?$sortby=name" + all_, 200, items(by_name)),
        ("GET /media/tracks?$sortby=,-duration,,name," + all_, 200,
         items(sorted(tracks, key=lambda t: (-t["duration"], name(t))))),
        # fields, and list fields paged on their own (also in the next link)
        ("GET /media/tracks?$fields=name,,duration&$limit=3", 200,
         items([{"name": t["name"], "duration": t["duration"]} for t in tracks[:3]])),
        *[(f"GET /media/albums/{album['id']}?$fields=tracks({paging})", 200, {"tracks": cut})
          for paging, cut in (("$offset:2", album["tracks"][2:]), ("$offset:99", []),
                              ("$offset:1,$limit:2", album["tracks"][1:3]))],
        ("GET /media/albums?genre=jazz&$fields=name,tracks($limit:2)&$limit=2", 200,
         page("albums", [{"name": a["name"], "tracks": a["tracks"][:2]} for a in albums
                         if a["genre"] == "jazz"][:2], 2, 0, 8,
              "$fields=name,tracks($offset:0,$limit:2)&$limit=2&$offset=2&genre=jazz")),
        # expansion by level and by name; "2,artist" reads as the last token's level, 0
        ("GET /media/albums?$expand=1&$limit=2", 200, items([grow(a, 1) for a in albums[:2]])),
        ("GET /media/artists?$expand=2&$limit=1", 200, items([grow(artists[0], 2)])),
        ("GET /media/tracks?$expand=album&$limit=3", 200,
         items([dict(t, album=by_link[t["album"]]) for t in tracks[:3]])),
        *[(f"GET /media/tracks?$expand={level}&$limit=3", 200, items(tracks[:3]))
          for level in ("2,artist", "0")],
        # search and field filters: %-decoded, text ignoring case, links by id, all must match
        ("GET /media/tracks?$q=tHe%20NiGhT" + all_, 200,
         items([t for t in tracks if "THE NIGHT" in name(t)])),
        ("GET /media/tracks?name=" + name(track).replace(" ", "%20") + all_, 200,
         items([t for t in tracks if name(t) == name(track)])),
        ("GET /media/tracks?rating=5" + all_, 200, items([t for t in tracks if t["rating"] == 5])),
        (f"GET /media/tracks?album={album['id']}&$sortby=-number", 200, items(on_album[::-1])),
        (f"GET /media/tracks?album={album['id']}&number=2", 200, items(on_album[1:2])),
        (f"GET /media/artists?albums={album['id']}", 200, items([by_link[album["artist"]]])),
        # one element; links carry the host the client used
        (f"GET /media/tracks/{track['id']}", 200, track),
        (f"GET /media/tracks/{track['id']}?$fields=album", 200,
         {"album": track["album"].replace("127.0.0.1", "[::1]")}, ["-H", f"Host: [::1]:{port}"]),
        # errors
        *[(f"GET /media/tracks?{query}", 400, None) for query in (
            "$offset=-1", "$limit=-5", "$offset=not-a-guid", "$sortby=album", "$sortby=-bogus",
            "$fields=nope", "$fields=album($offset:-1)", "$expand=number", "$expand=6", "$q=%",
            "colour=red", "duration=abc", "duration=", "album=xyz")],
        (f"GET /media/tracks?$q=zzz&$offset={track['id']}", 404, None),  # not in the result
        ("GET /media/tracks/not-a-guid", 400, None),
        *[(f"GET {path}", 404, None) for path in (
            "/media/songs", "/media/tracks/00000000-0000-5000-8000-000000000000",
            f"/media/tracks/{album['id']}", f"/media/tracks/{track['id']}/more", "/elsewhere")],
        ("DELETE /media/tracks", 405, None),
        ("GET /media/actions/GetRating", 405, None),
        # actions: bad arguments give a fault with the UPnP code and change nothing
        ("GET /media/actions", 200, {"actions": ["GetRating", "RateTrack"]}),
        *[(request, 500, {"status": 500, "statusText": TEXTS[500], "errorCode": code,
                          "errorDescription": FAULTS[code]}) for request, code in (
            (rate(track["id"], 9), 601), (rate(track["id"], -1), 601),
            (rate(track["id"], "99999"), 601), (rate(track["id"], "abc"), 600),
            (rate("xyz", 1), 600), (rate(album["id"], 1), 600), (rate(track["id"], 1.5), 402),
            ("POST /media/actions/RateTrack {}", 402), ("POST /media/actions/RateTrack [", 402),
            ("POST /media/actions/Do {}", 401))],
        ("POST /media/actions/GetRating " + json.dumps({"TrackId": track["id"]}), 200,
         {"action": "GetRating", "out": {"TrackId": track["id"], "Rating": track["rating"]}}),
        (rate(track["id"], "4"), 200, {"action": "RateTrack", "out": {"TrackId": track["id"],
                                                                        "Rating": 4}}),
        (f"GET /media/tracks/{track['id']}?$fields=rating", 200, {"rating": 4}),
    ]


def run_table(base, rows):
    failures = []
    for request, status, expected, *extra in rows:
        try:
            head, text = curl(base, request, *extra)
            check(head.startswith(f"HTTP/1.1 {status} {TEXTS[status]}\r\n"), head)
            check(re.search(r"(?im)^content-type: application/json\r?$", head), head)
            doc = json.loads(text)
            check(text == json.dumps(doc, separators=(",", ":"), sort_keys=True), text[:400])
            expected = expected or {"status": status, "statusText": TEXTS[status],
                                    "message": doc.get("message") or "(a message)"}
            check(expected(doc) if callable(expected) else doc == expected, text[:400])
        except Exception as error:  # noqa: BLE001 -- every row is reported
            failures.append(f"{request}: {error!r}")
    return failures


def output(service):
    service.log.seek(0)
    return service.log.read().decode("utf-8", "replace")


# The match of `pattern` in the service's output after the console `line` (if any) is sent.
def wait_for(service, pattern, line=None):
    since = len(output(service)) if line else 0
    if line:
        service.stdin.write((line + "\n").encode())
        service.stdin.flush()
    deadline = time.monotonic() + DEADLINE
    while True:
        running = service.poll() is None  # before reading: the output of an ended one is whole
        found = re.search(pattern, output(service)[since:])
        if found:
            return found
        check(running and time.monotonic() < deadline, f"no {pattern!r} in {output(service)!r}")
        time.sleep(0.05)


def start(binary, arguments, stdin, env=None):
    log = tempfile.NamedTemporaryFile()  # the service appends through its own file offset
    service = subprocess.Popen([binary, "--port", "0"] + arguments, stdin=stdin, env=env,
                               stdout=open(log.name, "ab"), stderr=subprocess.STDOUT)
    service.log = log
    STARTED.append(service)
    return (service, *wait_for(service, r"service on (http://[\d.]+:(\d+))/media").groups())


def built_in_catalogue(binary):
    service, base, port = start(binary, [], subprocess.PIPE)
    listing = {kind: json.loads(curl(base, f"GET /media/{kind}?$limit=10000")[1])["items"]
               for kind in ("tracks", "albums", "artists")}
    failures = run_table(base, request_table(int(port), *listing.values()))
    check(not failures, "\n".join(["requests failed:"] + failures))
    wait_for(service, r"\), \d+ slow; 20 artists, 58 albums, 422 tracks", "stats")
    wait_for(service, "(?s)" + ".*".join(a["uri"] for a in listing["albums"]), "list:albums")
    track = listing["tracks"][0]
    shown = wait_for(service, r"\{.*" + track["uri"] + '"}', f"get:{base}{track['uri']}")
    check(json.loads(shown.group(0)) == track, "get:<link>")
    wait_for(service, "quitting", "quit")
    service.stdin.close()
    check(service.wait(timeout=5) == 0 and "console off" not in output(service), "quit")


def catalogue_file(binary, catalogue):
    service, base, _ = start(binary, ["--catalogue", catalogue], subprocess.DEVNULL)
    page = json.loads(curl(base, "GET /media/tracks?$sortby=-duration&$limit=1")[1])
    check(page["total"] == 7 and page["items"][0]["name"] == "The Loom", f"served {page}")
    service.send_signal(signal.SIGTERM)
    check(service.wait(timeout=5) == 0, "exit code after SIGTERM")
    check("console off: standard input is /dev/null" in output(service), output(service))


# Sends `data` on a new connection (bytes, or a function given a connect function that returns
# the connection it sent on), ends sending and returns all the service sends until it closes.
def exchange(port, data):
    connect = lambda: socket.create_connection(("127.0.0.1", port), timeout=DEADLINE)  # noqa
    with data(connect) if callable(data) else connect() as connection:
        try:
            callable(data) or connection.sendall(data)
            connection.shutdown(socket.SHUT_WR)
        except OSError:
            pass  # the service refused early and closed: its answer is still there to read
        received = b""
        while chunk := connection.recv(65536):
            received += chunk
        return received


# One byte every 0.25 s until the service answers (its header deadline is 1 s).
def trickle(connect):
    connection = connect()
    for byte in b"GET /media HTTP/1.1\r\nHost: x\r\n\r\n":
        connection.send(bytes([byte]))
        if select.select([connection], [], [], 0.25)[0]:
            break
    return connection


# Holds the service's `cap` connections busy (each has had an answer, so each is counted), then
# sends a request on one more.
def over_cap(cap, request):
    def send(connect):
        holders = []
        while len(holders) < cap:
            holder = connect()
            holder.sendall(b"GET /health HTTP/1.1\r\n\r\n")
            answered = holder.recv(100).startswith(b"HTTP/1.1 200")  # 503: an earlier row's
            (holders.append if answered else lambda h: h.close())(holder)  # session lingers
        connection = connect()
        connection.sendall(request)
        connection.recv(1, socket.MSG_PEEK)
        [holder.close() for holder in holders]
        return connection
    return send


# The statuses of the answers in `received`, each checked for its JSON error body; "HEAD 200"
# stands for an answer without body.
def statuses(received, expected):
    found = []
    for want in expected:
        head, _, received = received.partition(b"\r\n\r\n")
        status = int(head[9:12]) if re.match(rb"HTTP/1\.1 \d{3} ", head) else head[:60]
        found.append(status)
        length = re.search(rb"(?i)\r\ncontent-length: (\d+)", head)
        if str(want).startswith("HEAD") or not length:
            continue
        body, received = received[:int(length.group(1))], received[int(length.group(1)):]
        check(status < 400 or json.loads(body) == {"status": status, "statusText": TEXTS[status],
              "message": json.loads(body).get("message") or "(a message)"}, body[:200])
    check(received == b"", f"more than the answers: {received[:200]!r}")
    return found


# Rows: (what, the request or a function sending it, the statuses of the answers, a pattern the
# answers must hold). Each row on its own connection; the service must go on answering.
def abuse_table(cap):
    get, big = b"GET /media HTTP/1.1\r\nHost: x\r\n", b"POST /media/actions/GetRating HTTP/1.1\r\n"
    return [
        ("target of 100 kB", b"GET /" + b"a" * 100_000 + b" HTTP/1.1\r\n\r\n", [414], b""),
        ("target of 9 kB", b"GET /" + b"a" * 9000 + b" HTTP/1.1\r\n\r\n", [414], b""),
        ("one field of 60 kB", get + b"X-A: " + b"b" * 60_000 + b"\r\n\r\n", [431], b""),
        ("200 fields, 20 kB", get + (b"X-A: " + b"b" * 95 + b"\r\n") * 200 + b"\r\n", [431],
         b""),
        ("8 MB body announced", big + b"Content-Length: 8000000\r\n\r\n" + b"x" * 65536, [413],
         b""),
        ("chunked body over 1 MiB", big + b"Transfer-Encoding: chunked\r\n\r\n100001\r\n" +
         b"x" * 0x100001 + b"\r\n0\r\n\r\n", [413], b""),
        ("request line not HTTP", b"HELLO THERE\r\n\r\n", [400], b""),
        ("binary garbage", bytes(range(256)) * 4, [400], b""),
        ("negative Content-Length", big + b"Content-Length: -5\r\n\r\n", [400], b""),
        ("Content-Length and Transfer-Encoding",
         big + b"Content-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", [400], b""),
        ("a route that throws (its reason only in the log)", b"GET /media/fault HTTP/1.1\r\n\r\n",
         [500], b'"message":"the service failed to answer this request"'),
        ("$expand=257 (level 1 in a byte)", b"GET /media/tracks?$expand=257 HTTP/1.1\r\n\r\n",
         [400], b"'257' is out of range 0 to 5"),
        ("pipelined, HEAD without body", get + b"\r\nHEAD /media/tracks HTTP/1.1\r\n\r\n" +
         b"DELETE /media HTTP/1.1\r\n\r\n", [200, "HEAD 200", 405], b"\r\nAllow: GET, HEAD\r\n"),
        ("one byte every 0.25 s", trickle, [408], b""),
        ("more connections than the cap", over_cap(cap, get + b"\r\n"), [503],
         b"\r\nRetry-After: 1\r\n"),
    ]


def abuse(binary):
    cap = 4
    service, _, port = start(binary, ["--no-console", "--header-timeout", "1000",
                                      "--max-connections", str(cap)], subprocess.DEVNULL,
                             dict(os.environ, ORV_MEDIA_SERVICE_FAULT_PATH="/media/fault"))
    port, failures = int(port), []
    for what, request, expected, pattern in abuse_table(cap):
        try:
            received = exchange(port, request)
            found = statuses(received, expected)
            check(found == [int(str(w).split()[-1]) for w in expected], f"answers {found}")
            check(pattern in received, f"no {pattern!r} in {received[:300]!r}")
            deadline = time.monotonic() + DEADLINE  # lingering sessions of the row may count
            while not exchange(port, b"GET /health HTTP/1.1\r\n\r\n").startswith(b"HTTP/1.1 200"):
                check(time.monotonic() < deadline, "the service no longer answers")
        except Exception as error:  # noqa: BLE001 -- every row is reported
            failures.append(f"{what}: {error!r}")
    check(not failures, "\n".join(["abuse rows failed:"] + failures))
    service.send_signal(signal.SIGTERM)
    check(service.wait(timeout=DEADLINE) == 0, "exit code after SIGTERM")
    check("request failed: GET /media/fault: a fault injected" in output(service), "fault log")


if __name__ == "__main__":
    try:
        abuse(sys.argv[1])
        built_in_catalogue(sys.argv[1])
        catalogue_file(sys.argv[1], sys.argv[2])
    finally:
        for started in STARTED:
            started.kill()
