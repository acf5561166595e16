# libscapi0, which programs need, libscapi-dev, which builds need, and scapi-tools, the programs: what
# policy asks of them.
set(SCAPI_DEBIAN_RUNTIME libscapi${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENTS_ALL runtime dev debian_runtime debian_dev)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENT_RUNTIME_GROUP runtime)
set(CPACK_COMPONENT_DEBIAN_RUNTIME_GROUP runtime)
set(CPACK_COMPONENT_DEV_GROUP dev)
set(CPACK_COMPONENT_DEBIAN_DEV_GROUP dev)
if(SCAPI_PROGRAMS)
  list(APPEND CPACK_COMPONENTS_ALL programs debian_programs)
  set(CPACK_COMPONENT_PROGRAMS_GROUP programs)
  set(CPACK_COMPONENT_DEBIAN_PROGRAMS_GROUP programs)
endif()

set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${SCAPI_DEBIAN_RUNTIME})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# Below the summary, which is that of the project.
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
 "Two shared libraries: one tells whether a placed or moving solid touches
 another, the other gives certified distances, contacts and times of impact.")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libscapi-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${SCAPI_DEBIAN_RUNTIME} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION
 "What programs that use the libraries of ${SCAPI_DEBIAN_RUNTIME} are built with:
 headers, manual pages, and what CMake and pkg-config ask for.")
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_NAME scapi-tools)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SHLIBDEPS ON)
# Where it finds the libraries of the programs, of which no package tells yet.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/proximity)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_DEPENDS "${SCAPI_DEBIAN_RUNTIME} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PROGRAMS_DESCRIPTION
 "Two programs: scapi-check holds a tool path against a machine and looks for
 faults in meshes, scapi-pair judges two solids. Both show what they find in 3D.")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/debian/triggers)

file(READ LICENSE licence)
string(REGEX REPLACE "\n(.)" "\n \\1" licence "${licence}")
string(REPLACE "\n\n" "\n .\n" licence "${licence}")
set(folder ${CMAKE_CURRENT_BINARY_DIR}/debian)
file(WRITE ${folder}/copyright
"Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/

Files: *
Copyright: 2026 the scapi authors
License: MIT

Files: usr/bin/* usr/share/scapi/viewer.html
Copyright: 2026 the scapi authors
           2010-2017 the three.js authors
License: MIT

License: MIT
 ${licence}")
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${folder}/changelog
"scapi (${PROJECT_VERSION}) unstable; urgency=medium

  * Version ${PROJECT_VERSION}.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
find_program(GZIP gzip)
if(GZIP)
  execute_process(COMMAND ${GZIP} -9nf ${folder}/changelog)
  foreach(page scapi scapi_proximity)
    execute_process(COMMAND ${GZIP} -9nkf ${CMAKE_CURRENT_BINARY_DIR}/${page}.3)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${page}.3.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man3
            COMPONENT debian_dev EXCLUDE_FROM_ALL)
  endforeach()
endif()
if(GZIP AND SCAPI_PROGRAMS)
  foreach(page scapi-check scapi-pair)
    execute_process(COMMAND ${GZIP} -9nkf ${CMAKE_CURRENT_BINARY_DIR}/${page}.1)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${page}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
            COMPONENT debian_programs EXCLUDE_FROM_ALL)
  endforeach()
endif()
foreach(component runtime dev programs)
  string(TOUPPER ${component} COMPONENT)
  set(place ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
  install(FILES ${folder}/copyright ${folder}/changelog.gz DESTINATION ${place}
          COMPONENT debian_${component} EXCLUDE_FROM_ALL)
endforeach()
file(WRITE ${folder}/triggers "activate-noawait ldconfig\n")
file(WRITE ${folder}/${SCAPI_DEBIAN_RUNTIME}
"# CPack writes these scripts by itself; beside the trigger they do no harm.
${SCAPI_DEBIAN_RUNTIME}: maintscript-calls-ldconfig *
")
install(FILES ${folder}/${SCAPI_DEBIAN_RUNTIME} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
        COMPONENT debian_runtime EXCLUDE_FROM_ALL)
