# The instruction counts: their program, and the test that holds them. The counts are those of one
# compiler and of the release build as it comes, and only such a build can be held to them.
file(READ "${CMAKE_CURRENT_LIST_DIR}/instruction_counts.json" countsKept)
string(JSON countsCompiler GET "${countsKept}" compiler)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
    "${CMAKE_CURRENT_LIST_DIR}/instruction_counts.json")

add_executable(counts
    "${CMAKE_CURRENT_LIST_DIR}/counts.cpp"
    "${CMAKE_CURRENT_LIST_DIR}/letter.cpp")
zebbase_own_target(counts)
target_link_libraries(counts PRIVATE zebbase::zebbase zebbase::zbcommon)

string(REGEX MATCH "^[0-9]+" compilerMajor "${CMAKE_CXX_COMPILER_VERSION}")
set(compilerHere "${CMAKE_CXX_COMPILER_ID} ${compilerMajor} ${CMAKE_SYSTEM_PROCESSOR}")
find_package(Python3 COMPONENTS Interpreter)
find_program(VALGRIND valgrind)

set(whyNot "")
if(NOT compilerHere STREQUAL countsCompiler)
    set(whyNot "they are those of ${countsCompiler}, not of ${compilerHere}")
elseif(NOT CMAKE_BUILD_TYPE STREQUAL "Release" OR NOT CMAKE_CXX_FLAGS STREQUAL "" OR
       ZEBBASE_SANITIZE OR NOT ZEBBASE_LTO OR NOT ZEBBASE_HAS_LTO)
    set(whyNot "they are those of the release build as it comes")
elseif(NOT Python3_Interpreter_FOUND OR NOT VALGRIND)
    set(whyNot "that needs python3 and valgrind")
endif()

if(whyNot STREQUAL "")
    add_test(NAME instruction_counts
        COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/scripts/instruction_counts.py"
            --check $<TARGET_FILE:counts>)
    set_tests_properties(instruction_counts PROPERTIES LABELS slow TIMEOUT 300)
else()
    message(STATUS "No test of the instruction counts: ${whyNot}")
endif()
