# Where an install puts things, the way Linux desktop software is laid out:
#   bin/korvex-dashboard                 the user's command (a relative link to the program)
#   lib/korvex-pro/                      the program, the module programs, the upgrader, eulas/
#   <libdir>/                            the shared libraries (with their SDK in -dev)
#   share/applications, metainfo, mime, icons, man
# The launcher, the update helper and the licence helper look beside the running program
# (applicationDirPath, which resolves the link in bin/), so all of them sit in one private
# folder. Run paths are relative ($ORIGIN), so an install starts from any prefix.
#
# Install components: Runtime (the korvex-pro package) and Development (korvex-pro-dev).

include(GNUInstallDirs)

# Windows keeps everything beside the program in bin/.
if(WIN32)
    set(_korvex_private_default "${CMAKE_INSTALL_BINDIR}")
else()
    set(_korvex_private_default "lib/korvex-pro")
endif()
set(KORVEX_INSTALL_PRIVATEDIR "${_korvex_private_default}" CACHE STRING
    "Folder, relative to the prefix, of the dashboard program, its module programs and eulas/")
set(KORVEX_RUNTIME_COMPONENT Runtime)
set(KORVEX_DEVELOPMENT_COMPONENT Development)
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME ${KORVEX_RUNTIME_COMPONENT})

# Libraries find each other in their own folder.
set(CMAKE_INSTALL_RPATH "$ORIGIN")

file(RELATIVE_PATH _korvex_lib_from_private "/${KORVEX_INSTALL_PRIVATEDIR}" "/${CMAKE_INSTALL_LIBDIR}")
if(_korvex_lib_from_private STREQUAL "")
    set(KORVEX_PRIVATE_RPATH "$ORIGIN")
else()
    set(KORVEX_PRIVATE_RPATH "$ORIGIN/${_korvex_lib_from_private}")
endif()

# korvex_install_private_program(<target>): installs a program into the private folder with a
# run path relative to it.
function(korvex_install_private_program target)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "${KORVEX_PRIVATE_RPATH}")
    install(TARGETS ${target}
        RUNTIME DESTINATION "${KORVEX_INSTALL_PRIVATEDIR}" COMPONENT ${KORVEX_RUNTIME_COMPONENT})
endfunction()

# korvex_install_command_link(<name>): bin/<name> as a relative link to the private program.
function(korvex_install_command_link name)
    if(WIN32 OR KORVEX_INSTALL_PRIVATEDIR STREQUAL CMAKE_INSTALL_BINDIR)
        return()
    endif()
    file(RELATIVE_PATH target_path "/${CMAKE_INSTALL_BINDIR}" "/${KORVEX_INSTALL_PRIVATEDIR}/${name}")
    set(link "${PROJECT_BINARY_DIR}/install-links/${name}")
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/install-links")
    file(CREATE_LINK "${target_path}" "${link}" SYMBOLIC)
    install(FILES "${link}" DESTINATION "${CMAKE_INSTALL_BINDIR}"
            COMPONENT ${KORVEX_RUNTIME_COMPONENT})
endfunction()

# The Debian package of each component (packaging/linux/cpack.cmake).
set(KORVEX_PACKAGE_COMPONENTS ${KORVEX_RUNTIME_COMPONENT} ${KORVEX_DEVELOPMENT_COMPONENT})
set(KORVEX_PACKAGE_NAMES korvex-pro korvex-pro-dev)
# The Debian revision of this version's packages (version 1.0.0-1).
set(KORVEX_DEBIAN_REVISION 1)
