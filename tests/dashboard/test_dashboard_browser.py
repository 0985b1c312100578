"""The dashboard in headless Chromium on the default device: every page loads and shows the
service's answers, a change made in the page is the service's state (read back with aspctl), a
state the group does not offer shows the service's refusal, and the usage charts draw exactly the
records that the timeline request returns for their range. A screenshot of each page is kept in
the build tree (dashboard-screenshots/)."""
import os
import sys
import unittest

import dashboard_harness
from dashboard_harness import SETTINGS, Device

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.support.ui import Select, WebDriverWait
except ImportError:
    webdriver = None

CHROMIUM = "/usr/bin/chromium"
CHROMEDRIVER = "/usr/bin/chromedriver"
APP = "com.example.maps"
DISPOSED_APP = "com.example.game.arcade"
HOUR_MS = 3600 * 1000
DAY_MS = 24 * HOUR_MS
SERVICE_TIMELINE_MAX = 500


def buckets(records, begin, bucket, count):
    """What each usage chart must draw: per operation group (without the -P / -SC of picker and
    security-component uses), uses per interval: accessed, rejected, and of the accessed those in
    the foreground, in the background and on a locked screen."""
    groups = {}
    for record in records:
        index = (record["beginTimestamp"] - begin) // bucket
        if not 0 <= index < count:
            continue
        group = record["operationGroup"].split("-")[0]
        series = groups.setdefault(group, [[0] * count for _ in range(5)])
        times = record["times"]
        if record["operationMode"] == "allowed":
            series[0][index] += times
            series[2][index] += times if record["appState"] == "foreground" else 0
            series[3][index] += times if record["appState"] == "background" else 0
            series[4][index] += times if record["screenState"] == "locked" else 0
        else:
            series[1][index] += times
    return groups


class DashboardBrowserTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.device = Device().start()
        options = webdriver.ChromeOptions()
        options.binary_location = CHROMIUM
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                         "--window-size=1400,1000", "--lang=en-US"):
            options.add_argument(argument)
        try:
            cls.driver = webdriver.Chrome(service=Service(CHROMEDRIVER), options=options)
        except Exception:
            cls.device.stop()
            raise
        cls.driver.set_script_timeout(20)
        cls.shots = os.path.join(dashboard_harness.BIN_DIR, "..", "dashboard-screenshots")
        os.makedirs(cls.shots, exist_ok=True)

    @classmethod
    def tearDownClass(cls):
        try:
            cls.driver.quit()
        finally:
            cls.device.stop()

    def open(self, route):
        """Shows `route` (a hash) and waits until the page has its answer."""
        driver = self.driver
        if not driver.current_url.startswith(self.device.url):
            driver.get(self.device.url + route)
        else:
            driver.execute_script(
                "document.body.dataset.ready = 'stale';"
                "if (location.hash === arguments[0]) window.dispatchEvent(new HashChangeEvent('hashchange'));"
                "else location.hash = arguments[0];", route)
        WebDriverWait(driver, 20).until(lambda d: d.execute_script("return document.body.dataset.ready") == "true")
        errors = driver.find_elements(By.CSS_SELECTOR, ".error")
        self.assertEqual([e.text for e in errors], [], f"{route} shows an error")

    def screenshot(self, name):
        height = self.driver.execute_script("return document.documentElement.scrollHeight")
        self.driver.set_window_size(1400, max(1000, min(height, 6000)))
        self.driver.save_screenshot(os.path.join(self.shots, name + ".png"))
        self.driver.set_window_size(1400, 1000)

    def location_row(self):
        return self.driver.find_element(By.CSS_SELECTOR, 'tr[data-group="LOCATION"]')

    def apply_in_row(self, state):
        row = self.location_row()
        Select(row.find_element(By.TAG_NAME, "select")).select_by_value(state)
        row.find_element(By.TAG_NAME, "button").click()

    def test_1_every_page_shows_the_service_answers(self):
        self.device.aspctl_json("gtoken", "add", DISPOSED_APP, "--policy", "malicious-app=1")
        bundles = lambda: {e.get_attribute("data-bundle") for e in  # noqa: E731
                           self.driver.find_elements(By.CSS_SELECTOR, "tr[data-bundle]")}
        self.open("#/apps")
        self.assertIn(APP, bundles())
        self.assertGreater(len(bundles()), 10)
        self.screenshot("apps")
        self.open(f"#/app/{APP}")
        self.assertEqual(self.location_row().find_element(By.CSS_SELECTOR, ".checked").text,
                         self.device.group_state(APP, "LOCATION"))
        self.screenshot("app")
        self.open("#/group/LOCATION")
        expected = {info["bundleName"] for info in self.device.aspctl_json("group", "LOCATION")}
        self.assertEqual(bundles(), expected)
        self.screenshot("group")
        self.open("#/usage")
        self.assertGreater(len(self.driver.find_elements(By.CSS_SELECTOR, ".chart canvas")), 0)
        self.screenshot("usage")
        self.open(f"#/usage/{APP}")
        self.assertGreater(len(self.driver.find_elements(By.CSS_SELECTOR, "table tbody tr")), 0)
        self.screenshot("usage-app")
        self.open("#/gtoken")
        row = self.driver.find_element(By.CSS_SELECTOR, f'tr[data-bundle="{DISPOSED_APP}"]')
        self.assertIn("disposed", row.text)
        self.screenshot("gtoken")
        # No script error and nothing the page's content policy blocked, on any page.
        severe = [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] == "SEVERE"]
        self.assertEqual(severe, [])

    def test_2_a_change_in_the_page_is_the_service_state(self):
        self.assertNotEqual(self.device.group_state(APP, "LOCATION"), "ALLOW_ONLY_WHILE_IN_USE")
        self.open(f"#/app/{APP}")
        self.apply_in_row("ALLOW_ONLY_WHILE_IN_USE")
        WebDriverWait(self.driver, 20).until(lambda d: d.find_elements(By.CSS_SELECTOR, "p .applied"))
        self.assertEqual(self.device.group_state(APP, "LOCATION"), "ALLOW_ONLY_WHILE_IN_USE")
        self.assertEqual(self.location_row().find_element(By.CSS_SELECTOR, ".checked").text,
                         "ALLOW_ONLY_WHILE_IN_USE")

    def test_3_a_state_not_offered_shows_the_refusal(self):
        self.open(f"#/app/{APP}")
        before = self.device.group_state(APP, "LOCATION")
        offered = self.device.aspctl_json("groups", APP, "--group", "LOCATION")[0]["shownStates"]
        self.assertNotIn("MEDIA_ONLY", offered)
        self.apply_in_row("MEDIA_ONLY")
        refusal = WebDriverWait(self.driver, 20).until(
            lambda d: [e.text for e in d.find_elements(By.CSS_SELECTOR, "tr[data-group='LOCATION'] .refusal")
                       if e.text])
        self.assertIn("does not offer", refusal[0])
        self.assertIn(offered[0], refusal[0])
        self.assertEqual(self.device.group_state(APP, "LOCATION"), before)
        self.screenshot("app-refusal")

    def charts(self):
        return self.driver.execute_script(
            "return window.aspCharts.map(c => ({group: c.group, begin: c.begin, end: c.end, bucket: c.bucket,"
            " data: c.plot.data.slice(1).map(s => Array.from(s))}));")

    def timeline(self, begin, end):
        """Every record of [begin, end) through aspctl, both modes; each answer whole."""
        records = []
        for mode in ("allowed", "rejected"):
            part = self.device.aspctl_json("usage", "timeline", "--mode", mode, "--begin", str(begin),
                                           "--end", str(end))
            self.assertLess(len(part), SERVICE_TIMELINE_MAX, "a cut answer cannot check the chart")
            records += part
        return records

    def assert_charts_draw(self, charts, records):
        self.assertTrue(charts)
        begin, end, bucket = charts[0]["begin"], charts[0]["end"], charts[0]["bucket"]
        expected = buckets(records, begin, bucket, (end - begin) // bucket)
        self.assertGreater(sum(map(sum, (s[0] for s in expected.values()))), 0, "no use in the range")
        self.assertEqual({c["group"]: c["data"] for c in charts}, expected)

    def test_4_usage_charts_draw_the_timeline_of_their_range(self):
        self.open("#/usage")
        charts = self.charts()
        self.assertEqual(charts[0]["end"] - charts[0]["begin"], DAY_MS)
        self.assert_charts_draw(charts, self.timeline(charts[0]["begin"], charts[0]["end"]))

        # Seven days hold more records than one answer lists: the page must have them all.
        self.driver.execute_script("document.body.dataset.ready = 'stale';")
        self.driver.find_element(By.XPATH, "//button[contains(., 'Last 7 days')]").click()
        WebDriverWait(self.driver, 20).until(lambda d: d.execute_script("return document.body.dataset.ready")
                                             == "true")
        charts = self.charts()
        begin, end = charts[0]["begin"], charts[0]["end"]
        self.assertEqual(end - begin, 7 * DAY_MS)
        records = []
        for day in range(begin, end, DAY_MS):
            records += self.timeline(day, day + DAY_MS)
        self.assertGreater(len(records), SERVICE_TIMELINE_MAX)
        self.assert_charts_draw(charts, records)
        self.screenshot("usage-7-days")


if __name__ == "__main__":
    if webdriver is None or not (os.access(CHROMIUM, os.X_OK) and os.access(CHROMEDRIVER, os.X_OK)):
        missing = "python3-selenium" if webdriver is None else "chromium and chromium-driver"
        if os.environ.get("CI") == "true":
            print(f"FAIL: {missing} missing: scripts/setup.sh installs them", file=sys.stderr)
            sys.exit(1)
        print(f"SKIP: {missing} not installed (scripts/setup.sh installs them)")
        sys.exit(dashboard_harness.SKIP_EXIT)
    dashboard_harness.main()
