# Finds a header-only package and answers its include folder. A cross build gets a copy in a folder of its own, because
# the folder that it lies in has the C library of the machine that builds.
function(z_find_headers result header folder)
  find_path(${result}_FOUND_IN ${header} REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  set(found ${${result}_FOUND_IN})
  if(CMAKE_CROSSCOMPILING)
    file(COPY ${found}/${folder} DESTINATION ${CMAKE_BINARY_DIR}/staged)
    set(found ${CMAKE_BINARY_DIR}/staged)
  endif()
  set(${result} ${found} PARENT_SCOPE)
endfunction()
