"""Fixtures for pytest, there wherever the package is installed.

    dxr_host       a registered development host with the virtual clock and a work folder of its
                   own; the test fails when something is left behind in it, and when a slot is
                   misused, unless the test takes that out of its `reports`
    dxr_seed       the seed of the host: --dxr-seed N (1), or each of --dxr-seeds N in turn
"""

import pytest

import dxr


def pytest_addoption(parser):
    group = parser.getgroup("dxr")
    group.addoption("--dxr-seed", type=int, default=1, help="the seed of the development host")
    group.addoption("--dxr-seeds", type=int, default=1,
                    help="runs each test that uses the host with so many seeds, from --dxr-seed on")


def pytest_generate_tests(metafunc):
    if "dxr_seed" in metafunc.fixturenames:
        first = metafunc.config.getoption("--dxr-seed")
        metafunc.parametrize("dxr_seed",
                             range(first, first + metafunc.config.getoption("--dxr-seeds")),
                             ids=lambda seed: f"seed{seed}")


@pytest.fixture
def dxr_host(dxr_seed, tmp_path):
    dxr.stray_errors.clear()
    with dxr.Host(seed=dxr_seed, workPath=tmp_path, logDirectory=f"{tmp_path}/") as host:
        yield host
    if misuse := [str(each) for each in host.reports if each.kind == "misuse"]:
        pytest.fail("\n".join(misuse))
    if dxr.stray_errors:
        pytest.fail("raised in a function that C called:\n" + dxr.stray_errors[0][1])
