# Message payload: the record, its byte format, the guarded reader and request invocation.
korvex_dashboard_add_sources(
    PUBLIC_HEADERS
        Controllers/qvipc_message.h
    PRIVATE_HEADERS
        Controllers/qvipc_message_reader_p.h
    SOURCES
        Controllers/qvipc_message.cpp
        Controllers/qvipc_message_reader.cpp)
