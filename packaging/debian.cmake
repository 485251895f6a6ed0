# The Debian packages: `cpack --config build/package/CPackConfig.cmake`, after a build with the preset
# "package". tallyra is what runs, tallyra-dev what agents and providers are built with, and
# tallyra-standin takes the place of the measuring tool and of the remote-executor client on machines
# that have neither.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGE_CONTACT "${TALLYRA_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENTS_ALL runtime development standin)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME tallyra)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS python3)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SUGGESTS tallyra-standin)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "performance counters for the Tallyra telemetry framework
A plug-in library that offers the performance counters of an Arvalen device,
and those of remote providers, to collection agents; and tallyra-agent, which
lists, reads, watches and exports them.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME tallyra-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "tallyra (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "headers for Tallyra agents and providers
The C headers of the Tallyra framework, with what CMake and pkg-config need
to find them and the library, to build collection agents and providers.")

set(CPACK_DEBIAN_STANDIN_PACKAGE_NAME tallyra-standin)
set(CPACK_DEBIAN_STANDIN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_STANDIN_PACKAGE_DEPENDS python3)
set(CPACK_DEBIAN_STANDIN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/triggers
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/standin/postrm
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/standin/preinst)
set(CPACK_DEBIAN_STANDIN_DESCRIPTION "stand-ins for the measuring tool and the remote executor
A measuring tool and a remote-executor client that report figures of the
machine they run on, for machines that are no Arvalen device.")

# What each package carries beside its files.
foreach(component runtime development standin)
  string(TOUPPER ${component} upper)
  set(documentation share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(package_files ${CMAKE_CURRENT_BINARY_DIR}/${component})
  configure_file(debian/changelog.in ${package_files}/changelog @ONLY)
  compress(${package_files}/changelog ${package_files}/changelog.gz)
  install(FILES ${package_files}/changelog.gz debian/copyright DESTINATION ${documentation}
          COMPONENT ${component})
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/debian/${component}.lintian-overrides)
    install(FILES debian/${component}.lintian-overrides DESTINATION share/lintian/overrides
            RENAME ${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COMPONENT ${component})
  endif()
endforeach()

include(CPack)
