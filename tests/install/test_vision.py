"""What is installed for GigE Vision and USB3 Vision cameras."""
import os
import pathlib
import re
import shutil
import struct
import sys

from commands import CommandTest

RULES = "lib/udev/rules.d/70-norveltl-usb3-vision.rules"
NO_CAMERA = (3, "norveltl: found no camera\n")
# udev knows devices by what the system tells in /sys, writes what it finds to /run and makes links in /dev.
OWN_UDEV = """
mount -t tmpfs none /sys && mount -t tmpfs none /run && mount -t tmpfs none /dev &&
mount --bind "$1" /etc/udev/rules.d && "$2" "$3" device "$4" &&
SYSTEMD_DEVICE_VERIFY_SYSFS=0 SYSTEMD_LOG_LEVEL=debug udevadm test --action=add /sys/devices/usb1/1-1 2>&1
"""


def describe_device(interfaces):
    """Lays out /sys with a USB device that has these interfaces: class, subclass and protocol in hexadecimal."""
    device = pathlib.Path("/sys/devices/usb1/1-1")
    device.mkdir(parents=True)
    (device / "uevent").write_text("MAJOR=189\nMINOR=1\nDEVNAME=bus/usb/001/002\nDEVTYPE=usb_device\n"
                                   "PRODUCT=1234/5678/100\nTYPE=239/2/1\nBUSNUM=001\nDEVNUM=002\n")
    for name, value in (("idVendor", "1234"), ("idProduct", "5678"), ("manufacturer", "Maker"), ("product", "Camera"),
                        ("serial", "S1"), ("bcdDevice", "0100"), ("bDeviceClass", "ef")):
        (device / name).write_text(value + "\n")
    kinds = [bytes.fromhex(kind) for kind in interfaces.split(":")]
    endpoint = bytes([7, 5, 0x81, 2, 0, 4, 0])
    parts = b"".join(bytes([9, 4, number, 0, 1]) + kind + b"\0" + endpoint for number, kind in enumerate(kinds))
    (device / "descriptors").write_bytes(
        bytes([18, 1, 0, 3, 0xEF, 2, 1, 9]) + struct.pack("<HHH", 0x1234, 0x5678, 0x100) + bytes([1, 2, 3, 1]) +
        struct.pack("<BBHBBBBB", 9, 2, 9 + len(parts), len(kinds), 1, 0, 0x80, 50) + parts)
    bus = pathlib.Path("/sys/bus/usb/devices")
    bus.mkdir(parents=True)
    os.symlink("../../../bus/usb", device / "subsystem")
    os.symlink("../../../../devices/usb1/1-1", bus / "1-1")


class Vision(CommandTest):
    def lists_no_camera(self, *command, module, **options):
        run = self.alone(*command, "list", **options)
        self.assertEqual((run.returncode, run.stderr), NO_CAMERA, run.stdout)
        self.assertEqual(run.stdout.splitlines()[0], str(module))
        for text in ("GEV::GigEVision", "U3V::USB3Vision"):
            self.assertIn(text, run.stdout)

    def test_what_cmake_installs_looks_for_cameras(self):
        vision = self.installed() / "lib/norveltl/vision"
        for tool in (self.folder / "Some where/bin/norveltl", vision / "norveltl"):
            self.lists_no_camera(tool, module=vision / "NorvelTL40.cti")
        standard = vision / "standard/NorvelTL40-standard.cti"
        self.lists_no_camera(vision / "norveltl", "--cti", standard, module=standard)

    def test_the_package_has_both(self):
        root, _ = self.unpacked()
        folder = root / "usr/lib/norveltl"
        self.lists_no_camera(root / "usr/bin/norveltl", module=folder / "vision/NorvelTL40.cti")
        standard = folder / "vision/standard/NorvelTL40-standard.cti"
        self.lists_no_camera(folder / "vision/norveltl", "--cti", standard, module=standard)
        for module in ("NorvelTL40.cti", "standard/NorvelTL40-standard.cti"):
            listed = self.done(folder / "norveltl", "--cti", folder / module, "list")
            self.assertEqual(listed.splitlines()[0], str(folder / module))
            self.assertEqual(len(re.findall(r"Norvel-\w+-\d+", listed)), 3)

    def test_what_the_package_needs(self):
        _, package = self.unpacked()
        needed = self.done("dpkg-deb", "--field", package, "Depends")
        self.assertRegex(needed, r"\blibaravis-0\.8-0 ")
        self.assertRegex(needed, r"\blibglib2\.0-0 ")

    def test_dpkg_keeps_what_users_change(self):
        """In a system of its own, without the packages that this one needs."""
        _, package = self.unpacked()
        root, admin = self.folder / "system", self.folder / "admin"
        root.mkdir()
        for name in ("info", "updates"):
            (admin / name).mkdir(parents=True)
        (admin / "status").touch()
        dpkg = ("dpkg", f"--instdir={root}", f"--admindir={admin}", "--force-script-chrootless", "--force-not-root",
                "--force-depends", "--force-bad-path", "--force-confold", "--log=/dev/null")
        profile = root / "etc/profile.d/norveltl.sh"
        self.done(*dpkg, "-i", package)
        self.assertTrue(profile.is_file())
        profile.write_text("# mine\n")
        self.done(*dpkg, "-i", package)
        self.done(*dpkg, "--remove", "norveltl")
        self.assertEqual(profile.read_text(), "# mine\n")
        self.assertFalse((root / "usr/lib/norveltl").exists())
        self.done(*dpkg, "--purge", "norveltl")
        self.assertFalse(profile.exists())


class Profile(CommandTest):
    def after_login(self, profile, before=None):
        variable = {} if before is None else {"GENICAM_GENTL64_PATH": before}
        return self.done("sh", "-euc", '. "$1"; echo "${GENICAM_GENTL64_PATH-none}"', "sh", profile,
                         environment=variable).rstrip("\n")

    def test_programs_find_the_folder(self):
        prefix = self.installed()
        profile, folder = prefix / "etc/profile.d/norveltl.sh", f"{prefix}/lib/norveltl/vision"
        self.assertEqual(self.after_login(profile), folder)
        self.assertEqual(self.after_login(profile, ""), folder)
        self.assertEqual(self.after_login(profile, "/opt/other"), "/opt/other:" + folder)
        for chosen in (folder, f"{prefix}/lib/norveltl", f"/opt/other:{prefix}/lib/norveltl/standard:/opt/more"):
            self.assertEqual(self.after_login(profile, chosen), chosen)
        shutil.rmtree(folder)
        self.assertEqual(self.after_login(profile), "none")

    def test_the_package_names_where_it_lies(self):
        root, _ = self.unpacked()
        profile = (root / "etc/profile.d/norveltl.sh").read_text()
        self.assertIn('if [ -d "/usr/lib/norveltl/vision" ]', profile)
        self.assertIn(':}/usr/lib/norveltl/vision" ;;', profile)


class Usb(CommandTest):
    """By udev itself: no machine here has such a camera, so a description of one stands in /sys."""

    def udev_says(self, rules, interfaces):
        namespaces = ["--mount"] if os.geteuid() == 0 else ["--map-root-user", "--mount"]
        said = self.done("unshare", *namespaces, "sh", "-euc", OWN_UDEV, "sh", rules, sys.executable,
                         pathlib.Path(__file__).resolve(), interfaces)
        self.assertIn("ID_USB_INTERFACES=:" + interfaces, said)
        own = re.findall(r"70-norveltl-usb3-vision\.rules(:\d+ .*)", said)
        return own, "RUN 'uaccess'" in said

    def test_the_rule_takes_cameras_only(self):
        rules = (self.installed() / RULES).parent
        for camera in ("ef0500", "ef0500:ef0501:ef0502", "030000:ef0500"):
            own, for_users = self.udev_says(rules, camera)
            self.assertEqual([re.sub(r"\d+", "N", line) for line in own], [":N GROUP N", ":N MODE N"])
            self.assertIn("MODE 0660", own[1])
            self.assertTrue(for_users)
        for other in ("080650", "ef0502", "ef0201:0e0100", "fe0500"):
            self.assertEqual(self.udev_says(rules, other), ([], False))

    def test_udev_tells_mistakes(self):
        rules = self.installed() / RULES
        rules.write_text(rules.read_text().replace("SUBSYSTEM==", "SUBSYSTM=="))
        own, _ = self.udev_says(rules.parent, "ef0500")
        self.assertEqual(len(own), 1)
        self.assertIn("Invalid key 'SUBSYSTM'", own[0])


if __name__ == "__main__" and sys.argv[1] == "device":
    describe_device(sys.argv[2])
