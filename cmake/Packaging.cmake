# What an installation consists of, as the two components `tarn` and `tarn-relay`, and the Debian packages of these
# (scripts/package).
include(GNUInstallDirs)

set(packaging ${CMAKE_SOURCE_DIR}/packaging)
set(made ${CMAKE_BINARY_DIR}/packaging)
set(icon_sizes 16 22 24 32 48 64 128 256 512)

# Files that are made; not by the build of the programs, since they need tools that nothing else does.
set(package_files)
function(tarn_package_file output)
  cmake_parse_arguments(ARG "" "" "FROM;COMMAND" ${ARGN})
  add_custom_command(OUTPUT ${made}/${output} DEPENDS ${ARG_FROM} COMMAND ${ARG_COMMAND} VERBATIM)
  set(package_files ${package_files} ${made}/${output} PARENT_SCOPE)
endfunction()
# Without name and time, so that the same sources make the same bytes.
function(tarn_gzip output source)
  tarn_package_file(${output} FROM ${source} COMMAND sh -c "gzip -9nc \"$1\" > \"$2\"" sh ${source} ${made}/${output})
  set(package_files ${package_files} PARENT_SCOPE)
endfunction()

foreach(size ${icon_sizes})
  set(png icons/${size}.png)
  tarn_package_file(${png} FROM ${packaging}/icons/com.ostrel.tarn.svg
                    COMMAND rsvg-convert -w ${size} -h ${size} ${packaging}/icons/com.ostrel.tarn.svg -o ${made}/${png})
  install(FILES ${made}/${png} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps
          RENAME com.ostrel.tarn.png COMPONENT tarn OPTIONAL)
endforeach()
file(MAKE_DIRECTORY ${made}/icons ${made}/tarn ${made}/tarn-relay)

set(tarn_pages tarn tarn-cli tarn-unduck)
set(tarn-relay_pages tarn-relay)
set(tarn_documents configuration troubleshooting)
set(tarn-relay_documents relay engines)
foreach(component tarn tarn-relay)
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/${component})
  foreach(page ${${component}_pages})
    tarn_gzip(${component}/${page}.1.gz ${packaging}/man/${page}.1)
    install(FILES ${made}/${component}/${page}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT ${component}
            OPTIONAL)
  endforeach()
  foreach(document ${${component}_documents})
    install(FILES ${CMAKE_SOURCE_DIR}/docs/${document}.md DESTINATION ${documents} COMPONENT ${component})
  endforeach()
  tarn_gzip(${component}/changelog.gz ${packaging}/debian/changelog)
  install(FILES ${made}/${component}/changelog.gz DESTINATION ${documents} COMPONENT ${component} OPTIONAL)
  install(FILES ${packaging}/debian/copyright DESTINATION ${documents} COMPONENT ${component})
endforeach()
tarn_gzip(tarn/NEWS.gz ${CMAKE_SOURCE_DIR}/CHANGELOG.md)
install(FILES ${made}/tarn/NEWS.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tarn COMPONENT tarn OPTIONAL)
add_custom_target(tarn_package_files DEPENDS ${package_files})

install(FILES ${packaging}/icons/com.ostrel.tarn.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT tarn)
install(FILES ${packaging}/com.ostrel.tarn.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT tarn)
install(FILES ${packaging}/com.ostrel.tarn.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT tarn)
install(FILES ${packaging}/systemd/tarn-relay.socket DESTINATION lib/systemd/user COMPONENT tarn-relay)
install(FILES ${packaging}/completion/tarn ${packaging}/completion/tarn-cli
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tarn)
install(FILES ${packaging}/completion/tarn-relay DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        COMPONENT tarn-relay)

install(FILES ${packaging}/completion/zsh/_tarn-cli DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
        COMPONENT tarn)
install(FILES ${packaging}/completion/zsh/_tarn-relay DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
        COMPONENT tarn-relay)

# Files that name the programs: written when the prefix is known, which is at installing.
foreach(service com.ostrel.tarn.service tarn-relay.service)
  if(service STREQUAL tarn-relay.service)
    set(template ${packaging}/systemd/${service}.in)
    set(component tarn-relay)
    set(destination lib/systemd/user)
  else()
    set(template ${packaging}/${service}.in)
    set(component tarn)
    set(destination ${CMAKE_INSTALL_DATADIR}/dbus-1/services)
  endif()
  install(CODE "set(CMAKE_INSTALL_FULL_BINDIR \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")
                configure_file(\"${template}\" \"${made}/${service}\" @ONLY)" COMPONENT ${component})
  install(FILES ${made}/${service} DESTINATION ${destination} COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarn)
set(CPACK_PACKAGE_VENDOR Tarn)
set(CPACK_PACKAGE_CONTACT "The Tarn developers <tarn@ostrel.com>")
# With DESTDIR the prefix stays what it will be, and with it what is written into files.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL tarn tarn-relay)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_SOURCE_DIR}/build/package)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# What dpkg-shlibdeps cannot see: modules that QML loads, programs that are started, servers that are talked to.
set(CPACK_DEBIAN_TARN_PACKAGE_NAME tarn)
set(CPACK_DEBIAN_TARN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_TARN_PACKAGE_DEPENDS
    "qml6-module-qtquick, qml6-module-qtquick-layouts, qml6-module-qtquick-templates, qml6-module-qtqml-workerscript, \
pipewire, wireplumber, ca-certificates, hicolor-icon-theme, default-dbus-session-bus | dbus-session-bus")
set(CPACK_DEBIAN_TARN_PACKAGE_RECOMMENDS
    "tarn-relay, fonts-noto-core | fonts-dejavu-core, fonts-noto-cjk | fonts-wqy-microhei, fonts-noto-color-emoji, \
gnome-keyring | kwalletmanager | libpam-kwallet5, libglib2.0-bin, desktop-file-utils, xdg-utils, qt6-wayland")
set(CPACK_COMPONENT_TARN_DESCRIPTION
"live translation of speech, with subtitles and a spoken translation
Tarn listens to everything the desktop plays, to one application or to a
microphone, shows the translation as it comes in a window above everything
else, and speaks it in another voice.
.
This package has the window, tarn, and the same for terminals and scripts,
tarn-cli. With the package tarn-relay they work offline; an account server
can take its place.")
set(CPACK_DEBIAN_TARN-RELAY_PACKAGE_NAME tarn-relay)
set(CPACK_DEBIAN_TARN-RELAY_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_TARN-RELAY_PACKAGE_DEPENDS
    "pocketsphinx-en-us, apertium, apertium-eng-spa, espeak-ng, ca-certificates, init-system-helpers (>= 1.62)")
set(CPACK_DEBIAN_TARN-RELAY_PACKAGE_RECOMMENDS "apertium-es-pt, apertium-fr-es, apertium-spa-ita, systemd")
set(CPACK_DEBIAN_TARN-RELAY_PACKAGE_SUGGESTS "tarn")
set(CPACK_COMPONENT_TARN-RELAY_DESCRIPTION
"account server and offline translation of speech for Tarn
tarn-relay gives Tarn accounts, a sign-in page and translation for one
machine or one household: it recognises, translates and speaks with what is
installed here, or passes streams on to a translation service.
.
Each user's first client starts it.")
set(CPACK_DEBIAN_TARN-RELAY_PACKAGE_CONTROL_EXTRA
    "${packaging}/debian/tarn-relay/postinst;${packaging}/debian/tarn-relay/prerm;${packaging}/debian/tarn-relay/postrm")
include(CPack)
