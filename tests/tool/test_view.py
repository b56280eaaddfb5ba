"""view: who is let in, what the page is told, and what it may do."""
import os
import socket
import time

import pictures
from harness import DONE, FAILED, NOTHING_FOUND, WRONG_USAGE, Setting
from viewing import ViewTest

RUNS_BESIDE_OTHERS = True

CAM = "0:Cam"
WIDTH, HEIGHT = 48, 20


def world(**camera):
    return {"interfaces": [{"cameras": [{"name": "Cam", "width": WIDTH, "height": HEIGHT, "frameRate": 100,
                                         "testPattern": "GreyDiagonalRampMoving", **camera}]}]}


class Door(ViewTest):
    def test_the_address_lets_in(self):
        server = self.serve(world=world())
        status, headers, _ = server.send("GET", f"/?token={server.token}", Cookie=None)
        self.assertEqual((status, headers["Location"]), (303, "/"))
        self.assertEqual(headers["Set-Cookie"], f"{server.cookie}; Path=/; HttpOnly; SameSite=Lax")
        status, headers, page = server.send("GET", "/")
        self.assertEqual((status, headers["Content-Type"]), (200, "text/html; charset=utf-8"))
        self.assertIn(b"<title>norveltl view</title>", page)

    def test_nobody_else_gets_in(self):
        server = self.serve("Cam", world=world())
        other = "0" * 32
        closed = (403, b"Open the address that norveltl view has printed.\n")
        foreign = (403, b"This server answers its own page only.\n")
        for path, headers, expected in (
                ("/", {"Cookie": None}, closed),
                ("/?token=", {"Cookie": None}, closed),
                (f"/?token={other}", {"Cookie": None}, closed),
                (f"/?token={server.token[:-1]}", {"Cookie": None}, closed),
                (f"/main.js?token={server.token}", {"Cookie": None}, closed),
                ("/api/cameras", {"Cookie": None}, closed),
                ("/api/cameras", {"Cookie": f"norveltl-{server.port}={other}"}, closed),
                ("/api/cameras", {"Cookie": f"norveltl-{server.port + 1}={server.token}"}, closed),
                ("/api/cameras", {"Cookie": f"x{server.cookie}"}, closed),
                ("/api/cameras", {"Host": None}, foreign),
                ("/api/cameras", {"Host": f"evil.example:{server.port}"}, foreign),
                ("/api/cameras", {"Host": "127.0.0.1"}, foreign),
                ("/api/cameras", {"Host": f"127.0.0.1:{server.port}.evil.example"}, foreign),
                ("/api/cameras", {"Origin": "http://evil.example"}, foreign),
                ("/api/cameras", {"Origin": f"https://127.0.0.1:{server.port}"}, foreign),
                ("/api/cameras", {"Origin": f"http://127.0.0.1:{server.port + 1}"}, foreign),
                ("/api/cameras", {"Origin": f"http://localhost:{server.port}"}, foreign),
                ("/api/cameras", {"Origin": "null"}, foreign),
                ("/api/cameras", {"Host": f"192.0.2.1:{server.port}"}, foreign),
                ("/login", {"Cookie": None}, closed),
                ("/style.css", {"Cookie": None}, closed),
                (f"/?token={server.token}", {"Cookie": None, "Host": "evil.example"}, foreign)):
            with self.subTest(path=path, headers=headers):
                status, answered, body = server.send("GET", path, **headers)
                self.assertEqual((status, body), expected)
                self.assertNotIn("Set-Cookie", answered)
        for headers in ({}, {"Host": f"localhost:{server.port}"}, {"Host": f"[::1]:{server.port}"},
                        {"Host": f"localhost:{server.port}", "Origin": f"http://localhost:{server.port}"}, {"Cookie": f"a=b; {server.cookie}; c=d"}):
            with self.subTest(headers=headers):
                self.assertEqual(server.send("GET", "/api/cameras", **headers)[0], 200)

    def test_orders_of_others_are_refused_too(self):
        server = self.serve(world=world())
        typed = {"Content_Type": "application/json"}
        order = b'{"camera": "0:Cam"}'
        self.assertEqual(server.send("POST", "/api/open", order, Cookie=None, **typed)[::2],
                         (403, b"Open the address that norveltl view has printed.\n"))
        self.assertEqual(server.send("POST", "/api/open", order, Origin="http://evil.example", **typed)[::2],
                         (403, b"This server answers its own page only.\n"))
        self.assertEqual(server.ask("quality", camera=CAM), (410, "the camera is not open"))
        self.assertEqual(server.send("POST", "/login", b"password=password", Cookie=None)[0], 403)

    def test_what_is_refused_does_not_become_another_request(self):
        server = self.serve(world=world())
        inner = f"POST /api/open HTTP/1.1\r\nHost: {server.host}\r\nCookie: {server.cookie}\r\n" \
                "Content-Type: application/json\r\nContent-Length: 19\r\n\r\n" '{"camera": "0:Cam"}'
        with socket.create_connection(("127.0.0.1", server.port), timeout=20) as connection:
            connection.sendall(f"POST /api/stop HTTP/1.1\r\nHost: evil.example\r\nContent-Length: {len(inner)}\r\n\r\n".encode())
            # What comes at once could go with what is refused.
            time.sleep(0.5)
            connection.sendall(inner.encode())
            time.sleep(0.5)
            connection.sendall(f"GET /icon.svg HTTP/1.1\r\nHost: {server.host}\r\nConnection: close\r\n\r\n".encode())
            answers = b""
            while part := connection.recv(65536):
                answers += part
        self.assertIn(b"HTTP/1.1 403", answers)
        self.assertEqual(server.ask("quality", camera=CAM), (410, "the camera is not open"))

    def test_the_other_loopback_address(self):
        server = self.serve("Cam", world=world())
        try:
            socket.create_connection(("::1", server.port)).close()
        except OSError:
            # Only a machine without it may go without.
            with self.assertRaises(OSError), socket.socket(socket.AF_INET6) as other:
                other.bind(("::1", 0))
            return
        status, headers, _ = server.send("GET", f"/?token={server.token}", to="::1", Host=f"[::1]:{server.port}", Cookie=None)
        self.assertEqual((status, headers["Set-Cookie"].split(";")[0]), (303, server.cookie))
        self.assertEqual(server.send("GET", "/api/cameras", to="::1", Host=f"[::1]:{server.port}", Cookie=None)[0], 403)
        self.assertEqual(server.send("GET", "/api/cameras", to="::1", Host=f"[::1]:{server.port}")[0], 200)
        self.assertEqual(server.send("POST", "/api/stop", b'{"camera": "0:Cam"}', to="::1", Content_Type="application/json")[0], 200)

    def test_a_page_runs_nothing_foreign(self):
        server = self.serve(world=world())
        for path in ("/", "/main.js", "/style.css", "/api/cameras", "/nothing"):
            with self.subTest(path=path):
                headers = server.send("GET", path)[1]
                policy = dict(rule.split(" ", 1) for rule in headers["Content-Security-Policy"].split("; "))
                self.assertEqual(policy.pop("default-src"), "'none'")
                self.assertEqual(set(policy.values()), {"'self'", "'none'"})
                self.assertEqual(headers["X-Content-Type-Options"], "nosniff")
                self.assertEqual(headers["Cache-Control"], "no-store")

    def test_what_is_no_request(self):
        server = self.serve("Cam", world=world())
        typed = {"Content_Type": "application/json"}
        for path, body, headers, expected in (
                ("/api/open", b"{", typed, (400, b"the request is no JSON object\n")),
                ("/api/open", b"[]", typed, (400, b"the request is no JSON object\n")),
                ("/api/open", b'{"camera": "0:Cam"}', {}, (400, b"the request is no JSON object\n")),
                ("/api/open", b"{}", typed, (400, b'the request has no text "camera"\n')),
                ("/api/open", b'{"camera": 1}', typed, (400, b'the request has no text "camera"\n')),
                ("/api/open", b'{"camera": "0:Nobody"}', typed, (409, b"the camera is not there\n")),
                ("/api/start", b'{"camera": "1:Cam"}', typed, (410, b"the camera is not open\n"))):
            with self.subTest(path=path, body=body):
                status, _, answer = server.send("POST", path, body, **headers)
                self.assertEqual((status, answer), expected)
        self.assertEqual(server.send("POST", "/api/open", b" " * 70000, **typed)[0], 413)
        self.assertEqual(server.send("GET", "/../norveltl")[0], 404)
        self.assertEqual(server.send("GET", "/api/open")[0], 404)
        self.assertEqual(server.ask("quality", camera="0:Other"), (410, "the camera is not open"))
        for number in ("x", "-1", "1.5", "99999999999999999999999"):
            self.assertEqual(server.picture(CAM, width=number), (400, "width is no whole number"))


class Passwords(ViewTest):
    PASSWORD = "cörrect horse"

    def setUp(self):
        super().setUp()
        (self.folder / "secret").write_text(self.PASSWORD + "\nwhatever\n", encoding="utf-8")

    def test_it_lets_in(self):
        server = self.serve("--password", "secret", world=world())
        self.assertIsNone(server.token)
        status, headers, _ = server.send("GET", "/", Cookie=None)
        self.assertEqual((status, headers["Location"]), (303, "/login"))
        status, headers, page = server.send("GET", "/login", Cookie=None)
        self.assertEqual((status, headers["Content-Type"]), (200, "text/html; charset=utf-8"))
        self.assertIn(b'type="password"', page)
        self.assertIn(b'<p class="error" role="alert"></p>', page)
        for path in ("/style.css", "/icon.svg"):
            self.assertEqual(server.send("GET", path, Cookie=None)[0], 200)
        for path in ("/main.js", "/api/cameras", "/login.html"):
            self.assertEqual(server.send("GET", path, Cookie=None)[::2], (403, b"Log in first: load the page anew.\n"))
        status, headers, _ = server.log_in(self.PASSWORD)
        self.assertEqual((status, headers["Location"]), (303, "/"))
        cookie, *rules = headers["Set-Cookie"].split("; ")
        self.assertRegex(cookie, f"^norveltl-{server.port}=[0-9a-f]{{32}}$")
        self.assertEqual(rules, ["Path=/", "HttpOnly", "SameSite=Lax"])
        self.assertEqual(server.send("GET", "/api/cameras", Cookie=cookie)[0], 200)
        self.assertEqual(server.send("GET", "/", Cookie=cookie)[0], 200)

    def test_wrong_ones(self):
        server = self.serve("--password", "secret", world=world())
        wrong = ["", "x" * 1000, self.PASSWORD[:-1], self.PASSWORD + "x", self.PASSWORD * 2]
        for password in wrong:
            status, headers, page = server.log_in(password)
            self.assertEqual((status, headers["Set-Cookie"]), (403, None))
            self.assertIn(b"That is not the password.", page)
        # Nobody tries on, be it with the right one.
        status, headers, page = server.log_in(self.PASSWORD)
        self.assertEqual((status, headers["Set-Cookie"]), (429, None))
        self.assertIn(int(headers["Retry-After"]), range(1, 11))
        self.assertIn(b"Too many passwords were tried.", page)
        self.assertEqual(server.log_in(self.PASSWORD, Origin="http://evil.example")[0], 403)

        def log_in():
            status, headers, _ = server.log_in(self.PASSWORD)
            return status == 303 and headers["Set-Cookie"].split(";")[0]
        cookie = self.wait_for(log_in)
        self.assertEqual(server.send("GET", "/api/cameras", Cookie=cookie)[0], 200)

    def test_it_comes_from_the_standard_input_too(self):
        read, write = os.pipe()
        os.write(write, b"from a pipe\r\n")
        os.close(write)
        with open(read, "rb") as pipe:
            server = self.serve("--password", "-", world=world(), stdin=pipe)
        self.assertEqual(server.log_in("from a pipe")[0], 303)

    def test_for_other_machines(self):
        server = self.serve("Cam", "--listen", "0.0.0.0", "--password", "secret", world=world())
        host = server.host
        server.host = f"127.0.0.1:{server.port}"
        cookie = server.log_in(self.PASSWORD)[1]["Set-Cookie"].split(";")[0]
        for own in (host, server.host, f"192.0.2.77:{server.port}", f"[2001:db8::1]:{server.port}", f"localhost:{server.port}"):
            with self.subTest(host=own):
                self.assertEqual(server.send("GET", "/api/cameras", Cookie=cookie, Host=own)[0], 200)
                self.assertEqual(server.send("GET", "/api/cameras", Cookie=cookie, Host=own, Origin=f"http://{own}")[0], 200)
                self.assertEqual(server.send("GET", "/api/cameras", Cookie=cookie, Host=own, Origin="http://192.0.2.78")[0], 403)
        for foreign in (f"evil.example:{server.port}", f"192.0.2.77.evil.example:{server.port}", "127.0.0.1", ""):
            with self.subTest(host=foreign):
                self.assertEqual(server.send("GET", "/api/cameras", Cookie=cookie, Host=foreign)[0], 403)

    def test_listening_to_one_address(self):
        server = self.serve("--listen", "127.0.0.1", "--password", "secret", world=world())
        self.assertEqual(server.name, "127.0.0.1")
        with self.assertRaises(OSError):
            socket.create_connection(("::1", server.port)).close()

    def test_what_is_no_password(self):
        (self.folder / "short").write_text("seven77\nand more\n")
        self.refused(WRONG_USAGE, "norveltl: the password has fewer than 8 characters\n", "view", "--password", "short")
        answer = self.run_tool("view", "--password", "missing")
        self.assertEqual((answer.code, answer.err.split(":")[1]), (FAILED, " cannot read missing"))
        answer = self.run_tool("view", "--listen", "0.0.0.0")
        self.assertEqual((answer.code, "--listen requires --password" in answer.err), (WRONG_USAGE, True))
        self.refused(FAILED, "norveltl: no port of 192.0.2.1 can be used: is it an address of this machine?\n",
                     "view", "--listen", "192.0.2.1", "--password", "secret", world=world())


class Pictures(ViewTest):
    def painted(self, number, pattern="GreyDiagonalRampMoving", pixel_format="Mono8"):
        return pictures.paint(pixel_format, pattern, WIDTH, HEIGHT, number)

    def test_each_pixel(self):
        server = self.serve("Cam", world=world())
        number = 0
        for _ in range(5):
            facts, samples = server.picture(CAM, after=number)
            self.assertGreater(facts["number"], number)
            number = facts["number"]
            # Both look at one clock.
            self.assertLess(abs(time.time() - facts.pop("arrived") / 1000), 5)
            self.assertEqual(facts, {"number": number, "pictureWidth": WIDTH, "pictureHeight": HEIGHT, "format": "Mono8",
                                     "channels": 1, "bytes": 1, "bits": 8, "x": 0, "y": 0, "scale": 1, "width": WIDTH,
                                     "height": HEIGHT})
            painted = self.painted(pictures.stamp_number(samples))
            self.assertEqual(samples[pictures.STAMP:], painted[pictures.STAMP:])

    def test_a_region(self):
        server = self.serve("Cam", world=world(testPattern="GreyHorizontalRamp"))
        painted = self.painted(0, "GreyHorizontalRamp")
        for wanted, (x, y, width, height) in (
                ({"x": 5, "y": 3, "width": 7, "height": 4}, (5, 3, 7, 4)),
                ({"x": 40, "y": 19, "width": 700, "height": 900}, (40, 19, 8, 1)),
                ({"x": WIDTH, "y": 1, "width": 1, "height": 1}, (0, 0, WIDTH, HEIGHT)),
                ({"x": 4, "y": 1, "width": 0, "height": 4}, (0, 0, WIDTH, HEIGHT))):
            with self.subTest(wanted=wanted):
                facts, samples = server.picture(CAM, **wanted)
                self.assertEqual([facts[key] for key in ("x", "y", "width", "height", "scale")], [x, y, width, height, 1])
                expected = b"".join(painted[line * WIDTH + x:line * WIDTH + x + width] for line in range(y, y + height))
                skipped = pictures.STAMP if y == 0 else 0
                self.assertEqual(samples[skipped:], expected[skipped:])

    def test_what_is_scaled_down_is_the_mean(self):
        server = self.serve("Cam", world=world(testPattern="GreyDiagonalRampMoving"))
        facts, samples = server.picture(CAM, y=2, x=1, width=46, height=18, maxWidth=16, maxHeight=16)
        self.assertEqual([facts[key] for key in ("x", "y", "width", "height", "scale")], [1, 2, 15, 6, 3])
        means = set()
        for number in range(pictures.PERIOD):
            painted = self.painted(number)
            means.add(bytes(
                (sum(painted[(2 + 3 * y + j) * WIDTH + 1 + 3 * x + i] for j in range(3) for i in range(3)) + 4) // 9
                for y in range(6) for x in range(15)))
        self.assertIn(samples, means)

    def test_more_than_eight_bits(self):
        server = self.serve("Cam", world=world(pixelFormat="Mono16", testPattern="GreyHorizontalRamp"))
        facts, samples = server.picture(CAM, y=4, x=0, width=WIDTH, height=1)
        self.assertEqual((facts["bytes"], facts["bits"], facts["channels"]), (2, 16, 1))
        raw = pictures.paint("Mono16", "GreyHorizontalRamp", WIDTH, HEIGHT, 0)[4 * WIDTH * 2:5 * WIDTH * 2]
        values = [int.from_bytes(raw[i:i + 2], "little") for i in range(0, len(raw), 2)]
        self.assertEqual([int.from_bytes(samples[i:i + 2], "big") for i in range(0, len(samples), 2)],
                         values)

    def test_colour(self):
        server = self.serve("Cam", world=world(pixelFormat="RGB8", testPattern="ColorBar"))
        facts, samples = server.picture(CAM, y=4, x=8, width=16, height=2)
        self.assertEqual((facts["channels"], facts["width"], facts["height"]), (3, 16, 2))
        parts = set()
        for number in range(pictures.PERIOD):
            painted = self.painted(number, "ColorBar", "RGB8")
            parts.add(b"".join(painted[(line * WIDTH + 8) * 3:(line * WIDTH + 24) * 3] for line in (4, 5)))
        self.assertIn(samples, parts)

    def test_no_new_picture(self):
        server = self.serve("Cam", world=world())
        self.assertEqual(server.order("stop", camera=CAM), {})
        newest = server.picture(CAM)
        number = newest[0]["number"] if isinstance(newest[0], dict) else 0
        self.assertEqual(server.picture(CAM, after=number), (204, ""))
        self.assertFalse(server.ask("quality", camera=CAM)["acquires"])
        self.assertEqual(server.order("start", camera=CAM), {})
        facts, _ = server.picture(CAM, after=number)
        self.assertGreater(facts["number"], number)


class Cameras(ViewTest):
    def cameras(self, server):
        return {camera["id"]: camera for producer in server.ask("cameras")["producers"]
                for interface in producer["interfaces"]
                for camera in interface["cameras"]}

    def test_open_and_close(self):
        server = self.serve()
        cameras = self.cameras(server)
        self.assertEqual(len(cameras), 3)
        self.assertFalse(any(camera["isOpen"] for camera in cameras.values()))
        keys = [camera["key"] for camera in cameras.values()]
        for key in keys:
            self.assertEqual(server.order("open", camera=key), {})
        for key in keys:
            self.assertEqual(server.picture(key)[0]["number"] > 0, True)
        self.assertEqual({camera["access"] for camera in self.cameras(server).values()}, {"open here"})
        self.assertEqual(server.order("close", camera=keys[0]), {})
        self.assertEqual(server.picture(keys[0]), (410, "the camera is not open"))
        self.assertEqual(sum(camera["isOpen"] for camera in self.cameras(server).values()), 2)
        # Opening anew what is open is as good as opening it.
        self.assertEqual(server.order("open", camera=keys[1]), {})
        self.assertEqual(server.picture(keys[1])[0]["number"] > 0, True)

    def test_quality(self):
        server = self.serve("Cam", world=world())
        quality = self.wait_for(lambda: (its := server.ask("quality", camera=CAM))["delivered"] > 150 and its)
        self.assertEqual((quality["acquires"], quality["trouble"], quality["lost"], quality["incomplete"]),
                         (True, "", 0, 0))
        self.assertEqual(quality["bytes"], quality["delivered"] * WIDTH * HEIGHT)
        self.assertAlmostEqual(quality["framesPerSecond"], 100, delta=25)
        self.assertAlmostEqual(quality["bytesPerSecond"] / quality["framesPerSecond"], WIDTH * HEIGHT, delta=1)
        self.assertLessEqual(len(quality["intervals"]), 300)
        # A busy machine delivers several at once, and then none for a while.
        self.assertAlmostEqual(sum(quality["intervals"]) / len(quality["intervals"]), 10, delta=4)

    def test_a_camera_that_comes_later(self):
        server = self.serve(world={"interfaces": [{"cameras": [{"name": "Late", "discovery": [False, True]}]}]})
        self.assertEqual(self.cameras(server), {})
        server.order("search")
        self.assertEqual(list(self.cameras(server)), ["Late"])

    def test_the_plug_is_pulled(self):
        server = self.serve("Cam", world=world(unplugAfterImages=20))
        quality = self.wait_for(lambda: (its := server.ask("quality", camera=CAM))["trouble"] and its)
        self.assertFalse(quality["acquires"])
        self.assertIn('"Port is not available"', quality["trouble"])
        # It goes while images come, wherever they are on their way.
        self.assertGreater(quality["delivered"], 0)
        # Its own stop cannot be told to a camera that is gone.
        self.assertEqual(server.order("close", camera=CAM), {})
        self.assertEqual(self.interrupt(server.process).code, FAILED)


    def test_the_plug_is_put_back(self):
        server = self.serve("Cam", world=world(unplugAfterImages=200, plugAfterUpdates=2))
        self.wait_for(lambda: server.ask("quality", camera=CAM)["trouble"])
        for _ in range(2):
            server.order("search")
            self.assertEqual(self.cameras(server), {})
            self.assertEqual([gone["key"] for gone in server.ask("cameras")["gone"]], [CAM])
        self.wait_for(lambda: server.order("search") and self.cameras(server))
        self.assertEqual(server.order("open", camera=CAM), {})
        self.assertEqual(server.picture(CAM)[0]["number"] > 0, True)
        self.assertEqual((server.ask("quality", camera=CAM)["trouble"], server.ask("cameras")["gone"]), ("", []))


class Features(ViewTest):
    def feature(self, server, name):
        return next(feature for feature in server.ask("features", camera=CAM) if feature["name"] == name)

    def test_set_and_refuse(self):
        server = self.serve("Cam", world=world())
        exposure = self.feature(server, "ExposureTime")
        self.assertEqual((exposure["kind"], exposure["access"]), ("Float", "RW"))
        changed = server.order("set", camera=CAM, name="ExposureTime", value="1234")
        self.assertEqual(changed["value"], 1234)
        self.assertEqual(self.feature(server, "ExposureTime")["value"], 1234)
        status, text = server.order("set", camera=CAM, name="ExposureTime", value="-7")
        self.assertEqual(status, 409)
        self.assertIn("ExposureTime", text)
        self.assertEqual(self.feature(server, "ExposureTime")["value"], 1234)
        status, text = server.order("set", camera=CAM, name="Widht", value="1")
        self.assertEqual(status, 409)
        self.assertIn("Widht", text)
        server.order("stop", camera=CAM)
        self.assertEqual(server.order("set", camera=CAM, name="Width", value="32")["value"], 32)
        server.order("start", camera=CAM)
        newer = self.wait_for(lambda: (its := server.picture(CAM, after=server.ask("quality", camera=CAM)["delivered"]))[0]
                              != 204 and its)
        self.assertEqual(newer[0]["pictureWidth"], 32)

    def named(self, server, *names):
        return server.ask("features", camera=CAM, name=names)

    def test_some_features_and_who_looks_for_them(self):
        server = self.serve("Cam", world=world())
        width, memory, model = self.named(server, "Width", "UserMemory", "DeviceModelName")
        self.assertEqual((width["name"], width["access"], width["locked"], width["visibility"]),
                         ("Width", "RO", True, "Beginner"))
        self.assertEqual((memory["access"], "locked" in memory, memory["visibility"]), ("RW", False, "Guru"))
        self.assertEqual((model["access"], "locked" in model), ("RO", False))
        for order, state in (("stop", ("RW", False)), ("start", ("RO", True))):
            server.order(order, camera=CAM)
            [width] = self.named(server, "Width")
            self.assertEqual((width["access"], "locked" in width), state)
        self.assertEqual(self.named(server, "Nope")[0], 409)

    def test_execute(self):
        server = self.serve("Cam", world=world())
        self.assertEqual(server.order("execute", camera=CAM, name="TriggerSoftware"), {})
        status, text = server.order("execute", camera=CAM, name="Width")
        self.assertEqual(status, 409)
        self.assertIn("Width", text)

    def test_texts_stay_texts(self):
        server = self.serve("Cam", world=world())
        text = "<img src=x>&\"'"
        self.assertEqual(server.order("set", camera=CAM, name="DeviceUserID", value=text)["value"], text)


class Events(ViewTest):
    def test_names_times_and_data(self):
        begin = time.time()
        server = self.serve("Cam", world=world(frameRate=20))
        log = server.ask("events", camera=CAM)
        self.assertEqual(log, {"newest": 0, "events": [], "lacking": []})
        server.order("set", camera=CAM, name="EventNotification", value="On")
        events = self.wait_for(lambda: (its := server.ask("events", camera=CAM)["events"])[9:] and its)
        self.assertEqual([event["number"] for event in events], list(range(1, len(events) + 1)))
        self.assertEqual({(event["source"], event["name"], event["id"]) for event in events}, {("camera", "FrameStart", 0x9001)})
        times = [event["time"] / 1000 for event in events]
        self.assertEqual(times, sorted(times))
        self.assertTrue(begin - 5 < times[0] and times[-1] < time.time() + 5, times)
        self.assertEqual(set(events[0]["data"]), {"FrameID", "Timestamp"})
        some = server.ask("events", camera=CAM, after=5, most=3)
        self.assertEqual([event["number"] for event in some["events"]], [some["newest"] - 2, some["newest"] - 1, some["newest"]])
        self.assertEqual(server.ask("events", camera=CAM, after=10 ** 9)["events"], [])

    def test_no_more_than_a_thousand_are_kept(self):
        burst = {"eventId": 77, "value": 258, "count": 3000, "afterImages": 3}
        server = self.serve("Cam", world=world(eventBursts=[burst]))
        self.wait_for(lambda: server.ask("events", camera=CAM)["newest"] == 3000)
        events = server.ask("events", camera=CAM, most=5000)["events"]
        self.assertEqual([event["number"] for event in events], list(range(2001, 3001)))
        self.assertEqual({(event["name"], event["id"], event["value"]) for event in events}, {(None, 77, 258)})
        self.assertEqual(len(server.ask("events", camera=CAM)["events"]), 100)


class Starting(ViewTest):
    def test_ends_by_an_interruption(self):
        server = self.serve("Cam", world=world())
        answer = self.interrupt(server.process)
        self.assertEqual((answer.code, answer.out, answer.err), (DONE, "", ""))

    def test_a_port(self):
        first = self.serve(world=world())
        self.refused(FAILED, f"norveltl: port {first.port} of 127.0.0.1 cannot be used: is it taken?\n",
                     "view", "--no-browser", "--port", str(first.port), world=world())
        self.interrupt(first.process)
        again = self.serve("--port", str(first.port), world=world())
        self.assertEqual(again.port, first.port)
        self.assertNotEqual(again.token, first.token)

    def test_a_port_that_is_taken_on_the_other_loopback_address(self):
        with socket.socket(socket.AF_INET6) as other:
            try:
                other.bind(("::1", 0))
            except OSError:
                return
            other.listen()
            port = other.getsockname()[1]
            self.refused(FAILED, f"norveltl: port {port} of ::1 cannot be used: is it taken?\n",
                         "view", "--no-browser", "--port", str(port), world=world())

    def test_wrong_usage(self):
        self.assertEqual(self.run_tool("view", "nobody", "--no-browser").code, NOTHING_FOUND)
        for port in ("0", "65536", "x"):
            self.assertEqual(self.run_tool("view", "--port", port).code, WRONG_USAGE)

    def test_a_browser_is_opened_by_a_file_that_others_cannot_read(self):
        if Setting.is_windows:
            return
        browser = self.folder / "bin"
        browser.mkdir()
        script = browser / "xdg-open"
        script.write_text(f'#!/bin/sh\nstat -c "%a" "$(dirname "$1")" >"{self.folder}/mode"\ncp "$1" "{self.folder}/page"\n')
        script.chmod(0o755)
        process = self.start("view", world=world(), variables={"PATH": f"{browser}:{os.environ['PATH']}"})
        url = process.stdout.readline().decode().strip()
        page = self.wait_for(lambda: (self.folder / "page").exists() and (self.folder / "page").read_text())
        self.assertIn(f'content="0; url={url}"', page)
        self.assertEqual((self.folder / "mode").read_text(), "700\n")
        self.assertEqual(self.interrupt(process).code, DONE)
