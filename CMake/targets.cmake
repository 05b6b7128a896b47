# One static library per box of the architecture; DEPS are the boxes it may include.
function(z_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/Include ${PROJECT_SOURCE_DIR}/Plugins)
  target_link_libraries(${name} PUBLIC ${ARG_DEPS} Threads::Threads)
endfunction()

# What the thread sanitizer runs: programs marked THREADS, and what they start.
add_custom_target(zck_thread_tests)

# One GoogleTest program. THREADS marks the ones that the thread sanitizer runs, ALONE those beside which no other
# test may run.
function(z_test name)
  cmake_parse_arguments(ARG "THREADS;ALONE" "" "SOURCES;DEPS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS} z_test_support GTest::gtest_main)
  set(label unit) # one label: test discovery takes a list apart
  if(ARG_THREADS)
    set(label threads)
    add_dependencies(zck_thread_tests ${name})
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
    PROPERTIES LABELS ${label} TIMEOUT 300 RUN_SERIAL ${ARG_ALONE})
endfunction()

# Runs a whole test program once more for each instruction set below the best, which the others ran with.
function(z_test_levels name)
  foreach(level none avx2)
    add_test(NAME ${name}.${level} COMMAND ${name})
    set_tests_properties(${name}.${level} PROPERTIES LABELS unit TIMEOUT 300 ENVIRONMENT ZCK_SIMD=${level})
  endforeach()
endfunction()

# Kernels that any processor can run, of sources that a target has.
function(z_kernel_sources)
  if(NOT MSVC)
    set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS $<$<CONFIG:Release>:-O3>) # as below
  endif()
endfunction()

# Kernels that need more than the base instruction set, AVX2 or AVX512. Only these files get the flags: code that they
# share with others could end up in programs that run on older processors. Elsewhere than on x86-64 they are left out.
function(z_simd_sources target level)
  if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    return()
  endif()
  if(MSVC)
    set(flags /arch:${level})
  elseif(level STREQUAL AVX2)
    set(flags -mavx2)
  else()
    set(flags -mavx512f -mavx512bw -mavx512dq -mavx512vl)
  endif()
  if(NOT MSVC)
    list(APPEND flags $<$<CONFIG:Release>:-O3>) # -O2 passes vectors through memory between small functions
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # Its own intrinsics start from registers of undefined content; clang-tidy reads these flags too, and knows one less.
    list(APPEND flags -Wno-unknown-warning-option -Wno-uninitialized -Wno-maybe-uninitialized)
    if(WIN32)
      # It takes stack variables for aligned to 32 and 64 bytes, but the stack of Win64 is aligned to 16.
      list(APPEND flags -Wa,-muse-unaligned-vector-move)
    endif()
  endif()
  target_sources(${target} PRIVATE ${ARGN})
  target_compile_definitions(${target} PUBLIC ZCK_X86)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "${flags}")
endfunction()
