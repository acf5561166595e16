# What `cmake --install` puts where, and the packages that `cpack` makes of it: for Debian a run time,
# a -dev package and the programs, for Windows an archive. Components: runtime, dev, programs, docs;
# those of Debian alone begin with "debian_".
include(CMakePackageConfigHelpers)

set(SCAPI_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/scapi)
install(TARGETS scapi scapi_proximity EXPORT scapi
        RUNTIME COMPONENT runtime
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT dev
        ARCHIVE COMPONENT dev)
install(DIRECTORY include/scapi DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
if(WIN32)
  # For compilers that do not take this one's import library.
  install(FILES src/exports.def RENAME scapi.def
          DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
  install(FILES proximity/exports.def RENAME scapi_proximity.def
          DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
endif()

install(EXPORT scapi NAMESPACE scapi:: FILE scapi-targets.cmake
        DESTINATION ${SCAPI_CMAKE_DIR} COMPONENT dev)
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/scapi-config.cmake
     "include(\${CMAKE_CURRENT_LIST_DIR}/scapi-targets.cmake)\n")
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/scapi-config-version.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/scapi-config.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/scapi-config-version.cmake
        DESTINATION ${SCAPI_CMAKE_DIR} COMPONENT dev)

# Relative to their own place, so that a tree can be moved.
file(RELATIVE_PATH SCAPI_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
foreach(target scapi scapi_proximity)
  get_target_property(SCAPI_PC_DESCRIPTION ${target} SCAPI_DESCRIPTION)
  set(SCAPI_PC_NAME ${target})
  configure_file(cmake/package/pc.in ${target}.pc @ONLY)
  configure_file(man/${target}.3.in ${target}.3 @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${target}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${target}.3
          DESTINATION ${CMAKE_INSTALL_MANDIR}/man3 COMPONENT docs)
endforeach()
if(SCAPI_PROGRAMS)
  foreach(program scapi-check scapi-pair)
    configure_file(man/${program}.1.in ${program}.1 @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${program}.1
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT docs)
  endforeach()
endif()
install(FILES LICENSE README.md CHANGELOG.md SECURITY.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT docs)

set(CPACK_PACKAGE_VENDOR "the scapi authors")
set(CPACK_PACKAGE_CONTACT "the scapi authors <scapi@scapi.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_CURRENT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME scapi-${PROJECT_VERSION}-windows-x86_64)
else()
  set(CPACK_GENERATOR DEB)
  include(cmake/package/debian.cmake)
endif()
include(CPack)
