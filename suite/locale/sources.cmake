korvex_suite_add_sources(
    HEADERS
        locale/qvlocale_languages.h
    SOURCES
        locale/qvlocale_languages.cpp)
