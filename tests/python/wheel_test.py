"""Makes a wheel, installs it into a folder of its own, and uses it there with pytest's fixtures."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
TEST = '''
import dxr

def test_installed(dxr_host):
    assert {folder!r} in dxr.__file__
    dxr.DXR_DelayTask(5)
'''


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        shutil.copytree(ROOT / "python", folder / "source",
                        ignore=shutil.ignore_patterns("__pycache__", "tests"))
        pip = [sys.executable, "-m", "pip", "--quiet", "--disable-pip-version-check"]
        offline = ["--no-deps", "--no-index"]
        quiet = {**os.environ, "PIP_NO_CACHE_DIR": "1", "PIP_ROOT_USER_ACTION": "ignore"}
        subprocess.run([*pip, "wheel", *offline, "--no-build-isolation", "--wheel-dir", folder,
                        folder / "source"], check=True, env=quiet)
        wheel, = folder.glob("dxr-*.whl")
        subprocess.run([*pip, "install", *offline, "--target", folder / "site", wheel],
                       check=True, env=quiet)
        (folder / "test_installed.py").write_text(TEST.format(folder=str(folder / "site")))
        # The entry point of the installed package brings the fixtures, also where one asks for them
        # as in the source tree.
        for asked in ([], ["-p", "dxr.pytest_plugin"]):
            subprocess.run([sys.executable, "-m", "pytest", "-q", "-p", "no:cacheprovider", *asked,
                            folder / "test_installed.py"], check=True,
                           env={**os.environ, "PYTHONPATH": str(folder / "site")})


if __name__ == "__main__":
    sys.exit(main())
