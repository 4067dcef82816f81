# The Debian package: scripts/package-deb.sh builds the `package` preset (the
# programs in /usr/games, Debian's place for games) and its package-deb
# target, which writes vantrel_VERSION_ARCH.deb. The run-time dependencies are
# computed by dpkg-shlibdeps from the linked libraries.
include(GNUInstallDirs)

set(VANTREL_MAINTAINER "The Vantrel developers <maintainers@vantrel.org>"
    CACHE STRING "Maintainer field of the Debian package")

# What Debian policy wants beside every package's files.
set(doc_dir ${CMAKE_CURRENT_BINARY_DIR}/packaging/doc)
file(MAKE_DIRECTORY ${doc_dir})
configure_file(${CMAKE_CURRENT_LIST_DIR}/copyright ${doc_dir}/copyright COPYONLY)
# Vantrel is its own upstream (a native package), so the changelog is changelog.gz.
configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${doc_dir}/changelog @ONLY)
add_custom_command(OUTPUT ${doc_dir}/changelog.gz
    COMMAND gzip -9 -n -k -f ${doc_dir}/changelog
    DEPENDS ${doc_dir}/changelog
    COMMENT "Compressing the Debian changelog")
add_custom_target(vantrel_package_docs DEPENDS ${doc_dir}/changelog.gz)
install(FILES ${doc_dir}/copyright ${doc_dir}/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vantrel COMPONENT debian EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantrel)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${VANTREL_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tiny pixel dinosaur runner at the top of the screen")
string(CONCAT CPACK_PACKAGE_DESCRIPTION
    "Vantrel hides at the top centre of the screen and lives in the system tray.\n"
    "Rest the pointer just below that spot and the dinosaur peeks out; click it,\n"
    "use the tray icon or press Alt+Super+Space to play. Jump cacti, duck\n"
    "pterodactyls and beat your best score to synthesised chiptune sounds.")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://vantrel.org/")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS OFF)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
# Qt's platform plugin for X11 is loaded at run time, so no linked library names it.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "pulseaudio | pipewire-pulse")
# The program and its data, plus the Debian documents; not the maintainers' tool.
set(CPACK_DEB_COMPONENT_INSTALL OFF)
set(CPACK_COMPONENTS_ALL Unspecified debian)
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};${PROJECT_NAME};Unspecified;/"
                                 "${CMAKE_BINARY_DIR};${PROJECT_NAME};debian;/")
include(CPack)

add_custom_target(package-deb
    COMMAND ${CMAKE_CPACK_COMMAND} -G DEB -C $<CONFIG> --config ${CMAKE_BINARY_DIR}/CPackConfig.cmake
    WORKING_DIRECTORY ${CMAKE_BINARY_DIR}
    DEPENDS vantrel vantrel-sim vantrel_icons vantrel_man_pages vantrel_package_docs
    COMMENT "Building the Debian package")
