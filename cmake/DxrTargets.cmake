# What every target of the project is compiled with.

if(DXR_BUILD_DEVHOST OR DXR_BUILD_TRACE OR DXR_BUILD_TOOLS OR DXR_BUILD_TESTS OR DXR_BUILD_BENCH)
    find_package(Threads REQUIRED)
endif()

add_library(dxr_build_options INTERFACE)
if(PROJECT_IS_TOP_LEVEL)
    target_compile_options(dxr_build_options INTERFACE
        -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wundef
        $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
        # GCC 12 takes "text" + std::string for overlapping copies (its bug 105329).
        $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
        $<$<BOOL:${DXR_WERROR}>:-Werror>)
else()
    # How another project looks at its own sources is not meant for these.
    set(CMAKE_COMPILE_WARNING_AS_ERROR OFF)
    set(CMAKE_CXX_CLANG_TIDY "")
    set(CMAKE_CXX_CPPCHECK "")
    set(CMAKE_CXX_CPPLINT "")
    set(CMAKE_CXX_INCLUDE_WHAT_YOU_USE "")
    # The same that was said by flags, and what of C++ they leave out.
    target_compile_options(dxr_build_options INTERFACE
        -w $<$<COMPILE_LANGUAGE:CXX>:-fexceptions -frtti>)
endif()
# Sources that were not written to be one.
set(CMAKE_UNITY_BUILD OFF)
target_compile_options(dxr_build_options INTERFACE
    # Source paths in the program (the file argument of allocations) count from the repository root.
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

# Indices of arrays and vectors are checked where nobody counts the time.
target_compile_definitions(dxr_build_options INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)

if(DXR_SANITIZE)
    target_compile_options(dxr_build_options INTERFACE
        -fsanitize=${DXR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(dxr_build_options INTERFACE -fsanitize=${DXR_SANITIZE})
endif()

# Instrumented code refers to what only the program brings, and runs some of its own at load.
get_directory_property(given COMPILE_OPTIONS)
string(TOUPPER "CMAKE_CXX_FLAGS_${CMAKE_BUILD_TYPE}" of_type)
set(DXR_INSTRUMENTED OFF)
if(DXR_SANITIZE OR DXR_COVERAGE OR
   "${CMAKE_CXX_FLAGS};${${of_type}};${given}" MATCHES "-fsanitize|-fprofile|--coverage|-ftest-cov")
    set(DXR_INSTRUMENTED ON)
endif()

# The counters are atomic: tests call the library from several threads. A function is counted once,
# not in each place where it would stand in line.
if(DXR_COVERAGE AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(dxr_build_options INTERFACE --coverage -fprofile-update=atomic
                                                      -Dalways_inline=noinline)
    target_link_options(dxr_build_options INTERFACE --coverage)
elseif(DXR_COVERAGE)
    target_compile_options(dxr_build_options INTERFACE
        -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc -fprofile-update=atomic)
    target_link_options(dxr_build_options INTERFACE -fprofile-instr-generate)
endif()

# Files of the build find each other from where they lie, and name no directory of the machine.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
