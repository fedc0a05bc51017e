# Optional modules: the Tcl bridge, the MATLAB and HDF5 result readers and the
# Python binding. Each is compiled only when its package is found (CI installs
# them all); a machine without one still builds everything else.
#
# quorvix_optional_module(NAME FOUND_VAR LINK_TARGETS...) adds the sources in
# src/<NAME>/ to the library as one more object library on top of the layers
# it may use, links its package, and defines QUORVIX_HAVE_<NAME> for the code
# that registers the module's functions.

find_package(TCL QUIET)
if(TCL_FOUND AND NOT TARGET quorvix::tcl)
  add_library(quorvix::tcl INTERFACE IMPORTED)
  target_include_directories(quorvix::tcl INTERFACE ${TCL_INCLUDE_PATH})
  target_link_libraries(quorvix::tcl INTERFACE ${TCL_LIBRARY})
endif()

find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(MATIO QUIET IMPORTED_TARGET matio)
endif()

find_package(HDF5 QUIET COMPONENTS C)
if(HDF5_FOUND AND NOT TARGET quorvix::hdf5)
  add_library(quorvix::hdf5 INTERFACE IMPORTED)
  target_include_directories(quorvix::hdf5 INTERFACE ${HDF5_INCLUDE_DIRS})
  target_link_libraries(quorvix::hdf5 INTERFACE ${HDF5_LIBRARIES})
endif()

include(${PROJECT_SOURCE_DIR}/cmake/PythonInterpreter.cmake)
find_package(Python3 QUIET COMPONENTS Interpreter Development.Module)
find_package(pybind11 CONFIG QUIET)

function(quorvix_optional_module name found)
  string(TOUPPER ${name} upper)
  if(NOT ${found})
    message(STATUS "quorvix: module ${name} off (package not found)")
    return()
  endif()
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${name}/*.cc)
  if(sources)
    add_library(quorvix_${name} OBJECT ${sources})
    target_include_directories(quorvix_${name} PRIVATE ${PROJECT_SOURCE_DIR}/src)
    set_target_properties(quorvix_${name} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_link_libraries(quorvix_${name} PUBLIC quorvix_template ${ARGN})
    target_sources(quorvix PRIVATE $<TARGET_OBJECTS:quorvix_${name}>)
    target_link_libraries(quorvix PRIVATE ${ARGN})
    target_compile_definitions(quorvix_template PUBLIC QUORVIX_HAVE_${upper}=1)
  endif()
  set(QUORVIX_HAVE_${upper} ON PARENT_SCOPE)
  message(STATUS "quorvix: module ${name} on")
endfunction()

set(QUORVIX_TCL_FOUND ${TCL_FOUND})
set(QUORVIX_MATIO_FOUND ${MATIO_FOUND})
set(QUORVIX_HDF5_FOUND ${HDF5_FOUND})
set(QUORVIX_PYTHON_FOUND OFF)
if(Python3_Development.Module_FOUND AND pybind11_FOUND)
  set(QUORVIX_PYTHON_FOUND ON)
endif()
quorvix_optional_module(tcl QUORVIX_TCL_FOUND quorvix::tcl)
quorvix_optional_module(matio QUORVIX_MATIO_FOUND PkgConfig::MATIO)
quorvix_optional_module(hdf5 QUORVIX_HDF5_FOUND quorvix::hdf5)
# The Python binding is a module of its own that links the library.
if(QUORVIX_PYTHON_FOUND)
  message(STATUS "quorvix: Python binding can be built (pybind11 ${pybind11_VERSION})")
else()
  message(STATUS "quorvix: Python binding off (pybind11 or Python headers not found)")
endif()
