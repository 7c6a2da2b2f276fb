"""The filter bar, the counts and the history show what the command line finds; export gives
its bytes."""

import os
import time
import unittest

from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from console_harness import ConsoleTest, csv_rows, json_rows, table_row


class Filters(ConsoleTest):
    def type_filter(self, field, text):
        box = self.browser.driver.find_element(By.ID, "f-" + field)
        box.clear()
        box.send_keys(text, Keys.ENTER)
        self.browser.wait_shown()

    def test_typed_filter_shows_the_rows_of_the_command_line(self):
        self.open()
        self.type_filter("path", "*.txt")
        self.browser.load_all_rows()
        expected = [table_row(fields) for fields in
                    csv_rows(self.cli("--path", "*.txt", "--output", "csv"))]
        expected.reverse()  # the page shows the newest first
        rows = self.browser.rows()
        self.assertGreater(len(expected), 100)  # more than a page: the table was paged
        self.assertEqual([row[:8] for row in rows], expected)
        where = ["%s:%d" % (os.path.basename(line["file"]), line["line"]) for line in
                 json_rows(self.cli("--path", "*.txt", "--output", "json", "--reverse"))]
        self.assertEqual([row[8] for row in rows], where)
        self.assertIn(["path", "*.txt"], self.browser.query())
        self.assertTrue(any("," in row[7] for row in rows))  # a comma stays in its path
        self.browser.screenshot("filtered")

    def test_back_and_forward_restore_the_query(self):
        self.open()
        self.type_filter("user", "alice")
        alice_rows = self.browser.rows()
        self.type_filter("user", "bob")
        self.assertIn(["user", "bob"], self.browser.query())
        self.browser.driver.back()
        self.browser.wait(lambda: ["user", "alice"] in self.browser.query())
        self.browser.wait_shown()
        self.assertEqual(self.browser.driver.find_element(By.ID, "f-user").get_property("value"),
                         "alice")
        self.assertEqual(self.browser.rows(), alice_rows)
        self.assertTrue(all(row[1] == "alice" for row in alice_rows))
        self.browser.driver.forward()
        self.browser.wait(lambda: ["user", "bob"] in self.browser.query())
        self.browser.wait_shown()
        self.assertTrue(all(row[1] == "bob" for row in self.browser.rows()))

    def test_copied_address_opens_the_same_view(self):
        self.open("?kind=access&share=docs&result=fail")
        self.assertEqual(self.browser.driver.find_element(By.ID, "f-share").get_property("value"),
                         "docs")
        self.browser.load_all_rows()
        expected = [table_row(fields) for fields in csv_rows(
            self.cli("--share", "docs", "--result", "fail", "--output", "csv"))]
        self.assertEqual([row[:8] for row in self.browser.rows()], expected[::-1])

    def test_a_counted_value_becomes_a_filter(self):
        self.open()
        self.browser.wait(lambda: self.browser.run(
            "return document.querySelectorAll('#stats button.pick').length > 0"))
        users = self.browser.driver.find_elements(By.CSS_SELECTOR, "#stats ol")[0]
        pick = [button for button in users.find_elements(By.CSS_SELECTOR, "button.pick")
                if button.text == "carol"][0]
        pick.click()
        self.browser.wait(lambda: ["user", "carol"] in self.browser.query())
        self.browser.wait_shown()
        self.browser.load_all_rows()
        rows = self.browser.rows()
        expected = csv_rows(self.cli("--user", "carol", "--output", "csv"))
        self.assertEqual(len(rows), len(expected))
        self.assertTrue(all(row[1] == "carol" for row in rows))

    def test_keyboard_alone_filters_moves_through_rows_and_opens_one(self):
        self.open()
        driver = self.browser.driver
        driver.find_element(By.TAG_NAME, "body").send_keys("/")
        self.assertEqual(driver.switch_to.active_element.get_attribute("id"), "f-user")
        driver.switch_to.active_element.send_keys("alice", Keys.ENTER)
        self.browser.wait_shown()
        for _ in range(80):
            active = driver.switch_to.active_element
            if active.tag_name == "tr":
                break
            active.send_keys(Keys.TAB)
        else:
            self.fail("Tab never reached the lines")
        rows = self.browser.rows()
        active.send_keys(Keys.ARROW_DOWN)
        driver.switch_to.active_element.send_keys(Keys.ARROW_DOWN, Keys.ENTER)
        detail = driver.find_element(By.ID, "detail")
        self.browser.wait(detail.is_displayed)
        self.assertIn(rows[2][7], detail.text)
        self.assertIn(rows[2][0], detail.text)
        driver.switch_to.active_element.send_keys(Keys.ESCAPE)
        self.assertFalse(detail.is_displayed())
        self.assertEqual(driver.switch_to.active_element.text.split(" ")[0], rows[2][0].split(" ")[0])
        # End and on past the last row: every line is reached without the mouse.
        total = len(csv_rows(self.cli("--user", "alice", "--output", "csv")))
        self.assertGreater(total, 100)
        for _ in range(5):
            driver.switch_to.active_element.send_keys(Keys.END, Keys.ARROW_DOWN)
            if len(self.browser.rows()) == total:
                break
            self.browser.wait_shown()
        self.browser.wait(lambda: len(self.browser.rows()) == total)

    def test_bad_value_shows_the_command_line_message(self):
        self.open()
        self.type_filter("ip", "300.1.1.1")
        message = self.browser.driver.find_element(By.ID, "error")
        self.browser.wait(message.is_displayed)
        self.assertEqual(message.text,
                         "--ip '300.1.1.1' is neither an address nor ADDRESS/PREFIX")
        self.browser.screenshot("error")

    def test_export_downloads_the_bytes_of_the_command_line(self):
        self.open("?kind=access&share=docs")
        for form in ("csv", "tsv", "json"):
            before = set(os.listdir(self.browser.downloads))
            self.browser.driver.find_element(By.ID, "export-" + form).click()
            deadline = time.monotonic() + 15
            while True:
                # Chromium writes a download under a hidden or .crdownload name, with an empty
                # file of the final name beside it, and renames it over that file at the end.
                new = set(os.listdir(self.browser.downloads)) - before
                done = [name for name in new
                        if not name.startswith(".") and not name.endswith(".crdownload")]
                writing = [name for name in new
                           if name.startswith(".") or name.endswith(".crdownload")]
                if done and not writing:
                    break
                self.assertLess(time.monotonic(), deadline, "no %s download" % form)
                time.sleep(0.1)
            self.assertTrue(done[0].endswith("." + form), done[0])
            with open(os.path.join(self.browser.downloads, done[0]), "rb") as downloaded:
                self.assertEqual(downloaded.read(),
                                 self.cli("--share", "docs", "--output", form), form)


if __name__ == "__main__":
    unittest.main(verbosity=2)
