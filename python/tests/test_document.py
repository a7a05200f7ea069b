"""What docs/python.md shows."""

import pathlib
import re

import pytest

PAGE = pathlib.Path(__file__).resolve().parents[2] / "docs/python.md"
EXAMPLES = re.findall(r"^```python\n(.*?)^```", PAGE.read_text(), re.DOTALL | re.MULTILINE)


@pytest.mark.parametrize("example", EXAMPLES, ids=range(len(EXAMPLES)))
def test_example(example, tmp_path, monkeypatch):
    assert len(EXAMPLES) >= 3
    monkeypatch.chdir(tmp_path)
    exec(compile(example, str(PAGE), "exec"), {})  # pylint: disable=exec-used
