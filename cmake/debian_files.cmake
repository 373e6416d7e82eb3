# Files of each package that Debian's policy requires: copyright file, changelog, compressed man pages.
# CPack includes this file before it packs the installed files of each component.
set(copyright "Copyright 2026 the authors of ocmd_gen and libtsh.
All rights reserved until the owner chooses a licence.
")
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component ${CPACK_COMPONENTS_ALL})
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component})
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(doc ${root}/usr/share/doc/${package})
  file(WRITE ${doc}/copyright "${copyright}")
  file(WRITE ${doc}/changelog "${package} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * Version ${CPACK_PACKAGE_VERSION}.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")
  file(GLOB pages ${root}/usr/share/man/man*/*.[1-9])
  execute_process(COMMAND gzip -9nf ${doc}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
  # Independent of the umask of the packager.
  file(CHMOD_RECURSE ${root}/usr/share/doc/${package}
       FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
       DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                             WORLD_READ WORLD_EXECUTE)
endforeach()
