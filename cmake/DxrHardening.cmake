# What makes a mistake in the shipped files harder to use: dxr_harden(TARGET ...). The test
# abi.hardening reads the built files.

include(CheckCXXCompilerFlag)
include(CheckCXXSourceCompiles)

# Sanitizers bring checks of their own, which these would hide.
set(DXR_HARDENED OFF)
if(DXR_HARDENING AND NOT DXR_SANITIZE)
    set(DXR_HARDENED ON)
endif()

add_library(dxr_hardening INTERFACE)

function(dxr_add_hardening_flag flag)
    string(MAKE_C_IDENTIFIER "DXR_HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
        target_compile_options(dxr_hardening INTERFACE ${flag})
    endif()
endfunction()

if(DXR_HARDENED)
    dxr_add_hardening_flag(-fstack-protector-strong)
    dxr_add_hardening_flag(-fstack-clash-protection)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|i[3-6]86)$")
        dxr_add_hardening_flag(-fcf-protection=full)
    elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
        dxr_add_hardening_flag(-mbranch-protection=standard)
    endif()

    # Needs optimisation, which a build without a type does not ask for. The third level counts
    # sizes that are known at run time only.
    check_cxx_source_compiles("int main() { char *p = nullptr;
        return static_cast<int>(__builtin_dynamic_object_size(p, 0) & 1); }"
        DXR_HAS_DYNAMIC_OBJECT_SIZE)
    set(level 2)
    if(DXR_HAS_DYNAMIC_OBJECT_SIZE)
        set(level 3)
    endif()
    set(optimised "$<NOT:$<OR:$<CONFIG:Debug>,$<STREQUAL:$<CONFIG>,>>>")
    target_compile_options(dxr_hardening INTERFACE
        $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=${level}>)
    # Tables of functions are read-only from the first instruction on, the stack holds no code, and
    # no page of code is ever written.
    target_link_options(dxr_hardening INTERFACE
        LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:-z,text)
endif()

# Programs, and static libraries for programs, become position-independent ones.
function(dxr_harden)
    foreach(target ${ARGN})
        target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:dxr_hardening>)
        get_target_property(type ${target} TYPE)
        if(DXR_HARDENED AND type STREQUAL "STATIC_LIBRARY")
            target_compile_options(${target} PRIVATE -fPIE)
        elseif(DXR_HARDENED AND type STREQUAL "EXECUTABLE")
            target_compile_options(${target} PRIVATE -fPIE)
            target_link_options(${target} PRIVATE -pie)
        endif()
    endforeach()
endfunction()
