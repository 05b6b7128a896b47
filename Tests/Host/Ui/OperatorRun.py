"""An operator who does not stop: OperatorRun.py [MINUTES [SEED]]

Does at random what a page of "zkhost ui" offers, and fails when the page or the program says that something went wrong.
A run of at least five minutes fails, too, when threads, handles or memory of either grow: after a fifth of the time
against the end.
"""

import pathlib
import random
import re
import sys
import tempfile
import time

import Support
from Support import HEIGHT, WIDTH, Page, Server, until
from selenium.webdriver.common.keys import Keys

VIEWS = ("result", "matte", "status", "plate", "source")
NUMBERS = ("choke", "soften", "spill", "solid", "noise", "shadows")


class Operator:
    def __init__(self, page, chance):
        self.page, self.chance = page, chance

    def faults(self):
        """What went wrong; the program may refuse what is asked, such as one colour too many, if the page says so."""
        faults = self.page.faults()
        return [fault for fault in faults if "status of 400" not in fault or not self.page.said()]

    def place(self):
        return self.chance.randrange(4, WIDTH - 4), self.chance.randrange(4, HEIGHT - 4)

    def act(self):
        self.chance.choice(self.ACTIONS)(self)

    def click(self):
        self.page.click_picture(self.place(), holding=self.chance.choice((None, None, Keys.SHIFT)))

    def drag(self):
        self.page.drag_picture(self.place(), self.place())

    def reset(self):
        self.page.click("#find")

    def view(self):
        self.page.view(self.chance.choice(VIEWS))

    def slide(self):
        self.page.run("""const slider = document.getElementById("param-" + arguments[0]);
            const low = Number(slider.min), high = Number(slider.max);
            for (const part of arguments[1]) {
                slider.value = low + part * (high - low);
                slider.dispatchEvent(new Event("input"));
            }""", self.chance.choice(NUMBERS), [self.chance.random() for _ in range(20)])
        self.page.settle()

    def steps(self):
        for _ in range(self.chance.randrange(1, 5)):
            self.page.press(Keys.CONTROL, *self.chance.choice(((Keys.SHIFT, "z"), ("z",), ("z",))))

    def scrub(self):
        for _ in range(10):
            self.page.press(*self.chance.choice(((Keys.ARROW_RIGHT,), (Keys.ARROW_LEFT,), (Keys.SHIFT, Keys.ARROW_RIGHT))))

    def play(self):
        self.page.run("document.activeElement.blur()")
        self.page.press(" ")
        drawn = self.page.run("return zk.drawn")
        until(lambda: self.page.run("return zk.drawn") > drawn + 20 or not self.page.run("return zk.player.playing"),
              "frames are played")
        if self.page.run("return zk.player.playing"):
            self.page.press(" ")

    def wipe(self):
        self.page.click("#wipe")

    def zoom(self):
        self.page.run("zk.zoomTo(arguments[0])", self.chance.choice((1, 2, 8, 32)))
        self.page.settle()
        self.page.press("0")

    def reload(self):
        self.page.browser.refresh()
        self.page.settle()

    ACTIONS = (click, click, drag, reset, view, slide, slide, slide, steps, scrub, play, wipe, zoom, reload)


def figures(server, page):
    """Of the program: threads, handles, KiB resident. Of the page: bytes of its objects and how many nodes there are."""
    page.browser.execute_cdp_cmd("HeapProfiler.collectGarbage", {})
    process = pathlib.Path("/proc") / str(server.process.pid)
    status = (process / "status").read_text()
    metrics = page.browser.execute_cdp_cmd("Performance.getMetrics", {})["metrics"]
    of_page = {metric["name"]: metric["value"] for metric in metrics}
    return {"threads": int(re.search(r"Threads:\s*(\d+)", status)[1]),
            "handles": len(list((process / "fd").iterdir())),
            "resident KiB": int(re.search(r"VmRSS:\s*(\d+)", status)[1]),
            "objects of the page, bytes": int(of_page["JSHeapUsedSize"]),
            "nodes of the page": int(of_page["Nodes"]) - page.run("""const list = document.getElementById("steps");
                let nodes = 0; // of the steps of editing: these may be many
                for (const walker = document.createTreeWalker(list); walker.nextNode();) ++nodes;
                return nodes""")}


# What may be added from a fifth of the time on: parts of what there was, and more of the kind.
ALLOWED = {"threads": (0, 0), "handles": (0, 2), "resident KiB": (.02, 8192), "objects of the page, bytes": (.2, 1 << 20),
           "nodes of the page": (.2, 500)}


def run(minutes, seed, folder):
    Support.make_clip(folder)
    browser = Support.start_browser(folder)
    browser.execute_cdp_cmd("Performance.enable", {})
    server = Server(folder)
    try:
        page, actions, drawn, warm = Page(browser, server.address), 0, 0, None
        operator, begin = Operator(page, random.Random(seed)), time.monotonic()
        while time.monotonic() - begin < 60 * minutes:
            if warm is None and time.monotonic() - begin > 12 * minutes:
                page.settle()
                warm = figures(server, page)
            before = page.run("return zk.drawn")
            operator.act()
            actions += 1
            drawn += max(page.run("return zk.drawn") - before, 0)
            faults = operator.faults()
            if faults:
                return [f"after {actions} actions: {fault}" for fault in faults]
        page.settle()
        end = figures(server, page)
        warm = warm or end
    finally:
        browser.quit()
        server.close()
    print(f"{minutes} minutes, seed {seed}: {actions} actions, {drawn} frames drawn; then, and after a fifth of that:")
    for name in end:
        print(f"  {name:28}{end[name]:12,}{warm[name]:14,}")
    if minutes < 5:
        return []
    return [f"{name} grew from {warm[name]} to {end[name]}" for name, (part, more) in ALLOWED.items()
            if end[name] > warm[name] * (1 + part) + more]


def main():
    minutes = float(sys.argv[1]) if len(sys.argv) > 1 else .1
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else 1
    with tempfile.TemporaryDirectory() as folder:
        wrong = run(minutes, seed, pathlib.Path(folder))
    sys.exit("\n".join(wrong) if wrong else 0)


if __name__ == "__main__":
    main()
