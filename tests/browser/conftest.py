"""What the viewer's tests share: a running `kalviro view`, a synthetic
recording, and its temperatures through the library's per-pixel C entry in
a program of its own."""
import http.client
import json
import os
import re
import signal
import struct
import subprocess
import threading

import pytest

KALVIRO = os.environ.get("KALVIRO", "kalviro")
PER_PIXEL = os.environ.get("KALVIRO_PER_PIXEL", "kalviro_per_pixel")

CALTYPE = 21
W, H, FRAMES = 160, 120, 6
BLOCK = 512
FRAME_BYTES = W * H * 2 + BLOCK


class Viewer:
    """A running `kalviro view`; its URL read from the first line it prints."""

    def __init__(self, args, stdin=None, cwd=None, env=None, open_browser=False):
        self.proc = subprocess.Popen([KALVIRO, "view", *args] + ([] if open_browser else ["--no-browser"]),
                                     stdin=stdin, cwd=cwd, env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        line = []
        reader = threading.Thread(target=lambda: line.append(self.proc.stdout.readline().decode()))
        reader.start()
        reader.join(60)
        if not line or not line[0].startswith("http://127.0.0.1:"):
            code, err = self.stop()
            raise AssertionError(f"no URL from kalviro view: {line!r}, exit {code}, {err}")
        self.url = line[0].strip()
        m = re.fullmatch(r"http://127\.0\.0\.1:(\d+)/\?token=([0-9a-f]{32,})", self.url)
        assert m, self.url
        self.port, self.token = int(m.group(1)), m.group(2)

    def request(self, path, headers=None, token=True, method="GET", host=True):
        """The status, body and response of one request on a fresh
        connection; Host names this server unless `headers` or `host` say
        otherwise."""
        conn = http.client.HTTPConnection("127.0.0.1", self.port, timeout=30)
        if token:
            path += ("&" if "?" in path else "?") + "token=" + self.token
        conn.putrequest(method, path, skip_host=True, skip_accept_encoding=True)
        hdrs = {"Host": f"127.0.0.1:{self.port}"} if host else {}
        hdrs.update(headers or {})
        for k, v in hdrs.items():
            conn.putheader(k, v)
        conn.endheaders()
        r = conn.getresponse()
        body = r.read()
        conn.close()
        return r.status, body, r

    def stream_all(self, data):
        """Writes data to a live viewer and ends its stream; /api/info once
        reading has ended."""
        self.proc.stdin.write(data)
        self.proc.stdin.close()
        for _ in range(120):
            info = json.loads(self.get("/api/wait?after=%d" % (len(data) // FRAME_BYTES + 1))[1])
            if info["complete"]:
                return info
        raise AssertionError(f"the stream never ended: {info}")

    def get(self, path, **kw):
        return self.request(path, **kw)

    def stop(self):
        """Ctrl-C; the exit status and what the viewer said."""
        if self.proc.poll() is None:
            self.proc.send_signal(signal.SIGINT)
        try:
            self.proc.wait(30)
        except subprocess.TimeoutExpired:
            self.proc.kill()
            self.proc.wait()
        err = self.proc.stderr.read().decode()
        self.proc.stdout.close()
        self.proc.stderr.close()
        if self.proc.stdin:
            try:
                self.proc.stdin.close()
            except BrokenPipeError:
                pass
        return self.proc.returncode, err


def per_pixel_temps(path, frames, width, height):
    """Every frame through the C entries (per_pixel.c): the per-frame call
    on the centre pixel in frame order, then the per-pixel call on each
    pixel. The float32 bits, as bytes, per frame."""
    raw = subprocess.run([PER_PIXEL, path, str(width), str(height), str(CALTYPE), "0.95"], check=True,
                         capture_output=True, timeout=300).stdout
    n = width * height * 4
    assert len(raw) == frames * n
    return [raw[i * n:(i + 1) * n] for i in range(frames)]


def floats(raw):
    return struct.unpack("<%df" % (len(raw) // 4), raw)


@pytest.fixture(scope="module")
def work(tmp_path_factory):
    d = tmp_path_factory.mktemp("view")
    subprocess.run([KALVIRO, "synth", "--caltype", str(CALTYPE), "--size", f"{W}x{H}", "--frames", str(FRAMES),
                    "--scene", "hotspot", "-o", str(d / "rec.raw")], check=True, capture_output=True, timeout=120)
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
