# cmake --install: the system's library (Zephprof::zephprof), the reference Linux host
# (Zephprof::linuxhost) with the Hestrel client it installs as the agent library, their
# public headers below include/zephprof, the zephprof and hestrel programs, and the CMake
# package, so that another program uses the profile service with
#   find_package(Zephprof CONFIG REQUIRED)
#   target_link_libraries(app Zephprof::zephprof Zephprof::linuxhost)
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set_target_properties(zephcore PROPERTIES EXPORT_NAME zephprof)
set_target_properties(zephhost PROPERTIES EXPORT_NAME linuxhost)
install(TARGETS zephcore zephhost hestrel_client EXPORT ZephprofTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS zephprof hestrel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
if(TARGET zephprof-gui)  # installed when it has been built (a build of the command line alone skips it)
  install(TARGETS zephprof-gui RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} OPTIONAL)
endif()

set(ZEPH_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/zephprof)
foreach(folder host core persistence remote deploy ui)
  install(DIRECTORY src/${folder} DESTINATION ${ZEPH_HEADER_DIR} FILES_MATCHING PATTERN "*.h")
endforeach()
install(DIRECTORY hosts/linux DESTINATION ${ZEPH_HEADER_DIR}/hosts FILES_MATCHING PATTERN "*.h")
install(DIRECTORY hestrel/client hestrel/common DESTINATION ${ZEPH_HEADER_DIR} FILES_MATCHING PATTERN "*.h")

set(ZEPH_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Zephprof)
install(EXPORT ZephprofTargets NAMESPACE Zephprof:: DESTINATION ${ZEPH_PACKAGE_DIR})
configure_package_config_file(cmake/ZephprofConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/ZephprofConfig.cmake
                              INSTALL_DESTINATION ${ZEPH_PACKAGE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ZephprofConfigVersion.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZephprofConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/ZephprofConfigVersion.cmake
        DESTINATION ${ZEPH_PACKAGE_DIR})
