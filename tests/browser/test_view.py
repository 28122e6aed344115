"""`kalviro view` driven in headless Chromium, as a user drives it.

Temperatures are checked against the library's per-pixel C entry called
through ctypes in a fresh process, region statistics against
`kalviro convert --roi`'s JSON, and the refusals with raw HTTP requests.
"""
import ctypes
import http.client
import json
import os
import re
import signal
import subprocess
import sys
import threading
import time
import urllib.request

import pytest

KALVIRO = os.environ.get("KALVIRO", "kalviro")
LIBRARY = os.environ.get("KALVIRO_LIBRARY", "libkalviro.so")
CHROMIUM = os.environ.get("KALVIRO_CHROMIUM", "/usr/bin/chromium")
DRIVER = os.environ.get("KALVIRO_CHROMEDRIVER", "/usr/bin/chromedriver")
OUT = os.environ.get("KALVIRO_BROWSER_OUT", os.getcwd())

CALTYPE = 21
W, H, FRAMES = 160, 120, 6
BLOCK = 512

webdriver = pytest.importorskip("selenium.webdriver", reason="python3-selenium is not installed")
from selenium.webdriver.common.action_chains import ActionChains  # noqa: E402
from selenium.webdriver.common.by import By  # noqa: E402
from selenium.webdriver.support.ui import WebDriverWait  # noqa: E402

if not (os.access(CHROMIUM, os.X_OK) and os.access(DRIVER, os.X_OK)):
    pytest.skip(f"no Chromium here ({CHROMIUM}, {DRIVER}): install chromium and chromium-driver",
                allow_module_level=True)


# ---- helpers ----

class Viewer:
    """A running `kalviro view`; its URL read from the first line it prints."""

    def __init__(self, args, stdin=None):
        self.proc = subprocess.Popen([KALVIRO, "view", *args, "--no-browser"], stdin=stdin,
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        line = []
        reader = threading.Thread(target=lambda: line.append(self.proc.stdout.readline().decode()))
        reader.start()
        reader.join(20)
        if not line or not line[0].startswith("http://127.0.0.1:"):
            self.stop()
            raise AssertionError(f"no URL from kalviro view: {line!r}")
        self.url = line[0].strip()
        m = re.fullmatch(r"http://127\.0\.0\.1:(\d+)/\?token=([0-9a-f]{32,})", self.url)
        assert m, self.url
        self.port, self.token = int(m.group(1)), m.group(2)

    def get(self, path, headers=None, token=True):
        conn = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        if token:
            path += ("&" if "?" in path else "?") + "token=" + self.token
        conn.putrequest("GET", path, skip_host=True)
        hdrs = {"Host": f"127.0.0.1:{self.port}"}
        hdrs.update(headers or {})
        for k, v in hdrs.items():
            conn.putheader(k, v)
        conn.endheaders()
        r = conn.getresponse()
        body = r.read()
        conn.close()
        return r.status, body, r

    def stop(self):
        """Ctrl-C; the exit status and what the viewer said."""
        if self.proc.poll() is None:
            self.proc.send_signal(signal.SIGINT)
        try:
            self.proc.wait(15)
        except subprocess.TimeoutExpired:
            self.proc.kill()
            self.proc.wait()
        err = self.proc.stderr.read().decode()
        self.proc.stdout.close()
        self.proc.stderr.close()
        return self.proc.returncode, err


def per_pixel_temps(path, frames, width, height):
    """Every frame through the C entries in a fresh process: the per-frame
    call on the centre pixel in frame order, then the per-pixel call on
    each pixel. The float32 bits, as bytes, per frame."""
    code = r"""
import ctypes, sys, struct
lib = ctypes.CDLL(sys.argv[1])
for f in (lib.KALVIRO_Gray2Temp_Init, lib.KALVIRO_Gray2Temp_Real):
    f.restype = ctypes.c_float
    f.argtypes = [ctypes.c_int32, ctypes.c_int32, ctypes.c_void_p, ctypes.c_float, ctypes.c_float]
path, frames, w, h, cal = sys.argv[2], int(sys.argv[3]), int(sys.argv[4]), int(sys.argv[5]), int(sys.argv[6])
data = open(path, 'rb').read()
size = w * h * 2 + 512
out = sys.stdout.buffer
for n in range(frames):
    raw = data[n * size:(n + 1) * size]
    gray = struct.unpack('<%dH' % (w * h), raw[:w * h * 2])
    block = ctypes.create_string_buffer(raw[w * h * 2:], 512)
    lib.KALVIRO_Gray2Temp_Init(cal, gray[(h // 2) * w + w // 2], block, 0.95, 0.0)
    real = lib.KALVIRO_Gray2Temp_Real
    out.write(struct.pack('<%df' % (w * h), *[real(cal, g, block, 0.95, 0.0) for g in gray]))
"""
    raw = subprocess.run([sys.executable, "-c", code, LIBRARY, path, str(frames), str(width), str(height),
                          str(CALTYPE)], check=True, capture_output=True, timeout=120).stdout
    n = width * height * 4
    return [raw[i * n:(i + 1) * n] for i in range(frames)]


def floats(raw):
    import struct
    return struct.unpack("<%df" % (len(raw) // 4), raw)


def make_browser():
    opts = webdriver.ChromeOptions()
    opts.binary_location = CHROMIUM
    for flag in ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--disable-dev-shm-usage", "--window-size=1400,1000", "--force-device-scale-factor=1"]:
        opts.add_argument(flag)
    import tempfile
    profile = tempfile.mkdtemp(prefix="kalviro-chromium-")
    opts.add_argument("--user-data-dir=" + profile)
    service = webdriver.ChromeService(executable_path=DRIVER) if hasattr(webdriver, "ChromeService") \
        else webdriver.chrome.service.Service(executable_path=DRIVER)
    driver = webdriver.Chrome(service=service, options=opts)
    driver.set_page_load_timeout(30)
    driver.set_script_timeout(30)
    driver.kalviro_profile = profile
    return driver


def wait_for(driver, script, timeout=15):
    return WebDriverWait(driver, timeout, poll_frequency=0.05).until(lambda d: d.execute_script(script))


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
    return driver.find_element(By.ID, "readout").text


def drag(driver, a, b):
    canvas = driver.find_element(By.ID, "frame")
    ax, ay = pixel_offset(driver, *a)
    bx, by = pixel_offset(driver, *b)
    (ActionChains(driver).move_to_element_with_offset(canvas, ax, ay).click_and_hold()
     .move_to_element_with_offset(canvas, (ax + bx) // 2, (ay + by) // 2)
     .move_to_element_with_offset(canvas, bx, by).release().perform())


def shown_frame(driver):
    return int(driver.find_element(By.ID, "frame-number").text)


# ---- fixtures ----

@pytest.fixture(scope="module")
def work(tmp_path_factory):
    d = tmp_path_factory.mktemp("view")
    rec = d / "rec.raw"
    subprocess.run([KALVIRO, "synth", "--caltype", str(CALTYPE), "--size", f"{W}x{H}", "--frames", str(FRAMES),
                    "--scene", "hotspot", "-o", str(rec)], check=True, capture_output=True, timeout=60)
    return d


@pytest.fixture(scope="module")
def viewer(work):
    v = Viewer([str(work / "rec.raw"), "--caltype", str(CALTYPE)])
    yield v
    code, err = v.stop()
    assert code == 0, err
    assert "viewer stopped" in err


@pytest.fixture(scope="module")
def truth(work):
    return per_pixel_temps(str(work / "rec.raw"), FRAMES, W, H)


@pytest.fixture(scope="module")
def browser():
    driver = make_browser()
    yield driver
    driver.quit()
    import shutil
    shutil.rmtree(driver.kalviro_profile, ignore_errors=True)


# ---- tests ----

def test_endpoints_give_the_per_pixel_bits(viewer, work, truth):
    data = (work / "rec.raw").read_bytes()
    size = W * H * 2 + BLOCK
    status, body, _ = viewer.get("/api/info")
    info = json.loads(body)
    assert (status, info["width"], info["height"], info["frames"], info["calType"], info["emissivity"]) == \
        (200, W, H, FRAMES, CALTYPE, 0.95)
    for n in range(FRAMES):
        frame = data[n * size:(n + 1) * size]
        assert viewer.get(f"/api/frame/{n}")[1] == truth[n], f"frame {n}"
        assert viewer.get(f"/api/frame/{n}/gray")[1] == frame[:W * H * 2]
        assert viewer.get(f"/api/frame/{n}/block?format=raw")[1] == frame[W * H * 2:]
    block = json.loads(viewer.get("/api/frame/2/block")[1])
    info_cmd = json.loads(subprocess.run([KALVIRO, "info", str(work / "rec.raw"), "--caltype", str(CALTYPE),
                                          "--frame", "2", "--json"], check=True, capture_output=True,
                                         text=True).stdout)
    assert block["block"] == info_cmd["block"]
    assert block["upTime"] == info_cmd["block"]["upTime"]


def test_series_equals_convert(viewer, work):
    status, body, _ = viewer.get("/api/series?roi=hot%3D60,40,30,25&spot=80,60&from=1&to=5")
    assert status == 200
    series = json.loads(body)
    assert series["frames"] == [1, 2, 3, 4]
    hot = next(q for q in series["shapes"] if q["name"] == "hot")
    spot = next(q for q in series["shapes"] if q["shape"] == "spot")
    for i, n in enumerate(series["frames"]):
        out = work / f"series_{n}.json"
        subprocess.run([KALVIRO, "convert", str(work / "rec.raw"), "--caltype", str(CALTYPE), "--frames", str(n),
                        "--roi", "hot=60,40,30,25", "--spot", "80,60", "-o", str(out), "-q", "--force"],
                       check=True, capture_output=True, timeout=60)
        frame = json.loads(out.read_text())["frames"][0]
        for key in ("min", "max", "mean", "std"):
            assert hot[key][i] == pytest.approx(frame["rois"][0][key], abs=0.0051), (n, key)
        assert spot["t"][i] == pytest.approx(frame["spots"][0]["t"], abs=0.0051)


def test_refusals(viewer):
    assert viewer.get("/api/info", token=False)[0] == 403
    assert viewer.get("/api/info?token=" + "0" * 32, token=False)[0] == 403
    assert viewer.get("/", token=False)[0] == 403
    assert viewer.get("/api/info", headers={"Host": f"evil.example:{viewer.port}"})[0] == 403
    assert viewer.get("/api/info", headers={"Host": "127.0.0.1:1"})[0] == 403
    assert viewer.get("/api/info", headers={"Origin": "http://evil.example"})[0] == 403
    assert viewer.get("/api/info", headers={"Origin": f"http://127.0.0.1:{viewer.port}"})[0] == 200
    assert viewer.get("/api/info", headers={"Host": f"localhost:{viewer.port}"})[0] == 200
    for path in ("/../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/etc/passwd", "/api/frame/99",
                 "/api/frame/-1", "/view.jsx"):
        assert viewer.get(path)[0] == 404, path
    assert viewer.get("/api/series?roi=150,100,20,20")[0] == 400
    # The page load sets the cookie that stands for the token afterwards.
    status, _, r = viewer.get("/")
    cookie = r.getheader("Set-Cookie")
    assert status == 200 and "HttpOnly" in cookie and "SameSite=Strict" in cookie
    assert viewer.get("/api/info", headers={"Cookie": cookie.split(";")[0]}, token=False)[0] == 200
    assert viewer.get("/api/info", headers={"Cookie": f"kalviro_{viewer.port}=x"}, token=False)[0] == 403


def test_readout_region_and_frames(viewer, browser, truth, work):
    open_page(browser, viewer.url + "#frame=2")
    assert shown_frame(browser) == 2
    temps = floats(truth[2])
    gray = (work / "rec.raw").read_bytes()[2 * (W * H * 2 + BLOCK):]
    for x, y in [(0, 0), (W - 1, H - 1), (80, 60), (37, 91), (W // 2 + 3, H // 2 - 7)]:
        text = hover(browser, x, y)
        g = gray[2 * (y * W + x)] | gray[2 * (y * W + x) + 1] << 8
        assert text == f"{temps[y * W + x]:.2f} °C at ({x}, {y}), gray {g}", (x, y)

    # A rectangle: its statistics as `kalviro convert --roi` gives them.
    drag(browser, (60, 40), (89, 64))
    wait_for(browser, "return document.querySelectorAll('#stats tbody tr').length === 1")
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

    # A spot, a line and an ellipse; the plot over time covers every frame.
    ActionChains(browser).move_to_element_with_offset(browser.find_element(By.ID, "frame"),
                                                      *pixel_offset(browser, 10, 10)).click().perform()
    browser.execute_script("document.getElementById('tool').value = 'line'")
    drag(browser, (5, 100), (150, 20))
    browser.execute_script("document.getElementById('tool').value = 'ellipse'")
    drag(browser, (20, 20), (60, 50))
    wait_for(browser, "return document.querySelectorAll('#stats tbody tr').length === 4")
    command = browser.find_element(By.ID, "command").get_attribute("value")
    for part in ("--spot 10,10", "--line line1=5,100,150,20", "--ellipse ellipse1=20,20,41,31", "--table"):
        assert part in command
    wait_for(browser, "return state.series && state.series.frames.length === %d && "
                      "state.series.shapes.length === 4" % FRAMES)

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


def test_speed_640x512(work, browser):
    big = work / "big.raw"
    subprocess.run([KALVIRO, "synth", "--caltype", str(CALTYPE), "--size", "640x512", "--frames", "12",
                    "--scene", "person", "-o", str(big)], check=True, capture_output=True, timeout=120)
    v = Viewer([str(big), "--caltype", str(CALTYPE)])
    try:
        start = time.monotonic()
        open_page(browser, v.url)
        first = browser.execute_script("return window.kalviroView.firstFrameMs")
        browser.find_element(By.ID, "play").click()
        time.sleep(2.0)
        fps = browser.execute_script("return window.kalviroView.fps")
        browser.find_element(By.ID, "play").click()
        line = (f"640x512: first frame {first:.0f} ms after the page started loading "
                f"({(time.monotonic() - start) * 1000:.0f} ms with the page load), playing {fps:.1f} frames/s\n")
        print(line)
        with open(os.path.join(OUT, "view_speed.txt"), "w") as f:
            f.write(line)
        assert fps and fps > 0
    finally:
        assert v.stop()[0] == 0


@pytest.mark.parametrize("args, message", [
    (["missing.raw", "--caltype", "21"], "cannot open missing.raw"),
    (["-", "--caltype", "21"], "give its --size"),
    (["rec.raw", "--caltype", "21", "-e", "95"], "bad emissivity"),
    (["rec.raw", "--caltype", "7"], "CalType"),
    (["rec.raw", "--caltype", "21", "--port", "0"], "port"),
])
def test_bad_starts_say_one_line(work, args, message):
    r = subprocess.run([KALVIRO, "view", *args, "--no-browser"], cwd=work, capture_output=True, text=True,
                       timeout=20, stdin=subprocess.DEVNULL)
    assert r.returncode != 0 and r.stdout == ""
    assert len(r.stderr.strip().splitlines()) == 1 and message in r.stderr, r.stderr


def test_port_in_use(viewer, work):
    r = subprocess.run([KALVIRO, "view", "rec.raw", "--caltype", "21", "--no-browser", "--port",
                        str(viewer.port)], cwd=work, capture_output=True, text=True, timeout=20)
    assert r.returncode == 1 and "cannot listen on 127.0.0.1:%d" % viewer.port in r.stderr
