#!/usr/bin/env python3
"""Looks at the page of norveltl view as its users do, in a browser: page_tests.py PROGRAM [CASE...]

Where GTEST_OUTPUT names a folder ("xml:FOLDER/"), a report for scripts/summarise.py goes there.
"""
import json
import pathlib
import re
import sys
import time
import unittest
import urllib.parse

from selenium import webdriver
from selenium.common.exceptions import (ElementNotInteractableException, NoSuchElementException,
                                        StaleElementReferenceException)
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.select import Select

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tool"))
import harness  # noqa: E402
import pictures  # noqa: E402
import runner  # noqa: E402
from viewing import ViewTest  # noqa: E402

CAM = "0:Cam"
WIDTH, HEIGHT = 320, 240


def camera(name="Cam", **more):
    return {"name": name, "width": WIDTH, "height": HEIGHT, "frameRate": 50, "testPattern": "GreyHorizontalRamp", **more}


def world(*cameras):
    return {"interfaces": [{"cameras": list(cameras)}]}


def start_browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--window-size=1500,1000"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(options=options)


def setUpModule():
    """One browser for all cases, as it starts slowly; each has tabs and a server of its own."""
    PageTest.browser = start_browser()


def tearDownModule():
    PageTest.browser.quit()


class PageTest(ViewTest):
    def setUp(self):
        super().setUp()
        # What it complained of in another case.
        self.browser.get_log("browser")
        self.browser.switch_to.new_window("tab")
        self.tab = self.browser.current_window_handle

    def tearDown(self):
        for handle in self.browser.window_handles[1:]:
            self.browser.switch_to.window(handle)
            self.browser.close()
        self.browser.switch_to.window(self.browser.window_handles[0])

    def open(self, *names, **options):
        self.server = self.serve(*names, **options)
        self.browser.get(self.server.url)
        return self.server

    def wait_for(self, what, seconds=20):
        """What is not on the page yet, or not any more, or not shown, is waited for too."""
        def look():
            try:
                return what()
            except (ElementNotInteractableException, NoSuchElementException, StaleElementReferenceException):
                return None
        return super().wait_for(look, seconds)

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return self.find(selector).text

    def wait_for_text(self, selector, part):
        return self.wait_for(lambda: part in (text := self.text(selector)) and text)

    def image_number(self):
        """Of the picture that is seen."""
        about = self.wait_for_text("figcaption", "image ")
        return int(about.rsplit("image ", 1)[1].replace(",", ""))

    def pixel(self, x, y):
        """Red, green, blue of the picture's canvas, in its own pixels from the top left."""
        return self.browser.execute_script(
            "const canvas = document.querySelector('canvas.picture');"
            "return [...canvas.getContext('2d').getImageData(arguments[0], arguments[1], 1, 1).data].slice(0, 3)", x, y)

    def stage(self):
        size = self.find("canvas.picture").size
        return size["width"], size["height"]

    def row(self, feature):
        return self.wait_for(lambda: next(iter(self.browser.find_elements(
            By.CSS_SELECTOR, f".feature[data-name={feature}]")), None))

    def select(self, selector, text):
        Select(self.find(selector)).select_by_visible_text(text)

    def enter(self, feature, value):
        def type_it():
            editor = self.row(feature).find_element(By.CSS_SELECTOR, "input")
            editor.send_keys(Keys.CONTROL, "a")
            editor.send_keys(value, Keys.ENTER)
            return True
        self.wait_for(type_it)

    def server_value(self, name):
        return next(feature["value"] for feature in self.server.ask("features", camera=CAM) if feature["name"] == name)

    def editor_value(self, feature):
        return self.browser.execute_script(
            "return document.querySelector(`.feature[data-name=${arguments[0]}] input`)?.value", feature)


class Pictures(PageTest):
    def test_pixels_are_those_of_the_camera(self):
        self.open("Cam", world=world(camera()))
        self.image_number()
        canvas = self.find("canvas.picture")
        canvas.send_keys("1")
        width, height = self.stage()
        left, top = (width - WIDTH) / 2, (height - HEIGHT) / 2

        def sees_ramp():
            return all(self.pixel(int(left + x + 0.5), int(top + y + 0.5)) == [x % 256] * 3
                       for x in range(0, WIDTH, 7) for y in (5, HEIGHT // 2, HEIGHT - 3))
        self.wait_for(sees_ramp)
        self.assertEqual(self.pixel(int(left) - 3, int(top) + 10), [0, 0, 0])

    def test_the_value_under_the_pointer(self):
        self.open("Cam", world=world(camera()))
        self.image_number()
        canvas = self.find("canvas.picture")
        canvas.send_keys("1")
        for dx, dy in ((-100, 0), (37, 50), (120, -80)):
            ActionChains(self.browser).move_to_element_with_offset(canvas, dx, dy).perform()
            text = self.wait_for_text(".status output", "value")
            x, y, value = [int(word) for word in text.replace("\n", " ").split() if word.isdigit()]
            self.assertLessEqual(abs(x - (WIDTH // 2 + dx)), 1)
            self.assertLessEqual(abs(y - (HEIGHT // 2 + dy)), 1)
            self.assertEqual(value, x % 256)

    def test_zoom_until_pixels_are_squares(self):
        self.open("Cam", world=world(camera()))
        self.image_number()
        canvas = self.find("canvas.picture")
        canvas.send_keys("1", *"+" * 12)
        zoom = 1.25 ** 12
        width, height = self.stage()
        # The middle of the picture stays in the middle.
        self.wait_for(lambda: all(
            self.pixel(int(width / 2 + (x + 0.5) * zoom), height // 2) == [(WIDTH // 2 + x) % 256] * 3 for x in (-9, 0, 11)))
        canvas.send_keys("0")
        self.wait_for(lambda: self.pixel(4, height // 2)[0] <= 4 and self.pixel(width // 2, height // 2)[0] in range(155, 166))

    def test_a_mark_for_what_is_overexposed(self):
        self.open("Cam", world=world(camera(testPattern="White")))
        self.image_number()
        width, height = self.stage()
        self.wait_for(lambda: self.pixel(width // 2, height // 2) == [255, 255, 255])
        self.browser.find_element(By.XPATH, "//button[text()='Mark limits']").click()
        self.wait_for(lambda: self.pixel(width // 2, height // 2) == [255, 32, 32])

    def test_freeze(self):
        self.open("Cam", world=world(camera()))
        first = self.image_number()
        self.wait_for(lambda: self.image_number() > first)
        self.find("canvas.picture").send_keys(" ")
        time.sleep(0.5)
        frozen = self.image_number()
        time.sleep(0.5)
        self.assertEqual(self.image_number(), frozen)
        self.assertGreater(self.server.ask("quality", camera=CAM)["delivered"], frozen)
        self.find("canvas.picture").send_keys(" ")
        self.wait_for(lambda: self.image_number() > frozen)

    def drag(self, begin, end, key=None):
        """From and to places that are given from the middle of the canvas."""
        canvas = self.find("canvas.picture")
        actions = ActionChains(self.browser)
        if key:
            actions.key_down(key)
        actions.move_to_element_with_offset(canvas, *begin).click_and_hold()
        actions.move_to_element_with_offset(canvas, *end).release()
        if key:
            actions.key_up(key)
        actions.perform()

    def numbers(self, text):
        return [float(number) for number in re.findall(r"\d+(?:\.\d+)?", text)]

    def test_values_along_a_line(self):
        self.open("Cam", world=world(camera()))
        self.image_number()
        canvas = self.find("canvas.picture")
        canvas.send_keys("1")

        def profile():
            return self.numbers(self.find("canvas.profile").accessible_name)
        for draw in (lambda: self.drag((-100, 0), (-40, 0), Keys.CONTROL),
                     lambda: (self.select("select[title='What a drag does']", "Line"), self.drag((-100, 0), (-40, 0)))):
            draw()
            least, most, length = self.wait_for(profile)
            self.assertLessEqual(abs(least - 60) + abs(most - 120), 2)
            self.assertEqual(length, most - least)
        # Its end alone, then all of it.
        canvas.send_keys(Keys.SHIFT, Keys.ARROW_RIGHT)
        self.wait_for(lambda: profile() == [least, most + 4, length + 4])
        canvas.send_keys(Keys.CONTROL, Keys.ARROW_LEFT, Keys.ARROW_LEFT)
        self.wait_for(lambda: profile() == [least - 8, most - 4, length + 4])
        canvas.send_keys("l")
        self.wait_for(lambda: not self.find("canvas.profile").is_displayed())
        canvas.send_keys("l")
        self.wait_for(lambda: profile() == [0, 255, 0.8 * WIDTH])

    def test_a_region(self):
        self.open("Cam", world=world(camera()))
        self.image_number()
        canvas = self.find("canvas.picture")
        canvas.send_keys("1")
        self.drag((-100, -20), (-41, 19), Keys.SHIFT)

        def region():
            found = re.search(r"region (\d+) × (\d+) at (\d+), (\d+)\nmean ([\d.]+)  ?deviation ([\d.]+)", self.text(".status"))
            return found and [float(number) for number in found.groups()]
        width, height, x, y, mean, deviation = self.wait_for(region)
        self.assertEqual((width, height), (60, 40))
        self.assertLessEqual(abs(x - 60) + abs(y - 100), 2)
        # Whole numbers in a row.
        self.assertEqual((mean, deviation), (x + 29.5, 17.32))
        canvas.send_keys(Keys.SHIFT, Keys.ARROW_LEFT)
        self.wait_for(lambda: region() == [56, 40, x, y, x + 27.5, 16.16])
        canvas.send_keys("r")
        self.wait_for_text(".status", "what is seen")

    def test_a_kept_picture_beside_the_live_one(self):
        self.open("Cam", world=world(camera()))
        self.image_number()
        canvas = self.find("canvas.picture")
        canvas.send_keys("1")
        width, height = self.stage()
        left = (width - WIDTH) // 2
        canvas.send_keys("c")
        self.wait_for(lambda: self.find(".comparing").is_displayed())
        self.server.order("set", camera=CAM, name="TestPattern", value="White")

        def sees(*greys):
            return [self.pixel(left + x, height // 2) for x in (40, 100, 200, 300)] == [[grey] * 3 for grey in greys]
        self.wait_for(lambda: self.pixel(left + 300, height // 2) == [255] * 3)
        # The pixel that is seen may lie half a pixel beside.
        shift = self.pixel(left + 40, height // 2)[0] - 40
        self.assertLessEqual(abs(shift), 1)
        self.wait_for(lambda: sees(40 + shift, 100 + shift, 255, 255))
        ActionChains(self.browser).move_to_element_with_offset(canvas, -100, 0).perform()
        self.assertRegex(self.wait_for_text(".status output", "kept"), r"value 255, kept (59|60|61)$")
        self.select(".comparing select", "Difference")
        self.wait_for(lambda: sees(255, 255, 128 + 55 - shift, 255))
        self.select(".comparing select", "Wipe")
        self.find(".comparing input").send_keys(Keys.HOME)
        self.wait_for(lambda: sees(255, 255, 255, 255))
        canvas.send_keys("c")
        self.wait_for(lambda: not self.find(".comparing").is_displayed())

    def test_no_image_is_lost_to_two_pages_and_a_reload(self):
        self.open("Cam", world=world(camera()))
        self.image_number()
        self.browser.switch_to.new_window("tab")
        self.browser.get(self.server.url)
        seen = self.image_number()
        self.browser.refresh()
        self.assertGreater(self.image_number(), seen)
        self.browser.switch_to.window(self.tab)
        seen = self.image_number()
        self.wait_for(lambda: self.image_number() > seen)
        quality = self.server.ask("quality", camera=CAM)
        self.assertEqual((quality["lost"], quality["acquires"]), (0, True))


class Cameras(PageTest):
    def button(self, camera_id):
        return self.wait_for(lambda: next((button for button in self.browser.find_elements(By.CSS_SELECTOR, ".camera button")
                                           if button.accessible_name.endswith(camera_id)), None))

    def test_open_side_by_side_and_close(self):
        self.open(world=world(camera("One"), camera("Two")))
        self.wait_for_text("main", "Open a camera on the left.")
        for name in ("One", "Two"):
            self.button(name).click()
            self.wait_for(lambda: f"Close {name}" in self.button(name).accessible_name)
        self.wait_for(lambda: len(self.browser.find_elements(By.CSS_SELECTOR, "figure")) == 2)
        self.button("One").click()
        self.wait_for(lambda: [figure.text.split("\n")[0].split(" ")[0] for figure in
                               self.browser.find_elements(By.CSS_SELECTOR, "figure")] == ["Two"])

    def test_a_camera_that_cannot_be_opened(self):
        self.open(world={**world(camera()), "faults": [{"operation": "InterfaceOpenDevice", "result": -1005}]})
        self.button("Cam").click()
        self.wait_for_text("#trouble", "IFOpenDevice failed")
        self.wait_for(lambda: "Open Cam" in self.button("Cam").accessible_name and self.button("Cam").is_enabled())

    def test_the_server_is_gone_and_back(self):
        self.open("Cam", world=world(camera()))
        self.image_number()
        self.interrupt(self.server.process)
        self.wait_for_text("#trouble", "The server does not answer")
        # Another one at that place does not know the page.
        again = self.serve("Cam", "--port", str(self.server.port), world=world(camera()))
        self.wait_for_text("#trouble", "Open the address that norveltl view has printed.")
        self.browser.get(again.url)
        self.image_number()
        self.assertFalse(self.find("#trouble").is_displayed())

    def test_a_pulled_plug_that_is_put_back(self):
        self.open("Cam", world=world(camera(unplugAfterImages=150, plugAfterUpdates=2)))
        before = self.image_number()
        self.wait_for_text(".cover", "No more images")
        self.wait_for_text("#figures", "Port is not available")
        self.wait_for(lambda: not self.find(".cover").is_displayed(), 40)
        self.wait_for(lambda: self.image_number() != before)
        self.wait_for_text("#figures", "images come")


class Features(PageTest):
    def test_set_and_refuse(self):
        self.open("Cam", world=world(camera()))
        self.enter("ExposureTime", "2500")
        self.wait_for(lambda: self.server_value("ExposureTime") == 2500 and self.editor_value("ExposureTime") == "2500")
        self.enter("ExposureTime", "-5")
        self.wait_for(lambda: "ExposureTime does not take" in self.row("ExposureTime").text)
        self.assertEqual((self.editor_value("ExposureTime"), self.server_value("ExposureTime")), ("2500", 2500))

    def test_find(self):
        self.open("Cam", world=world(camera()))
        self.row("Width")
        self.find("#filter").send_keys("expos")
        names = [row.get_attribute("data-name") for row in self.browser.find_elements(By.CSS_SELECTOR, ".feature")
                 if row.is_displayed()]
        self.assertIn("ExposureTime", names)
        self.assertTrue(all("expos" in name.lower() for name in names), names)
        # Nothing else is read from here on.
        time.sleep(1)
        self.browser.execute_script("performance.clearResourceTimings()")
        asked = self.wait_for(lambda: self.browser.execute_script(
            "return performance.getEntriesByType('resource').map(its => its.name).filter(its => its.includes('/features?'))"))
        for url in asked:
            self.assertEqual(set(urllib.parse.parse_qs(url)["name"]), set(names))

    def test_values_follow_the_camera_unless_they_are_edited(self):
        self.open("Cam", world=world(camera()))
        self.browser.execute_script("arguments[0].scrollIntoView({block: 'center'})", self.row("ExposureTime"))
        self.server.order("set", camera=CAM, name="ExposureTime", value="3333")
        self.wait_for(lambda: self.editor_value("ExposureTime") == "3333")
        editor = self.row("ExposureTime").find_element(By.CSS_SELECTOR, "input")
        editor.send_keys(Keys.CONTROL, "a")
        editor.send_keys("77")
        self.server.order("set", camera=CAM, name="ExposureTime", value="4444")
        self.server.order("set", camera=CAM, name="Gain", value="3")
        self.wait_for(lambda: self.editor_value("Gain") == "3")
        self.assertEqual(self.editor_value("ExposureTime"), "77")
        editor.send_keys(Keys.ESCAPE)
        self.wait_for(lambda: self.editor_value("ExposureTime") == "4444")
        self.assertEqual(self.server_value("ExposureTime"), 4444)

    def test_what_is_locked_and_what_can_only_be_read(self):
        self.open("Cam", world=world(camera()))

        def state(feature):
            row = self.row(feature)
            editor = row.find_element(By.CSS_SELECTOR, "input")
            return row.find_element(By.CSS_SELECTOR, ".state").text, editor.get_property("readOnly"), editor.is_enabled()
        self.assertEqual(state("DeviceModelName"), ("read-only", True, True))
        for order, expected in (("start", ("locked", True, True)), ("stop", ("", False, True))):
            self.server.order(order, camera=CAM)
            self.wait_for(lambda expected=expected: state("Width") == expected)

    def test_who_looks_for_them(self):
        self.open("Cam", world=world(camera()))
        self.row("Width")
        self.find("#filter").send_keys("user")

        def seen():
            return {row.get_attribute("data-name") for row in self.browser.find_elements(By.CSS_SELECTOR, ".feature")
                    if row.is_displayed()}
        for level, more, hidden in (("Beginner", "1 more for Expert and Guru", {"UserMemory"}), ("Guru", "", set())):
            self.select("#level", level)
            self.wait_for(lambda more=more: self.text("#more") == more)
            self.assertEqual({"DeviceUserID", "UserMemory"} - seen(), hidden)
        self.assertEqual(self.browser.find_elements(By.CSS_SELECTOR, "[data-name=TLParamsLocked]"), [])

    def test_a_slider_by_keys(self):
        self.open("Cam", world=world(camera()))
        row = self.row("Gain")
        slider = row.find_element(By.CSS_SELECTOR, "input[type=range]")
        self.assertEqual(row.find_element(By.CSS_SELECTOR, ".range").text.split(), ["0", "24"])
        slider.send_keys(Keys.END)
        self.wait_for(lambda: self.server_value("Gain") == 24 and self.editor_value("Gain") == "24")
        self.assertEqual(slider.get_property("ariaValueText"), "24 dB")

    def test_texts_of_a_camera_are_no_markup(self):
        markup = "<b id=evil>x"
        self.open(world=world(camera(name="<i id=evil>Cam")))
        self.server.order("open", camera="0:<i id=evil>Cam")
        self.server.order("set", camera="0:<i id=evil>Cam", name="DeviceUserID", value=markup)
        self.browser.refresh()
        self.wait_for(lambda: self.editor_value("DeviceUserID") == markup)
        self.wait_for_text("figcaption", "<i id=evil>Cam")
        self.assertEqual(self.browser.find_elements(By.ID, "evil"), [])


class Events(PageTest):
    def test_a_list_that_can_be_paused(self):
        self.open("Cam", world=world(camera(frameRate=20)))
        self.image_number()
        self.server.order("set", camera=CAM, name="EventNotification", value="On")
        self.find("#reports summary").click()

        def newest():
            return self.text("#events li")
        self.assertRegex(self.wait_for(newest), r"^\d\d:\d\d:\d\d\.\d{3}\s+FrameStart\s+value \d+\s+FrameID \d+")
        first = newest()
        self.wait_for(lambda: newest() != first)
        self.find("#events-pause").click()
        time.sleep(0.5)
        kept = newest()
        time.sleep(1)
        self.assertEqual(newest(), kept)
        self.find("#events-pause").click()
        self.wait_for(lambda: newest() != kept)

    def test_no_more_than_can_be_looked_at(self):
        bursts = [{"eventId": 77, "value": 5, "count": 150, "afterImages": images} for images in (3, 150)]
        self.open("Cam", world=world(camera(eventBursts=bursts)))
        self.image_number()
        self.find("#reports summary").click()
        self.wait_for_text("#events-about", "300 since it was opened")
        self.assertEqual(len(self.browser.find_elements(By.CSS_SELECTOR, "#events li")), 200)
        self.assertIn("ID 0x4d", self.text("#events li"))


class Keep(PageTest):
    def setUp(self):
        super().setUp()
        self.downloads = self.folder / "downloads"
        self.downloads.mkdir()
        self.browser.execute_cdp_cmd("Browser.setDownloadBehavior", {"behavior": "allow", "downloadPath": str(self.downloads)})

    def click(self, button):
        self.wait_for(lambda: (its := self.find(f"#{button}")).is_enabled() and its).click()

    def choose(self, field, value):
        Select(self.find(f"#{field}")).select_by_value(value)

    def kept(self):
        return sorted(path.name for path in (self.folder / "kept").iterdir())

    def test_the_picture_that_is_seen(self):
        self.open("Cam", "--keep", "kept", world=world(camera()))
        self.image_number()
        self.find("canvas.picture").send_keys(" ")
        time.sleep(0.5)
        frozen = self.image_number()
        self.choose("snapshot-kind", "tiff")
        self.click("snapshot")
        text = self.wait_for_text("#kept", "is kept: ")
        self.assertIn(f"Image {frozen:,} is kept: ", text)
        description, image = self.kept()
        self.assertTrue(image.endswith(".tif") and image in text, text)
        self.assertEqual(json.loads((self.folder / "kept" / description).read_text())["images"][0]["number"], frozen)
        pixels = pictures.read_tiff(self.folder / "kept" / image).pixels
        self.assertEqual(pixels[-WIDTH:], bytes(x % 256 for x in range(WIDTH)))

    def test_a_recording(self):
        self.open("Cam", "--keep", "kept", world=world(camera()))
        self.image_number()
        self.choose("record-kind", "raw")
        self.click("record")
        self.wait_for(lambda: self.text("#record") == "End recording" and self.find("#record").get_attribute("aria-pressed") == "true")
        self.wait_for(lambda: self.find("figure.recording"))
        self.wait_for(lambda: (found := re.search(r": (\d+) images, ", self.text("#recording"))) and int(found[1]) > 50)
        # It goes on without a page, and a page that comes knows of it.
        self.browser.refresh()
        self.wait_for(lambda: self.text("#record") == "End recording")
        self.assertRegex(self.text("#space"), r"kept · [\d.]+ GB left")
        self.click("record")
        text = self.wait_for_text("#recording", "ended")
        self.wait_for(lambda: self.text("#record") == "Record" and not self.browser.find_elements(By.CSS_SELECTOR, "figure.recording"))
        [folder] = self.kept()
        told = json.loads((self.folder / "kept" / folder / "grab.json").read_text())
        self.assertEqual((told["leftOut"], told["lost"], len(told["images"])), (0, 0, told["delivered"]))
        self.assertTrue(text.startswith(f"{folder}: {told['delivered']} images, "), text)

    def test_a_recording_that_ends_by_itself(self):
        self.open("Cam", "--keep", "kept", world=world(camera()))
        self.image_number()
        self.click("record")
        self.wait_for(lambda: self.text("#record") == "End recording")
        self.browser.find_element(By.XPATH, "//button[text()='Stop']").click()
        self.wait_for_text("#recording", "ended: the images were stopped")
        self.click("record")
        self.wait_for_text("#kept", "the camera takes no images")

    def test_settings(self):
        self.open("Cam", "--keep", "kept", world=world(camera()))
        self.enter("ExposureTime", "2500")
        self.wait_for(lambda: self.server_value("ExposureTime") == 2500)
        self.click("save-settings")
        self.wait_for_text("#kept", "The settings are saved: Cam.txt")
        saved = self.wait_for(lambda: [path for path in self.downloads.iterdir() if path.name == "Cam.txt"] and
                              (self.downloads / "Cam.txt").read_text())
        self.assertIn("\nExposureTime=2500\n", saved)
        file = self.downloads / "other.txt"
        file.write_text("ExposureTime=1500\nGain=6.54\n")
        self.find("#settings-file").send_keys(str(file))
        text = self.wait_for_text("#kept", "1 of 2 settings of other.txt are taken")
        self.assertIn("line 2: Gain is 6.5 instead of 6.54", text)
        self.wait_for(lambda: self.editor_value("ExposureTime") == "1500")
        file.write_text("nonsense\n")
        self.find("#settings-file").send_keys(str(file))
        self.wait_for_text("#kept", "other.txt:1: ")


class Access(PageTest):
    def test_a_password(self):
        (self.folder / "secret").write_text("correct horse\n")
        self.open("Cam", "--password", "secret", world=world(camera()))
        self.wait_for(lambda: self.browser.current_url.endswith("/login"))
        for control in self.browser.find_elements(By.CSS_SELECTOR, "button, input:not([hidden])"):
            self.assertTrue(control.accessible_name, control.get_attribute("outerHTML"))
        self.browser.switch_to.active_element.send_keys("wrong horse", Keys.ENTER)
        self.wait_for_text("[role=alert]", "That is not the password.")
        self.browser.switch_to.active_element.send_keys("correct horse", Keys.ENTER)
        self.wait_for(lambda: self.image_number() > 0)
        self.assertEqual(self.browser.current_url, self.server.url)


class Page(PageTest):
    def test_it_complains_of_nothing(self):
        self.open("Cam", world=world(camera()))
        self.image_number()
        self.row("Width")
        self.assertEqual([entry["message"] for entry in self.browser.get_log("browser")], [])

    def test_it_fits_every_width(self):
        self.open("Cam", "Two", world=world(camera(), camera("Two")))
        self.image_number()
        for width in (1000, 1600, 4000):
            self.browser.set_window_size(width, 700)
            self.addCleanup(self.browser.set_window_size, 1500, 1000)
            with self.subTest(width=width):
                wide, high = self.browser.execute_script(
                    "return [document.documentElement.scrollWidth - innerWidth, document.documentElement.scrollHeight - innerHeight]")
                self.assertLessEqual(max(wide, high), 0)
                one, other = (figure.rect for figure in self.browser.find_elements(By.CSS_SELECTOR, "figure"))
                self.assertTrue(one["x"] + one["width"] <= other["x"] or one["y"] + one["height"] <= other["y"], (one, other))
                self.assertGreater(self.stage()[0], 300)

    def test_by_keyboard_alone(self):
        self.open(world=world(camera()))
        self.wait_for_text("main", "Open a camera on the left.")

        def press(*keys):
            ActionChains(self.browser).send_keys(*keys).perform()

        def focused():
            return self.browser.switch_to.active_element

        def tab_to(name):
            for _ in range(100):
                if focused().accessible_name.startswith(name):
                    return
                press(Keys.TAB)
            self.fail(f"no {name} is reached")
        tab_to("Open Cam")
        press(Keys.ENTER)
        self.image_number()
        self.wait_for(lambda: focused().accessible_name == "Close Cam")
        tab_to("Picture of Cam")
        press("1", "l")
        self.wait_for(lambda: self.find("canvas.profile").is_displayed())
        # From here everything that can be worked with is reached, and shows that it is.
        self.find("#filter").send_keys("gain")
        self.browser.execute_script("document.activeElement.blur(); scrollTo(0, 0)")
        reached = set()
        for _ in range(100):
            press(Keys.TAB)
            its = focused()
            if its.id in reached:
                break
            if its.tag_name != "body":
                self.assertEqual(its.value_of_css_property("outline-style"), "solid", its.get_attribute("outerHTML"))
                reached.add(its.id)
        controls = self.browser.execute_script(
            "return [...document.querySelectorAll('button, input, select, summary, canvas.picture')]"
            ".filter(its => its.checkVisibility() && !its.disabled)")
        missed = [control.get_attribute("outerHTML") for control in controls if control.id not in reached]
        self.assertEqual(missed, [])

    def test_every_control_has_a_name(self):
        self.open("Cam", world=world(camera()))
        self.row("Width")
        self.image_number()
        self.select("#level", "Guru")
        # One call for all, as each takes its time.
        controls = self.browser.execute_script(
            "return [...document.querySelectorAll('button, input, select, canvas')].filter(its => its.checkVisibility())")
        self.assertGreater(len(controls), 60)
        names = [control.accessible_name for control in controls]
        for control, name in zip(controls, names):
            self.assertTrue(name, control.get_attribute("outerHTML"))
        self.assertEqual(len(names), len(set(names)), sorted(names))


def main():
    harness.setup(sys.argv[1], ".", None, False)
    loader = unittest.TestLoader()
    loader.testNamePatterns = [f"*{case}*" for case in sys.argv[2:]] or None
    return runner.run(loader.loadTestsFromModule(sys.modules[__name__]), __file__)


if __name__ == "__main__":
    sys.exit(main())
