#!/usr/bin/env python3
"""The page for the desk in a real browser: page_test.py BIN_DIRECTORY [--picture FILE] [TEST...]

Ends with status 77, and says why, where Debian's chromium, its driver or python3-selenium is not installed. With
--picture the page as a reader of the README sees it is written to that file.
"""
import csv
import io
import json
import os
import shutil
import socket
import sys
import time
import unittest

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import WebDriverWait
except ImportError:
    if os.access("/usr/bin/python3", os.X_OK) and sys.executable != "/usr/bin/python3":
        os.execv("/usr/bin/python3", ["/usr/bin/python3", *sys.argv])  # where Debian's package is
    webdriver = None
if not webdriver or not shutil.which("chromium") or not shutil.which("chromedriver"):
    print("Skipped: chromium, chromium-driver or python3-selenium is not installed")
    sys.exit(77)

from client_test import Site, execute, run  # takes the directory from the arguments

PICTURE = sys.argv.pop(1) and sys.argv.pop(1) if sys.argv[1:2] == ["--picture"] else None
HOSTILE = "<img src=x onerror=\"document.title='owned'\"></td><script>document.title='owned'</script>&amp;"


class Page(Site):
    copies = 300

    @classmethod
    def setUpClass(cls):
        options = webdriver.ChromeOptions()
        options.binary_location = shutil.which("chromium")
        for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--window-size=1000,1150"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        cls.browser = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        cls.addClassCleanup(cls.browser.quit)

    def setUp(self):
        super().setUp()
        with socket.create_server(("127.0.0.1", 0)) as free:
            self.port = free.getsockname()[1]
        self.start()

    def start(self):
        self.server = self.serve("serve", "--kind=SQL2", "--site", self.site, f"--listen=127.0.0.1:{self.port}")

    def open(self, language="en", scheme="light", width=1000):
        command = self.browser.execute_cdp_cmd
        command("Network.setUserAgentOverride", {"userAgent": "test", "acceptLanguage": language})
        command("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
        command("Emulation.setDeviceMetricsOverride",
                {"width": width, "height": 1150, "deviceScaleFactor": 1, "mobile": width < 500})
        origin = f"http://127.0.0.1:{self.port}"
        permissions = ["clipboardReadWrite", "clipboardSanitizedWrite"]
        command("Browser.grantPermissions", {"origin": origin, "permissions": permissions})
        self.browser.get(origin)
        self.browser.execute_script("sessionStorage.clear(); localStorage.clear()")
        self.browser.refresh()
        self.browser.get_log("browser")  # of an earlier test

    def press(self, *keys):
        self.browser.switch_to.active_element.send_keys(*keys)

    def paste(self, text):
        self.browser.execute_async_script("navigator.clipboard.writeText(arguments[0]).then(arguments[1])", text)
        self.press(Keys.CONTROL, "v")

    def told(self, name):
        return self.browser.find_element(By.ID, name).get_attribute("textContent")

    def answered(self):
        """The table once nothing is asked any more: a list of its cells' lines for each row."""
        stop = self.browser.find_element(By.ID, "stop")
        WebDriverWait(self.browser, 30).until(lambda _: not stop.is_displayed())
        return self.browser.execute_script(
            "return [...document.querySelectorAll('#rows tr')].map(row => [...row.cells].map(cell => cell.innerText))")

    def test_the_keyboard_alone(self):
        self.open()
        for keys in ("00 KA000001\n01, KA000002\nwhat is this\nKA000009", Keys.TAB, "01", Keys.TAB, Keys.ENTER):
            self.press(keys)
        rows = self.answered()
        self.assertEqual([row[:2] for row in rows], [["01\nBiblioteca di San Martino", "KA000002"],
                                                     ["01\nBiblioteca di San Martino", "KA000009"],
                                                     ["00\nBiblioteca Centrale", "KA000001"]])
        for row, said in zip(rows, ("↗ On loan In prestito dal ", "✕ Out of service Fuori servizio", "✓ Available Disponibile")):
            self.assertIn(said, row[2].replace("\n", " "))
        self.assertIn("line 3: what is this", self.told("wrong"))
        self.assertEqual(self.told("count"), "3 copies: 1 Available, 1 On loan, 1 Out of service")
        self.press(Keys.TAB)
        self.press(Keys.ENTER)  # as CSV
        WebDriverWait(self.browser, 10).until(lambda _: self.told("count") == "Copied.")
        copied = self.browser.execute_async_script("navigator.clipboard.readText().then(arguments[0])")
        lines = self.site / "asked"
        lines.write_text("01\t\tKA000002\t\n01\t\tKA000009\t\n00\t\tKA000001\t\n")
        program = run("ask", "--kind=SQL2", f"--site={self.site}", "--format=csv", lines).stdout.decode()
        self.assertEqual([*csv.reader(io.StringIO(copied))], [*csv.reader(io.StringIO(program))])
        for order, first in (("ascending", "KA000002"), ("descending", "KA000009"), (None, "KA000002")):
            self.press(*([Keys.TAB, Keys.TAB] if order == "ascending" else []))
            self.press(Keys.ENTER)
            self.assertEqual(self.answered()[0][1], first, order)
            heading = self.browser.switch_to.active_element.find_element(By.XPATH, "..")
            self.assertEqual(heading.get_attribute("aria-sort"), order)
        self.browser.refresh()
        self.assertEqual([self.browser.find_element(By.ID, name).get_property("value") for name in ("copies", "own")],
                         ["00 KA000001\n01, KA000002\nwhat is this\nKA000009", "01"])

    def test_three_hundred_lines_pasted(self):
        self.open()
        lines = (self.site / "all.txt").read_text()
        self.paste(lines)
        self.press(Keys.CONTROL, Keys.ENTER)
        rows = self.answered()
        asked = run("ask", "--kind=SQL2", f"--site={self.site}", "--format=ndjson", self.site / "all.txt").stdout.decode()
        answers = [json.loads(line) for line in asked.splitlines()]
        self.assertEqual(len(answers), len(lines.splitlines()))
        self.assertGreaterEqual(len(answers), 300)
        self.assertEqual([row[1].split("\n")[0] for row in rows], [answer["request"]["inventory"] for answer in answers])
        for row, answer in zip(rows, answers):
            self.assertTrue(" ".join(answer["availability"].split()) in " ".join(row[2].split()), (row, answer))

    def test_what_a_page_looks_like(self):
        """Words in the browser's language, no scrolling sideways, and text that can be read in either scheme."""
        for language, scheme, width, title in (("it-IT,it", "dark", 360, "Si può avere?"), ("en-GB,en", "light", 1000, "Can it be had?")):
            self.open(language, scheme, width)
            self.assertEqual(self.browser.title, title)
            self.paste((self.site / "requests.txt").read_text())
            self.press(Keys.TAB)
            self.press("01", Keys.CONTROL, Keys.ENTER)
            self.assertEqual(len(self.answered()), 11)
            wide = "const { scrollWidth, clientWidth } = document.documentElement; return scrollWidth - clientWidth"
            self.assertLessEqual(self.browser.execute_script(wide), 0)
            poor = self.browser.execute_script("""
                const parts = colour => colour.match(/[\\d.]+/g).map(Number);
                const light = colour => parts(colour).slice(0, 3).map(c => c / 255)
                    .map(c => c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4)
                    .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0);
                const ground = e => parts(getComputedStyle(e).backgroundColor)[3] === 0 ? ground(e.parentElement)
                    : getComputedStyle(e).backgroundColor;
                return [...document.querySelectorAll("main *")].filter(e => e.innerText).filter(e => {
                    const [dark, bright] = [light(getComputedStyle(e).color), light(ground(e))].sort((a, b) => a - b);
                    return (bright + 0.05) / (dark + 0.05) < 4.5;
                }).map(e => e.outerHTML)""")
            self.assertEqual(poor, [], scheme)
        if PICTURE:
            self.browser.execute_script("document.activeElement.blur(); scrollTo(0, 0)")
            self.browser.save_screenshot(PICTURE)

    def test_hostile_texts_are_texts(self):
        quoted = HOSTILE.replace("'", "''")
        execute(self.site / "library.db", f"UPDATE TABBIBLIOTECHE SET DESCR = '{quoted}' WHERE CODBIB = '00'")
        self.edit("SvrDisp.ini", b"\n2=Disponibile", f"\n2={HOSTILE}".encode())
        self.end(self.server)
        self.start()
        self.open()
        self.paste(f"00\t=1+1\tKA000001\t{HOSTILE}")
        self.press(Keys.CONTROL, Keys.ENTER)
        (library, copy, answer), = self.answered()
        self.assertEqual([library.count(HOSTILE), copy.count(HOSTILE), answer.count(HOSTILE)], [1, 1, 1])
        self.assertEqual(self.browser.title, "Can it be had?")
        self.assertIn("\n00,'=1+1,KA000001,", self.browser.execute_script("return csv()"))
        self.assertEqual(self.browser.find_elements(By.CSS_SELECTOR, "#rows img, #rows script"), [])
        self.assertEqual(self.browser.get_log("browser"), [])

    def test_failures_are_told_and_nothing_typed_is_lost(self):
        self.open()
        self.press("00 KA000001\n01 KA000002")
        library, away = self.site / "library.db", self.site / "away"

        def asked(told, key=Keys.ENTER):
            self.press(Keys.CONTROL, key)
            rows = self.answered()
            self.assertIn(told, self.told("trouble"))
            self.assertEqual(self.browser.find_element(By.ID, "copies").get_property("value"), "00 KA000001\n01 KA000002")
            return rows

        library.rename(away)
        self.assertEqual([row[2].split()[0] for row in asked("could not be asked about")], ["!", "!"])
        away.rename(library)
        again = self.browser.find_element(By.ID, "again")
        end = time.monotonic() + 30
        while again.is_displayed() and time.monotonic() < end:  # until the back end is opened again
            again.click()
            self.answered()
            time.sleep(0.2)
        self.assertEqual([row[2].split()[0] for row in self.answered()], ["✓", "↗"])
        self.browser.find_element(By.ID, "copies").click()
        self.browser.execute_script("""
            window.real = fetch; fetch = () => Promise.resolve(
                new Response('{"error_description": "twelve are waiting"}', {status: 503}))""")
        asked("too busy, or cannot answer now. Ask again in a moment.\ntwelve are waiting\nWhat you typed is still there.")
        self.browser.execute_script("""
            fetch = async (where, how) => {
              const lines = await (await real(where, how)).text();
              return new Response(new ReadableStream({ start(stream) {
                stream.enqueue(new TextEncoder().encode(lines.slice(0, lines.indexOf("\\n") + 9)));
                how.signal.addEventListener("abort", () => stream.error(how.signal.reason));
              }}));
            }""")
        self.press(Keys.CONTROL, Keys.ENTER)  # answers are shown as they come, and stay when the rest is given up
        WebDriverWait(self.browser, 10).until(lambda _: "1 of 2" in self.told("count") and "✓" in self.told("rows"))
        self.browser.find_element(By.ID, "stop").click()
        self.assertEqual([row[2].split()[0] for row in self.answered()], ["✓", "…"])
        self.browser.find_element(By.ID, "copies").click()
        self.browser.execute_script("""
            fetch = (...all) => real(...all).then(async whole => new Response((await whole.text()).slice(0, -9)))""")
        self.assertEqual([row[2].split()[0] for row in asked("connection was lost")], ["✓", "…"])
        self.browser.execute_script("""
            fetch = (...all) => real(...all).then(async whole => new Response((await whole.text()).replace("KA000001", "KA000003")))""")
        self.assertEqual([row[2].split()[0] for row in asked("another copy than was asked")], ["…", "…"])
        self.browser.execute_script("fetch = real")
        self.server.kill()
        self.server.communicate()
        asked("cannot be reached")


if __name__ == "__main__":
    unittest.main(verbosity=2)
