"""A Windows machine of its own for tests that change one: a copy of the Wine prefix, thrown away afterwards."""
import os
import pathlib
import re
import shutil
import subprocess
import tempfile

SOURCES = pathlib.Path(__file__).resolve().parent.parent.parent
LAUNCH = SOURCES / "scripts/wine.sh"
WINE_SERVER = "/usr/lib/wine/wineserver"
ENVIRONMENT = r"HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Session Manager\Environment"
SESSION = ENVIRONMENT.removesuffix(r"\Environment")
REGISTRATION = r"HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall\NorvelTL"

KINDS = {"hex(0)": "NONE", "hex(2)": "EXPAND_SZ", "hex(7)": "MULTI_SZ", "dword": "DWORD"}


def prefix_to_copy():
    return pathlib.Path(os.environ.get("WINEPREFIX", SOURCES / ".cache/wine"))


def settings_in(prefix):
    """What the registry of a machine that is not running holds about software: {(key, line)}."""
    found, key = set(), ""
    for line in (prefix / "system.reg").read_text(encoding="utf-8", errors="replace").splitlines():
        if line.startswith("["):
            key = line.rpartition("]")[0]
        elif line and not line.startswith("#") and key.startswith("[Software"):
            found.add((key, line))
    return found


def copy_prefix(source, target):
    """Nobody writes into Windows' own libraries, so they are shared; everything else is copied."""
    def copy(from_path, to_path):
        if "/drive_c/windows/" in from_path and os.stat(from_path).st_size > 100_000:
            try:
                return os.link(from_path, to_path)
            except OSError:
                pass
        return shutil.copy2(from_path, to_path)

    shutil.rmtree(target, ignore_errors=True)
    shutil.copytree(source, target, symlinks=True, copy_function=copy)


class Answer:
    def __init__(self, code, out, err):
        self.code = code
        self.out, self.err = (text.decode(errors="replace").replace("\r\n", "\n") for text in (out, err))

    def __repr__(self):
        return f"{self.code}\n{self.out}{self.err}"


class Machine:
    def __init__(self, folder):
        self.folder = pathlib.Path(folder)
        copy_prefix(prefix_to_copy(), self.folder)
        self.settings = settings_in(self.folder)
        self.disk = self.folder / "drive_c"
        self.environment = {name: value for name, value in os.environ.items()
                            if name not in ("GENICAM_GENTL64_PATH", "OPTIVO_SIM_CONFIG")}
        self.environment["WINEPREFIX"] = str(self.folder)
        # Wine stays up as long as a program runs, and boots anew for every program otherwise.
        self.shell = subprocess.Popen([LAUNCH, "cmd", "/k"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                      stderr=subprocess.DEVNULL, env=self.environment)
        self.shell.stdout.readline()

    def stop(self):
        self.shell.stdin.close()
        self.shell.stdout.close()
        self.shell.wait()
        subprocess.run([WINE_SERVER, "-k"], env=self.environment, check=False)
        subprocess.run([WINE_SERVER, "-w"], env=self.environment, check=False, timeout=60)

    def throw_away(self):
        self.stop()
        shutil.rmtree(self.folder)

    def start(self, *command, out=subprocess.DEVNULL, err=subprocess.DEVNULL):
        return subprocess.Popen([LAUNCH, *command], cwd=self.disk, env=self.environment, stdin=subprocess.DEVNULL,
                                stdout=out, stderr=err)

    def run(self, *command, timeout=120):
        # Not through pipes: Wine's own processes, which a program may start, would keep them open.
        with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
            code = self.start(*command, out=out, err=err).wait(timeout=timeout)
            out.seek(0)
            err.seek(0)
            return Answer(code, out.read(), err.read())

    def path(self, windows_path):
        """Where a file of drive C lies."""
        return self.disk / windows_path.removeprefix("C:\\").replace("\\", "/")

    def files(self, folder=""):
        """Every file and folder below, relative to it, but those that programs have for the moment."""
        root = self.path(folder)
        return {path.relative_to(root).as_posix() for path in root.rglob("*")
                if "/temp/" not in str(path).lower() + "/"}

    def values(self, key):
        """The values of a registry key: {name: (kind, text)}; nothing when there is no such key."""
        file = self.disk / "exported.reg"
        file.unlink(missing_ok=True)
        if self.run("reg", "export", key, r"C:\exported.reg", "/y").code != 0:
            return None
        text = file.read_text(encoding="utf-16").replace("\\\n  ", "")
        file.unlink()
        section = text.split(f"[{key}]\n", 1)[1].split("\n[", 1)[0]
        return {name.replace("\\\\", "\\"): value_of(written)
                for name, written in re.findall(r'^"(.*?)"=(.*)$', section, re.M)}

    def set_values(self, key, values):
        """Values as {name: (kind, text)}; None removes one."""
        lines = ["Windows Registry Editor Version 5.00", "", f"[{key}]"]
        for name, value in values.items():
            lines.append(f'"{name}"={written_as(*value) if value else "-"}')
        file = self.disk / "imported.reg"
        file.write_text("\r\n".join([*lines, "", ""]), encoding="utf-16")
        answer = self.run("reg", "import", r"C:\imported.reg")
        assert answer.code == 0, answer
        file.unlink()


def value_of(written):
    if written.startswith('"'):
        return "SZ", re.sub(r"\\(.)", r"\1", written[1:-1])
    kind, _, data = written.partition(":")
    if kind == "dword":
        return "DWORD", int(data, 16)
    text = bytes(int(byte, 16) for byte in data.split(",") if byte).decode("utf-16-le")
    return KINDS[kind], text if kind == "hex(7)" else text.removesuffix("\0")


def written_as(kind, value):
    if kind == "DWORD":
        return f"dword:{value:08x}"
    code = {"SZ": "hex(1)", "EXPAND_SZ": "hex(2)"}[kind]
    return code + ":" + ",".join(f"{byte:02x}" for byte in (value + "\0").encode("utf-16-le"))
