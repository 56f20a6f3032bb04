# SPDX-License-Identifier: GPL-2.0-or-later
# Most of the time to compile a file of ours goes to the standard library's headers. With VELU_PRECOMPILE the libraries
# share them compiled once, and their files are compiled two dozen at a time, which takes two thirds of the processor time that
# compiled headers alone take. `./test long` builds without, so that a file which includes too little is found.

# Files that are compiled together see each other's helpers. Constants of the same name are told apart below; a file whose other
# helpers are called like those of a neighbour is compiled by itself.
set(velu_together_max 24)
set(velu_by_itself boxes ogg photo_share run walk_presence watch_loop)

# velu_constants_of_several(OUT SOURCE...): which constants more than one of the sources have to themselves.
function(velu_constants_of_several out)
    set(known)
    set(several)
    foreach(source ${ARGN})
        file(STRINGS ${source} lines REGEX "^ *(static )?const(expr)? [^=({]*[ *]k[A-Z][A-Za-z0-9]*[^A-Za-z0-9]")
        set(of_source)
        foreach(line ${lines})
            string(REGEX REPLACE "^[^=({]*[ *](k[A-Z][A-Za-z0-9]*).*" "\\1" name "${line}")
            list(APPEND of_source ${name})
        endforeach()
        list(REMOVE_DUPLICATES of_source)
        foreach(name ${of_source})
            if(name IN_LIST known)
                list(APPEND several ${name})
            endif()
        endforeach()
        list(APPEND known ${of_source})
    endforeach()
    list(REMOVE_DUPLICATES several)
    set(${out} ${several} PARENT_SCOPE)
endfunction()

# velu_compile_sources_together(TARGET) does so for a library.
function(velu_compile_sources_together target)
    get_target_property(sources ${target} SOURCES)
    get_target_property(folder ${target} SOURCE_DIR)
    list(FILTER sources INCLUDE REGEX "\\.cpp$")
    list(TRANSFORM sources PREPEND ${folder}/ REGEX "^[^/]")
    set_property(DIRECTORY ${folder} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sources})
    set(by_itself ${sources})
    list(JOIN velu_by_itself "|" names)
    list(FILTER by_itself INCLUDE REGEX "/(${names})\\.cpp$")
    set_property(SOURCE ${by_itself} TARGET_DIRECTORY ${target} PROPERTY SKIP_UNITY_BUILD_INCLUSION ON)
    velu_constants_of_several(names ${sources})
    set(before "#define VELU_JOINED(name, file) name##_##file\n#define VELU_JOIN(name, file) VELU_JOINED(name, file)\n")
    set(after "#undef VELU_JOINED\n#undef VELU_JOIN\n")
    foreach(name ${names})
        string(APPEND before "#define ${name} VELU_JOIN(${name}, VELU_FILE)\n")
        string(APPEND after "#undef ${name}\n")
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE ${velu_together_max}
        UNITY_BUILD_UNIQUE_ID VELU_FILE UNITY_BUILD_CODE_BEFORE_INCLUDE "${before}" UNITY_BUILD_CODE_AFTER_INCLUDE "${after}")
endfunction()

# velu_precompile(FOLDER) sets it for the static libraries of a folder and of those below it.
function(velu_precompile folder)
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target ${targets})
        get_target_property(type ${target} TYPE)
        if(type STREQUAL "STATIC_LIBRARY")
            velu_compile_sources_together(${target})
            get_target_property(unoptimised ${target} VELU_UNOPTIMISED)
            if(unoptimised)
                target_precompile_headers(${target} REUSE_FROM velu_headers_unoptimised)
            else()
                target_precompile_headers(${target} REUSE_FROM velu_headers)
            endif()
        endif()
    endforeach()
    get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
    foreach(below ${folders})
        velu_precompile(${below})
    endforeach()
endfunction()

# Compiled headers are of use to targets of the same options alone.
file(CONFIGURE OUTPUT headers.cpp CONTENT "")
set(kinds_of_headers velu_headers)
if(VELU_SANITIZE)
    list(APPEND kinds_of_headers velu_headers_unoptimised)
endif()
foreach(kind ${kinds_of_headers})
    add_library(${kind} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/headers.cpp)
    target_link_libraries(${kind} PRIVATE velu_flags)
    target_precompile_headers(${kind} PRIVATE
        <algorithm> <array> <charconv> <functional> <map> <memory> <optional> <set> <span> <string> <string_view> <utility> <vector>
        <errno.h> <fcntl.h> <stdio.h> <stdlib.h> <string.h> <sys/stat.h> <syslog.h> <time.h> <unistd.h>)
endforeach()
if(VELU_SANITIZE)
    set_target_properties(velu_headers_unoptimised PROPERTIES VELU_UNOPTIMISED ON)
endif()
velu_precompile(${CMAKE_SOURCE_DIR})
