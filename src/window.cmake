# Main window, embedded module window and module messaging helper.

# The recording, in-memory native window system: the fallback backend of the dashboard and a
# public library for tests that drive the dashboard without a display.
add_library(KorvexDashboardTesting SHARED
    platforms/native_window_backend.h
    platforms/memory/memory_native_window_backend.h
    platforms/memory/memory_native_window_backend.cpp)
add_library(KorvexDashboard::Testing ALIAS KorvexDashboardTesting)
set_target_properties(KorvexDashboardTesting PROPERTIES
    EXPORT_NAME Testing
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
generate_export_header(KorvexDashboardTesting
    BASE_NAME KorvexDashboardTesting
    EXPORT_FILE_NAME "${CMAKE_CURRENT_BINARY_DIR}/include/korvexdashboardtesting_export.h")
target_include_directories(KorvexDashboardTesting PUBLIC
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>"
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}/include>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/KorvexDashboard>")
target_link_libraries(KorvexDashboardTesting PUBLIC Qt6::Core Qt6::Gui)
# Only tests and hosts' tests link it, so all of it belongs to the SDK.
install(TARGETS KorvexDashboardTesting EXPORT KorvexDashboardTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${KORVEX_DEVELOPMENT_COMPONENT}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${KORVEX_DEVELOPMENT_COMPONENT}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${KORVEX_DEVELOPMENT_COMPONENT})
install(FILES platforms/memory/memory_native_window_backend.h
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/KorvexDashboard/platforms/memory"
        COMPONENT ${KORVEX_DEVELOPMENT_COMPONENT})
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/include/korvexdashboardtesting_export.h"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/KorvexDashboard"
        COMPONENT ${KORVEX_DEVELOPMENT_COMPONENT})

# The seam itself and its backends are the protocol library (protocol.cmake); on Windows they
# are built here.
if(KORVEX_PROTOCOL_IN_DASHBOARD)
    korvex_dashboard_add_sources(
        PUBLIC_HEADERS
            Controllers/qvipc_message.h
            platforms/native_window_backend.h
            native_window_system.h
        PRIVATE_HEADERS
            Controllers/qvipc_message_reader_p.h
        SOURCES
            Controllers/qvipc_message.cpp
            Controllers/qvipc_message_reader.cpp
            native_window_system.cpp
            platforms/none/native_window_backend_none.h
            platforms/none/native_window_backend_none.cpp
            platforms/win32/native_window_backend_win32.h
            platforms/win32/native_window_backend_win32.cpp
        LIBRARIES
            user32)
else()
    target_link_libraries(KorvexDashboard PUBLIC KorvexProtocol)
    set_property(GLOBAL APPEND PROPERTY KORVEX_DASHBOARD_PUBLIC_HEADERS
        Controllers/qvipc_message.h
        platforms/native_window_backend.h
        native_window_system.h)
endif()

korvex_dashboard_add_sources(
    PUBLIC_HEADERS
        dashboard_main_window.h
        dashboard_app_window.h
        Controllers/qvipchelper_win32.h
    SOURCES
        dashboard_main_window.cpp
        dashboard_app_window.cpp
        Controllers/qvipchelper_win32.cpp)
