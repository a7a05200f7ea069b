"""The development host, recordings, and the fixtures of pytest."""

import gc
import re
import weakref

import dxr
import pytest

pytest_plugins = ["pytester"]


def test_the_clock_jumps(dxr_host):
    before = dxr.DXR_GetCurrMs()
    dxr.DXR_DelayTask(3600000)
    assert dxr.DXR_GetCurrMs() - before in range(3600000, 3600100)


def test_what_is_left_behind_fails():
    with pytest.raises(dxr.LeftBehind, match="64 bytes of module 1 from here.py:3"):
        with dxr.Host():
            dxr.DXR_Malloc(1, 64, "here.py", 3)
    host = dxr.Host(strict=False)
    with host:
        dxr.DXR_Malloc(1, 64, "here.py", 3)
    assert host.leftovers == 1
    assert host.close() == 1


def test_options_are_checked():
    with pytest.raises(TypeError, match="no option 'colour'"):
        dxr.Host(colour=3)
    with pytest.raises(ValueError, match="no clock 'lunar', only real, stepped, virtual"):
        dxr.Host(clock="lunar")


def test_a_host_that_has_ended_does_nothing_more():
    host = dxr.Host()
    with host:
        pass
    for late in (host.register, lambda: host.advance(1),
                 lambda: host.fail_nth("memory.allocate", 1),
                 lambda: host.fail_share("memory.allocate", 1.0)):
        with pytest.raises(ValueError, match="ended"):
            late()


def test_a_host_is_kept_as_long_as_it_lives():
    host = dxr.Host()
    seen = weakref.ref(host)
    with host:
        dxr.DxrHostGet()
    del host
    gc.collect()
    assert seen() is None

    host = dxr.Host()
    seen = weakref.ref(host)
    host.register()
    del host
    gc.collect()
    hooks = dxr.Hooks.registered()
    hooks["print.print"](1, dxr.ffi.new("char[]", b"still here"))
    assert seen().lines == [(1, "still here")]
    assert seen().close() == 0


def test_misuse_is_reported():
    host = dxr.Host()
    with host:
        block = dxr.DXR_Malloc(1, 64, "here.py", 3)
        dxr.DXR_Free(block, "here.py", 4)
        dxr.DXR_Free(block, "here.py", 5)
    assert [each.kind for each in host.reports] == ["misuse"]
    assert "here.py:4" in str(host.reports[0])


def test_a_fake_for_one_slot(dxr_host):
    with dxr_host.fake("DXR_Alarm", lambda *arguments: 9) as calls:
        assert dxr.DXR_Alarm(1, 2, 3, 4, None) == 9
    assert calls == [(1, 2, 3, 4, dxr.ffi.NULL)]
    assert dxr.DXR_Alarm(1, 2, 3, 4, None) != 9
    assert "no severity or state" in dxr_host.reports.pop().text  # which 3 and 4 are not


def test_a_point_that_is_not_there_is_refused(dxr_host):
    with pytest.raises(ValueError, match='there is no point "memory.alocate"'):
        dxr_host.fail_nth("memory.alocate", 1)
    with pytest.raises(ValueError, match='there is no point "file.opn"'):
        dxr_host.fail_share("file.opn", 0.5)


def test_injected_failures(dxr_host):
    dxr_host.fail_nth("memory.allocate", 2)
    first = dxr.DXR_Malloc(1, 8, "here.py", 1)
    assert dxr.DXR_Malloc(1, 8, "here.py", 2) == dxr.ffi.NULL
    dxr_host.fail_share("memory.allocate", 1.0)
    assert dxr.DXR_Malloc(1, 8, "here.py", 3) == dxr.ffi.NULL
    dxr_host.fail_share("memory.allocate", 0)
    dxr.DXR_Free(first, "here.py", 4)


def test_a_stepped_clock():
    with dxr.Host(clock="stepped") as host:
        before = dxr.DXR_GetCurrMs()
        host.advance(250)
        assert dxr.DXR_GetCurrMs() - before == 250


def test_seeds_are_explored():
    assert dxr.explore(lambda: None, 20) == dxr.Explored(20, False, 0, "")

    def fails():
        dxr.DXR_DelayTask(1)
        raise ValueError("broken")

    found = dxr.explore(fails, 20, first=5)
    assert (found.runs, found.failed, found.seed) == (1, True, 5)
    assert re.fullmatch(rf"{re.escape(__file__)}:\d+: ValueError: broken", found.text)

    def says_nothing():
        raise KeyError

    assert re.search(r":\d+: KeyError: raise KeyError$", dxr.explore(says_nothing, 1).text)


def test_seeds_are_explored_without_a_host(dxr_host):
    with pytest.raises(RuntimeError, match="registered"):
        dxr.explore(lambda: None, 3)
    dxr.DXR_Free(dxr.DXR_Malloc(1, 8, "here.py", 3), "here.py", 4)


def test_recordings_are_read(dxr_host, tmp_path):
    with dxr.trace.recording(tmp_path / "a.dxrtrace"):
        dxr.DXR_Free(dxr.DXR_Malloc(1, 64, "here.py", 3), "here.py", 4)
    calls = list(dxr.trace.read(tmp_path / "a.dxrtrace"))
    assert [each["function"] for each in calls] == ["DXR_Malloc", "DXR_Free"]
    assert calls[0]["args"]["size"] == 64
    assert calls[0]["in"] == {"file": "here.py"}
    with pytest.raises(OSError):
        list(dxr.trace.read(tmp_path / "none.dxrtrace"))


def test_calls_are_counted(dxr_host):
    with dxr.trace.counting() as counts:
        for _ in range(5):
            dxr.DXR_GetCurrMs()
        assert counts() == {"DXR_GetCurrMs": 5}


def test_the_fixture_fails_a_test_that_leaves_something(pytester):
    pytester.makepyfile("""
        import dxr
        def test_leaves(dxr_host):
            dxr.DXR_Malloc(1, 64, "here.py", 3)
        def test_well(dxr_host, dxr_seed):
            assert dxr_seed in (3, 4)
        def test_misuses(dxr_host):
            dxr.DXR_UnlockMutex(dxr.ffi.NULL)
        def test_wants_misuse(dxr_host):
            dxr.DXR_UnlockMutex(dxr.ffi.NULL)
            assert dxr_host.reports.pop().kind == "misuse"
    """)
    result = pytester.runpytest_subprocess("-p", "dxr.pytest_plugin", "--dxr-seed=3",
                                           "--dxr-seeds=2", "-p", "no:cacheprovider")
    result.assert_outcomes(passed=8, errors=4)
