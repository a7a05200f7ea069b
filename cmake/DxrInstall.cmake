# Installed packages: CMake (find_package(dxr_api)) and pkg-config, both free to be moved to another prefix.

install(TARGETS dxr_api EXPORT dxr_api_targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)
install(FILES include/dxr_api.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/dxr DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
set_target_properties(dxr_api PROPERTIES EXPORT_NAME api)
target_include_directories(dxr_api INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/dxr_api)
install(EXPORT dxr_api_targets NAMESPACE dxr:: DESTINATION ${package_dir} FILE dxr_api-config.cmake)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/dxr_api-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/dxr_api-config-version.cmake DESTINATION ${package_dir})

# The prefix is found from the place of the .pc file, so the tree can be copied anywhere.
file(RELATIVE_PATH prefix_from_pc
     /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/dxr_api.pc.in dxr_api.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/dxr_api.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
