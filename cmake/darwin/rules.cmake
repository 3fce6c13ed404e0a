# The linker of the cross compiler knows no bundles; the loader takes a library in a plug-in's place just as well.
foreach(language C CXX)
  set(CMAKE_SHARED_MODULE_CREATE_${language}_FLAGS "-shared")
endforeach()
