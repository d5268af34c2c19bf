"""The office web page in a real browser: a device tallies a list with the admin tool and writes
its list file, brovant-office takes it in and serves it, and headless Chromium driven by Selenium
logs in, filters, opens the list, compares its totals with the device's, downloads the CSV, and
finds a reader refused the admin page. Header texts with HTML and SQL are shown as text.

Usage: web_page_test.py BROVANT_TOOL BROVANT_OFFICE SOURCE_DIR
"""
import glob
import os
import re
import subprocess
import sys
import tempfile
import time
import unittest

from selenium import webdriver
from selenium.common.exceptions import WebDriverException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

TOOL, OFFICE, SOURCE = sys.argv[1:4]
HOSTILE = "<script>alert(1)</script>' OR 1=1--"


def run(*args, stdin=None):
    done = subprocess.run(args, input=stdin, capture_output=True, text=True, timeout=120)
    if done.returncode != 0:
        raise AssertionError(f"{args}: {done.returncode} {done.stderr}")
    return done.stdout


class OfficeWebPage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.TemporaryDirectory()
        root = os.path.join(cls.tmp.name, "device")
        cls.root = root
        data = os.path.join(cls.tmp.name, "office")
        run(TOOL, "--root", root, "import-config", os.path.join(SOURCE, "demo/passive.dtr"))
        for name, forstamt in (("HIEB01", "Forstamt Nord"), ("HIEB02", HOSTILE)):
            run(TOOL, "--root", root, "new-list", name, "--region", "WR01", "--field",
                "1=" + forstamt, "--field", "2=Revier", "--field", "3=12", "--field", "12=Anna")
        run(TOOL, "--root", root, "tally", "HIEB01", "--trees", "-",
            stdin="--bhd 25 --species FI --tarif FI01\n--bhd 42 --species FI --stk 2 --tarif FI01\n"
                  "--bhd 31 --species BU --tarif BU01\n")
        run(TOOL, "--root", root, "tally", "HIEB02", "--bhd", "50", "--species", "EI", "--tarif", "EI01")
        for name in ("HIEB01", "HIEB02"):
            run(TOOL, "--root", root, "mark", name)
        run(TOOL, "--root", root, "export-lists")
        files = sorted(glob.glob(os.path.join(root, "Export", "*")))
        run(OFFICE, "--data", data, "import", *files)
        run(OFFICE, "--data", data, "user", "add", "anna", "--role", "clerk", stdin="Fichte 1\n")
        run(OFFICE, "--data", data, "user", "add", "leo", "--role", "reader", stdin="Buche 2\n")
        run(OFFICE, "--data", data, "user", "add", "chef", "--role", "admin", stdin="Eiche 3\n")
        cls.data = data
        cls.server = subprocess.Popen([OFFICE, "--data", data, "serve", "--listen", "127.0.0.1:0"],
                                      stdout=subprocess.PIPE, text=True)
        first = cls.server.stdout.readline()
        cls.base = re.search(r"http://[\d.]+:\d+", first).group(0)
        cls.downloads = os.path.join(cls.tmp.name, "downloads")
        os.makedirs(cls.downloads)
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for arg in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu"):
            options.add_argument(arg)
        options.add_experimental_option("prefs", {"download.default_directory": cls.downloads})
        cls.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        cls.browser.implicitly_wait(5)

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.server.terminate()
        cls.server.wait(10)
        cls.tmp.cleanup()

    def open_by(self, by, value):
        """Clicks what loads another page and waits until it has replaced this one: an element
        looked up before that would be the old page's, gone stale a moment later."""
        page = self.browser.find_element(By.TAG_NAME, "html")
        self.browser.find_element(by, value).click()

        def replaced(_):
            # Chromium reports the old page's node mid-swap as a plain error ("does not belong to
            # the document"), not always as a stale element: either means the page was replaced.
            try:
                page.is_enabled()
                return False
            except WebDriverException:
                return True

        WebDriverWait(self.browser, 20).until(replaced)

    def log_in(self, name, password):
        b = self.browser
        b.delete_all_cookies()
        b.get(self.base + "/login")
        b.find_element(By.ID, "name").send_keys(name)
        b.find_element(By.ID, "password").send_keys(password)
        self.open_by(By.ID, "login")

    def list_numbers(self):
        rows = self.browser.find_elements(By.CSS_SELECTOR, "#lists tr td:nth-child(2)")
        return [r.text for r in rows]

    def test_clerk_filters_opens_compares_and_downloads(self):
        b = self.browser
        self.log_in("anna", "Fichte 1")
        self.assertEqual(sorted(self.list_numbers()), ["HIEB01", "HIEB02"])
        # The hostile header text is shown as it is, never run (an alert would fail every step).
        self.assertIn(HOSTILE, b.find_element(By.ID, "lists").text)

        b.find_element(By.ID, "q").send_keys("nord")
        self.open_by(By.ID, "filter")
        self.assertEqual(self.list_numbers(), ["HIEB01"])

        self.open_by(By.LINK_TEXT, "HIEB01")
        shown = [[c.text for c in row.find_elements(By.TAG_NAME, "td")]
                 for row in b.find_elements(By.CSS_SELECTOR, "#totals tr")[1:]]
        device = [line.split("|") for line in run(TOOL, "--root", self.root, "totals", "HIEB01").splitlines()
                  if line.strip("|")]
        device = [[cell.strip() for cell in row] for row in device]
        device[-1][0] = "Gesamt"
        self.assertEqual(shown, device)
        self.assertTrue(b.find_element(By.ID, "chart").is_displayed())

        b.find_element(By.ID, "download-csv").click()
        with open(self.wait_for_download(".csv"), encoding="utf-8-sig") as csv:
            lines = csv.read().splitlines()
        self.assertTrue(lines[0].startswith("Liste;"))
        self.assertEqual(len(lines), 4)  # the header and three trees

    def wait_for_download(self, suffix):
        for _ in range(100):
            done = [f for f in os.listdir(self.downloads) if f.endswith(suffix)]
            if done:
                return os.path.join(self.downloads, done[0])
            time.sleep(0.1)
        self.fail("no " + suffix + " downloaded")

    def test_admin_publishes_a_configuration_that_loads(self):
        b = self.browser
        self.log_in("chef", "Eiche 3")
        b.get(self.base + "/admin/users")
        b.find_element(By.ID, "configuration").send_keys(os.path.join(SOURCE, "README.md"))
        self.open_by(By.ID, "publish")
        self.assertIn("Nicht veröffentlicht", b.find_element(By.ID, "notice").text)
        self.assertFalse(os.path.exists(os.path.join(self.data, "published", "STAMM.DAT")))

        b.find_element(By.ID, "configuration").send_keys(os.path.join(SOURCE, "demo/passive.dtr"))
        self.open_by(By.ID, "publish")
        self.assertEqual(b.find_element(By.ID, "notice").text, "Konfiguration veröffentlicht.")
        with open(os.path.join(self.data, "published", "STAMM.DAT"), "rb") as published, \
                open(os.path.join(SOURCE, "demo/passive.dtr"), "rb") as original:
            self.assertEqual(published.read(), original.read())

        # With the configuration the list shows its assortments and prints as the device does.
        b.get(self.base + "/")
        self.open_by(By.LINK_TEXT, "HIEB01")
        rows = b.find_elements(By.CSS_SELECTOR, "#assortments tr")
        self.assertEqual(len(rows), 4)  # heading, BU, FI, all
        b.find_element(By.ID, "download-pdf").click()
        with open(self.wait_for_download(".pdf"), "rb") as pdf:
            self.assertEqual(pdf.read(5), b"%PDF-")

    def test_reader_is_refused_the_admin_page(self):
        self.log_in("leo", "Buche 2")
        self.assertEqual(len(self.list_numbers()), 2)
        self.browser.get(self.base + "/admin/users")
        self.assertIn("Keine Berechtigung", self.browser.find_element(By.TAG_NAME, "h1").text)
        self.assertEqual(self.browser.find_elements(By.ID, "users"), [])

    def test_wrong_password_is_refused(self):
        self.log_in("anna", "falsch")
        self.assertIn("Name oder Passwort falsch", self.browser.find_element(By.ID, "notice").text)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
