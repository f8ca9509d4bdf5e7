# What `cmake --install` puts where. Everything in the installed tree finds the rest from where it lies itself.
include(CMakePackageConfigHelpers)

set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VQLoan)
install(TARGETS automation EXPORT VQLoanTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS VQLoan LIBRARY DESTINATION ${VQLOAN_COMPONENT_DIR})
# The component looks for the library beside itself only: a site's copy must not load what lies in the directory above
# the site. So there is a link for the installed one, and `vqloan site` makes one for a copy.
set(soname libautomation.so.${PROJECT_VERSION_MAJOR})
file(RELATIVE_PATH library /${VQLOAN_COMPONENT_DIR} /${CMAKE_INSTALL_LIBDIR}/${soname})
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/component)
file(CREATE_LINK ${library} ${PROJECT_BINARY_DIR}/component/${soname} SYMBOLIC)
install(FILES ${PROJECT_BINARY_DIR}/component/${soname} DESTINATION ${VQLOAN_COMPONENT_DIR})
if(TARGET vqloan)
  install(TARGETS vqloan RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# Headers keep their places in the source tree: clients include them as the component itself does.
foreach(header component/face/DispSvrInterface.h platform/automation/Automation.h
               platform/automation/posix/AutomationTypes.h)
  get_filename_component(folder ${header} DIRECTORY)
  install(FILES src/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vqloan/${folder})
endforeach()
install(FILES src/component/face/VQLoan.idl DESTINATION ${CMAKE_INSTALL_DATADIR}/vqloan)

# find_package(VQLoan) and pkg-config.
install(EXPORT VQLoanTargets NAMESPACE VQLoan:: DESTINATION ${cmake_dir})
configure_package_config_file(cmake/VQLoanConfig.cmake.in ${PROJECT_BINARY_DIR}/VQLoanConfig.cmake
                              INSTALL_DESTINATION ${cmake_dir} PATH_VARS VQLOAN_COMPONENT_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VQLoanConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VQLoanConfig.cmake ${PROJECT_BINARY_DIR}/VQLoanConfigVersion.cmake
        DESTINATION ${cmake_dir})
file(RELATIVE_PATH prefix_from_pc /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/vqloan.pc.in vqloan.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vqloan.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

foreach(section 1 5)
  configure_file(client/vqloan.${section} vqloan.${section} @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/vqloan.${section} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section})
endforeach()
install(FILES packaging/completion.bash DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions
        RENAME vqloan)

# Services: where systemd looks, not where this system keeps its libraries.
set(units gateway host)
if(TARGET PkgConfig::httplib)
  list(APPEND units serve)
endif()
foreach(unit ${units})
  configure_file(packaging/vqloan-${unit}@.service.in vqloan-${unit}@.service @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/vqloan-${unit}@.service DESTINATION lib/systemd/system)
endforeach()
install(FILES packaging/vqloan.sysusers DESTINATION lib/sysusers.d RENAME vqloan.conf)

install(FILES README.md DESTINATION ${VQLOAN_DOC_DIR})
install(DIRECTORY docs DESTINATION ${VQLOAN_DOC_DIR})
install(DIRECTORY examples DESTINATION ${VQLOAN_DOC_DIR} USE_SOURCE_PERMISSIONS
        PATTERN examples/CMakeLists.txt EXCLUDE)
