# One object library per CPU level. A kernel source is added to all of them with raven_kernel_sources() and is
# compiled nine times, with RVN_LEVEL and the flags of this table.

set(RAVEN_LEVEL_1_FLAGS -msse2)
set(RAVEN_LEVEL_2_FLAGS -msse2)
set(RAVEN_LEVEL_3_FLAGS -msse2)
set(RAVEN_LEVEL_4_FLAGS -msse3)
set(RAVEN_LEVEL_5_FLAGS -mssse3)
set(RAVEN_LEVEL_6_FLAGS -msse4.1)
set(RAVEN_LEVEL_7_FLAGS -msse4.2)
set(RAVEN_LEVEL_8_FLAGS -mavx)
set(RAVEN_LEVEL_9_FLAGS -mavx2 -mfma -mbmi -mbmi2 -mlzcnt)

# Without contraction off, both compilers fuse on their own at level 9. -O3, since GCC 12 hardly vectorises at -O2.
set(RAVEN_KERNEL_FLAGS
    $<$<NOT:$<CONFIG:Debug>>:-O3>
    -fno-math-errno
    -fno-exceptions
    -fno-rtti)

set(RAVEN_LEVEL_OBJECTS)
foreach(level RANGE 1 9)
  add_library(raven_level_${level} OBJECT)
  target_compile_definitions(raven_level_${level} PRIVATE RVN_LEVEL=${level})
  target_compile_options(raven_level_${level} PRIVATE ${RAVEN_KERNEL_FLAGS} ${RAVEN_LEVEL_${level}_FLAGS})
  target_link_libraries(raven_level_${level} PRIVATE raven_build)
  list(APPEND RAVEN_LEVEL_OBJECTS $<TARGET_OBJECTS:raven_level_${level}>)
endforeach()

function(raven_kernel_sources)
  foreach(source IN LISTS ARGN)
    foreach(level RANGE 1 9)
      target_sources(raven_level_${level} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/${source})
    endforeach()
  endforeach()
endfunction()
