"""What the browser tests share: the real sarvik-web over a generated volume, headless Chromium
driven through chromedriver, the command-line reader to compare with, and screenshots.

The built programs come from the environment that CTest sets: SARVIK_WEB, SARVIK_LOG, SARVIK_SEND,
SARVIK_DAEMON, and SARVIK_SCREENSHOTS, the directory for the screenshots."""

import csv
import io
import json
import os
import shutil
import socket
import subprocess
import tempfile
import time
import unittest
import urllib.error
import urllib.request

from selenium import webdriver
from selenium.common.exceptions import NoAlertPresentException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.support.ui import WebDriverWait

import logvolume

CHROMIUM = "/usr/bin/chromium"
CHROMEDRIVER = "/usr/bin/chromedriver"
CHROMIUM_FLAGS = [
    "--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
    "--window-size=1400,1000",
]


def program(name):
    path = os.environ.get(name)
    if not path or not os.access(path, os.X_OK):
        raise RuntimeError("%s does not name a built program (run the test through ctest)" % name)
    return path


def shown(text):
    """A record's text as the page and the command line show it: the expected text of a cell."""
    out = []
    for char in text:
        code = ord(char)
        if char == "\\":
            out.append("\\\\")
        elif char == "\t":
            out.append("\\t")
        elif char == "\n":
            out.append("\\n")
        elif char == "\r":
            out.append("\\r")
        elif code < 0x20 or code == 0x7F:
            out.append("\\x%02x" % code)
        elif (0x80 <= code <= 0x9F or 0x202A <= code <= 0x202E or 0x2066 <= code <= 0x2069
              or code in (0x200E, 0x200F, 0x061C)):
            out.append("\\u%04x" % code)
        else:
            out.append(char)
    return "".join(out)


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class WebServer:
    """The real sarvik-web on a port of its own, with a fresh state directory (and token)."""

    def __init__(self, work, settings, root=None):
        self.program = program("SARVIK_WEB")
        self.state = os.path.join(work, "state")
        self.listen = "127.0.0.1:%d" % free_port()
        self.base = "http://" + self.listen
        args = [self.program, "--settings", settings, "--listen", self.listen,
                "--state-dir", self.state]
        if root:
            args += ["--root", root]
        self.log = open(os.path.join(work, "sarvik-web.log"), "wb")
        self.process = subprocess.Popen(args, stdout=self.log, stderr=subprocess.STDOUT)
        deadline = time.monotonic() + 10
        while True:
            if self.process.poll() is not None:
                raise RuntimeError("sarvik-web ended with status %d: %s"
                                   % (self.process.returncode, self.output()))
            try:
                socket.create_connection(("127.0.0.1", int(self.listen.split(":")[1])), 1).close()
                break
            except OSError:
                if time.monotonic() > deadline:
                    raise RuntimeError("sarvik-web does not listen: " + self.output())
                time.sleep(0.05)

    def output(self):
        self.log.flush()
        with open(self.log.name, "rb") as log:
            return log.read().decode("utf-8", "replace")

    def login_url(self):
        """The address that `sarvik-web --url` prints for the administrator."""
        completed = subprocess.run(
            [self.program, "--url", "--listen", self.listen, "--state-dir", self.state],
            capture_output=True, text=True)
        if completed.returncode != 0:
            raise RuntimeError("sarvik-web --url failed: " + completed.stderr)
        return completed.stdout.strip()

    def token(self):
        with open(os.path.join(self.state, "token"), encoding="ascii") as token:
            return token.read().strip()

    def get(self, path, token=None):
        """GET on the server without a browser: (status, headers, body bytes)."""
        request = urllib.request.Request(self.base + path)
        if token:
            request.add_header("Authorization", "Bearer " + token)
        try:
            with urllib.request.urlopen(request, timeout=10) as answer:
                return answer.status, answer.headers, answer.read()
        except urllib.error.HTTPError as error:
            return error.code, error.headers, error.read()

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.log.close()


class Browser:
    """Headless Chromium with a fresh profile, its console log kept, downloads to a folder."""

    def __init__(self, work):
        self.downloads = os.path.join(work, "downloads")
        os.makedirs(self.downloads)
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        for flag in CHROMIUM_FLAGS:
            options.add_argument(flag)
        options.add_argument("--user-data-dir=" + os.path.join(work, "profile"))
        options.add_experimental_option("prefs", {
            "download.default_directory": self.downloads,
            "download.prompt_for_download": False,
        })
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(CHROMEDRIVER), options=options)
        self.driver.set_page_load_timeout(20)

    def quit(self):
        self.driver.quit()

    def run(self, script, *args):
        return self.driver.execute_script(script, *args)

    def wait(self, condition, timeout=10, message=""):
        return WebDriverWait(self.driver, timeout, poll_frequency=0.05).until(
            lambda driver: condition(), message)

    def wait_shown(self, timeout=10):
        """Waits until the lines and the histogram of the current query are shown."""
        self.wait(lambda: self.run(
            "const t = document.getElementById('table'), c = document.getElementById('chart');"
            "return t !== null && c !== null && t.getAttribute('aria-busy') === 'false'"
            " && c.getAttribute('aria-busy') === 'false';"), timeout, "the page never settled")

    def load_all_rows(self, timeout=20):
        """Scrolls down until the table holds every matching line."""
        deadline = time.monotonic() + timeout
        while not self.run("return document.getElementById('end').textContent")\
                .startswith(("End:", "No lines")):
            if time.monotonic() > deadline:
                raise AssertionError("the table never reached its end")
            self.run("window.scrollTo(0, document.body.scrollHeight)")
            time.sleep(0.1)
        self.run("window.scrollTo(0, 0)")

    def rows(self):
        """The table's rows as lists of cell texts, top to bottom."""
        return self.run(
            "return Array.from(document.querySelectorAll('#table tbody tr'),"
            " (row) => Array.from(row.cells, (cell) => cell.textContent));")

    def columns(self):
        return self.run(
            "return Array.from(document.querySelectorAll('#table thead th'),"
            " (cell) => cell.className.replace('col-', ''));")

    def query(self):
        """The page's address's query as (name, value) pairs."""
        return self.run(
            "return Array.from(new URLSearchParams(location.search).entries());")

    def errors(self):
        """The console's messages of level SEVERE since the last call."""
        return [entry for entry in self.driver.get_log("browser") if entry["level"] == "SEVERE"]

    def alert_text(self):
        """The text of an open alert dialog, or None."""
        try:
            return self.driver.switch_to.alert.text
        except NoAlertPresentException:
            return None

    def screenshot(self, name):
        directory = os.environ.get("SARVIK_SCREENSHOTS") or "browser-screenshots"
        os.makedirs(directory, exist_ok=True)
        self.run("window.scrollTo(0, 0)")
        self.driver.save_screenshot(os.path.join(directory, name + ".png"))


def sarvik_log(volume, settings, *args):
    """Runs the command-line reader on the volume; its standard output as bytes."""
    completed = subprocess.run([program("SARVIK_LOG"), "--root", volume, "--settings", settings]
                               + list(args), capture_output=True)
    if completed.returncode not in (0, 1):
        raise RuntimeError("sarvik-log failed: " + completed.stderr.decode("utf-8", "replace"))
    return completed.stdout


def csv_rows(data):
    """The records of sarvik-log's CSV, without the header."""
    return list(csv.reader(io.StringIO(data.decode("utf-8"), newline="")))[1:]


def json_rows(data):
    return [json.loads(line) for line in data.decode("utf-8").splitlines()]


def table_row(fields):
    """A CSV record as the table shows it: time in the ISO way, each field escaped."""
    time_text = fields[0].replace("/", "-")
    return [time_text] + [shown(field) for field in fields[1:]]


class ConsoleTest(unittest.TestCase):
    """A generated volume, sarvik-web over it and a logged-in browser, once per test class. A
    class that needs more around the volume overrides `isolate`, `prepare` and `release`."""

    @classmethod
    def isolate(cls):
        """Runs first, before any file, thread or child process is made."""

    @classmethod
    def prepare(cls):
        """Writes the volume and the settings; sets `volume` and `settings`."""
        cls.volume = os.path.join(cls.work, "volume")
        cls.settings = os.path.join(cls.work, "config-sarvik.xml")
        os.makedirs(cls.volume)
        logvolume.generate(cls.volume)
        logvolume.write_settings(cls.settings, cls.volume)

    @classmethod
    def release(cls):
        """Undoes what `prepare` started; called also when it failed half way."""

    @classmethod
    def setUpClass(cls):
        cls.isolate()
        cls.work = tempfile.mkdtemp(prefix="sarvik-browser-")
        cls.server = None
        cls.browser = None
        try:
            cls.prepare()
            cls.server = WebServer(cls.work, cls.settings)
            cls.browser = Browser(cls.work)
            cls.browser.driver.get(cls.server.login_url())
        except BaseException:
            cls.tearDownClass()
            raise

    @classmethod
    def tearDownClass(cls):
        if cls.browser:
            cls.browser.quit()
        if cls.server:
            cls.server.stop()
        cls.release()
        shutil.rmtree(cls.work, ignore_errors=True)

    def open(self, query=""):
        """Opens the page at `query` (the address's search part) and waits until it is shown."""
        self.browser.driver.get(self.server.base + "/" + query)
        self.browser.wait_shown()

    def cli(self, *args):
        return sarvik_log(self.volume, self.settings, *args)
