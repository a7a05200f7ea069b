"""Python functions in slots."""

import threading

import dxr
import pytest


def test_a_slot_by_its_place_and_by_its_function():
    for slot in ("time.getCurrMs", "DXR_GetCurrMs"):
        hooks = dxr.Hooks()
        hooks[slot] = lambda *arguments: 42
        with hooks:
            assert dxr.DXR_GetCurrMs() == 42
        assert hooks[slot] != dxr.ffi.NULL
        del hooks[slot]
        assert hooks[slot] == dxr.ffi.NULL
    assert dxr.Hooks.place("Print.print") == ("print", "print")  # as in recordings
    with pytest.raises(KeyError, match="no slot 'memory.alocate'; did you mean 'memory.allocate'"):
        dxr.Hooks()["memory.alocate"] = None
    for none in ("", None, 5, "?"):
        with pytest.raises(KeyError, match="no slot"):
            dxr.Hooks()[none] = None


def test_what_cannot_be_called_is_refused():
    with pytest.raises(TypeError, match="5 is no function"):
        dxr.Hooks()["DXR_Alarm"] = 5


def test_what_was_registered_before_comes_back():
    outer, inner = dxr.Hooks(), dxr.Hooks()
    outer["DXR_Alarm"] = lambda *arguments: 7
    inner["DXR_Alarm"] = lambda *arguments: 8
    with outer:
        with inner:
            assert dxr.DXR_Alarm(0, 0, 0, 0, None) == 8
        assert dxr.DXR_Alarm(0, 0, 0, 0, None) == 7
    assert dxr.DXR_Alarm(0, 0, 0, 0, None) == 1


def test_arguments_arrive_as_python_values():
    hooks, seen = dxr.Hooks(), []
    block = dxr.ffi.new("char[]", 64)

    @hooks.fill("DXR_Malloc")
    def allocate(*arguments):
        seen.append(arguments)
        return block

    with hooks:
        assert dxr.DXR_Malloc(5, 64, "here.py", 9) == dxr.ffi.cast("void *", block)
    assert seen == [(5, 64, "here.py", 9)]


def test_what_a_hook_raises_reaches_the_caller():
    hooks = dxr.Hooks()
    hooks["DXR_Alarm"] = lambda *arguments: {}["nothing"]
    with hooks:
        with pytest.raises(KeyError):
            dxr.DXR_Alarm(0, 0, 0, 0, None)
        hooks["DXR_Alarm"] = lambda *arguments: 3
        hooks.register()
        assert dxr.DXR_Alarm(0, 0, 0, 0, None) == 3


def test_texts_with_variable_arguments():
    hooks, lines = dxr.Hooks(), []
    hooks["print.diagLogFilter"] = lambda line: lines.append(line)
    hooks["DXR_Malloc"] = lambda mid, size, file, line: allocate(size)
    hooks["DXR_Free"] = lambda block, file, line: None
    kept = []

    def allocate(size):
        kept.append(dxr.ffi.new("char[]", size))
        return kept[-1]

    site = dxr.ffi.new("DxrLogFilterCfg *", {"logType": 3})
    with hooks:
        dxr.DXR_InitLogFilter(1)
        for _ in range(5):
            dxr.DXR_SameLogFilter(site, "link %d %s %llx\n", -1, "down", 2**40)
        dxr.DXR_DestroyLogFilter()
    assert [line for line in lines if "link" in line] == ["link -1 down 10000000000\n"]


def test_threads_call_hooks_side_by_side():
    hooks, total = dxr.Hooks(), []
    hooks["DXR_Alarm"] = lambda first, *others: total.append(first) or 0

    def work(number):
        for _ in range(200):
            dxr.DXR_Alarm(number, 0, 0, 0, None)

    with hooks:
        threads = [threading.Thread(target=work, args=(n,)) for n in range(4)]
        for each in threads:
            each.start()
        for each in threads:
            each.join()
    assert sorted(total) == sorted([0, 1, 2, 3] * 200)


def test_a_text_that_a_hook_returns_stays():
    hooks, kept = dxr.Hooks(), []
    hooks["DXR_GetTriggerStr"] = lambda number: f"trigger {number}"
    hooks["DXR_LOGFILTER_GetFileName"] = lambda handle: bytearray(b"file\0")
    with hooks:
        texts = [dxr.ffi.cast("char *", dxr.Hooks.registered()["DXR_GetTriggerStr"](number))
                 for number in range(50)]
        kept = [bytes(100) for _ in range(1000)]
        assert [dxr.text(one) for one in texts] == [f"trigger {n}" for n in range(50)]
        assert dxr.DXR_GetTriggerStr(3) == "trigger 3"
        assert dxr.DXR_LOGFILTER_GetFileName(None) == "file"
    assert kept


def test_callables_are_told_apart_by_what_they_are():
    class Answer:
        def __init__(self, answer):
            self.answer = answer

        def __eq__(self, other):  # and therefore no hash
            return True

        def __call__(self, *_):
            return self.answer

        def method(self, *_):
            return self.answer + 10

    hooks = dxr.Hooks()
    for function, wanted in ((Answer(1), 1), (Answer(2), 2), (Answer(3).method, 13)):
        hooks["DXR_Alarm"] = function
        with hooks:
            assert dxr.DXR_Alarm(0, 0, 0, 0, None) == wanted


def test_a_hook_can_catch_what_the_call_within_it_raised():
    def fails(*_):
        raise ValueError("within")

    def catches(*_):
        with pytest.raises(ValueError, match="within"):
            dxr.DXR_FmAlarm(None)
        return 7

    hooks = dxr.Hooks()
    hooks["DXR_FmAlarm"] = fails
    hooks["DXR_Alarm"] = catches
    with hooks:
        assert dxr.DXR_Alarm(0, 0, 0, 0, None) == 7
        hooks["DXR_Alarm"] = lambda *_: dxr.DXR_FmAlarm(None)
        hooks.register()
        with pytest.raises(ValueError, match="within") as raised:
            dxr.DXR_Alarm(0, 0, 0, 0, None)
    # From the call down to the line that raised.
    assert [entry.name for entry in raised.traceback][-1] == "fails"
