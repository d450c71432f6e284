# zel_unite(TARGET [IN_PARTS]): with ZEL_UNITY, the sources of each folder of a target are compiled together,
# which saves most of the time that goes into headers. The scripts use it; for work on the sources
# the ordinary build is handier. Names in the anonymous namespaces of one target must differ.
#
# IN_PARTS is for a folder with very many sources: it is compiled in three parts, by the first letters of
# their names, so that a new source changes one of them only.
#
# -DZEL_UNITY=WHOLE compiles all sources of a target together, for script/tidy: clang-tidy spends more time on the
# headers than a compiler does.
option(ZEL_UNITY "Compile the sources of each folder together" OFF)

function(zel_unite TARGET)
    if(NOT ZEL_UNITY)
        return()
    endif()
    set_target_properties(${TARGET} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    get_target_property(SOURCES ${TARGET} SOURCES)
    foreach(SOURCE IN LISTS SOURCES)
        cmake_path(GET SOURCE PARENT_PATH FOLDER)
        cmake_path(GET FOLDER FILENAME GROUP)
        if(ZEL_UNITY STREQUAL "WHOLE")
            set(GROUP ${TARGET})
        endif()
        if("IN_PARTS" IN_LIST ARGN)
            cmake_path(GET SOURCE FILENAME NAME)
            if(NAME MATCHES "^[a-o]")
                string(APPEND GROUP _a_to_o)
            elseif(NAME MATCHES "^p")
                string(APPEND GROUP _p)
            else()
                string(APPEND GROUP _q_to_z)
            endif()
        endif()
        set_source_files_properties(${SOURCE} TARGET_DIRECTORY ${TARGET} PROPERTIES UNITY_GROUP "${GROUP}")
    endforeach()
endfunction()
