# Debian packages, one per install component: korvex-pro (Runtime: the program, the module
# programs, the libraries, the desktop files) and korvex-pro-dev (Development: headers, the
# CMake package, the testing library). Built by scripts/package; configure with
# -DCMAKE_INSTALL_PREFIX=/usr for them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME korvex-pro)
set(CPACK_PACKAGE_VENDOR "Quorvane Inc")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Quorvane Inc <packages@korvex.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://korvex.example/")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL ${KORVEX_PACKAGE_COMPONENTS})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "${CPACK_PACKAGE_HOMEPAGE_URL}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${KORVEX_DEBIAN_REVISION})
set(CPACK_DEBIAN_PACKAGE_SOURCE korvex-pro)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Shared libraries of the packages themselves: dpkg-shlibdeps takes them from here, and the
# shlibs file lets korvex-pro-dev depend on them.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME korvex-pro)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION graphics)
# The shared libraries are in the linker's folders: the loader's cache learns of them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/debian/triggers")
# First line: the synopsis; CPack indents the rest and marks the empty line.
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
"dashboard of the Korvex PRO label printing suite
Korvex PRO designs and prints safety labels and signs on industrial label
printers. Its dashboard lists the user's labels, recently viewed labels and
favourites, and starts the suite's modules (label designer, premade signs,
arc flash, chemical and NFPA labels, pipe marking, symbol creator, printer
maintenance), whose windows it shows inside its own on X11.

This package holds the dashboard program, the demo module programs, the
shared libraries, the desktop entry and the label file types.")
# The QML front end imports these at run time; no library links them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
    "qml6-module-qtquick, qml6-module-qtquick-controls, qml6-module-qtquick-layouts, qml6-module-qtquick-templates, qml6-module-qtquick-window, qml6-module-qtqml-workerscript, qml6-module-qtqml-models")
# The language list names each language in its own script, and label names may be in any;
# Debian's default fonts draw no Japanese, Chinese or Korean.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "fonts-noto-cjk | fonts-wqy-microhei")

# Each package's description starts with its own synopsis: CPack puts a summary of its own
# above it unless the summary is CPack's default.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME korvex-pro-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/debian/triggers")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"SDK of the Korvex PRO dashboard for module authors and hosts
Headers and the CMake package (find_package(KorvexDashboard)) of the
Korvex PRO libraries: KorvexDashboard::Module and KorvexDashboard::Protocol
for module programs, KorvexDashboard::KorvexDashboard for hosts, and the
recording native window system KorvexDashboard::Testing for their tests.")
# What find_package(KorvexDashboard) looks for in turn.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "qt6-base-dev, qt6-declarative-dev")

include(CPack)
