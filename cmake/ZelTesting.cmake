# Everything that is tested is known to CTest: "ctest --preset native -R NAME" runs what is called so.
#
#   zel_add_test(NAME TARGET [PORT] [SECONDS n])
#       a GoogleTest program. Natively each of its suites is a test, NAME.Suite; under the emulator, where
#       a process takes a second to start, the whole program is one, NAME.
#   zel_add_check(NAME [PORT] [WINE] [SECONDS n] [LABELS label...] COMMAND command...)
#       any other command, run in the root of the tree; WINE where it starts Windows programs. It may count
#       its cases: by lines "ok - ..." and "not ok - ...", or as pytest and NUnit do.
#
# PORT: the test needs the rendezvous port, of which the library knows but one. Every test gets a network of
# its own where the system lets it have one (tests/run); elsewhere those with PORT take turns.
include(ZelGoogleTest)

set(ZEL_TEST_RUN ${PROJECT_SOURCE_DIR}/tests/run)
set(ZEL_TEST_RESULTS ${PROJECT_BINARY_DIR}/Testing/results)
file(MAKE_DIRECTORY ${ZEL_TEST_RESULTS})

execute_process(COMMAND ${ZEL_TEST_RUN} --own-network OUTPUT_QUIET ERROR_QUIET RESULT_VARIABLE ZEL_NO_OWN_NETWORK)
if(WIN32)
    find_program(ZEL_WINE NAMES wine wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
endif()

function(zel_add_check NAME)
    cmake_parse_arguments(PARSE_ARGV 1 CHECK "PORT;WINE" "SECONDS" "LABELS;COMMAND")
    if(NOT CHECK_SECONDS)
        set(CHECK_SECONDS 300)
    endif()
    set(WINE)
    if(CHECK_WINE AND WIN32)
        set(WINE --wine ${PROJECT_BINARY_DIR})
    endif()
    add_test(NAME ${NAME} COMMAND ${ZEL_TEST_RUN} ${WINE} ${CHECK_SECONDS} ${CHECK_COMMAND}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
    math(EXPR TIMEOUT "${CHECK_SECONDS} + 90") # tests/run ends it first, after a look at its stacks
    set_tests_properties(${NAME} PROPERTIES TIMEOUT ${TIMEOUT} LABELS "${CHECK_LABELS}")
    if(CHECK_PORT AND ZEL_NO_OWN_NETWORK)
        set_tests_properties(${NAME} PROPERTIES RESOURCE_LOCK rendezvous_port)
    endif()
endfunction()

function(zel_add_test NAME TARGET)
    cmake_parse_arguments(PARSE_ARGV 2 TEST "PORT" "SECONDS" "")
    if(NOT TEST_SECONDS)
        set(TEST_SECONDS 300)
    endif()
    if(ZEL_SANITIZE OR WIN32)
        math(EXPR TEST_SECONDS "${TEST_SECONDS} * 4")
    endif()
    set_property(GLOBAL APPEND PROPERTY ZEL_TEST_TARGETS ${TARGET})
    set(PORT "")
    if(TEST_PORT)
        set(PORT PORT)
    endif()
    if(WIN32)
        zel_add_check(${NAME} ${PORT} WINE SECONDS ${TEST_SECONDS} LABELS gtest
            COMMAND ${ZEL_WINE} $<TARGET_FILE:${TARGET}>)
        set_tests_properties(${NAME} PROPERTIES ENVIRONMENT "GTEST_OUTPUT=xml:build/windows/Testing/results/${NAME}.xml")
        return()
    endif()
    set(LOCK "")
    if(TEST_PORT AND ZEL_NO_OWN_NETWORK)
        set(LOCK rendezvous_port)
    endif()
    # The suites are asked for when CTest starts, once after each build.
    set(LIST ${CMAKE_CURRENT_BINARY_DIR}/${NAME}_suites)
    file(GENERATE OUTPUT ${LIST}.cmake CONTENT
"set(NAME ${NAME})
set(PROGRAM [==[$<TARGET_FILE:${TARGET}>]==])
set(RUN [==[${ZEL_TEST_RUN}]==])
set(RESULTS [==[${ZEL_TEST_RESULTS}]==])
set(DIRECTORY [==[${PROJECT_SOURCE_DIR}]==])
set(SECONDS ${TEST_SECONDS})
set(LOCK \"${LOCK}\")
include([==[${PROJECT_SOURCE_DIR}/cmake/ZelSuites.cmake]==])
")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${LIST}.cmake)
endfunction()

# Once every test is known: a target that builds them and nothing else.
function(zel_finish_tests)
    get_property(TARGETS GLOBAL PROPERTY ZEL_TEST_TARGETS)
    add_custom_target(zel_tests DEPENDS ${TARGETS})
endfunction()
