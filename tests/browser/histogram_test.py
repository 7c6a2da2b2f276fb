"""The histogram has the command line's buckets, and picking bars narrows the range and the
page's address."""

import unittest

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

from console_harness import ConsoleTest, csv_rows, json_rows


class Histogram(ConsoleTest):
    def bars(self):
        return self.browser.driver.find_elements(By.CSS_SELECTOR, "#chart .bar")

    def test_bars_are_the_command_line_buckets(self):
        self.open()
        buckets = json_rows(self.cli("--histogram", "day", "--output", "json"))
        self.assertGreater(len(buckets), 5)
        labels = [bar.get_attribute("aria-label") for bar in self.bars()]
        self.assertEqual(labels, ["%s: %d lines" % (bucket["day"], bucket["count"])
                                  for bucket in buckets])

    def test_click_on_a_bar_narrows_range_and_address(self):
        self.open()
        day = json_rows(self.cli("--histogram", "day", "--output", "json"))[2]
        self.bars()[2].click()
        self.browser.wait(lambda: ["since", day["day"]] in self.browser.query())
        self.assertIn(["until", day["day"] + " 23:59:59"], self.browser.query())
        self.browser.wait_shown()
        self.browser.load_all_rows()
        rows = self.browser.rows()
        self.assertEqual(len(rows), day["count"])
        self.assertTrue(all(row[0].startswith(day["day"]) for row in rows))
        # One day is shown by the hour.
        self.assertTrue(all(" " in bar.get_attribute("aria-label").split(":")[0]
                            for bar in self.bars()))
        self.assertEqual(self.browser.driver.find_element(By.ID, "f-since").get_property("value"),
                         day["day"])
        self.browser.screenshot("histogram-day")

    def test_drag_over_bars_narrows_to_their_range(self):
        self.open()
        days = json_rows(self.cli("--histogram", "day", "--output", "json"))
        bars = self.bars()
        ActionChains(self.browser.driver).click_and_hold(bars[1]).move_to_element(bars[4])\
            .release().perform()
        self.browser.wait(lambda: ["since", days[1]["day"]] in self.browser.query())
        self.assertIn(["until", days[4]["day"] + " 23:59:59"], self.browser.query())
        self.browser.wait_shown()
        self.browser.load_all_rows()
        expected = csv_rows(self.cli("--since", days[1]["day"], "--until",
                                     days[4]["day"] + " 23:59:59", "--output", "csv"))
        self.assertEqual(len(self.browser.rows()), len(expected))

    def test_bars_are_reached_and_picked_with_the_keyboard(self):
        self.open()
        days = json_rows(self.cli("--histogram", "day", "--output", "json"))
        body = self.browser.driver.find_element(By.TAG_NAME, "body")
        body.click()
        for _ in range(60):
            active = self.browser.driver.switch_to.active_element
            if "bar" in (active.get_attribute("class") or "").split():
                break
            active.send_keys(Keys.TAB)
        else:
            self.fail("Tab never reached the histogram's bars")
        active.send_keys(Keys.ARROW_RIGHT)
        self.browser.driver.switch_to.active_element.send_keys(Keys.ARROW_RIGHT)
        self.browser.driver.switch_to.active_element.send_keys(Keys.ENTER)
        self.browser.wait(lambda: ["since", days[2]["day"]] in self.browser.query())


if __name__ == "__main__":
    unittest.main(verbosity=2)
