# One object library per level. A kernel source is added to all of them with ravenfit_kernel_sources() and is compiled
# once for each, with RVN_LEVEL and the flags of its row in src/vector/levels.inc.

# The 32-bit systems that are built for are old ones.
set(levels "1;2;3;4;5;6;7;8;9;10")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  list(REMOVE_ITEM levels 10)
endif()
set(RAVENFIT_LEVELS "${levels}" CACHE STRING
  "Levels to build; one that is left out is served by the next lower one, or by the lowest of all")

set(table ${PROJECT_SOURCE_DIR}/src/vector/levels.inc)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${table})
file(STRINGS ${table} rows REGEX "^RVN_LEVEL_ROW")
set(RAVENFIT_LEVELS_KNOWN)
foreach(row IN LISTS rows)
  string(REGEX MATCH "^RVN_LEVEL_ROW\\(([0-9]+), \"([^\"]*)\", ([0-9]+), ([01]), ([01]), ([01]), ([0-9]), \"([^\"]*)\"\\)$"
         row "${row}")
  list(APPEND RAVENFIT_LEVELS_KNOWN ${CMAKE_MATCH_1})
  separate_arguments(RAVENFIT_LEVEL_${CMAKE_MATCH_1}_FLAGS UNIX_COMMAND "${CMAKE_MATCH_2}")
  set(RAVENFIT_LEVEL_${CMAKE_MATCH_1}_SOLVER ${CMAKE_MATCH_7})
endforeach()

set(lowest 99)
foreach(level IN LISTS RAVENFIT_LEVELS)
  if(NOT level IN_LIST RAVENFIT_LEVELS_KNOWN)
    message(FATAL_ERROR "RAVENFIT_LEVELS: there is no level ${level}; src/vector/levels.inc lists them")
  endif()
  if(level LESS lowest)
    set(lowest ${level})
  endif()
endforeach()
if(lowest GREATER 3)
  message(FATAL_ERROR "RAVENFIT_LEVELS needs one of the levels 1 to 3, which every processor runs")
endif()
list(SORT RAVENFIT_LEVELS COMPARE NATURAL)

# The rows that are built, for the level tables.
set(built "")
foreach(level IN LISTS RAVENFIT_LEVELS)
  string(APPEND built "RVN_BUILT_LEVEL(${level})\n")
endforeach()
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/generated/ravenfit_built_levels.inc CONTENT "${built}")

# Without contraction off, both compilers fuse on their own at level 9. -O3, since GCC 12 hardly vectorises at -O2. No
# kernel uses the whole vocabulary that it includes.
set(RAVENFIT_KERNEL_FLAGS
    -Wno-unused-function
    $<$<NOT:$<CONFIG:Debug>>:-O3>
    -fno-math-errno
    -fno-exceptions
    -fno-rtti)

set(RAVENFIT_LEVEL_OBJECTS)
foreach(level IN LISTS RAVENFIT_LEVELS)
  add_library(ravenfit_level_${level} OBJECT)
  target_compile_definitions(ravenfit_level_${level} PRIVATE RVN_LEVEL=${level})
  target_compile_options(ravenfit_level_${level} PRIVATE ${RAVENFIT_KERNEL_FLAGS} ${RAVENFIT_LEVEL_${level}_FLAGS})
  target_link_libraries(ravenfit_level_${level} PRIVATE ravenfit_build)
  list(APPEND RAVENFIT_LEVEL_OBJECTS $<TARGET_OBJECTS:ravenfit_level_${level}>)
endforeach()

function(ravenfit_kernel_sources)
  foreach(source IN LISTS ARGN)
    foreach(level IN LISTS RAVENFIT_LEVELS)
      target_sources(ravenfit_level_${level} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/${source})
    endforeach()
  endforeach()
endfunction()
