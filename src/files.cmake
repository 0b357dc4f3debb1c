# Sources of this subsystem: korvex_dashboard_add_sources(PUBLIC_HEADERS ... SOURCES ...)
