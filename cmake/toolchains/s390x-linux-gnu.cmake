# IBM Z, whose bytes go the other way round: Debian's cross compiler, and qemu-user for the tests.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(DXR_CROSS_PREFIX s390x-linux-gnu)
set(DXR_CROSS_EMULATOR qemu-s390x)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
