korvex_suite_add_sources(
    HEADERS
        versions/kxpro_latest_versions.h
    SOURCES
        versions/kxpro_latest_versions.cpp)
