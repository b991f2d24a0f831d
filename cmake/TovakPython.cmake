# The Python package's dependencies (TOVAK_PYTHON): the system's interpreter
# with numpy and matplotlib, and pybind11, all from Debian packages.
#
# The interpreter is the system's (/usr/bin/python3, the one Debian's python3-*
# packages serve), not whatever python3 comes first on PATH; set
# Python3_EXECUTABLE to choose another.
if(NOT Python3_EXECUTABLE AND EXISTS /usr/bin/python3)
  set(Python3_EXECUTABLE /usr/bin/python3 CACHE FILEPATH "Python interpreter of the tovak package")
endif()
find_package(Python3 REQUIRED COMPONENTS Interpreter Development.Module)
find_package(pybind11 CONFIG REQUIRED)

foreach(module numpy matplotlib)
  execute_process(COMMAND ${Python3_EXECUTABLE} -c "import ${module}"
    RESULT_VARIABLE missing OUTPUT_QUIET ERROR_QUIET)
  if(missing)
    message(FATAL_ERROR "TOVAK_PYTHON: ${Python3_EXECUTABLE} cannot import ${module} "
                        "(scripts/install-deps installs it)")
  endif()
endforeach()

# Where the package is installed, relative to the prefix: the directory the
# system's interpreter searches under /usr/local and /usr.
set(TOVAK_PYTHON_INSTALL_DIR
  "lib/python${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}/dist-packages"
  CACHE STRING "Install directory of the tovak Python package, relative to the prefix")
