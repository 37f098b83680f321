# Installs the library, its headers, the Fortran module, and the files by which CMake and pkg-config find them. All
# paths in these are relative to their own place, so that the installed tree can be moved.
include(CMakePackageConfigHelpers)
set(PACKAGE_FOLDER ${CMAKE_INSTALL_LIBDIR}/cmake/vorlandi)
set(PKGCONFIG_FOLDER ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Installs targets with their own export file, so that a package can lack them as a component.
function(install_component EXPORT_FILE)
    install(TARGETS ${ARGN} EXPORT ${EXPORT_FILE})
    install(EXPORT ${EXPORT_FILE} NAMESPACE vorlandi:: DESTINATION ${PACKAGE_FOLDER})
endfunction()

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/vorlandi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install_component(vorlandi-targets vorlandi vorlandi_cpp)
if(TARGET vorlandi_static)
    install_component(vorlandi-static-targets vorlandi_static)
endif()
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/vorlandi-config.cmake.in vorlandi-config.cmake
    INSTALL_DESTINATION ${PACKAGE_FOLDER} NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(vorlandi-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vorlandi-config.cmake ${PROJECT_BINARY_DIR}/vorlandi-config-version.cmake
    DESTINATION ${PACKAGE_FOLDER})

file(RELATIVE_PATH PREFIX_FROM_PKGCONFIG /prefix/${PKGCONFIG_FOLDER} /prefix)
get_target_property(LIBRARY_TYPE vorlandi TYPE)
set(PRIVATE_LIBS "-lstdc++ -lm -pthread")
if(LIBRARY_TYPE STREQUAL "STATIC_LIBRARY")
    set(LIBS_OF_AN_ARCHIVE " ${PRIVATE_LIBS}")
endif()
configure_file(${CMAKE_CURRENT_LIST_DIR}/vorlandi.pc.in vorlandi.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vorlandi.pc DESTINATION ${PKGCONFIG_FOLDER})

# The headers' comments as manual pages.
if(VORLANDI_BUILD_MANUALS)
    find_program(PYTHON3_PROGRAM python3)
    if(NOT PYTHON3_PROGRAM)
        message(FATAL_ERROR "The manual pages of the C functions are written by Python 3 (Debian: python3). "
            "-DVORLANDI_BUILD_MANUALS=OFF builds without them.")
    endif()
    set(MANUALS ${PROJECT_BINARY_DIR}/manuals)
    file(GLOB MANUAL_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/vorlandi/*
        ${PROJECT_SOURCE_DIR}/docs/reference*.py)
    add_custom_command(OUTPUT ${MANUALS}/libvorlandi.3
        COMMAND ${CMAKE_COMMAND} -E rm -rf ${MANUALS}
        COMMAND ${PYTHON3_PROGRAM} -B ${PROJECT_SOURCE_DIR}/docs/reference.py --man ${MANUALS}
        DEPENDS ${MANUAL_SOURCES} ${PROJECT_SOURCE_DIR}/fortran/vorlandi.f90 ${PROJECT_SOURCE_DIR}/CMakeLists.txt
        VERBATIM)
    add_custom_target(vorlandi_manuals ALL DEPENDS ${MANUALS}/libvorlandi.3)
    install(DIRECTORY ${MANUALS}/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man3)
endif()

if(TARGET vorlandi_fortran)
    install_component(vorlandi-fortran-targets vorlandi_fortran)
    install(FILES ${PROJECT_BINARY_DIR}/fortran/modules/vorlandi.mod DESTINATION ${VORLANDI_FORTRAN_MODULE_FOLDER})
    install(FILES ${PROJECT_SOURCE_DIR}/fortran/vorlandi.f90 DESTINATION ${CMAKE_INSTALL_DATADIR}/vorlandi/fortran)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/vorlandi-fortran.pc.in vorlandi-fortran.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/vorlandi-fortran.pc DESTINATION ${PKGCONFIG_FOLDER})
endif()
