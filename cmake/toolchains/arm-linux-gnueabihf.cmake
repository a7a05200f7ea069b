# 32-bit ARM: Debian's cross compiler, and qemu-user for the tests.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(DXR_CROSS_PREFIX arm-linux-gnueabihf)
set(DXR_CROSS_EMULATOR qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
