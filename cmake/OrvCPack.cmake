# Debian packages made by `cpack -G DEB` from a build configured with the prefix /usr (the
# release preset): liborv1 holds the three shared libraries, liborv-dev the headers, the .so
# links, the CMake package and the pkg-config files.

set(ORV_DOC_FILES "${PROJECT_SOURCE_DIR}/packaging/copyright")
# Debian wants the changelog of a package compressed, beside its copyright file.
set(ORV_CHANGELOG_GZ "${PROJECT_BINARY_DIR}/packaging/changelog.gz")
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/packaging")
file(COPY_FILE "${PROJECT_SOURCE_DIR}/CHANGELOG.md" "${PROJECT_BINARY_DIR}/packaging/changelog"
  ONLY_IF_DIFFERENT)
file(ARCHIVE_CREATE OUTPUT "${ORV_CHANGELOG_GZ}" PATHS "${PROJECT_BINARY_DIR}/packaging/changelog"
  FORMAT raw COMPRESSION GZip COMPRESSION_LEVEL 9)
set(ORV_COMPONENTS runtime development)
set(ORV_COMPONENT_PACKAGES liborv1 liborv-dev)
foreach(component package IN ZIP_LISTS ORV_COMPONENTS ORV_COMPONENT_PACKAGES)
  install(FILES ${ORV_DOC_FILES} "${ORV_CHANGELOG_GZ}"
    DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/${package}" COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME liborv)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR "The orv maintainers")
set(CPACK_PACKAGE_CONTACT "The orv maintainers <maintainers@orv.example.org>")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://orv.example.org/")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME liborv1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# The registered libraries are refreshed through dpkg's ldconfig trigger.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers")
# The synopsis of both packages is the project's description; these are the long descriptions.
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "liborv.nol.common.so is the library that the services of a
resource-oriented service interface link against: a resource query language,
text and URI helpers, resource URIs and GUIDs, HTTP status codes, serialisation
of resource elements to JSON, a SOAP fault and a module runtime framework.
It stands on liborv.common.so (threads, locks, logging, GUID, SHA-1, a timer
thread) and liborv.dataformats.so (a data tree and its JSON writer).")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborv-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "liborv1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "Development files of liborv1: the headers, the .so links, the CMake package
(find_package(orv CONFIG)) and the pkg-config files (orv.common,
orv.dataformats, orv.nol.common).")

include(CPack)
