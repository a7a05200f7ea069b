# What can be chosen at configuration time. A part whose packages are missing is left out, and a
# line says so. Within another project there is the shared library alone, unless that asks for more;
# of its own choices (BUILD_SHARED_LIBS, BUILD_TESTING, warnings) none means ours.

option(DXR_BUILD_TESTS "Build the tests (needs GoogleTest)" ${PROJECT_IS_TOP_LEVEL})
option(DXR_BUILD_DEVHOST
       "Build the development host (needs JSON for Modern C++, SQLite and zlib)"
       ${PROJECT_IS_TOP_LEVEL})
option(DXR_BUILD_TRACE "Build the tracing of hook calls" ${PROJECT_IS_TOP_LEVEL})
option(DXR_BUILD_TOOLS
       "Build dxrsh, with the development host and tracing (needs CLI11, fmt, JSON for Modern C++)"
       ${PROJECT_IS_TOP_LEVEL})
option(DXR_BUILD_STATIC "Build the static library too (target dxr::api_static)" OFF)
option(DXR_INSTALL "Install with the project" ${PROJECT_IS_TOP_LEVEL})
option(DXR_BUILD_BENCH "Build the benchmarks (needs CLI11, spdlog and Boost)" OFF)
option(DXR_FAST_PATHS "Use the fast paths; OFF builds the plain code that they must equal" ON)
option(DXR_HARDENING
       "Guard stack, calls and relocations of the shipped files (not together with sanitizers)" ON)
option(DXR_COVERAGE "Count which lines and branches run (GCC), or conditions (Clang 19)" OFF)
option(DXR_FUZZ "Build the tests' targets for libFuzzer (Clang)" OFF)
option(DXR_PRECOMPILE "Compile the headers of GoogleTest once for all tests" OFF)
option(DXR_WERROR "Treat warnings as errors" OFF)
set(DXR_SANITIZE "" CACHE STRING "Sanitizers for all targets, e.g. address,undefined or thread")

# A compiler cache cannot keep what includes compiled headers.
if(CMAKE_CXX_COMPILER_LAUNCHER MATCHES "ccache")
    set(DXR_PRECOMPILE OFF)
endif()

if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()

if(PROJECT_IS_TOP_LEVEL)
    set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
endif()

if(DXR_BUILD_TESTS)
    find_package(GTest QUIET)
    if(NOT GTest_FOUND)
        message(STATUS "Tests are left out: GoogleTest (libgtest-dev, libgmock-dev) was not found")
        set(DXR_BUILD_TESTS OFF)
    endif()
endif()

if(DXR_BUILD_DEVHOST OR DXR_BUILD_TOOLS)
    foreach(package nlohmann_json:nlohmann-json3-dev SQLite3:libsqlite3-dev ZLIB:zlib1g-dev)
        string(REPLACE ":" ";" package ${package})
        list(POP_FRONT package name)
        find_package(${name} QUIET)
        if(NOT ${name}_FOUND)
            message(STATUS "The development host and dxrsh are left out: "
                           "${name} (${package}) was not found")
            set(DXR_BUILD_DEVHOST OFF)
            set(DXR_BUILD_TOOLS OFF)
        endif()
    endforeach()
endif()

if(DXR_BUILD_TOOLS)
    foreach(package CLI11:libcli11-dev fmt:libfmt-dev)
        string(REPLACE ":" ";" package ${package})
        list(POP_FRONT package name)
        find_package(${name} QUIET)
        if(NOT ${name}_FOUND)
            message(STATUS "dxrsh is left out: ${name} (${package}) was not found")
            set(DXR_BUILD_TOOLS OFF)
        endif()
    endforeach()
endif()

if(DXR_BUILD_TOOLS)
    set(DXR_BUILD_DEVHOST ON)
    set(DXR_BUILD_TRACE ON)
endif()

if(DXR_BUILD_BENCH)
    find_package(CLI11 QUIET)
    find_package(spdlog QUIET)
    find_package(Boost QUIET)
    if(NOT CLI11_FOUND OR NOT spdlog_FOUND OR NOT Boost_FOUND)
        message(STATUS
                "Benchmarks are left out: CLI11, spdlog and Boost (libcli11-dev, libspdlog-dev, "
                "libboost-dev) were not all found")
        set(DXR_BUILD_BENCH OFF)
    endif()
endif()
