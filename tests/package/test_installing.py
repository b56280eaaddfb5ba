"""What the installer brings, and what its uninstaller leaves."""
import re
import shutil
import signal
import time
import zipfile

import loader
import package
from machine import ENVIRONMENT, REGISTRATION, SESSION, settings_in
from packages import Made, MachineTest

RUNS_BESIDE_OTHERS = True
BLANKS = r"C:\Vision Tools\Norvel TL"
USUAL = r"C:\Program Files\NorvelTL"
PROGRAMS = {"NorvelTL40.cti", "NorvelTL40-standard.cti", "Optivo40.dll", "norveltl.exe"}
# Wine hands variables of up to 1,000 characters to programs, and its command processor stops at an empty entry.
FOREIGN_PATH = r"%SystemRoot%\system32;C:\twice;C:\twice;%ProgramFiles%\Other\bin\;C:\last"
FOREIGN_PRODUCERS = r'"C:\Other; maker\cti";%OTHER%\cti\;C:\Producer\cti;'
DONE, FAILED, IN_USE, RESTART_NEEDED = 0, 2, 32, 3010


def variables(machine):
    values = machine.values(ENVIRONMENT)
    return values.get("GENICAM_GENTL64_PATH"), values["PATH"]


class InstallerTest(MachineTest):
    def install(self, code, *options, installer=None, folder=None):
        words = ["/S", *options]
        if folder:
            # The installer takes everything behind /D= for the folder, and no quotes.
            words += f"/D={folder}".split(" ")
        answer = self.machine.run(installer or Made.installer, *words)
        self.assertEqual(answer.code, code & 0xFF, answer)

    def uninstall(self, code, folder):
        """In place, so that its exit code can be seen; its own program stays then."""
        answer = self.machine.run(folder + r"\uninstall.exe", "/S", *f"_?={folder}".split(" "))
        self.assertEqual(answer.code, code & 0xFF, answer)
        self.machine.path(folder + r"\uninstall.exe").unlink(missing_ok=True)

    def uninstall_as_windows_does(self, folder):
        self.assertEqual(self.registered("QuietUninstallString"), f'"{folder}\\uninstall.exe" /S')
        self.machine.run(folder + r"\uninstall.exe", "/S")
        deadline = time.monotonic() + 60
        while self.machine.values(REGISTRATION) is not None and time.monotonic() < deadline:
            time.sleep(0.2)
        self.assertIsNone(self.machine.values(REGISTRATION))

    def windows_loads(self, names, binaries):
        self.assertEqual({path.name for path in binaries}, names)
        for path in binaries:
            self.assertEqual(loader.missing_for(path), [], path)

    def registered(self, name):
        return self.machine.values(REGISTRATION)[name][1]


class Installing(InstallerTest):
    """One installation's life; its machine is stopped at the end."""

    def tool_elsewhere(self):
        """The tool without a module beside it, which finds producers through the variable alone."""
        folder = self.machine.disk / "elsewhere"
        folder.mkdir(exist_ok=True)
        shutil.copy(Made.tree / "bin/norveltl.exe", folder)
        return r"C:\elsewhere\norveltl.exe"

    def test_from_the_first_installation_to_the_last_trace(self):
        self.machine.set_values(ENVIRONMENT, {"PATH": ("EXPAND_SZ", FOREIGN_PATH),
                                              "GENICAM_GENTL64_PATH": ("SZ", FOREIGN_PRODUCERS)})
        files = self.machine.files()
        self.an_older_version_is_installed()
        self.the_new_one_takes_its_place()
        self.users_find_it()
        self.others_find_the_standard_answers()
        self.the_users_own_files_outlive_it()
        self.assertEqual(variables(self.machine), (("SZ", FOREIGN_PRODUCERS), ("EXPAND_SZ", FOREIGN_PATH)))
        self.assertEqual(self.machine.files() ^ files, set())
        self.machine.stop()
        self.assertEqual(settings_in(self.machine.folder) ^ self.machine.settings, set())

    def an_older_version_is_installed(self):
        self.install(DONE, installer=Made.older, folder=BLANKS)
        self.assertEqual(self.registered("DisplayVersion"), "3.9.0.7")
        self.assertTrue(self.machine.path(BLANKS + r"\docs\no longer there\page.md").is_file())
        self.both_variables_hold(BLANKS)
        self.machine.path(BLANKS + r"\docs\mine.txt").write_text("A user's note.\n")
        # Whoever puts an entry behind ours finds it there after the next version, too.
        (kind, producers), _ = variables(self.machine)
        self.machine.set_values(ENVIRONMENT, {"GENICAM_GENTL64_PATH": (kind, producers + r"C:\later")})

    def the_new_one_takes_its_place(self):
        self.install(DONE)
        self.assertEqual({name: self.registered(name) for name in (
            "DisplayName", "DisplayVersion", "Publisher", "InstallLocation", "UninstallString", "NoModify")}, {
            "DisplayName": "NorvelTL", "DisplayVersion": "4.0.1.0", "Publisher": "Norvel", "InstallLocation": BLANKS,
            "UninstallString": f'"{BLANKS}\\uninstall.exe"', "NoModify": 1})
        installed = self.machine.files(BLANKS)
        size = sum(self.machine.path(f"{BLANKS}\\{name}").stat().st_size for name in installed
                   if name not in ("docs/mine.txt", "uninstall.exe") and self.machine.path(f"{BLANKS}\\{name}").is_file())
        self.assertAlmostEqual(self.registered("EstimatedSize"), size / 1024, delta=2)
        staged = {path.relative_to(Made.tree).as_posix() for path in Made.tree.rglob("*")}
        self.assertEqual(installed - staged, {"uninstall.exe", "docs/mine.txt"})
        self.assertEqual(staged - installed, set())
        self.windows_loads({*PROGRAMS, "uninstall.exe"}, loader.binaries_in(self.machine.path(BLANKS)))
        for file in package.files_in(Made.tree):
            self.assertEqual((self.machine.path(BLANKS) / file).read_bytes(), (Made.tree / file).read_bytes(), file)
        (kind, producers), path = variables(self.machine)
        self.assertEqual((kind, producers), ("SZ", FOREIGN_PRODUCERS + BLANKS + r"\bin;C:\later"))
        self.machine.set_values(ENVIRONMENT, {"GENICAM_GENTL64_PATH": (kind, producers.removesuffix(r"C:\later"))})
        self.both_variables_hold(BLANKS)

    def both_variables_hold(self, folder, modules="bin"):
        self.assertEqual(variables(self.machine), (("SZ", f"{FOREIGN_PRODUCERS}{folder}\\{modules};"),
                                                   ("EXPAND_SZ", f"{FOREIGN_PATH};{folder}\\bin")))

    def the_start_menu_leads_to(self, *places):
        folder = self.machine.path(r"C:\ProgramData\Microsoft\Windows\Start Menu\Programs\NorvelTL")
        links = {path.stem: path.read_bytes() for path in folder.iterdir()}
        self.assertEqual(set(links), {"NorvelTL prompt", "NorvelTL documents"})
        for name, place in zip(("NorvelTL prompt", "NorvelTL documents"), places):
            self.assertTrue(any(place.encode(code) in links[name] for code in ("ascii", "utf-16-le")), links[name])
            self.assertIn("%USERPROFILE%".encode("utf-16-le"), links[name])

    def users_find_it(self):
        self.the_start_menu_leads_to(f'/k ""{BLANKS}\\bin\\norveltl.exe" --help"', BLANKS + r"\docs\README.html")
        answer = self.machine.run(self.tool_elsewhere(), "list")
        self.assertEqual((answer.code, answer.err), (0, ""))
        self.assertEqual(answer.out.splitlines()[0], BLANKS + r"\bin\NorvelTL40.cti")
        self.assertEqual(re.findall(r"Norvel-\w+-\d+", answer.out),
                         ["Norvel-G1300C-10002", "Norvel-G640M-10001", "Norvel-U320C-20001"])
        # Only PATH tells the command processor where norveltl is.
        answer = self.machine.run("cmd", "/c", "norveltl", "grab", "--first", "-n", "5", "-o", r"C:\elsewhere\images")
        self.assertEqual((answer.code, answer.err), (0, ""))
        self.assertIn("\ndelivered   5 of 5\n", answer.out)
        self.assertEqual(len(list(self.machine.path(r"C:\elsewhere\images").glob("*.png"))), 5)

    def others_find_the_standard_answers(self):
        self.install(DONE, "/ANSWERS=standard")
        self.both_variables_hold(BLANKS, r"bin\standard")
        answer = self.machine.run(self.tool_elsewhere(), "check")
        self.assertEqual((answer.code, answer.err), (0, ""))
        self.assertEqual(answer.out.splitlines()[0], BLANKS + r"\bin\standard\NorvelTL40-standard.cti")
        self.assertRegex(answer.out, r"\n\d+ passed, 0 deviate, 0 failed\n$")
        shutil.rmtree(self.machine.path(r"C:\elsewhere"))

    def the_users_own_files_outlive_it(self):
        self.uninstall_as_windows_does(BLANKS)
        self.assertEqual(self.machine.files(BLANKS), {"docs", "docs/mine.txt"})
        self.assertEqual(self.machine.path(BLANKS + r"\docs\mine.txt").read_text(), "A user's note.\n")
        shutil.rmtree(self.machine.path(r"C:\Vision Tools"))

    def test_windows_loads_what_is_packed_and_what_unpacks_it(self):
        self.windows_loads(PROGRAMS, loader.binaries_in(Made.tree))
        self.windows_loads({Made.installer.name, Made.helper.name}, [Made.installer, Made.helper])

    def test_the_archive_holds_the_same_tree(self):
        with zipfile.ZipFile(Made.archive) as packed:
            names = packed.namelist()
            self.assertEqual(names, sorted(names))
            self.assertEqual({name.split("/")[0] for name in names}, {"norveltl"})
            inside = {name.split("/", 1)[1]: packed.read(name) for name in names}
        self.assertEqual(inside, {file.as_posix(): (Made.tree / file).read_bytes()
                                  for file in package.files_in(Made.tree)})
        for name in ("bin/NorvelTL40.cti", "bin/standard/NorvelTL40-standard.cti", "bin/norveltl.exe", "bin/Optivo40.dll", "include/GenTL/GenTL.h",
                     "docs/norveltl.html", "licences/Boost.txt",
                     "licences/GCC-runtime.txt", "LICENSE", "README.html"):
            self.assertIn(name, inside)
        self.assertEqual([name for name in inside if name.endswith((".debug", ".a", ".pyc", ".md"))], [])

    def test_the_same_build_makes_the_same_bytes(self):
        again = Made.work / "again in another folder"
        again.mkdir()
        package.stage(Made.build, again / "stage")
        package.make_zip(again / "stage", again / Made.archive.name)
        package.make_installer(again / "stage", Made.helper, "4.0.1.0", again / Made.installer.name)
        for file in (Made.archive, Made.installer):
            self.assertEqual((again / file.name).read_bytes(), file.read_bytes(), file.name)


class Hindered(InstallerTest):
    """Machines on which something is in the way."""

    def pending(self):
        """What Windows will do when it restarts."""
        value = self.machine.values(SESSION).get("PendingFileRenameOperations", ("", ""))
        return [entry.removeprefix("\\??\\").rstrip("\\") for entry in value[1].split("\0") if entry]

    def test_a_module_in_use(self):
        self.install(DONE)
        before, entries = self.machine.files(USUAL), variables(self.machine)
        grab = self.machine.start(USUAL + r"\bin\norveltl.exe", "grab", "--first", "-t", "600", "-o", r"C:\images")
        try:
            self.wait_for_the_first_image()
            self.install(IN_USE)
            self.install(IN_USE, folder=BLANKS)
            self.assertEqual((self.machine.files(USUAL), variables(self.machine)), (before, entries))
            self.assertEqual(self.machine.files().intersection({"Vision Tools"}), set())

            self.uninstall(RESTART_NEEDED, USUAL)
            left = {file for file in self.machine.files(USUAL) if self.machine.path(f"{USUAL}\\{file}").is_file()}
            self.assertEqual([name for name in left if not re.fullmatch(r"ns\w+\.tmp", name)], [])
            self.assertIn(len(left), (2, 3))
            pending = self.pending()
            self.assertEqual({name for name in pending if name.endswith(".tmp")}, {f"{USUAL}\\{name}" for name in left})
            self.assertIn(USUAL, pending)
            self.assertIsNone(variables(self.machine)[0])
            self.assertIsNone(self.machine.values(REGISTRATION))

            # What is installed before the restart has nothing to fear from it.
            self.install(DONE)
            self.assertTrue(before <= self.machine.files(USUAL))
            self.assertEqual(set(self.pending()) & {f"{USUAL}\\{file}".replace("/", "\\") for file in before
                                                    if self.machine.path(f"{USUAL}\\{file}").is_file()}, set())
        finally:
            grab.send_signal(signal.SIGINT)
            grab.wait(timeout=60)
        self.uninstall(DONE, USUAL)
        self.assertEqual(self.machine.files(USUAL), left)
        shutil.rmtree(self.machine.path(USUAL))

    def wait_for_the_first_image(self):
        deadline = time.monotonic() + 60
        while not list(self.machine.path(r"C:\images").glob("*.png")):
            self.assertLess(time.monotonic(), deadline, "no image came")
            time.sleep(0.1)

    def test_the_makers_library_in_the_system_folder(self):
        library = self.machine.path(r"C:\windows\system32\Optivo40.dll")
        shutil.copy(Made.helper, library)
        try:
            self.install(DONE)
            self.assertEqual(self.registered("SimulatedLibrary"), 0)
            self.assertFalse(self.machine.path(USUAL + r"\bin\Optivo40.dll").exists())
            self.install(DONE, "/SIMULATED=1")
            self.assertEqual(self.registered("SimulatedLibrary"), 1)
            self.assertTrue(self.machine.path(USUAL + r"\bin\Optivo40.dll").exists())
            self.uninstall(DONE, USUAL)
        finally:
            library.unlink()
        self.assertEqual(self.machine.files(USUAL), set())

    def test_the_makers_library_beside_the_module(self):
        library = self.machine.path(USUAL + r"\bin\Optivo40.dll")
        self.install(DONE, "/SIMULATED=0")
        self.assertFalse(library.exists())
        theirs = Made.helper.read_bytes()
        library.write_bytes(theirs)
        for options in ((), ("/SIMULATED=1",)):
            self.install(DONE, *options)
            self.assertEqual(library.read_bytes(), theirs)
            self.assertEqual(self.registered("SimulatedLibrary"), 0)
        self.uninstall(DONE, USUAL)
        self.assertEqual(self.machine.files(USUAL), {"bin", "bin/Optivo40.dll"})
        self.assertEqual(library.read_bytes(), theirs)
        shutil.rmtree(self.machine.path(USUAL))

    def state(self):
        """What an installation changes."""
        return self.machine.files(), variables(self.machine), self.machine.values(REGISTRATION)

    def programs_find(self, folder):
        self.assertEqual(variables(self.machine)[0], folder and ("SZ", folder))

    def test_choices_outlive_an_upgrade(self):
        library = self.machine.path(USUAL + r"\bin\Optivo40.dll")
        self.install(DONE, "/SIMULATED=0", "/ANSWERS=standard", installer=Made.older)
        self.programs_find(USUAL + r"\bin\standard")
        variable, _ = variables(self.machine)
        self.machine.set_values(ENVIRONMENT, {"GENICAM_GENTL64_PATH": ("SZ", variable[1] + r";C:\later")})
        self.install(DONE)
        self.assertFalse(library.exists())
        self.programs_find(USUAL + r"\bin\standard;C:\later")
        installed = self.state()
        self.install(FAILED, "/ANSWERS=both")
        self.assertEqual(self.state(), installed)
        self.machine.set_values(ENVIRONMENT, {"GENICAM_GENTL64_PATH": variable})
        self.uninstall(DONE, USUAL)
        self.programs_find(None)

    def test_other_answers_take_the_place_of_the_former(self):
        self.install(DONE, "/ANSWERS=standard")
        self.install(DONE, "/ANSWERS=Classic")
        self.programs_find(USUAL + r"\bin")
        # Without an uninstaller nothing but the installer swaps them.
        self.machine.path(USUAL + r"\uninstall.exe").unlink()
        self.install(DONE, "/ANSWERS=standard")
        self.programs_find(USUAL + r"\bin\standard")
        # As an installer calls it that knows the first module only.
        self.machine.run(USUAL + r"\uninstall.exe", "/S", *f"/REPLACED_BY={USUAL} _?={USUAL}".split(" "))
        self.programs_find(None)
        self.install(DONE)
        self.programs_find(USUAL + r"\bin")
        self.uninstall(DONE, USUAL)
        self.programs_find(None)

    def test_answers_that_there_are_not(self):
        untouched = self.state()
        for answers in ("", "standards", "classic standard"):
            self.install(FAILED, *f"/ANSWERS={answers}".split(" "))
        self.assertEqual(self.state(), untouched)

    def test_options_that_there_are_not(self):
        untouched = self.state()
        for options, reason in ((["/SIMULATED=no"], "but not /SIMULATED=no."),
                                (["/FOO"], "but not /FOO."),
                                (["word"], "but not word."),
                                (["/ANSWERS=none"], "/ANSWERS= is followed by classic or standard"),
                                ([r"/D=Q:\nodrive"], r"There is no Q: for the folder Q:\nodrive."),
                                (["/D=folder"], "/D= is followed by the full path of a folder"),
                                ([r"/D=C:\Vision Tools\NorvelTL"], "quotes")):
            with self.subTest(options=options):
                self.install(FAILED, *options)
                [log] = self.machine.path(r"C:\users").rglob("NorvelTL-setup.log")
                self.assertIn(reason, log.read_text("utf-16"))
                log.unlink()
        self.assertEqual(self.state(), untouched)

    def test_long_variables_survive(self):
        long = ("EXPAND_SZ", r"%SystemRoot%\system32;" + r"%ProgramFiles%\Other; C:\tw ice;;" * 300 + r"C:\last")
        before = self.machine.values(ENVIRONMENT)["PATH"]
        self.machine.set_values(ENVIRONMENT, {"PATH": long, "GENICAM_GENTL64_PATH": ("SZ", long[1])})
        self.install(DONE)
        self.assertEqual(variables(self.machine), (("SZ", f"{long[1]};{USUAL}\\bin"),
                                                   ("EXPAND_SZ", f"{long[1]};{USUAL}\\bin")))
        self.uninstall(DONE, USUAL)
        self.assertEqual(variables(self.machine), (("SZ", long[1]), long))
        self.machine.set_values(ENVIRONMENT, {"PATH": before, "GENICAM_GENTL64_PATH": None})

    def test_folders_above_it_go_if_it_made_them(self):
        files = self.machine.files()
        self.install(DONE, folder=r"C:\Made\by\Setup")
        self.install(DONE, folder=r"C:\Made\anew")
        self.assertFalse(self.machine.path(r"C:\Made\by").exists())
        # What an upgrade finds there was made by the version before.
        self.install(DONE)
        self.uninstall_as_windows_does(r"C:\Made\anew")
        self.assertEqual(self.machine.files() ^ files, set())

        self.machine.path(r"C:\Theirs\empty").mkdir(parents=True)
        self.install(DONE, folder=r"C:\Theirs\empty\NorvelTL")
        self.uninstall_as_windows_does(r"C:\Theirs\empty\NorvelTL")
        self.assertEqual(self.machine.files() ^ files, {"Theirs", "Theirs/empty"})
        shutil.rmtree(self.machine.path(r"C:\Theirs"))

        self.install(DONE, folder=r"C:\Made\by\Setup")
        self.machine.path(r"C:\Made\note.txt").write_text("A user's note.\n")
        self.uninstall_as_windows_does(r"C:\Made\by\Setup")
        self.assertEqual(self.machine.files() ^ files, {"Made", "Made/note.txt"})
        shutil.rmtree(self.machine.path(r"C:\Made"))

    def test_variables_that_cannot_be_changed(self):
        self.machine.set_values(ENVIRONMENT, {"GENICAM_GENTL64_PATH": ("DWORD", 7)})
        self.install(FAILED)
        self.machine.set_values(ENVIRONMENT, {"GENICAM_GENTL64_PATH": None})
        self.uninstall(DONE, USUAL)
        self.assertIsNone(variables(self.machine)[0])
