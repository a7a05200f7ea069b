"""Functions, texts, memory, constants, and layouts beside the C compiler's."""

import array
import os
import pathlib
import re
import shutil
import subprocess
import sys

import dxr
import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def test_every_function_can_be_reached():
    stub = (ROOT / "python/dxr/_interface.pyi").read_text()
    assert list(dxr.FUNCTIONS) == re.findall(r"^def (\w+)", stub, re.MULTILINE)
    for name in dxr.FUNCTIONS:
        assert name in repr(getattr(dxr, name))


def test_an_unknown_name_is_no_attribute():
    with pytest.raises(AttributeError, match="DXR_Nothing"):
        dxr.DXR_Nothing  # pylint: disable=pointless-statement


def test_the_version_is_that_of_the_headers():
    parts = (getattr(dxr, f"DXR_API_VERSION_{part}") for part in ("MAJOR", "MINOR", "PATCH"))
    assert dxr.__version__ == ".".join(map(str, parts))


def test_numbers_and_their_limits():
    assert dxr.DXR_Max(3, 4) == 4
    assert dxr.DXR_Max64(2**63, 1) == 2**63
    with pytest.raises(OverflowError):
        dxr.DXR_Max(2**32, 0)
    with pytest.raises(TypeError, match="DXR_Max takes 2 arguments, not 3"):
        dxr.DXR_Max(1, 2, 3)


def test_memory_that_the_library_reads_and_writes():
    values = bytearray(b"".join(n.to_bytes(4, "little") for n in (3, 1, 2)))
    dxr.DXR_AscendSort(values, 3)
    assert [values[at] for at in (0, 4, 8)] == [1, 2, 3]
    fraction = dxr.ffi.new("uint32_t *")
    assert dxr.DXR_Div(7, 2, 1, fraction) == 3
    assert fraction[0] == 5


def test_what_cannot_change_does_not_change():
    values = bytes.fromhex("0300000001000000")
    dxr.DXR_AscendSort(values, 2)
    assert values == bytes.fromhex("0300000001000000")
    dxr.DXR_AscendSort(memoryview(values), 2)
    assert values == bytes.fromhex("0300000001000000")


def test_arrays_are_memory():
    values = array.array("I", (3, 1, 2))
    dxr.DXR_AscendSort(values, 3)
    assert list(values) == [1, 2, 3]
    dxr.DXR_DecendSort(memoryview(values), 3)
    assert list(values) == [3, 2, 1]
    with pytest.raises(TypeError):
        dxr.DXR_AscendSort(3, 3)


def test_empty_slots_give_their_fallbacks():
    with dxr.Hooks():
        assert dxr.DXR_Malloc(1, 8, "here.py", 1) == dxr.ffi.NULL
        assert dxr.DXR_Alarm(1, 2, 3, 4, None) == 1


def test_variables():
    assert dxr.variable("DXR_TBLM_CHIPID_NOTCARE") == 65535
    with pytest.raises(AttributeError):
        dxr.variable("g_nothing")


def test_all_libraries_share_the_one_that_was_named(tmp_path):
    folders = os.environ.get("DXR_LIBRARY_PATH", "").split(":")
    library = next((path for path in (pathlib.Path(folder) / "libdxr_api.so.1"
                                      for folder in folders) if path.exists()), None)
    if library is None:
        pytest.skip("the libraries are the system's")
    shutil.copy(library, tmp_path)
    script = ("import dxr\n"
              "with dxr.Host():\n"
              "    block = dxr.DXR_Malloc(1, 8, 'here.py', 1)\n"
              "    assert block != dxr.ffi.NULL\n"
              "    dxr.DXR_Free(block, 'here.py', 1)\n")
    subprocess.run([sys.executable, "-c", script], check=True, env={
        **os.environ, "DXR_LIBRARY_PATH": ":".join([str(tmp_path), *folders])})


def test_every_function_can_be_called():
    packed = set()
    for name in dxr.FUNCTIONS:
        kind = dxr.ffi.typeof(re.sub(rf"\b{name}\(", "(*)(", dxr.FUNCTIONS[name]))
        kinds = {each.kind for each in kind.args}
        assert kinds <= {"primitive", "pointer", "function"}, name
        if kind.result.kind == "struct" and dxr.ffi.alignof(kind.result) == 1:
            packed.add(name)
            assert {each.kind for each in kind.args} == {"pointer"}
    assert packed == {"DXR_InitSllIterator"}


def test_a_record_that_is_a_result():
    with dxr.Host():
        numbers = dxr.DXR_CreateSll()
        block = dxr.ffi.new("uint32_t[3]", (7, 8, 9))
        for place in range(3):
            dxr.DXR_AddSll(numbers, block + place, dxr.DXR_HOST_LIST_TAIL)
        iterator = dxr.ffi.addressof(dxr.DXR_InitSllIterator(numbers))
        assert (iterator.list, iterator.node, iterator.index) == (numbers, dxr.ffi.NULL, 0)
        found = []
        while iterator.hasNext(iterator):
            found.append(dxr.ffi.cast("uint32_t *", iterator.getNextData(iterator))[0])
        assert found == [7, 8, 9]
        dxr.DXR_DestroySll(numbers)
        held = dxr.DXR_Malloc(5, 100, "here.py", 1)
        assert dxr.DxrHostGetMemoryAccount(None, 5).bytesLive == 100
        dxr.DXR_Free(held, "here.py", 2)


def records():
    text = (ROOT / "python/dxr/declarations.txt").read_text()
    named = re.findall(r"^\} (\w+);|^struct (\w+)\n\{", text, re.MULTILINE)
    return sorted({one or f"struct {other}" for one, other in named})


def test_layouts_are_the_compilers(tmp_path):
    names, lines = [], []
    for name in records():
        kind = dxr.ffi.typeof(name)
        if kind.kind not in ("struct", "union") or kind.fields is None:
            continue
        names.append((f"sizeof({name})", dxr.ffi.sizeof(kind)))
        names += [(f"offsetof({name}, {field})", about.offset) for field, about in kind.fields]
    assert len(names) > 300
    lines = "".join(f'    printf("%zu\\n", {name});\n' for name, _ in names)
    source = tmp_path / "layouts.c"
    source.write_text("#include <stddef.h>\n#include <stdio.h>\n#include <dxr_api.h>\n"
                      "#include <dxr_devhost.h>\n#include <dxr_trace.h>\n"
                      f"int main(void) {{\n{lines}    return 0;\n}}\n")
    program = tmp_path / "layouts"
    subprocess.run(["cc", "-std=c11", f"-I{ROOT}/include", source, "-o", program], check=True)
    said = subprocess.run([program], capture_output=True, text=True, check=True).stdout.split()
    assert [(name, int(size)) for (name, _), size in zip(names, said)] == names


def test_constants_are_the_compilers(tmp_path):
    numbers = {name: value for name, value in dxr.CONSTANTS.items() if isinstance(value, int)}
    assert len(numbers) > 60
    lines = "".join(f'    printf("%lld\\n", (long long)({name}));\n' for name in numbers)
    source = tmp_path / "constants.c"
    source.write_text("#include <stdio.h>\n#include <dxr_api.h>\n#include <dxr_devhost.h>\n"
                      f"#include <dxr_trace.h>\nint main(void) {{\n{lines}    return 0;\n}}\n")
    program = tmp_path / "constants"
    subprocess.run(["cc", "-std=c11", f"-I{ROOT}/include", source, "-o", program], check=True)
    said = subprocess.run([program], capture_output=True, text=True, check=True).stdout.split()
    assert dict(zip(numbers, map(int, said))) == numbers
