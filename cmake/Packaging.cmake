# Debian packages through CPack (scripts/package.sh): "vantle" with the libraries,
# the tool, the dictionaries and the system registry, and "vantle-dev" with what a
# host builds against. dpkg-shlibdeps finds the system libraries they need.
set(CPACK_PACKAGE_NAME vantle)
set(CPACK_PACKAGE_VENDOR "The Vantle developers")
set(CPACK_PACKAGE_CONTACT "Vantle developers <vantle@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Code assistance for editors of a class-based server language")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_COMPONENT_DEV_DEPENDS runtime)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME vantle)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "Code-assistance component, its runtime and the vantle-assist tool\n The component lists classes and members, resolves member types, shows method\n signatures and keeps an editor's scoped symbols; vantle-assist asks it from a shell.")
set(CPACK_DEBIAN_DEV_PACKAGE_NAME vantle-dev)
set(CPACK_COMPONENT_DEV_DESCRIPTION
    "Headers, pkg-config files and CMake package of the code-assistance SDK\n Everything a host needs to embed the code-assistance component.")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "pkg-config")
include(CPack)
