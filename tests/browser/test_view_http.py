"""`kalviro view`'s HTTP side with plain requests, no browser: the numbers
of its endpoints against the per-pixel C entry and `kalviro convert`, and
the requests it must refuse."""
import json
import os
import socket
import struct
import subprocess
import time

import pytest

from conftest import CALTYPE, FRAME_BYTES, FRAMES, H, KALVIRO, W, Viewer, floats, per_pixel_temps


def test_endpoints_give_the_per_pixel_bits(viewer, work, truth):
    data = (work / "rec.raw").read_bytes()
    status, body, _ = viewer.get("/api/info")
    info = json.loads(body)
    assert (status, info["width"], info["height"], info["frames"], info["calType"], info["emissivity"]) == \
        (200, W, H, FRAMES, CALTYPE, 0.95)
    # Out of order and twice: a frame's numbers do not depend on which
    # frames were asked for before it.
    for n in [3, 0, 5, 1, 4, 2, 0, 5]:
        frame = data[n * FRAME_BYTES:(n + 1) * FRAME_BYTES]
        status, body, r = viewer.get(f"/api/frame/{n}")
        assert status == 200 and r.getheader("Content-Type") == "application/octet-stream"
        assert body == truth[n], f"frame {n}"
        assert viewer.get(f"/api/frame/{n}/gray")[1] == frame[:W * H * 2]
        assert viewer.get(f"/api/frame/{n}/block?format=raw")[1] == frame[W * H * 2:]
    block = json.loads(viewer.get("/api/frame/2/block")[1])
    info_cmd = json.loads(subprocess.run([KALVIRO, "info", str(work / "rec.raw"), "--caltype", str(CALTYPE),
                                          "--frame", "2", "--json"], check=True, capture_output=True,
                                         text=True).stdout)
    assert block["block"] == info_cmd["block"]
    assert block["upTime"] == info_cmd["block"]["upTime"]
    status, body, _ = viewer.get("/api/recording")
    assert status == 200 and body == data


def test_counts_archive_gives_the_same_bits(work, truth):
    archive = work / "counts.tiff"
    subprocess.run([KALVIRO, "convert", str(work / "rec.raw"), "--caltype", str(CALTYPE), "--counts", "-o",
                    str(archive), "-q", "--force"], check=True, capture_output=True, timeout=60)
    v = Viewer([str(archive), "--caltype", str(CALTYPE)])
    try:
        assert json.loads(v.get("/api/info")[1])["frames"] == FRAMES
        for n in (0, 4):
            assert v.get(f"/api/frame/{n}")[1] == truth[n], n
    finally:
        assert v.stop()[0] == 0


def test_series_without_shapes_gives_each_frames_uptime(viewer):
    series = json.loads(viewer.get("/api/series")[1])
    assert series["frames"] == list(range(FRAMES)) and series["shapes"] == []
    for n in range(FRAMES):
        assert series["upTime"][n] == json.loads(viewer.get(f"/api/frame/{n}/block")[1])["upTime"]


def test_series_equals_convert(viewer, work, truth):
    status, body, _ = viewer.get("/api/series?roi=hot%3D60,40,30,25&spot=80,60&line=0,0,3,3&from=1&to=5")
    assert status == 200
    series = json.loads(body)
    assert series["frames"] == [1, 2, 3, 4]
    hot = next(q for q in series["shapes"] if q["name"] == "hot")
    spot = next(q for q in series["shapes"] if q["shape"] == "spot")
    line = next(q for q in series["shapes"] if q["shape"] == "line")
    for i, n in enumerate(series["frames"]):
        out = work / f"series_{n}.json"
        subprocess.run([KALVIRO, "convert", str(work / "rec.raw"), "--caltype", str(CALTYPE), "--frames", str(n),
                        "--roi", "hot=60,40,30,25", "--spot", "80,60", "-o", str(out), "-q", "--force"],
                       check=True, capture_output=True, timeout=60)
        frame = json.loads(out.read_text())["frames"][0]
        for key in ("min", "max", "mean", "std"):
            assert hot[key][i] == pytest.approx(frame["rois"][0][key], abs=0.0051), (n, key)
        assert spot["t"][i] == pytest.approx(frame["spots"][0]["t"], abs=0.0051)
        # The diagonal's four pixels, read back from the per-pixel bits.
        t = floats(truth[n])
        diag = [t[k * W + k] for k in range(4)]
        assert line["min"][i] == pytest.approx(min(diag), abs=1e-5)
        assert line["max"][i] == pytest.approx(max(diag), abs=1e-5)
        assert line["mean"][i] == pytest.approx(sum(diag) / 4, abs=1e-5)


def test_ellipse_and_polygon_series_equal_convert(viewer, work):
    shapes = {"ellipse": "e=40.5,35.5,20.5,15.5", "polygon": "p=10.5,10.5,70.5,20.5,30.5,90.5,5,60"}
    query = "&".join(f"{k}={v.replace('=', '%3D')}" for k, v in shapes.items())
    series = json.loads(viewer.get(f"/api/series?{query}&from=3&to=4")[1])
    out = work / "series_shapes.json"
    subprocess.run([KALVIRO, "convert", str(work / "rec.raw"), "--caltype", str(CALTYPE), "--frames", "3",
                    "--ellipse", shapes["ellipse"], "--polygon", shapes["polygon"], "-o", str(out), "-q",
                    "--force"], check=True, capture_output=True, timeout=60)
    regions = {r["name"]: r for r in json.loads(out.read_text())["frames"][0]["rois"]}
    for q in series["shapes"]:
        for key in ("min", "max", "mean", "std"):
            assert q[key][0] == pytest.approx(regions[q["name"]][key], abs=0.0051), (q["name"], key)


def test_pixels_of_a_polygon(viewer):
    # A triangle: its pixels are those whose centre lies inside, checked
    # here in exact fractions (its corners in quarters: no centre lies on an
    # edge).
    from fractions import Fraction
    corners = [(Fraction(9, 4), Fraction(13, 4)), (Fraction(123, 4), 8), (11, Fraction(105, 4))]
    status, body, _ = viewer.get("/api/pixels?polygon=" + ",".join(f"{float(x)},{float(y)}" for x, y in corners))
    assert status == 200
    got = list(struct.unpack("<%dI" % (len(body) // 4), body))

    def side(a, b, p):
        return (b[0] - a[0]) * (p[1] - a[1]) - (b[1] - a[1]) * (p[0] - a[0])

    want = []
    for y in range(H):
        for x in range(W):
            c = (Fraction(2 * x + 1, 2), Fraction(2 * y + 1, 2))
            s = [side(corners[k], corners[(k + 1) % 3], c) for k in range(3)]
            assert 0 not in s
            if all(v > 0 for v in s) or all(v < 0 for v in s):
                want.append(y * W + x)
    assert got == want and len(want) > 100


def _refusal_cases(port):
    other = f"evil.example:{port}"
    return [
        # path, headers, send token, send Host, status
        ("/api/info", {}, False, True, 403),
        ("/", {}, False, True, 403),
        ("/view.js", {}, False, True, 403),
        ("/api/frame/0", {}, False, True, 403),
        ("/api/info?token=" + "0" * 32, {}, False, True, 403),
        ("/api/info?token=", {}, False, True, 403),
        ("/api/info", {"Host": other}, True, True, 403),
        ("/api/info", {"Host": "127.0.0.1:1"}, True, True, 403),
        ("/api/info", {"Host": "127.0.0.1"}, True, True, 403),
        ("/api/info", {"Host": f"127.0.0.1.evil.example:{port}"}, True, True, 403),
        ("/api/info", {}, True, False, 403),  # no Host at all
        ("/api/info", {"Origin": "http://evil.example"}, True, True, 403),
        ("/api/info", {"Origin": "null"}, True, True, 403),
        ("/api/info", {"Origin": f"http://{other}"}, True, True, 403),
        ("/api/info", {"Origin": f"https://127.0.0.1:{port}"}, True, True, 403),
        ("/api/info", {"Cookie": f"kalviro_{port}=x"}, False, True, 403),
        ("/api/info", {"Cookie": f"other_{port}=x"}, False, True, 403),
        # Outside what is served.
        ("/../../etc/passwd", {}, True, True, 404),
        ("/%2e%2e/%2e%2e/etc/passwd", {}, True, True, 404),
        ("/etc/passwd", {}, True, True, 404),
        ("//etc/passwd", {}, True, True, 404),
        ("/view.js/../../../etc/passwd", {}, True, True, 404),
        ("/rec.raw", {}, True, True, 404),
        ("/CMakeLists.txt", {}, True, True, 404),
        ("/view.jsx", {}, True, True, 404),
        ("/api/frame/6", {}, True, True, 404),
        ("/api/frame/99999999999999999999999", {}, True, True, 404),
        ("/api/frame/-1", {}, True, True, 404),
        ("/api/frame/1x", {}, True, True, 404),
        ("/api/series?roi=150,100,20,20", {}, True, True, 400),
        ("/api/series?spot=160,0", {}, True, True, 400),
        ("/api/series?line=0,0,5", {}, True, True, 400),
        ("/api/series?ellipse=a,b,c,d", {}, True, True, 400),
        ("/api/series?spot=1,1&from=x", {}, True, True, 400),
        ("/api/series?polygon=1,1,5,1", {}, True, True, 400),  # two corners
        ("/api/series?polygon=1,1,5,1,5,121", {}, True, True, 400),
        ("/api/series?polygon=1,1,1.2,1,1.1,1.2", {}, True, True, 400),  # no pixel centre
        ("/api/series?roi=1,1,5,5:e=0.5", {}, True, True, 400),  # the viewer converts at one emissivity
        ("/api/series?roi=a%3D1,1,5,5&spot=a%3D2,2", {}, True, True, 400),  # one name twice
        ("/api/pixels", {}, True, True, 400),
        ("/api/pixels?spot=1,1&spot=2,2", {}, True, True, 400),
        ("/api/pixels?ellipse=10,10,11,5", {}, True, True, 400),
        ("/api/pixels?spot=1,1", {}, True, True, 200),
        ("/api/wait?after=nine", {}, True, True, 400),
        # Accepted: the names of this server, the token or its cookie.
        ("/api/info", {"Host": f"localhost:{port}"}, True, True, 200),
        ("/api/info", {"Origin": f"http://127.0.0.1:{port}"}, True, True, 200),
        ("/api/info", {"Origin": f"http://localhost:{port}", "Host": f"localhost:{port}"}, True, True, 200),
    ]


def test_refusals(viewer):
    for path, headers, token, host, status in _refusal_cases(viewer.port):
        got, body, _ = viewer.request(path, headers=headers, token=token, host=host)
        assert got == status, (path, headers, token, host, body)
        if status != 200:
            assert b"\x00" not in body and len(body) < 200, (path, body)


def test_only_get(viewer):
    for method in ("POST", "PUT", "DELETE", "PATCH"):
        status, _, _ = viewer.request("/api/info", method=method)
        assert status in (400, 404, 405), method


def test_token_cookie(viewer):
    status, _, r = viewer.get("/")
    cookie = r.getheader("Set-Cookie")
    assert status == 200 and "HttpOnly" in cookie and "SameSite=Strict" in cookie
    pair = cookie.split(";")[0]
    assert viewer.get("/api/info", headers={"Cookie": pair}, token=False)[0] == 200
    assert viewer.get("/api/info", headers={"Cookie": "a=b; " + pair}, token=False)[0] == 200
    # The cookie does not let a foreign page in.
    assert viewer.get("/api/info", headers={"Cookie": pair, "Origin": "http://evil.example"}, token=False)[0] == 403
    # A page load without the token sets no cookie.
    assert viewer.get("/", token=False)[2].getheader("Set-Cookie") is None
    # Every answer forbids framing and sniffing.
    r = viewer.get("/")[2]
    assert r.getheader("X-Frame-Options") == "DENY" and r.getheader("X-Content-Type-Options") == "nosniff"
    assert "default-src 'self'" in r.getheader("Content-Security-Policy")


def test_garbage_on_the_socket(viewer):
    # Not HTTP, an endless header, a half request: the server answers or
    # closes, and goes on serving.
    for payload in [b"\x00\xff" * 100 + b"\r\n\r\n", b"GET / HTTP/1.1\r\nX: " + b"a" * 100000 + b"\r\n\r\n",
                    b"GET /api/info HTTP/1.1\r\n"]:
        with socket.create_connection(("127.0.0.1", viewer.port), timeout=10) as s:
            try:
                s.sendall(payload)
                s.shutdown(socket.SHUT_WR)
                s.recv(1000)
            except (ConnectionResetError, BrokenPipeError, socket.timeout):
                pass
    # A download dropped after its first bytes.
    with socket.create_connection(("127.0.0.1", viewer.port), timeout=10) as s:
        s.sendall(f"GET /api/recording?token={viewer.token} HTTP/1.1\r\nHost: 127.0.0.1:{viewer.port}\r\n\r\n"
                  .encode())
        assert s.recv(100).startswith(b"HTTP/1.1 200")
    assert viewer.get("/api/info")[0] == 200


def test_empty_stream(work):
    v = Viewer(["-", "--size", f"{W}x{H}", "--caltype", str(CALTYPE)], stdin=subprocess.PIPE)
    try:
        info = v.stream_all(b"")
        assert (info["frames"], info["complete"]) == (0, True)
        assert v.get("/api/frame/0")[0] == 404
        assert v.get("/api/series?spot=1,1")[0] == 200
        status, body, _ = v.get("/api/recording")
        assert (status, body) == (200, b"")
    finally:
        code, err = v.stop()
    assert code == 0 and "0 whole frame(s)" in err, err


def test_listens_on_loopback_only(viewer):
    addresses = set()
    for line in open("/proc/net/tcp").read().splitlines()[1:]:
        local, state = line.split()[1], line.split()[3]
        if state == "0A" and int(local.split(":")[1], 16) == viewer.port:
            addresses.add(local.split(":")[0])
    assert addresses == {"0100007F"}  # 127.0.0.1, nothing else
    ip6 = open("/proc/net/tcp6").read() if os.path.exists("/proc/net/tcp6") else ""
    assert (":%04X " % viewer.port) not in ip6


def test_writes_nothing_and_stops_on_ctrl_c(work, tmp_path):
    v = Viewer([str(work / "rec.raw"), "--caltype", str(CALTYPE)], cwd=tmp_path)
    for path in ("/", "/api/frame/3", "/api/series?roi=1,1,5,5", "/api/recording"):
        assert v.get(path)[0] == 200
    code, err = v.stop()
    assert code == 0 and err.strip().endswith("kalviro: viewer stopped"), err
    assert list(tmp_path.iterdir()) == []


def test_ctrl_c_right_after_the_url_stops(work):
    # The signal may come before the server has begun to listen.
    for _ in range(3):
        v = Viewer([str(work / "rec.raw"), "--caltype", str(CALTYPE)])
        code, err = v.stop()
        assert code == 0 and err.strip().endswith("kalviro: viewer stopped"), err


def test_opens_the_browser_only_with_a_display(work, tmp_path):
    # A stand-in for xdg-open says what it was asked to open.
    opener = tmp_path / "bin" / "xdg-open"
    opener.parent.mkdir()
    opener.write_text('#!/bin/sh\necho "$1" > "$OPENED"\n')
    opener.chmod(0o755)
    opened = tmp_path / "opened.txt"
    env = dict(os.environ, PATH=f"{opener.parent}:{os.environ['PATH']}", OPENED=str(opened))
    env.pop("WAYLAND_DISPLAY", None)
    for display, flag_browser in [(":99", True), (":99", False), (None, True)]:
        e = dict(env, DISPLAY=display) if display else {k: v for k, v in env.items() if k != "DISPLAY"}
        v = Viewer([str(work / "rec.raw"), "--caltype", str(CALTYPE)], env=e, open_browser=flag_browser)
        try:
            if display and flag_browser:
                for _ in range(200):
                    if opened.exists() and opened.read_text():
                        break
                    time.sleep(0.05)
                assert opened.read_text().strip() == v.url
                opened.unlink()
            else:
                time.sleep(0.3)
                assert not opened.exists(), (display, flag_browser)
        finally:
            assert v.stop()[0] == 0


def test_live_stream_keeps_whole_frames(work):
    data = (work / "rec.raw").read_bytes()
    v = Viewer(["-", "--size", f"{W}x{H}", "--caltype", str(CALTYPE)], stdin=subprocess.PIPE)
    try:
        info = v.stream_all(data[:3 * FRAME_BYTES + 100])
        assert (info["frames"], info["complete"], info["live"]) == (3, True, True)
        assert v.get("/api/recording")[1] == data[:3 * FRAME_BYTES]
        assert v.get("/api/frame/2")[0] == 200 and v.get("/api/frame/3")[0] == 404
    finally:
        code, err = v.stop()
    assert code == 0, err
    assert "is truncated: frame 3 stops after 100" in err and "3 whole frame(s)" in err


def test_live_stream_past_the_memory_bound_keeps_the_newest(work):
    data = (work / "rec.raw").read_bytes() * 8  # 48 frames, 1.8 MiB
    (work / "long.raw").write_bytes(data)
    truth = per_pixel_temps(str(work / "long.raw"), 48, W, H)
    v = Viewer(["-", "--size", f"{W}x{H}", "--caltype", str(CALTYPE), "--memory", "1"], stdin=subprocess.PIPE)
    try:
        info = v.stream_all(data)
        assert info["frames"] == 48 and 0 < info["first"] < 47 and info["dropped"] == info["first"]
        status, body, _ = v.get("/api/frame/0")
        assert status == 404 and f"frames {info['first']} to 47 are held" in body.decode()
        # Those held still convert as a run from the first frame does.
        for n in (info["first"], 47):
            assert v.get(f"/api/frame/{n}")[1] == truth[n], n
        assert len(v.get("/api/recording")[1]) == (48 - info["first"]) * FRAME_BYTES
    finally:
        code, err = v.stop()
    assert code == 0, err


def test_live_stream_read_while_it_arrives(work, truth):
    # Requests on several connections at once while the reader stores new
    # frames: every answer whole, every frame the per-pixel bits.
    import threading
    data = (work / "rec.raw").read_bytes()
    v = Viewer(["-", "--size", f"{W}x{H}", "--caltype", str(CALTYPE)], stdin=subprocess.PIPE)
    failures = []
    writing = threading.Event()
    writing.set()

    def read(paths):
        while writing.is_set():
            frames = json.loads(v.get("/api/wait?after=0")[1])["frames"]
            for path in paths:
                status, body, _ = v.get(path.format(last=max(frames - 1, 0)))
                if status not in (200, 404):
                    failures.append((path, status, body[:100]))
                elif path == "/api/frame/{last}" and status == 200 and body != truth[max(frames - 1, 0)]:
                    failures.append((path, "bits"))

    readers = [threading.Thread(target=read, args=(p,)) for p in (
        ["/api/frame/{last}", "/api/frame/{last}/block", "/api/info"],
        ["/api/series?spot=80,60&roi=10,10,20,20", "/api/recording", "/api/pixels?line=0,0,100,50"])]
    try:
        for r in readers:
            r.start()
        for n in range(FRAMES):
            v.proc.stdin.write(data[n * FRAME_BYTES:(n + 1) * FRAME_BYTES])
            v.proc.stdin.flush()
            # Each frame held before the next: the readers see it grow.
            while json.loads(v.get(f"/api/wait?after={n}")[1])["frames"] <= n:
                pass
        info = v.stream_all(b"")
        assert info["frames"] == FRAMES
    finally:
        writing.clear()
        for r in readers:
            r.join(60)
        code, err = v.stop()
    assert not failures, failures[:3]
    assert code == 0, err


@pytest.mark.parametrize("args, message", [
    (["missing.raw", "--caltype", "21"], "cannot open missing.raw"),
    (["-", "--caltype", "21"], "give its --size"),
    (["rec.raw", "--caltype", "21", "-e", "95"], "bad emissivity"),
    (["rec.raw", "--caltype", "21", "-e", "nan"], "emissivity"),
    (["rec.raw", "--caltype", "7"], "CalType"),
    (["rec.raw", "--caltype", "21", "--port", "0"], "port"),
    (["rec.raw", "--caltype", "21", "--port", "70000"], "port"),
    (["rec.raw", "--caltype", "21", "--size", "100x100"], "100x100"),
    (["big.raw", "--caltype", "21", "--size", f"{W}x{H}", "--memory", "1"], "more than the 1 MiB"),
    (["short.raw", "--caltype", "21", "--size", f"{W}x{H}"], "short.raw"),
    (["empty.raw", "--caltype", "21", "--size", f"{W}x{H}"], "empty.raw"),
    ([".", "--caltype", "21"], "."),
])
def test_bad_starts_say_one_line(work, args, message):
    (work / "short.raw").write_bytes((work / "rec.raw").read_bytes()[:FRAME_BYTES + 10])
    (work / "empty.raw").write_bytes(b"")
    (work / "big.raw").write_bytes((work / "rec.raw").read_bytes() * 5)
    r = subprocess.run([KALVIRO, "view", *args, "--no-browser"], cwd=work, capture_output=True, text=True,
                       timeout=60, stdin=subprocess.DEVNULL)
    assert r.returncode != 0 and r.stdout == "", r
    assert len(r.stderr.strip().splitlines()) == 1 and message in r.stderr, r.stderr


def test_port_in_use(viewer, work):
    r = subprocess.run([KALVIRO, "view", "rec.raw", "--caltype", "21", "--no-browser", "--port",
                        str(viewer.port)], cwd=work, capture_output=True, text=True, timeout=60)
    assert r.returncode == 1 and r.stdout == ""
    assert "cannot listen on 127.0.0.1:%d" % viewer.port in r.stderr
