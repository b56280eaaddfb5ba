"""What shells offer while a command line is typed."""
import os
import pathlib
import shlex
import subprocess

from harness import LEFT, MICROSCOPE, RIGHT, SOURCES, HelpTest, Setting, native

RUNS_BESIDE_OTHERS = True

SCRIPTS = SOURCES / "tools/norveltl/completions"
CAMERAS = {LEFT, "Left", RIGHT, "Right", MICROSCOPE, "Microscope"}


class Completing(HelpTest):
    def setUp(self):
        super().setUp()
        # What PATH leads to; it ends lines as these shells expect.
        program = shlex.join([*Setting.launch, str(Setting.program)])
        script = self.folder / "bin/norveltl"
        script.parent.mkdir()
        script.write_text(f'#!/bin/sh\n{program} "$@" | tr -d "\\r"\n')
        script.chmod(0o755)

    def run_shell(self, *command, world=None):
        environment = {**os.environ, "PATH": f"{self.folder}/bin:{os.environ['PATH']}"}
        environment.pop("OPTIVO_SIM_CONFIG", None)
        environment.update({"HOME": str(self.folder), "GENICAM_GENTL64_PATH": ""})
        if world:
            path = self.folder / "world.json"
            path.write_text(world)
            environment["OPTIVO_SIM_CONFIG"] = native(path)
        done = subprocess.run(command, capture_output=True, text=True, cwd=self.folder, env=environment, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return {line for line in done.stdout.splitlines() if line}

    def bash(self, *words, **options):
        """What bash offers for the last word."""
        script = f'source "{SCRIPTS}/norveltl.bash"; COMP_WORDS=(norveltl "$@"); COMP_CWORD=$#; ' \
                 '_norveltl; printf "%s\\n" "${COMPREPLY[@]}"'
        return self.run_shell("bash", "-c", script, "bash", *words, **options)

    def zsh(self, *words):
        script = f'_describe() {{ print -l -- ${{(P)2}} }}; _files() {{ print files }}; words=(norveltl "$@"); ' \
                 f'CURRENT=$#words; source "{SCRIPTS}/_norveltl"'
        return self.run_shell("zsh", "-fc", script, "zsh", *words)

    def fish(self, text):
        return self.run_shell("fish", "--no-config", "-c",
                              f"source {SCRIPTS}/norveltl.fish; complete -C {shlex.quote(text)}")

    def test_every_command_and_option(self):
        everything = self.everything()
        own = everything.pop("")
        self.assertEqual(self.bash(""), set(everything))
        self.assertEqual(self.bash("-"), own)
        for command, options in everything.items():
            with self.subTest(command=command):
                self.assertEqual(self.bash(command, "-"), options | own)

    def test_parts_of_words(self):
        self.assertEqual(self.bash("gr"), {"grab"})
        self.assertEqual(self.bash("--cti", "list", "gr"), {"grab"})
        self.assertEqual(self.bash("grab", "Left", "--out"), {"--output"})
        self.assertEqual(self.bash("grab", "--format", "p"), {"png", "pgm"})
        self.assertEqual(self.bash("info", "s"), {"system", "stream"})
        self.assertEqual(self.bash("run", "Left", "w"), {"wait"})

    def test_cameras(self):
        for words in (["get"], ["grab"], ["events"], ["set"], ["read", "-d"], ["get", "Width", "--device"]):
            with self.subTest(words=words):
                self.assertEqual(self.bash(*words, ""), CAMERAS)
        self.assertEqual(self.bash("get", "le"), {"Left"})
        self.assertEqual(self.bash("xml", "M"), {"Microscope"})
        self.assertEqual(self.bash("get", "Left", ""), set())
        self.assertEqual(self.bash("get", "-d", "Left", ""), set())

    def test_names_with_blanks_and_no_cameras(self):
        world = '{"interfaces": [{"cameras": [{"name": "Cam", "userDefinedName": "Line 2"}]}]}'
        self.assertEqual(self.bash("get", "L", world=world), {"Line\\ 2"})
        self.assertEqual(self.bash("get", "", world="{}"), set())
        self.assertEqual(self.bash("--cti", "none.cti", "get", ""), set())

    def test_where_files_are_named(self):
        """Nothing is offered there, so that the shell itself completes."""
        for words in (["--cti"], ["xml", "Left", "-o"], ["features", "--save"], ["check", "--junit"]):
            self.assertEqual(self.bash(*words, ""), set())
        self.assertIn("complete -o default ", (SCRIPTS / "norveltl.bash").read_text())

    def test_zsh(self):
        self.assertEqual(self.zsh("gra"), {"grab:Take images from a camera, or from several"})
        self.assertEqual(self.zsh("get", "le"), {f"Left:{LEFT}"})
        self.assertEqual(self.zsh("grab", "--format", "pn"), {"png:"})
        self.assertEqual(self.zsh("xml", "-o", ""), {"files"})

    def test_fish(self):
        self.assertEqual(self.fish("norveltl gra"), {"grab\tTake images from a camera, or from several"})
        self.assertEqual(self.fish("norveltl get le"), {f"Left\t{LEFT}"})

    def test_powershell_asks_the_same(self):
        text = (SCRIPTS / "norveltl.ps1").read_text()
        self.assertRegex(text, r'& \$program --complete "\+\$word" @before ')
        self.assertIn("-CommandName norveltl, norveltl.exe", text)
