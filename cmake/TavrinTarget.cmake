# tavrin_target(NAME): the warnings, sanitizers and definitions that every target of this tree is built with.
function(tavrin_target name)
  if(MSVC)
    target_compile_options(${name} PRIVATE /W4 /permissive- /Zc:__cplusplus /utf-8 $<$<BOOL:${TAVRIN_WERROR}>:/WX>
      # Members and bases that are not exported: host, framework and module are built with one compiler.
      /wd4251 /wd4275)
  else()
    target_compile_options(${name} PRIVATE
      -Wall -Wextra -Wpedantic -Wshadow -Woverloaded-virtual
      # qCDebug(category) << ... is written as Qt means it to be, with no argument for the macro's dots.
      $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>
      $<$<BOOL:${TAVRIN_WERROR}>:-Werror>)
    if(TAVRIN_SANITIZE)
      target_compile_options(${name} PRIVATE -fsanitize=${TAVRIN_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
      target_link_options(${name} PRIVATE -fsanitize=${TAVRIN_SANITIZE})
    endif()
    if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # It takes the files that are compiled together for headers, in which a name of one file alone were a mistake.
      target_compile_options(${name} PRIVATE -Wno-subobject-linkage)
    endif()
    if(TAVRIN_FUZZ)
      target_compile_options(${name} PRIVATE -fsanitize=fuzzer-no-link)
    endif()
  endif()
  target_compile_definitions(${name} PRIVATE NOMINMAX WIN32_LEAN_AND_MEAN)
  target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
endfunction()

# tavrin_compile_one_by_one(NAME...): not several files at a time, for programs of which nothing is shared.
function(tavrin_compile_one_by_one)
  set_target_properties(${ARGN} PROPERTIES UNITY_BUILD OFF)
endfunction()

# tavrin_batch(NAME BATCH SOURCE...): where several files are compiled at a time, these are, and none but these: others
# give names of their own to things of their own.
function(tavrin_batch name batch)
  set_target_properties(${name} PROPERTIES UNITY_BUILD_MODE GROUP)
  set_source_files_properties(${ARGN} PROPERTIES UNITY_GROUP ${batch})
endfunction()

# tavrin_add_test(NAME SOURCES... [LIBRARIES...]): one GoogleTest program, run once as one ctest entry.
# Its own code is not optimised, which halves the time that a compiler spends on it.
function(tavrin_add_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBRARIES")
  add_executable(${name} ${arg_SOURCES})
  tavrin_target(${name})
  target_compile_options(${name} PRIVATE $<IF:$<BOOL:${MSVC}>,/Od,-O0>)
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gtest GTest::gmock)
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT})
  # Of a program that fails, ctest shows the tests that failed, not the hundreds that passed.
  set_tests_properties(${name} PROPERTIES ENVIRONMENT "GTEST_BRIEF=1")
endfunction()

# tavrin_divide_test(NAME COUNT): the tests of a program as COUNT entries of ctest, which run beside each other: for those
# that wait more than they compute. Comes after all else that is said of the test.
function(tavrin_divide_test name count)
  foreach(property IN ITEMS TIMEOUT COST ENVIRONMENT ENVIRONMENT_MODIFICATION)
    get_property(${property} TEST ${name} PROPERTY ${property})
  endforeach()
  math(EXPR last "${count} - 1")
  foreach(index RANGE ${last})
    set(part ${name})
    if(index GREATER 0)
      math(EXPR number "${index} + 1")
      set(part ${name}_${number})
      add_test(NAME ${part} COMMAND ${name})
    endif()
    set_tests_properties(${part} PROPERTIES TIMEOUT "${TIMEOUT}" COST "${COST}"
      ENVIRONMENT "${ENVIRONMENT};GTEST_TOTAL_SHARDS=${count};GTEST_SHARD_INDEX=${index}"
      ENVIRONMENT_MODIFICATION "${ENVIRONMENT_MODIFICATION}")
  endforeach()
endfunction()

# tavrin_run_with_local_ndi(TEST): the loader finds this tree's NDI runtime when the test runs.
function(tavrin_run_with_local_ndi test)
  if(NOT WIN32)
    set(search_path LD_LIBRARY_PATH)
  elseif(CMAKE_CROSSCOMPILING)
    set(search_path WINEPATH)
  else()
    set(search_path PATH)
  endif()
  set_property(TEST ${test} APPEND PROPERTY
    ENVIRONMENT_MODIFICATION "${search_path}=path_list_prepend:${TAVRIN_NDI_DIR}")
endfunction()

# tavrin_link_ndi(NAME): links the NDI runtime without saying where it is. The loader's search path decides whether the
# vendor's runtime or the local one of this tree answers, so the binary's own run path names this tree's libraries only.
function(tavrin_link_ndi name)
  target_link_libraries(${name} PRIVATE ndi_interface ndi_local)
  if(NOT WIN32)
    set_target_properties(${name} PROPERTIES
      BUILD_WITH_INSTALL_RPATH ON
      INSTALL_RPATH "$ORIGIN/../lib;$ORIGIN/../../../lib")
  endif()
endfunction()
