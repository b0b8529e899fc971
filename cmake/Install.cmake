# Where things go. Components follow the packages: Runtime, Development, Tools, Python.
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

if(TARGET veskaro-nr)
  # Under /usr the loader looks in the right folder itself; elsewhere the tool carries the way, relative to itself.
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR BASE_DIRECTORY ${CMAKE_INSTALL_FULL_BINDIR} OUTPUT_VARIABLE way)
    set_target_properties(veskaro-nr PROPERTIES INSTALL_RPATH "$ORIGIN/${way}")
  endif()
  install(TARGETS veskaro-nr RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Tools)
endif()

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
