# Installation, the SDK's package files and the Debian packages. Two components:
# "runtime" (the libraries, the tool, the dictionaries, the system registry, the
# docs) and "dev" (headers, pkg-config files, the CMake package).
include(CMakePackageConfigHelpers)

set(VANTLE_INSTALL_DICTIONARY_DIR ${CMAKE_INSTALL_DATADIR}/vantle/dictionaries)
set(VANTLE_INSTALL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Vantle)

# The libraries: the component's unversioned name goes with the runtime, since the
# runtime loads it by that name from the registry; the runtime's own is for linking.
target_include_directories(kestocom INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
install(TARGETS kestocom EXPORT VantleTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(TARGETS vantleassist EXPORT VantleTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT runtime)
install(TARGETS vantle-assist vantle-lsp RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/dictionaries/ DESTINATION ${VANTLE_INSTALL_DICTIONARY_DIR}
        COMPONENT runtime FILES_MATCHING PATTERN "*.json")
install(FILES ${CMAKE_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples COMPONENT dev)

# The system registry: the component registered once, at build time, into a file
# of its own that the runtime reads after the user's registry. Its server record
# names the component by file name, found beside the installed runtime, so the
# file is the same wherever the installation goes.
if(NOT VANTLE_BUILD_FUZZ)
  set(VANTLE_SYSTEM_REGISTRY ${CMAKE_BINARY_DIR}/install-data/kesto/registry.db)
  add_custom_command(
    OUTPUT ${VANTLE_SYSTEM_REGISTRY}
    COMMAND ${CMAKE_COMMAND} -E rm -f ${VANTLE_SYSTEM_REGISTRY}
    COMMAND ${CMAKE_COMMAND} -E env KESTO_REGISTRY=${VANTLE_SYSTEM_REGISTRY}
            $<TARGET_FILE:vantle-assist> register $<TARGET_FILE:vantleassist> > /dev/null
    DEPENDS vantle-assist vantleassist
    COMMENT "Registering the component in the system registry the installation ships")
  add_custom_target(vantle_system_registry ALL DEPENDS ${VANTLE_SYSTEM_REGISTRY})
  install(FILES ${VANTLE_SYSTEM_REGISTRY} DESTINATION ${CMAKE_INSTALL_DATADIR}/kesto COMPONENT runtime)
endif()

# The tool's shell completions and man page, where bash-completion, zsh, fish and
# man look for them.
if(NOT VANTLE_BUILD_FUZZ)
  set(VANTLE_TOOL_DATA ${CMAKE_BINARY_DIR}/install-data/tool)
  install(FILES ${VANTLE_TOOL_DATA}/vantle-assist.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME vantle-assist COMPONENT runtime)
  install(FILES ${VANTLE_TOOL_DATA}/_vantle-assist DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
          COMPONENT runtime)
  install(FILES ${VANTLE_TOOL_DATA}/vantle-assist.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
          COMPONENT runtime)
  install(FILES ${VANTLE_TOOL_DATA}/vantle-assist.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT runtime
          OPTIONAL)
endif()

# Headers: the public contracts only.
install(DIRECTORY ${CMAKE_SOURCE_DIR}/include/kesto ${CMAKE_SOURCE_DIR}/include/vantle
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev FILES_MATCHING PATTERN "*.h"
        PATTERN "diagnostics.h" EXCLUDE)  # test hooks of the runtime, not for hosts
install(FILES ${VANTLE_GENERATED_INCLUDE_DIR}/vantle/version.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantle COMPONENT dev)

# pkg-config, relocatable through ${pcfiledir}.
file(RELATIVE_PATH VANTLE_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VANTLE_PC_TO_PREFIX "${VANTLE_PC_TO_PREFIX}")
foreach(pc kestocom vantleassist)
  configure_file(${CMAKE_SOURCE_DIR}/cmake/templates/${pc}.pc.in ${CMAKE_BINARY_DIR}/install-data/${pc}.pc @ONLY)
  install(FILES ${CMAKE_BINARY_DIR}/install-data/${pc}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
          COMPONENT dev)
endforeach()

# The CMake package Vantle.
install(EXPORT VantleTargets NAMESPACE Vantle:: DESTINATION ${VANTLE_INSTALL_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(${CMAKE_SOURCE_DIR}/cmake/templates/VantleConfig.cmake.in
                              ${CMAKE_BINARY_DIR}/install-data/VantleConfig.cmake
                              INSTALL_DESTINATION ${VANTLE_INSTALL_CMAKE_DIR}
                              PATH_VARS VANTLE_INSTALL_DICTIONARY_DIR)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/install-data/VantleConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/install-data/VantleConfig.cmake
              ${CMAKE_BINARY_DIR}/install-data/VantleConfigVersion.cmake
        DESTINATION ${VANTLE_INSTALL_CMAKE_DIR} COMPONENT dev)

include(cmake/Packaging.cmake)
