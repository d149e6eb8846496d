# Installation and the Debian package: the shared library with its SONAME, the
# public header, pkg-config and CMake package files, the host, the tools, the
# manual page and the licence. Windows builds ship as a zip instead
# (scripts/package.sh windows).
if(WIN32)
  return()
endif()

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# The SONAME changes only when the eighteen exports or the callback table change.
set_target_properties(Varn504 PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
target_include_directories(Varn504 INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# The installed host looks for the library by its SONAME in the installation's
# library directory, named relative to the host's own directory.
if(TARGET varn)
  file(RELATIVE_PATH varn_bin_to_lib ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  target_compile_definitions(varn PRIVATE VARN_LIBRARY_FROM_BINDIR="${varn_bin_to_lib}/"
                                          VARN_LIBRARY_SONAME="$<TARGET_SONAME_FILE_NAME:Varn504>")
  install(TARGETS varn RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(TARGETS Varn504 EXPORT Varn504Targets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES ${CMAKE_SOURCE_DIR}/Native/varn504.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
foreach(tool_source ${VARN_TOOLS})
  get_filename_component(tool_name ${tool_source} NAME_WE)
  install(TARGETS varn-${tool_name} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endforeach()
install(FILES ${CMAKE_SOURCE_DIR}/doc/varn.6 DESTINATION ${CMAKE_INSTALL_MANDIR}/man6)
install(FILES ${CMAKE_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/varn RENAME copyright)

# pkg-config: written when installing, so that it names the prefix actually
# installed to (cmake --install --prefix, or /usr for the package).
foreach(dir LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE ${CMAKE_INSTALL_${dir}})
    set(varn_pc_${dir} ${CMAKE_INSTALL_${dir}})
  else()
    set(varn_pc_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
  endif()
endforeach()
install(CODE "
  set(PROJECT_VERSION [[${PROJECT_VERSION}]])
  set(varn_pc_LIBDIR [[${varn_pc_LIBDIR}]])
  set(varn_pc_INCLUDEDIR [[${varn_pc_INCLUDEDIR}]])
  configure_file([[${CMAKE_SOURCE_DIR}/cmake/varn504.pc.in]] [[${CMAKE_BINARY_DIR}/pkgconfig/varn504.pc]] @ONLY)")
install(FILES ${CMAKE_BINARY_DIR}/pkgconfig/varn504.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# CMake: find_package(Varn504) gives the imported target Varn504::Varn504.
set(varn_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Varn504)
install(EXPORT Varn504Targets NAMESPACE Varn504:: DESTINATION ${varn_cmake_dir})
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/Varn504Config.cmake.in
  ${CMAKE_BINARY_DIR}/Varn504Config.cmake INSTALL_DESTINATION ${varn_cmake_dir})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/Varn504ConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/Varn504Config.cmake ${CMAKE_BINARY_DIR}/Varn504ConfigVersion.cmake
  DESTINATION ${varn_cmake_dir})

# One Debian package, "varn", with everything above; configure with
# -DCMAKE_INSTALL_PREFIX=/usr so that the library lands in the multiarch
# directory (scripts/package.sh does).
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME varn)
set(CPACK_PACKAGE_VENDOR "The Varn authors")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "chess engine library with a UCI host")
set(CPACK_PACKAGE_DESCRIPTION
  "Varn is a chess engine built as a shared library, libVarn504, that a host\n\
program drives through eighteen C functions. The package holds the library,\n\
its C header with pkg-config and CMake files, the UCI host varn for chess\n\
interfaces, and the developer tools varn-perft, varn-eval and varn-bench.")
set(CPACK_PACKAGE_CONTACT "The Varn authors")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
include(CPack)
