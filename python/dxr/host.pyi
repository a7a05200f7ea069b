import contextlib
import dataclasses
from types import TracebackType
from typing import Any, Callable, Literal

@dataclasses.dataclass(frozen=True)
class Report:
    kind: str
    service: str
    slot: str
    caller: str
    text: str

class LeftBehind(AssertionError): ...

class Host:
    strict: bool
    lines: list[tuple[int, str]]
    reports: list[Report]
    leftovers: int
    pointer: Any
    def __init__(self, clock: Literal["real", "stepped", "virtual"] = "virtual", seed: int = 1,
                 strict: bool = True, **options: Any) -> None: ...
    def register(self) -> int: ...
    def close(self) -> int: ...
    def __enter__(self) -> Host: ...
    def __exit__(self, kind: type[BaseException] | None, value: BaseException | None,
                 trace: TracebackType | None) -> None: ...
    def fake(self, slot: str, function: Callable[..., Any]
             ) -> contextlib.AbstractContextManager[list[tuple[Any, ...]]]: ...
    def advance(self, milliseconds: int) -> bool: ...
    def fail_nth(self, point: str, number: int, onwards: bool = False) -> None: ...
    def fail_share(self, point: str, share: float) -> None: ...

@dataclasses.dataclass(frozen=True)
class Explored:
    runs: int
    failed: bool
    seed: int
    text: str

def explore(body: Callable[[], Any], seeds: int, first: int = 1, **options: Any) -> Explored: ...
