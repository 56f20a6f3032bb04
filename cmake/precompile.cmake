# SPDX-License-Identifier: GPL-2.0-or-later
# Most of the time to compile a file of ours goes to the standard library's headers. With VELU_PRECOMPILE the libraries
# share them compiled once. `./test long` builds without, so that a file which includes too little is found.

# velu_precompile(FOLDER) sets it for the static libraries of a folder and of those below it.
function(velu_precompile folder)
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target ${targets})
        get_target_property(type ${target} TYPE)
        if(type STREQUAL "STATIC_LIBRARY")
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
