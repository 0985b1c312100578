# Helpers shared by the directory CMakeLists files.

# asp_glob_sources(<out-var> <dir>...): every .cpp below the given directories, relative to the
# repository root. Directories are globbed (with CONFIGURE_DEPENDS) so that adding a source unit
# needs no edit of a build file.
function(asp_glob_sources out)
  set(result)
  foreach(dir IN LISTS ARGN)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${dir}/*.cpp")
    list(APPEND result ${found})
  endforeach()
  set(${out} ${result} PARENT_SCOPE)
endfunction()
