# Fetches the Press Start 2P pixel font (SIL Open Font License) from the npm
# registry at configure time and describes it in a generated Qt resource file.
# The font is never committed. Without npm or a network the build still
# succeeds: the resource is then empty and the program falls back to a system
# font. A second configure reuses what the first one fetched (or the record
# that fetching failed), so it costs nothing.
#
# Sets VANTREL_PIXEL_FONT_QRC (the generated .qrc) and, when the font is
# there, VANTREL_PIXEL_FONT_LICENSE.

set(_font_dir "${CMAKE_BINARY_DIR}/pixel-font")
set(_font_file "${_font_dir}/PressStart2P-Regular.ttf")
set(_license_file "${_font_dir}/PressStart2P-OFL.txt")
set(_failed_marker "${_font_dir}/fetch-failed.txt")
set(_package "@expo-google-fonts/press-start-2p")

file(MAKE_DIRECTORY "${_font_dir}")

if(NOT EXISTS "${_font_file}" AND NOT EXISTS "${_failed_marker}")
    find_program(VANTREL_NPM npm)
    set(_error "")
    if(NOT VANTREL_NPM)
        set(_error "npm was not found")
    else()
        set(_work "${_font_dir}/fetch")
        file(REMOVE_RECURSE "${_work}")
        file(MAKE_DIRECTORY "${_work}")
        message(STATUS "Fetching the pixel font: npm pack ${_package}")
        execute_process(
            COMMAND "${VANTREL_NPM}" pack "${_package}" --silent --fetch-retries=1 --fetch-timeout=20000
            WORKING_DIRECTORY "${_work}"
            RESULT_VARIABLE _npm_result
            OUTPUT_VARIABLE _npm_output
            ERROR_VARIABLE _npm_error
            TIMEOUT 90)
        file(GLOB _tarballs "${_work}/*.tgz")
        if(NOT _npm_result EQUAL 0 OR NOT _tarballs)
            string(STRIP "${_npm_error}" _npm_error)
            set(_error "npm pack failed (${_npm_result}): ${_npm_error}")
        else()
            list(GET _tarballs 0 _tarball)
            file(ARCHIVE_EXTRACT INPUT "${_tarball}" DESTINATION "${_work}"
                 PATTERNS package/400Regular/PressStart2P_400Regular.ttf package/LICENSE_FONT)
            set(_ttf "${_work}/package/400Regular/PressStart2P_400Regular.ttf")
            set(_ofl "${_work}/package/LICENSE_FONT")
            if(EXISTS "${_ttf}" AND EXISTS "${_ofl}")
                # Licence first, so a font file never exists without it.
                file(COPY_FILE "${_ofl}" "${_license_file}")
                file(COPY_FILE "${_ttf}" "${_font_file}")
            else()
                set(_error "the package has no 400Regular/PressStart2P_400Regular.ttf or LICENSE_FONT")
            endif()
        endif()
        file(REMOVE_RECURSE "${_work}")
    endif()
    if(_error)
        file(WRITE "${_failed_marker}" "${_error}\n")
    endif()
endif()

if(EXISTS "${_font_file}" AND EXISTS "${_license_file}")
    set(_qrc_files "        <file alias=\"PressStart2P-Regular.ttf\">${_font_file}</file>\n")
    set(VANTREL_PIXEL_FONT_LICENSE "${_license_file}")
    message(STATUS "Pixel font: ${_font_file}")
else()
    set(_qrc_files "")
    set(VANTREL_PIXEL_FONT_LICENSE "")
    set(_why "the font or its licence is missing from ${_font_dir}")
    if(EXISTS "${_failed_marker}")
        file(READ "${_failed_marker}" _why)
        string(STRIP "${_why}" _why)
    endif()
    message(WARNING "Building without the Press Start 2P font (${_why}); texts use a fallback font. "
                    "Delete ${_failed_marker} and configure again to retry.")
endif()

set(VANTREL_PIXEL_FONT_QRC "${_font_dir}/pixelfont.qrc")
# file(CONFIGURE) rewrites only on change, so the resource is not rebuilt needlessly.
file(CONFIGURE OUTPUT "${VANTREL_PIXEL_FONT_QRC}" CONTENT
"<!DOCTYPE RCC><RCC version=\"1.0\">
    <qresource prefix=\"/fonts\">
@_qrc_files@    </qresource>
</RCC>
" @ONLY)
