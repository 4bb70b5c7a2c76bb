# Warnings, sanitizers and language level that every target of this tree shares.
add_library(uxvisa_options INTERFACE)
target_compile_features(uxvisa_options INTERFACE cxx_std_20)
target_compile_options(uxvisa_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -fno-omit-frame-pointer)
if(UXVISA_WARNINGS_AS_ERRORS)
  target_compile_options(uxvisa_options INTERFACE -Werror)
endif()

if(UXVISA_SANITIZE)
  target_compile_options(uxvisa_options INTERFACE
    -fsanitize=${UXVISA_SANITIZE} -fno-sanitize-recover=all)
  target_link_options(uxvisa_options INTERFACE -fsanitize=${UXVISA_SANITIZE})
endif()

# A gtest program with its label(s), a time limit and the warnings of the tree.
#   uxvisa_add_test(NAME SOURCES a.cpp... LIBRARIES x y... LABEL unit [TIMEOUT 60] [SERIAL])
# Every gtest case becomes one ctest test, so that cases run in parallel and fail by name.
include(GoogleTest)
function(uxvisa_add_test name)
  cmake_parse_arguments(ARG "SERIAL" "LABEL;TIMEOUT" "SOURCES;LIBRARIES;DEFINITIONS" ${ARGN})
  if(NOT ARG_TIMEOUT)
    set(ARG_TIMEOUT 60)
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} uxvisa_options GTest::gmock_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
  target_compile_definitions(${name} PRIVATE ${ARG_DEFINITIONS})
  set(properties LABELS "${ARG_LABEL}" TIMEOUT ${ARG_TIMEOUT})
  if(ARG_SERIAL)
    list(APPEND properties RUN_SERIAL TRUE)
  endif()
  gtest_discover_tests(${name} TEST_PREFIX "${name}/" DISCOVERY_TIMEOUT 60 PROPERTIES ${properties})
endfunction()
