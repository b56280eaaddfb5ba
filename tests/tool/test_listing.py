"""list, info and xml: what there is, and what it says of itself."""
import re
import time

from harness import (DONE, FAILED, LEFT, MICROSCOPE, NOTHING_FOUND, RIGHT, SOURCES, WORLDS, WRONG_USAGE, ToolTest,
                     native)

CAMERAS = (f"\n  {RIGHT}  G1300C  serial number 10002, read and write"
           f"\n  {LEFT}  G640M  serial number 10001, read and write"
           f"\n  {MICROSCOPE}  U320C  serial number 20001, read and write\n")


class Listing(ToolTest):
    def test_the_cameras_as_a_tree(self):
        self.assert_golden(self.done("list").out, "list.txt")

    def test_the_cameras_as_json(self):
        self.assert_golden(self.done("list", "--json").out, "list.json")

    def test_a_world_from_a_file(self):
        self.assert_golden(self.done("list", world=WORLDS / "small.json").out, "list-small.txt")

    def test_control_characters_do_not_reach_the_terminal(self):
        world = {"interfaces": [{"cameras": [{"name": "A", "userDefinedName": "x\u001b[31my\tz", "version": ""}]}]}
        lines = self.done("list", world=world).out.splitlines()
        self.assertIn("        user name       x?[31my?z", lines)
        self.assertIn("        version         -", lines)
        device = self.done("list", "--json", world=world).json()["producers"][0]["interfaces"][0]["devices"][0]
        self.assertEqual(device["userName"], "x\u001b[31my\tz")

    def test_texts_beyond_ascii(self):
        world = {"interfaces": [{"cameras": [{"name": "A", "userDefinedName": "Träger λ"}]}]}
        self.assertIn("        user name       Träger λ\n", self.done("list", world=world).out)

    def test_five_hundred_cameras(self):
        world = {"interfaces": [{"cameras": [{"count": 500}]}]}
        devices = self.done("list", "--json", world=world).json()["producers"][0]["interfaces"][0]["devices"]
        self.assertEqual(sorted(device["serialNumber"] for device in devices),
                         [str(10001 + i) for i in range(500)])

    def test_the_time_grows_with_the_cameras_and_no_faster(self):
        def seconds(count):
            begin = time.monotonic()
            answer = self.done("list", world={"interfaces": [{"cameras": [{"count": count}]}]})
            self.assertEqual(answer.out.count("serial number"), count)
            return time.monotonic() - begin

        # Whatever else the machine does, one of some goes well.
        few, many = (min(seconds(count) for _ in range(3)) for count in (1000, 10_000))
        self.assertLess(many, 20 * few)

    def test_no_interface(self):
        answer = self.refused(NOTHING_FOUND, "norveltl: found no camera\n", "list", world={})
        self.assertTrue(answer.out.endswith("\nno interface\n"), answer.out)

    def test_an_interface_without_cameras(self):
        world = {"interfaces": [{"name": "eth7"}]}
        answer = self.refused(NOTHING_FOUND, "norveltl: found no camera\n", "list", world=world)
        self.assertIn("\n└─ GEV::eth7  Interface : eth7, TL type GEV\n   no camera\n", answer.out)

    def test_an_interface_that_fails_hides_no_other(self):
        world = {"interfaces": [{"name": "eth0", "cameras": [{}]}, {"name": "eth1", "cameras": [{"name": "B"}]}],
                 "faults": [{"operation": "SystemOpenInterface", "object": "eth0"}]}
        answer = self.refused(FAILED, "norveltl: interface GEV::eth0: TLOpenInterface failed: GC_ERR_ERROR (-1001): "
                              '"Unable to open interface GEV::eth0"\n', "list", world=world)
        self.assertIn("│  could not be searched\n└─ GEV::eth1", answer.out)
        self.assertIn("   └─ B\n", answer.out)
        # The camera that was found can be used all the same.
        self.assertEqual(self.run_tool("get", "Width", world=world).out, "640\n")

    def test_a_world_that_cannot_be_read(self):
        answer = self.run_tool("list", world="{")
        self.assertEqual(answer.code, FAILED)
        self.assertIn("world.json:1:2: syntax error while parsing", answer.err)
        self.assertIn("norveltl: TLOpen failed: GC_ERR_ERROR (-1001)", answer.err)


class Informing(ToolTest):
    def test_every_module(self):
        for target in ("system", "interface:GEV::eth0", "device:10001", "port:10001", "stream:10001"):
            with self.subTest(target=target):
                name = target.split(":")[0]
                self.assert_golden(self.done("info", target).out, f"info-{name}.txt")

    def test_all_modules_down_to_the_stream(self):
        world = {"interfaces": [{"cameras": [{}]}]}
        titles = re.findall(r"^\w.*", self.done("info", world=world).out, re.M)
        self.assertEqual(titles, ["system NorvelTL40.cti", "interface GEV::net0", f"device {LEFT}", f"port {LEFT}",
                                  "stream DS0"])

    def test_json(self):
        self.assert_golden(self.done("info", "system", "--json").out, "info-system.json")
        modules = self.done("info", "--json", world={"interfaces": [{"cameras": [{}]}]}).json()
        self.assertEqual([module["module"] for module in modules],
                         ["system", "interface", "device", "port", "stream"])

    def test_what_cannot_be_meant(self):
        self.refused(WRONG_USAGE, "norveltl: several interfaces can be meant; name one of them:"
                     "\n  interface:GEV::eth0\n  interface:U3V::usb0\n", "info", "interface")
        self.refused(WRONG_USAGE, f"norveltl: several cameras can be meant; name one of them:{CAMERAS}",
                     "info", "stream")
        self.refused(NOTHING_FOUND, 'norveltl: no interface is named "eth9"; there are:'
                     "\n  interface:GEV::eth0\n  interface:U3V::usb0\n", "info", "interface:eth9")
        self.refused(NOTHING_FOUND, f'norveltl: no camera is named "x"; there are:{CAMERAS}', "info", "device:x")
        self.refused(NOTHING_FOUND, f'norveltl: no camera is named "nonsense"; there are:{CAMERAS}', "info", "nonsense")
        for target, meant in (("system:x", ""), ("prot:x", "; did you mean port?")):
            self.refused(WRONG_USAGE, f'norveltl: "{target}" is no module: there are system, interface:ID, '
                         f"device:ID, port:ID and stream:ID{meant}\n", "info", target)

    def test_nothing_there(self):
        self.refused(NOTHING_FOUND, "norveltl: found no interface\n", "info", "interface", world={})
        self.refused(NOTHING_FOUND, "norveltl: found no camera\n", "info", "device", world={})


class Naming(ToolTest):
    """The ways to name a camera."""

    def named(self, name, **options):
        return self.done("info", f"device:{name}", **options).out.splitlines()[0]

    def test_by_id_serial_number_user_name_and_part(self):
        for name in (LEFT, "10001", "SN->10001", "Left", "left", "g640", "G640M", "640m-1"):
            with self.subTest(name=name):
                self.assertEqual(self.named(name), f"device {LEFT}")

    def test_a_part_that_several_have(self):
        both = CAMERAS[:CAMERAS.index(f"\n  {MICROSCOPE}")] + "\n"
        self.refused(WRONG_USAGE, f"norveltl: several cameras can be meant; name one of them:{both}",
                     "info", "device:norvel-g")

    def test_an_exact_name_wins_over_a_part(self):
        world = {"interfaces": [{"cameras": [{"name": "Cam"}, {"name": "Camera"}]}]}
        self.assertEqual(self.named("Cam", world=world), "device Cam")

    def test_the_only_camera_that_can_be_opened(self):
        world = {"interfaces": [{"cameras": [{"name": "Taken", "status": 3}, {"name": "Free"}]}]}
        self.assertEqual(self.named("", world=world), "device Free")
        world = {"interfaces": [{"cameras": [{"name": "Taken", "status": 3}]}]}
        self.refused(FAILED, "norveltl: no camera can be opened now:"
                     "\n  Taken  G640M  serial number 10001, no access\n", "info", "device", world=world)

    def test_the_first(self):
        answer = self.done("grab", "--first", "-n", "1")
        self.assertTrue(answer.out.startswith(f"camera      {RIGHT}, G1300C,"), answer.out)


class Describing(ToolTest):
    def test_the_description_is_what_the_registers_hold(self):
        for target, dump in (("system", "system"), ("port:10001", "port:10001")):
            with self.subTest(target=target):
                url = re.search(r'URL_INFO_URL .*"Local:\w+\.xml;(\w+);(\w+)"', self.done("info", target).out)
                xml = self.done("xml", target).out
                place = f"0x{url[1]}:0x{url[2]}"
                pairs = re.findall(r"^\w+ ((?: [0-9a-f]{2})+)", self.done("read", dump, place).out, re.M)
                held = bytes.fromhex("".join(pairs)).rstrip(b"\0").decode()
                self.assertEqual(xml, held)
                self.assertTrue(xml.startswith("<?xml"), xml[:40])

    def test_the_cameras_description(self):
        text = (SOURCES / "simulator/camera/Camera.xml").read_text()
        self.assertEqual(self.done("xml", "port:20001").out, text)

    def test_into_a_file(self):
        self.assertEqual(self.done("xml", "port:10001", "-o", "Träger.xml").out, "")
        self.assertEqual((self.folder / "Träger.xml").read_bytes(), (SOURCES / "simulator/camera/Camera.xml").read_bytes())

    def test_a_file_that_cannot_be_written(self):
        path = "missing/x.xml"
        self.refused(FAILED, f"norveltl: cannot write {path}: No such file or directory\n", "xml", "port:10001", "-o", path)

    def test_a_module_without_a_description(self):
        answer = self.run_tool("xml", "stream:10001")
        self.assertEqual(answer.code, FAILED)
        self.assertEqual(answer.err, 'norveltl: the XML at "Local:TLDataStreamRegs.xml;200;0" cannot be read: '
                         "a length of 0 bytes is not plausible\n")
