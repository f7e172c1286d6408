# `cpack -G DEB` makes a Debian package of what is installed.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vrx-mid)
set(CPACK_PACKAGE_CONTACT "The vrx-mid team <vrx-mid@example.org>")
set(CPACK_PACKAGE_DESCRIPTION
    "vrx-mid takes a file of intermediate code of the C and C++ compiler for Ulm200 digital signal
controllers, runs its steps over every function and writes a file of the same kind. With it come
the tools around these files: an assembler, a disassembler, an interpreter and a C front end.")
set(CPACK_STRIP_FILES ON)
# It leaves out static libraries, whose debug information would tell where they were built.
install(
  CODE "if(CMAKE_INSTALL_DO_STRIP)
  file(GLOB archives \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/vrx-mid/*.a\")
  execute_process(COMMAND ${CMAKE_STRIP} --strip-debug \${archives} COMMAND_ERROR_IS_FATAL ANY)
endif()")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
