# The README is the source of these tests (label "unit"):
# - readme_tour: every command of its tour of the kelp tool prints what the
#   README shows (tests/readme/readme_tour.sh);
# - readme_start_<name>: every "Getting started" example (the block after
#   "<!-- example: start-<name>.cpp -->") is built as a program of the build
#   tree and, run from the source tree (where samples/ is), prints the block
#   after "<!-- example: start-<name>.out -->".
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/README.md)
include(${CMAKE_CURRENT_LIST_DIR}/../package/readme_example.cmake)

find_program(KELP_BASH bash)
if(KELP_BASH)
  add_test(NAME readme_tour
    COMMAND ${KELP_BASH} ${CMAKE_CURRENT_SOURCE_DIR}/readme/readme_tour.sh
      ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/samples
      $<TARGET_FILE_DIR:kelp-tool> ${PROJECT_BINARY_DIR}/locale)
  set_tests_properties(readme_tour PROPERTIES LABELS unit)
endif()

file(READ ${PROJECT_SOURCE_DIR}/README.md kelp_readme_text)
string(REGEX MATCHALL "<!-- example: start-[a-z0-9_-]+\\.cpp -->" kelp_start_examples
  "${kelp_readme_text}")
set(kelp_start_dir ${CMAKE_CURRENT_BINARY_DIR}/readme)
foreach(marker IN LISTS kelp_start_examples)
  string(REGEX REPLACE "<!-- example: start-([a-z0-9_-]+)\\.cpp -->" "\\1" name "${marker}")
  kelp_readme_block(${PROJECT_SOURCE_DIR}/README.md start-${name}.cpp source)
  kelp_readme_block(${PROJECT_SOURCE_DIR}/README.md start-${name}.out expected)
  # Copied only when changed, so that an unchanged example is not rebuilt.
  foreach(kind cpp out)
    set(text "${source}")
    if(kind STREQUAL "out")
      set(text "${expected}")
    endif()
    file(WRITE ${kelp_start_dir}/${name}.${kind}.new "${text}")
    configure_file(${kelp_start_dir}/${name}.${kind}.new ${kelp_start_dir}/${name}.${kind} COPYONLY)
  endforeach()
  add_executable(readme_start_${name} ${kelp_start_dir}/${name}.cpp)
  target_link_libraries(readme_start_${name} PRIVATE kelp kelp-host)
  kelp_warnings(readme_start_${name})
  add_test(NAME readme_start_${name}
    COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:readme_start_${name}>
      -DEXPECTED=${kelp_start_dir}/${name}.out -DWORK_DIR=${kelp_start_dir}/${name}.run
      -DRUN_DIR=${PROJECT_SOURCE_DIR}
      -P ${CMAKE_CURRENT_SOURCE_DIR}/readme/run_example.cmake)
  set_tests_properties(readme_start_${name} PROPERTIES LABELS unit)
endforeach()
