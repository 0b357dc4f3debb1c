# The printing library: printers (the machine's own through Qt's print support, plus simulated
# ones from a JSON file), their status, supplies and ribbons, and the latest firmware versions.
find_package(Qt6 REQUIRED COMPONENTS PrintSupport)

korvex_suite_add_sources(
    HEADERS
        printing/available_printers.h
        printing/printer_directory.h
        printing/printer_latest_versions.h
        printing/printer_status_controller.h
        printing/qvipc_m4_controller.h
        printing/supply_id_controller.h
        printing/windows_printer_info.h
    SOURCES
        printing/printing_logging.h
        printing/printing_logging.cpp
        printing/printer_directory.cpp
        printing/printer_latest_versions.cpp
        printing/printer_status_controller.cpp
        printing/qvipc_m4_controller.cpp
        printing/supply_id_controller.cpp
        printing/windows_printer_info.cpp
    LIBRARIES
        Qt6::PrintSupport)
