# Installs the project into a scratch prefix whose path has spaces, checks the install layout
# (the user's command alone in bin/, the program with its modules and eulas/ in the private
# folder, relative run paths, the module SDK free of the dashboard and of Qt Quick), starts the
# installed program from there, and builds and runs programs against the installed CMake
# package, the way programs outside this repository use it.
#   -DBUILD_DIR -DWORK_DIR -DCONSUMER_DIR -DGENERATOR -DVERSION -DDESKTOP_ID -DPRIVATE_DIR
#   -DLIB_DIR -DMODULES=<names joined by ",">
cmake_minimum_required(VERSION 3.19)
file(REMOVE_RECURSE "${WORK_DIR}")
set(prefix "${WORK_DIR}/prefix with spaces")
string(REPLACE "," ";" modules "${MODULES}")
set(failures 0)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}")
    endif()
endfunction()

# check("<if() condition>" "what it means"): the condition is evaluated as if() sees it.
macro(check condition text)
    cmake_language(EVAL CODE "if(${condition})\nset(_check_ok TRUE)\nelse()\nset(_check_ok FALSE)\nendif()")
    if(_check_ok)
        message(STATUS "ok: ${text}")
    else()
        message(SEND_ERROR "FAIL: ${text}")
        math(EXPR failures "${failures} + 1")
    endif()
endmacro()

# Nothing from the environment helps the installed programs find their libraries.
unset(ENV{LD_LIBRARY_PATH})

run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${prefix}")

# bin/ holds the user's command only: a relative link into the private folder.
file(GLOB bin_entries LIST_DIRECTORIES true RELATIVE "${prefix}/bin" "${prefix}/bin/*")
check("bin_entries STREQUAL \"korvex-dashboard\"" "bin/ holds only korvex-dashboard (has: ${bin_entries})")
set(command "${prefix}/bin/korvex-dashboard")
check("IS_SYMLINK \"${command}\"" "bin/korvex-dashboard is a link")
if(IS_SYMLINK "${command}")
    file(READ_SYMLINK "${command}" link)
    check("NOT IS_ABSOLUTE \"${link}\"" "the link is relative (${link})")
    get_filename_component(resolved "${command}" REALPATH)
    get_filename_component(expected "${prefix}/${PRIVATE_DIR}/korvex-dashboard" REALPATH)
    check("resolved STREQUAL expected" "the link leads to ${PRIVATE_DIR}/korvex-dashboard")
endif()

file(GLOB_RECURSE exes RELATIVE "${prefix}" "${prefix}/*.exe")
set(private_exes)
foreach(name IN LISTS modules)
    list(APPEND private_exes "${PRIVATE_DIR}/${name}")
endforeach()
list(SORT exes)
list(SORT private_exes)
check("exes STREQUAL private_exes" "the eight module programs, and no other .exe, are in ${PRIVATE_DIR} (found: ${exes})")
foreach(language EN DE)
    check("EXISTS \"${prefix}/${PRIVATE_DIR}/eulas/license-Korvex PRO_${language}.txt\""
          "the ${language} licence text is in ${PRIVATE_DIR}/eulas")
endforeach()
foreach(file
        "share/applications/${DESKTOP_ID}.desktop"
        "share/metainfo/${DESKTOP_ID}.metainfo.xml"
        "share/mime/packages/${DESKTOP_ID}.xml"
        "share/icons/hicolor/scalable/apps/${DESKTOP_ID}.svg"
        "share/icons/hicolor/48x48/apps/${DESKTOP_ID}.png"
        "share/icons/hicolor/256x256/apps/${DESKTOP_ID}.png"
        "share/man/man1/korvex-dashboard.1.gz")
    check("EXISTS \"${prefix}/${file}\"" "${file} is installed")
endforeach()

# Run paths: relative to the binary, never the build tree or any absolute folder.
find_program(READELF readelf REQUIRED)
file(GLOB private_programs "${prefix}/${PRIVATE_DIR}/*")
file(GLOB libraries "${prefix}/${LIB_DIR}/lib*.so.*")
foreach(binary IN LISTS private_programs libraries)
    if(IS_DIRECTORY "${binary}" OR IS_SYMLINK "${binary}")
        continue()
    endif()
    get_filename_component(name "${binary}" NAME)
    execute_process(COMMAND "${READELF}" -d "${binary}" OUTPUT_VARIABLE dynamic RESULT_VARIABLE result)
    check("result EQUAL 0" "${name} is an ELF file")
    string(REGEX MATCH "R(UN)?PATH\\)[^\n]*\\[([^]\n]*)\\]" _ "${dynamic}")
    set(runpath "${CMAKE_MATCH_2}")
    check("runpath MATCHES \"^[$]ORIGIN(/|$)\" AND NOT runpath MATCHES \":\"" "${name}'s run path is relative (${runpath})")
    string(REGEX MATCHALL "NEEDED\\)[^\n]*\\[([^]\n]*)\\]" needed_lines "${dynamic}")
    set(needed_${name} "${needed_lines}")
    check("NOT needed_lines MATCHES \"KorvexDashboardTesting\"" "${name} does not need the testing library")
endforeach()

# The module side: the protocol and Qt Gui, not the dashboard library and not Qt Quick.
file(GLOB module_libraries RELATIVE "${prefix}/${LIB_DIR}"
     "${prefix}/${LIB_DIR}/libKorvexModule.so.*.*" "${prefix}/${LIB_DIR}/libKorvexProtocol.so.*.*")
list(LENGTH module_libraries module_library_count)
check("module_library_count EQUAL 2" "the module and protocol libraries are installed (${module_libraries})")
foreach(name IN LISTS module_libraries modules)
    check("DEFINED needed_${name}" "${name} was read")
    check("NOT needed_${name} MATCHES \"libKorvexDashboard\\\\.so|libQt6Quick|libQt6Qml\""
          "${name} needs neither the dashboard library nor Qt Quick or Qml")
endforeach()

# The installed program starts from this prefix and tells its version.
execute_process(COMMAND "${command}" --version OUTPUT_VARIABLE version_text
                ERROR_VARIABLE version_error RESULT_VARIABLE result)
check("result EQUAL 0 AND version_text MATCHES \" ${VERSION}\\n\"" "korvex-dashboard --version prints ${VERSION} (${version_text}${version_error})")

# Read-only install: a run writes the user's settings, labels and screenshots into the user's
# folders and nothing into the prefix.
function(tree_state out)
    file(GLOB_RECURSE entries LIST_DIRECTORIES true "${prefix}/*")
    set(state)
    foreach(entry IN LISTS entries)
        file(TIMESTAMP "${entry}" stamp "%s")
        list(APPEND state "${entry}@${stamp}")
    endforeach()
    list(SORT state)
    set(${out} "${state}" PARENT_SCOPE)
endfunction()
set(home "${WORK_DIR}/home")
file(MAKE_DIRECTORY "${home}")
tree_state(before)
file(GLOB_RECURSE prefix_files "${prefix}/*")
file(CHMOD_RECURSE "${prefix}" FILE_PERMISSIONS OWNER_READ OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
     WORLD_READ WORLD_EXECUTE DIRECTORY_PERMISSIONS OWNER_READ OWNER_EXECUTE GROUP_READ
     GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(ENV{HOME} "${home}")
set(ENV{XDG_CONFIG_HOME} "${home}/.config")
set(ENV{XDG_DATA_HOME} "${home}/.local/share")
set(ENV{XDG_CACHE_HOME} "${home}/.cache")
set(ENV{XDG_RUNTIME_DIR} "${home}/runtime")
file(MAKE_DIRECTORY "${home}/runtime")
file(CHMOD "${home}/runtime" DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
execute_process(COMMAND "${command}" --label-folder "${home}/labels"
                        --screenshot-tour "${home}/shots"
                OUTPUT_VARIABLE tour_output ERROR_VARIABLE tour_error RESULT_VARIABLE result
                TIMEOUT 300)
check("result EQUAL 0" "the installed program ran its screenshot tour (${result}): ${tour_error}")
tree_state(after)
check("before STREQUAL after" "nothing in the installed tree was written or changed")
file(GLOB shots "${home}/shots/*.png")
check("shots" "the run wrote its screenshots to the user's folder")
check("EXISTS \"${home}/labels\"" "the run made its label folder in the user's folder")
file(CHMOD_RECURSE "${prefix}" FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
     GROUP_EXECUTE WORLD_READ WORLD_EXECUTE DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE
     OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Programs outside the repository, with no environment to find the libraries.
run("${CMAKE_COMMAND}" -S "${CONSUMER_DIR}" -B "${WORK_DIR}/consumer" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${prefix}" -DCMAKE_BUILD_TYPE=Release)
run("${CMAKE_COMMAND}" --build "${WORK_DIR}/consumer")
run("${WORK_DIR}/consumer/consumer")
run("${WORK_DIR}/consumer/small_module")
execute_process(COMMAND "${READELF}" -d "${WORK_DIR}/consumer/small_module" OUTPUT_VARIABLE dynamic)
check("NOT dynamic MATCHES \"libKorvexDashboard\\\\.so|libQt6Quick|libQt6Qml\""
      "a module built with the SDK needs neither the dashboard library nor Qt Quick or Qml")

if(failures GREATER 0)
    message(FATAL_ERROR "${failures} check(s) failed")
endif()
message("package layout ok")
