# What `cmake --install` puts where.
include(CMakePackageConfigHelpers)

# The libraries and their headers, for other programs: find_package(vrx-mid) gives vrx-mid::OPT5 and
# the others.
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/vrx-mid)
install(TARGETS vrx-options ${VRX_LIBRARIES} EXPORT vrx-mid
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}/vrx-mid)
install(DIRECTORY ${VRX_LIBRARIES} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vrx-mid
        FILES_MATCHING PATTERN "*.h" PATTERN "*.inc"
        PATTERN big_number.h EXCLUDE) # support's own
install(EXPORT vrx-mid NAMESPACE vrx-mid:: FILE vrx-mid-targets.cmake DESTINATION ${package_folder})
configure_package_config_file(cmake/vrx-mid-config.cmake.in vrx-mid-config.cmake
                              INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(vrx-mid-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vrx-mid-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/vrx-mid-config-version.cmake
        DESTINATION ${package_folder})

# The programs, their manual pages, the documents and examples.
install(TARGETS ${VRX_PROGRAMS} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
foreach(program IN LISTS VRX_PROGRAMS)
  install(FILES ${CMAKE_BINARY_DIR}/man/${program}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()
install(FILES README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(TARGET icode-cc)
  # icode-cc looks for them in ../include/ulm200.
  install(DIRECTORY tools/include/ DESTINATION include/ulm200)
endif()
