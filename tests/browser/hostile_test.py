"""Records are hostile: markup and escape sequences in them show as text, and nothing runs."""

import unittest

from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

import logvolume
from console_harness import ConsoleTest, shown

# What the page itself is made of: a record may add no element to it.
ELEMENTS = "return document.querySelectorAll('img, iframe, object, embed, script, svg image').length"


class HostileRecords(ConsoleTest):
    def test_markup_and_escape_sequences_show_as_text(self):
        self.open("?kind=access&user=mallory")
        scripts = self.browser.run(ELEMENTS)
        rows = self.browser.rows()
        self.assertEqual(sorted(row[7] for row in rows),
                         sorted([shown(logvolume.HOSTILE_MARKUP), shown(logvolume.HOSTILE_ESCAPE)]))
        self.assertIn("<img src=x onerror=alert(1)>", [row[7] for row in rows])
        self.assertIn("reports/\\x1b[31mred\\x1b[0m\\u202etxt.exe", [row[7] for row in rows])
        self.assertEqual(self.browser.run(
            "return Array.from(document.querySelectorAll('#table td.col-path'),"
            " (cell) => cell.childElementCount);"), [0, 0])

        # The line in full, opened from the keyboard, shows the same text.
        first = self.browser.driver.find_element(By.CSS_SELECTOR, "#table tbody tr")
        first.send_keys(Keys.ENTER)
        detail = self.browser.driver.find_element(By.ID, "detail")
        self.browser.wait(detail.is_displayed)
        self.assertIn(rows[0][7], detail.text)

        self.assertIsNone(self.browser.alert_text())
        self.assertEqual(self.browser.run(ELEMENTS), scripts)
        self.assertEqual(self.browser.run("return document.querySelectorAll('img').length"), 0)
        self.browser.screenshot("hostile")
        self.assertEqual(self.browser.errors(), [])

    def test_hostile_values_in_counts_and_filters_stay_text(self):
        self.open("?kind=access&path=" + "%3Cimg%20src%3Dx%20onerror%3Dalert(1)%3E")
        self.assertEqual([row[7] for row in self.browser.rows()], [logvolume.HOSTILE_MARKUP])
        self.assertEqual(self.browser.driver.find_element(By.ID, "f-path").get_property("value"),
                         logvolume.HOSTILE_MARKUP)
        self.assertIsNone(self.browser.alert_text())
        self.assertEqual(self.browser.run("return document.querySelectorAll('img').length"), 0)


if __name__ == "__main__":
    unittest.main(verbosity=2)
