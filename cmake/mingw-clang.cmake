# As mingw.cmake, with clang. It finds neither headers nor start files of the posix variant by itself,
# so the other compiler links.
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-libgcc-file-name OUTPUT_VARIABLE libgcc
                OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(gcc ${libgcc} DIRECTORY)

set(CMAKE_C_LINK_EXECUTABLE "${CMAKE_C_COMPILER} <CMAKE_C_LINK_FLAGS> <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
set(CMAKE_CXX_LINK_EXECUTABLE "${CMAKE_CXX_COMPILER} <CMAKE_CXX_LINK_FLAGS> <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
set(CMAKE_CXX_CREATE_SHARED_LIBRARY "${CMAKE_CXX_COMPILER} -shared <LINK_FLAGS> -o <TARGET> -Wl,--out-implib,<TARGET_IMPLIB> <OBJECTS> <LINK_LIBRARIES>")

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${MINGW_PREFIX})
set(CMAKE_CXX_COMPILER_TARGET ${MINGW_PREFIX})
set(CMAKE_CXX_FLAGS_INIT "-stdlib++-isystem ${gcc}/include/c++ -stdlib++-isystem ${gcc}/include/c++/${MINGW_PREFIX}")
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
