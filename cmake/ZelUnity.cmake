# zel_unite(TARGET [IN_PARTS]): with ZEL_UNITY, the sources of a target are compiled together. The library comes out a
# third smaller and takes a tenth fewer instructions, because the compiler sees all of it; everything else saves most of
# the time that goes into headers. The scripts, those that make the packages among them, build so; for work on the sources
# the ordinary build is handier. Names in the anonymous namespaces of one target must differ.
#
# IN_PARTS is for a target with very many sources: it is compiled in three parts, by the first letters of their names, so
# that a new source changes one of them only.
option(ZEL_UNITY "Compile the sources of each target together" OFF)

function(zel_unite TARGET)
    if(NOT ZEL_UNITY)
        return()
    endif()
    set_target_properties(${TARGET} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    get_target_property(SOURCES ${TARGET} SOURCES)
    foreach(SOURCE IN LISTS SOURCES)
        set(GROUP ${TARGET})
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
