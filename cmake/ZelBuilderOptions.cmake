# What the builder of a product sets: the chaining value of the password hash and the table of USB
# devices (docs/building.md). Each is checked here and turned into a header of the build tree.
# Scripts include this file, so it does nothing but define.

# What is built without these two is good for the simulator, not for a pen.
set(ZEL_STAND_IN_CHAINING_VALUE 6a09e667bb67ae853c6ef372a54ff53a510e527f9b05688c1f83d9ab5be0cd19)
set(ZEL_STAND_IN_USB_TABLE ${CMAKE_CURRENT_LIST_DIR}/usb_devices.txt)

# zel_describe_pens(<variable>): in one sentence, which pens a build is for.
function(zel_describe_pens VARIABLE)
    set(standIns "")
    if(ZEL_HASH_CHAINING_VALUE STREQUAL ZEL_STAND_IN_CHAINING_VALUE)
        list(APPEND standIns "chaining value")
    endif()
    if(ZEL_USB_TABLE STREQUAL ZEL_STAND_IN_USB_TABLE)
        list(APPEND standIns "USB table")
    endif()
    list(JOIN standIns " and " standIns)
    if(standIns)
        set(${VARIABLE} "Built with a stand-in for the ${standIns}: good for pensim, not for pens in the field." PARENT_SCOPE)
    else()
        set(${VARIABLE} "Built with a product's chaining value and USB table." PARENT_SCOPE)
    endif()
endfunction()

# zel_write_chaining_value(<64 hexadecimal digits> <header>)
function(zel_write_chaining_value value header)
    string(LENGTH "${value}" length)
    if(NOT length EQUAL 64 OR NOT value MATCHES "^[0-9A-Fa-f]+$")
        message(FATAL_ERROR
            "ZEL_HASH_CHAINING_VALUE must be 64 hexadecimal digits (32 bytes, first byte first); "
            "it is '${value}', of length ${length}.")
    endif()
    string(REGEX REPLACE "(..)" "0x\\1, " ZEL_CHAINING_BYTES "${value}")
    configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/hash_chaining_value.h.in ${header} @ONLY)
endfunction()

# zel_write_usb_table(<file> <header>)
function(zel_write_usb_table file header)
    if(NOT EXISTS "${file}" OR IS_DIRECTORY "${file}")
        message(FATAL_ERROR "ZEL_USB_TABLE names '${file}', which is no file.")
    endif()
    file(READ "${file}" text)
    string(REGEX REPLACE "#[^\n]*" "" text "${text}")
    string(REPLACE "\r" "" text "${text}")
    # A list would take these for its own syntax; as this letter they are as wrong in a row.
    string(REGEX REPLACE "[];\\[\\]" "?" text "${text}")
    string(REPLACE "\n" ";" lines "${text}")

    set(digit "[0-9A-Fa-f]")
    set(number "0x(${digit}${digit}${digit}${digit})")
    # This row admits a pen that announced neither id. It is searched first and cannot be left out.
    set(rows "0000 0000")
    set(lineNumber 0)
    foreach(line IN LISTS lines)
        math(EXPR lineNumber "${lineNumber} + 1")
        string(STRIP "${line}" line)
        if(line STREQUAL "")
            continue()
        endif()
        if(NOT line MATCHES "^${number}[ \t]+${number}$")
            message(FATAL_ERROR
                "ZEL_USB_TABLE: ${file}, line ${lineNumber}: '${line}' is not a vendor id and a product "
                "id of four hexadecimal digits each, as in '0x1209 0x0001'.")
        endif()
        string(TOLOWER "${CMAKE_MATCH_1} ${CMAKE_MATCH_2}" row)
        if(row IN_LIST rows)
            message(FATAL_ERROR
                "ZEL_USB_TABLE: ${file}, line ${lineNumber}: '${line}' is in the table already "
                "(0x0000 0x0000 always is).")
        endif()
        list(APPEND rows "${row}")
    endforeach()

    list(LENGTH rows ZEL_USB_COUNT)
    list(TRANSFORM rows REPLACE "(....) (....)" "    {0x\\1, 0x\\2},")
    list(JOIN rows "\n" ZEL_USB_ROWS)
    configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/usb_device_table.h.in ${header} @ONLY)
endfunction()
