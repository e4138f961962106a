# Warnings are errors in everything we write; users who build us as a subproject only get the library's own.
add_library(vkcomm_warnings INTERFACE)
target_compile_options(vkcomm_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wold-style-cast
  -Wnon-virtual-dtor -Woverloaded-virtual -Wundef -Wformat=2
  # GCC 12 sees overflows in std::vector that are not there; the address sanitizer looks for real ones
  $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op -Wduplicated-cond -Wno-stringop-overflow -Wno-stringop-overread -Wno-array-bounds>)
if(VKCOMM_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # instrumented standard headers (std::regex) look uninitialized to it
  target_compile_options(vkcomm_warnings INTERFACE -Wno-maybe-uninitialized)
endif()
