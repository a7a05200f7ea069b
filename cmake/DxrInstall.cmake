# Installed packages: CMake (find_package(dxr_api), targets dxr::api, dxr::devhost, dxr::trace) and
# pkg-config (dxr_api, dxr_devhost, dxr_trace), both free to be moved to another prefix.

set(libraries dxr_api)
set(headers include/dxr_api.h include/dxr_module.h)
if(DXR_BUILD_DEVHOST)
    list(APPEND libraries dxr_devhost)
    list(APPEND headers include/dxr_devhost.h include/dxr_devhost_test.h)
    # The libraries of one prefix find each other wherever it lies.
    set_target_properties(dxr_devhost PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
if(DXR_BUILD_TRACE)
    list(APPEND libraries dxr_trace)
    list(APPEND headers include/dxr_trace.h)
    set_target_properties(dxr_trace PROPERTIES INSTALL_RPATH "$ORIGIN")
endif()
install(TARGETS ${libraries} EXPORT dxr_api_targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime
        NAMELINK_COMPONENT Development)
install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)
install(DIRECTORY include/dxr DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development
        FILES_MATCHING PATTERN "*.h")
if(DXR_BUILD_DEVHOST)
    install(DIRECTORY include/dxr_devhost DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
            COMPONENT Development FILES_MATCHING PATTERN "*.h")
endif()
set_target_properties(dxr_api PROPERTIES EXPORT_NAME api)
target_include_directories(dxr_api INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# The package needs no other one, so the list of targets is the whole configuration.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/dxr_api)
install(EXPORT dxr_api_targets NAMESPACE dxr:: DESTINATION ${package_dir} FILE dxr_api-config.cmake
        COMPONENT Development)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/dxr_api-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/dxr_api-config-version.cmake DESTINATION ${package_dir}
        COMPONENT Development)

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
    configure_file(cmake/${library}.pc.in ${library}.pc @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${library}.pc
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
            COMPONENT Development)
endforeach()
