# The linker of the cross compiler knows no bundles; the loader takes a library in a plug-in's place just as well. Paths
# relative to who loads (@rpath) cmake grants only where it finds a system from 10.5 on that it runs on.
foreach(language C CXX)
  set(CMAKE_SHARED_MODULE_CREATE_${language}_FLAGS "-shared")
  set(CMAKE_SHARED_LIBRARY_RUNTIME_${language}_FLAG "-Wl,-rpath,")
endforeach()
set(CMAKE_LINK_DEPENDENT_LIBRARY_FILES "")
