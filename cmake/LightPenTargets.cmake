# SPDX-License-Identifier: MIT
# What every target of the project has in common, and short forms to declare a floor, a program and a test.

set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

add_library(lightpen_options INTERFACE)
target_include_directories(lightpen_options INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(lightpen_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wformat=2 -Wnon-virtual-dtor
  -Woverloaded-virtual -Wold-style-cast -Wundef
  # The mapping is exact to the last bit: no fused multiply-add, no reassociation.
  -ffp-contract=off -fno-fast-math
  # g++ 12 sees overlaps in sums of strings at -O3 that are not there (its bug 105651).
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
if(LIGHTPEN_SANITIZE)
  target_compile_options(lightpen_options INTERFACE
    -fsanitize=${LIGHTPEN_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(lightpen_options INTERFACE -fsanitize=${LIGHTPEN_SANITIZE})
  # What the sanitizers add to the code makes g++ see values without one where there are none.
  target_compile_options(lightpen_options INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# Each header is also compiled on its own by the target all_verify_interface_header_sets.
set(CMAKE_VERIFY_INTERFACE_HEADER_SETS ON)

# lightpen_headers(TARGET ROOT headers...): the target's headers, which are included by their path below ROOT.
function(lightpen_headers TARGET ROOT)
  get_target_property(type ${TARGET} TYPE)
  set(scope PUBLIC)
  if(type STREQUAL INTERFACE_LIBRARY)
    set(scope INTERFACE)
  endif()
  target_sources(${TARGET} ${scope} FILE_SET HEADERS BASE_DIRS ${ROOT} FILES ${ARGN})
endfunction()

# lightpen_floor(NAME libraries...): the static library of src/NAME, from all of its files.
function(lightpen_floor NAME)
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  list(FILTER sources EXCLUDE REGEX "/main[A-Za-z]*\\.cpp$")
  add_library(lightpen_${NAME} STATIC ${sources} ${headers})
  lightpen_headers(lightpen_${NAME} ${CMAKE_SOURCE_DIR}/src ${headers})
  set_target_properties(lightpen_${NAME} PROPERTIES LINKER_LANGUAGE CXX)
  target_link_libraries(lightpen_${NAME} PUBLIC lightpen_options Threads::Threads ${ARGN})
endfunction()

# lightpen_resources(TARGET FOLDER): copies what programs in that folder of the build read at run time: their
# information dictionary beside them, the rest into the folder resources beside them.
function(lightpen_resources TARGET FOLDER)
  set(patterns *.bin *.plist *.strings */Localizable.strings *.svg *.htm help/* sounds/*.wav)
  list(TRANSFORM patterns PREPEND ${CMAKE_SOURCE_DIR}/resources/)
  file(GLOB resources LIST_DIRECTORIES false RELATIVE ${CMAKE_SOURCE_DIR}/resources CONFIGURE_DEPENDS ${patterns})
  set(copies)
  foreach(resource ${resources})
    set(original ${CMAKE_SOURCE_DIR}/resources/${resource})
    set(copy ${FOLDER}/resources/${resource})
    if(resource STREQUAL "Info.plist")
      set(copy ${FOLDER}/${resource})
    endif()
    add_custom_command(OUTPUT ${copy} COMMAND ${CMAKE_COMMAND} -E copy ${original} ${copy} DEPENDS ${original})
    list(APPEND copies ${copy})
  endforeach()
  target_sources(${TARGET} PRIVATE ${copies})
  set_target_properties(${TARGET} PROPERTIES LIGHTPEN_RESOURCES "${resources}")
endfunction()

# lightpen_application(PROGRAM): gives the program a folder of its own name, with its resources.
function(lightpen_application PROGRAM)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${PROGRAM})
  if(EXISTS ${folder} AND NOT IS_DIRECTORY ${folder})
    file(REMOVE ${folder}) # the program itself, from a build before it had a folder
  endif()
  set_target_properties(${PROGRAM} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${folder})
  lightpen_resources(${PROGRAM} ${folder})
endfunction()

# lightpen_tests(FOLDER libraries...): one program and one test for each tests/FOLDER/*Test.cpp, and the target
# tests_FOLDER that builds them.
function(lightpen_tests FOLDER)
  add_custom_target(tests_${FOLDER})
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${FOLDER}/*.h)
  add_library(tests_${FOLDER}_headers INTERFACE)
  target_link_libraries(tests_${FOLDER}_headers INTERFACE ${ARGN} GTest::gmock)
  lightpen_headers(tests_${FOLDER}_headers ${CMAKE_SOURCE_DIR}/tests ${headers})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${FOLDER}/*Test.cpp)
  foreach(source ${sources})
    get_filename_component(unit ${source} NAME_WE)
    set(program ${FOLDER}_${unit})
    add_executable(${program} ${source})
    target_link_libraries(${program} PRIVATE ${ARGN} GTest::gmock GTest::gtest_main)
    target_include_directories(${program} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    set_target_properties(${program} PROPERTIES
      RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/${FOLDER} OUTPUT_NAME ${unit})
    add_test(NAME ${FOLDER}/${unit} COMMAND ${program})
    set_tests_properties(${FOLDER}/${unit} PROPERTIES LABELS ${FOLDER} TIMEOUT 120)
    add_dependencies(tests_${FOLDER} ${program})
  endforeach()
endfunction()
