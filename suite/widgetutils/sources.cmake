korvex_suite_add_sources(
    HEADERS
        widgetutils/file_controller_tools.h
        widgetutils/ini_variant_scan.h
    SOURCES
        widgetutils/file_controller_tools.cpp
        widgetutils/ini_variant_scan.cpp)
