"""What the tests of the page share: the program that serves it, and a browser that looks at it."""

import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import time

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.by import By
except ImportError:
    sys.exit("the package python3-selenium is missing")

for needed, package in (("chromium", "chromium"), ("chromedriver", "chromium-driver")):
    if not shutil.which(needed):
        sys.exit(f"the package {package} is missing")

WIDTH, HEIGHT, FRAMES = 320, 180, 300
PATIENCE = 30  # seconds for what takes milliseconds, on a machine that does much else

# Places of the clip's first frame.
BACKDROP, OTHER_BACKDROP, JACKET, FACE = (100, 20), (250, 40), (130, 160), (160, 60)


def program():
    """The command that is tested: ZKHOST_UI, such as "wine zkhost.exe", or zkhost of the path."""
    return shlex.split(os.environ.get("ZKHOST_UI", "zkhost"))


def make_clip(folder):
    command = [*program(), "sample", "-q", "-o", "clip.y4m", "--size", f"{WIDTH}x{HEIGHT}", "--frames", str(FRAMES)]
    subprocess.run(command, cwd=folder, check=True)


def until(condition, what):
    """Waits until something is so, and gives it back."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        value = condition()
        if value:
            return value
        time.sleep(0.01)
    raise AssertionError(f"in {PATIENCE} seconds this was never so: {what}")


class Server:
    """The program with the clip of a folder; the address of its page is what it prints."""

    def __init__(self, folder, *options):
        # names without a folder mean the same to a program for another system
        self.process = subprocess.Popen([*program(), "ui", "clip.y4m", *options], cwd=folder,
                                        stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True)
        line = self.process.stdout.readline()
        if not line.startswith("http://"):
            raise AssertionError(f"the program printed no address but {line!r}")
        self.address = line.strip()

    def close(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()


def start_browser(downloads):
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium")
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--window-size=1280,800"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    browser.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": str(downloads)})
    return browser


class Page:
    """The page in the browser's window, as an operator sees and uses it."""

    def __init__(self, browser, address):
        self.browser = browser
        browser.get(address)
        self.settle()

    def run(self, script, *arguments):
        return self.browser.execute_script(script, *arguments)

    def settle(self):
        """Waits until every change was answered, and what it made is on the screen."""
        until(lambda: self.run("return Boolean(window.zk && zk.drawn && zk.settled())"), "the page has drawn all there is")

    @property
    def state(self):
        return self.run("return zk.state()")

    def param(self, name):
        return next(param["value"] for param in self.state["params"] if param["name"] == name)

    def pixel(self, place):
        """What the screen shows of a pixel of the clip."""
        return self.run("return zk.pixel(...arguments)", *place)

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def click(self, selector):
        element = self.find(selector)
        self.run("arguments[0].scrollIntoView({block: 'nearest'})", element)
        element.click()
        self.settle()

    def view(self, name):
        self.click(f"[data-view={name}]")

    def actions(self):
        return ActionChains(self.browser, duration=20)

    def press(self, *keys):
        """Presses keys together, with whatever has the focus."""
        actions = self.actions()
        for key in keys[:-1]:
            actions.key_down(key)
        actions.send_keys(keys[-1])
        for key in keys[:-1]:
            actions.key_up(key)
        actions.perform()
        self.settle()

    def at(self, place, actions=None):
        """Actions that begin with the pointer over a pixel of the clip."""
        overlay = self.find("#overlay")
        x, y = self.run("""const at = zk.place(...arguments), box = document.getElementById("overlay");
            return [at.x / devicePixelRatio - box.clientWidth / 2, at.y / devicePixelRatio - box.clientHeight / 2]""", *place)
        return (actions or self.actions()).move_to_element_with_offset(overlay, round(x), round(y))

    def click_picture(self, *places, holding=None):
        for place in places:
            actions = self.at(place)
            if holding:
                actions.key_down(holding)
            actions.click()
            if holding:
                actions.key_up(holding)
            actions.perform()
            self.settle()

    def drag_picture(self, start, end):
        actions = self.at(start).click_and_hold()
        self.at(end, actions).release().perform()
        self.settle()

    def touch(self, *steps):
        """Fingers on the picture: each step has the places of those that are down, in pixels of the clip."""
        places = [[self.on_page(place) for place in step] for step in steps]
        for kind, points in zip(["touchStart"] + ["touchMove"] * len(places), places):
            self.browser.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": kind, "touchPoints": points})
        self.browser.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": "touchEnd", "touchPoints": []})
        self.settle()

    def on_page(self, place):
        return self.run("""const at = zk.place(...arguments), box = document.getElementById("overlay").getBoundingClientRect();
            return {x: box.left + at.x / devicePixelRatio, y: box.top + at.y / devicePixelRatio}""", *place)

    def said(self):
        """The messages that are shown."""
        return [notice.text for notice in self.browser.find_elements(By.CSS_SELECTOR, ".notice span")]

    def faults(self):
        """What went wrong in the page's own program, and what the browser refused to load."""
        log = self.browser.get_log("browser")
        return self.run("return zk.faults") + [line["message"] for line in log if line["level"] == "SEVERE"]
