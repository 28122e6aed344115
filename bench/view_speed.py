#!/usr/bin/python3
"""How fast `kalviro view` shows a 640x512 recording in headless Chromium:
the first frame after the page's navigation starts, frames a second while
playing, and frames a second shown while a live stream arrives at 30 frames
a second.

    bench/view_speed.py [KALVIRO] [SECONDS]

KALVIRO defaults to build/run/apps/kalviro (scripts/run.sh builds it). Needs
Debian's chromium, chromium-driver and python3-selenium."""
import os
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


def cpu_seconds(pid):
    """Processor time so far of the viewer and of every Chromium process:
    on a shared machine the frames a second say less than this."""
    total = {"kalviro": 0, "chromium": 0}
    tick = os.sysconf("SC_CLK_TCK")
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            stat = open(f"/proc/{entry}/stat").read()
        except OSError:
            continue
        comm = stat[stat.index("(") + 1:stat.rindex(")")]
        fields = stat[stat.rindex(")") + 2:].split()
        used = (int(fields[11]) + int(fields[12])) / tick
        if int(entry) == pid:
            total["kalviro"] += used
        elif comm.startswith("chrom"):
            total["chromium"] += used
    return total


def per_frame(before, after, frames):
    return ", ".join(f"{k} {(after[k] - before[k]) * 1000 / max(frames, 1):.1f} ms" for k in before)


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
            shown0 = driver.execute_script("return window.kalviroView.framesShown")
            cpu0 = cpu_seconds(proc.pid)
            driver.find_element(By.ID, "play").click()
            time.sleep(SECONDS)
            fps = driver.execute_script("return window.kalviroView.fps")
            driver.find_element(By.ID, "play").click()
            cpu = per_frame(cpu0, cpu_seconds(proc.pid),
                            driver.execute_script("return window.kalviroView.framesShown") - shown0)
        finally:
            stop(proc)
        print(f"first frame: {min(firsts):.0f} ms best, {sorted(firsts)[2]:.0f} ms median of 5 page loads")
        print(f"playing: {fps:.1f} frames/s; processor time a frame: {cpu}")

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
            cpu0 = cpu_seconds(proc.pid)
            t0 = time.monotonic()
            feeder = threading.Thread(target=feed)
            feeder.start()
            feeder.join()
            shown = driver.execute_script("return window.kalviroView.framesShown") - shown0
            elapsed = time.monotonic() - t0
            cpu = per_frame(cpu0, cpu_seconds(proc.pid), shown)
        finally:
            stop(proc)
        print(f"live at 30 frames/s: {sent[0] / elapsed:.1f} frames/s sent, {shown / elapsed:.1f} frames/s shown; "
              f"processor time a frame shown: {cpu}")
    finally:
        driver.quit()
        subprocess.run(["rm", "-rf", work])


if __name__ == "__main__":
    main()
