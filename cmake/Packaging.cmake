# Debian packages: cmake --preset package && cmake --build --preset package && cpack --preset package
# Four of them, one a component; what they depend on is read from the binaries.
set(packages Runtime libveskaronrlib1 Development libveskaronrlib-dev Tools veskaro-nr Python python3-veskaronr)
set(components Runtime Development)
if(TARGET veskaro-nr)
  list(APPEND components Tools)
endif()
if(VESKARO_INSTALL_PYTHON)
  list(APPEND components Python)
endif()

# Every package brings the licence and the list of changes under its own name. Texts name the version by its variable.
function(veskaro_compressed in out)
  cmake_path(REMOVE_EXTENSION out LAST_ONLY OUTPUT_VARIABLE plain)
  configure_file(${in} ${plain} @ONLY)
  add_custom_command(OUTPUT ${out} DEPENDS ${plain}
    COMMAND ${CMAKE_COMMAND} -DIN=${plain} -DOUT=${out} -P ${PROJECT_SOURCE_DIR}/cmake/CompressFile.cmake VERBATIM)
  set_property(TARGET veskaro_compressed_files APPEND PROPERTY SOURCES ${out})
endfunction()
add_custom_target(veskaro_compressed_files ALL)

veskaro_compressed(${PROJECT_SOURCE_DIR}/cmake/debian/changelog ${PROJECT_BINARY_DIR}/debian/changelog.gz)
foreach(component IN LISTS components)
  list(FIND packages ${component} at)
  math(EXPR at "${at} + 1")
  list(GET packages ${at} package)
  string(TOUPPER ${component} COMPONENT)
  set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${package})
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${PROJECT_BINARY_DIR}/debian/changelog.gz
      DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  endif()
endforeach()

# The manuals and the shells' completion, where the companion has them.
if(TARGET veskaro-nr)
  veskaro_compressed(${PROJECT_SOURCE_DIR}/docs/veskaro-nr.1 ${PROJECT_BINARY_DIR}/man/veskaro-nr.1.gz)
  install(FILES ${PROJECT_BINARY_DIR}/man/veskaro-nr.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Tools)
  set(completion ${PROJECT_SOURCE_DIR}/tools/completion)
  set(zsh_dir site-functions)
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND EXISTS /etc/debian_version)
    set(zsh_dir vendor-completions)
  endif()
  install(FILES ${completion}/veskaro-nr.bash RENAME veskaro-nr
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT Tools)
  install(FILES ${completion}/_veskaro-nr
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/${zsh_dir} COMPONENT Tools)
  install(FILES ${completion}/veskaro-nr.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT Tools)
endif()
veskaro_compressed(${PROJECT_SOURCE_DIR}/docs/VeskaroNRLib.3 ${PROJECT_BINARY_DIR}/man/VeskaroNRLib.3.gz)
install(FILES ${PROJECT_BINARY_DIR}/man/VeskaroNRLib.3.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man3
  COMPONENT Development)

set(CPACK_GENERATOR DEB)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME VeskaroNRLib-${PROJECT_VERSION}-win64)
elseif(CMAKE_CROSSCOMPILING)
  execute_process(COMMAND dpkg-architecture -t ${VESKARO_TARGET} -q DEB_HOST_ARCH
    OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
set(CPACK_PACKAGE_NAME veskaronrlib)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_VENDOR "VeskaroNRLib developers")
set(CPACK_PACKAGE_CONTACT "VeskaroNRLib developers <developers@veskaronrlib.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/DropScripts.cmake)
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
set(CPACK_DEBIAN_PACKAGE_SOURCE veskaronrlib)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The companion's own library is found here; which package brings it is said by the components' dependencies.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
if(CMAKE_CROSSCOMPILING)
  list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_FIND_ROOT_PATH}/lib)
endif()

set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "image noise reduction for host applications
VeskaroNRLib removes noise from pictures held in memory: interleaved RGB of
8 or 16 bits a sample, on several threads, and high-dynamic-range pictures
with a shared exponent. The noise is measured from the picture itself.

This package contains the shared library.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# What other packages read to depend on this one: by symbol where they can, by name otherwise.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
file(STRINGS ${PROJECT_SOURCE_DIR}/src/VeskaroNRLib.map lines REGEX "^    [A-Za-z0-9_]+;")
list(SORT lines)
set(symbols "VeskaroNRLib.so.1 libveskaronrlib1 #MINVER#\n* Build-Depends-Package: libveskaronrlib-dev\n")
foreach(line IN LISTS lines)
  if(line)
    string(STRIP "${line}" name)
    set(since 1.0.0)
    if(name MATCHES "^vnr_")
      set(since 1.1.0)
    endif()
    string(APPEND symbols " ${name}@Base ${since}\n")
  endif()
endforeach()
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/debian/symbols CONTENT "${symbols}" @ONLY)
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/debian/triggers CONTENT "activate-noawait ldconfig\n" @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/debian/symbols ${PROJECT_BINARY_DIR}/debian/triggers)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "image noise reduction for host applications (development files)
VeskaroNRLib removes noise from pictures held in memory.

This package contains the C header and what CMake and pkg-config need.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "remove noise from pictures on the command line
veskaro-nr cleans PNG, JPEG, TIFF, WebP, Radiance and other pictures, one or a
folder of them, and keeps their bit depth, colour profile and metadata.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_TOOLS_DEPENDS Runtime)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "image noise reduction on numpy arrays
VeskaroNRLib removes noise from pictures held in memory.

This package contains the Python module veskaronr, which works on numpy arrays
without copying them.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_PYTHON_DEPENDS Runtime)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3-numpy, python3:any")

# A host that builds the library inside its own project makes its own packages.
if(PROJECT_IS_TOP_LEVEL)
  include(CPack)
endif()
