"""`kalviro view` driven in headless Chromium, as a user drives it.

Temperatures are checked against the library's per-pixel C entry (see
per_pixel.c) and region statistics against `kalviro convert --roi`'s JSON.
Runs as root and without a display: --headless, --no-sandbox.
"""
import json
import os
import shutil
import subprocess
import tempfile
import time

import pytest

from conftest import BLOCK, CALTYPE, FRAME_BYTES, FRAMES, H, KALVIRO, W, Viewer, floats

CHROMIUM = os.environ.get("KALVIRO_CHROMIUM", "/usr/bin/chromium")
DRIVER = os.environ.get("KALVIRO_CHROMEDRIVER", "/usr/bin/chromedriver")
OUT = os.environ.get("KALVIRO_BROWSER_OUT", tempfile.gettempdir())

webdriver = pytest.importorskip("selenium.webdriver", reason="python3-selenium is not installed")
from selenium.webdriver.common.action_chains import ActionChains  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.common.keys import Keys  # noqa: E402
from selenium.webdriver.support.ui import WebDriverWait  # noqa: E402

if not (os.access(CHROMIUM, os.X_OK) and os.access(DRIVER, os.X_OK)):
    pytest.skip(f"no Chromium here ({CHROMIUM}, {DRIVER}): install chromium and chromium-driver",
                allow_module_level=True)


def make_browser():
    opts = webdriver.ChromeOptions()
    opts.binary_location = CHROMIUM
    for flag in ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--disable-dev-shm-usage", "--window-size=1400,1000", "--force-device-scale-factor=1",
                 # A rebinding attack's name for this machine, resolved with no DNS.
                 "--host-resolver-rules=MAP rebound.test 127.0.0.1"]:
        opts.add_argument(flag)
    profile = tempfile.mkdtemp(prefix="kalviro-chromium-")
    opts.add_argument("--user-data-dir=" + profile)
    # The console, for the page's errors.
    opts.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    service = webdriver.ChromeService(executable_path=DRIVER) if hasattr(webdriver, "ChromeService") \
        else webdriver.chrome.service.Service(executable_path=DRIVER)
    driver = webdriver.Chrome(service=service, options=opts)
    driver.set_page_load_timeout(120)
    driver.set_script_timeout(120)
    driver.kalviro_profile = profile
    return driver


# Generous: a loaded 2-core machine is slow, and waits end as soon as met.
def wait_for(driver, script, timeout=60):
    return WebDriverWait(driver, timeout, poll_frequency=0.05).until(lambda d: d.execute_script(script))


def settled_count(driver, script, quiet=1.5, timeout=60):
    """The script's count once it has not changed for `quiet` seconds: the page
    may still be fetching what it shows after it says it is ready."""
    end = time.monotonic() + timeout
    count, since = driver.execute_script(script), time.monotonic()
    while time.monotonic() < end:
        time.sleep(0.1)
        now = driver.execute_script(script)
        if now != count:
            count, since = now, time.monotonic()
        elif time.monotonic() - since >= quiet:
            break
    return count


def open_page(driver, url):
    driver.get(url)
    wait_for(driver, "return window.kalviroView && window.kalviroView.ready === true")


def pixel_offset(driver, x, y):
    """The offset from the canvas's centre of frame pixel (x, y)."""
    size = driver.find_element(By.ID, "frame").size
    return (int((x + 0.5) * size["width"] / W - size["width"] / 2),
            int((y + 0.5) * size["height"] / H - size["height"] / 2))


def hover(driver, x, y):
    dx, dy = pixel_offset(driver, x, y)
    ActionChains(driver).move_to_element_with_offset(driver.find_element(By.ID, "frame"), dx, dy).perform()
    wait_for(driver, "return document.getElementById('readout').textContent.includes('at (%d, %d)')" % (x, y))
    return driver.find_element(By.ID, "readout").text


def drag(driver, a, b):
    canvas = driver.find_element(By.ID, "frame")
    ax, ay = pixel_offset(driver, *a)
    bx, by = pixel_offset(driver, *b)
    (ActionChains(driver).move_to_element_with_offset(canvas, ax, ay).click_and_hold()
     .move_to_element_with_offset(canvas, (ax + bx) // 2, (ay + by) // 2)
     .move_to_element_with_offset(canvas, bx, by).release().perform())


def click(driver, x, y, double=False):
    chain = ActionChains(driver).move_to_element_with_offset(driver.find_element(By.ID, "frame"),
                                                             *pixel_offset(driver, x, y))
    (chain.double_click() if double else chain.click()).perform()


def polygon(driver, corners, end):
    """Clicks the corners with the polygon tool; `end` "dblclick" closes it
    with a double click on the last one, "Enter" or "Escape" by the key."""
    driver.execute_script("document.getElementById('tool').value = 'polygon'")
    for x, y in corners[:-1]:
        click(driver, x, y)
    click(driver, *corners[-1], double=end == "dblclick")
    if end != "dblclick":
        ActionChains(driver).send_keys(getattr(Keys, end.upper())).perform()


def stats_ready(driver, rows):
    wait_for(driver, "const r = document.querySelectorAll('#stats tbody tr'); "
                     "return r.length === %d && [...r].every((t) => t.dataset.ready === '1')" % rows)


def shown_frame(driver):
    return int(driver.find_element(By.ID, "frame-number").text)


@pytest.fixture(scope="module")
def browser():
    driver = make_browser()
    yield driver
    driver.quit()
    shutil.rmtree(driver.kalviro_profile, ignore_errors=True)


# ---- tests ----

def test_readout_region_and_frames(viewer, browser, truth, work):
    open_page(browser, viewer.url + "#frame=2")
    assert shown_frame(browser) == 2
    temps = floats(truth[2])
    gray = (work / "rec.raw").read_bytes()[2 * (W * H * 2 + BLOCK):]
    requests = "return performance.getEntriesByType('resource').length"
    browser.execute_script("performance.setResourceTimingBufferSize(100000)")
    before = settled_count(browser, requests)
    for x, y in [(0, 0), (W - 1, H - 1), (80, 60), (37, 91), (W // 2 + 3, H // 2 - 7)]:
        text = hover(browser, x, y)
        g = gray[2 * (y * W + x)] | gray[2 * (y * W + x) + 1] << 8
        assert text == f"{temps[y * W + x]:.2f} °C at ({x}, {y}), gray {g}", (x, y)
    names = "return performance.getEntriesByType('resource').map(e => e.name)"
    # hovering asks the server nothing
    assert browser.execute_script(requests) == before, browser.execute_script(names)[before:]

    # A rectangle: its statistics as `kalviro convert --roi` gives them.
    drag(browser, (60, 40), (89, 64))
    stats_ready(browser, 1)
    row = browser.find_element(By.CSS_SELECTOR, "#stats tbody tr")
    page = {k: row.find_element(By.CLASS_NAME, k).text for k in ("min", "max", "mean", "std")}
    out = work / "roi.json"
    subprocess.run([KALVIRO, "convert", str(work / "rec.raw"), "--caltype", str(CALTYPE), "--frames", "2",
                    "--roi", "60,40,30,25", "-o", str(out), "-q", "--force"], check=True, capture_output=True)
    roi = json.loads(out.read_text())["frames"][0]["rois"][0]
    for k in page:
        assert float(page[k]) == pytest.approx(roi[k], abs=0.0051), k
    command = browser.find_element(By.ID, "command").get_attribute("value")
    assert "--roi roi1=60,40,30,25" in command and "--frames 2" in command

    # A spot, a line, an ellipse and a polygon (one dropped by Escape, one
    # closed by Enter, one by a double click); the plot over time covers
    # every frame.
    click(browser, 10, 10)
    browser.execute_script("document.getElementById('tool').value = 'line'")
    drag(browser, (5, 100), (150, 20))
    browser.execute_script("document.getElementById('tool').value = 'ellipse'")
    drag(browser, (20, 20), (60, 50))
    polygon(browser, [(100, 10), (140, 10)], "Escape")
    polygon(browser, [(10, 70), (60, 75), (40, 110)], "dblclick")
    polygon(browser, [(100, 60), (150, 70), (120, 100), (95, 90)], "Enter")
    stats_ready(browser, 6)
    command = browser.find_element(By.ID, "command").get_attribute("value")
    for part in ("--spot 10,10", "--line line1=5,100,150,20", "--ellipse ellipse1=40.5,35.5,20.5,15.5",
                 "--polygon polygon1=10.5,70.5,60.5,75.5,40.5,110.5",
                 "--polygon polygon2=100.5,60.5,150.5,70.5,120.5,100.5,95.5,90.5", "--table"):
        assert part in command
    # The exported command runs, and its regions give the page's statistics.
    import shlex
    args = shlex.split(command.splitlines()[0])
    assert args[:2] == ["kalviro", "convert"]
    args[args.index("-o") + 1] = str(work / "exported.json")
    subprocess.run([KALVIRO] + args[1:] + ["-q", "--force"], check=True, capture_output=True, timeout=60)
    regions = {r["name"]: r for r in json.loads((work / "exported.json").read_text())["frames"][0]["rois"]}
    for name in ("roi1", "line1", "ellipse1", "polygon1", "polygon2"):
        row = browser.find_element(By.CSS_SELECTOR, "#stats tbody tr[data-shape='%s']" % name)
        for k in ("min", "max", "mean", "std"):
            assert float(row.find_element(By.CLASS_NAME, k).text) == pytest.approx(regions[name][k], abs=0.0051), (name, k)
    wait_for(browser, "return state.series && state.series.frames.length === %d && "
                      "state.series.shapes.length === 6" % FRAMES)

    # Following the fragment jumps.
    browser.execute_script("location.hash = '#frame=4'")
    wait_for(browser, "return document.getElementById('frame-number').textContent === '4'")
    assert hover(browser, 80, 60).startswith(f"{floats(truth[4])[60 * W + 80]:.2f} °C")
    assert browser.find_element(By.ID, "uptime").text != "-"
    assert len(browser.find_elements(By.CSS_SELECTOR, "#fields tbody tr")) > 30

    # The screenshot of the documentation.
    browser.execute_script("document.getElementById('palette').value = 'iron';")
    browser.save_screenshot(os.path.join(OUT, "view.png"))


def test_live_stream_follows_and_keeps_frames(work, browser):
    data = (work / "rec.raw").read_bytes()
    size = W * H * 2 + BLOCK
    v = Viewer(["-", "--size", f"{W}x{H}", "--caltype", str(CALTYPE)], stdin=subprocess.PIPE)
    try:
        v.proc.stdin.write(data[:2 * size])
        v.proc.stdin.flush()
        open_page(browser, v.url)
        wait_for(browser, "return document.getElementById('frame-number').textContent === '1'")
        # A spot: its plot over time grows with the stream.
        ActionChains(browser).move_to_element_with_offset(browser.find_element(By.ID, "frame"),
                                                          *pixel_offset(browser, 80, 60)).click().perform()
        for n in (2, 3):
            time.sleep(0.3)
            v.proc.stdin.write(data[n * size:(n + 1) * size])
            v.proc.stdin.flush()
            wait_for(browser, f"return document.getElementById('frame-number').textContent === '{n}'")
        wait_for(browser, "return state.series && state.series.frames.length === 4")
        browser.find_element(By.ID, "live-pause").click()
        v.proc.stdin.write(data[4 * size:5 * size] + data[5 * size:5 * size + 1000])  # and part of a frame
        v.proc.stdin.close()
        wait_for(browser, "return document.getElementById('frame-count').textContent === '5'")
        time.sleep(0.3)
        assert shown_frame(browser) == 3  # held while frames kept arriving
        browser.find_element(By.ID, "live-pause").click()
        wait_for(browser, "return document.getElementById('frame-number').textContent === '4'")
        status, body, _ = v.get("/api/recording")
        assert status == 200 and body == data[:5 * size]
    finally:
        code, err = v.stop()
    assert code == 0, err
    assert "is truncated: frame 5 stops after 1000" in err and "5 whole frame(s)" in err


def test_plays_and_pauses_640x512(work, browser):
    # Speed is measured by bench/view_speed.py; here playing must go round
    # the frames and stop on pause.
    big = work / "big.raw"
    subprocess.run([KALVIRO, "synth", "--caltype", str(CALTYPE), "--size", "640x512", "--frames", "4",
                    "--scene", "person", "-o", str(big)], check=True, capture_output=True, timeout=300)
    v = Viewer([str(big), "--caltype", str(CALTYPE)])
    try:
        open_page(browser, v.url)
        assert browser.execute_script("return document.getElementById('frame').width") == 640
        browser.find_element(By.ID, "play").click()
        wait_for(browser, "return window.kalviroView.playFrames >= 6")  # past the last frame and round
        browser.find_element(By.ID, "play").click()
        wait_for(browser, "return document.getElementById('play').textContent === 'play'")
        held = shown_frame(browser)
        time.sleep(0.5)
        assert shown_frame(browser) == held
        up = json.loads(subprocess.run([KALVIRO, "info", str(big), "--caltype", str(CALTYPE), "--frame", str(held),
                                        "--json"], check=True, capture_output=True, text=True).stdout)
        wait_for(browser, "return document.getElementById('uptime').textContent === '%d'" % up["block"]["upTime"])
        assert browser.execute_script("return location.hash") == f"#frame={held}"
    finally:
        assert v.stop()[0] == 0


def test_browser_is_refused(viewer, browser):
    body = lambda: browser.find_element(By.TAG_NAME, "body").text  # noqa: E731
    base = f"http://127.0.0.1:{viewer.port}"
    browser.execute_cdp_cmd("Network.clearBrowserCookies", {})
    browser.get(base + "/")
    assert "forbidden: no valid token" in body()
    # The page load with the token leaves a cookie that stands for it.
    browser.get(viewer.url)
    browser.get(base + "/api/info")
    assert '"calType":21' in body()
    browser.execute_cdp_cmd("Network.clearBrowserCookies", {})
    # A name rebound to 127.0.0.1: the token does not help it.
    browser.get(f"http://rebound.test:{viewer.port}/?token={viewer.token}")
    assert "forbidden: foreign Host" in body()
    browser.get(f"{base}/../../etc/passwd?token={viewer.token}")
    assert ("not found" in body() or "HTTP ERROR 404" in body()) and "root:" not in body()
    # A page of another origin cannot read the data, token or not.
    browser.get(f"http://rebound.test:{viewer.port}/")
    got = browser.execute_async_script("""
        const done = arguments[arguments.length - 1];
        fetch(arguments[0]).then((r) => done('status ' + r.status), (e) => done('failed'));""",
                                       viewer.url.replace("/?", "/api/info?"))
    assert got in ("failed", "status 403"), got


def test_colours_are_the_commands(viewer, browser, work):
    # The PNG of `kalviro convert`, decoded by the browser, against the
    # page's canvas pixel for pixel, for each palette and a fixed range.
    open_page(browser, viewer.url + "#frame=3")
    for palette in browser.execute_script("return Object.keys(state.palettes)"):
        out = work / f"colours_{palette}.png"
        subprocess.run([KALVIRO, "convert", str(work / "rec.raw"), "--caltype", str(CALTYPE), "--frames", "3",
                        "--palette", palette, "--range", "20:30.5", "--no-markers", "-o", str(out), "-q",
                        "--force"], check=True, capture_output=True, timeout=60)
        png = next(work.glob(f"colours_{palette}*.png")).read_bytes()
        assert canvas_differs(browser, png, palette, "20:30.5") == 0, palette


def canvas_differs(browser, png, palette, colour_range):
    """The pixels of the page's canvas, drawn with that palette and range,
    that differ from the PNG's, decoded by the browser."""
    import base64
    return browser.execute_async_script("""
            const [png, palette, range, w, h, done] = arguments;
            document.getElementById('range').value = range;
            document.getElementById('palette').value = palette;
            render();
            const page = document.getElementById('frame').getContext('2d').getImageData(0, 0, w, h).data;
            const img = new Image();
            img.onload = () => {
              const c = document.createElement('canvas');
              c.width = img.width; c.height = img.height;
              const ctx = c.getContext('2d');
              ctx.drawImage(img, 0, 0);
              const file = ctx.getImageData(0, 0, w, h).data;
              let differ = 0;
              for (let i = 0; i < file.length; i++) if (file[i] !== page[i]) differ++;
              done(differ);
            };
            img.onerror = () => done('the PNG did not load');
            img.src = 'data:image/png;base64,' + png;""", base64.b64encode(png).decode(), palette, colour_range,
                                        W, H)


# Frames the library gives failure values for, after two good ones: with a
# zeroed block or a window that lets nothing through, every pixel of CalType
# 51 fails; with a final gain of a million, the hot pixels of CalType 21
# leave the range of hundredths that the cooler ones, a million times too
# large, still keep. Each: the CalType, where in the block, the bytes put there.
FAILING = {"zeroed block": (51, 0, bytes(BLOCK)), "window 0": (51, 0x134, (0).to_bytes(4, "little")),
           "gain 1e6": (21, 0xf8, (100000000).to_bytes(4, "little"))}

SHAPES = [("roi", "roi1=90,30,40,40", "{kind: 'roi', x: 90, y: 30, w: 40, h: 40}"),
          ("line", "line1=5,100,150,20", "{kind: 'line', x0: 5, y0: 100, x1: 150, y1: 20}"),
          ("ellipse", "ellipse1=105.5,50.5,30.5,20.5", "{kind: 'ellipse', x: 75, y: 30, w: 61, h: 41}"),
          ("polygon", "polygon1=80.5,30.5,130.5,40.5,100.5,80.5",
           "{kind: 'polygon', closed: true, points: [[80, 30], [130, 40], [100, 80]]}")]


def failing_recording(work, kind):
    calType, offset, value = FAILING[kind]
    path = work / f"failing_{kind.replace(' ', '_')}.raw"
    subprocess.run([KALVIRO, "synth", "--caltype", str(calType), "--size", f"{W}x{H}", "--frames", "3",
                    "--scene", "hotspot", "-o", str(path), "--force"],
                   check=True, capture_output=True, timeout=120)
    data = bytearray(path.read_bytes())
    at = 3 * FRAME_BYTES - BLOCK + offset
    data[at:at + len(value)] = value
    path.write_bytes(bytes(data))
    return path, calType


@pytest.mark.parametrize("kind, colour_range, failing, valid", [
    # the block, the colours' range, a pixel that fails, one that does not
    ("zeroed block", "20:30.5", (106, 50), None),
    ("window 0", "20:30.5", (106, 50), None),
    ("window 0", "auto", (0, 0), None),
    ("gain 1e6", "20:30.5", (106, 50), (10, 10)),
    ("gain 1e6", "auto", (106, 50), (10, 10)),
])
def test_failure_frame_is_the_commands(work, browser, kind, colour_range, failing, valid):
    path, calType = failing_recording(work, kind)
    v = Viewer([str(path), "--caltype", str(calType)])
    try:
        browser.get_log("browser")  # what earlier pages logged
        open_page(browser, v.url + "#frame=2")
        browser.execute_script("".join(f"addShape({js});" for _, _, js in SHAPES))
        stats_ready(browser, len(SHAPES))
        assert hover(browser, *failing).startswith(f"invalid at ({failing[0]}, {failing[1]}), gray ")
        if valid:
            assert "°C at (%d, %d)" % valid in hover(browser, *valid)
        stem = work / f"failing_{kind.replace(' ', '_')}_{colour_range.replace(':', '_')}"
        args = [KALVIRO, "convert", str(path), "--caltype", str(calType), "--frames", "2", "--palette", "iron",
                "--no-markers", "--no-overlays", "-o", f"{stem}.json", "-o", f"{stem}.png", "-q", "--force"]
        if colour_range != "auto":
            args += ["--range", colour_range]
        for k, text, _ in SHAPES:
            args += ["--" + k, text]
        subprocess.run(args, check=True, capture_output=True, timeout=60)
        report = json.loads(next(work.glob(stem.name + "*.json")).read_text())
        regions = {r["name"]: r for r in report["frames"][0]["rois"]}
        for _, text, _ in SHAPES:
            name = text.split("=")[0]
            row = browser.find_element(By.CSS_SELECTOR, "#stats tbody tr[data-shape='%s']" % name)
            for k in ("min", "max", "mean", "std"):
                page, command = row.find_element(By.CLASS_NAME, k).text, regions[name][k]
                if command is None:
                    assert page == "invalid", (name, k)
                else:
                    assert float(page) == pytest.approx(command, abs=0.0051), (name, k)
        png = next(work.glob(stem.name + "*.png")).read_bytes()
        assert canvas_differs(browser, png, "iron", colour_range) == 0
        errors = [e for e in browser.get_log("browser") if e["level"] == "SEVERE" and "favicon" not in e["message"]]
        assert not errors, errors
    finally:
        assert v.stop()[0] == 0
