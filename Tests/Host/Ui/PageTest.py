"""The page of "zkhost ui" in a browser: what an operator does, and what the screen shows then."""

import base64
import pathlib
import tempfile
import unittest

import Support
from Support import BACKDROP, FACE, JACKET, OTHER_BACKDROP, Page, Server, until
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

# A picture of one blue pixel.
BLUE_PNG = "iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAIAAACQd1PeAAAADElEQVR4nGNgYPgPAAEDAQAIicLsAAAAAElFTkSuQmCC"


def setUpModule():
    global folder_of_all, folder, browser
    folder_of_all = tempfile.TemporaryDirectory()
    folder = pathlib.Path(folder_of_all.name)
    Support.make_clip(folder)
    browser = Support.start_browser(folder)


def tearDownModule():
    browser.quit()
    folder_of_all.cleanup()


def is_green(colour):
    red, green, blue = colour
    return green > red + 40 and green > blue + 40


def is_grey(colour):
    return max(colour) - min(colour) <= 6


class PageTest(unittest.TestCase):
    def setUp(self):
        self.server = Server(folder)
        self.addCleanup(self.server.close)
        self.addCleanup(self.leave)
        self.page = Page(browser, self.server.address)

    def leave(self):
        """So that no page asks for what is not there any more, and the next test finds an empty log."""
        browser.get("about:blank")
        browser.get_log("browser")

    def test_opens_with_the_picture_keyed(self):
        page = self.page
        self.assertTrue(page.state["automatic"])
        self.assertTrue(is_grey(page.pixel(BACKDROP)), page.pixel(BACKDROP))  # the checkerboard
        self.assertFalse(is_grey(page.pixel(FACE)), page.pixel(FACE))
        self.assertEqual(page.find("#clip-name").text, "clip.y4m")
        self.assertIn("320 × 180", page.find("#clip-facts").text)
        self.assertIn("backdrop", page.find("#stats").text)
        self.assertNotIn("token", page.browser.current_url)
        self.assertEqual(page.faults(), [])

    def test_a_reset_loses_the_key_and_automatic_finds_it_again(self):
        page = self.page
        page.click_picture(BACKDROP)
        taken = page.state["keys"]
        page.click("#find")
        self.assertTrue(page.state["automatic"])
        self.assertNotEqual(page.state["keys"], taken)
        self.assertTrue(is_grey(page.pixel(OTHER_BACKDROP)))

    def test_a_click_takes_what_the_eyedropper_shows(self):
        page = self.page
        page.at(BACKDROP).perform()
        chip = until(lambda: page.find("#chip").text, "the eyedropper shows a colour")
        page.click_picture(BACKDROP)
        self.assertFalse(page.state["automatic"])
        self.assertEqual(chip, f"takes {page.state['keys'][0]}")
        self.assertTrue(is_grey(page.pixel(OTHER_BACKDROP)))

    def test_a_drag_takes_an_area(self):
        self.page.drag_picture((80, 10), (120, 40))
        self.assertFalse(self.page.state["automatic"])
        self.assertEqual(len(self.page.state["keys"]), 1)

    def test_shift_and_a_click_protects(self):
        page = self.page
        page.click_picture(BACKDROP, holding=Keys.SHIFT)
        self.assertEqual(len(page.state["protected"]), 1)
        self.assertTrue(is_green(page.pixel(BACKDROP)), page.pixel(BACKDROP))
        page.click("#keys .colours:nth-of-type(2) .colour")
        self.assertEqual(page.state["protected"], [])
        self.assertTrue(is_grey(page.pixel(BACKDROP)))

    def test_a_slider_moves_the_picture_and_a_double_click_ends_it(self):
        page = self.page
        page.view("matte")
        edge = self.edge_of_the_jacket()
        slider = page.find("#param-choke")
        page.run("arguments[0].scrollIntoView({block: 'center'})", slider)
        drawn = page.run("return zk.drawn")
        page.actions().move_to_element(slider).click_and_hold().move_by_offset(40, 0).move_by_offset(30, 0).release().perform()
        page.settle()
        self.assertGreater(page.param("choke"), 1)
        self.assertGreater(page.run("return zk.drawn"), drawn)
        self.assertLess(page.pixel(edge)[0], 128)
        page.actions().double_click(slider).perform()
        page.settle()
        self.assertEqual(page.param("choke"), 0)
        self.assertGreater(page.pixel(edge)[0], 128)

    def edge_of_the_jacket(self):
        """The last opaque pixel left of the jacket, in the matte."""
        y = JACKET[1]
        return min((x, y) for x in range(80, JACKET[0]) if self.page.pixel((x, y))[0] > 128)

    def test_a_number_field_keeps_to_its_range(self):
        page = self.page
        field = page.find("#param-spill-number")
        field.clear()
        field.send_keys("250", Keys.ENTER)
        page.settle()
        self.assertEqual(page.param("spill"), 100)
        field.clear()
        field.send_keys("30", Keys.ENTER)
        page.settle()
        self.assertEqual(page.param("spill"), 30)

    def test_steps_go_back_and_forward_by_keys_and_by_the_list(self):
        page = self.page
        page.click_picture(BACKDROP)
        page.click_picture(OTHER_BACKDROP)
        keys, at = page.state["keys"], page.state["steps"]["at"]
        self.assertEqual(len(keys), 2)
        page.press(Keys.CONTROL, "z")
        self.assertEqual(page.state["keys"], keys[:1])
        page.press(Keys.CONTROL, Keys.SHIFT, "z")
        self.assertEqual(page.state["keys"], keys)
        page.click("[data-step='0']")
        self.assertEqual(page.state["steps"]["at"], 0)
        page.click(f"[data-step='{at}']")
        self.assertEqual(page.state["keys"], keys)

    def test_each_view_shows_what_it_says(self):
        page = self.page
        page.view("source")
        self.assertTrue(is_green(page.pixel(BACKDROP)))
        page.view("matte")
        self.assertEqual(page.pixel(BACKDROP), [0, 0, 0])
        self.assertEqual(page.pixel(JACKET), [255, 255, 255])
        page.press("4")  # status
        self.assertEqual(page.pixel(BACKDROP), [0, 0, 0])
        self.assertIn(page.pixel(JACKET), ([255, 255, 255], [0, 200, 0]))
        page.view("plate")
        self.assertTrue(is_green(page.pixel(JACKET)), page.pixel(JACKET))
        page.view("result")
        page.run("document.getElementById('pick-colour').value = '#ff0000'")
        page.click("[data-over=colour]")
        page.run("document.getElementById('pick-colour').dispatchEvent(new Event('input'))")
        page.settle()
        self.assertEqual(page.pixel(BACKDROP), [255, 0, 0])

    def test_the_result_lies_over_a_picture_of_ones_own(self):
        page = self.page
        (folder / "blue.png").write_bytes(base64.b64decode(BLUE_PNG))
        page.find("#pick-picture").send_keys(str(folder / "blue.png"))
        until(lambda: page.pixel(BACKDROP) == [0, 0, 255], "the picture is behind the result")
        self.assertNotEqual(page.pixel(FACE), [0, 0, 255])
        (folder / "broken.png").write_bytes(b"no picture")
        page.find("#pick-picture").send_keys(str(folder / "broken.png"))
        until(page.said, "the page says that it cannot read this")

    def test_the_wipe_is_dragged_between_source_and_result(self):
        page = self.page
        page.click("#wipe")
        self.assertTrue(is_green(page.pixel(BACKDROP)))
        self.assertTrue(is_grey(page.pixel(OTHER_BACKDROP)))
        page.actions().drag_and_drop_by_offset(page.find("#wipe-handle"), -400, 0).perform()
        page.settle()
        self.assertTrue(is_grey(page.pixel(BACKDROP)), page.run("return zk.look.wipeAt"))

    def test_zoom_shows_single_pixels_and_their_values(self):
        page = self.page
        page.view("source")
        page.run("zk.zoomTo(32)")
        page.settle()
        self.assertLess(page.run("return zk.last().crop.w"), 60)
        middle = (160, 90)
        page.at(middle).perform()
        text = until(lambda: "alpha" in page.find("#readout").text and page.find("#readout").text, "values are shown")
        red, green, blue = page.pixel(middle)
        self.assertIn(f"{red} {green} {blue}", text)
        page.press("0")
        self.assertEqual(page.run("return zk.last().crop.w"), 320)

    def test_fingers_zoom_and_take_a_colour(self):
        page = self.page
        before = page.run("return zk.scale()")
        page.touch([(150, 90), (170, 90)], [(140, 90), (180, 90)], [(120, 90), (200, 90)])
        self.assertGreater(page.run("return zk.scale()"), 2 * before)
        self.assertTrue(page.state["automatic"])  # two fingers take nothing
        page.press("0")
        page.touch([BACKDROP])
        self.assertFalse(page.state["automatic"])

    def test_an_area_is_drawn_moved_and_deleted(self):
        page = self.page
        page.press("g")
        corners = (100, 130), (170, 130), (170, 170), (100, 170)
        page.click_picture(*corners, corners[0])
        drawn = [tuple(map(float, corner.split(","))) for corner in page.state["regions"]["garbage"].split()]
        self.assertEqual([(int(x), int(y)) for x, y in drawn], list(corners))
        self.assertTrue(is_grey(page.pixel(JACKET)))
        page.drag_picture(corners[0], (165, 165))
        page.drag_picture(corners[3], (168, 168))
        self.assertFalse(is_grey(page.pixel(JACKET)))
        page.press(Keys.DELETE)
        self.assertEqual(len(page.state["regions"]["garbage"].split()), 3)
        page.run("document.getElementById('regions').parentElement.open = true")
        page.click("[data-remove=garbage]")
        self.assertEqual(page.state["regions"]["garbage"], "")

    def test_all_of_it_goes_by_keyboard(self):
        page = self.page
        page.run("document.getElementById('overlay').focus()")
        for _ in range(7):
            page.press(Keys.SHIFT, Keys.ARROW_UP)
        page.press(Keys.ENTER)
        self.assertFalse(page.state["automatic"])
        slider = page.find("#param-spill")
        page.run("arguments[0].focus()", slider)
        page.press(Keys.SHIFT, Keys.ARROW_LEFT)
        self.assertEqual(page.param("spill"), 95)
        page.run("document.activeElement.blur()")
        page.press("?")
        self.assertTrue(page.find("#help-dialog").is_displayed())
        page.press(Keys.ESCAPE)
        self.assertFalse(page.find("#help-dialog").is_displayed())

    def test_keys_are_saved_and_loaded(self):
        page = self.page
        page.click_picture(BACKDROP)
        wanted = page.state["keys"]
        page.click("#save")
        saved = folder / "keys.xml"
        until(saved.exists, "the browser has the file")
        page.click("#find")
        self.assertNotEqual(page.state["keys"], wanted)
        page.click("#load")
        page.find("#pick-keys").send_keys(str(saved))
        until(lambda: page.state["keys"] == wanted, "the keys are loaded")
        saved.write_text("no keys at all")
        page.click("#load")
        page.find("#pick-keys").send_keys(str(saved))
        until(lambda: page.browser.find_elements(By.CSS_SELECTOR, "#alerts .notice"), "the page says that it cannot read this")
        saved.unlink()

    def test_both_slots_and_generations_keep_their_keys(self):
        page = self.page
        page.click_picture(BACKDROP)
        page.click("[data-slot=B]")
        page.click_picture(OTHER_BACKDROP)
        self.assertEqual(len(page.state["keys"]), 2)
        page.press("x")
        self.assertEqual((page.state["slot"], len(page.state["keys"])), ("A", 1))
        page.click("[data-generation='1']")
        self.assertEqual(page.state["keyer"], 1)
        self.assertTrue(page.find("#param-power").is_displayed())
        self.assertFalse(page.find("[data-view=plate]").is_displayed())
        self.assertTrue(is_grey(page.pixel(OTHER_BACKDROP)), page.pixel(OTHER_BACKDROP))
        page.click("[data-generation='2']")
        self.assertEqual(len(page.state["keys"]), 1)

    def test_plays_every_frame_and_loops_between_in_and_out(self):
        page = self.page
        page.press(Keys.ARROW_RIGHT)
        page.press(Keys.ARROW_RIGHT)
        page.press("i")
        for _ in range(4):
            page.press(Keys.ARROW_RIGHT)
        page.press("o")
        self.assertEqual((page.state["clip"]["in"], page.state["clip"]["out"]), (2, 6))
        page.run("""zk.seen = []; zk.onDrawn(({frame}) => zk.seen.push(frame));
            document.getElementById("play").click()""")
        until(lambda: page.run("return zk.seen.length") > 12, "thirteen frames were drawn")
        page.run("document.getElementById('play').click()")
        page.settle()
        seen = page.run("return zk.seen")
        first = seen.index(2)
        self.assertEqual(seen[first : first + 10], [2, 3, 4, 5, 6, 2, 3, 4, 5, 6])

    def test_a_hand_faster_than_the_keyer_gets_the_newest(self):
        page = self.page
        drawn = page.run("return zk.drawn")
        page.run("""for (let n = 1; n <= 20; ++n)
            document.body.dispatchEvent(new KeyboardEvent("keydown", { key: "ArrowRight", bubbles: true }))""")
        page.settle()
        self.assertEqual(page.run("return zk.frame"), 20)
        self.assertLessEqual(page.run("return zk.drawn") - drawn, 2)
        page.run("""performance.clearResourceTimings();
            const slider = document.getElementById("param-spill");
            for (let n = 1; n <= 20; ++n) {
                slider.value = n;
                slider.dispatchEvent(new Event("input"));
            }""")
        page.settle()
        asked = page.run("return performance.getEntriesByType('resource').map(({name}) => name)")
        self.assertEqual(page.param("spill"), 20)
        self.assertLessEqual(sum("/api/param" in name for name in asked), 2)

    def start_render(self, output):
        self.page.press("r")
        self.page.run("document.getElementById('render-output').value = arguments[0]", output)
        self.page.click("#render-start")

    def test_renders_what_lies_between_in_and_out(self):
        page = self.page
        for _ in range(4):
            page.press(Keys.ARROW_RIGHT)
        page.press("o")
        self.start_render("done_%05d.png")
        until(lambda: (page.state["job"] or {}).get("state") == "done", "the job is done")
        self.assertIn("5 frames", page.find("#render-words").text)
        self.assertEqual(len(list(folder.glob("done_*.png"))), 5)
        self.start_again_refused()

    def start_again_refused(self):
        self.page.click("#render-start")
        self.assertNotEqual(self.page.find("#render-error").text, "")
        self.assertTrue(self.page.find("#render-overwrite").is_displayed())

    def test_a_render_is_cancelled(self):
        page = self.page
        self.start_render("cancelled_%05d.png")
        until(lambda: page.find("#render-cancel").is_displayed(), "it can be cancelled")
        page.click("#render-cancel")
        until(lambda: page.state["job"]["state"] != "running", "the job has ended")
        self.assertEqual(page.state["job"]["state"], "cancelled")
        self.assertLess(page.state["job"]["frame"], Support.FRAMES)

    def test_a_wrong_token_is_told_what_to_open(self):
        self.page.browser.delete_all_cookies()
        self.page.browser.get(self.server.address[:-4] + "0000")
        self.assertIn("address", self.page.find("body").text)
        self.page.browser.get(self.server.address)
        self.page.settle()

    def test_a_reload_in_the_middle_loses_nothing(self):
        page = self.page
        page.click_picture(BACKDROP)
        page.view("matte")
        page.run("document.getElementById('play').click()")
        for value in range(60, 90):
            page.run("""const slider = document.getElementById("param-spill");
                slider.value = arguments[0]; slider.dispatchEvent(new Event("input"))""", value)
            if value % 10 == 0:
                page.browser.refresh()
                page.settle()
        page.settle()
        self.assertEqual(len(page.state["keys"]), 1)
        self.assertEqual(page.param("spill"), 89)
        self.assertEqual(page.pixel(BACKDROP), [0, 0, 0])  # the matte still
        self.assertEqual(page.run("return zk.faults"), [])

    def test_another_machine_gets_smaller_pictures(self):
        server = Server(folder, "--listen", "127.0.0.2")  # which the page takes for the address of a network
        self.addCleanup(server.close)
        page = Page(browser, server.address)
        self.assertEqual(page.run("return zk.format.name"), "jpeg")
        page.view("matte")
        self.assertLess(max(page.pixel(BACKDROP)), 8)
        self.assertGreater(min(page.pixel(JACKET)), 247)

    def test_two_pages_show_the_same(self):
        page = self.page
        first = page.browser.current_window_handle
        page.browser.switch_to.new_window("tab")
        other = Page(page.browser, self.server.address)
        other.click_picture(BACKDROP)
        keys = other.state["keys"]
        page.browser.close()
        page.browser.switch_to.window(first)
        until(lambda: page.state["keys"] == keys, "the first page knows of it")
        page.settle()
        self.assertTrue(is_grey(page.pixel(OTHER_BACKDROP)))

    def test_says_so_when_the_program_is_gone(self):
        page = self.page
        self.server.process.kill()
        until(lambda: "does not answer" in page.find("#empty").text, "the page says that nothing answers")


if __name__ == "__main__":
    unittest.main(verbosity=2)
