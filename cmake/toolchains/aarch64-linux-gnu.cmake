# 64-bit ARM: Debian's cross compiler, and qemu-user for the tests.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(DXR_CROSS_PREFIX aarch64-linux-gnu)
set(DXR_CROSS_EMULATOR qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
