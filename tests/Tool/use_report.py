"""Opens a report in Chromium without a window and uses it: sliders, views, table, objects.

    use_report.py <report.html> <objects that the table must list>

Ends with 77 where Chromium or Selenium is absent. Any message on the console and any request beyond the page fails.
"""

import json
import pathlib
import shutil
import sys
import tempfile

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
    from selenium.webdriver.support.ui import Select, WebDriverWait
except ImportError:
    print("no Selenium for Python (package python3-selenium)")
    sys.exit(77)

CHROMIUM = shutil.which("chromium")
DRIVER = shutil.which("chromedriver")
if not CHROMIUM or not DRIVER:
    print("no Chromium with its driver (packages chromium, chromium-driver)")
    sys.exit(77)

AXES = ("z", "y", "x")


def open_browser(profile, width, height):
    options = webdriver.ChromeOptions()
    options.binary_location = CHROMIUM
    for argument in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                     "--disable-background-networking", f"--user-data-dir={profile}",
                     f"--window-size={width},{height}"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(service=Service(DRIVER), options=options)


def picture(browser, side, axis):
    """The pixels of a slice, as a data URI."""
    return browser.execute_script("return document.getElementById(arguments[0]).toDataURL()", f"slice-{side}-{axis}")


def wait_for_change(browser, read, before, what):
    WebDriverWait(browser, 60).until(lambda _: read() != before, f"{what} did not change")


def check_sliders(browser):
    for axis in AXES:
        slider = browser.find_element(By.ID, f"slider-{axis}")
        caption = browser.find_element(By.ID, f"index-left-{axis}")
        before = [picture(browser, side, axis) for side in ("left", "right")]
        others = [picture(browser, "left", other) for other in AXES if other != axis]
        text, value = caption.text, int(slider.get_attribute("value"))
        slider.send_keys(Keys.ARROW_RIGHT)
        assert int(slider.get_attribute("value")) == value + 1, "the arrow key moves the slider by one slice"
        for side, old in zip(("left", "right"), before):
            wait_for_change(browser, lambda side=side: picture(browser, side, axis), old, f"the {side} slice across {axis}")
        assert caption.text != text, "the caption names the slice"
        assert caption.text.split(" = ")[1] in slider.get_attribute("aria-valuetext"), "screen readers hear the slice"
        slider.send_keys(Keys.HOME)
        WebDriverWait(browser, 60).until(lambda _: caption.text.startswith(f"{axis} = 0 of 0 to "), caption.text)
        assert others == [picture(browser, "left", other) for other in AXES if other != axis], "other axes stay"
        slider.send_keys(Keys.END)
        WebDriverWait(browser, 60).until(
            lambda _: caption.text.split(" = ")[1].split(" of 0 to ")[0] == caption.text.split(" to ")[1], caption.text)


def check_views(browser):
    """Each view differs from the one before it, and colours show where there are labels."""
    select = Select(browser.find_element(By.ID, "view-right"))
    titles = [option.text for option in select.options]
    assert titles[0] == "Scan" and "Objects" in titles and "Classes" in titles, titles
    for title in titles:
        if title == select.first_selected_option.text:
            continue
        old = picture(browser, "right", "z")
        select.select_by_visible_text(title)
        wait_for_change(browser, lambda: picture(browser, "right", "z"), old, f"the view {title}")
    select.select_by_visible_text("Objects")


def coloured_pixels(browser, element):
    return browser.execute_script(
        """const canvas = document.getElementById(arguments[0]);
           const pixels = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data;
           let count = 0;
           for (let i = 0; i < pixels.length; i += 4) {
             count += pixels[i] !== pixels[i + 1] || pixels[i + 1] !== pixels[i + 2];
           }
           return count;""", element)


def column(browser, index):
    return browser.execute_script(
        """return Array.from(document.querySelectorAll('#objects-table tbody tr'),
             (row) => row.cells[arguments[0]].dataset.value ?? row.cells[arguments[0]].textContent)""", index)


def check_table(browser, objects):
    heads = browser.find_elements(By.CSS_SELECTOR, "#objects-table thead th")
    assert len(column(browser, 0)) == objects, "a row for each object"
    sizes = [float(value) for value in column(browser, 2)]
    assert sizes == sorted(sizes, reverse=True), "the largest object comes first"
    assert heads[2].get_attribute("aria-sort") == "descending"
    for index, head in enumerate(heads):
        button = head.find_element(By.TAG_NAME, "button")
        seen = set()
        for _ in range(2):
            button.send_keys(Keys.ENTER)
            order = head.get_attribute("aria-sort")
            values = column(browser, index)
            if "number" in head.get_attribute("class"):
                values = [float(value) for value in values]
            assert values == sorted(values, reverse=order == "descending"), f"column {index} is {order}"
            assert sum(each.get_attribute("aria-sort") is not None for each in heads) == 1
            seen.add(order)
        assert seen == {"ascending", "descending"}, "pressed again, the order turns"


def check_showing(browser):
    """A press on the number of an object brings the slices to its place, where its colour is."""
    Select(browser.find_element(By.ID, "view-right")).select_by_visible_text("Scan")
    row = browser.find_element(By.CSS_SELECTOR, "#objects-table tbody tr")
    centre = [float(number) for number in row.get_attribute("data-center").split()]
    row.find_element(By.CSS_SELECTOR, "button.show").send_keys(Keys.ENTER)
    select = Select(browser.find_element(By.ID, "view-right"))
    assert select.first_selected_option.text == "Objects"
    for axis, position in zip(AXES, centre):
        index = browser.find_element(By.ID, f"index-right-{axis}")
        WebDriverWait(browser, 60).until(
            lambda _: abs(int(index.text.split(" = ")[1].split(" ")[0]) - position) <= 5, f"{index.text}, {position}")
        WebDriverWait(browser, 60).until(lambda _: coloured_pixels(browser, f"slice-right-{axis}") > 0)


def check_fit(browser):
    """The page itself never scrolls sideways."""
    for width in (1280, 480, 320):
        browser.set_window_size(width, 900)
        excess = browser.execute_script(
            "return document.documentElement.scrollWidth - document.documentElement.clientWidth")
        assert excess <= 0, f"{excess} pixels too wide in a window of {width}"


def check_silence(browser):
    messages = [entry for entry in browser.get_log("browser")]
    assert not messages, messages
    for entry in browser.get_log("performance"):
        event = json.loads(entry["message"])["message"]
        if event["method"] == "Network.requestWillBeSent":
            url = event["params"]["request"]["url"]
            # "chrome:" are pages of the browser itself, such as the one that it begins with.
            assert url.startswith(("file:", "data:", "chrome:")), f"a request to {url}"


def main():
    page, objects = pathlib.Path(sys.argv[1]).resolve().as_uri(), int(sys.argv[2])
    with tempfile.TemporaryDirectory() as profile:
        browser = open_browser(profile, 1280, 900)
        try:
            browser.get(page)
            WebDriverWait(browser, 60).until(
                lambda _: browser.execute_script("return document.documentElement.classList.contains('ready')"))
            check_sliders(browser)
            check_views(browser)
            if objects > 0:
                check_table(browser, objects)
                check_showing(browser)
            check_fit(browser)
            check_silence(browser)
        finally:
            browser.quit()
    print("the report works")


main()
