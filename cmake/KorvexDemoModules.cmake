# korvex_place_demo_modules(TARGET <name> DESTINATION <dir>)
# Puts a real copy of the demo module under each of the eight module executable names in <dir>,
# kept up to date by the custom target <name> (built by default). The dashboard's launcher
# starts "<its own directory>/<executable name>", so a program that launches modules (the host,
# an end-to-end test) gets the copies placed beside it this way.
# KORVEX_MODULE_EXECUTABLES lists the eight names.
set(KORVEX_MODULE_EXECUTABLES
    QVLabelEditor.exe QVCatalog.exe ArcFlashMain.exe QuenbyGHS.exe NFPAMain.exe
    PipeMarkingMain.exe SymbolCreatorAppMain.exe PrinterMaintenance.exe)

function(korvex_place_demo_modules)
    cmake_parse_arguments(ARG "" "TARGET;DESTINATION" "" ${ARGN})
    if(NOT ARG_TARGET OR NOT ARG_DESTINATION)
        message(FATAL_ERROR "korvex_place_demo_modules needs TARGET and DESTINATION")
    endif()
    # The list is read here so that any directory can call the function.
    include(KorvexDemoModules)
    set(outputs)
    set(commands)
    foreach(name IN LISTS KORVEX_MODULE_EXECUTABLES)
        list(APPEND outputs "${ARG_DESTINATION}/${name}")
        # Copies, not links: each program is found and started by its own file name.
        list(APPEND commands COMMAND "${CMAKE_COMMAND}" -E copy_if_different
             "$<TARGET_FILE:korvex_demo_module>" "${ARG_DESTINATION}/${name}")
    endforeach()
    add_custom_command(OUTPUT ${outputs}
        COMMAND "${CMAKE_COMMAND}" -E make_directory "${ARG_DESTINATION}"
        ${commands}
        DEPENDS korvex_demo_module
        COMMENT "Placing the demo module under the eight module names in ${ARG_DESTINATION}"
        VERBATIM)
    add_custom_target(${ARG_TARGET} ALL DEPENDS ${outputs})
endfunction()
