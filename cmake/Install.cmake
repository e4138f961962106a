# Installs the library, its headers, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)
set(vkcomm_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vkcomm)

install(TARGETS vkcomm vkcomm_static EXPORT vkcommTargets)
install(EXPORT vkcommTargets NAMESPACE vkcomm:: DESTINATION ${vkcomm_package_dir})

# A header that exports nothing and that no other header includes serves the library's own sources alone and stays at
# home, and so does what is only there for our command.
set(at_home platform/terminal.h)
foreach(header ${vkcomm_headers})
  file(STRINGS ${header} lines REGEX "^#include \"vkcomm/")
  list(APPEND included_by_headers ${lines})
endforeach()
foreach(header ${vkcomm_headers})
  file(STRINGS ${header} exports REGEX "VKCOMM_API" LIMIT_COUNT 1)
  if(header IN_LIST at_home
     OR NOT (exports OR header STREQUAL vkcomm.h OR "#include \"vkcomm/${header}\"" IN_LIST included_by_headers))
    continue()
  endif()
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vkcomm/${folder})
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/generated/vkcomm/export.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vkcomm)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vkcommConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vkcommConfig.cmake INSTALL_DESTINATION ${vkcomm_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vkcommConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vkcommConfig.cmake ${PROJECT_BINARY_DIR}/vkcommConfigVersion.cmake
  DESTINATION ${vkcomm_package_dir})

configure_file(${PROJECT_SOURCE_DIR}/cmake/vkcomm.pc.in ${PROJECT_BINARY_DIR}/vkcomm.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vkcomm.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
