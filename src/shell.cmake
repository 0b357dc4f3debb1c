if(WIN32)
    set(_launcher_platform Controllers/launcher_controller_win.cpp)
else()
    set(_launcher_platform Controllers/launcher_controller_unix.cpp)
endif()

korvex_dashboard_add_sources(
    PUBLIC_HEADERS
        dashboard_global.h
        dashboard_settings.h
        Controllers/launcher_controller.h
    PRIVATE_HEADERS
        dashboard_logging.h
        Controllers/launcher_controller_p.h
    SOURCES
        dashboard_global.cpp
        dashboard_logging.cpp
        dashboard_settings.cpp
        Controllers/launcher_controller.cpp
        ${_launcher_platform})
