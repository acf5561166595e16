# As mingw.cmake, with clang on the headers and libraries of gcc's posix variant, which it does not
# find by itself.
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name OUTPUT_VARIABLE libgcc
                OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(gcc ${libgcc} DIRECTORY)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${MINGW_PREFIX})
set(CMAKE_CXX_COMPILER_TARGET ${MINGW_PREFIX})
# Thread-local variables are those of that run time, which emulates them.
set(CMAKE_CXX_FLAGS_INIT "-femulated-tls -stdlib++-isystem ${gcc}/include/c++ -stdlib++-isystem ${gcc}/include/c++/${MINGW_PREFIX}")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-L${gcc}")
endforeach()
# That run time wants threads, which clang names before it.
link_libraries(-Wl,-u,__emutls_get_address,-u,clock_gettime gcc_eh pthread)
