# What a build for another machine takes from this one: header-only libraries, and GoogleTest as source
# (Debian: libcli11-dev, nlohmann-json3-dev, googletest).
set(cross_include ${PROJECT_BINARY_DIR}/cross_include)
file(MAKE_DIRECTORY ${cross_include})
foreach(library CLI nlohmann)
  if(EXISTS /usr/include/${library})
    file(CREATE_LINK /usr/include/${library} ${cross_include}/${library} SYMBOLIC)
  endif()
endforeach()
include_directories(SYSTEM ${cross_include})

add_library(CLI11::CLI11 INTERFACE IMPORTED)

if(VKCOMM_BUILD_TESTS)
  find_package(Threads REQUIRED)
  set(googletest /usr/src/googletest)
  add_library(cross_gmock STATIC ${googletest}/googletest/src/gtest-all.cc ${googletest}/googlemock/src/gmock-all.cc)
  target_include_directories(cross_gmock SYSTEM PUBLIC ${googletest}/googletest/include ${googletest}/googlemock/include
    PRIVATE ${googletest}/googletest ${googletest}/googlemock)
  target_link_libraries(cross_gmock PUBLIC Threads::Threads)
  add_library(cross_gtest_main STATIC ${googletest}/googlemock/src/gmock_main.cc)
  target_link_libraries(cross_gtest_main PUBLIC cross_gmock)
  add_library(GTest::gmock ALIAS cross_gmock)
  add_library(GTest::gtest_main ALIAS cross_gtest_main)
endif()
