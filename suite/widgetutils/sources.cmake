korvex_suite_add_sources(
    HEADERS
        widgetutils/file_controller_tools.h
    SOURCES
        widgetutils/file_controller_tools.cpp)
