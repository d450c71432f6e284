"""The tables that stand here and in the C headers say the same."""

import ctypes
import importlib
import inspect
import pkgutil
import re
from pathlib import Path

import zel
from zel import _native, errors, firmware, page_data

ROOT = Path(__file__).resolve().parents[3]


def header(name):
    text = (ROOT / "include" / "zel" / name).read_text(encoding="utf-8")
    return re.sub(r"\\\n", " ", text)


def declared_functions():
    text = re.sub(r"/\*.*?\*/", "", header("zel.h"), flags=re.S)
    found = {}
    for name, arguments in re.findall(r"\b(zel[A-Z]\w+)\s*\(([^)]*)\)\s*;", text):
        found[name] = [] if arguments.strip() == "void" else [a.strip() for a in arguments.split(",")]
    return found


C_TYPES = {
    "uint8_t": ctypes.c_uint8,
    "uint16_t": ctypes.c_uint16,
    "uint32_t": ctypes.c_uint32,
    "uint64_t": ctypes.c_uint64,
    "const char *": ctypes.c_char_p,
    "const uint8_t *": ctypes.c_char_p,
    "const void *": ctypes.c_char_p,
    "uint16_t *": ctypes.POINTER(ctypes.c_uint16),
    "uint32_t *": ctypes.POINTER(ctypes.c_uint32),
    "uint64_t *": ctypes.POINTER(ctypes.c_uint64),
    "int32_t *": ctypes.POINTER(ctypes.c_int32),
    "uint8_t *": ctypes.POINTER(ctypes.c_uint8),
    "char **": ctypes.POINTER(ctypes.c_void_p),
    "uint8_t **": ctypes.POINTER(ctypes.c_void_p),
    "PenHandle **": ctypes.POINTER(ctypes.c_void_p),
    "DfuPenHandle **": ctypes.POINTER(ctypes.c_void_p),
    "DiscoveryHandle **": ctypes.POINTER(ctypes.c_void_p),
    "PenHandle *": ctypes.c_void_p,
    "DfuPenHandle *": ctypes.c_void_p,
    "const DiscoveryHandle *": ctypes.c_void_p,
    "void *": ctypes.c_void_p,
    "PenArrivedCallback": _native.RecordCallback,
    "PenDepartedCallback": _native.RecordCallback,
    "ProgressCallback": _native.ProgressCallback,
}


def test_every_function_is_declared_with_the_types_of_the_header():
    declared = declared_functions()
    assert len(declared) == 67
    expected = {
        name: [C_TYPES[re.sub(r"\s*\w+$", "", argument).strip()] for argument in arguments]
        for name, arguments in declared.items()
    }
    assert _native.PROTOTYPES == expected


def test_every_function_is_called_by_the_package():
    sources = "".join(path.read_text() for path in (ROOT / "bindings/python/src/zel").glob("*.py"))
    sources = sources.replace(sources[sources.index("PROTOTYPES") : sources.index("def candidates")], "")
    assert [name for name in _native.PROTOTYPES if name not in sources] == ["zelDfuGetMode"]


def test_codes_names_and_sentences_are_those_of_the_header():
    codes = {name: int(code) for name, code in re.findall(r"#define (ZEL_\w+) (\d+)u", header("zel.h"))}
    rows = re.findall(r'X\((ZEL_\w+),\s*"([^"]*)"\)', header("zel_result.h"))
    assert {codes[name]: (name, text) for name, text in rows} == errors._RESULTS
    assert zel.result_name(7) == "unknown"
    default = re.findall(r'default:\s*return "([^"]*)"', header("zel_result.h"))
    assert [zel.result_name(7), zel.result_text(7)] == default


def test_states_and_fault_texts_of_an_upgrade_are_those_of_the_header():
    text = header("firmware.hpp")
    table = re.search(r"dfuStatusText\(.*?\{(.*?)\};", text, re.S)[1]
    assert tuple(re.findall(r'"([^"]*)"', table)) == firmware.STATUS_TEXTS
    states = re.search(r"enum class DfuState[^{]*\{(.*?)\};", text, re.S)[1]
    names = {re.sub("([A-Z])", r"_\1", name).upper(): int(code) for name, code in re.findall(r"(\w+) = (\d+),", states)}
    assert names == {state.name: state.value for state in firmware.State}


def test_every_code_that_fails_has_a_type():
    for code in errors._RESULTS:
        if code != 0:
            failure = errors.error(code, "zelX")
            assert type(failure) is not zel.ZelError
            assert failure.code == code


def test_the_api_version_is_the_headers():
    assert re.search(r'ZEL_API_VERSION "([^"]*)"', header("zel.h"))[1] == _native.API_VERSION


def test_property_names_are_those_of_the_library():
    text = (ROOT / "src/psp/property_ids.h").read_text(encoding="utf-8")
    ids = {int(key, 16): name for name, key in re.findall(r"\b([A-Z_]+) = (0x[0-9a-fA-F]{4})", text)}
    names = dict(page_data.PROPERTY_NAMES)
    assert names == {key: name for key, name in ids.items() if key in names}


def public_members(module):
    """Functions, classes, and what the classes define as functions and properties."""
    for name, thing in vars(module).items():
        if name.startswith("_") or getattr(thing, "__module__", None) != module.__name__:
            continue
        if inspect.isfunction(thing) or inspect.isclass(thing):
            yield name, thing
        if inspect.isclass(thing):
            for member, value in vars(thing).items():
                if not member.startswith("_") and (inspect.isfunction(value) or isinstance(value, property)):
                    yield f"{name}.{member}", value


def test_everything_public_is_described():
    modules = [importlib.import_module(f"zel.{one.name}") for one in pkgutil.iter_modules(zel.__path__)
               if not one.name.startswith("_")]
    assert {module.__name__ for module in modules} >= {"zel.discovery", "zel.pen", "zel.page_data", "zel.firmware", "zel.testing"}
    members = [(f"{module.__name__}.{name}", thing) for module in modules for name, thing in public_members(module)]
    assert len(members) > 100
    assert [name for name, thing in members if not (thing.__doc__ or "").strip()] == []
