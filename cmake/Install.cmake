# Where things go. Components follow the packages: Runtime, Development, Tools, Python, and one a plug-in.
include(CMakePackageConfigHelpers)

install(TARGETS VeskaroNRLib EXPORT VeskaroNRLibTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
if(NOT WIN32)
  install(FILES ${PROJECT_BINARY_DIR}/lib$<TARGET_LINKER_FILE_NAME:VeskaroNRLib>
    DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)
endif()
install(FILES ${PROJECT_SOURCE_DIR}/include/VeskaroNRLib.h ${PROJECT_SOURCE_DIR}/include/veskaronr.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT Development)

# find_package
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VeskaroNRLib)
install(EXPORT VeskaroNRLibTargets NAMESPACE VeskaroNRLib:: DESTINATION ${config_dir} COMPONENT Development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VeskaroNRLibConfig.cmake.in
  ${PROJECT_BINARY_DIR}/cmake/VeskaroNRLibConfig.cmake INSTALL_DESTINATION ${config_dir}
  NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/cmake/VeskaroNRLibConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/cmake/VeskaroNRLibConfig.cmake
  ${PROJECT_BINARY_DIR}/cmake/VeskaroNRLibConfigVersion.cmake DESTINATION ${config_dir} COMPONENT Development)

# pkg-config. The prefix is found from the file's own place, so that a moved tree still works.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig OUTPUT_VARIABLE up)
set(PC_PREFIX "\${pcfiledir}/${up}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/veskaronr.pc.in ${PROJECT_BINARY_DIR}/cmake/veskaronr.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cmake/veskaronr.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT Development)

# Under /usr the loader finds the library itself; elsewhere what stands on it carries the way, relative to its folder.
function(veskaro_install target component folder)
  if(NOT TARGET ${target})
    return()
  endif()
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX} OUTPUT_VARIABLE from)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${from} OUTPUT_VARIABLE way)
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${way}")
  endif()
  install(TARGETS ${target} RUNTIME DESTINATION ${folder} COMPONENT ${component}
    LIBRARY DESTINATION ${folder} COMPONENT ${component})
endfunction()
veskaro_install(veskaro-nr Tools ${CMAKE_INSTALL_BINDIR})
# Where the hosts look.
veskaro_install(gegl-veskaronr Gegl ${CMAKE_INSTALL_LIBDIR}/gegl-0.4)
veskaro_install(gimp-veskaronr Gimp lib/gimp/2.0/plug-ins/veskaro-denoise)
veskaro_install(frei0r-veskaronr Frei0r lib/frei0r-1)
veskaro_install(vips-veskaronr Vips ${CMAKE_INSTALL_LIBDIR}/vips-modules-${VESKARO_VIPS_VERSION})

if(VESKARO_INSTALL_PYTHON)
  # Where the system's Python looks: dist-packages under /usr, that of its version elsewhere.
  find_program(VESKARO_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
  set(default lib/python3/dist-packages)
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr" AND VESKARO_PYTHON)
    execute_process(COMMAND ${VESKARO_PYTHON} -c
      "import sysconfig; p = sysconfig.get_path('purelib').split('/'); v = 'python' + sysconfig.get_python_version(); print('lib', v, p[-1], sep='/')"
      OUTPUT_VARIABLE default OUTPUT_STRIP_TRAILING_WHITESPACE)
  endif()
  set(VESKARO_PYTHON_DIR ${default} CACHE STRING "Folder of the Python module, below the prefix")
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/veskaronr DESTINATION ${VESKARO_PYTHON_DIR} COMPONENT Python
    FILES_MATCHING PATTERN "*.py" PATTERN "py.typed" PATTERN "__pycache__" EXCLUDE)
  # By which Python knows the module's version.
  set(metadata veskaronr-${PROJECT_VERSION}.dist-info/METADATA)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/python/${metadata} @ONLY
    CONTENT "Metadata-Version: 2.1\nName: veskaronr\nVersion: @PROJECT_VERSION@\nRequires-Dist: numpy>=1.21\n")
  install(FILES ${PROJECT_BINARY_DIR}/python/${metadata} COMPONENT Python
    DESTINATION ${VESKARO_PYTHON_DIR}/veskaronr-${PROJECT_VERSION}.dist-info)
endif()
