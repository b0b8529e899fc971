# CPack gives a package with a library two scripts that call ldconfig. The trigger does that, so they go.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(package MATCHES "/libveskaronrlib1_[^/]*$")
    set(folder ${package}.unpacked)
    execute_process(COMMAND dpkg-deb --raw-extract ${package} ${folder} COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE ${folder}/DEBIAN/postinst ${folder}/DEBIAN/postrm)
    execute_process(COMMAND dpkg-deb --root-owner-group --build ${folder} ${package} OUTPUT_QUIET
      COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${folder})
  endif()
endforeach()
