# Compiler settings shared by every target of the project.
include_guard(GLOBAL)

find_program(KELP_CCACHE ccache)
if(KELP_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER ${KELP_CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${KELP_CCACHE})
endif()

set(KELP_SANITIZE "" CACHE STRING "Sanitizers for every target: address,undefined | thread | empty")
if(KELP_SANITIZE)
  add_compile_options(-fsanitize=${KELP_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${KELP_SANITIZE})
endif()

# Fuzz builds instrument the whole library for coverage, not only the
# targets, so that libFuzzer's guidance sees the parsers' branches.
if(KELP_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

function(kelp_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra
    $<$<BOOL:${KELP_WERROR}>:-Werror>)
  # GCC 12 reports a false -Wrestrict inside libstdc++ for "literal" + a
  # temporary std::string once optimising (GCC bug 105329); the same code
  # is clean under GCC 13 and Clang.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12
     AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-Wno-restrict>)
  endif()
endfunction()
option(KELP_WERROR "Treat warnings as errors" ON)

# Shared libraries refuse undefined symbols, except under the sanitizers,
# whose runtime only the executables link.
if(KELP_SANITIZE)
  set(KELP_NO_UNDEFINED "")
else()
  set(KELP_NO_UNDEFINED -Wl,--no-undefined)
endif()
