"""The page loads clean, stays small, and the API and the page are closed without the token."""

import json
import unittest

from console_harness import ConsoleTest

CSP = ("default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; "
       "connect-src 'self'; base-uri 'none'; form-action 'self'; frame-ancestors 'none'")


class PageLoads(ConsoleTest):
    def test_loads_lines_with_no_console_error(self):
        self.open()
        self.assertGreater(len(self.browser.rows()), 0)
        self.assertEqual(self.browser.columns(), [
            "time", "user", "host", "ip", "op", "result", "share", "path", "where"])
        self.browser.screenshot("console")
        self.assertEqual(self.browser.errors(), [])

    def test_page_files_transfer_under_100_kb(self):
        driver = self.browser.driver
        driver.execute_cdp_cmd("Network.enable", {})
        driver.execute_cdp_cmd("Network.setCacheDisabled", {"cacheDisabled": True})
        try:
            self.open()
        finally:
            driver.execute_cdp_cmd("Network.setCacheDisabled", {"cacheDisabled": False})
        figures = self.browser.run("""
            const navigation = performance.getEntriesByType('navigation')[0];
            const files = performance.getEntriesByType('resource')
                .filter((entry) => new URL(entry.name).pathname.startsWith('/static/'));
            const shown = performance.getEntriesByName('sarvik-lines-shown')[0];
            return {
              bytes: navigation.transferSize + files.reduce((sum, e) => sum + e.transferSize, 0),
              files: files.length + 1,
              interactive: navigation.domInteractive,
              loaded: navigation.loadEventEnd,
              lines: shown ? shown.startTime : null,
            };""")
        # The times are for the record of the run, not a test: a loaded machine varies them.
        print("page: %(files)d files, %(bytes)d bytes transferred; DOM interactive at "
              "%(interactive).0f ms, loaded at %(loaded).0f ms, first lines shown at "
              "%(lines).0f ms" % figures)
        self.assertGreater(figures["files"], 2)
        self.assertLess(figures["bytes"], 100 * 1024)

    def test_page_carries_the_content_security_policy(self):
        status, headers, _ = self.server.get("/", token=self.server.token())
        self.assertEqual(status, 200)
        self.assertEqual(headers["Content-Security-Policy"], CSP)
        self.assertEqual(headers["X-Content-Type-Options"], "nosniff")


class WithoutToken(ConsoleTest):
    def test_api_answers_401_without_the_token(self):
        for path in ("/api/lines", "/api/count", "/api/histogram", "/api/rules"):
            status, headers, body = self.server.get(path)
            self.assertEqual(status, 401, path)
            self.assertIn("error", json.loads(body), path)
            status, _, _ = self.server.get(path, token=self.server.token())
            self.assertEqual(status, 200, path)
        status, _, _ = self.server.get("/api/count", token="A" * 43)
        self.assertEqual(status, 401)

    def test_browser_without_the_cookie_is_told_how_to_get_in(self):
        driver = self.browser.driver
        driver.delete_all_cookies()
        try:
            driver.get(self.server.base + "/")
            self.assertIn("sarvik-web --url", driver.find_element("tag name", "body").text)
            status = self.browser.run(
                "return fetch('/api/count', {credentials: 'same-origin'})"
                ".then((answer) => answer.status);")
            self.assertEqual(status, 401)
            self.browser.screenshot("no-token")
        finally:
            driver.get(self.server.login_url())
        self.browser.wait_shown()
        self.assertGreater(len(self.browser.rows()), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
