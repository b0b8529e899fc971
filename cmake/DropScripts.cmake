# CPack gives every package with a library two scripts that call ldconfig, which the library's trigger does and a plug-in
# does not need. It has no setting against them, and takes only other scripts in their place, so they are taken out
# afterwards. What a cross-built library depends on is named with its architecture, which goes without saying.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(package MATCHES "/(libveskaronrlib1|frei0r-veskaronr)_[^/]*$")
    set(folder ${package}.unpacked)
    execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
    if(CPACK_DEBIAN_PACKAGE_ARCHITECTURE)
      file(READ ${folder}/DEBIAN/control control)
      string(REPLACE ":${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}" "" control "${control}")
      file(WRITE ${folder}/DEBIAN/control "${control}")
    endif()
    execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${package} OUTPUT_QUIET
      COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${folder})
  endif()
endforeach()
