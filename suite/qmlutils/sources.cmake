korvex_suite_add_sources(
    HEADERS
        qmlutils/qvdashboard_icons.h
    SOURCES
        qmlutils/qvdashboard_icons.cpp)

# The two application fonts come from Debian's font packages at build time (fonts-font-awesome,
# OFL 1.1, and fonts-dejavu-core, Bitstream Vera licence) and are compiled in as
# ":/Fonts/QVDashboardIcons.ttf" and ":/Fonts/QVGeneralFontGlyphs.ttf", each with its
# licence beside it. The icon font is renamed to the family QVDashboardIcons announces.
set(KORVEX_ICON_FONT_SOURCE "/usr/share/fonts/truetype/font-awesome/fontawesome-webfont.ttf"
    CACHE FILEPATH "TrueType font the dashboard's icon glyphs are taken from")
set(KORVEX_ICON_FONT_LICENSE "/usr/share/doc/fonts-font-awesome/copyright"
    CACHE FILEPATH "Licence of KORVEX_ICON_FONT_SOURCE")
set(KORVEX_GLYPH_FONT_SOURCE "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"
    CACHE FILEPATH "TrueType font shipped as the suite's general glyph font")
set(KORVEX_GLYPH_FONT_LICENSE "/usr/share/doc/fonts-dejavu-core/copyright"
    CACHE FILEPATH "Licence of KORVEX_GLYPH_FONT_SOURCE")

foreach(_font_file IN ITEMS KORVEX_ICON_FONT_SOURCE KORVEX_ICON_FONT_LICENSE
                            KORVEX_GLYPH_FONT_SOURCE KORVEX_GLYPH_FONT_LICENSE)
    if(NOT EXISTS "${${_font_file}}")
        message(FATAL_ERROR "${_font_file} (${${_font_file}}) is missing: run scripts/install-deps "
                            "(fonts-font-awesome, fonts-dejavu-core) or set it to a font file.")
    endif()
endforeach()

# Debian's python3-fonttools; the interpreter on PATH may be another one without it.
set(KORVEX_FONT_PYTHON "")
foreach(_python IN ITEMS /usr/bin/python3 python3 python)
    find_program(_korvex_python_candidate NAMES "${_python}" NO_CACHE)
    if(_korvex_python_candidate)
        execute_process(COMMAND "${_korvex_python_candidate}" -c "import fontTools"
                        RESULT_VARIABLE _fonttools_result OUTPUT_QUIET ERROR_QUIET)
        if(_fonttools_result EQUAL 0)
            set(KORVEX_FONT_PYTHON "${_korvex_python_candidate}")
            break()
        endif()
    endif()
    unset(_korvex_python_candidate)
endforeach()

set(_korvex_fonts_dir "${CMAKE_CURRENT_BINARY_DIR}/fonts")
file(MAKE_DIRECTORY "${_korvex_fonts_dir}")
if(KORVEX_FONT_PYTHON)
    add_custom_command(
        OUTPUT "${_korvex_fonts_dir}/QVDashboardIcons.ttf"
        COMMAND "${KORVEX_FONT_PYTHON}" "${CMAKE_CURRENT_SOURCE_DIR}/qmlutils/rename_font.py"
                "${KORVEX_ICON_FONT_SOURCE}" "${_korvex_fonts_dir}/QVDashboardIcons.ttf"
                qvdashboardicons
        DEPENDS "${KORVEX_ICON_FONT_SOURCE}" "${CMAKE_CURRENT_SOURCE_DIR}/qmlutils/rename_font.py"
        COMMENT "Renaming the icon font to family qvdashboardicons"
        VERBATIM)
else()
    message(WARNING "Python fontTools not found (python3-fonttools): the icon font keeps its "
                    "own family name and the front end will not find \"qvdashboardicons\".")
    add_custom_command(
        OUTPUT "${_korvex_fonts_dir}/QVDashboardIcons.ttf"
        COMMAND "${CMAKE_COMMAND}" -E copy "${KORVEX_ICON_FONT_SOURCE}"
                "${_korvex_fonts_dir}/QVDashboardIcons.ttf"
        DEPENDS "${KORVEX_ICON_FONT_SOURCE}"
        VERBATIM)
endif()
configure_file("${KORVEX_ICON_FONT_LICENSE}" "${_korvex_fonts_dir}/QVDashboardIcons-LICENSE.txt" COPYONLY)
configure_file("${KORVEX_GLYPH_FONT_SOURCE}" "${_korvex_fonts_dir}/QVGeneralFontGlyphs.ttf" COPYONLY)
configure_file("${KORVEX_GLYPH_FONT_LICENSE}" "${_korvex_fonts_dir}/QVGeneralFontGlyphs-LICENSE.txt" COPYONLY)
set_source_files_properties("${_korvex_fonts_dir}/QVDashboardIcons.ttf" PROPERTIES GENERATED TRUE)

qt_add_resources(KorvexSuite "korvex_suite_fonts"
    PREFIX "/Fonts"
    BASE "${_korvex_fonts_dir}"
    FILES
        "${_korvex_fonts_dir}/QVDashboardIcons.ttf"
        "${_korvex_fonts_dir}/QVDashboardIcons-LICENSE.txt"
        "${_korvex_fonts_dir}/QVGeneralFontGlyphs.ttf"
        "${_korvex_fonts_dir}/QVGeneralFontGlyphs-LICENSE.txt")
