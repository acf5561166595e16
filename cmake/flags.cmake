# Flags of every target of this project, as the interface library scapi_flags.
add_library(scapi_flags INTERFACE)
target_compile_options(scapi_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${SCAPI_WERROR}>:-Werror>)

# A fused multiply-add rounds once where we round twice; x64 and ARM would differ.
target_compile_options(scapi_flags INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-ffp-contract=off>)

# The x87 rounds to 80 bits between steps; 32-bit x86 must use SSE2 like everyone else.
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR MATCHES "86")
  target_compile_options(scapi_flags INTERFACE -msse2 -mfpmath=sse)
endif()

if(SCAPI_SANITIZE)
  target_compile_options(scapi_flags INTERFACE
    -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  target_link_options(scapi_flags INTERFACE -fsanitize=address,undefined)
endif()

if(SCAPI_FUZZ)
  target_compile_options(scapi_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()

# What the headers do not mark for export stays inside.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
