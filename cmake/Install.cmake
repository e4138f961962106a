# Installs the library, its headers, the CMake package and the pkg-config file. What a program needs to run is the
# component runtime, what a programmer needs besides is dev.
include(CMakePackageConfigHelpers)
set(vkcomm_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/vkcomm)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME dev)

install(TARGETS vkcomm vkcomm_static EXPORT vkcommTargets
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE COMPONENT dev)
install(EXPORT vkcommTargets NAMESPACE vkcomm:: DESTINATION ${vkcomm_package_dir})

# A header that exports nothing and that no other header includes serves the library's own sources alone and stays at
# home, and so does what is only there for our command or shared by such headers.
set(at_home platform/terminal.h control/line_tables.h)
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

file(RELATIVE_PATH vkcomm_pc_to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" vkcomm_pc_to_prefix ${vkcomm_pc_to_prefix})
set(vkcomm_pc_libs -pthread)
if(WIN32)
  string(APPEND vkcomm_pc_libs " -lws2_32 -lshell32")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/vkcomm.pc.in ${PROJECT_BINARY_DIR}/vkcomm.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vkcomm.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Windows has no package that brings the runtime of the compiler.
if(MINGW)
  foreach(library libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    get_filename_component(path ${path} REALPATH)
    install(FILES ${path} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  endforeach()
endif()
