# Installs the build in BUILD_DIR, builds the example against the package both ways, and runs it on INPUT.
# cmake -DBUILD_DIR=... -DSOURCE_DIR=... -DCOMMAND=vkcomm -P install_test.cmake
set(work ${BUILD_DIR}/install_test)
file(REMOVE_RECURSE ${work})
file(MAKE_DIRECTORY ${work})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${ARGN}\n${out}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${work}/prefix)
run(${CMAKE_COMMAND} -G ${GENERATOR} -S ${SOURCE_DIR}/examples -B ${work}/example -DCMAKE_PREFIX_PATH=${work}/prefix)
run(${CMAKE_COMMAND} --build ${work}/example)
run(${COMMAND} simulate nmea -o ${work}/input --seconds 5)

file(GLOB_RECURSE pkgconfig_file ${work}/prefix/vkcomm.pc)
get_filename_component(pkgconfig_dir ${pkgconfig_file} DIRECTORY)
execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${pkgconfig_dir} pkg-config --cflags --libs vkcomm
  RESULT_VARIABLE status OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "pkg-config does not find the package")
endif()
separate_arguments(flags)
get_filename_component(lib_dir ${pkgconfig_dir} DIRECTORY)
run(${CXX} -std=c++20 ${SOURCE_DIR}/examples/positions.cpp -o ${work}/example/positions_pkgconfig ${flags} -Wl,-rpath,${lib_dir})

# The headers that are installed need nothing that is not.
file(GLOB_RECURSE headers RELATIVE ${work}/prefix/include ${work}/prefix/include/*.h)
list(TRANSFORM headers PREPEND "#include <")
list(TRANSFORM headers APPEND ">\n")
string(CONCAT every_header ${headers})
file(WRITE ${work}/example/every_header.cpp ${every_header})
run(${CXX} -std=c++20 -fsyntax-only ${work}/example/every_header.cpp ${flags})

foreach(program positions positions_static positions_pkgconfig)
  execute_process(COMMAND ${work}/example/${program} INPUT_FILE ${work}/input OUTPUT_VARIABLE lines RESULT_VARIABLE status)
  string(REGEX MATCHALL "quality [0-9]" positions "${lines}")
  list(LENGTH positions count)
  if(NOT status EQUAL 0 OR NOT count EQUAL 5)
    message(FATAL_ERROR "${program} gave ${count} positions of 5, status ${status}:\n${lines}")
  endif()
endforeach()
