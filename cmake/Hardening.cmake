# What every binary of the project is built with: a hardened layout, and bytes that depend on the sources alone.
add_library(veskaro_hardened INTERFACE)
target_compile_options(veskaro_hardened INTERFACE
  -fstack-protector-strong
  # No path of this machine in the result, so that two folders give the same bytes.
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
  -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
target_compile_definitions(veskaro_hardened INTERFACE $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
if(WIN32)
  # The system aligns stacks to 16 bytes and the compiler cannot align frames further: vectors on them are accessed as
  # they lie, which costs nothing where they happen to be aligned.
  target_compile_options(veskaro_hardened INTERFACE -Wa,-muse-unaligned-vector-move)
  target_link_options(veskaro_hardened INTERFACE -fstack-protector-strong)
elseif(NOT APPLE)
  target_link_options(veskaro_hardened INTERFACE
    LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack LINKER:--build-id=sha1)
endif()
