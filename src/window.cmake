# Main window, embedded module window, module messaging helper and the native-window seam.

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
install(TARGETS KorvexDashboardTesting EXPORT KorvexDashboardTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES platforms/memory/memory_native_window_backend.h
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/KorvexDashboard/platforms/memory")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/include/korvexdashboardtesting_export.h"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/KorvexDashboard")

# The Win32 backend has no Qt in it and is built only where Windows is.
if(WIN32)
    set(_window_platform_sources
        platforms/win32/native_window_backend_win32.h
        platforms/win32/native_window_backend_win32.cpp)
    set(_window_platform_libraries user32)
endif()

korvex_dashboard_add_sources(
    PUBLIC_HEADERS
        platforms/native_window_backend.h
        native_window_system.h
        dashboard_main_window.h
        dashboard_app_window.h
        Controllers/qvipchelper_win32.h
    SOURCES
        native_window_system.cpp
        dashboard_main_window.cpp
        dashboard_app_window.cpp
        Controllers/qvipchelper_win32.cpp
        ${_window_platform_sources}
    LIBRARIES
        KorvexDashboardTesting
        ${_window_platform_libraries})
