# GoogleTest: installed where we build for this machine, from Debian's sources where we build for another one.
if(CMAKE_CROSSCOMPILING)
  set(ZCK_GTEST_SOURCE /usr/src/googletest CACHE PATH "Sources of GoogleTest")
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  add_subdirectory(${ZCK_GTEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  foreach(z_gtest gtest gtest_main)
    target_compile_options(${z_gtest} PRIVATE -w) # our warnings are not theirs
  endforeach()
else()
  find_package(GTest REQUIRED)
endif()
include(GoogleTest)
