# SPDX-License-Identifier: GPL-2.0-or-later
# Warnings are errors on both compilers; the daemon runs as root on files that anybody may have put on a
# share, so every hardening that the compilers offer is on.

# A target, or a folder's targets, with the property VELU_UNOPTIMISED build fast instead of running fast. What describes it to a debugger would
# take two fifths of the time: it is of the debug build, and the lines alone of the sanitizers' reports.
# VELU_UNJUDGED ones are no subject of the sanitizers, whose reports name their functions without lines.
define_property(TARGET PROPERTY VELU_UNOPTIMISED INHERITED)
define_property(TARGET PROPERTY VELU_UNJUDGED)
set(velu_unoptimised -O0)

# To optimise what the sanitizers add to a library takes longer than it runs in all tests. None of these is fuzzed.
function(velu_unfuzzed)
    if(VELU_SANITIZE)
        set_target_properties(${ARGV} PROPERTIES VELU_UNOPTIMISED ON)
    endif()
endfunction()

if(VELU_SANITIZE)
    list(APPEND velu_unoptimised $<IF:$<BOOL:$<TARGET_PROPERTY:VELU_UNJUDGED>>,-g0,-g1>)
elseif(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    list(APPEND velu_unoptimised -g0)
endif()
add_library(velu_flags INTERFACE)
target_include_directories(velu_flags INTERFACE ${CMAKE_SOURCE_DIR})
target_compile_options(velu_flags INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wformat=2 -Wundef
    $<$<BOOL:$<TARGET_PROPERTY:VELU_UNOPTIMISED>>:${velu_unoptimised}>
    -Wcast-align -Wcast-qual -Wnon-virtual-dtor -Woverloaded-virtual -Wnull-dereference)
target_compile_definitions(velu_flags INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64 _GNU_SOURCE)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Texts are cut to their fields on purpose, everywhere.
    target_compile_options(velu_flags INTERFACE -Wno-format-truncation)
endif()

if(VELU_SANITIZE)
    # The tests lend their buffers, so that these are watched, too; what they compute themselves is not. (A third of the
    # time that they take to build.)
    set(velu_is_judged $<NOT:$<BOOL:$<TARGET_PROPERTY:VELU_UNJUDGED>>>)
    target_compile_options(velu_flags INTERFACE
        -fsanitize=address $<${velu_is_judged}:-fsanitize=undefined> -fno-sanitize-recover=all -fno-omit-frame-pointer
        # It asks the kernel whether a table is there, which no reader is allowed behind its wall.
        $<${velu_is_judged}:-fno-sanitize=vptr>)
    target_link_options(velu_flags INTERFACE -fsanitize=address,undefined)
    if(VELU_FUZZ)
        # The fuzzer finds its way by the coverage of the libraries, not by that of the targets alone.
        target_compile_options(velu_flags INTERFACE
            $<$<NOT:$<BOOL:$<TARGET_PROPERTY:VELU_UNOPTIMISED>>>:-fsanitize=fuzzer-no-link>)
    endif()
else()
    # _FORTIFY_SOURCE needs optimisation and clashes with the sanitizers' own interceptors.
    if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
        target_compile_options(velu_flags INTERFACE
            -U_FORTIFY_SOURCE $<$<NOT:$<BOOL:$<TARGET_PROPERTY:VELU_UNOPTIMISED>>>:-D_FORTIFY_SOURCE=2>)
    endif()
    target_compile_options(velu_flags INTERFACE -fstack-protector-strong)
    target_link_options(velu_flags INTERFACE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(velu_flags INTERFACE -fstack-clash-protection)
    endif()
endif()

include(CheckPIESupported)
check_pie_supported()
