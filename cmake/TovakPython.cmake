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

# An interpreter built without the sanitizers loads the sanitized extension
# only with the AddressSanitizer runtime preloaded, and libstdc++ beside it
# (so that the runtime finds the C++ throw it intercepts); leaks are not
# tracked, since the interpreter keeps its objects to the end
# (docs/decisions.md).
set(TOVAK_PYTHON_PRELOAD "")
if(TOVAK_SANITIZE)
  foreach(runtime libasan.so libstdc++.so)
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${runtime}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    list(APPEND TOVAK_PYTHON_PRELOAD ${path})
  endforeach()
  list(JOIN TOVAK_PYTHON_PRELOAD " " TOVAK_PYTHON_PRELOAD)
endif()
# The environment of the interpreter in the tests.
set(TOVAK_PYTHON_RUN_ENV "LD_PRELOAD=${TOVAK_PYTHON_PRELOAD}" ASAN_OPTIONS=detect_leaks=0)
