#!/usr/bin/env python3
"""The console's benchmark client: times sarvik-web's answers over a corpus of logs beside
sarvik-log's for the same questions, and prints the table in Markdown.

    load.py --url http://127.0.0.1:PORT --token TOKEN --log SARVIK_LOG --root DIR
            --corpus CORPUS.SH --pid PID --restart COMMAND [--clients 20] [--seconds 20]

Times are wall-clock seconds at the client over loopback; the server's resident memory is read
from /proc. Standard library only.
"""
import argparse
import hashlib
import http.client
import json
import os
import statistics
import subprocess
import threading
import time
import urllib.parse


def read_corpus(path):
    values = {}
    with open(path) as source:
        for line in source:
            if "=" in line:
                key, value = line.rstrip("\n").split("=", 1)
                values[key] = value.strip("'")
    return values


class Client:
    """One keep-alive connection to the server."""

    def __init__(self, url, token):
        parsed = urllib.parse.urlparse(url)
        self.host, self.port = parsed.hostname, parsed.port
        self.headers = {"Authorization": "Bearer " + token}
        self.connection = None

    def get(self, path, params=None, sink=None):
        """Returns (status, body, seconds); the body goes to `sink` in pieces when given."""
        target = path + ("?" + urllib.parse.urlencode(params) if params else "")
        for attempt in range(2):
            if self.connection is None:
                self.connection = http.client.HTTPConnection(self.host, self.port, timeout=600)
            try:
                start = time.perf_counter()
                self.connection.request("GET", target, headers=self.headers)
                response = self.connection.getresponse()
                if sink is None:
                    body = response.read()
                else:
                    body = b""
                    while True:
                        piece = response.read(1 << 20)
                        if not piece:
                            break
                        sink(piece)
                seconds = time.perf_counter() - start
                if response.getheader("Connection", "").lower() == "close":
                    self.connection.close()
                    self.connection = None
                return response.status, body, seconds
            except (http.client.HTTPException, ConnectionError):
                self.connection = None
                if attempt:
                    raise


def timed(command):
    start = time.perf_counter()
    done = subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.perf_counter() - start, done.returncode


def median_of(values):
    return statistics.median(values) if values else float("nan")


def percentile(values, fraction):
    ordered = sorted(values)
    return ordered[min(len(ordered) - 1, int(fraction * len(ordered)))]


def rss_mb(pid, field):
    with open("/proc/%d/status" % pid) as status:
        for line in status:
            if line.startswith(field + ":"):
                return int(line.split()[1]) / 1024
    return float("nan")


def main():
    parser = argparse.ArgumentParser()
    for name in ("url", "token", "log", "root", "corpus", "restart"):
        parser.add_argument("--" + name, required=True)
    parser.add_argument("--pid", type=int, required=True)
    parser.add_argument("--clients", type=int, default=20)
    parser.add_argument("--seconds", type=float, default=20)
    parser.add_argument("--runs", type=int, default=5)
    options = parser.parse_args()
    corpus = read_corpus(options.corpus)
    client = Client(options.url, options.token)
    rows = []

    def row(question, web, reference, budget, met):
        rows.append((question, web, reference, budget, "met" if met else "NOT met"))

    # A non-rare filter over the whole year: the first page, newest first, then the pages its
    # cursors lead to.
    for name, value in (("user", corpus["user"]), ("share", "hr"), ("op", "delete")):
        firsts = []
        for _ in range(options.runs):
            status, body, seconds = client.get("/api/lines", {name: value, "reverse": "1"})
            assert status == 200, body
            firsts.append(seconds)
        page = json.loads(body)
        later = []
        cursor = page["next"]
        for _ in range(20):
            if cursor is None:
                break
            status, body, seconds = client.get(
                "/api/lines", {name: value, "reverse": "1", "cursor": cursor})
            assert status == 200, body
            later.append(seconds)
            cursor = json.loads(body)["next"]
        row("first page (100 lines, newest first) of %s=%s over the year" % (name, value),
            "%.1f ms median, %.1f ms max" % (median_of(firsts) * 1e3, max(firsts) * 1e3), "",
            "< 50 ms", max(firsts) < 0.05)
        row("the next %d pages of %s=%s" % (len(later), name, value),
            "%.1f ms median, %.1f ms max" % (median_of(later) * 1e3, max(later) * 1e3), "",
            "< 50 ms each", later and max(later) < 0.05)

    # A rare string over the year, and the summaries of a month, beside sarvik-log.
    root = ["--root", options.root]
    month = {"since": corpus["month_first"], "until": corpus["month_last"] + " 23:59:59"}
    month_args = ["--since", month["since"], "--until", month["until"]]
    questions = [
        ("rare string over the year (count of --grep %s)" % corpus["rare_string"],
         "/api/count", {"grep": corpus["rare_string"]},
         ["--grep", corpus["rare_string"], "--count"], 1.0),
        ("histogram of a month", "/api/histogram", dict(month, histogram="day"),
         month_args + ["--histogram", "day", "--output", "json"], 1.0),
        ("stats of a month by user", "/api/stats", dict(month, stats="user"),
         month_args + ["--stats", "user", "--output", "json"], 1.0),
    ]
    for question, path, params, args, factor in questions:
        web, cli = [], []
        for _ in range(options.runs):
            status, body, seconds = client.get(path, params)
            assert status == 200, body
            web.append(seconds)
            seconds, code = timed([options.log] + root + args)
            cli.append(seconds)
        row(question, "%.3f s" % median_of(web), "%.3f s" % median_of(cli),
            "no slower than sarvik-log", median_of(web) <= factor * median_of(cli) * 1.05)

    # Twenty clients, each asking its own filtered questions over the year for a while, with
    # values the logs hold (the most frequent of a month): a filter that matches nothing would
    # read the whole year for its first page.
    def top_values(field, count):
        status, body, _ = client.get("/api/stats", dict(month, stats=field, top=str(count)))
        assert status == 200, body
        return [entry[field] for entry in json.loads(body)["stats"]]

    users = top_values("user", 8)
    shares = top_values("share", 5)
    ops = top_values("op", 4)

    def questions_of(number):
        asked = []
        for i in range(12):
            kind = (number + i) % 4
            if kind == 0:
                asked.append(("/api/lines", {"share": shares[(number + i) % 5], "reverse": "1"}))
            elif kind == 1:
                asked.append(("/api/lines", {"op": ops[(number + i) % 4], "reverse": "1",
                                             "user": users[number % len(users)]}))
            elif kind == 2:
                asked.append(("/api/histogram", dict(month, share=shares[(number + i) % 5])))
            else:
                asked.append(("/api/count", dict(month, op=ops[(number + i) % 4])))
        return asked

    latencies = []
    lock = threading.Lock()
    failures = []
    stop_at = time.perf_counter() + options.seconds

    def run_client(number):
        own = Client(options.url, options.token)
        mine = []
        asked = questions_of(number)
        i = 0
        while time.perf_counter() < stop_at:
            path, params = asked[i % len(asked)]
            status, body, seconds = own.get(path, params)
            if status != 200:
                failures.append(status)
            mine.append(seconds)
            i += 1
        with lock:
            latencies.extend(mine)

    began = time.perf_counter()
    threads = [threading.Thread(target=run_client, args=(n,)) for n in range(options.clients)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    elapsed = time.perf_counter() - began
    row("%d clients at once, different filtered questions (pages over the year, a month's "
        "histogram and count), %.0f s" % (options.clients, options.seconds),
        "%.1f answers/s; p50 %.0f ms, p99 %.0f ms; %d refused" % (
            len(latencies) / elapsed, percentile(latencies, 0.5) * 1e3,
            percentile(latencies, 0.99) * 1e3, len(failures)), "", "reported", not failures)

    # Export of every line as CSV, on a fresh server so that its peak memory is the export's.
    subprocess.run(options.restart, shell=True, check=True)
    with open(options.restart + ".pid") as pid_file:
        pid = int(pid_file.read())
    client = Client(options.url, options.token)
    web_hash = hashlib.sha256()
    status, _, web_seconds = client.get("/api/export", {"output": "csv"}, sink=web_hash.update)
    assert status == 200
    web_peak = rss_mb(pid, "VmHWM")
    start = time.perf_counter()
    cli = subprocess.Popen(["/usr/bin/time", "-f", "%M", "-o", "/tmp/sarvik-web-bench-rss",
                            options.log] + root + ["--output", "csv"], stdout=subprocess.PIPE)
    cli_hash = hashlib.sha256()
    for piece in iter(lambda: cli.stdout.read(1 << 20), b""):
        cli_hash.update(piece)
    cli.wait()
    cli_seconds = time.perf_counter() - start
    with open("/tmp/sarvik-web-bench-rss") as rss_file:
        cli_peak = int(rss_file.read().split()[-1]) / 1024
    same = web_hash.digest() == cli_hash.digest()
    row("export of every line as CSV (%s lines)" % corpus["access_lines"],
        "%.2f s, server peak RSS %.1f MB%s" % (web_seconds, web_peak,
                                               ", same bytes" if same else ", BYTES DIFFER"),
        "%.2f s, peak RSS %.1f MB" % (cli_seconds, cli_peak),
        "RSS < 64 MB, within 1.5x", same and web_peak < 64 and web_seconds <= 1.5 * cli_seconds)

    # Follow: a line appended to the newest file, until its event arrives.
    newest_month = sorted(os.listdir(os.path.join(options.root, "accesslog")))[-1]
    month_dir = os.path.join(options.root, "accesslog", newest_month)
    newest = os.path.join(month_dir, sorted(os.listdir(month_dir))[-1])
    delays = []
    for n in range(options.runs):
        connection = http.client.HTTPConnection(client.host, client.port, timeout=10)
        connection.request("GET", "/api/follow?user=follower", headers=client.headers)
        response = connection.getresponse()
        time.sleep(0.2)
        stamp = time.strftime("%Y/%m/%d %H:%M:%S")
        start = time.perf_counter()
        with open(newest, "a") as log:
            log.write("%s,follower,pc1,192.0.2.1,open_read,ok,docs,f%d.txt\r\n" % (stamp, n))
        seen = b""
        while b"f%d.txt" % n not in seen:
            seen += response.fp.read1(65536)
        delays.append(time.perf_counter() - start)
        connection.close()
    row("a new line under follow", "%.0f ms median, %.0f ms max" % (
        median_of(delays) * 1e3, max(delays) * 1e3), "", "< 1.5 s", max(delays) < 1.5)

    print("| question | sarvik-web | sarvik-log | budget | |")
    print("|---|---:|---:|---|---|")
    for question, web, reference, budget, verdict in rows:
        print("| %s | %s | %s | %s | %s |" % (question, web, reference, budget, verdict))


if __name__ == "__main__":
    main()
