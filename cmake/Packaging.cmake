# `cmake --install` and CPack: the app and its keymap tool side by side in bin/ (the app
# starts the tool from its own folder), the desktop files from data/, a .deb whose Depends
# come from dpkg-shlibdeps, and a .tar.gz that runs from wherever it is unpacked.
include(GNUInstallDirs)

# Installing and packaging take the binaries as built; they never start a build of
# everything (tests, benchmarks) first.
set(CMAKE_SKIP_INSTALL_ALL_DEPENDENCY ON)

install(TARGETS vistrel vistrel-keymap RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

set(CPACK_PACKAGE_NAME vistrel)
set(CPACK_PACKAGE_VENDOR "Vistrel")
set(CPACK_PACKAGE_CONTACT "Vistrel maintainers <maintainers@vistrel.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Keyboard bridge and capture studio for X11 desktops")
set(CPACK_PACKAGE_DESCRIPTION
    "Windows Mode swaps Command (Super) and Control system-wide and carries your own key mappings; global hot keys and the vistrel command take region and scrolling screenshots and screen recordings, saved, copied and listed in an annotation-ready history.")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR "DEB;TGZ")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_INSTALL_DIRECTORY vistrel)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded as plugins, so dpkg-shlibdeps cannot see them: TIFF and WebP for the clipboard.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-image-formats-plugins")
# xset turns the display off after a lock; loginctl locks the session.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "x11-xserver-utils, systemd")

include(CPack)
