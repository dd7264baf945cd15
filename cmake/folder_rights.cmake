# Run on what is about to be packed: the folders are for all to read, whatever rights the builder's
# umask gives to new ones.
file(GLOB_RECURSE items LIST_DIRECTORIES true ${CPACK_TEMPORARY_DIRECTORY}/*)
foreach(item IN LISTS items)
  if(IS_DIRECTORY ${item} AND NOT IS_SYMLINK ${item})
    file(CHMOD ${item} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE
      GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  endif()
endforeach()
