# One static library per box of the architecture; DEPS are the boxes it may include.
function(z_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/Include ${PROJECT_SOURCE_DIR}/Plugins)
  target_link_libraries(${name} PUBLIC ${ARG_DEPS} Threads::Threads)
endfunction()

# One GoogleTest program. THREADS marks the ones that the thread sanitizer runs, ALONE those beside which no other
# test may run.
function(z_test name)
  cmake_parse_arguments(ARG "THREADS;ALONE" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} z_test_support GTest::gtest_main)
  set(labels "unit")
  if(ARG_THREADS)
    list(APPEND labels "threads")
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
    PROPERTIES LABELS "${labels}" TIMEOUT 300 RUN_SERIAL ${ARG_ALONE})
endfunction()
