# SPDX-License-Identifier: GPL-2.0-or-later
# Most of the time to compile a test goes to templates that all tests use in the same way: some five dozen compiled as one
# file take less than a third of it. Each stands in a namespace of its own, so that their helpers may have the same names; what they
# include comes before, as headers do not belong into it. `./test long` compiles each by itself.

set(velu_together_max 60)

# velu_compile_together(OUT FOLDER SOURCE...) writes files into FOLDER that include the sources, and lists them in OUT.
function(velu_compile_together out folder)
    # Files of about the same size, so that no processor waits at the end.
    list(LENGTH ARGN count)
    math(EXPR count_of_files "(${count} + ${velu_together_max} - 1) / ${velu_together_max}")
    math(EXPR together "(${count} + ${count_of_files} - 1) / ${count_of_files}")
    set(files)
    while(ARGN)
        list(SUBLIST ARGN 0 ${together} members)
        list(REMOVE_ITEM ARGN ${members})
        set(includes)
        set(bodies)
        foreach(source ${members})
            file(STRINGS ${source} included REGEX "^#include")
            list(APPEND includes ${included})
            cmake_path(GET source STEM name)
            string(APPEND bodies "namespace ${name} {\n#include \"${source}\"\n}\n")
        endforeach()
        list(REMOVE_DUPLICATES includes)
        list(JOIN includes "\n" includes)
        list(LENGTH files number)
        file(CONFIGURE OUTPUT ${folder}/together_${number}.cpp CONTENT "@includes@\n@bodies@" @ONLY)
        list(APPEND files ${folder}/together_${number}.cpp)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${members})
    endwhile()
    set(${out} ${files} PARENT_SCOPE)
endfunction()
