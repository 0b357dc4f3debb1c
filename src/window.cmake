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

# X11: libxcb, linked privately; nothing above the seam sees it.
if(UNIX AND NOT APPLE)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(XCB REQUIRED IMPORTED_TARGET GLOBAL xcb)
    list(APPEND _window_platform_sources
        platforms/xcb/native_window_backend_xcb.h
        platforms/xcb/native_window_backend_xcb.cpp)
    target_link_libraries(KorvexDashboard PRIVATE PkgConfig::XCB)
    target_compile_definitions(KorvexDashboard PRIVATE KORVEX_HAVE_XCB)
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
        platforms/none/native_window_backend_none.h
        platforms/none/native_window_backend_none.cpp
        ${_window_platform_sources}
    LIBRARIES
        KorvexDashboardTesting
        ${_window_platform_libraries})
