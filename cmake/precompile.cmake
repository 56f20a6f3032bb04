# SPDX-License-Identifier: GPL-2.0-or-later
# Most of the time to compile a file of ours goes to the standard library's headers. With VELU_PRECOMPILE the libraries
# share them compiled once. `./test long` builds without, so that a file which includes too little is found.

# velu_precompile(FOLDER) sets it for the static libraries of a folder and of those below it.
function(velu_precompile folder)
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    foreach(target ${targets})
        get_target_property(type ${target} TYPE)
        if(type STREQUAL "STATIC_LIBRARY")
            target_precompile_headers(${target} REUSE_FROM velu_headers)
        endif()
    endforeach()
    get_property(folders DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
    foreach(below ${folders})
        velu_precompile(${below})
    endforeach()
endfunction()

file(CONFIGURE OUTPUT headers.cpp CONTENT "")
add_library(velu_headers OBJECT ${CMAKE_CURRENT_BINARY_DIR}/headers.cpp)
target_link_libraries(velu_headers PRIVATE velu_flags)
target_precompile_headers(velu_headers PRIVATE
    <algorithm> <array> <charconv> <functional> <map> <memory> <optional> <set> <span> <string> <string_view> <utility> <vector>
    <errno.h> <fcntl.h> <stdio.h> <stdlib.h> <string.h> <sys/stat.h> <syslog.h> <time.h> <unistd.h>)
velu_precompile(${CMAKE_SOURCE_DIR})
