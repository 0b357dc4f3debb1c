# The dashboard protocol: the message format with its guarded reader, and the native-window
# seam with its backends. The dashboard library and the module library both link it; a module
# gets the protocol and Qt Gui, and none of the dashboard's controllers or Qt Quick.
#
# Its sources keep their places in this folder and their KORVEXDASHBOARD_EXPORT macro: with ELF
# visibility that macro exports from whichever library defines the symbol. The seam logs under
# the window area's category; dashboard_logging.cpp is built into this library as well, so each
# library holds its own (hidden) category objects under the same names, and one logging rule
# reaches both.
#
# On Windows an export macro names one DLL, so there the sources stay in the dashboard library
# and KorvexProtocol stands for it.

if(WIN32)
    add_library(KorvexProtocol INTERFACE)
    target_link_libraries(KorvexProtocol INTERFACE KorvexDashboard)
    install(TARGETS KorvexProtocol EXPORT KorvexDashboardTargets)
    set(KORVEX_PROTOCOL_IN_DASHBOARD ON)
    return()
endif()
set(KORVEX_PROTOCOL_IN_DASHBOARD OFF)

add_library(KorvexProtocol SHARED
    Controllers/qvipc_message.h
    Controllers/qvipc_message.cpp
    Controllers/qvipc_message_reader_p.h
    Controllers/qvipc_message_reader.cpp
    platforms/native_window_backend.h
    native_window_system.h
    native_window_system.cpp
    platforms/none/native_window_backend_none.h
    platforms/none/native_window_backend_none.cpp
    dashboard_logging.h
    dashboard_logging.cpp)
add_library(KorvexDashboard::Protocol ALIAS KorvexProtocol)
set_target_properties(KorvexProtocol PROPERTIES
    EXPORT_NAME Protocol
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
# The shared export header says "exported from here" when this is defined.
target_compile_definitions(KorvexProtocol PRIVATE KorvexDashboard_EXPORTS)
target_include_directories(KorvexProtocol PUBLIC
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}>"
    "$<BUILD_INTERFACE:${CMAKE_CURRENT_BINARY_DIR}/include>"
    "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/KorvexDashboard>")
# The suite logger is used inside the sources only.
target_link_libraries(KorvexProtocol PUBLIC Qt6::Core Qt6::Gui PRIVATE KorvexSuite)

# X11: libxcb, linked privately; nothing above the seam sees it.
if(UNIX AND NOT APPLE)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(XCB REQUIRED IMPORTED_TARGET GLOBAL xcb xcb-damage)
    target_sources(KorvexProtocol PRIVATE
        platforms/xcb/native_window_backend_xcb.h
        platforms/xcb/native_window_backend_xcb.cpp)
    target_link_libraries(KorvexProtocol PRIVATE PkgConfig::XCB)
    target_compile_definitions(KorvexProtocol PRIVATE KORVEX_HAVE_XCB)
endif()
korvex_log_source_paths(KorvexProtocol "${CMAKE_CURRENT_SOURCE_DIR}")

install(TARGETS KorvexProtocol EXPORT KorvexDashboardTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT ${KORVEX_RUNTIME_COMPONENT} NAMELINK_COMPONENT ${KORVEX_DEVELOPMENT_COMPONENT}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${KORVEX_DEVELOPMENT_COMPONENT}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT ${KORVEX_RUNTIME_COMPONENT})
