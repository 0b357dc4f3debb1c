korvex_suite_add_sources(
    HEADERS
        logging/cute_logger.h
    SOURCES
        logging/cute_logger.cpp)
