"""What a type checker accepts of the package's types, and what it does not."""

import dxr


def well() -> None:
    with dxr.Host(clock="virtual", seed=3) as host:
        block = dxr.DXR_Malloc(1, 64, "here.py", 1)
        dxr.DXR_Free(block, b"here.py\0", 2)
        total: int = dxr.DXR_Max(dxr.DXR_HOST_CLOCK_REAL, 4)
        name: str | None = dxr.DxrTraceSlotName(total)
        host.lines.append((1, name or ""))
        dxr.DXR_RecordInfo("%d %s", 3, "text")


def wrong() -> None:
    dxr.DXR_Max("3", 4)  # type: ignore[arg-type]
    dxr.DXR_Max(3)  # type: ignore[call-arg]
    dxr.DXR_Maxx(3, 4)  # type: ignore[attr-defined]
    text: str = dxr.DXR_Max(3, 4)  # type: ignore[assignment]
    dxr.Host(seed="3")  # type: ignore[arg-type]
    print(text)
