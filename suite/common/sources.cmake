korvex_suite_add_sources(
    HEADERS
        common/suite_store.h
    SOURCES
        common/suite_store.cpp)
