# Flags of every unit of the project: ravenfit_flags for users of the public headers, whose language is their own;
# ravenfit_build for fronts, kernels, tests and tools.

add_library(ravenfit_flags INTERFACE)
add_library(ravenfit_build INTERFACE)
target_link_libraries(ravenfit_build INTERFACE ravenfit_flags)
target_compile_features(ravenfit_build INTERFACE cxx_std_20)
target_include_directories(ravenfit_build INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
target_compile_options(ravenfit_flags INTERFACE -Wall -Wextra -Wconversion -Wshadow -ffp-contract=off)
if(RAVENFIT_WERROR)
  target_compile_options(ravenfit_flags INTERFACE -Werror)
endif()
# Callers of 32-bit code may align the stack to 4 bytes alone.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_options(ravenfit_flags INTERFACE -msse2 -mfpmath=sse -mstackrealign)
endif()

set(RAVENFIT_SANITIZE "" CACHE STRING "Sanitizers for every target, as -fsanitize= takes them")
if(RAVENFIT_SANITIZE)
  target_compile_options(ravenfit_flags INTERFACE -fsanitize=${RAVENFIT_SANITIZE} -fno-sanitize-recover=all
                                               -fno-omit-frame-pointer)
  target_link_options(ravenfit_flags INTERFACE -fsanitize=${RAVENFIT_SANITIZE})
endif()

# ravenfit_harden(TARGET): guards on stack and buffers, for code outside of the kernels; the second need optimisation.
function(ravenfit_harden target)
  if(NOT WIN32 AND NOT RAVENFIT_SANITIZE)
    target_compile_options(${target} PRIVATE
      "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-fstack-protector-strong;-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  endif()
endfunction()
