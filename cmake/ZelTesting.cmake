# zel_add_test(NAME TARGET): a GoogleTest program, for CTest and for script/test, which reads
# the list that this leaves in the build tree: a name and a path on each line.
include(ZelGoogleTest)

function(zel_add_test NAME TARGET)
    add_test(NAME ${NAME} COMMAND ${TARGET})
    set_tests_properties(${NAME} PROPERTIES LABELS gtest)
    set_property(GLOBAL APPEND_STRING PROPERTY ZEL_TEST_LIST "${NAME} $<TARGET_FILE:${TARGET}>\n")
    set_property(GLOBAL APPEND PROPERTY ZEL_TEST_TARGETS ${TARGET})
endfunction()

# Once every test is known: the list, and a target that builds them and nothing else.
function(zel_finish_tests)
    get_property(LIST GLOBAL PROPERTY ZEL_TEST_LIST)
    get_property(TARGETS GLOBAL PROPERTY ZEL_TEST_TARGETS)
    file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/tests.txt CONTENT "${LIST}")
    add_custom_target(zel_tests DEPENDS ${TARGETS})
endfunction()
