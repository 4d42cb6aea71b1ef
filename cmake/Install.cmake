# What an installation is: libraries, public headers, the client with its manual page and its entry for file
# managers, the default image, and what other projects find the library by. And the Debian package of it.
include(CMakePackageConfigHelpers)

set(headers_dir ${CMAKE_INSTALL_INCLUDEDIR}/qxtng)
foreach(header IN ITEMS api/QxTng.h common/TNGTypes.h cutil/Export.h cutil/Logger.h platform/Export.h
                        platform/Memory.h platform/Text.h platform/graphics/GdiplusTypes.h
                        platform/graphics/Image.h)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES src/${header} DESTINATION ${headers_dir}/${folder})
endforeach()

# The image library is bound by its plain name, beside the one that binds it.
set_target_properties(qxzthbg2 qxplatform PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
install(TARGETS qxzthbg2 qxplatform QxzCUtil03 QxzIml03 EXPORT qxtng
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} INCLUDES DESTINATION ${headers_dir})
install(TARGETS qxtng RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES resources/EmptyImage_240.png DESTINATION ${CMAKE_INSTALL_DATADIR}/qxtng)
install(FILES resources/install/qxtng.thumbnailer DESTINATION ${CMAKE_INSTALL_DATADIR}/thumbnailers)
install(FILES docs/qxtng.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# find_package(qxtng) gives qxtng::qxzthbg2 and qxtng::qxplatform.
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qxtng)
install(EXPORT qxtng FILE qxtngConfig.cmake NAMESPACE qxtng:: DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qxtngConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qxtngConfigVersion.cmake DESTINATION ${package_dir})
file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(resources/install/qxtng.pc.in qxtng.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qxtng.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qxtng)
set(CPACK_PACKAGE_CONTACT "The qxtng developers <qxtng@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
