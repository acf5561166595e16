# Flags of every target of this project, as the interface library scapi_flags.
add_library(scapi_flags INTERFACE)
target_compile_options(scapi_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow
  $<$<BOOL:${SCAPI_WERROR}>:-Werror>)

# A fused multiply-add rounds once where we round twice; x64 and ARM would differ.
target_compile_options(scapi_flags INTERFACE
  $<$<CXX_COMPILER_ID:GNU,Clang,AppleClang>:-ffp-contract=off>)

if(MINGW)
  # Nothing of the compiler's has to lie beside the library; its own file names may be long.
  target_link_options(scapi_flags INTERFACE -static)
  # Windows 10, for what kernel32 has there; formats of C99, which msvcrt lacks; M_PI.
  target_compile_definitions(scapi_flags INTERFACE
    _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=1 _USE_MATH_DEFINES)
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
