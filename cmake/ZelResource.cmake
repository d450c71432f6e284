# zel_add_resource(TARGET DESCRIPTION): what Windows shows about a library or a program (its properties in
# the file manager, crash reports), all of it from project(zel VERSION ...). Programs get a manifest as well:
# paths may be longer than 260 characters, and the process's code page is UTF-8.
if(WIN32)
    enable_language(RC)
endif()

function(zel_add_resource TARGET DESCRIPTION)
    if(NOT WIN32)
        return()
    endif()
    get_target_property(TYPE ${TARGET} TYPE)
    if(TYPE STREQUAL "EXECUTABLE")
        set(RESOURCE_FILE ${TARGET}.exe)
        set(RESOURCE_FILETYPE VFT_APP)
        configure_file(${PROJECT_SOURCE_DIR}/cmake/program.manifest.in ${TARGET}.manifest @ONLY)
        set(RESOURCE_MANIFEST
            "CREATEPROCESS_MANIFEST_RESOURCE_ID RT_MANIFEST \"${CMAKE_CURRENT_BINARY_DIR}/${TARGET}.manifest\"")
    else()
        set(RESOURCE_FILE ${TARGET}.dll)
        set(RESOURCE_FILETYPE VFT_DLL)
        set(RESOURCE_MANIFEST "")
    endif()
    set(RESOURCE_FOUR_NUMBERS
        ${PROJECT_VERSION_MAJOR},${PROJECT_VERSION_MINOR},${PROJECT_VERSION_PATCH},0)
    set(RESOURCE_FOUR_PARTS
        ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}.${PROJECT_VERSION_PATCH}.0)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/resource.rc.in ${TARGET}.rc @ONLY)
    target_sources(${TARGET} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}.rc)
    if(RESOURCE_MANIFEST)
        set_source_files_properties(${CMAKE_CURRENT_BINARY_DIR}/${TARGET}.rc PROPERTIES
            OBJECT_DEPENDS ${CMAKE_CURRENT_BINARY_DIR}/${TARGET}.manifest)
    endif()
endfunction()
