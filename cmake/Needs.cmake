# Finds a package that a part of the project needs, or says which Debian package has it and how to build without that
# part.
#   vorlandi_needs(PACKAGE DEBIAN_PACKAGE WHO_NEEDS_IT WITHOUT [ARGUMENT...])    further arguments are find_package's
macro(vorlandi_needs PACKAGE DEBIAN_PACKAGE WHO_NEEDS_IT WITHOUT)
    find_package(${PACKAGE} QUIET ${ARGN})
    if(NOT ${PACKAGE}_FOUND)
        message(FATAL_ERROR "${WHO_NEEDS_IT} ${PACKAGE} (Debian: ${DEBIAN_PACKAGE}), which CMake does not find. "
            "${WITHOUT} builds without it.")
    endif()
endmacro()
