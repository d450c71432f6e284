# The tests that are scripts and not GoogleTest programs, of the builds "native" and "windows".
set(PRESET native)
if(WIN32)
    set(PRESET windows)
    set(WINE ${ZEL_WINE})
endif()
if(NOT PROJECT_BINARY_DIR STREQUAL ${PROJECT_SOURCE_DIR}/build/${PRESET})
    return() # they look for what they test in the folders of the presets
endif()

zel_add_check(package PORT WINE LABELS slow COMMAND tests/install/package.sh ${PRESET} ${WINE})
if(TARGET zel_soak)
    zel_add_check(soak PORT WINE LABELS slow COMMAND ${WINE} $<TARGET_FILE:zel_soak> --minutes 0.1)
endif()

if(NOT WIN32)
    zel_add_check(abi PORT COMMAND tests/abi/check.sh native)
    zel_add_check(completion COMMAND tests/packages/completion.sh ${PROJECT_BINARY_DIR}/bin)
    zel_add_check(in_tree LABELS slow SECONDS 900 COMMAND tests/install/in_tree.sh)
    zel_add_check(package_refusals LABELS slow COMMAND tests/packages/refusals.sh)
endif()

set(PYTEST env PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -m pytest -q -p no:cacheprovider)

if(WIN32)
    # A few cases at a time: each start under Wine takes a second.
    foreach(LETTERS a-e f-l m-r s-z)
        zel_add_check(cli.${LETTERS} PORT WINE LABELS slow COMMAND tests/cli/run build/windows/bin ${WINE})
        set_tests_properties(cli.${LETTERS} PROPERTIES ENVIRONMENT "ZEL_CLI_CASE=[${LETTERS}]*")
    endforeach()
    zel_add_check(desk PORT WINE LABELS slow SECONDS 900 COMMAND ${PYTEST} -c tests/desk/pytest.ini tests/desk/test_http.py)
    set_tests_properties(desk PROPERTIES
        ENVIRONMENT "ZEL_PENSIM=${WINE} ${PROJECT_BINARY_DIR}/bin/pensim.exe")
    # Makes the packages of both platforms, so it begins before the others do.
    zel_add_check(packages PORT WINE LABELS both slow SECONDS 2400 COMMAND tests/packages/packages.sh ${WINE})
    set_tests_properties(packages PROPERTIES COST 1000)
    zel_add_check(abi PORT WINE LABELS both COMMAND tests/abi/check.sh windows ${WINE})
    zel_add_check(libraries LABELS both COMMAND tests/checks/libraries.sh)
    zel_add_check(system_calls LABELS both COMMAND tests/checks/system_calls.sh)
    return()
endif()

file(GLOB ZEL_CLI_CASES CONFIGURE_DEPENDS cli/cases/*.case)
foreach(ZEL_CLI_CASE IN LISTS ZEL_CLI_CASES)
    cmake_path(GET ZEL_CLI_CASE STEM CASE)
    zel_add_check(cli.${CASE} PORT COMMAND tests/cli/run build/native/bin)
    set_tests_properties(cli.${CASE} PROPERTIES ENVIRONMENT "ZEL_CLI_CASE=${CASE}")
endforeach()

zel_add_check(python PORT COMMAND ${PYTEST} -c bindings/python/pyproject.toml bindings/python/tests)
zel_add_check(wireshark PORT LABELS slow COMMAND ${PYTEST} -c tests/dissector/pytest.ini tests/dissector)
file(GLOB ZEL_DOCUMENT_TESTS CONFIGURE_DEPENDS documents/test_*.py)
list(FILTER ZEL_DOCUMENT_TESTS EXCLUDE REGEX "/test_site\\.py$")
zel_add_check(documents_tried PORT LABELS slow COMMAND ${PYTEST} -c tests/documents/pytest.ini ${ZEL_DOCUMENT_TESTS})
zel_add_check(site PORT LABELS slow COMMAND ${PYTEST} -c tests/documents/pytest.ini tests/documents/test_site.py)
zel_add_check(desk PORT LABELS slow SECONDS 900 COMMAND ${PYTEST} -c tests/desk/pytest.ini tests/desk)
zel_add_check(dotnet PORT COMMAND bindings/dotnet/test)

zel_add_check(format LABELS style
    COMMAND sh -c "git ls-files -z '*.h' '*.cpp' '*.c' | xargs -0 clang-format --dry-run -Werror")
zel_add_check(cppcheck LABELS style slow COMMAND script/analyze cppcheck)
zel_add_check(mypy LABELS style slow COMMAND sh -c "cd bindings/python && exec mypy --no-incremental --cache-dir=/dev/null")
zel_add_check(documents LABELS style COMMAND tests/checks/documents.sh)
zel_add_check(texts LABELS style COMMAND tests/checks/texts.pl)
zel_add_check(includes LABELS style COMMAND tests/checks/includes.pl)
zel_add_check(header LABELS style COMMAND tests/checks/header.sh)
