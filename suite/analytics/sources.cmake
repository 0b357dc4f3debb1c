korvex_suite_add_sources(
    HEADERS
        analytics/analytics_library.h
    SOURCES
        analytics/analytics_library.cpp)
