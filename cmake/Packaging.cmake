# The shared library, what `cmake --install` puts where, the CMake package
# (xmldsig::xmldsig, xmldsig::xmldsig_static) and the pkg-config file. The
# install rules only when asked for (by default when this is the top-level
# project); the targets and their xmldsig:: names always.
include(CMakePackageConfigHelpers)

set(XMLDSIG_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/xmldsig)
set(XMLDSIG_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# libxmldsig.so -> libxmldsig.so.1 -> libxmldsig.so.1.0.0, from the objects the
# static library is made of. The objects already hide all but XMLDSIG_API; the
# version script also keeps out the standard library's template instances of
# standard types alone (std::unordered_map<std::string, ...>, ...), which the
# compiler gives default visibility.
set(XMLDSIG_EXPORT_MAP ${PROJECT_SOURCE_DIR}/cmake/xmldsig.map)
add_library(xmldsig_shared SHARED $<TARGET_OBJECTS:xmldsig_objects>)
set_target_properties(xmldsig_shared PROPERTIES
  OUTPUT_NAME xmldsig
  EXPORT_NAME xmldsig
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR}
  LINK_DEPENDS ${XMLDSIG_EXPORT_MAP})
target_link_options(xmldsig_shared PRIVATE -Wl,--version-script=${XMLDSIG_EXPORT_MAP})
target_include_directories(xmldsig_shared INTERFACE
  $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_link_libraries(xmldsig_shared PRIVATE OpenSSL::Crypto Threads::Threads ${CMAKE_DL_LIBS})
target_compile_features(xmldsig_shared INTERFACE cxx_std_20)
target_link_options(xmldsig_shared PRIVATE ${XMLDSIG_SANITIZER_LINK_OPTIONS})
add_library(xmldsig::xmldsig ALIAS xmldsig_shared)

set_target_properties(xmldsig_core PROPERTIES OUTPUT_NAME xmldsig EXPORT_NAME xmldsig_static)

if(XMLDSIG_INSTALL)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/xmldsig DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(TARGETS xmldsig_shared xmldsig_core EXPORT xmldsigTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
  # The tool links the static library: no rpath, it runs from wherever it lies.
  install(TARGETS xmldsig RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/man/xmldsig.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

  install(EXPORT xmldsigTargets NAMESPACE xmldsig:: DESTINATION ${XMLDSIG_CMAKE_DIR})
  configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/xmldsigConfig.cmake.in
    ${PROJECT_BINARY_DIR}/xmldsigConfig.cmake INSTALL_DESTINATION ${XMLDSIG_CMAKE_DIR})
  write_basic_package_version_file(${PROJECT_BINARY_DIR}/xmldsigConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
  install(FILES ${PROJECT_BINARY_DIR}/xmldsigConfig.cmake ${PROJECT_BINARY_DIR}/xmldsigConfigVersion.cmake
    DESTINATION ${XMLDSIG_CMAKE_DIR})

  # The pc file finds the prefix from its own folder, so the tree installed with
  # any --prefix works as it lies.
  if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(XMLDSIG_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  else()
    file(RELATIVE_PATH XMLDSIG_PC_TO_PREFIX /prefix/${XMLDSIG_PKGCONFIG_DIR} /prefix)
    string(REGEX REPLACE "/$" "" XMLDSIG_PC_TO_PREFIX "${XMLDSIG_PC_TO_PREFIX}")
    set(XMLDSIG_PC_PREFIX "\${pcfiledir}/${XMLDSIG_PC_TO_PREFIX}")
  endif()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/xmldsig.pc.in ${PROJECT_BINARY_DIR}/xmldsig.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/xmldsig.pc DESTINATION ${XMLDSIG_PKGCONFIG_DIR})
endif()

# A sanitized library needs its sanitizer's runtime in every program that
# links it, so what gets installed or embedded is checked on uninstrumented
# builds only.
if(XMLDSIG_TESTS AND NOT (XMLDSIG_SANITIZE OR XMLDSIG_FUZZ OR XMLDSIG_TSAN))
  set(XMLDSIG_PACKAGE_TEST_ENV
      "CMAKE_COMMAND=${CMAKE_COMMAND};CTEST_COMMAND=${CMAKE_CTEST_COMMAND};CXX=${CMAKE_CXX_COMPILER}")
  add_test(NAME Package.SharedLibraryExportsOnlyTheApi
           COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-exports $<TARGET_FILE:xmldsig_shared>)
  add_test(NAME Package.ManPageRendersAndNamesEveryOption
           COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-man-page ${PROJECT_SOURCE_DIR}/man/xmldsig.1 ${PROJECT_SOURCE_DIR}/cli)
  if(XMLDSIG_INSTALL)
    add_test(NAME Package.ConsumerBuildsAgainstTheInstalledTree
             COMMAND ${PROJECT_SOURCE_DIR}/tests/consumer/run.sh ${PROJECT_BINARY_DIR} ${CMAKE_INSTALL_LIBDIR}
                     ${PROJECT_SOURCE_DIR}/examples/enveloped-rsa-x509.xml)
    set_tests_properties(Package.ConsumerBuildsAgainstTheInstalledTree PROPERTIES
      ENVIRONMENT "${XMLDSIG_PACKAGE_TEST_ENV}" TIMEOUT 300)
  endif()
  if(PROJECT_IS_TOP_LEVEL)
    # Compiles the library once more, in a parent project of its own.
    add_test(NAME Package.ParentProjectBuildsTheCheckoutAsASubdirectory
             COMMAND ${PROJECT_SOURCE_DIR}/tests/embed/run.sh ${PROJECT_SOURCE_DIR}
                     ${PROJECT_SOURCE_DIR}/examples/enveloped-rsa-x509.xml)
    set_tests_properties(Package.ParentProjectBuildsTheCheckoutAsASubdirectory PROPERTIES
      ENVIRONMENT "${XMLDSIG_PACKAGE_TEST_ENV}" TIMEOUT 900)
  endif()
endif()
