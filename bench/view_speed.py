#!/usr/bin/python3
"""How fast `kalviro view` shows a 640x512 recording in headless Chromium:
the first frame after the page's navigation starts, frames a second while
playing, and frames a second shown while a live stream arrives at 30 frames
a second.

    bench/view_speed.py [KALVIRO] [SECONDS]

KALVIRO defaults to build/run/apps/kalviro (scripts/run.sh builds it). Needs
Debian's chromium, chromium-driver and python3-selenium."""
import os
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
KALVIRO = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else os.path.join(ROOT, "build/run/apps/kalviro")
SECONDS = float(sys.argv[2]) if len(sys.argv) > 2 else 5.0
W, H, FRAMES = 640, 512, 60
FRAME_BYTES = W * H * 2 + 512


def start(args, stdin=None):
    proc = subprocess.Popen([KALVIRO, "view", *args, "--caltype", "21", "--no-browser"], stdin=stdin,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return proc, proc.stdout.readline().decode().strip()


def stop(proc):
    proc.send_signal(signal.SIGINT)
    proc.wait(30)


def browser():
    opts = webdriver.ChromeOptions()
    opts.binary_location = "/usr/bin/chromium"
    for flag in ["--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                 "--window-size=1400,1000", "--user-data-dir=" + tempfile.mkdtemp(prefix="kalviro-bench-")]:
        opts.add_argument(flag)
    return webdriver.Chrome(service=Service(executable_path="/usr/bin/chromedriver"),
                            options=opts)


def ready(driver, url):
    driver.get(url)
    WebDriverWait(driver, 60, 0.02).until(lambda d: d.execute_script(
        "return window.kalviroView && window.kalviroView.ready === true"))


def main():
    work = tempfile.mkdtemp(prefix="kalviro-view-bench-")
    seq = os.path.join(work, "seq.raw")
    subprocess.run([KALVIRO, "synth", "--caltype", "21", "--size", f"{W}x{H}", "--frames", str(FRAMES),
                    "--scene", "person", "-o", seq], check=True, capture_output=True)
    driver = browser()
    try:
        proc, url = start([seq])
        try:
            firsts = []
            for _ in range(5):
                ready(driver, url)
                firsts.append(driver.execute_script("return window.kalviroView.firstFrameMs"))
            driver.find_element(By.ID, "play").click()
            time.sleep(SECONDS)
            fps = driver.execute_script("return window.kalviroView.fps")
            driver.find_element(By.ID, "play").click()
        finally:
            stop(proc)
        print(f"first frame: {min(firsts):.0f} ms best, {sorted(firsts)[2]:.0f} ms median of 5 page loads")
        print(f"playing: {fps:.1f} frames/s")

        data = open(seq, "rb").read()
        proc, url = start(["-", "--size", f"{W}x{H}"], stdin=subprocess.PIPE)
        proc.stdin.write(data[:FRAME_BYTES])
        proc.stdin.flush()
        try:
            ready(driver, url)
            sent = [0]

            def feed():
                t0 = time.monotonic()
                n = 1
                while time.monotonic() - t0 < SECONDS:
                    proc.stdin.write(data[(n % FRAMES) * FRAME_BYTES:(n % FRAMES + 1) * FRAME_BYTES])
                    proc.stdin.flush()
                    n += 1
                    sent[0] += 1
                    time.sleep(max(0.0, t0 + n / 30 - time.monotonic()))

            shown0 = driver.execute_script("return window.kalviroView.framesShown")
            t0 = time.monotonic()
            feeder = threading.Thread(target=feed)
            feeder.start()
            feeder.join()
            shown = driver.execute_script("return window.kalviroView.framesShown") - shown0
            elapsed = time.monotonic() - t0
        finally:
            stop(proc)
        print(f"live at 30 frames/s: {sent[0] / elapsed:.1f} frames/s sent, {shown / elapsed:.1f} frames/s shown")
    finally:
        driver.quit()
        subprocess.run(["rm", "-rf", work])


if __name__ == "__main__":
    main()
