# cmake -DDIRECTORY=<scratch> -P builder_options.cmake
# What the builder of a product may set, and how a value that is no good is refused.
cmake_minimum_required(VERSION 3.25)
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/ZelBuilderOptions.cmake)

# In its second role this script makes one header, and may fail.
if(DEFINED MAKE)
    cmake_language(CALL zel_write_${MAKE} "${VALUE}" ${HEADER})
    return()
endif()

file(REMOVE_RECURSE ${DIRECTORY})
file(MAKE_DIRECTORY ${DIRECTORY})
string(REPEAT "0123456789abcdef" 4 DIGITS)

# try(<chaining_value|usb_table> <value>): runs the step; sets ACCEPTED, MESSAGES (blanks squeezed) and MADE.
function(try option value)
    set(header ${DIRECTORY}/made.h)
    file(REMOVE ${header})
    execute_process(
        COMMAND ${CMAKE_COMMAND} -DMAKE=${option} -DVALUE=${value} -DHEADER=${header}
                -P ${CMAKE_CURRENT_FUNCTION_LIST_FILE}
        RESULT_VARIABLE result ERROR_VARIABLE messages)
    string(REGEX REPLACE "[ \n]+" " " messages "${messages}")
    set(made "")
    if(EXISTS ${header})
        file(READ ${header} made)
        string(REGEX REPLACE "[ \n]+" " " made "${made}")
    endif()
    if(result EQUAL 0)
        set(ACCEPTED TRUE PARENT_SCOPE)
    else()
        set(ACCEPTED FALSE PARENT_SCOPE)
    endif()
    set(MESSAGES "${messages}" PARENT_SCOPE)
    set(MADE "${made}" PARENT_SCOPE)
endfunction()

macro(expect_refused option value text)
    try(${option} "${value}")
    string(FIND "${MESSAGES}" "${text}" at)
    if(ACCEPTED OR at EQUAL -1 OR NOT MADE STREQUAL "")
        message(SEND_ERROR "${option} '${value}' should be refused with \"${text}\"; accepted: ${ACCEPTED}, said: ${MESSAGES}")
    endif()
endmacro()

macro(expect_made option value text)
    try(${option} "${value}")
    string(FIND "${MADE}" "${text}" at)
    if(NOT ACCEPTED OR at EQUAL -1)
        message(SEND_ERROR "${option} '${value}' should make \"${text}\"; said: ${MESSAGES}; made: ${MADE}")
    endif()
endmacro()

set(BYTES "0x01, 0x23, 0x45, 0x67, 0x89, 0xab, 0xcd, 0xef, ")
expect_made(chaining_value ${DIGITS} "{${BYTES}${BYTES}${BYTES}${BYTES}}")
string(TOUPPER ${DIGITS} UPPER)
expect_made(chaining_value ${UPPER} "0xEF, 0x01")
set(RULE "ZEL_HASH_CHAINING_VALUE must be 64 hexadecimal digits")
string(SUBSTRING ${DIGITS} 1 -1 SHORT)
expect_refused(chaining_value ${SHORT} "${RULE}")
expect_refused(chaining_value ${DIGITS}0 "${RULE}")
expect_refused(chaining_value g${SHORT} "${RULE}")
expect_refused(chaining_value "" "${RULE}")

# table(<content>): writes the table that the next expectation names.
set(TABLE ${DIRECTORY}/devices.txt)
macro(table content)
    file(WRITE ${TABLE} "${content}")
endmacro()

table("# a comment; with [signs] of a list\n\n0x12AB 0x0001 # one\r\n  0xfff0\t0x0102")
expect_made(usb_table ${TABLE} "std::array<UsbDevice, 3>")
expect_made(usb_table ${TABLE} "{{ {0x0000, 0x0000}, {0x12ab, 0x0001}, {0xfff0, 0x0102}, }}")
table("")
expect_made(usb_table ${TABLE} "std::array<UsbDevice, 1>")

expect_refused(usb_table ${DIRECTORY}/absent.txt "absent.txt', which is no file")
expect_refused(usb_table ${DIRECTORY} "which is no file")
foreach(row "0x1209" "1209 0001" "0x1209 0x001" "0x1209 0x00011" "0x1209,0x0001" "0x12g9 0x0001"
            "0x1209 0x0001 0x0002" "0x1209 0x0001\\;0x1209 0x0002" "0x1209 0x0001]")
    table("# first\n0x0001 0x0001\n${row}\n")
    expect_refused(usb_table ${TABLE} "line 3: ")
    expect_refused(usb_table ${TABLE} "is not a vendor id and a product id")
endforeach()
table("0x1209 0x00aa\n0x1209 0x00AA\n")
expect_refused(usb_table ${TABLE} "line 2: '0x1209 0x00AA' is in the table already")
table("0x0000 0x0000\n")
expect_refused(usb_table ${TABLE} "line 1: '0x0000 0x0000' is in the table already")
