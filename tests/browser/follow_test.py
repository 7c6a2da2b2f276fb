"""Live follow with the real service writing: a record sent with sarvik-send shows at once.

The test moves itself into a private mount namespace with fresh tmpfs on /mnt, /tmp and
/var/lock, so the service has its real fixed paths and the host's are never touched."""

import ctypes
import os
import socket
import subprocess
import time
import unittest

from selenium.webdriver.common.by import By

import logvolume
from console_harness import ConsoleTest, program

SETTINGS = "/mnt/data/xmlconf/config-sarvik.xml"
VOLUME = "/mnt/data/logs"
CLONE_NEWNS = 0x00020000


def enter_fresh_volumes():
    """Moves this process into a mount namespace of its own, private to the host's, and mounts
    empty tmpfs on the service's directories there. Call it before any thread or child starts."""
    if os.getuid() != 0:
        raise RuntimeError("the live test needs root for its mount namespace")
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(CLONE_NEWNS) != 0:
        raise OSError(ctypes.get_errno(), "unshare")
    subprocess.run(["mount", "--make-rprivate", "/"], check=True)
    for directory in ("/mnt", "/tmp", "/var/lock"):
        subprocess.run(["mount", "-t", "tmpfs", "-o", "mode=0755", "tmpfs", directory], check=True)
    os.chmod("/tmp", 0o1777)
    for directory in ("/mnt/data/xmlconf", "/mnt/data/conf/sarvik", VOLUME):
        os.makedirs(directory)


def send(*fields):
    subprocess.run([program("SARVIK_SEND"), "access"] + list(fields), check=True, timeout=10)


class LiveFollow(ConsoleTest):
    @classmethod
    def isolate(cls):
        enter_fresh_volumes()

    @classmethod
    def prepare(cls):
        cls.volume, cls.settings = VOLUME, SETTINGS
        logvolume.generate(VOLUME)
        logvolume.write_settings(SETTINGS, VOLUME)
        cls.service_log = open(os.path.join(cls.work, "sarvik.log"), "wb")
        cls.service = subprocess.Popen([program("SARVIK_DAEMON")], stdout=cls.service_log,
                                       stderr=subprocess.STDOUT)
        deadline = time.monotonic() + 10
        while True:
            try:
                with socket.socket(socket.AF_UNIX) as probe:
                    probe.connect("/tmp/sarvik")
                return
            except OSError:
                if cls.service.poll() is not None or time.monotonic() > deadline:
                    raise RuntimeError("the service did not come up")
                time.sleep(0.05)

    @classmethod
    def release(cls):
        if getattr(cls, "service", None):
            cls.service.kill()
            cls.service.wait()
            cls.service_log.close()

    def follow(self, query):
        self.browser.driver.get(self.server.base + "/" + query)
        self.browser.wait_shown()
        self.browser.wait(lambda: self.browser.run(
            "return document.getElementById('live-state').textContent").startswith("Live"))

    def top_row(self):
        rows = self.browser.rows()
        return rows[0] if rows else None

    def test_sent_record_appears_under_follow_within_3_seconds(self):
        self.follow("?kind=access&follow=1")
        before = len(self.browser.rows())
        sent = time.monotonic()
        send("Zoe", "pc9", "192.0.2.99", "open", "1", "0", "docs", "r|live/new,report.txt")
        self.browser.wait(lambda: len(self.browser.rows()) > before, timeout=3,
                          message="the record did not show within 3 s")
        print("shown %.2f s after it was sent" % (time.monotonic() - sent))
        self.assertEqual(self.top_row()[1:8], [
            "zoe", "pc9", "192.0.2.99", "open_read", "ok", "docs", "live/new,report.txt"])
        self.browser.screenshot("follow")
        self.assertEqual(self.browser.errors(), [])

    def test_follow_keeps_to_the_filter_and_holds_lines_while_paused(self):
        self.follow("?kind=access&user=yann&follow=1")
        self.assertEqual(self.browser.rows(), [])
        self.browser.driver.find_element(By.ID, "pause").click()
        send("someone", "pc9", "192.0.2.99", "delete", "1", "0", "docs", "other.txt")
        send("yann", "pc9", "192.0.2.99", "delete", "1", "0", "docs", "held.txt")
        self.browser.wait(lambda: self.browser.run(
            "return document.getElementById('live-state').textContent") == "Paused · 1 new",
            timeout=3)
        self.assertEqual(self.browser.rows(), [])
        self.browser.driver.find_element(By.ID, "pause").click()
        self.assertEqual([row[7] for row in self.browser.rows()], ["held.txt"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
