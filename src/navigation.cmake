# Navigation, settings, menus, software update and licence text.
find_package(Qt6 REQUIRED COMPONENTS LinguistTools)

korvex_dashboard_add_sources(
    PUBLIC_HEADERS
        models/dashboard_main.h
        models/meatballs_navigation_model.h
        models/settings_navigation_model.h
        models/settings_contents_models.h
        Controllers/dashboard_settings_controller.h
        Controllers/dashboard_upgrader_helper.h
        Controllers/dashboard_get_license_helper.h
    SOURCES
        models/dashboard_main.cpp
        models/meatballs_navigation_model.cpp
        models/settings_navigation_model.cpp
        models/settings_contents_models.cpp
        Controllers/dashboard_settings_controller.cpp
        Controllers/dashboard_upgrader_helper.cpp
        Controllers/dashboard_get_license_helper.cpp)

# Translations of the dashboard and of the suite texts it shows (language names). The host
# installs a QTranslator for ":/i18n/korvexdashboard_<lang>.qm". Refresh the sources with
# `cmake --build <build> --target KorvexDashboard_lupdate`.
set(KORVEX_TS_FILES "${PROJECT_SOURCE_DIR}/translations/korvexdashboard_de.ts")
file(GLOB _korvex_tr_sources CONFIGURE_DEPENDS
     "${CMAKE_CURRENT_SOURCE_DIR}/*.cpp"
     "${CMAKE_CURRENT_SOURCE_DIR}/Controllers/*.cpp"
     "${CMAKE_CURRENT_SOURCE_DIR}/models/*.cpp"
     "${PROJECT_SOURCE_DIR}/suite/locale/*.cpp")
qt_add_lupdate(KorvexDashboard
    TS_FILES ${KORVEX_TS_FILES}
    SOURCES ${_korvex_tr_sources}
    OPTIONS -no-obsolete -locations none)
qt_add_lrelease(KorvexDashboard
    TS_FILES ${KORVEX_TS_FILES}
    QM_FILES_OUTPUT_VARIABLE _korvex_qm_files)
qt_add_resources(KorvexDashboard "korvex_translations"
    PREFIX "/i18n"
    BASE "${CMAKE_CURRENT_BINARY_DIR}"
    FILES ${_korvex_qm_files})

# Licence agreement texts, read from "eulas/" beside the program: in the private folder once
# installed.
set(KORVEX_EULAS_DIR "${PROJECT_SOURCE_DIR}/eulas")
file(GLOB _korvex_eula_files CONFIGURE_DEPENDS "${KORVEX_EULAS_DIR}/license-*.txt")
install(FILES ${_korvex_eula_files} DESTINATION "${KORVEX_INSTALL_PRIVATEDIR}/eulas"
        COMPONENT ${KORVEX_RUNTIME_COMPONENT})
set_property(GLOBAL PROPERTY KORVEX_EULA_FILES ${_korvex_eula_files})

# korvex_deploy_eulas(<target>): copies the licence texts to "eulas/" beside a built program.
function(korvex_deploy_eulas target)
    get_property(eula_files GLOBAL PROPERTY KORVEX_EULA_FILES)
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND "${CMAKE_COMMAND}" -E make_directory "$<TARGET_FILE_DIR:${target}>/eulas"
        COMMAND "${CMAKE_COMMAND}" -E copy_if_different ${eula_files}
                "$<TARGET_FILE_DIR:${target}>/eulas/"
        VERBATIM)
endfunction()
