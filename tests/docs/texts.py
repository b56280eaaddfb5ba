"""Finds the error texts in the module's sources, with the codes that consumers get for them."""
import re

CODES = {
    "implementation_error": -1003, "resource_in_use_error": -1004, "access_error": -1005,
    "invalid_handle_error": -1006, "invalid_id_error": -1007, "no_data_error": -1008,
    "invalid_parameter_error": -1009, "io_error": -1010, "timeout_error": -1011, "abort_error": -1012,
    "invalid_buffer_error": -1013, "not_available_error": -1014, "invalid_address_error": -1015,
    "initialization_error": -1002, "std::runtime_error": -1001,
    "GC_ERR_ERROR": -1001, "GC_ERR_NOT_INITIALIZED": -1002, "GC_ERR_NO_DATA": -1008,
    "GC_ERR_INVALID_PARAMETER": -1009, "GC_ERR_TIMEOUT": -1011,
}
# These lose their text on the way to the consumer.
HIDDEN = {"std::invalid_argument", "std::out_of_range", "CLibraryInvalidArgument"}

LITERAL = r'"((?:[^"\\]|\\.)*)"'


def plain(text):
    """A text with a mark for everything that is filled in, as the page writes it or the sources do."""
    return re.sub(r"<\w+>|%[0-9$]*(?:I64|l)?[a-zA-Z]", "\0", text)


def code_of(name):
    """The code of an error class or constant; None for a class whose text gets lost."""
    if name in HIDDEN:
        return None
    return CODES[name]


def collapsed(path):
    """A source without comments and line breaks, also within its literals."""
    text = re.sub(r"//[^\n]*", "", path.read_text())
    return re.sub(r'(?<!\\)"\s+"', "", re.sub(r"\s+", " ", text))


def found_in(folder):
    """All (code, text) pairs of the sources; the code is None where only the text inside is known."""
    sources = {path: collapsed(path) for path in sorted(folder.rglob("*")) if path.suffix in (".cpp", ".h")}
    everything = " ".join(sources.values())
    constants = dict(re.findall(rf"constexpr char (k\w+)\[\] = {LITERAL};", everything))
    found = set()
    for text in sources.values():
        for name, value in constants.items():
            text = re.sub(rf"\b{name}\b(?!\[)", lambda _, value=value: f'"{value}"', text)
        raised = re.findall(rf"throw ([\w:]+)\( ?(?:Format\( ?)?{LITERAL}", text)
        refused = re.findall(rf"Refusal<([\w:]+)>\( ?{LITERAL}", text)
        for name, literal in raised + refused:
            for one in classes(name, text, literal, everything):
                found.add((code_of(one), plain(literal)))
        for name, literal in re.findall(rf"CheckedCast<\w+, ([\w:]+)>\(handle, {LITERAL}", text):
            found.add((code_of(name), plain(literal)))
        for name, literal in re.findall(rf"(?:\bFail|RecordLastError)\((GC_\w+), {LITERAL}", text):
            # A handle that is none is answered with another code than is recorded.
            found.add((-1006 if "wrong handle" in literal else code_of(name), plain(literal)))
        for literal in re.findall(rf"\bThrowLastError\({LITERAL}\)", text):
            found.add((None, plain(literal)))
        for literal in re.findall(rf"\bFail\((?:Format\()?{LITERAL}[^;]*__LINE__\)", text):
            found.add((None, plain(literal)))
    return found


def classes(name, text, literal, everything):
    """The classes that a throw or a refusal means: a template's are those it is used with."""
    if name != "Error":
        return [name]
    before = text[:text.index(literal)]
    function = re.findall(r"(?:COutcome|Module&) (\w+)\(", before)[-1]
    return re.findall(rf"\b{function}<([\w:]+)>\(", everything)
