"""What Windows' own loader finds of all that a binary asks for.

Wine puts a stub in the place of a name that it misses; Windows refuses to load the binary.
"""
import configparser
import pathlib

import pefile

HERE = pathlib.Path(__file__).resolve().parent
READ = [pefile.DIRECTORY_ENTRY[f"IMAGE_DIRECTORY_ENTRY_{kind}"] for kind in ("EXPORT", "IMPORT", "DELAY_IMPORT")]
# Of a camera library from another compiler the names of its C++ functions are of no use to anybody.
CAMERA_LIBRARY = {"optivo40.dll": {"GetSystem"}}


def read(path):
    image = pefile.PE(str(path), fast_load=True)
    image.parse_data_directories(READ)
    return image


def names_on_every_machine():
    """{library in lower case: its names; "@" and a number for what has none}"""
    lists = configparser.ConfigParser(allow_no_value=True, delimiters="=", comment_prefixes="#", interpolation=None)
    lists.optionxform = str
    with (HERE / "windows10.ini").open() as file:
        lists.read_file(file)
    return {**{library.lower(): set(lists[library]) for library in lists.sections()}, **CAMERA_LIBRARY}


def exports_of(path):
    """{name: what it is forwarded to, or None}, in the order of the table"""
    symbols = getattr(read(path), "DIRECTORY_ENTRY_EXPORT", None)
    return {symbol.name.decode(): symbol.forwarder and symbol.forwarder.decode()
            for symbol in (symbols.symbols if symbols else []) if symbol.name}


def imports_of(path):
    """{(library in lower case, name)}, looked up at once or when called; an empty name where none is asked for"""
    image, found = read(path), set()
    for table in ("DIRECTORY_ENTRY_IMPORT", "DIRECTORY_ENTRY_DELAY_IMPORT"):
        for library in getattr(image, table, []):
            names = [item.name.decode() if item.name else f"@{item.ordinal}" for item in library.imports]
            found |= {(library.dll.decode().lower(), name) for name in names or [""]}
    return found


def forwarders_of(path):
    """As imports_of. Nobody has to have what is handed on to the camera library, which is looked up on demand."""
    targets = (target.rpartition(".") for target in exports_of(path).values() if target)
    return {(f"{library.lower()}.dll", name.replace("#", "@")) for library, _, name in targets
            if library.lower() != "optivo40"}


def missing_for(path):
    """What Windows 10 would not find, as a list of "library: name"."""
    available = names_on_every_machine()
    return [f"{library}: {name}" for library, name in sorted(imports_of(path) | forwarders_of(path))
            if library not in available or name and name not in available[library]]


def binaries_in(folder):
    """Whatever they are called."""
    return sorted(path for path in folder.rglob("*") if path.is_file() and path.read_bytes()[:2] == b"MZ")
