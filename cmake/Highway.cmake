# The target veskaro_highway: vectors for every instruction set. On x86-64 under Linux Highway's package says what the
# processor has; elsewhere its headers are enough, and src/simd/targets.cpp says it.
if(CMAKE_SYSTEM_NAME STREQUAL Linux AND CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64)
  find_package(hwy)
endif()
add_library(veskaro_highway INTERFACE)
if(hwy_FOUND)
  target_link_libraries(veskaro_highway INTERFACE hwy::hwy)
else()
  find_path(VESKARO_HIGHWAY hwy/highway.h REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  # A folder of its own: beside the headers lie those of this machine's C library.
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/highway)
  file(CREATE_LINK ${VESKARO_HIGHWAY}/hwy ${PROJECT_BINARY_DIR}/highway/hwy SYMBOLIC)
  target_include_directories(veskaro_highway SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/highway)
endif()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
  # The kernels are one source for all instruction sets; instrumented, each takes a minute to compile.
  option(VESKARO_FEW_TARGETS "Compile the kernels for one vector instruction set only" OFF)
  if(VESKARO_FEW_TARGETS OR CMAKE_CXX_FLAGS MATCHES "-fsanitize|--coverage")
    target_compile_definitions(veskaro_highway INTERFACE
      "HWY_DISABLED_TARGETS=(HWY_AVX3|HWY_AVX3_DL|HWY_SSE4|HWY_SSSE3)")
  endif()
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
  # Every such processor has NEON. SVE's vectors have no size that the compiler knows, so no class can hold one: they
  # wait for a Highway that fixes their size. The plain form is compiled too, for the tests to compare with.
  target_compile_definitions(veskaro_highway INTERFACE HWY_COMPILE_ALL_ATTAINABLE
    "HWY_DISABLED_TARGETS=(HWY_SVE|HWY_SVE2|HWY_SVE_256|HWY_SVE2_128)")
else()
  # Vectors without doubles (32-bit ARM) or none in this Highway: the plain form.
  target_compile_definitions(veskaro_highway INTERFACE HWY_COMPILE_ONLY_SCALAR)
endif()
