"""The helper that edits the machine's variables, as the installer calls it."""
import shutil

from machine import ENVIRONMENT
from packages import Made, MachineTest

RUNS_BESIDE_OTHERS = True
OURS = r"C:\Program Files\NorvelTL\bin"
DONE, NO, FAILED, WRONG_USAGE = 0, 1, 2, 3


def long_text(length):
    text, number = r"%SystemRoot%\system32;;C:\twice;C:\twice;", 0
    while len(text) < length:
        text += rf'"%ProgramFiles%\Maker; {number}\bin\";C:\Tools\{number};'
        number += 1
    return text + r"%NOWHERE%\last"


class Environment(MachineTest):
    def helper(self, code, *arguments):
        answer = self.machine.run(Made.helper, *arguments)
        self.assertEqual(answer.code, code, answer)
        return answer

    def variable(self):
        return self.machine.values(ENVIRONMENT).get("TRIED")

    def given(self, kind, text):
        self.machine.set_values(ENVIRONMENT, {"TRIED": (kind, text)})
        self.assertEqual(self.variable(), (kind, text))

    def tearDown(self):
        self.machine.set_values(ENVIRONMENT, {"TRIED": None})

    def test_long_variables_survive(self):
        for kind, length in (("EXPAND_SZ", 1024), ("SZ", 1500), ("EXPAND_SZ", 8100), ("EXPAND_SZ", 32000)):
            with self.subTest(kind=kind, length=length):
                text = long_text(length)
                self.given(kind, text)
                self.helper(DONE, "add", "TRIED", OURS)
                self.assertEqual(self.variable(), (kind, text + ";" + OURS))
                self.helper(DONE, "remove", "TRIED", OURS)
                self.assertEqual(self.variable(), (kind, text))

    def test_the_folder_is_there_once(self):
        self.given("EXPAND_SZ", r"%X%;C:\a;C:\a;")
        for spelling in (OURS, OURS.upper(), OURS + "\\"):
            self.helper(DONE, "add", "TRIED", spelling)
            self.assertEqual(self.variable(), ("EXPAND_SZ", rf"%X%;C:\a;C:\a;{OURS};"))
        self.helper(DONE, "remove", "TRIED", OURS.lower())
        self.assertEqual(self.variable(), ("EXPAND_SZ", r"%X%;C:\a;C:\a;"))

    def test_a_quoted_entry_is_the_same_folder(self):
        self.given("SZ", rf'C:\a;"{OURS}\";C:\b')
        self.helper(DONE, "add", "TRIED", OURS)
        self.assertEqual(self.variable(), ("SZ", rf'C:\a;"{OURS}\";C:\b'))
        self.helper(DONE, "remove", "TRIED", OURS)
        self.assertEqual(self.variable(), ("SZ", r"C:\a;C:\b"))

    def test_a_variable_comes_and_goes_with_its_only_folder(self):
        self.helper(DONE, "remove", "TRIED", OURS)
        self.assertIsNone(self.variable())
        self.helper(DONE, "add", "TRIED", OURS)
        self.assertEqual(self.variable(), ("SZ", OURS))
        self.helper(DONE, "remove", "TRIED", OURS)
        self.assertIsNone(self.variable())

    def test_an_empty_variable_stays(self):
        self.given("EXPAND_SZ", "")
        self.helper(DONE, "add", "TRIED", OURS)
        self.helper(DONE, "remove", "TRIED", OURS)
        self.assertEqual(self.variable(), ("EXPAND_SZ", ""))

    def test_a_variable_that_windows_would_drop_is_left_alone(self):
        text = "C:\\a;" * 6500
        self.given("SZ", text + "C:\\" + "b" * 235)
        answer = self.helper(FAILED, "add", "TRIED", OURS)
        self.assertEqual(answer.err, "norveltl-environment: the variable would have more than 32,766 characters, "
                                     "and Windows would drop it\n")
        self.assertEqual(self.variable(), ("SZ", text + "C:\\" + "b" * 235))

    def test_what_is_no_text_is_left_alone(self):
        self.machine.set_values(ENVIRONMENT, {"TRIED": ("DWORD", 7)})
        for command in ("add", "remove"):
            answer = self.helper(FAILED, command, "TRIED", OURS)
            self.assertEqual(answer.err, "norveltl-environment: the variable is no text\n")
        self.assertEqual(self.variable(), ("DWORD", 7))

    def test_wrong_command_lines(self):
        for words in ((), ("add",), ("add", "TRIED"), ("remove", "TRIED", "a", "b"), ("show", "TRIED", "a")):
            answer = self.helper(WRONG_USAGE, *words)
            self.assertTrue(answer.err.startswith("norveltl-environment add|remove VARIABLE FOLDER\n"), answer)

    def test_the_simulated_library_is_known_from_others(self):
        folder = self.machine.disk / "Some where"
        folder.mkdir()
        library = folder / "Optivo40.dll"
        self.helper(NO, "is-simulated", r"C:\Some where\Optivo40.dll")
        self.helper(NO, "makers-library", r"C:\Some where")
        shutil.copy(Made.build / "bin/Optivo40.dll", library)
        self.helper(DONE, "is-simulated", r"C:\Some where\Optivo40.dll")
        self.helper(NO, "makers-library", r"C:\Some where")
        shutil.copy(Made.helper, library)
        self.helper(NO, "is-simulated", r"C:\Some where\Optivo40.dll")
        answer = self.helper(DONE, "makers-library", r"C:\Some where")
        self.assertEqual(answer.out, "C:\\Some where\\Optivo40.dll\n")

    def test_the_makers_library_is_found_on_path(self):
        folder = self.machine.disk / "On path"
        folder.mkdir()
        shutil.copy(Made.helper, folder / "Optivo40.dll")
        kind, path = self.machine.values(ENVIRONMENT)["PATH"]
        self.machine.set_values(ENVIRONMENT, {"PATH": (kind, path + r';"%SystemDrive%\On path"')})
        answer = self.helper(DONE, "makers-library", r"C:\nowhere")
        self.assertEqual(answer.out, "C:\\On path\\Optivo40.dll\n")
        self.machine.set_values(ENVIRONMENT, {"PATH": (kind, path)})
        self.helper(NO, "makers-library", r"C:\nowhere")
