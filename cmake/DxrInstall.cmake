# Installed packages: CMake (find_package(dxr_api), with the components devhost, devhost_test, trace
# and static) and pkg-config (dxr_api, dxr_devhost, dxr_trace), both free to be moved to another
# prefix.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/dxr_api)

# dxr_install(LIBRARY HEADERS ...): a library, the headers whose names fit, and a list of targets of
# its own, so that each part can be a package of its own.
function(dxr_install library)
    # The libraries of one prefix find each other wherever it lies.
    set_target_properties(dxr_${library} PROPERTIES INSTALL_RPATH "$ORIGIN")
    install(TARGETS dxr_${library} EXPORT dxr_${library}_targets
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime
                    NAMELINK_COMPONENT Development
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
    install(EXPORT dxr_${library}_targets NAMESPACE dxr:: DESTINATION ${package_dir}
            FILE dxr_${library}-targets.cmake COMPONENT Development)
    if(ARGN)
        install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development
                FILES_MATCHING ${ARGN})
    endif()
endfunction()

set(libraries api)
dxr_install(api PATTERN "*.h" PATTERN "dxr_devhost*" EXCLUDE PATTERN "dxr_trace*" EXCLUDE)
set_target_properties(dxr_api PROPERTIES EXPORT_NAME api)
# Nothing that it needs lies beside it.
set_target_properties(dxr_api PROPERTIES INSTALL_RPATH "")
target_include_directories(dxr_api INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
set(pc_private "")
if(DXR_BUILD_STATIC)
    dxr_install(api_static)
    target_include_directories(dxr_api_static
        INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    set(pc_private "\nLibs.private: -lstdc++")
endif()
if(DXR_BUILD_DEVHOST)
    list(APPEND libraries devhost)
    dxr_install(devhost REGEX "/dxr_devhost[^/]*(/.*)?\\.h$" PATTERN "dxr" EXCLUDE)
endif()
if(DXR_BUILD_TRACE)
    list(APPEND libraries trace)
    dxr_install(trace PATTERN "dxr_trace*.h" PATTERN "dxr" EXCLUDE PATTERN "dxr_devhost" EXCLUDE)
endif()

set(has_kit FALSE)
if(DXR_BUILD_DEVHOST AND EXISTS ${PROJECT_SOURCE_DIR}/include/dxr_devhost_test.h)
    set(has_kit TRUE)
endif()
configure_file(cmake/dxr_api-config.cmake.in dxr_api-config.cmake @ONLY)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/dxr_api-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/dxr_api-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/dxr_api-config-version.cmake
        DESTINATION ${package_dir} COMPONENT Development)

# pkg-config finds the prefix from the place of the .pc file. A directory that was given as an
# absolute path stays where it is, and a .pc file in such a directory names the prefix.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    set(pc_prefix ${CMAKE_INSTALL_PREFIX})
else()
    file(RELATIVE_PATH prefix_from_pc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
    string(REGEX REPLACE "/$" "" prefix_from_pc ${prefix_from_pc})
    set(pc_prefix "\${pcfiledir}/${prefix_from_pc}")
endif()
foreach(dir LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE ${CMAKE_INSTALL_${dir}})
        set(pc_${dir} ${CMAKE_INSTALL_${dir}})
    else()
        set(pc_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
    endif()
endforeach()
foreach(library ${libraries})
    configure_file(cmake/dxr_${library}.pc.in dxr_${library}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/dxr_${library}.pc
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
            COMPONENT Development)
endforeach()
